#include <tiny_gltf.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

#include "bench/peers.h"

namespace {

using bench::Shape;
using bench::Triangles;

// Three floats of positions, three of normals, two of uvs.
constexpr std::size_t floatsEach = 8;

std::size_t bytesOfMesh(const Shape& shape) {
    const std::size_t vertices = 3 * shape.trianglesEach;
    return vertices * (floatsEach * sizeof(float) + sizeof(std::uint32_t));
}

// Adds a view of the buffer's next bytes, and what tells their form; gives the number of the latter.
int addAccessor(tinygltf::Model& model, std::size_t& offset, int target, int componentType,
                int type, std::size_t count) {
    tinygltf::BufferView view;
    view.buffer = 0;
    view.byteOffset = offset;
    view.byteLength = count * sizeof(float) *
                      static_cast<std::size_t>(
                          tinygltf::GetNumComponentsInType(static_cast<std::uint32_t>(type)));
    view.target = target;
    offset += view.byteLength;
    model.bufferViews.push_back(view);
    tinygltf::Accessor accessor;
    accessor.bufferView = static_cast<int>(model.bufferViews.size()) - 1;
    accessor.componentType = componentType;
    accessor.type = type;
    accessor.count = count;
    model.accessors.push_back(accessor);
    return static_cast<int>(model.accessors.size()) - 1;
}

void fillBuffer(unsigned char* place, const Shape& shape, const Triangles& triangles) {
    const std::size_t vertices = 3 * shape.trianglesEach;
    unsigned char* normals = place + 12 * vertices;
    unsigned char* uvs = normals + 12 * vertices;
    unsigned char* indices = uvs + 8 * vertices;
    shape.forEachVertex(triangles,
                        [&](std::size_t i, const float* p, const float* n, const float* uv) {
                            const auto index = static_cast<std::uint32_t>(i);
                            std::memcpy(place + 12 * i, p, 12);
                            std::memcpy(normals + 12 * i, n, 12);
                            std::memcpy(uvs + 8 * i, uv, 8);
                            std::memcpy(indices + 4 * i, &index, 4);
                        });
}

void addMesh(tinygltf::Model& model, std::size_t& offset, const Shape& shape,
             const Triangles& triangles) {
    fillBuffer(model.buffers[0].data.data() + offset, shape, triangles);
    const std::size_t vertices = 3 * shape.trianglesEach;
    const auto floats = [&](int type) {
        return addAccessor(model, offset, TINYGLTF_TARGET_ARRAY_BUFFER,
                           TINYGLTF_COMPONENT_TYPE_FLOAT, type, vertices);
    };
    const std::size_t number = model.meshes.size();
    tinygltf::Primitive primitive;
    primitive.mode = TINYGLTF_MODE_TRIANGLES;
    primitive.material = static_cast<int>(number % shape.materials);
    primitive.attributes["POSITION"] = floats(TINYGLTF_TYPE_VEC3);
    primitive.attributes["NORMAL"] = floats(TINYGLTF_TYPE_VEC3);
    primitive.attributes["TEXCOORD_0"] = floats(TINYGLTF_TYPE_VEC2);
    primitive.indices =
        addAccessor(model, offset, TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER,
                    TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT, TINYGLTF_TYPE_SCALAR, vertices);
    tinygltf::Mesh mesh;
    mesh.name = "mesh" + std::to_string(number);
    mesh.primitives.push_back(primitive);
    model.meshes.push_back(mesh);
    tinygltf::Node node;
    node.name = "node" + std::to_string(number);
    node.mesh = static_cast<int>(number);
    node.matrix.assign(shape.transform.begin(), shape.transform.end());
    model.nodes.push_back(node);
}

std::shared_ptr<const tinygltf::Model> modelOf(const Shape& shape) {
    auto model = std::make_shared<tinygltf::Model>();
    model->asset.version = "2.0";
    for (std::size_t i = 0; i < shape.materials; ++i) {
        tinygltf::Material material;
        material.name = "material" + std::to_string(i);
        model->materials.push_back(material);
    }
    model->buffers.emplace_back();
    model->buffers[0].data.resize(shape.meshes * bytesOfMesh(shape));
    const Triangles triangles(shape.batch);
    tinygltf::Scene scene;
    std::size_t offset = 0;
    for (std::size_t i = 0; i < shape.meshes; ++i) {
        addMesh(*model, offset, shape, triangles);
        scene.nodes.push_back(static_cast<int>(i));
    }
    model->scenes.push_back(scene);
    model->defaultScene = 0;
    return model;
}

}  // namespace

std::vector<bench::Peer> bench::tinygltfWriters(const Shape& shape,
                                                const std::filesystem::path& folder) {
    const std::size_t bytes = shape.meshes * bytesOfMesh(shape);
    if (bytes > std::numeric_limits<std::uint32_t>::max()) {
        std::fprintf(stderr, "tinygltf left out: %zu bytes, GLB counts them in 32 bits\n", bytes);
        return {};
    }
    const auto model = modelOf(shape);
    const std::filesystem::path file = folder / "tinygltf.glb";
    return {{"tinygltf, GLB", [model, file] {
                 tinygltf::TinyGLTF writer;
                 const double took = millisecondsOf([&] {
                     if (!writer.WriteGltfSceneToFile(model.get(), file.string(), true, true, false,
                                                      true))
                         throw std::runtime_error("tinygltf wrote no file");
                 });
                 std::filesystem::remove(file);
                 return took;
             }}};
}

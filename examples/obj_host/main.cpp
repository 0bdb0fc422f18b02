// The smallest host: hands an OBJ file to the library and saves the model as a stream file.
//
//   obj_host MODEL.obj OUT.q7mesh
//
// Of this project it uses the public header only, so it can be copied as the start of a
// plug-in. What a real host adds: indexed triangles, duplicates of nodes, the file it belongs to.
#define TINYOBJLOADER_IMPLEMENTATION
#include <tiny_obj_loader.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "q7plugin.h"

namespace fs = std::filesystem;

namespace {

// UTF-8 as the library takes text.
std::basic_string<Q7Char> hostText(const std::string& utf8) {
    return fs::path(std::u8string(utf8.begin(), utf8.end())).string<Q7Char>();
}

// The triangles of one material in one node: 9 position, 9 normal and 6 uv floats each.
struct Triangles {
    std::vector<float> positions;
    std::vector<float> normals;
    std::vector<float> uvs;
};

// Corners that name no vertex of this kind get zeroes.
void append(std::vector<float>& to, const std::vector<float>& from, int vertex, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
        to.push_back(vertex < 0 ? 0.0F : from.at(static_cast<std::size_t>(vertex) * width + i));
    }
}

std::map<int, Triangles> trianglesByMaterial(const tinyobj::attrib_t& vertices,
                                             const tinyobj::mesh_t& mesh) {
    std::map<int, Triangles> result;
    for (std::size_t corner = 0; corner < mesh.indices.size(); ++corner) {
        const tinyobj::index_t& index = mesh.indices[corner];
        Triangles& triangles = result[mesh.material_ids.at(corner / 3)];
        append(triangles.positions, vertices.vertices, index.vertex_index, 3);
        append(triangles.uvs, vertices.texcoords, index.texcoord_index, 2);
        // Normals are one for each vertex or none at all; see addNode.
        if (index.normal_index >= 0) {
            append(triangles.normals, vertices.normals, index.normal_index, 3);
        }
    }
    return result;
}

void addMaterial(void* session, const tinyobj::material_t& material) {
    const auto name = hostText(material.name);
    const auto byte = [](float value) { return std::lround(std::clamp(value, 0.0F, 1.0F) * 255); };
    std::array<char, 32> color{};
    std::snprintf(color.data(), color.size(), "#%02lX%02lX%02lX", byte(material.diffuse[0]),
                  byte(material.diffuse[1]), byte(material.diffuse[2]));
    Q7AddMaterial(session, name.c_str());
    Q7SetMaterialStringProperty(session, name.c_str(), hostText("BaseColor").c_str(),
                                hostText(color.data()).c_str());
    Q7SetMaterialFloatProperty(session, name.c_str(), hostText("Opacity").c_str(),
                               material.dissolve);
    if (material.diffuse_texname.empty()) return;
    Q7SetMaterialStringProperty(session, name.c_str(), hostText("BaseColorTexture").c_str(),
                                hostText(material.diffuse_texname).c_str());
}

void addNode(void* session, const std::string& name, const tinyobj::ObjReader& reader,
             const tinyobj::mesh_t& mesh) {
    // OBJ has no transforms: every point stands where it is in the world.
    constexpr std::array<float, 16> identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    Q7BeginNode(session, hostText(name).c_str(), identity.data(), hostText("/" + name).c_str());
    for (const auto& [material, triangles] : trianglesByMaterial(reader.GetAttrib(), mesh)) {
        // The library makes a material of its own for an empty name.
        const std::string materialName =
            material < 0 ? "" : reader.GetMaterials().at(static_cast<std::size_t>(material)).name;
        const bool hasNormals = triangles.normals.size() == triangles.positions.size();
        MaxAddTriangles(session, hostText(materialName).c_str(),
                        static_cast<int>(triangles.positions.size() / 9),
                        triangles.positions.data(), hasNormals ? triangles.normals.data() : nullptr,
                        triangles.uvs.data(), CoordOrder::XYZ);
    }
    Q7EndNode(session);
}

void addScene(void* session, const tinyobj::ObjReader& reader) {
    Q7SetDccPluginInfo(hostText("obj_host 1.0").c_str());
    Q7SetMaterialVersion(session, 1);
    for (const tinyobj::material_t& material : reader.GetMaterials()) {
        addMaterial(session, material);
    }
    for (std::size_t i = 0; i < reader.GetShapes().size(); ++i) {
        // A node's name is its identity, and shapes may share one: the number keeps them apart.
        const tinyobj::shape_t& shape = reader.GetShapes()[i];
        addNode(session, shape.name + " " + std::to_string(i + 1), reader, shape.mesh);
    }
}

// The library does not tell when it cannot write, so the file has to be looked for. What was there
// before stays until the new file is complete.
void save(void* session, const fs::path& path) {
    fs::path part = path;
    part += ".part";
    fs::remove(part);
    Q7SaveRawToFile(session, part.string<Q7Char>().c_str());
    if (!fs::exists(part)) throw std::runtime_error(path.string() + ": cannot be written");
    std::error_code error;
    fs::rename(part, path, error);
    if (error) {
        fs::remove(part);
        throw std::runtime_error(path.string() + ": " + error.message());
    }
    std::cout << path.string() << ": " << Q7InstanceCount(session) << " instances, "
              << fs::file_size(path) << " bytes\n";
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::cerr << "usage: obj_host MODEL.obj OUT.q7mesh\n";
        return 2;
    }
    tinyobj::ObjReader reader;
    if (!reader.ParseFromFile(argv[1])) {
        throw std::runtime_error(std::string(argv[1]) + ": " + reader.Error());
    }
    const std::unique_ptr<void, void (*)(void*)> session(CreateSession(), DestroySession);
    addScene(session.get(), reader);
    save(session.get(), argv[2]);
    return 0;
} catch (const std::exception& error) {
    std::cerr << "obj_host: " << error.what() << '\n';
    return 1;
}

#include "send/mesh_vertices.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace q7send {

namespace {

void keep(const std::vector<bool>& isUsed, std::size_t width, std::vector<float>& values) {
    if (values.empty()) return;
    std::size_t end = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (isUsed[i / width]) values[end++] = values[i];
    }
    values.resize(end);
}

void repeatLast(std::vector<float>& values, std::size_t width, std::size_t copies) {
    if (values.empty()) return;
    values.reserve(values.size() + width * copies);
    for (std::size_t i = 0; i < width * copies; ++i)
        values.push_back(values[values.size() - width]);
}

void spread(const std::vector<int>& indices, std::size_t width, std::vector<float>& values) {
    if (values.empty()) return;
    std::vector<float> result;
    result.reserve(width * indices.size());
    for (const int index : indices) {
        const auto first = values.begin() + static_cast<std::ptrdiff_t>(width) * index;
        result.insert(result.end(), first, first + static_cast<std::ptrdiff_t>(width));
    }
    values = std::move(result);
}

// For each mesh whether several nodes have it.
std::vector<bool> sharedMeshes(const Scene& scene) {
    constexpr std::size_t none = static_cast<std::size_t>(-1);
    std::vector<std::size_t> nodeOf(scene.meshes.size(), none);
    std::vector<bool> isShared(scene.meshes.size(), false);
    for (std::size_t node = 0; node < scene.nodes.size(); ++node) {
        for (const std::size_t mesh : scene.nodes[node].meshes) {
            const std::size_t before = std::exchange(nodeOf[mesh], node);
            if (before != none && before != node) isShared[mesh] = true;
        }
    }
    return isShared;
}

}  // namespace

void dropUnusedVertices(SceneMesh& mesh) {
    std::vector<bool> isUsed(mesh.vertexCount(), false);
    for (const int index : mesh.indices)
        isUsed[static_cast<std::size_t>(index)] = true;
    if (std::find(isUsed.begin(), isUsed.end(), false) == isUsed.end()) return;

    std::vector<int> newIndices(isUsed.size());
    int next = 0;
    for (std::size_t i = 0; i < isUsed.size(); ++i) {
        newIndices[i] = next;
        if (isUsed[i]) ++next;
    }
    for (int& index : mesh.indices)
        index = newIndices[static_cast<std::size_t>(index)];
    keep(isUsed, 3, mesh.positions);
    keep(isUsed, 3, mesh.normals);
    keep(isUsed, 2, mesh.uvs);
}

void padToWholeTriangles(SceneMesh& mesh) {
    const std::size_t copies = (3 - mesh.vertexCount() % 3) % 3;
    repeatLast(mesh.positions, 3, copies);
    repeatLast(mesh.normals, 3, copies);
    repeatLast(mesh.uvs, 2, copies);
}

void unshareVertices(SceneMesh& mesh) {
    spread(mesh.indices, 3, mesh.positions);
    spread(mesh.indices, 3, mesh.normals);
    spread(mesh.indices, 2, mesh.uvs);
    std::iota(mesh.indices.begin(), mesh.indices.end(), 0);
}

void unshareMergeable(Scene& scene) {
    const std::vector<bool> isShared = sharedMeshes(scene);
    for (std::size_t i = 0; i < scene.meshes.size(); ++i) {
        if (!isShared[i]) unshareVertices(scene.meshes[i]);
    }
}

}  // namespace q7send

#include "send/mesh_vertices.h"

#include <algorithm>

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

}  // namespace q7send

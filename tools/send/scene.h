// A scene between its file and the library: what a host has in hand, in no library's types.
#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <variant>
#include <vector>

#include "support/text.h"

namespace q7send {

// Four rows of four. Points are row vectors: the translation stands in elements 12, 13 and 14.
using Transform = std::array<float, 16>;

// Indexed triangles of one material. The vertex arrays may be longer than the indices need.
struct SceneMesh {
    WideString name;
    std::size_t material = 0;
    std::vector<float> positions;  // 3 a vertex
    std::vector<float> normals;    // 3 a vertex, or none
    std::vector<float> uvs;        // 2 a vertex, or none
    std::vector<int> indices;      // 3 a triangle, from this mesh's first vertex

    std::size_t vertexCount() const { return positions.size() / 3; }
    std::size_t triangleCount() const { return indices.size() / 3; }
};

struct MaterialProperty {
    WideString name;
    std::variant<float, WideString> value;

    bool operator==(const MaterialProperty&) const = default;
};

// Names of materials and nodes are those of the file: they may be empty, and may repeat.
struct SceneMaterial {
    WideString name;
    std::vector<MaterialProperty> properties;
};

struct SceneNode {
    WideString name;
    std::optional<std::size_t> parent;  // stands before its children
    Transform world{};
    std::vector<std::size_t> meshes;
};

struct Scene {
    std::filesystem::path modelFile;
    std::filesystem::path textureFolder;
    std::vector<SceneMaterial> materials;
    std::vector<SceneMesh> meshes;
    std::vector<SceneNode> nodes;

    // What the file has and the scene has not.
    std::size_t embeddedTextures = 0;
    std::size_t missingTextures = 0;
    std::size_t pointsAndLines = 0;
    std::size_t unplaced = 0;  // points and nodes with infinite coordinates, put at the origin
};

}  // namespace q7send

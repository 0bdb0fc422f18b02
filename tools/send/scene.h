// A scene between its file and the library: what a host has in hand, in no library's types.
#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
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
    // Textures that the file holds itself: the property that names each, and its index.
    std::vector<std::pair<const char16_t*, std::size_t>> embedded = {};
};

// An image that the file holds itself.
struct SceneTexture {
    std::string fileName;  // no two are the same
    std::vector<std::byte> bytes;
};

struct SceneNode {
    WideString name;
    std::optional<std::size_t> parent;  // stands before its children
    Transform world{};
    std::vector<std::size_t> meshes;
};

using Vector = std::array<float, 3>;

// Where something stands in the world and looks to. Both directions have the length 1.
struct Pose {
    Vector position{};
    Vector direction{};
    Vector up{};

    bool operator==(const Pose&) const = default;
};

struct SceneCamera {
    WideString name;
    Pose pose;
    float fieldOfView = 0;  // from left to right, in degrees
    float aspectRatio = 0;  // width by height; 0 when the file does not tell it
    float nearPlane = 0;
    float farPlane = 0;
    float orthographicWidth = 0;  // of the whole view; 0 when it shows perspective
};

enum class LightType { point, directional, spot, ambient, area };

struct SceneLight {
    WideString name;
    LightType type = LightType::point;
    Pose pose;
    Vector color{};        // its brightest part is 1
    float intensity = 0;   // by which the color is to be multiplied
    Vector attenuation{};  // of the light at a distance: constant, linear and quadratic
    float innerAngle = 0;  // of a spot's cone, in degrees
    float outerAngle = 0;
    float width = 0;  // of an area
    float height = 0;
    std::optional<std::size_t>
        group;  // the node above its own, if it has a name and is not the root
};

struct CameraFrame {
    double time = 0;  // seconds
    Pose pose;
};

// How a camera moves in one animation of the file.
struct CameraPath {
    WideString name;
    std::size_t camera = 0;
    std::vector<CameraFrame> frames;  // in the order of their times, each later than the one before
};

struct Scene {
    std::filesystem::path modelFile;
    std::filesystem::path textureFolder;
    std::vector<SceneMaterial> materials;
    std::vector<SceneMesh> meshes;
    std::vector<SceneNode> nodes;
    std::vector<SceneCamera> cameras;
    std::vector<SceneLight> lights;
    std::vector<CameraPath> cameraPaths;
    std::vector<SceneTexture> textures;  // when they were asked for
    // What the file tells about itself: names and texts.
    std::vector<std::pair<WideString, WideString>> remarks;

    // What the file has and the scene has not.
    std::size_t embeddedTextures = 0;
    std::size_t missingTextures = 0;
    std::size_t pointsAndLines = 0;
    std::size_t unplaced = 0;  // points and nodes with infinite coordinates, put at the origin
};

}  // namespace q7send

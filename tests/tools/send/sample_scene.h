// A scene with all that the library treats in a way of its own.
#pragma once

#include "send/mesh_vertices.h"
#include "send/scene.h"

namespace q7send {

inline constexpr Transform placeAt(float x, float y, float z) {
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1};
}

// Two triangles that share an edge; four vertices, padded to six.
inline SceneMesh squareMesh(std::size_t material) {
    SceneMesh mesh;
    mesh.name = u"square";
    mesh.material = material;
    mesh.positions = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    mesh.normals = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1};
    mesh.indices = {0, 1, 2, 0, 2, 3};
    padToWholeTriangles(mesh);
    return mesh;
}

// Materials "red" and "a/b". The node "two_parts" has meshes of both and two of "red"; "copy" has
// the same meshes, "alone" one of its own.
inline Scene sampleScene() {
    Scene scene;
    scene.modelFile = "/models/sample.obj";
    scene.textureFolder = "/models";
    scene.materials = {
        {u"red", {{u"BaseColor", WideString(u"#FF0000")}, {u"Opacity", 0.5F}}},
        {u"a/b", {}},
    };
    scene.meshes = {squareMesh(0), squareMesh(1), squareMesh(0), squareMesh(1)};
    scene.nodes = {
        {u"root", {}, placeAt(0, 0, 0), {}},
        {u"two_parts", 0, placeAt(1, 2, 3), {0, 1, 2}},
        {u"copy", 0, placeAt(4, 5, 6), {0, 1, 2}},
        {u"alone", 1, placeAt(7, 8, 9), {3}},
    };
    return scene;
}

// Each material has two meshes of a single node: both merge. "copy" and "two_parts" share nothing.
inline Scene mergeableScene() {
    Scene scene = sampleScene();
    scene.meshes.push_back(squareMesh(0));
    scene.nodes[2].meshes = {4};
    return scene;
}

}  // namespace q7send

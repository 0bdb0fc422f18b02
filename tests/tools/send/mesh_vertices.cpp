#include "send/mesh_vertices.h"

#include <gtest/gtest.h>

namespace q7send {

using Floats = std::vector<float>;
using Indices = std::vector<int>;

// Vertex i is at (i, i, i) with the uv (i, i).
SceneMesh meshOf(std::size_t vertices, Indices indices) {
    SceneMesh mesh;
    mesh.indices = std::move(indices);
    for (std::size_t i = 0; i < vertices; ++i) {
        const auto value = static_cast<float>(i);
        mesh.positions.insert(mesh.positions.end(), 3, value);
        mesh.normals.insert(mesh.normals.end(), 3, -value);
        mesh.uvs.insert(mesh.uvs.end(), 2, value);
    }
    return mesh;
}

TEST(DropUnusedVertices, ClosesTheGaps) {
    SceneMesh mesh = meshOf(6, {5, 1, 3, 3, 1, 4});
    dropUnusedVertices(mesh);
    EXPECT_EQ(mesh.indices, (Indices{3, 0, 1, 1, 0, 2}));
    EXPECT_EQ(mesh.positions, (Floats{1, 1, 1, 3, 3, 3, 4, 4, 4, 5, 5, 5}));
    EXPECT_EQ(mesh.normals, (Floats{-1, -1, -1, -3, -3, -3, -4, -4, -4, -5, -5, -5}));
    EXPECT_EQ(mesh.uvs, (Floats{1, 1, 3, 3, 4, 4, 5, 5}));
}

TEST(DropUnusedVertices, LeavesAMeshWithoutGaps) {
    SceneMesh mesh = meshOf(3, {2, 1, 0});
    mesh.normals.clear();
    mesh.uvs.clear();
    dropUnusedVertices(mesh);
    EXPECT_EQ(mesh.indices, (Indices{2, 1, 0}));
    EXPECT_EQ(mesh.vertexCount(), 3U);
    EXPECT_TRUE(mesh.normals.empty());
}

TEST(UnshareVertices, GivesEachCornerItsOwn) {
    SceneMesh mesh = meshOf(6, {0, 1, 2, 2, 1, 3});
    unshareVertices(mesh);
    EXPECT_EQ(mesh.indices, (Indices{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(mesh.positions, (Floats{0, 0, 0, 1, 1, 1, 2, 2, 2, 2, 2, 2, 1, 1, 1, 3, 3, 3}));
    EXPECT_EQ(mesh.normals.size(), 18U);
    EXPECT_EQ(mesh.normals.back(), -3);
    EXPECT_EQ(mesh.uvs, (Floats{0, 0, 1, 1, 2, 2, 2, 2, 1, 1, 3, 3}));
}

TEST(UnshareVertices, LeavesAbsentArraysAbsent) {
    SceneMesh mesh = meshOf(3, {2, 1, 0});
    mesh.normals.clear();
    mesh.uvs.clear();
    unshareVertices(mesh);
    EXPECT_EQ(mesh.positions, (Floats{2, 2, 2, 1, 1, 1, 0, 0, 0}));
    EXPECT_TRUE(mesh.normals.empty());
    EXPECT_TRUE(mesh.uvs.empty());
}

TEST(UnshareMergeable, LeavesMeshesOfSeveralNodes) {
    Scene scene;
    scene.meshes.assign(4, meshOf(6, {0, 1, 2, 2, 1, 3}));
    scene.nodes = {{u"a", {}, {}, {0, 1}}, {u"b", {}, {}, {1, 2, 2}}, {u"c", {}, {}, {}}};
    unshareMergeable(scene);
    const Indices shared{0, 1, 2, 2, 1, 3};
    const Indices unshared{0, 1, 2, 3, 4, 5};
    EXPECT_EQ(scene.meshes[0].indices, unshared);
    EXPECT_EQ(scene.meshes[1].indices, shared);
    EXPECT_EQ(scene.meshes[2].indices, unshared);
}

TEST(PadToWholeTriangles, RepeatsTheLastVertex) {
    SceneMesh mesh = meshOf(4, {0, 1, 2, 2, 1, 3});
    padToWholeTriangles(mesh);
    EXPECT_EQ(mesh.vertexCount(), 6U);
    EXPECT_EQ(Floats(mesh.positions.begin() + 9, mesh.positions.end()),
              (Floats{3, 3, 3, 3, 3, 3, 3, 3, 3}));
    EXPECT_EQ(mesh.normals.size(), 18U);
    EXPECT_EQ(mesh.normals.back(), -3);
    EXPECT_EQ(Floats(mesh.uvs.begin() + 6, mesh.uvs.end()), (Floats{3, 3, 3, 3, 3, 3}));
    EXPECT_EQ(mesh.triangleCount(), 2U);
}

TEST(PadToWholeTriangles, AddsNoMoreThanIsMissing) {
    for (std::size_t count = 0; count < 7; ++count) {
        SceneMesh mesh = meshOf(count, {});
        mesh.normals.clear();
        padToWholeTriangles(mesh);
        EXPECT_EQ(mesh.vertexCount(), (count + 2) / 3 * 3);
        EXPECT_EQ(mesh.uvs.size(), mesh.vertexCount() * 2);
        EXPECT_TRUE(mesh.normals.empty());
    }
}

}  // namespace q7send

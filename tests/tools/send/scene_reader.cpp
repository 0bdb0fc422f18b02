#include "send/scene_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "common/files.h"
#include "tests/temporary_folder.h"

namespace q7send {

namespace fs = std::filesystem;

class SceneReader : public testing::Test {
  protected:
    Scene read(const fs::path& name, const std::string& content) {
        std::ofstream(folder / name, std::ios::binary) << content;
        return readScene(folder / name, [](double) {});
    }

    static std::string reasonFor(const fs::path& path) {
        try {
            readScene(path, [](double) {});
            return "no error";
        } catch (const q7tools::FileError& error) {
            EXPECT_EQ(error.file(), q7tools::pathToUtf8(path));
            return error.what();
        }
    }

    TemporaryFolder folder;
};

constexpr char square[] = R"(v 0 0 0
v 1 0 0
v 1 1 0
v 0 1 0
vt 0.25 0.75
f 1/1 2/1 3/1 4/1
)";

TEST_F(SceneReader, PolygonsBecomeTrianglesThatShareVertices) {
    const Scene scene = read("square.obj", square);
    ASSERT_EQ(scene.meshes.size(), 1U);
    const SceneMesh& mesh = scene.meshes[0];
    EXPECT_EQ(mesh.triangleCount(), 2U);
    EXPECT_EQ(*std::max_element(mesh.indices.begin(), mesh.indices.end()), 3);
    // Four vertices, and two that fill up the second group of three.
    EXPECT_EQ(mesh.vertexCount(), 6U);
    ASSERT_EQ(mesh.normals.size(), 18U);
    EXPECT_EQ(mesh.normals[2], 1.0F);
    ASSERT_EQ(mesh.uvs.size(), 12U);
    EXPECT_EQ(mesh.uvs[1], 0.75F);
    EXPECT_LT(mesh.material, scene.materials.size());
}

TEST_F(SceneReader, FilesAreKnownByTheirWholePath) {
    const Scene scene = read("square.obj", square);
    EXPECT_EQ(scene.modelFile, folder / "square.obj");
    EXPECT_EQ(scene.textureFolder, folder.path());
}

TEST_F(SceneReader, PathsMayHaveAnyCharacter) {
    EXPECT_EQ(read(fs::path(u8"Fahrrad-窓 🚲.obj"), square).meshes.size(), 1U);
}

// Two nodes with one mesh, the second below a node that moves it.
constexpr char tree[] = R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}],
"nodes": [
  {"name": "base", "translation": [1, 0, 0], "mesh": 0, "children": [1]},
  {"name": "arm", "rotation": [0, 0, 0.70710678, 0.70710678], "children": [2]},
  {"name": "hand", "translation": [5, 0, 0], "mesh": 0}],
"meshes": [{"name": "plate", "primitives": [{"attributes": {"POSITION": 0}, "mode": 4}]}],
"accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3",
  "min": [0, 0, 0], "max": [1, 1, 0]}],
"bufferViews": [{"buffer": 0, "byteLength": 36}],
"buffers": [{"byteLength": 36, "uri":
  "data:application/octet-stream;base64,AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA"}]})";

TEST_F(SceneReader, NodesHaveTheirPlaceInTheWorld) {
    const Scene scene = read("tree.gltf", tree);
    ASSERT_EQ(scene.nodes.size(), 3U);
    EXPECT_EQ(scene.nodes[0].name, u"base");
    EXPECT_EQ(scene.nodes[0].parent, std::nullopt);
    EXPECT_EQ(scene.nodes[2].name, u"hand");
    EXPECT_EQ(scene.nodes[2].parent, 1U);
    // The arm turns x to y: five steps along its x lead to (1, 5, 0).
    const Transform& world = scene.nodes[2].world;
    EXPECT_NEAR(world[12], 1, 1e-5);
    EXPECT_NEAR(world[13], 5, 1e-5);
    EXPECT_NEAR(world[14], 0, 1e-5);
    EXPECT_NEAR(world[0], 0, 1e-5);
    EXPECT_NEAR(world[1], 1, 1e-5);
    EXPECT_NEAR(world[4], -1, 1e-5);
}

TEST_F(SceneReader, MeshesOfSeveralNodesAreReadOnce) {
    const Scene scene = read("tree.gltf", tree);
    EXPECT_EQ(scene.meshes.size(), 1U);
    EXPECT_EQ(scene.nodes[0].meshes, std::vector<std::size_t>{0});
    EXPECT_TRUE(scene.nodes[1].meshes.empty());
    EXPECT_EQ(scene.nodes[2].meshes, std::vector<std::size_t>{0});
}

TEST_F(SceneReader, PointsAndLinesAreCountedAndLeftOut) {
    const Scene scene = read("mixed.obj", std::string(square) + "l 1 2\nl 2 3\n");
    EXPECT_EQ(scene.pointsAndLines, 2U);
    ASSERT_EQ(scene.meshes.size(), 1U);
    EXPECT_EQ(scene.meshes[0].triangleCount(), 2U);
    const Scene lines = read("lines.obj", "v 0 0 0\nv 1 0 0\nl 1 2\n");
    EXPECT_TRUE(lines.meshes.empty());
    for (const SceneNode& node : lines.nodes)
        EXPECT_TRUE(node.meshes.empty());
}

TEST_F(SceneReader, InfiniteCoordinatesMoveToTheOrigin) {
    std::string text = tree;
    // The first vertex: infinity for its x.
    text.replace(text.find("base64,") + 7, 8, "AACAfwAA");
    const Scene scene = read("infinite.gltf", text);
    EXPECT_EQ(scene.unplaced, 1U);
    ASSERT_EQ(scene.meshes.size(), 1U);
    for (const auto& values : {scene.meshes[0].positions, scene.meshes[0].normals}) {
        for (const float value : values)
            EXPECT_TRUE(std::isfinite(value));
    }
}

TEST_F(SceneReader, TellsWhyAFileCannotBeRead) {
    EXPECT_EQ(reasonFor(folder / "absent.obj"),
              std::make_error_code(std::errc::no_such_file_or_directory).message());
    EXPECT_EQ(reasonFor(folder.path()), "is a folder");
    std::ofstream(folder / "text.unknown") << "nothing that Assimp reads";
    EXPECT_NE(reasonFor(folder / "text.unknown").find("No suitable reader"), std::string::npos);
    std::ofstream(folder / "broken.gltf") << "{";
    const std::string reason = reasonFor(folder / "broken.gltf");
    EXPECT_NE(reason, "no error");
    EXPECT_EQ(reason.find('\n'), std::string::npos);
}

TEST_F(SceneReader, ReportsProgressAndStaysSilent) {
    std::ofstream(folder / "square.obj") << square;
    std::ostringstream errors;
    std::streambuf* before = std::cerr.rdbuf(errors.rdbuf());
    std::vector<double> steps;
    readScene(folder / "square.obj", [&steps](double done) { steps.push_back(done); });
    EXPECT_EQ(std::cerr.rdbuf(before), errors.rdbuf());
    EXPECT_TRUE(std::cerr.good());
    EXPECT_EQ(errors.str(), "");
    ASSERT_FALSE(steps.empty());
    EXPECT_DOUBLE_EQ(steps.back(), 1.0);
}

}  // namespace q7send

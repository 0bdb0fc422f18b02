#include "inspect/validate.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/tools/common/stream_builder.h"

namespace {

using q7tools::StreamModel;
using streamtest::Scene;
using streamtest::StreamBuilder;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

using Lines = std::vector<std::string>;

std::string line(std::uint64_t offset, const std::string& reason) {
    return std::to_string(offset) + ": " + reason;
}

Lines faultsOf(const StreamBuilder& stream) {
    Lines lines;
    for (const q7inspect::Fault& fault :
         q7inspect::findFaults(q7tools::readStream(stream.bytes()))) {
        lines.push_back(line(fault.offset, fault.reason));
    }
    return lines;
}

Lines faultsOf(const Scene& scene) {
    return faultsOf(scene.build());
}

StreamModel modelOf(const Scene& scene) {
    return q7tools::readStream(scene.build().bytes());
}

Lines headerFaults(const std::u16string& header) {
    Scene scene;
    scene.header = header;
    return faultsOf(scene);
}

TEST(InspectValidate, soundStreamsHaveNoFault) {
    EXPECT_EQ(faultsOf(Scene()), Lines());
    Scene empty;
    empty.header = streamtest::headerText(0);
    empty.materials.clear();
    empty.instances.clear();
    empty.meshes.clear();
    EXPECT_EQ(faultsOf(empty), Lines());
}

TEST(InspectValidate, emptyMeshesAndUnusedRecordsAreSound) {
    Scene scene;
    scene.meshes.push_back({u"empty", {}, {}, {}, {}, {}});
    scene.materials.push_back({u"", u""});
    scene.instances.push_back({u"empty", u""});
    EXPECT_EQ(faultsOf(scene), Lines());
}

TEST(InspectValidate, version) {
    Scene scene;
    scene.version = 10;
    EXPECT_EQ(faultsOf(scene), Lines{"0: the version word is 10, not 11"});
}

TEST(InspectValidate, headerMustBeAnObject) {
    EXPECT_EQ(headerFaults(u"{"), Lines{"4: header: the text is not a JSON object"});
    EXPECT_EQ(headerFaults(u"7"), Lines{"4: header: the text is not a JSON object"});
    EXPECT_EQ(headerFaults(streamtest::headerText(5) + std::u16string(1, u'\0')),
              Lines{"4: header: the text is not a JSON object"});
}

TEST(InspectValidate, headerKeys) {
    EXPECT_EQ(headerFaults(u"{}"), (Lines{"4: header: the key \"dccPluginInfo\" is missing",
                                          "4: header: the key \"materialVersion\" is missing",
                                          "4: header: the key \"textureFolder\" is missing",
                                          "4: header: the key \"triangleCount\" is missing"}));
    EXPECT_EQ(headerFaults(u"{\"dccPluginInfo\":1,\"materialVersion\":\"2\",\"textureFolder\":null,"
                           u"\"triangleCount\":-5,\"extra\":0}"),
              (Lines{"4: header: \"dccPluginInfo\" is not a string",
                     "4: header: \"materialVersion\" is not an unsigned number",
                     "4: header: \"textureFolder\" is not a string",
                     "4: header: \"triangleCount\" is not an unsigned number",
                     "4: header: unknown key \"extra\""}));
}

TEST(InspectValidate, triangleCount) {
    EXPECT_EQ(headerFaults(streamtest::headerText(6)),
              Lines{"4: header: \"triangleCount\" is 6, but the instances place 5"});
}

TEST(InspectValidate, duplicateMaterials) {
    Scene scene;
    scene.materials.push_back({u"Lamp", u"again"});
    const StreamModel model = modelOf(scene);
    EXPECT_EQ(faultsOf(scene),
              Lines{line(model.materials[2].offset,
                         "a second material has the name \"Lamp\"; the first is at byte " +
                             std::to_string(model.materials[0].offset))});
}

TEST(InspectValidate, duplicateMeshes) {
    Scene scene;
    scene.meshes.push_back(scene.meshes[1]);
    const StreamModel model = modelOf(scene);
    EXPECT_EQ(faultsOf(scene),
              Lines{line(model.meshes[2].offset,
                         "a second mesh has the name \"tri\"; the first is at byte " +
                             std::to_string(model.meshes[1].offset))});
}

TEST(InspectValidate, typedMaterialLayout) {
    Scene scene;
    const std::size_t place = scene.materials[0].xml.find(u"&amp;");
    scene.materials[0].xml.replace(place, 5, u"&");
    const std::uint64_t text = modelOf(scene).materials[0].xmlOffset + 4;
    EXPECT_EQ(faultsOf(scene), Lines{line(text + 2 * place,
                                          "material \"Lamp\": a bare \"&\" in an element's text")});
}

TEST(InspectValidate, typedMaterialId) {
    Scene scene;
    scene.materials[0].name = u"Lamp2";
    scene.instances[0].material = u"Lamp2";
    EXPECT_EQ(faultsOf(scene), Lines{line(modelOf(scene).materials[0].xmlOffset,
                                          "material \"Lamp2\": its text has the id \"Lamp\"")});
}

TEST(InspectValidate, references) {
    Scene scene;
    scene.instances[2] = {u"none", u"Nothing"};
    scene.header = streamtest::headerText(4);
    const auto instance = modelOf(scene).instances[2];
    EXPECT_EQ(faultsOf(scene),
              (Lines{line(instance.offset,
                          "an instance of the mesh \"none\", which the stream does not hold"),
                     line(instance.materialOffset,
                          "an instance with the material \"Nothing\", which the stream does not "
                          "hold")}));
}

TEST(InspectValidate, transforms) {
    Scene scene;
    scene.instances[1].transform[6] = nan;
    EXPECT_EQ(faultsOf(scene),
              Lines{line(modelOf(scene).instances[1].transformOffset + 24,
                         "an instance of the mesh \"quad\": transform[6] is nan")});
    scene.instances[1].transform[15] = -infinity;
    EXPECT_EQ(faultsOf(scene),
              Lines{line(modelOf(scene).instances[1].transformOffset + 24,
                         "an instance of the mesh \"quad\": transform[6] is nan, and 1 more is not "
                         "finite")});
}

TEST(InspectValidate, positions) {
    Scene scene;
    scene.meshes[1].positions = {0, 0, 0, infinity, 0, 0, 0, nan, 0, 1};
    const auto mesh = modelOf(scene).meshes[1];
    EXPECT_EQ(
        faultsOf(scene),
        (Lines{line(mesh.positionsOffset, "mesh \"tri\": 10 position values are not whole triples"),
               line(mesh.positionsOffset + 4 + 12,
                    "mesh \"tri\": positions[3] is inf, and 1 more is not finite")}));
}

TEST(InspectValidate, normals) {
    Scene scene;
    scene.meshes[1].normals = {0, 0, 1};
    EXPECT_EQ(faultsOf(scene), Lines{line(modelOf(scene).meshes[1].normalsOffset,
                                          "mesh \"tri\": 3 normal values for 9 position values")});
}

TEST(InspectValidate, uvs) {
    Scene scene;
    scene.meshes[1].uvs.clear();
    EXPECT_EQ(faultsOf(scene), Lines{line(modelOf(scene).meshes[1].uvsOffset,
                                          "mesh \"tri\": 0 uv values for 3 vertices")});
}

TEST(InspectValidate, indices) {
    Scene scene;
    scene.meshes[0].indices = {0, 1, 4, -1, 2, 3, 99, 0};
    const auto mesh = modelOf(scene).meshes[0];
    EXPECT_EQ(faultsOf(scene),
              (Lines{line(mesh.indicesOffset, "mesh \"quad\": 8 indices are not whole triangles"),
                     line(mesh.indicesOffset + 4 + 8,
                          "mesh \"quad\": indices[2] is 4, but the mesh has 4 vertices, and 2 more "
                          "are out of range")}));
}

TEST(InspectValidate, mergedMeshesAreSound) {
    EXPECT_EQ(faultsOf(streamtest::mergedScene()), Lines{});
}

TEST(InspectValidate, triangleCountCountsThePointsOfMergedMeshes) {
    Scene scene = streamtest::mergedScene();
    scene.header = streamtest::headerText(2);
    EXPECT_EQ(faultsOf(scene), Lines{"4: header: \"triangleCount\" is 2, but the instances place "
                                     "6, of merged meshes the points"});
}

TEST(InspectValidate, otherIndicesOfAMergedNameObeyTheRules) {
    Scene scene = streamtest::mergedScene();
    scene.meshes[2].indices[1] = 2;
    const auto mesh = modelOf(scene).meshes[2];
    EXPECT_EQ(faultsOf(scene), Lines{line(mesh.indicesOffset + 4 + 6 * 4,
                                          "mesh \"Wall_q7_merged\": indices[6] is 6, but the mesh "
                                          "has 6 vertices, and 11 more are out of range")});
    scene.meshes[2].indices = {0, 1, 2, 3};
    scene.header = streamtest::headerText(1);
    EXPECT_EQ(faultsOf(scene),
              Lines{line(mesh.indicesOffset,
                         "mesh \"Wall_q7_merged\": 4 indices are not whole triangles")});
    scene.meshes[2].indices = {0, 1, 2, 5, 4, 3};
    scene.header = streamtest::headerText(2);
    EXPECT_EQ(faultsOf(scene), Lines{});
}

TEST(InspectValidate, theListOfAMergedMeshUnderAnotherNameIsFaulty) {
    Scene scene = streamtest::mergedScene();
    scene.meshes[2].name = scene.instances[0].mesh = u"Wall";
    EXPECT_EQ(faultsOf(scene), Lines{line(modelOf(scene).meshes[2].indicesOffset + 4 + 6 * 4,
                                          "mesh \"Wall\": indices[6] is 6, but the mesh has 6 "
                                          "vertices, and 11 more are out of range")});
}

TEST(InspectValidate, indicesWithoutVertices) {
    Scene scene;
    scene.meshes.push_back({u"hollow", {}, {}, {}, {}, {0, 0, 0}});
    EXPECT_EQ(
        faultsOf(scene),
        Lines{line(modelOf(scene).meshes[2].indicesOffset + 4,
                   "mesh \"hollow\": indices[0] is 0, but the mesh has 0 vertices, and 2 more "
                   "are out of range")});
}

TEST(InspectValidate, trailingBytes) {
    StreamBuilder one = Scene().build();
    const std::uint64_t end = one.offset();
    one.byte(0);
    EXPECT_EQ(faultsOf(one), Lines{line(end, "1 byte follows the end of the stream")});
    StreamBuilder more = one;
    more.byte(0);
    EXPECT_EQ(faultsOf(more), Lines{line(end, "2 bytes follow the end of the stream")});
}

TEST(InspectValidate, faultsComeInTheOrderOfTheFile) {
    Scene scene;
    scene.version = 1;
    scene.header = u"";
    scene.materials.push_back(scene.materials[1]);
    scene.materials[0].xml = u"<Material_2>";
    scene.instances[0].material = u"?";
    scene.meshes[0].uvs.clear();
    scene.meshes.push_back(scene.meshes[0]);
    const auto faults = q7inspect::findFaults(modelOf(scene));
    EXPECT_EQ(faults.size(), 8U);
    for (std::size_t i = 1; i < faults.size(); ++i) {
        EXPECT_LE(faults[i - 1].offset, faults[i].offset);
    }
}

}  // namespace

#include "send/scene_sender.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "common/stream_reader.h"
#include "send/mesh_vertices.h"
#include "tests/read_file.h"
#include "tests/temporary_folder.h"
#include "tests/tools/send/sample_scene.h"

namespace q7send {

using q7tools::StreamInstance;
using q7tools::StreamMesh;
using q7tools::StreamModel;

struct Sent {
    SendTotals totals;
    StreamModel stream;
    std::string materials;
    std::vector<double> progress;
};

Sent send(const Scene& scene, StreamForm form = StreamForm::raw) {
    const TemporaryFolder folder;
    Sent sent;
    SceneSender sender;
    sent.totals =
        sender.describe(scene, "1.2", [&sent](double done) { sent.progress.push_back(done); });
    sender.saveStream(folder / "out.q7mesh", form);
    sender.saveMaterials(folder / "out.xml");
    sent.stream = q7tools::readStreamFile(folder / "out.q7mesh");
    sent.materials = readFile(folder / "out.xml");
    return sent;
}

std::vector<const StreamInstance*> instancesOf(const StreamModel& model, WideView mesh) {
    std::vector<const StreamInstance*> found;
    for (const StreamInstance& instance : model.instances) {
        if (instance.mesh == mesh) found.push_back(&instance);
    }
    return found;
}

TEST(SceneSender, CountsWhatItHandsOver) {
    const Sent sent = send(sampleScene());
    EXPECT_EQ(sent.totals.nodes, 3U);
    EXPECT_EQ(sent.totals.duplicates, 1U);
    EXPECT_EQ(sent.totals.materials, 2U);
    EXPECT_EQ(sent.totals.instances, 5U);
    EXPECT_EQ(sent.totals.triangles, 14U);
    EXPECT_EQ(sent.stream.instances.size(), 5U);
    EXPECT_EQ(sent.stream.placedTriangleCount(), 14U);
    EXPECT_EQ(sent.stream.trailingBytes(), 0U);
    ASSERT_FALSE(sent.progress.empty());
    EXPECT_EQ(sent.progress.back(), 1.0);
}

TEST(SceneSender, MeshesOfOneMaterialJoinWithinTheirNode) {
    const Sent sent = send(sampleScene());
    const StreamMesh* red = sent.stream.findMesh(u"two@parts_red");
    ASSERT_NE(red, nullptr);
    EXPECT_EQ(red->indices, (std::vector<std::int32_t>{0, 1, 2, 0, 2, 3, 6, 7, 8, 6, 8, 9}));
    EXPECT_EQ(red->vertexCount(), 12U);
    EXPECT_EQ(red->normals.size(), 36U);
    EXPECT_EQ(red->uvs.size(), 24U);
    const StreamMesh* other = sent.stream.findMesh(u"two@parts_a/b");
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(other->indices, (std::vector<std::int32_t>{0, 1, 2, 0, 2, 3}));
}

TEST(SceneSender, DuplicatesShareMeshesAtTheirOwnPlace) {
    const Sent sent = send(sampleScene());
    EXPECT_EQ(sent.stream.meshes.size(), 3U);
    const auto red = instancesOf(sent.stream, u"two@parts_red");
    ASSERT_EQ(red.size(), 2U);
    EXPECT_EQ(red[0]->transform, placeAt(1, 2, 3));
    EXPECT_EQ(red[1]->transform, placeAt(4, 5, 6));
    EXPECT_EQ(red[1]->material, u"red");
    const auto other = instancesOf(sent.stream, u"two@parts_a/b");
    ASSERT_EQ(other.size(), 2U);
    EXPECT_EQ(other[1]->material, u"a@b");
    ASSERT_EQ(instancesOf(sent.stream, u"alone_a/b").size(), 1U);
}

TEST(SceneSender, MeshesInDifferentListsAreStillShared) {
    Scene scene = sampleScene();
    scene.nodes[2].meshes = {1};
    const Sent sent = send(scene);
    EXPECT_EQ(sent.stream.meshes.size(), 4U);
    EXPECT_EQ(instancesOf(sent.stream, u"two@parts.square (2)_a/b").size(), 2U);
    EXPECT_EQ(sent.totals.nodes, 5U);
    EXPECT_EQ(sent.totals.duplicates, 1U);
    EXPECT_EQ(sent.stream.placedTriangleCount(), 10U);
}

TEST(SceneSender, NamesThatWouldMergeStayApart) {
    Scene scene = sampleScene();
    scene.nodes[2] = {u"two@parts", 0, placeAt(0, 0, 0), {3}};
    scene.nodes[3].meshes.clear();
    scene.materials[0].name = u"a@b";
    const Sent sent = send(scene);
    ASSERT_EQ(sent.stream.materials.size(), 2U);
    EXPECT_NE(sent.stream.findMaterial(u"a@b (2)"), nullptr);
    EXPECT_NE(sent.stream.findMesh(u"two@parts (2)_a/b (2)"), nullptr);
    EXPECT_EQ(sent.stream.meshes.size(), 3U);
}

TEST(SceneSender, MaterialsAreTyped) {
    const Sent sent = send(sampleScene());
    const auto* red = sent.stream.findMaterial(u"red");
    ASSERT_NE(red, nullptr);
    EXPECT_EQ(red->xml,
              u"<Material_2>\n"
              u"    <id>red</id>\n"
              u"    <Type>/Game/MatLib2/Base/Base/Base_9/m.m</Type>\n"
              u"    <BaseColor>#FF0000</BaseColor>\n"
              u"    <Opacity>0.5</Opacity>\n"
              u"</Material_2>\n");
    EXPECT_TRUE(sent.materials.starts_with("<Q7Materials_2>"));
    EXPECT_NE(sent.materials.find("<id>a@b</id>"), std::string::npos);
}

TEST(SceneSender, TheHeaderNamesProgramAndTextureFolder) {
    const auto header = nlohmann::json::parse(wideToUtf8(send(sampleScene()).stream.headerText));
    EXPECT_EQ(header.at("dccPluginInfo"), "q7-send 1.2");
    EXPECT_EQ(header.at("textureFolder"), "/models");
    EXPECT_EQ(header.at("triangleCount"), 14);
    // One more than the version that was set.
    EXPECT_EQ(header.at("materialVersion"), 2);
}

TEST(SceneSender, TheProcessedFormIsMerged) {
    Scene scene = mergeableScene();
    unshareMergeable(scene);
    const Sent sent = send(scene, StreamForm::processed);
    EXPECT_EQ(sent.totals.instances, 4U);
    EXPECT_EQ(sent.stream.instances.size(), 2U);
    EXPECT_EQ(sent.stream.meshes.size(), 6U);
    const StreamMesh* red = sent.stream.findMesh(u"red_q7_merged");
    ASSERT_NE(red, nullptr);
    EXPECT_TRUE(red->isMerged());
    EXPECT_EQ(red->triangleCount(), 6U);
    ASSERT_EQ(instancesOf(sent.stream, red->name).size(), 1U);
    EXPECT_EQ(sent.stream.placedTriangleCount(), sent.totals.triangles);
}

TEST(SceneSender, AnEmptySceneIsAnEmptyStream) {
    const Sent sent = send(Scene{});
    EXPECT_EQ(sent.totals.nodes, 0U);
    EXPECT_TRUE(sent.stream.instances.empty());
    EXPECT_TRUE(sent.stream.meshes.empty());
}

}  // namespace q7send

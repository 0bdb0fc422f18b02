#include "model/node_builder.h"

#include <gtest/gtest.h>

// What hosts can do with nodes is tested through the exports; here is what no file shows.

namespace {

const float triangle[9] = {};

TriangleBatch oneTriangle() {
    TriangleBatch batch;
    batch.triangleCount = 1;
    batch.positions = triangle;
    return batch;
}

}  // namespace

TEST(NodeBuilder, KeepsTheCallersTransformUntilAnotherBegins) {
    SessionCore core;
    NodeBuilder builder(core);
    EXPECT_EQ(builder.transform, nullptr);
    const Transform first = identityTransform;
    builder.begin(u"node", first.data(), u"path");
    EXPECT_EQ(builder.transform, first.data());
    EXPECT_EQ(builder.currentNode, u"node");
    EXPECT_EQ(builder.instancePath, u"path");
    builder.addTriangles(u"m", oneTriangle());
    builder.end();
    EXPECT_EQ(core.model->instances.at(0)->path, u"path");
    EXPECT_EQ(builder.transform, first.data());
    EXPECT_EQ(builder.currentNode, u"");
    EXPECT_EQ(builder.instancePath, u"");
}

TEST(NodeBuilder, AnEmptyNameKeepsTheNodeAndTakesTheHint) {
    SessionCore core;
    NodeBuilder builder(core);
    const Transform first = identityTransform;
    const Transform second = identityTransform;
    builder.begin(u"node", first.data(), 5, u"path");
    EXPECT_EQ(builder.triangleHint, 5U);
    builder.begin(u"", second.data(), 7, u"other");
    EXPECT_EQ(builder.currentNode, u"node");
    EXPECT_EQ(builder.transform, first.data());
    EXPECT_EQ(builder.instancePath, u"path");
    EXPECT_EQ(builder.triangleHint, 7U);
    EXPECT_EQ(builder.nodeInstances.size(), 1U);
    builder.begin(u"plain", second.data(), u"");
    EXPECT_EQ(builder.currentNode, u"plain");
    EXPECT_EQ(builder.transform, second.data());
    EXPECT_EQ(builder.instancePath, u"");
    EXPECT_EQ(builder.triangleHint, 7U);
    builder.end();
    EXPECT_EQ(builder.triangleHint, 0U);
}

TEST(NodeBuilder, TheHintReservesForEachSubMeshInFull) {
    SessionCore core;
    NodeBuilder builder(core);
    builder.begin(u"node", identityTransform.data(), 1000, u"");
    builder.addTriangles(u"a", oneTriangle());
    builder.addTriangles(u"b", oneTriangle());
    for (const auto* material : {u"a", u"b"}) {
        const Mesh& mesh = *builder.subMeshes.at(material);
        EXPECT_GE(mesh.positions.capacity(), 9000U);
        EXPECT_GE(mesh.normals.capacity(), 9000U);
        EXPECT_GE(mesh.uvs.capacity(), 6000U);
    }
}

TEST(NodeBuilder, WhatAHintReservedTooMuchGoesBackAtTheEnd) {
    SessionCore core;
    NodeBuilder builder(core);
    builder.begin(u"node", identityTransform.data(), 1000, u"");
    builder.addTriangles(u"a", oneTriangle());
    builder.end();
    const Mesh& mesh = *core.model->meshAt(u"node_a");
    EXPECT_LT(mesh.positions.capacity(), 100U);
    EXPECT_EQ(mesh.normals.capacity(), 0U);
    EXPECT_LT(mesh.uvs.capacity(), 100U);
    EXPECT_EQ(mesh.positions.size(), 9U);
}

TEST(NodeBuilder, NullUvsAreZeroesInMemoryThatHeldOthers) {
    SessionCore core;
    NodeBuilder builder(core);
    const float uvs[6] = {7, 7, 7, 7, 7, 7};
    TriangleBatch batch = oneTriangle();
    batch.uvs = uvs;
    builder.addTriangles(u"a", batch);
    Mesh& mesh = *builder.subMeshes.at(u"a");
    mesh.uvs.clear();
    builder.addTriangles(u"a", oneTriangle());
    EXPECT_EQ(mesh.uvs, Array<float>(6, 0.0F));
}

TEST(NodeBuilder, ARefusedSubMeshLeavesItsMaterialAndHandleZero) {
    SessionCore core;
    NodeBuilder builder(core);
    builder.begin(u"node", identityTransform.data(), u"");
    builder.addTriangles(u"m", oneTriangle());
    builder.subMeshes.at(u"m")->uvs.clear();
    builder.end();
    EXPECT_TRUE(core.model->hasMaterial(u"m"));
    EXPECT_TRUE(core.model->meshes.empty());
    EXPECT_EQ(builder.nodeInstances.at(u"node"), std::vector<InstanceHandle>{0});
}

TEST(NodeBuilder, AnUpdatedMeshKeepsItsRecord) {
    SessionCore core;
    NodeBuilder builder(core);
    for (int round = 0; round < 2; ++round) {
        builder.begin(u"node", identityTransform.data(), u"");
        builder.addTriangles(u"m", oneTriangle());
        builder.end();
    }
    const auto& instances = core.model->instances;
    ASSERT_EQ(instances.size(), 2U);
    EXPECT_EQ(instances[0]->mesh, instances[1]->mesh);
    EXPECT_EQ(instances[0]->mesh, core.model->meshAt(u"node_m"));
}

TEST(NodeBuilder, WithoutAHintASubMeshHoldsWhatItWasGiven) {
    SessionCore core;
    NodeBuilder builder(core);
    builder.begin(u"node", identityTransform.data(), 0, u"");
    builder.addTriangles(u"a", oneTriangle());
    EXPECT_LT(builder.subMeshes.at(u"a")->positions.capacity(), 100U);
}

TEST(NodeBuilder, AFailedStepLeavesHandleZeroAndDuplicationSkipsIt) {
    SessionCore core;
    core.materialVersion = 2;
    core.model->addDefaultMaterial(u"known");
    NodeBuilder builder(core);
    builder.begin(u"node", identityTransform.data(), u"");
    builder.addTriangles(u"unknown", oneTriangle());
    builder.addTriangles(u"known", oneTriangle());
    builder.end();
    const auto& handles = builder.nodeInstances.at(u"node");
    ASSERT_EQ(handles.size(), 2U);
    EXPECT_EQ(handles[0], 0U);
    EXPECT_EQ(handles[1], core.model->instances.at(0)->handle());
    builder.duplicate(u"node", u"copy", identityTransform.data(), u"");
    EXPECT_EQ(builder.nodeInstances.at(u"copy").size(), 1U);
    EXPECT_EQ(core.model->instances.size(), 2U);
}

TEST(NodeBuilder, ADuplicateHasThePointersOfItsSource) {
    SessionCore core;
    NodeBuilder builder(core);
    builder.begin(u"node", identityTransform.data(), u"");
    builder.addTriangles(u"a/b", oneTriangle());
    builder.end();
    builder.duplicate(u"node", u"copy", nullptr, u"p");
    const auto& instances = core.model->instances;
    ASSERT_EQ(instances.size(), 2U);
    EXPECT_EQ(instances[1]->mesh, instances[0]->mesh);
    EXPECT_EQ(instances[1]->material, instances[0]->material);
    EXPECT_EQ(instances[1]->path, u"p");
}

TEST(NodeBuilder, ManyCopiesUnderOneNameDoNotMoveTheListEachTime) {
    SessionCore core;
    NodeBuilder builder(core);
    builder.begin(u"node", identityTransform.data(), u"");
    builder.addTriangles(u"m", oneTriangle());
    builder.end();
    int moves = 0;
    std::size_t capacity = 0;
    for (int i = 0; i < 1000; ++i) {
        builder.duplicate(u"node", u"copies", nullptr, u"");
        if (builder.nodeInstances.at(u"copies").capacity() != capacity) ++moves;
        capacity = builder.nodeInstances.at(u"copies").capacity();
    }
    EXPECT_EQ(builder.nodeInstances.at(u"copies").size(), 1000U);
    EXPECT_LT(moves, 50);
}

TEST(NodeBuilder, AnUnknownSourceLeavesAnEmptyEntry) {
    SessionCore core;
    NodeBuilder builder(core);
    builder.duplicate(u"unknown", u"copy", nullptr, u"");
    ASSERT_TRUE(builder.nodeInstances.contains(u"copy"));
    EXPECT_TRUE(builder.nodeInstances.at(u"copy").empty());
    EXPECT_FALSE(builder.nodeInstances.contains(u"unknown"));
}

TEST(NodeBuilder, ANodeWithoutTrianglesLeavesItsEntry) {
    SessionCore core;
    NodeBuilder builder(core);
    builder.begin(u"node", identityTransform.data(), u"");
    builder.end();
    EXPECT_TRUE(builder.nodeInstances.at(u"node").empty());
    builder.end();
    EXPECT_EQ(builder.nodeInstances.size(), 1U);
}

TEST(NodeBuilder, AnEndWithNoNodeOpenWorksOnTheEntryOfTheEmptyName) {
    SessionCore core;
    NodeBuilder builder(core);
    builder.addTriangles(u"m", oneTriangle());
    builder.end();
    EXPECT_EQ(builder.nodeInstances.at(u"").size(), 1U);
    builder.remove(u"");
    EXPECT_EQ(core.pendingDeletions.size(), 1U);
}

TEST(NodeBuilder, RemovingMarksEveryHandleAndForgetsTheNode) {
    SessionCore core;
    NodeBuilder builder(core);
    builder.begin(u"node", identityTransform.data(), u"");
    builder.addTriangles(u"a", oneTriangle());
    builder.addTriangles(u"b", oneTriangle());
    builder.end();
    builder.remove(u"node");
    EXPECT_EQ(core.pendingDeletions.size(), 2U);
    EXPECT_FALSE(builder.nodeInstances.contains(u"node"));
    EXPECT_EQ(core.model->instances.size(), 2U);
    EXPECT_EQ(core.model->meshes.size(), 2U);
    builder.remove(u"node");
    EXPECT_EQ(core.pendingDeletions.size(), 2U);
}

TEST(NodeBuilder, OldInstancesGoAndNewOnesOfTheSameNameStay) {
    SessionCore core;
    NodeBuilder builder(core);
    for (int round = 0; round < 2; ++round) {
        builder.begin(u"node", identityTransform.data(), u"");
        builder.addTriangles(u"m", oneTriangle());
        builder.end();
        if (round == 0) builder.remove(u"node");
    }
    ASSERT_EQ(core.model->instances.size(), 2U);
    const InstanceHandle kept = core.model->instances[1]->handle();
    core.applyPendingDeletes();
    ASSERT_EQ(core.model->instances.size(), 1U);
    EXPECT_EQ(core.model->instances[0]->handle(), kept);
    EXPECT_EQ(builder.nodeInstances.at(u"node"), std::vector<InstanceHandle>{kept});
}

TEST(NodeBuilder, NothingIsMadeByANegativeCount) {
    SessionCore core;
    NodeBuilder builder(core);
    TriangleBatch batch = oneTriangle();
    batch.triangleCount = -1;
    EXPECT_THROW(builder.addTriangles(u"m", batch), std::length_error);
    EXPECT_TRUE(builder.subMeshes.empty());
}

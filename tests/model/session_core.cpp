#include "model/session_core.h"

#include <gtest/gtest.h>

#include <numeric>

TEST(SessionCore, StartsWithItsDefaults) {
    const SessionCore core;
    EXPECT_FALSE(core.connected);
    EXPECT_EQ(core.modelFilePath, u"");
    EXPECT_FALSE(core.relevantPath);
    EXPECT_NE(core.model, nullptr);
    EXPECT_NE(core.metaEntity, nullptr);
    EXPECT_NE(core.cameraEntity, nullptr);
    EXPECT_NE(core.metaEntity, core.cameraEntity);
    EXPECT_TRUE(core.legacyScenes.empty());
    EXPECT_TRUE(core.pendingDeletions.empty());
    EXPECT_EQ(core.materialVersion, 0U);
}

TEST(SessionCoreAddScene, AppendsWithNoTestForDuplicates) {
    SessionCore core;
    std::array<unsigned char, 36> data;
    std::iota(data.begin(), data.end(), static_cast<unsigned char>(1));
    core.addScene(u"s", u"label", data.data(), 0xFFFFFFFF);
    data.fill(0);
    core.addScene(u"s", u"label", data.data(), 0);
    ASSERT_EQ(core.legacyScenes.size(), 2U);
    const LegacyScene& first = core.legacyScenes[0];
    EXPECT_EQ(first.name, u"s");
    EXPECT_EQ(first.label, u"label");
    EXPECT_EQ(first.value, 0xFFFFFFFFU);
    for (std::size_t i = 0; i < 36; ++i)
        EXPECT_EQ(first.sceneData[i], static_cast<std::byte>(i + 1));
    EXPECT_EQ(core.legacyScenes[1].sceneData[35], std::byte{0});
}

TEST(SessionCoreApplyPendingDeletes, RemovesWhatIsMarkedAndForgetsTheMarks) {
    SessionCore core;
    core.model->addMesh(u"mesh", {});
    core.model->addDefaultMaterial(u"m");
    const InstanceHandle first = core.model->addInstance(u"mesh", u"m", nullptr, u"");
    const InstanceHandle second = core.model->addInstance(u"mesh", u"m", nullptr, u"");
    core.pendingDeletions.insert(first);
    core.pendingDeletions.insert(0);
    core.applyPendingDeletes();
    ASSERT_EQ(core.model->instances.size(), 1U);
    EXPECT_EQ(core.model->instances[0]->handle(), second);
    EXPECT_TRUE(core.pendingDeletions.empty());
    EXPECT_TRUE(core.model->hasMesh(u"mesh"));
}

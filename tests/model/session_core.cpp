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
    EXPECT_TRUE(core.scenes.empty());
    EXPECT_TRUE(core.lights.empty());
    EXPECT_TRUE(core.cameraAnims.empty());
    EXPECT_TRUE(core.pathElementNames.empty());
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

TEST(EntityType, HasItsNumbers) {
    EXPECT_EQ(static_cast<int>(EntityType::Camera), 0);
    EXPECT_EQ(static_cast<int>(EntityType::Light), 1);
    EXPECT_EQ(static_cast<int>(EntityType::Scene), 2);
    EXPECT_EQ(static_cast<int>(EntityType::MetaData), 3);
    EXPECT_EQ(static_cast<int>(EntityType::CameraAnimation), 4);
}

TEST(EntityType, ThoseOfSeveralRecordsAreNamed) {
    const bool named[] = {false, true, true, false, true, false};
    for (std::uint32_t type = 0; type < std::size(named); ++type)
        EXPECT_EQ(isNamed(static_cast<EntityType>(type)), named[type]) << type;
}

TEST(SessionCoreFindEntity, EachTypeHasItsRecords) {
    SessionCore core;
    addEntity(core.lights, u"name");
    addEntity(core.scenes, u"name");
    core.addCameraAnimation(u"name");
    EXPECT_EQ(core.findEntity(EntityType::Camera, u"any"), core.cameraEntity.get());
    EXPECT_EQ(core.findEntity(EntityType::MetaData, u"any"), core.metaEntity.get());
    EXPECT_EQ(core.findEntity(EntityType::Light, u"name"), core.lights.at(u"name").get());
    EXPECT_EQ(core.findEntity(EntityType::Scene, u"name"), core.scenes.at(u"name").get());
    EXPECT_EQ(core.findEntity(EntityType::CameraAnimation, u"name"),
              core.cameraAnims.at(u"name").get());
    for (const std::uint32_t type : {1U, 2U, 4U})
        EXPECT_EQ(core.findEntity(static_cast<EntityType>(type), u"other"), nullptr);
    for (const std::uint32_t type : {5U, 0xFFFFFFFFU})
        EXPECT_EQ(core.findEntity(static_cast<EntityType>(type), u"name"), nullptr);
}

TEST(SessionCoreFindAnimation, OnlyCameraAnimationsHaveFrames) {
    SessionCore core;
    core.addCameraAnimation(u"name");
    addEntity(core.lights, u"name");
    EXPECT_EQ(core.findAnimation(EntityType::CameraAnimation, u"name"),
              core.cameraAnims.at(u"name").get());
    EXPECT_EQ(core.findAnimation(EntityType::CameraAnimation, u"other"), nullptr);
    EXPECT_EQ(core.findAnimation(EntityType::Light, u"name"), nullptr);
}

TEST(AddEntity, EmptiesTheOneThatHasTheName) {
    EntityStore store;
    addEntity(store, u"name");
    store.at(u"name")->setText(u"property", u"value");
    addEntity(store, u"name");
    EXPECT_EQ(store.size(), 1U);
    EXPECT_TRUE(store.at(u"name")->properties.empty());
}

TEST(SessionCoreAddCameraAnimation, ReplacesTheOneThatHasTheName) {
    SessionCore core;
    core.addCameraAnimation(u"name");
    core.cameraAnims.at(u"name")->addFrame(1);
    core.cameraAnims.at(u"name")->setText(u"property", u"value");
    core.addCameraAnimation(u"name");
    ASSERT_EQ(core.cameraAnims.size(), 1U);
    const Q7AnimationEntity& animation = *core.cameraAnims.at(u"name");
    EXPECT_TRUE(animation.frames.empty());
    ASSERT_EQ(animation.properties.size(), 1U);
    EXPECT_EQ(animation.properties.begin()->second.name, u"Name");
    EXPECT_EQ(animation.properties.begin()->second.text(), u"name");
}

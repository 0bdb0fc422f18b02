#include "send/scene_entities.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "q7plugin.h"
#include "tests/message_recorder.h"
#include "tests/tools/send/sample_scene.h"

namespace q7send {

using nlohmann::json;

Scene sceneWithViews() {
    Scene scene = sampleScene();
    const Pose pose{{1, 2, 3}, {0, 0, -1}, {0, 1, 0}};
    scene.cameras = {{u"front", pose, 45, 1.5F, 0.5F, 100, 0}, {u"front", pose, 45, 0, 1, 2, 8}};
    SceneLight spot;
    spot.name = u"lamp";
    spot.type = LightType::spot;
    spot.pose = pose;
    spot.color = {1, 0.5F, 0};
    spot.intensity = 4;
    spot.attenuation = {1, 0, 0};
    spot.innerAngle = 30;
    spot.outerAngle = 60;
    spot.group = 1;
    SceneLight area;
    area.type = LightType::area;
    area.width = 2;
    area.height = 3;
    scene.lights = {spot, area};
    Pose moved = pose;
    moved.position = {4, 2, 3};
    scene.cameraPaths = {{u"flight", 1, {{0, pose}, {3, moved}}}};
    scene.remarks = {{u"Author", u"me"}, {u"Triangles", u"many"}};
    return scene;
}

class SceneEntities : public testing::Test {
  protected:
    SceneEntities() : session(CreateSession()) {
        SetModelFilePath(session, Q7T("m"));
        SendTotals totals;
        totals.nodes = 3;
        totals.materials = 2;
        totals.triangles = 5'000'000'000;
        describeEntities(session, sceneWithViews(), totals, "1.2");
    }
    ~SceneEntities() override { DestroySession(session); }

    json sent(std::uint32_t word, void (*send)(void*)) {
        return json::parse(wideToUtf8(recorder.textOf(word, [&] { send(session); })));
    }

    MessageRecorder recorder;
    void* session;
};

TEST_F(SceneEntities, TheFirstCameraIsTheView) {
    EXPECT_EQ(sent(12, Q7SendCamera), (json{{"AspectRatio", 1.5},
                                            {"Direction", {0.0, 0.0, -1.0}},
                                            {"FarPlane", 100.0},
                                            {"FieldOfView", 45.0},
                                            {"Name", "front"},
                                            {"NearPlane", 0.5},
                                            {"Position", {1.0, 2.0, 3.0}},
                                            {"Up", {0.0, 1.0, 0.0}},
                                            {"model_file_path", "m"}}));
}

TEST_F(SceneEntities, EveryCameraIsAScene) {
    const json scenes = sent(13, Q7SendScenes).at("scenes");
    ASSERT_EQ(scenes.size(), 2U);
    EXPECT_EQ(scenes[0]["Name"], "front");
    EXPECT_EQ(scenes[1]["Name"], "front");
    EXPECT_EQ(scenes[1]["OrthographicWidth"], 8.0);
    EXPECT_FALSE(scenes[1].contains("FieldOfView"));
    EXPECT_FALSE(scenes[1].contains("AspectRatio"));
}

TEST_F(SceneEntities, LightsHaveWhatTheirTypeNeeds) {
    const json message = sent(14, Q7SendLights);
    EXPECT_EQ(message.at("groups"), (json{{{"id", "1"}, {"name", "two_parts"}}}));
    ASSERT_EQ(message.at("lights").size(), 2U);
    EXPECT_EQ(message["lights"][0], (json{{"Attenuation", {1.0, 0.0, 0.0}},
                                          {"Color", {1.0, 0.5, 0.0}},
                                          {"Direction", {0.0, 0.0, -1.0}},
                                          {"Group", "1"},
                                          {"InnerAngle", 30.0},
                                          {"Intensity", 4.0},
                                          {"Name", "lamp"},
                                          {"OuterAngle", 60.0},
                                          {"Position", {1.0, 2.0, 3.0}},
                                          {"Type", "Spot"},
                                          {"Up", {0.0, 1.0, 0.0}}}));
    const json& area = message["lights"][1];
    EXPECT_EQ(area["Type"], "Area");
    EXPECT_EQ(area["Size"], (json{2.0, 3.0}));
    EXPECT_FALSE(area.contains("Group"));
    EXPECT_FALSE(area.contains("InnerAngle"));
}

TEST_F(SceneEntities, AnimationsAreStraightBetweenTheirFrames) {
    const json animations = sent(18, Q7SendCameraAnims).at("CameraAnimations");
    ASSERT_EQ(animations.size(), 1U);
    EXPECT_EQ(animations[0]["Name"], "flight");
    EXPECT_EQ(animations[0]["Camera"], "front");
    const json& frames = animations[0]["FrameData"];
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(frames[0]["T"], 0.0);
    EXPECT_EQ(frames[1]["T"], 3.0);
    EXPECT_EQ(frames[0]["Position"].size(), 3U);
    EXPECT_EQ(frames[0]["Position"][0],
              (json{{"V", 1.0}, {"LT", 0.0}, {"LV", 1.0}, {"RT", 1.0}, {"RV", 2.0}}));
    EXPECT_EQ(frames[1]["Position"][0],
              (json{{"V", 4.0}, {"LT", 2.0}, {"LV", 3.0}, {"RT", 3.0}, {"RV", 4.0}}));
    EXPECT_EQ(frames[1]["Direction"][2]["V"], -1.0);
    EXPECT_EQ(frames[1]["Up"][1]["V"], 1.0);
}

TEST_F(SceneEntities, MetadataCountsAndKeepsRemarks) {
    EXPECT_EQ(sent(15, Q7SendMetaData), (json{{"Author", "me"},
                                              {"Cameras", 2},
                                              {"Generator", "q7-send 1.2"},
                                              {"Lights", 2},
                                              {"Materials", 2},
                                              {"Name", "sample.obj"},
                                              {"Nodes", 3},
                                              {"Triangles", 2147483647},
                                              {"model_file_path", "m"}}));
}

TEST(MessageCountsTest, TellWhatThereIs) {
    const MessageCounts counts = countMessages(sceneWithViews());
    EXPECT_EQ(counts.cameras, 2U);
    EXPECT_EQ(counts.lights, 2U);
    EXPECT_EQ(counts.animations, 1U);
    EXPECT_EQ(counts.frames, 2U);
    EXPECT_EQ(countMessages(sampleScene()).cameras, 0U);
}

}  // namespace q7send

#include "send/camera_path_reader.h"

#include <gtest/gtest.h>

#include <limits>

#include "send/camera_reader.h"
#include "tests/tools/send/source_scene.h"

namespace q7send {

class CameraPathReader : public testing::Test {
  protected:
    static aiNodeAnim* channel(const char* node, const std::vector<aiVectorKey>& positions) {
        auto* made = new aiNodeAnim;
        made->mNodeName = node;
        made->mNumPositionKeys = static_cast<unsigned>(positions.size());
        made->mPositionKeys = new aiVectorKey[positions.size()];
        std::copy(positions.begin(), positions.end(), made->mPositionKeys);
        return made;
    }

    static aiAnimation* animation(const char* name, const std::vector<aiNodeAnim*>& channels) {
        auto* made = new aiAnimation;
        made->mName = name;
        made->mTicksPerSecond = 10;
        made->mNumChannels = static_cast<unsigned>(channels.size());
        made->mChannels = arrayOf(channels);
        return made;
    }

    const std::vector<CameraPath>& read() {
        from.placeNodes();
        readCameras(from.source, from.nodes, from.scene);
        readCameraPaths(from.source, from.nodes, from.scene);
        return from.scene.cameraPaths;
    }

    SourceScene from;
};

TEST_F(CameraPathReader, NodesAboveMoveTheCameraToo) {
    from.setCameras({sourceCamera("hand")});
    from.setAnimations({animation(
        "swing", {channel("hand", {{0, {10, 0, 0}}, {20, {30, 0, 0}}}),
                  channel("arm", {{10, {0, 5, 0}}}), channel("elsewhere", {{1, {1, 1, 1}}})})});
    const auto& paths = read();
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(paths[0].name, u"swing");
    EXPECT_EQ(paths[0].camera, 0U);
    ASSERT_EQ(paths[0].frames.size(), 3U);
    const std::vector<std::pair<double, Vector>> expected{
        {0, {10, 5, 0}}, {1, {20, 5, 0}}, {2, {30, 5, 0}}};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_DOUBLE_EQ(paths[0].frames[i].time, expected[i].first);
        EXPECT_EQ(paths[0].frames[i].pose.position, expected[i].second);
        EXPECT_EQ(paths[0].frames[i].pose.direction, (Vector{0, 0, -1}));
    }
}

TEST_F(CameraPathReader, CamerasTurn) {
    from.setCameras({sourceCamera("hand")});
    aiNodeAnim* turning = channel("hand", {});
    turning->mNumRotationKeys = 2;
    turning->mRotationKeys = new aiQuatKey[2];
    turning->mRotationKeys[0] = {0, aiQuaternion(1, 0, 0, 0)};
    // A quarter turn about y leads from -z to -x.
    turning->mRotationKeys[1] = {5, aiQuaternion(0.70710678F, 0, 0.70710678F, 0)};
    from.setAnimations({animation("", {turning})});
    const auto& paths = read();
    ASSERT_EQ(paths.size(), 1U);
    // Without a name of its own it has that of the camera.
    EXPECT_EQ(paths[0].name, u"hand");
    ASSERT_EQ(paths[0].frames.size(), 2U);
    EXPECT_NEAR(paths[0].frames[1].pose.direction[0], -1, 1e-6);
    EXPECT_NEAR(paths[0].frames[1].pose.direction[2], 0, 1e-6);
}

TEST_F(CameraPathReader, SeveralCamerasAreToldApart) {
    from.setCameras({sourceCamera("hand"), sourceCamera("arm"), sourceCamera("root")});
    from.setAnimations({animation("swing", {channel("arm", {{0, {0, 0, 0}}})})});
    const auto& paths = read();
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_EQ(paths[0].name, u"swing - hand");
    EXPECT_EQ(paths[1].name, u"swing - arm");
    EXPECT_EQ(paths[1].camera, 1U);
}

TEST_F(CameraPathReader, FramesWithoutAPlaceAreLeftOut) {
    from.setCameras({sourceCamera("hand")});
    const float infinite = std::numeric_limits<float>::infinity();
    aiAnimation* jump =
        animation("jump", {channel("hand", {{0, {0, 0, 0}}, {25, {infinite, 0, 0}}})});
    jump->mTicksPerSecond = 0;
    from.setAnimations({jump, animation("lost", {channel("hand", {{0, {infinite, 0, 0}}})})});
    const auto& paths = read();
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(paths[0].frames.size(), 1U);
    EXPECT_EQ(from.scene.unplaced, 2U);
}

TEST_F(CameraPathReader, FilesWithoutTicksHave25ASecond) {
    from.setCameras({sourceCamera("hand")});
    aiAnimation* slow = animation("slow", {channel("hand", {{50, {0, 0, 0}}})});
    slow->mTicksPerSecond = 0;
    from.setAnimations({slow});
    EXPECT_DOUBLE_EQ(read().at(0).frames.at(0).time, 2);
}

}  // namespace q7send

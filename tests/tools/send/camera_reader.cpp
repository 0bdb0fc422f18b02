#include "send/camera_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/tools/send/source_scene.h"

namespace q7send {

TEST(CameraReader, CamerasStandInTheWorld) {
    SourceScene from;
    aiCamera* camera = sourceCamera("hand");
    camera->mHorizontalFOV = 3.14159265F / 4;
    camera->mAspect = 1.5F;
    camera->mClipPlaneNear = 0.25F;
    camera->mClipPlaneFar = 50;
    camera->mOrthographicWidth = 7;
    from.setCameras({camera, sourceCamera("nowhere")});
    from.placeNodes();
    readCameras(from.source, from.nodes, from.scene);
    ASSERT_EQ(from.scene.cameras.size(), 2U);
    const SceneCamera& read = from.scene.cameras[0];
    EXPECT_EQ(read.name, u"hand");
    EXPECT_EQ(read.pose, (Pose{{11, 2, 3}, {0, 0, -1}, {0, 1, 0}}));
    EXPECT_FLOAT_EQ(read.fieldOfView, 45);
    EXPECT_EQ(read.aspectRatio, 1.5F);
    EXPECT_EQ(read.nearPlane, 0.25F);
    EXPECT_EQ(read.farPlane, 50);
    EXPECT_EQ(read.orthographicWidth, 14);
    EXPECT_EQ(from.scene.cameras[1].pose.position, Vector{});
    EXPECT_EQ(from.scene.unplaced, 0U);
}

TEST(CameraReader, ValuesWithoutSenseAreReplaced) {
    SourceScene from;
    aiCamera* camera = sourceCamera("hand");
    camera->mHorizontalFOV = std::numeric_limits<float>::quiet_NaN();
    camera->mLookAt = {0, 0, 0};
    from.setCameras({camera});
    from.placeNodes();
    readCameras(from.source, from.nodes, from.scene);
    EXPECT_EQ(from.scene.cameras.at(0).fieldOfView, 0);
    EXPECT_EQ(from.scene.cameras[0].pose, (Pose{{0, 0, 0}, {0, 0, -1}, {0, 1, 0}}));
    EXPECT_EQ(from.scene.unplaced, 1U);
}

}  // namespace q7send

#include "send/camera_reader.h"

#include <cmath>

#include "send/clean_text.h"
#include "send/transform.h"

namespace q7send {

namespace {

// Values that a file leaves open, or gives without sense.
float finiteOr(float value, float otherwise) {
    return std::isfinite(value) ? value : otherwise;
}

Pose worldPoseOf(const aiCamera& camera, const NodeTable& nodes, Scene& scene) {
    const auto node = nodes.find(camera.mName);
    const Transform still = transformOf(aiMatrix4x4());
    const Pose local = poseInNode(camera, nodes);
    const auto pose = worldPose(local, node ? scene.nodes[*node].world : still);
    if (pose) return *pose;
    ++scene.unplaced;
    return unturned;
}

}  // namespace

Pose poseInNode(const aiCamera& camera, const NodeTable& nodes) {
    const auto node = nodes.find(camera.mName);
    return {node ? placeInNode(camera.mPosition, nodes[*node]) : vectorOf(camera.mPosition),
            vectorOf(camera.mLookAt), vectorOf(camera.mUp)};
}

void readCameras(const aiScene& source, const NodeTable& nodes, Scene& scene) {
    scene.cameras.reserve(source.mNumCameras);
    for (unsigned i = 0; i < source.mNumCameras; ++i) {
        const aiCamera& from = *source.mCameras[i];
        SceneCamera& camera = scene.cameras.emplace_back();
        camera.name = cleanText(from.mName.C_Str());
        camera.pose = worldPoseOf(from, nodes, scene);
        camera.fieldOfView = finiteOr(from.mHorizontalFOV * degrees, 0);
        camera.aspectRatio = finiteOr(from.mAspect, 0);
        camera.nearPlane = finiteOr(from.mClipPlaneNear, 0);
        camera.farPlane = finiteOr(from.mClipPlaneFar, 0);
        camera.orthographicWidth = 2 * finiteOr(from.mOrthographicWidth, 0);
    }
}

}  // namespace q7send

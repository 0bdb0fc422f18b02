#include "send/camera_path_reader.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string>
#include <unordered_map>

#include "send/camera_reader.h"
#include "send/clean_text.h"
#include "send/transform.h"

namespace q7send {

namespace {

// Where a file does not tell how long a tick is.
constexpr double usualTicksPerSecond = 25;

using Channels = std::unordered_map<std::string, const aiNodeAnim*>;

aiVector3D between(const aiVector3D& from, const aiVector3D& to, float part) {
    return from + (to - from) * part;
}

aiQuaternion between(const aiQuaternion& from, const aiQuaternion& to, float part) {
    aiQuaternion result;
    aiQuaternion::Interpolate(result, from, to, part);
    return result.Normalize();
}

// The keys stand in the order of their times.
template <class Key, class Value>
Value valueAt(std::span<const Key> keys, double time, const Value& otherwise) {
    if (keys.empty()) return otherwise;
    const auto next = std::upper_bound(keys.begin(), keys.end(), time,
                                       [](double t, const Key& key) { return t < key.mTime; });
    if (next == keys.begin()) return keys.front().mValue;
    if (next == keys.end()) return keys.back().mValue;
    const Key& before = *(next - 1);
    // What follows may be infinite.
    if (before.mTime >= time) return before.mValue;
    const double part = (time - before.mTime) / (next->mTime - before.mTime);
    return between(before.mValue, next->mValue, static_cast<float>(part));
}

// The animation of a node takes the place of its own transform.
aiMatrix4x4 matrixAt(const aiNodeAnim& channel, double time) {
    const auto position =
        valueAt(std::span<const aiVectorKey>(channel.mPositionKeys, channel.mNumPositionKeys), time,
                aiVector3D());
    const auto rotation =
        valueAt(std::span<const aiQuatKey>(channel.mRotationKeys, channel.mNumRotationKeys), time,
                aiQuaternion());
    const auto scaling =
        valueAt(std::span<const aiVectorKey>(channel.mScalingKeys, channel.mNumScalingKeys), time,
                aiVector3D(1, 1, 1));
    return {scaling, rotation, position};
}

const aiNodeAnim* channelOf(const Channels& channels, const aiNode& node) {
    const auto found = channels.find(node.mName.C_Str());
    return found == channels.end() ? nullptr : found->second;
}

template <class Key>
void addTimes(const Key* keys, unsigned count, std::vector<double>& times) {
    for (unsigned i = 0; i < count; ++i) {
        if (std::isfinite(keys[i].mTime)) times.push_back(keys[i].mTime);
    }
}

// The times of all keys that move the node, in order and each once.
std::vector<double> keyTimes(const Channels& channels, const aiNode* node) {
    std::vector<double> times;
    for (; node != nullptr; node = node->mParent) {
        const aiNodeAnim* channel = channelOf(channels, *node);
        if (channel == nullptr) continue;
        addTimes(channel->mPositionKeys, channel->mNumPositionKeys, times);
        addTimes(channel->mRotationKeys, channel->mNumRotationKeys, times);
        addTimes(channel->mScalingKeys, channel->mNumScalingKeys, times);
    }
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

Transform worldAt(const Channels& channels, const aiNode* node, double time) {
    aiMatrix4x4 world;
    for (; node != nullptr; node = node->mParent) {
        const aiNodeAnim* channel = channelOf(channels, *node);
        world = (channel != nullptr ? matrixAt(*channel, time) : node->mTransformation) * world;
    }
    return transformOf(world);
}

Channels channelsOf(const aiAnimation& animation) {
    Channels channels;
    for (unsigned i = 0; i < animation.mNumChannels; ++i) {
        const aiNodeAnim& channel = *animation.mChannels[i];
        channels.try_emplace(channel.mNodeName.C_Str(), &channel);
    }
    return channels;
}

// That of the animation, and of the camera where there are several.
WideString nameOf(const aiAnimation& animation, const Scene& scene, std::size_t camera) {
    const WideString name = cleanText(animation.mName.C_Str());
    if (name.empty()) return scene.cameras[camera].name;
    return scene.cameras.size() == 1 ? name : name + u" - " + scene.cameras[camera].name;
}

void readPath(const aiAnimation& animation, const aiCamera& camera, std::size_t number,
              const NodeTable& nodes, Scene& scene) {
    const auto node = nodes.find(camera.mName);
    if (!node) return;
    const Channels channels = channelsOf(animation);
    const double perSecond =
        animation.mTicksPerSecond > 0 ? animation.mTicksPerSecond : usualTicksPerSecond;
    Pose local = poseInNode(camera, nodes);
    // A moved node has its place from its keys.
    if (channelOf(channels, nodes[*node]) != nullptr) local.position = {};
    CameraPath path{nameOf(animation, scene, number), number, {}};
    for (const double time : keyTimes(channels, &nodes[*node])) {
        const auto pose = worldPose(local, worldAt(channels, &nodes[*node], time));
        if (!pose) {
            ++scene.unplaced;
            continue;
        }
        path.frames.push_back({time / perSecond, *pose});
    }
    if (!path.frames.empty()) scene.cameraPaths.push_back(std::move(path));
}

}  // namespace

void readCameraPaths(const aiScene& source, const NodeTable& nodes, Scene& scene) {
    for (unsigned i = 0; i < source.mNumAnimations; ++i) {
        for (unsigned camera = 0; camera < source.mNumCameras; ++camera)
            readPath(*source.mAnimations[i], *source.mCameras[camera], camera, nodes, scene);
    }
}

}  // namespace q7send

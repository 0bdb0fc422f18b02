#include "send/light_reader.h"

#include <algorithm>
#include <cmath>

#include "send/clean_text.h"
#include "send/transform.h"

namespace q7send {

namespace {

LightType typeOf(aiLightSourceType type) {
    switch (type) {
        case aiLightSource_DIRECTIONAL:
            return LightType::directional;
        case aiLightSource_SPOT:
            return LightType::spot;
        case aiLightSource_AMBIENT:
            return LightType::ambient;
        case aiLightSource_AREA:
            return LightType::area;
        default:
            return LightType::point;
    }
}

bool isNull(const aiVector3D& v) {
    return v.x == 0 && v.y == 0 && v.z == 0;
}

// Readers leave out what a kind of light does not need, and often the upward direction.
Pose poseInNode(const aiLight& light, Vector place) {
    Pose pose = unturned;
    pose.position = place;
    if (!isNull(light.mDirection)) pose.direction = vectorOf(light.mDirection);
    if (!isNull(light.mUp)) pose.up = vectorOf(light.mUp);
    return pose;
}

void readPose(const aiLight& from, const NodeTable& nodes, Scene& scene, SceneLight& light) {
    const auto node = nodes.find(from.mName);
    const Vector place =
        node ? placeInNode(from.mPosition, nodes[*node]) : vectorOf(from.mPosition);
    const Transform still = transformOf(aiMatrix4x4());
    const auto pose = worldPose(poseInNode(from, place), node ? scene.nodes[*node].world : still);
    if (!pose) ++scene.unplaced;
    light.pose = pose.value_or(unturned);
    if (!node) return;
    const auto& parent = scene.nodes[*node].parent;
    const bool isGroup = parent && *parent != 0 && !scene.nodes[*parent].name.empty();
    if (isGroup) light.group = parent;
}

float finite(float value) {
    return std::isfinite(value) ? value : 0;
}

// Files of some kinds tell the power of a light through colors above 1. What is black gives no
// diffuse light and may still give ambient light.
void readColor(const aiLight& from, SceneLight& light) {
    const aiColor3D given = from.mColorDiffuse.IsBlack() ? from.mColorAmbient : from.mColorDiffuse;
    light.color = {finite(given.r), finite(given.g), finite(given.b)};
    light.intensity = *std::max_element(light.color.begin(), light.color.end());
    if (light.intensity <= 0) return;
    for (float& part : light.color)
        part /= light.intensity;
}

}  // namespace

void readLights(const aiScene& source, const NodeTable& nodes, Scene& scene) {
    scene.lights.reserve(source.mNumLights);
    for (unsigned i = 0; i < source.mNumLights; ++i) {
        const aiLight& from = *source.mLights[i];
        SceneLight light;
        light.name = cleanText(from.mName.C_Str());
        light.type = typeOf(from.mType);
        readPose(from, nodes, scene, light);
        readColor(from, light);
        light.attenuation = {finite(from.mAttenuationConstant), finite(from.mAttenuationLinear),
                             finite(from.mAttenuationQuadratic)};
        light.innerAngle = finite(from.mAngleInnerCone * degrees);
        light.outerAngle = finite(from.mAngleOuterCone * degrees);
        light.width = finite(from.mSize.x);
        light.height = finite(from.mSize.y);
        scene.lights.push_back(std::move(light));
    }
}

}  // namespace q7send

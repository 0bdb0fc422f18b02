#include "send/light_reader.h"

#include <gtest/gtest.h>

#include "tests/tools/send/source_scene.h"

namespace q7send {

aiLight* sourceLight(const char* node, aiLightSourceType type) {
    auto* light = new aiLight;
    light->mName = node;
    light->mType = type;
    return light;
}

TEST(LightReader, LightsStandInTheWorld) {
    SourceScene from;
    aiLight* spot = sourceLight("hand", aiLightSource_SPOT);
    spot->mDirection = {0, -4, 0};
    spot->mUp = {1, 0, 0};
    spot->mColorDiffuse = {4, 2, 0};
    spot->mAttenuationConstant = 1;
    spot->mAttenuationLinear = 2;
    spot->mAttenuationQuadratic = 3;
    spot->mAngleInnerCone = 3.14159265F / 4;
    spot->mAngleOuterCone = 3.14159265F / 2;
    from.setLights({spot});
    from.placeNodes();
    readLights(from.source, from.nodes, from.scene);
    const SceneLight& read = from.scene.lights.at(0);
    EXPECT_EQ(read.type, LightType::spot);
    EXPECT_EQ(read.pose, (Pose{{11, 2, 3}, {0, -1, 0}, {1, 0, 0}}));
    EXPECT_EQ(read.color, (Vector{1, 0.5F, 0}));
    EXPECT_EQ(read.intensity, 4);
    EXPECT_EQ(read.attenuation, (Vector{1, 2, 3}));
    EXPECT_FLOAT_EQ(read.innerAngle, 45);
    EXPECT_FLOAT_EQ(read.outerAngle, 90);
    EXPECT_EQ(read.group, 1U);
}

TEST(LightReader, WhatAKindOfLightDoesNotNeedIsLeftOut) {
    SourceScene from;
    aiLight* ambient = sourceLight("arm", aiLightSource_AMBIENT);
    ambient->mColorDiffuse = {0, 0, 0};
    ambient->mColorAmbient = {0.5F, 0.5F, 0.5F};
    aiLight* dark = sourceLight("nowhere", aiLightSource_UNDEFINED);
    dark->mColorDiffuse = dark->mColorAmbient = {0, 0, 0};
    dark->mPosition = {7, 8, 9};
    from.setLights({ambient, dark});
    from.placeNodes();
    readLights(from.source, from.nodes, from.scene);
    ASSERT_EQ(from.scene.lights.size(), 2U);
    EXPECT_EQ(from.scene.lights[0].type, LightType::ambient);
    EXPECT_EQ(from.scene.lights[0].color, (Vector{1, 1, 1}));
    EXPECT_EQ(from.scene.lights[0].intensity, 0.5F);
    EXPECT_EQ(from.scene.lights[0].pose.direction, (Vector{0, 0, -1}));
    // The root is no group.
    EXPECT_EQ(from.scene.lights[0].group, std::nullopt);
    EXPECT_EQ(from.scene.lights[1].type, LightType::point);
    EXPECT_EQ(from.scene.lights[1].pose.position, (Vector{7, 8, 9}));
    EXPECT_EQ(from.scene.lights[1].color, Vector{});
    EXPECT_EQ(from.scene.lights[1].intensity, 0);
}

}  // namespace q7send

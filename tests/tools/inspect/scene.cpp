#include "inspect/scene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/tools/common/stream_builder.h"

namespace {

using namespace q7inspect;
using q7tools::readStream;
using q7tools::StreamModel;
using streamtest::Scene;

// Turns x into y and y into -x, doubles z, moves by (5, 6, 7).
constexpr Transform turned{0, 1, 0, 9, -1, 0, 0, 9, 0, 0, 2, 9, 5, 6, 7, 9};

TEST(InspectScene, parsesTheHeader) {
    EXPECT_EQ(parseHeader(streamtest::headerText(3))->at("triangleCount"), 3);
    EXPECT_FALSE(parseHeader(u"").has_value());
    EXPECT_FALSE(parseHeader(u"[1]").has_value());
    EXPECT_FALSE(parseHeader(u"{\"a\":").has_value());
    EXPECT_FALSE(parseHeader(std::u16string(u"{}\0x", 4)).has_value());
    EXPECT_FALSE(parseHeader(u"{\"a\":1e999}").has_value());
}

TEST(InspectScene, refusesBottomlessHeaders) {
    const auto nested = [](std::size_t levels) {
        return u"{\"a\":" + std::u16string(levels, u'[') + std::u16string(levels, u']') + u"}";
    };
    EXPECT_TRUE(parseHeader(nested(50)).has_value());
    EXPECT_FALSE(parseHeader(nested(500'000)).has_value());
}

TEST(InspectScene, looksUpTheFirstOfAName) {
    Scene scene;
    scene.meshes.push_back({u"quad", {}, {}, {}, {}, {}});
    const StreamModel model = readStream(scene.build().bytes());
    const MeshLookup lookup(model);
    EXPECT_EQ(lookup.find(u"quad"), 0U);
    EXPECT_EQ(lookup.find(u"tri"), 1U);
    EXPECT_FALSE(lookup.find(u"none").has_value());
    EXPECT_EQ(meshUses(model, lookup), (std::vector<std::uint64_t>{2, 1, 0}));
}

TEST(InspectScene, placesPointsAsRowVectors) {
    const float point[] = {1, 2, 3};
    EXPECT_EQ(toWorld(turned, point), (Point{3, 7, 13}));
}

TEST(InspectScene, placesNormals) {
    EXPECT_DOUBLE_EQ(determinant(turned), 2);
    const float up[] = {0, 0, 1};
    EXPECT_EQ(normalToWorld(turned, up), (Point{0, 0, 1}));
    const float alongX[] = {1, 0, 0};
    EXPECT_EQ(normalToWorld(turned, alongX), (Point{0, 2, 0}));
}

TEST(InspectScene, normalsOfMirroredMeshesStayOutside) {
    Transform mirrored = streamtest::identity;
    mirrored[0] = -1;
    EXPECT_DOUBLE_EQ(determinant(mirrored), -1);
    const float outwards[] = {1, 0, 0};
    EXPECT_EQ(normalToWorld(mirrored, outwards), (Point{-1, 0, 0}));
    const float up[] = {0, 0, 1};
    EXPECT_EQ(normalToWorld(mirrored, up), (Point{0, 0, 1}));
}

TEST(InspectScene, boundsHoldAllPlacedVertices) {
    const StreamModel model = readStream(Scene().build().bytes());
    const auto bounds = worldBounds(model, MeshLookup(model));
    ASSERT_TRUE(bounds.has_value());
    EXPECT_EQ(bounds->lowest, (Point{0, 0, -5}));
    EXPECT_EQ(bounds->highest, (Point{11, 21, 30}));
    EXPECT_TRUE(bounds->exact);
}

TEST(InspectScene, boundsLeaveOutWhatIsNotPlacedOrNotFinite) {
    Scene scene;
    scene.meshes.push_back({u"unused", {500, 500, 500}, {}, {0, 0}, {}, {}});
    scene.meshes[0].positions[0] = std::numeric_limits<float>::quiet_NaN();
    scene.meshes[0].positions[3] = std::numeric_limits<float>::infinity();
    scene.instances.push_back({u"missing", u"Wall"});
    const StreamModel model = readStream(scene.build().bytes());
    const auto bounds = worldBounds(model, MeshLookup(model));
    EXPECT_EQ(bounds->highest, (Point{11, 21, 30}));

    scene.instances.clear();
    const StreamModel empty = readStream(scene.build().bytes());
    EXPECT_FALSE(worldBounds(empty, MeshLookup(empty)).has_value());
}

TEST(InspectScene, meshesPlacedVeryOftenCountByTheirBox) {
    Scene scene;
    const float half = std::sqrt(0.5F);
    scene.instances = {
        {u"tri", u"Wall", {half, half, 0, 0, -half, half, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}}};
    const StreamModel model = readStream(scene.build().bytes());
    const auto exact = worldBounds(model, MeshLookup(model), 3);
    EXPECT_TRUE(exact->exact);
    EXPECT_NEAR(exact->highest[1], 2 * half, 1e-6);
    const auto outer = worldBounds(model, MeshLookup(model), 2);
    EXPECT_FALSE(outer->exact);
    EXPECT_NEAR(outer->highest[1], 4 * half, 1e-6);
}

}  // namespace

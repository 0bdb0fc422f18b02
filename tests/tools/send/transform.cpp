#include "send/transform.h"

#include <gtest/gtest.h>

#include <limits>

namespace q7send {

constexpr Transform numbered = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};

constexpr Transform moved(float x, float y, float z) {
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1};
}

TEST(Transposed, SwapsRowsAndColumns) {
    EXPECT_EQ(transposed(numbered),
              (Transform{1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 4, 8, 12, 16}));
    EXPECT_EQ(transposed(transposed(numbered)), numbered);
}

TEST(Transposed, PutsTheTranslationLast) {
    const Transform forColumns = {1, 0, 0, 7, 0, 1, 0, 8, 0, 0, 1, 9, 0, 0, 0, 1};
    EXPECT_EQ(transposed(forColumns), moved(7, 8, 9));
}

TEST(WorldTransform, TheChildMovesWithinItsParent) {
    EXPECT_EQ(worldTransform(moved(1, 2, 3), moved(10, 20, 30)), moved(11, 22, 33));
    // A quarter turn about z takes x to y.
    const Transform turn = {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const Transform world = worldTransform(moved(1, 0, 0), turn);
    EXPECT_EQ((std::array{world[12], world[13], world[14]}), (std::array{0.0F, 1.0F, 0.0F}));
    const Transform other = worldTransform(turn, moved(1, 0, 0));
    EXPECT_EQ((std::array{other[12], other[13], other[14]}), (std::array{1.0F, 0.0F, 0.0F}));
}

TEST(WorldTransform, TheIdentityChangesNothing) {
    EXPECT_EQ(worldTransform(numbered, moved(0, 0, 0)), numbered);
    EXPECT_EQ(worldTransform(moved(0, 0, 0), numbered), numbered);
}

TEST(WorldPose, MovesAndTurns) {
    // A quarter turn about z, then a step.
    const Transform world{0, 2, 0, 0, -2, 0, 0, 0, 0, 0, 2, 0, 5, 6, 7, 1};
    const auto pose = worldPose({{1, 0, 0}, {0, 0, -9}, {0, 3, 0}}, world);
    EXPECT_EQ(pose, (Pose{{5, 8, 7}, {0, 0, -1}, {-1, 0, 0}}));
}

TEST(WorldPose, NeedsAPlaceAndDirections) {
    constexpr Transform still{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const Pose good{{0, 0, 0}, {0, 0, -1}, {0, 1, 0}};
    EXPECT_TRUE(worldPose(good, still));
    Pose bad = good;
    bad.direction = {0, 0, 0};
    EXPECT_FALSE(worldPose(bad, still));
    bad = good;
    bad.position[1] = std::numeric_limits<float>::infinity();
    EXPECT_FALSE(worldPose(bad, still));
}

}  // namespace q7send

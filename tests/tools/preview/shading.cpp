#include "preview/shading.h"

#include <gtest/gtest.h>

namespace {

using q7preview::background;
using q7preview::Color;
using q7preview::Pixel;
using q7preview::shade;
using q7preview::Vector;

constexpr Vector sky{0, 1, 0};
constexpr Vector toViewer{0, 0, -1};
constexpr Color black{0, 0, 0};

double lightOn(const Vector& normal) {
    return shade({1, 1, 1}, normal, toViewer, sky).red - shade(black, normal, toViewer, sky).red;
}

TEST(PreviewShading, facingTheViewerIsBright) {
    EXPECT_GT(lightOn({0, 0, -1}), 0.7);
    EXPECT_LT(lightOn({0, 0, -1}), 1);
}

TEST(PreviewShading, theSkyIsAboveAndTheGroundBelow) {
    // Neither sees the lamp, but the first one.
    EXPECT_GT(lightOn({0, 1, 0}), lightOn({1, 0, 0}));
    EXPECT_DOUBLE_EQ(lightOn({1, 0, 0}), 0.23);
    EXPECT_DOUBLE_EQ(lightOn({0, -1, 0}), 0.1);
}

TEST(PreviewShading, nothingIsWithoutLight) {
    for (const Vector normal : {Vector{1, 0, 0}, {-1, 0, 0}, {0, -1, 0}, {0, 0, 1}})
        EXPECT_GE(lightOn(normal), 0.1);
}

TEST(PreviewShading, colorsKeepTheirShares) {
    const Vector away{0, -1, 0};
    const Color color = shade({1, 0.5, 0}, away, toViewer, sky);
    EXPECT_DOUBLE_EQ(color.red, 0.1);
    EXPECT_DOUBLE_EQ(color.green, 0.05);
    EXPECT_DOUBLE_EQ(color.blue, 0);
}

TEST(PreviewShading, glossIsBetweenLampAndViewer) {
    const Vector between = q7preview::unit(q7preview::unit({-0.45, 0.65, -1}) + toViewer);
    EXPECT_NEAR(shade(black, between, toViewer, sky).green, 0.12, 1e-9);
    EXPECT_NEAR(shade(black, {1, 0, 0}, toViewer, sky).green, 0, 1e-9);
}

TEST(PreviewShading, backgroundDarkensDownwards) {
    EXPECT_EQ(background(0), (Pixel{250, 251, 253}));
    EXPECT_EQ(background(1), (Pixel{196, 205, 216}));
    EXPECT_EQ(background(0.5), (Pixel{223, 228, 235}));
}

}  // namespace

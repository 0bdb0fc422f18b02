#include "preview/texture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using q7preview::Color;
using q7preview::colorOf;
using q7preview::Image;
using q7preview::Pixel;
using q7preview::Size;
using q7preview::Texture;
using q7preview::toScreen;

constexpr Pixel red{255, 0, 0};
constexpr Pixel green{0, 255, 0};
constexpr Pixel blue{0, 0, 255};
constexpr Pixel white{255, 255, 255};

Texture fourPixels() {
    Image image(Size{2, 2});
    image.setPixel(0, 0, red);
    image.setPixel(1, 0, green);
    image.setPixel(0, 1, blue);
    image.setPixel(1, 1, white);
    return Texture(image);
}

TEST(PreviewTexture, screenValuesComeBack) {
    for (int value = 0; value < 256; ++value) {
        const auto byte = static_cast<std::uint8_t>(value);
        EXPECT_EQ(toScreen(colorOf({byte, 0, 0}).red), value);
    }
    EXPECT_EQ(toScreen(-1), 0);
    EXPECT_EQ(toScreen(7), 255);
    EXPECT_EQ(colorOf(white), (Color{1, 1, 1}));
}

TEST(PreviewTexture, originIsTheLowerLeftCorner) {
    const Texture texture = fourPixels();
    EXPECT_EQ(texture.sample(0.25, 0.25), colorOf(blue));
    EXPECT_EQ(texture.sample(0.75, 0.25), colorOf(white));
    EXPECT_EQ(texture.sample(0.25, 0.75), colorOf(red));
    EXPECT_EQ(texture.sample(0.75, 0.75), colorOf(green));
}

TEST(PreviewTexture, repeats) {
    const Texture texture = fourPixels();
    EXPECT_EQ(texture.sample(7.25, -3.25), colorOf(red));
    EXPECT_EQ(texture.sample(-0.75, 100.25), colorOf(blue));
}

TEST(PreviewTexture, isSmoothBetweenPixels) {
    Image image(Size{2, 1});
    image.setPixel(1, 0, {100, 200, 40});
    const Texture texture(image);
    EXPECT_EQ(texture.sample(0.5, 0.5), colorOf({50, 100, 20}));
    EXPECT_EQ(texture.sample(0, 0.5), colorOf({50, 100, 20}));
    EXPECT_EQ(texture.sample(0.375, 0.1), colorOf({25, 50, 10}));
}

TEST(PreviewTexture, smallerPicturesAreMeans) {
    Image image(Size{4, 2});
    for (int x = 0; x < 4; ++x)
        image.setPixel(x, 0, {static_cast<std::uint8_t>(40 * x), 0, 0});
    const Texture texture(image);
    EXPECT_EQ(texture.sample(0.25, 0.5, 1), colorOf({10, 0, 0}));
    EXPECT_EQ(texture.sample(0.75, 0.5, 1), colorOf({50, 0, 0}));
    EXPECT_EQ(texture.sample(0.1, 0.9, 2), colorOf({30, 0, 0}));
    EXPECT_EQ(texture.bytes(), 3U * (8 + 2 + 1));
    EXPECT_EQ(texture.levelFor(0), 0U);
    EXPECT_EQ(texture.levelFor(2), 0U);
    EXPECT_EQ(texture.levelFor(4), 1U);
    EXPECT_EQ(texture.levelFor(16), 2U);
    EXPECT_EQ(texture.levelFor(1e300), 2U);
    EXPECT_EQ(texture.levelFor(std::numeric_limits<double>::quiet_NaN()), 0U);
}

TEST(PreviewTexture, largePicturesAreKeptSmaller) {
    EXPECT_EQ(Texture(Image(Size{2048, 3})).size(), (Size{2048, 3}));
    EXPECT_EQ(Texture(Image(Size{2049, 3})).size(), (Size{1024, 1}));
    EXPECT_EQ(Texture(Image(Size{5, 8192})).size(), (Size{1, 2048}));
}

TEST(PreviewTexture, anyCoordinateIsAPlace) {
    const Texture texture = fourPixels();
    for (const double odd : {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e300, -1e-300, -1e-17, 1.0}) {
        const Color color = texture.sample(odd, odd);
        EXPECT_TRUE(color.red >= 0 && color.red <= 1 && color.blue >= 0 && color.blue <= 1) << odd;
    }
}

}  // namespace

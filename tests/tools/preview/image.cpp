#include "preview/image.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace {

using q7preview::Image;
using q7preview::ImageError;
using q7preview::Pixel;
using q7preview::readDrawnSize;
using q7preview::readImage;
using q7preview::Size;

Image sample() {
    Image image(Size{3, 2});
    image.setPixel(0, 0, {255, 0, 0});
    image.setPixel(1, 0, {0, 255, 0});
    image.setPixel(2, 0, {0, 0, 255});
    image.setPixel(0, 1, {1, 2, 3});
    image.setPixel(2, 1, {250, 251, 252});
    return image;
}

Image read(const std::string& file, const q7preview::ImageLimits& limits = {}) {
    return readImage(std::as_bytes(std::span(file)), limits);
}

std::string refusal(const std::string& file, const q7preview::ImageLimits& limits = {}) {
    try {
        read(file, limits);
    } catch (const ImageError& error) {
        return error.what();
    }
    return "no refusal";
}

std::string bytes(std::initializer_list<int> values) {
    std::string text;
    for (const int value : values)
        text += static_cast<char>(value);
    return text;
}

// Uncompressed, with the rows from the top.
std::string tga(int width, int height) {
    return bytes({0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, width & 255, width >> 8, height & 255,
                  height >> 8, 24, 0x20});
}

TEST(PreviewImage, sizes) {
    EXPECT_EQ(readDrawnSize("960x540"), (Size{960, 540}));
    EXPECT_EQ(readDrawnSize("1x4096"), (Size{1, 4096}));
    for (const char* text : {"", "960", "960x", "x540", "0x1", "1x0", "-1x1", "1x4097", "4097x1",
                             "1x1x1", "1 x1", "1x1 ", "1X1", "99999999999x1"}) {
        EXPECT_EQ(readDrawnSize(text), std::nullopt) << text;
    }
    EXPECT_EQ(q7preview::drawnSizeFault("--size", "1x"),
              "--size: \"1x\" is no WIDTHxHEIGHT with numbers from 1 to 4096");
}

TEST(PreviewImage, isBlackAtFirst) {
    const Image image(Size{2, 1});
    EXPECT_EQ(image.size(), (Size{2, 1}));
    EXPECT_EQ(image.pixel(1, 0), (Pixel{0, 0, 0}));
    EXPECT_EQ(image.bytes().size(), 6U);
}

TEST(PreviewImage, pngReadsBackAsItWas) {
    const std::string png = pngOf(sample());
    EXPECT_TRUE(png.starts_with("\x89PNG\r\n")) << png.size();
    EXPECT_EQ(read(png), sample());
    EXPECT_EQ(pngOf(read(png)), png);
    const Image large(Size{700, 300});
    EXPECT_EQ(read(pngOf(large)), large);
}

TEST(PreviewImage, readsOtherFormats) {
    const Image image = read(tga(2, 1) + bytes({3, 2, 1, 30, 20, 10}));
    EXPECT_EQ(image.size(), (Size{2, 1}));
    EXPECT_EQ(image.pixel(0, 0), (Pixel{1, 2, 3}));
    EXPECT_EQ(image.pixel(1, 0), (Pixel{10, 20, 30}));
    // The rows of a bitmap go from the bottom to the top.
    const std::string bmp = "BM" + bytes({62, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0, 40, 0,
                                          0,  0, 1, 0, 0, 0, 2, 0, 0,  0, 1, 0, 24, 0}) +
                            std::string(24, '\0') + bytes({3, 2, 1, 0, 30, 20, 10, 0});
    EXPECT_EQ(read(bmp).pixel(0, 0), (Pixel{10, 20, 30}));
    EXPECT_EQ(read(bmp).pixel(0, 1), (Pixel{1, 2, 3}));
}

TEST(PreviewImage, refusesWhatIsNoPicture) {
    EXPECT_TRUE(refusal("").starts_with("no picture: ")) << refusal("");
    EXPECT_TRUE(refusal("text, and more of it").starts_with("no picture: "));
    // A sound file of a format that is not read.
    const std::string gif =
        "GIF89a" + bytes({1, 0, 1, 0, 0x80, 0, 0, 0, 0, 0, 255,  255, 255, 0x2C, 0,
                          0, 0, 0, 1, 0,    1, 0, 0, 2, 2, 0x44, 1,   0,   0x3B});
    EXPECT_TRUE(refusal(gif).starts_with("no picture: ")) << refusal(gif);
}

TEST(PreviewImage, refusesWhatIsTooLarge) {
    const std::string png = pngOf(sample());
    EXPECT_EQ(refusal(png, {.side = 2}), "3 x 2 pixels are not drawn");
    EXPECT_EQ(refusal(png, {.side = 3, .pixels = 5}), "3 x 2 pixels are not drawn");
    EXPECT_EQ(refusal(png, {.bytes = png.size() - 1}),
              "more than " + std::to_string(png.size() - 1) + " bytes");
    EXPECT_EQ(refusal(png, {.side = 3, .pixels = 6, .bytes = png.size()}), "no refusal");
    // By its header alone, before memory is taken.
    EXPECT_EQ(refusal(tga(16385, 1)), "16385 x 1 pixels are not drawn");
    EXPECT_EQ(refusal(tga(16384, 16384)), "16384 x 16384 pixels are not drawn");
}

TEST(PreviewImage, everyTruncationAndDamageIsAPictureOrARefusal) {
    const std::string png = pngOf(sample());
    int refused = 0;
    for (std::size_t length = 0; length < png.size(); ++length)
        refused += refusal(png.substr(0, length)) == "no refusal" ? 0 : 1;
    EXPECT_GT(refused, static_cast<int>(png.size()) - 20);
    for (std::size_t i = 0; i < png.size(); ++i) {
        std::string damaged = png;
        damaged[i] = static_cast<char>(damaged[i] ^ 0x55);
        EXPECT_NE(refusal(damaged), "");
    }
}

}  // namespace

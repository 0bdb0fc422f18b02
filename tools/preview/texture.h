// A picture on a surface.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "preview/image.h"

namespace q7preview {

// Light, not what a screen takes: twice the number is twice as bright. 0 to 1.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;

    bool operator==(const Color&) const = default;
};

// Squares and square roots stand for a screen's curve: near it, and the same in every build.
Color colorOf(const Pixel& pixel);
std::uint8_t toScreen(double light);

class Texture {
  public:
    // Of a picture that is larger from side to side, a smaller one is kept.
    static constexpr int mostKeptPixels = 2048;

    explicit Texture(const Image& image);

    Size size() const { return levels_.front().size(); }
    // Of the smaller pictures too.
    std::size_t bytes() const;

    // The smaller picture to take where so many pixels of the texture fall on one of the drawing.
    std::size_t levelFor(double texturePixels) const;

    // (0, 0) is the lower left corner of the picture and (1, 1) the upper right one; beyond them it
    // repeats. Smooth between the middles of pixels.
    Color sample(double u, double v, std::size_t level = 0) const;

  private:
    std::vector<Image> levels_;
};

}  // namespace q7preview

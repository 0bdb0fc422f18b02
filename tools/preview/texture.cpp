#include "preview/texture.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace q7preview {

namespace {

double square(double value) {
    return value * value;
}

// Each pixel is the mean of up to four.
Image halved(const Image& image) {
    const Size from = image.size();
    const Size to{std::max(1, from.width / 2), std::max(1, from.height / 2)};
    Image half(to);
    for (int y = 0; y < to.height; ++y) {
        const int below = std::min(2 * y + 1, from.height - 1);
        for (int x = 0; x < to.width; ++x) {
            const int right = std::min(2 * x + 1, from.width - 1);
            const Pixel corners[] = {image.pixel(2 * x, 2 * y), image.pixel(right, 2 * y),
                                     image.pixel(2 * x, below), image.pixel(right, below)};
            Pixel mean{};
            for (std::size_t i = 0; i < mean.size(); ++i) {
                unsigned sum = 2;
                for (const Pixel& corner : corners)
                    sum += corner[i];
                mean[i] = static_cast<std::uint8_t>(sum / 4);
            }
            half.setPixel(x, y, mean);
        }
    }
    return half;
}

bool isOver(Size size, int side) {
    return size.width > side || size.height > side;
}

// Two neighbouring pixels along one side, and how far it is to the second.
struct Neighbours {
    int first = 0;
    int second = 0;
    double share = 0;
};

Neighbours neighboursOf(double coordinate, int pixels) {
    if (!std::isfinite(coordinate)) return {};
    const double inside = coordinate - std::floor(coordinate);
    const double place = inside * pixels - 0.5;
    const double before = std::floor(place);
    const int first = (static_cast<int>(before) + pixels) % pixels;
    return {first, (first + 1) % pixels, place - before};
}

}  // namespace

Color colorOf(const Pixel& pixel) {
    return {square(pixel[0] / 255.0), square(pixel[1] / 255.0), square(pixel[2] / 255.0)};
}

std::uint8_t toScreen(double light) {
    return static_cast<std::uint8_t>(std::lround(std::sqrt(std::clamp(light, 0.0, 1.0)) * 255));
}

Texture::Texture(const Image& image) {
    Image kept = image;
    while (isOver(kept.size(), mostKeptPixels))
        kept = halved(kept);
    levels_.push_back(std::move(kept));
    while (isOver(levels_.back().size(), 1))
        levels_.push_back(halved(levels_.back()));
}

std::size_t Texture::bytes() const {
    std::size_t sum = 0;
    for (const Image& level : levels_)
        sum += level.bytes().size();
    return sum;
}

std::size_t Texture::levelFor(double texturePixels) const {
    std::size_t level = 0;
    double left = texturePixels;
    while (left > 2 && level + 1 < levels_.size()) {
        left /= 4;
        ++level;
    }
    return level;
}

Color Texture::sample(double u, double v, std::size_t level) const {
    const Image& image = levels_[level];
    const Neighbours x = neighboursOf(u, image.size().width);
    // Rows count from the top.
    const Neighbours y = neighboursOf(-v, image.size().height);
    const std::array<Pixel, 4> corners = {
        image.pixel(x.first, y.first), image.pixel(x.second, y.first),
        image.pixel(x.first, y.second), image.pixel(x.second, y.second)};
    const std::array<double, 4> shares = {(1 - x.share) * (1 - y.share), x.share * (1 - y.share),
                                          (1 - x.share) * y.share, x.share * y.share};
    double mean[3] = {};
    for (std::size_t corner = 0; corner < corners.size(); ++corner) {
        for (std::size_t i = 0; i < 3; ++i)
            mean[i] += shares[corner] * corners[corner][i];
    }
    return {square(mean[0] / 255), square(mean[1] / 255), square(mean[2] / 255)};
}

}  // namespace q7preview

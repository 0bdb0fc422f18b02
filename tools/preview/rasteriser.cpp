#include "preview/rasteriser.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "preview/shading.h"
#include "support/parallel_for.h"

namespace q7preview {

namespace {

struct Place {
    double x;
    double y;
};

// Where a pixel is looked at, from its middle: no two in one row or column, so that edges of every
// direction come out smooth.
constexpr std::array<Place, Rasteriser::samples> places{{{1.0 / 16, -3.0 / 16},
                                                         {-1.0 / 16, 3.0 / 16},
                                                         {5.0 / 16, 1.0 / 16},
                                                         {-3.0 / 16, -5.0 / 16},
                                                         {-5.0 / 16, 5.0 / 16},
                                                         {-7.0 / 16, -1.0 / 16},
                                                         {3.0 / 16, 7.0 / 16},
                                                         {7.0 / 16, -7.0 / 16}}};
constexpr std::size_t rowsAtOnce = 16;

Corner between(const Corner& a, const Corner& b, double share) {
    return {a.position + (b.position - a.position) * share,
            a.normal + (b.normal - a.normal) * share, a.u + (b.u - a.u) * share,
            a.v + (b.v - a.v) * share};
}

// What of a triangle lies behind the near plane, seen from the viewer: none to four corners.
struct Front {
    std::array<Corner, 4> corners;
    std::size_t count = 0;
    void add(const Corner& corner) { corners[count++] = corner; }
};

Front frontOf(const std::array<Corner, 3>& corners, double nearest) {
    Front front;
    for (std::size_t i = 0; i < 3; ++i) {
        const Corner& a = corners[i];
        const Corner& b = corners[(i + 1) % 3];
        const double aDepth = a.position.z - nearest;
        const double bDepth = b.position.z - nearest;
        if (aDepth > 0) front.add(a);
        if ((aDepth > 0) != (bDepth > 0)) {
            Corner cut = between(a, b, aDepth / (aDepth - bDepth));
            cut.position.z = nearest;
            front.add(cut);
        }
    }
    return front;
}

// The whole number below, kept within a range: a corner may be anywhere.
int floorWithin(double value, int least, int most) {
    return static_cast<int>(
        std::clamp(std::floor(value), static_cast<double>(least), static_cast<double>(most)));
}

Vector normalFrom(const ScreenTriangle& triangle, const std::array<double, 3>& shares) {
    Vector sum;
    for (std::size_t i = 0; i < 3; ++i)
        sum = sum + triangle.corners[i].normal * shares[i];
    const Vector normal = unit(sum);
    if (normal == Vector{}) return triangle.faceNormal;
    // Both sides of a surface are drawn.
    return dot(normal, triangle.faceNormal) < 0 ? normal * -1 : normal;
}

// How many pixels of the texture fall on one of the picture.
double texturePixels(const std::array<Corner, 3>& corners, double area, Size texture) {
    const double u1 = corners[1].u - corners[0].u;
    const double v1 = corners[1].v - corners[0].v;
    const double u2 = corners[2].u - corners[0].u;
    const double v2 = corners[2].v - corners[0].v;
    return std::abs((u1 * v2 - u2 * v1) / area) * texture.width * texture.height;
}

// Of what is half clear, every other place of a pixel is drawn, and so on.
bool isOpaqueAt(const Surface& surface, int x, int y, std::size_t sample) {
    if (surface.opacity >= 1) return true;
    const auto step =
        static_cast<unsigned>(sample) + static_cast<unsigned>(3 * x + 5 * y) + 5 * surface.number;
    constexpr auto inAPixel = static_cast<unsigned>(Rasteriser::samples);
    return (step % inAPixel + 0.5) / inAPixel < surface.opacity;
}

}  // namespace

Rasteriser::Rasteriser(const View& view, Size size, const Vector& sky, Threads threads)
    : view_(view), size_(size), sky_(sky), threads_(threads) {
    const std::size_t pixels =
        static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
    nearness_.resize(pixels);
    colors_.resize(pixels);
    drawn_.resize(pixels);
}

void Rasteriser::project(const ViewTriangle& triangle,
                         std::vector<ScreenTriangle>& projected) const {
    for (const Corner& corner : triangle.corners) {
        if (!isFinite(corner.position)) return;
    }
    const Front front = frontOf(triangle.corners, view_.nearest);
    for (std::size_t i = 2; i < front.count; ++i) {
        projectFront({front.corners[0], front.corners[i - 1], front.corners[i]}, triangle,
                     projected);
    }
}

void Rasteriser::projectFront(const std::array<Corner, 3>& corners, const ViewTriangle& whole,
                              std::vector<ScreenTriangle>& projected) const {
    ScreenTriangle made;
    std::array<Place, 3> at{};
    for (std::size_t i = 0; i < 3; ++i) {
        const Corner& corner = corners[i];
        const double weight = view_.hasPerspective ? 1 / corner.position.z : 1;
        const double nearness = view_.hasPerspective ? weight : -corner.position.z;
        at[i] = {(corner.position.x * weight / view_.halfWidth + 1) / 2 * size_.width,
                 (1 - corner.position.y * weight / view_.halfHeight) / 2 * size_.height};
        made.corners[i] = {nearness, weight, corner.normal, corner.u, corner.v};
    }
    const double area =
        (at[1].x - at[0].x) * (at[2].y - at[0].y) - (at[2].x - at[0].x) * (at[1].y - at[0].y);
    if (!std::isfinite(area) || area == 0) return;
    for (std::size_t i = 0; i < 3; ++i) {
        const Place& a = at[(i + 1) % 3];
        const Place& b = at[(i + 2) % 3];
        made.shares[i] = {(a.y - b.y) / area, (b.x - a.x) / area, (a.x * b.y - b.x * a.y) / area};
    }

    // Of the whole triangle: what is cut off may be too small for a direction.
    const auto& [a, b, c] = whole.corners;
    const Vector face = unit(cross(b.position - a.position, c.position - a.position));
    const Vector toViewer = view_.hasPerspective ? a.position * -1 : Vector{0, 0, -1};
    made.faceNormal = dot(face, toViewer) < 0 ? face * -1 : face;
    made.surface = whole.surface;
    if (const Texture* texture = whole.surface->texture) {
        made.level = texture->levelFor(texturePixels(corners, area, texture->size()));
    }

    const auto [left, right] = std::minmax({at[0].x, at[1].x, at[2].x});
    const auto [top, bottom] = std::minmax({at[0].y, at[1].y, at[2].y});
    if (right < 0 || bottom < 0 || left >= size_.width || top >= size_.height) return;
    made.left = floorWithin(left, 0, size_.width - 1);
    made.right = floorWithin(right, 0, size_.width - 1);
    made.top = floorWithin(top, 0, size_.height - 1);
    made.bottom = floorWithin(bottom, 0, size_.height - 1);
    projected.push_back(made);
}

void Rasteriser::inRows(const std::function<void(int first, int last)>& body) const {
    const auto rows = static_cast<std::size_t>(size_.height);
    const std::size_t piece = threads_ == Threads::one ? rows : rowsAtOnce;
    ParallelFor(rows, piece, [&](std::size_t first, std::size_t last) {
        body(static_cast<int>(first), static_cast<int>(last));
    });
}

void Rasteriser::draw(std::span<const std::vector<ScreenTriangle>> batches) {
    // A row belongs to one thread, which takes the triangles in their order.
    inRows([&](int first, int last) {
        for (const std::vector<ScreenTriangle>& batch : batches) {
            for (const ScreenTriangle& triangle : batch)
                drawRows(triangle, first, last);
        }
    });
}

void Rasteriser::drawRows(const ScreenTriangle& triangle, int first, int last) {
    const int bottom = std::min(triangle.bottom, last - 1);
    for (int y = std::max(triangle.top, first); y <= bottom; ++y) {
        for (int x = triangle.left; x <= triangle.right; ++x)
            drawPixel(triangle, x, y);
    }
}

Rasteriser::Coverage Rasteriser::cover(const ScreenTriangle& triangle, int x, int y) {
    const auto& [a, b, c] = triangle.shares;
    const double middleX = x + 0.5;
    const double middleY = y + 0.5;
    const double atMiddle[] = {a.at(middleX, middleY), b.at(middleX, middleY),
                               c.at(middleX, middleY)};
    for (std::size_t i = 0; i < 3; ++i) {
        const ScreenTriangle::Share& share = triangle.shares[i];
        // Not even the nearest corner of the pixel is inside.
        if (atMiddle[i] + (std::abs(share.x) + std::abs(share.y)) / 2 < 0) return {};
    }
    const std::size_t pixel = static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width) +
                              static_cast<std::size_t>(x);
    std::array<float, samples>& nearness = nearness_[pixel];
    const unsigned drawn = drawn_[pixel];
    Coverage coverage;
    int inside = 0;
    for (std::size_t i = 0; i < samples; ++i) {
        const double dx = places[i].x;
        const double dy = places[i].y;
        const double shares[] = {atMiddle[0] + a.x * dx + a.y * dy,
                                 atMiddle[1] + b.x * dx + b.y * dy,
                                 atMiddle[2] + c.x * dx + c.y * dy};
        if (!(shares[0] >= 0 && shares[1] >= 0 && shares[2] >= 0)) continue;
        coverage.toRight += middleX + dx;
        coverage.downwards += middleY + dy;
        ++inside;
        const auto near = static_cast<float>(shares[0] * triangle.corners[0].nearness +
                                             shares[1] * triangle.corners[1].nearness +
                                             shares[2] * triangle.corners[2].nearness);
        if ((drawn >> i & 1U) != 0 && !(near > nearness[i])) continue;
        if (!isOpaqueAt(*triangle.surface, x, y, i)) continue;
        nearness[i] = near;
        coverage.mask |= 1U << i;
    }
    if (inside != 0) {
        // In the middle of what is inside, so that no attribute is taken from beside the triangle.
        coverage.toRight /= inside;
        coverage.downwards /= inside;
    }
    return coverage;
}

void Rasteriser::drawPixel(const ScreenTriangle& triangle, int x, int y) {
    const Coverage coverage = cover(triangle, x, y);
    if (coverage.mask == 0) return;
    const Pixel pixel = shadePixel(triangle, coverage.toRight, coverage.downwards);
    const std::size_t place = static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width) +
                              static_cast<std::size_t>(x);
    for (std::size_t i = 0; i < samples; ++i) {
        if ((coverage.mask >> i & 1U) != 0) colors_[place][i] = pixel;
    }
    drawn_[place] = static_cast<std::uint8_t>(drawn_[place] | coverage.mask);
}

Vector Rasteriser::viewerFrom(double toRight, double downwards) const {
    if (!view_.hasPerspective) return {0, 0, -1};
    return unit({(1 - 2 * toRight / size_.width) * view_.halfWidth,
                 (2 * downwards / size_.height - 1) * view_.halfHeight, -1});
}

Pixel Rasteriser::shadePixel(const ScreenTriangle& triangle, double toRight,
                             double downwards) const {
    std::array<double, 3> shares{};
    double sum = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        shares[i] = triangle.shares[i].at(toRight, downwards) * triangle.corners[i].weight;
        sum += shares[i];
    }
    double u = 0;
    double v = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        shares[i] /= sum;
        u += shares[i] * triangle.corners[i].u;
        v += shares[i] * triangle.corners[i].v;
    }
    const Surface& surface = *triangle.surface;
    const Color base =
        surface.texture != nullptr ? surface.texture->sample(u, v, triangle.level) : surface.color;
    const Color color =
        shade(base, normalFrom(triangle, shares), viewerFrom(toRight, downwards), sky_);
    return {toScreen(color.red), toScreen(color.green), toScreen(color.blue)};
}

Pixel Rasteriser::blend(std::size_t place, const Pixel& behind) const {
    Pixel blended{};
    for (std::size_t channel = 0; channel < blended.size(); ++channel) {
        double light = 0;
        for (std::size_t i = 0; i < samples; ++i) {
            const bool isDrawn = (drawn_[place] >> i & 1U) != 0;
            const unsigned value = isDrawn ? colors_[place][i][channel] : behind[channel];
            light += value * value;
        }
        blended[channel] =
            static_cast<std::uint8_t>(std::lround(std::sqrt(light / static_cast<double>(samples))));
    }
    return blended;
}

bool Rasteriser::isEmpty() const {
    return std::ranges::all_of(drawn_, [](std::uint8_t drawn) { return drawn == 0; });
}

Image Rasteriser::finish() const {
    Image image(size_);
    inRows([&](int first, int last) {
        for (int y = first; y < last; ++y) {
            const Pixel sky = background((y + 0.5) / size_.height);
            for (int x = 0; x < size_.width; ++x) {
                const std::size_t place =
                    static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width) +
                    static_cast<std::size_t>(x);
                image.setPixel(x, y, blend(place, sky));
            }
        }
    });
    return image;
}

}  // namespace q7preview

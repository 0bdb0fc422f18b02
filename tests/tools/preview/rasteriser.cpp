#include "preview/rasteriser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "preview/shading.h"

namespace {

using q7preview::background;
using q7preview::Color;
using q7preview::Corner;
using q7preview::Image;
using q7preview::Pixel;
using q7preview::Rasteriser;
using q7preview::ScreenTriangle;
using q7preview::shade;
using q7preview::Size;
using q7preview::Surface;
using q7preview::Texture;
using q7preview::Threads;
using q7preview::toScreen;
using q7preview::Vector;
using q7preview::View;
using q7preview::ViewTriangle;

constexpr Vector sky{0, 1, 0};
const Surface red{{1, 0, 0}};
const Surface blue{{0, 0, 1}};

// One unit of the view is one pixel; the middle of the picture is (0, 0).
View flatView(Size size) {
    View view;
    view.hasPerspective = false;
    view.halfWidth = size.width / 2.0;
    view.halfHeight = size.height / 2.0;
    return view;
}

// Sees 45 degrees to each side.
View deepView() {
    View view;
    view.nearest = 0.1;
    return view;
}

Image draw(const View& view, Size size, const std::vector<ViewTriangle>& triangles,
           Threads threads = Threads::all) {
    Rasteriser rasteriser(view, size, sky, threads);
    std::vector<std::vector<ScreenTriangle>> batches(2);
    for (std::size_t i = 0; i < triangles.size(); ++i)
        rasteriser.project(triangles[i], batches[i * 2 / triangles.size()]);
    rasteriser.draw(batches);
    return rasteriser.finish();
}

ViewTriangle triangle(const Vector& a, const Vector& b, const Vector& c, const Surface& surface) {
    ViewTriangle made;
    made.corners[0].position = a;
    made.corners[1].position = b;
    made.corners[2].position = c;
    made.surface = &surface;
    return made;
}

// Two triangles with these corners, in the direction of the clock, at one depth.
std::vector<ViewTriangle> box(double left, double top, double right, double bottom, double z,
                              const Surface& surface) {
    return {triangle({left, top, z}, {right, top, z}, {right, bottom, z}, surface),
            triangle({left, top, z}, {right, bottom, z}, {left, bottom, z}, surface)};
}

std::vector<ViewTriangle> both(std::vector<ViewTriangle> a, const std::vector<ViewTriangle>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Pixel shaded(const Color& base, const Vector& normal) {
    const Color color = shade(base, normal, {0, 0, -1}, sky);
    return {toScreen(color.red), toScreen(color.green), toScreen(color.blue)};
}

const Pixel flatRed = shaded({1, 0, 0}, {0, 0, -1});
const Pixel flatBlue = shaded({0, 0, 1}, {0, 0, -1});

Pixel behind(int y, Size size) {
    return background((y + 0.5) / size.height);
}

Pixel mixed(const Pixel& a, int samplesOfA, const Pixel& b) {
    Pixel mean{};
    for (std::size_t i = 0; i < 3; ++i) {
        const double light = (samplesOfA * a[i] * a[i] + (8 - samplesOfA) * b[i] * b[i]) / 8.0;
        mean[i] = static_cast<std::uint8_t>(std::sqrt(light) + 0.5);
    }
    return mean;
}

TEST(PreviewRasteriser, coversExactlyItsPixels) {
    constexpr Size size{8, 6};
    const Image image = draw(flatView(size), size, box(-2, 2, 1, -1, 5, red));
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const bool inside = x >= 2 && x < 5 && y >= 1 && y < 4;
            EXPECT_EQ(image.pixel(x, y), inside ? flatRed : behind(y, size)) << x << ' ' << y;
        }
    }
}

TEST(PreviewRasteriser, coversTheHalfOfASquare) {
    constexpr Size size{8, 8};
    const Image image =
        draw(flatView(size), size, {triangle({-4, 4, 1}, {4, 4, 1}, {-4, -4, 1}, red)});
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            if (x + y == 7) continue;
            EXPECT_EQ(image.pixel(x, y), x + y < 7 ? flatRed : behind(y, size)) << x << ' ' << y;
        }
    }
    // The slope goes through the pixel: the places above it are (-7,-1), (-3,-5), (-1,3) and others.
    const Pixel slope = image.pixel(3, 4);
    EXPECT_TRUE(slope == mixed(flatRed, 4, behind(4, size)) ||
                slope == mixed(flatRed, 5, behind(4, size)));
}

TEST(PreviewRasteriser, edgesInTheMiddleOfAPixelAreHalf) {
    constexpr Size size{4, 4};
    const Image image = draw(flatView(size), size, box(-2, 2, 0.5, -2, 1, red));
    EXPECT_EQ(image.pixel(1, 1), flatRed);
    EXPECT_EQ(image.pixel(2, 1), mixed(flatRed, 4, behind(1, size)));
    EXPECT_EQ(image.pixel(3, 1), behind(1, size));
}

TEST(PreviewRasteriser, theNearestStaysInAnyOrder) {
    constexpr Size size{4, 4};
    const auto near = box(-2, 2, 0, -2, 3, red);
    const auto far = box(-2, 2, 2, -2, 7, blue);
    for (const auto& triangles : {both(near, far), both(far, near)}) {
        for (const bool hasPerspective : {false, true}) {
            View view = flatView(size);
            view.hasPerspective = hasPerspective;
            view.halfWidth = view.halfHeight = hasPerspective ? 0.25 : 2;
            const Image image = draw(view, size, triangles);
            EXPECT_EQ(image.pixel(1, 2)[2] == 0 || image.pixel(1, 2)[0] > image.pixel(1, 2)[2],
                      true);
            EXPECT_GT(image.pixel(2, 2)[2], image.pixel(2, 2)[0]);
        }
    }
}

TEST(PreviewRasteriser, ofTwoAtOnePlaceTheFirstStays) {
    constexpr Size size{2, 2};
    const auto first = box(-1, 1, 1, -1, 3, red);
    const auto second = box(-1, 1, 1, -1, 3, blue);
    EXPECT_EQ(draw(flatView(size), size, both(first, second)).pixel(1, 1), flatRed);
    EXPECT_EQ(draw(flatView(size), size, both(second, first)).pixel(1, 1), flatBlue);
}

TEST(PreviewRasteriser, crossingSurfacesMeetInALine) {
    constexpr Size size{8, 2};
    const auto slope = std::vector{
        triangle({-4, 1, 0}, {4, 1, 8}, {4, -1, 8}, blue),
        triangle({-4, 1, 0}, {4, -1, 8}, {-4, -1, 0}, blue),
    };
    const Image image = draw(flatView(size), size, both(slope, box(-4, 1, 4, -1, 4, red)));
    for (int x = 0; x < 8; ++x)
        EXPECT_EQ(image.pixel(x, 0) == flatRed, x >= 4) << x;
}

TEST(PreviewRasteriser, bothWindingsAndBothSidesAreDrawn) {
    constexpr Size size{4, 4};
    const Vector a{-2, 2, 1};
    const Vector b{2, 2, 1};
    const Vector c{-2, -2, 1};
    EXPECT_EQ(draw(flatView(size), size, {triangle(a, b, c, red)}),
              draw(flatView(size), size, {triangle(a, c, b, red)}));
    // Normals that point away are turned.
    ViewTriangle towards = triangle(a, b, c, red);
    ViewTriangle away = towards;
    for (std::size_t i = 0; i < 3; ++i) {
        towards.corners[i].normal = q7preview::unit({0.1, 0.2, -1});
        away.corners[i].normal = q7preview::unit({-0.1, -0.2, 1});
    }
    EXPECT_EQ(draw(flatView(size), size, {towards}), draw(flatView(size), size, {away}));
    EXPECT_EQ(draw(flatView(size), size, {towards}).pixel(0, 0),
              shaded({1, 0, 0}, q7preview::unit({0.1, 0.2, -1})));
}

TEST(PreviewRasteriser, normalsMakeItSmooth) {
    constexpr Size size{20, 2};
    auto triangles = box(-10, 1, 10, -1, 1, red);
    for (ViewTriangle& part : triangles) {
        for (Corner& corner : part.corners)
            corner.normal = q7preview::unit({corner.position.x < 0 ? -1.0 : 1.0, 0, -1});
    }
    const Image image = draw(flatView(size), size, triangles);
    // The lamp is on the left.
    for (int x = 8; x < 19; ++x)
        EXPECT_GT(image.pixel(x, 0)[0], image.pixel(x + 1, 0)[0]) << x;
}

TEST(PreviewRasteriser, texturesFollowThePerspective) {
    Image stripes(Size{2, 1});
    stripes.setPixel(1, 0, {255, 255, 255});
    const Texture texture(stripes);
    const Surface wall{{}, &texture};
    // From near on the left to far on the right.
    const auto corner = [](double x, double y, double z, double u) {
        Corner made;
        made.position = {x, y, z};
        made.u = u;
        return made;
    };
    const Corner corners[] = {corner(-1, 1, 1, 0), corner(1, 1, 5, 1), corner(1, -1, 5, 1),
                              corner(-1, -1, 1, 0)};
    ViewTriangle upper{{corners[0], corners[1], corners[2]}, &wall};
    ViewTriangle lower{{corners[0], corners[2], corners[3]}, &wall};
    constexpr Size size{60, 60};
    const Image image = draw(deepView(), size, {upper, lower});
    const Vector normal = q7preview::unit({2, 0, -1});
    int checked = 0;
    for (int x = 0; x < 35; ++x) {
        const double across = (x + 0.5) / 30 - 1;
        // Where the look through the middle of the pixel meets the wall.
        const double u = (across + 1) / (2 - 4 * across);
        const Color base = texture.sample(u, 0.5);
        const Vector toViewer = q7preview::unit({-across, -1.0 / 60, -1});
        const int expected = toScreen(shade(base, normal, toViewer, sky).red);
        EXPECT_NEAR(image.pixel(x, 29)[0], expected, 1) << x;
        ++checked;
    }
    EXPECT_EQ(checked, 35);
    EXPECT_LT(image.pixel(19, 29)[0], 30);
    EXPECT_GT(image.pixel(34, 29)[0], 80);
}

TEST(PreviewRasteriser, cutsOffWhatIsBehindTheViewer) {
    constexpr Size size{20, 20};
    const double y = -1;
    const std::vector floor = {
        triangle({-100, y, -10}, {100, y, -10}, {100, y, 10}, red),
        triangle({-100, y, -10}, {100, y, 10}, {-100, y, 10}, red),
    };
    const Image image = draw(deepView(), size, floor);
    for (int row = 0; row < 20; ++row) {
        for (int x = 0; x < 20; ++x) {
            const bool isFloor = row >= 11;
            EXPECT_EQ(image.pixel(x, row) == behind(row, size), !isFloor) << x << ' ' << row;
        }
    }
    const std::vector behindViewer = box(-5, 5, 5, -5, -3, red);
    EXPECT_EQ(draw(deepView(), size, behindViewer), draw(deepView(), size, {}));
    const std::vector tooNear = box(-5, 5, 5, -5, 0.05, red);
    EXPECT_EQ(draw(deepView(), size, tooNear), draw(deepView(), size, {}));
}

TEST(PreviewRasteriser, halfClearIsEveryOtherPlace) {
    constexpr Size size{4, 4};
    Surface clear = red;
    clear.opacity = 0.5;
    const Image image = draw(flatView(size), size, box(-2, 2, 2, -2, 1, clear));
    for (int x = 0; x < 4; ++x)
        EXPECT_EQ(image.pixel(x, 2), mixed(flatRed, 4, behind(2, size))) << x;
    const auto over = both(box(-2, 2, 2, -2, 1, clear), box(-2, 2, 2, -2, 2, blue));
    EXPECT_EQ(draw(flatView(size), size, over).pixel(1, 1), mixed(flatRed, 4, flatBlue));
}

TEST(PreviewRasteriser, nothingIsTheBackground) {
    constexpr Size size{3, 5};
    const Image image = draw(deepView(), size, {});
    for (int y = 0; y < 5; ++y)
        EXPECT_EQ(image.pixel(2, y), behind(y, size));
    Rasteriser rasteriser(deepView(), size, sky);
    EXPECT_TRUE(rasteriser.isEmpty());
    std::vector<std::vector<ScreenTriangle>> batches(1);
    rasteriser.project(box(-1, 1, 1, -1, 2, red).front(), batches[0]);
    rasteriser.draw(batches);
    EXPECT_FALSE(rasteriser.isEmpty());
}

TEST(PreviewRasteriser, oddTrianglesAreLeftOut) {
    constexpr Size size{8, 8};
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    const Image empty = draw(deepView(), size, {});
    for (const double odd : {nan, infinite, -infinite}) {
        EXPECT_EQ(draw(deepView(), size, {triangle({odd, 0, 1}, {0, 1, 1}, {1, 0, 1}, red)}),
                  empty);
        EXPECT_EQ(draw(deepView(), size, {triangle({0, 0, odd}, {0, 1, 1}, {1, 0, 1}, red)}),
                  empty);
    }
    EXPECT_EQ(draw(deepView(), size, {triangle({0, 0, 1}, {0, 0, 1}, {1, 1, 1}, red)}), empty);
    EXPECT_EQ(draw(deepView(), size, {triangle({-1, -1, 1}, {0, 0, 1}, {1, 1, 1}, red)}), empty);
    // Huge, but a triangle.
    const Image whole =
        draw(deepView(), size, {triangle({-1e30, -1e30, 9}, {1e30, -1e30, 9}, {0, 1e30, 9}, red)});
    EXPECT_NE(whole.pixel(4, 4), behind(4, size));
    ViewTriangle odd = triangle({-9, -9, 1}, {9, -9, 1}, {0, 9, 1}, red);
    for (Corner& corner : odd.corners)
        corner.normal = {nan, infinite, 0};
    EXPECT_NE(draw(deepView(), size, {odd}).pixel(4, 4), behind(4, size));
}

TEST(PreviewRasteriser, oneThreadAndManyDrawTheSame) {
    constexpr Size size{97, 83};
    std::minstd_rand random(5);
    const auto number = [&random] { return static_cast<double>(random() % 2000) / 1000 - 1; };
    std::vector<ViewTriangle> triangles;
    for (int i = 0; i < 300; ++i) {
        const Vector middle{3 * number(), 3 * number(), 3 + 2 * number()};
        ViewTriangle made =
            triangle(middle + Vector{number(), number(), number()},
                     middle + Vector{number(), number(), number()},
                     middle + Vector{number(), number(), number()}, i % 2 == 0 ? red : blue);
        for (Corner& corner : made.corners)
            corner.normal = {number(), number(), number()};
        triangles.push_back(made);
    }
    EXPECT_EQ(draw(deepView(), size, triangles, Threads::one),
              draw(deepView(), size, triangles, Threads::all));
}

}  // namespace

#include "preview/camera.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace {

using q7preview::Axis;
using q7preview::dot;
using q7preview::Fit;
using q7preview::readCamera;
using q7preview::SceneCamera;
using q7preview::Size;
using q7preview::Vector;
using q7preview::View;
using q7preview::viewOf;

constexpr Size wide{960, 540};
constexpr Size square{100, 100};

SceneCamera forwards() {
    SceneCamera camera;
    camera.position = {1, 2, 3};
    camera.direction = {0, 0, -2};
    return camera;
}

void expectNear(const Vector& a, const Vector& b) {
    EXPECT_NEAR(a.x, b.x, 1e-9);
    EXPECT_NEAR(a.y, b.y, 1e-9);
    EXPECT_NEAR(a.z, b.z, 1e-9);
}

// How far from the middle to the side of the picture a point is, 1 at the side.
double reach(const View& view, const Vector& point) {
    const Vector seen = view.toView(point);
    EXPECT_GT(seen.z, view.nearest);
    return std::max(std::abs(seen.x) / (seen.z * view.halfWidth),
                    std::abs(seen.y) / (seen.z * view.halfHeight));
}

TEST(PreviewCamera, readsWhatAHostSends) {
    const auto camera =
        readCamera(R"({"Position":[1,2.5,-3],"Direction":[0,0,-1],"Up":[0,1,0],"FieldOfView":30.0,)"
                   R"("AspectRatio":1.5,"OrthographicWidth":4,"NearPlane":0.25,"Name":"a"})");
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera->position, (Vector{1, 2.5, -3}));
    EXPECT_EQ(camera->direction, (Vector{0, 0, -1}));
    EXPECT_EQ(camera->up, (Vector{0, 1, 0}));
    EXPECT_EQ(camera->fieldOfView, 30);
    EXPECT_EQ(camera->aspectRatio, 1.5);
    EXPECT_EQ(camera->orthographicWidth, 4);
    EXPECT_EQ(camera->nearPlane, 0.25);
}

TEST(PreviewCamera, readsTheLeast) {
    const auto camera = readCamera(R"({"Direction":[1,0,0],"Position":[0,0,0],"FOV":45,"Up":"z"})");
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera->up, std::nullopt);
    EXPECT_EQ(camera->fieldOfView, 45);
    EXPECT_EQ(camera->orthographicWidth, std::nullopt);
}

TEST(PreviewCamera, refusesWhatIsNoCamera) {
    for (const char* text :
         {"", "null", "[]", "{}", "{", R"({"Position":[1,2,3]})", R"({"Direction":[1,2,3]})",
          R"({"Position":[1,2],"Direction":[1,2,3]})", R"({"Position":1,"Direction":[1,2,3]})",
          R"({"Position":[1,2,"3"],"Direction":[1,2,3]})",
          R"({"Position":[1,2,null],"Direction":[1,2,3]})"}) {
        EXPECT_FALSE(readCamera(text)) << text;
    }
    EXPECT_FALSE(readCamera(std::string(100000, '[')));
}

TEST(PreviewCamera, looksWhereTheCameraLooks) {
    SceneCamera camera = forwards();
    camera.fieldOfView = 90;
    const auto view = viewOf(camera, Size{200, 100}, Axis::y, 50);
    ASSERT_TRUE(view);
    expectNear(view->right, {1, 0, 0});
    expectNear(view->up, {0, 1, 0});
    expectNear(view->forward, {0, 0, -1});
    EXPECT_NEAR(view->halfWidth, 1, 1e-12);
    EXPECT_NEAR(view->halfHeight, 0.5, 1e-12);
    EXPECT_TRUE(view->hasPerspective);
    EXPECT_DOUBLE_EQ(view->nearest, 0.005);
    expectNear(view->toView({1, 3, 1}), {0, 1, 2});
    for (const double angle : {1.0, 45.0, 120.0, 170.0}) {
        camera.fieldOfView = angle;
        EXPECT_NEAR(viewOf(camera, square, Axis::y, 1)->halfWidth,
                    std::tan(angle / 2 * 3.14159265358979 / 180), 1e-9);
    }
}

TEST(PreviewCamera, showsAllThatTheCameraSees) {
    SceneCamera camera = forwards();
    camera.fieldOfView = 90;
    camera.aspectRatio = 1;
    EXPECT_NEAR(viewOf(camera, Size{200, 100}, Axis::y, 1)->halfWidth, 2, 1e-9);
    EXPECT_NEAR(viewOf(camera, Size{200, 100}, Axis::y, 1)->halfHeight, 1, 1e-9);
    EXPECT_NEAR(viewOf(camera, Size{100, 200}, Axis::y, 1)->halfWidth, 1, 1e-9);
    EXPECT_NEAR(viewOf(camera, Size{100, 200}, Axis::y, 1)->halfHeight, 2, 1e-9);
}

TEST(PreviewCamera, withoutPerspective) {
    SceneCamera camera = forwards();
    camera.orthographicWidth = 6;
    camera.nearPlane = 2;
    const auto view = viewOf(camera, square, Axis::y, 1);
    EXPECT_FALSE(view->hasPerspective);
    EXPECT_EQ(view->halfWidth, 3);
    EXPECT_EQ(view->nearest, 2);
}

TEST(PreviewCamera, choosesWhatIsMissingOrOdd) {
    SceneCamera camera = forwards();
    camera.direction = {0, 1, 0};
    camera.up = Vector{0, 0, 0};
    // Neither the camera's up nor the usual one is of use.
    expectNear(viewOf(camera, square, Axis::y, 1)->up, {0, 0, -1});
    camera.direction = {0, 0, -1};
    expectNear(viewOf(camera, square, Axis::z, 1)->up, {0, 1, 0});
    for (const double odd : {-1.0, 0.0, 179.5, 400.0}) {
        camera.fieldOfView = odd;
        EXPECT_NEAR(viewOf(camera, square, Axis::y, 1)->halfWidth, std::sqrt(2.0) - 1, 1e-9) << odd;
    }
    camera.aspectRatio = -3;
    EXPECT_GT(viewOf(camera, square, Axis::y, 1)->halfHeight, 0);
    camera.direction = {0, 0, 0};
    EXPECT_FALSE(viewOf(camera, square, Axis::y, 1));
}

TEST(PreviewCamera, fitContainsAllPoints) {
    for (const Axis up : {Axis::y, Axis::z}) {
        for (const Size size : {wide, square, Size{90, 400}, Size{1, 1}}) {
            for (const double scale : {1e-6, 1.0, 1e9}) {
                Fit fit(size, up);
                std::vector<Vector> points;
                for (int i = 0; i < 8; ++i) {
                    points.push_back(
                        Vector{5.0 + 3 * (i & 1), -2.0 + 7 * (i >> 1 & 1), 40.0 + (i >> 2)} *
                        scale);
                    fit.add(points.back());
                }
                const auto view = fit.view();
                ASSERT_TRUE(view);
                double farthest = 0;
                for (const Vector& point : points)
                    farthest = std::max(farthest, reach(*view, point));
                // And not smaller than it could be.
                EXPECT_NEAR(farthest, 0.93, 1e-6);
                EXPECT_GT(view->nearest, 0);
            }
        }
    }
}

TEST(PreviewCamera, fitLooksFromInFrontAndAbove) {
    for (const Axis up : {Axis::y, Axis::z}) {
        Fit fit(wide, up);
        fit.add({0, 0, 0});
        fit.add({1, 1, 1});
        const View view = *fit.view();
        const Vector above = up == Axis::y ? Vector{0, 1, 0} : Vector{0, 0, 1};
        const Vector before = up == Axis::y ? Vector{0, 0, 1} : Vector{0, -1, 0};
        EXPECT_LT(dot(view.forward, above), 0);
        EXPECT_LT(dot(view.forward, before), 0);
        EXPECT_LT(view.forward.x, 0);
        EXPECT_GT(dot(view.up, above), 0);
        EXPECT_NEAR(dot(view.right, above), 0, 1e-12);
    }
}

TEST(PreviewCamera, fitOfLittle) {
    Fit fit(wide, Axis::y);
    EXPECT_FALSE(fit.view());
    EXPECT_EQ(fit.extent(), 0);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    fit.add({nan, 0, 0});
    fit.add({0, HUGE_VAL, 0});
    EXPECT_FALSE(fit.view());
    fit.add({5, 6, 7});
    ASSERT_TRUE(fit.view());
    EXPECT_LT(reach(*fit.view(), {5, 6, 7}), 1e-9);
    EXPECT_EQ(fit.extent(), 0);
}

}  // namespace

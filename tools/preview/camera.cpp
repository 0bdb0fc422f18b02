#include "preview/camera.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "common/json_depth.h"

namespace q7preview {

namespace {

using nlohmann::json;

constexpr double usualFieldOfView = 45;
// Of the field of view of a fitted picture: from the middle to the longer side, at the distance 1.
constexpr double fittedSlope = 0.35;
// What is left free around a fitted scene.
constexpr double fittedShare = 0.93;
constexpr double nearShare = 1e-4;

std::optional<double> numberAt(const json& object, const char* key) {
    const auto member = object.find(key);
    if (member == object.end() || !member->is_number()) return std::nullopt;
    const auto number = member->get<double>();
    if (!std::isfinite(number)) return std::nullopt;
    return number;
}

std::optional<Vector> vectorAt(const json& object, const char* key) {
    const auto member = object.find(key);
    if (member == object.end() || !member->is_array() || member->size() != 3) return std::nullopt;
    double numbers[3] = {};
    for (std::size_t i = 0; i < 3; ++i) {
        if (!(*member)[i].is_number()) return std::nullopt;
        numbers[i] = (*member)[i].get<double>();
    }
    const Vector vector{numbers[0], numbers[1], numbers[2]};
    return isFinite(vector) ? std::optional(vector) : std::nullopt;
}

Vector upwards(Axis up) {
    return up == Axis::y ? Vector{0, 1, 0} : Vector{0, 0, 1};
}

Vector sidewards(Axis up) {
    return up == Axis::y ? Vector{0, 0, -1} : Vector{0, 1, 0};
}

// From the scene to the viewer: in front of it, to the right and above.
Vector fittedDirection(Axis up) {
    return up == Axis::y ? Vector{0.75, 0.55, 1} : Vector{0.75, -1, 0.55};
}

// The angle is that of the half of a field of view, below 90 degrees. By series, since the functions
// of the standard libraries differ in the last digit.
double tangent(double angle) {
    const double x = angle * 3.14159265358979323846 / 180;
    double sine = x;
    double cosine = 1;
    double power = 1;
    double odd = x;
    for (int i = 1; i <= 14; ++i) {
        const double n = 2.0 * i;
        power *= -x * x / ((n - 1) * n);
        odd *= -x * x / (n * (n + 1));
        cosine += power;
        sine += odd;
    }
    return sine / cosine;
}

// Turns a view to look there. False when that is no direction.
bool turn(View& view, const Vector& direction, const Vector& up) {
    view.forward = unit(direction);
    view.right = unit(cross(view.forward, up));
    view.up = cross(view.right, view.forward);
    return view.right != Vector{};
}

}  // namespace

std::optional<SceneCamera> readCamera(std::string_view text) {
    constexpr std::size_t deepest = 16;
    if (q7tools::jsonDepth(text) > deepest) return std::nullopt;
    const json object = json::parse(text, nullptr, /*allow_exceptions=*/false);
    if (!object.is_object()) return std::nullopt;
    const auto position = vectorAt(object, "Position");
    const auto direction = vectorAt(object, "Direction");
    if (!position || !direction) return std::nullopt;
    SceneCamera camera{*position, *direction, vectorAt(object, "Up"), {}, {}, {}, {}};
    camera.fieldOfView = numberAt(object, "FieldOfView");
    if (!camera.fieldOfView) camera.fieldOfView = numberAt(object, "FOV");
    camera.aspectRatio = numberAt(object, "AspectRatio");
    camera.orthographicWidth = numberAt(object, "OrthographicWidth");
    camera.nearPlane = numberAt(object, "NearPlane");
    return camera;
}

Vector View::turned(const Vector& direction) const {
    return {dot(direction, right), dot(direction, up), dot(direction, forward)};
}

std::optional<View> viewOf(const SceneCamera& camera, Size size, Axis up, double extent) {
    View view;
    view.origin = camera.position;
    const Vector ups[] = {camera.up.value_or(upwards(up)), upwards(up), sidewards(up)};
    const bool isTurned = std::ranges::any_of(
        ups, [&](const Vector& candidate) { return turn(view, camera.direction, candidate); });
    if (!isTurned || !isFinite(camera.position)) return std::nullopt;

    const double width = camera.orthographicWidth.value_or(0);
    view.hasPerspective = !(width > 0);
    const double angle = camera.fieldOfView.value_or(usualFieldOfView);
    const bool isAngle = angle > 0.01 && angle < 179;
    view.halfWidth =
        view.hasPerspective ? tangent((isAngle ? angle : usualFieldOfView) / 2) : width / 2;
    const double shape = static_cast<double>(size.width) / size.height;
    const double given = camera.aspectRatio.value_or(shape);
    const double cameraShape = given > 0 ? given : shape;
    if (shape > cameraShape) view.halfWidth *= shape / cameraShape;
    view.halfHeight = view.halfWidth / shape;
    const double plane = camera.nearPlane.value_or(0);
    view.nearest = plane > 0 ? plane : extent * nearShare;
    return view;
}

Fit::Fit(Size size, Axis up) {
    turn(view_, fittedDirection(up) * -1, upwards(up));
    const double longer = std::max(size.width, size.height);
    view_.halfWidth = fittedSlope * size.width / longer;
    view_.halfHeight = fittedSlope * size.height / longer;
    slopeX_ = fittedShare * view_.halfWidth;
    slopeY_ = fittedShare * view_.halfHeight;
}

void Fit::widen(Range& range, double value) const {
    range.least = isEmpty_ ? value : std::min(range.least, value);
    range.largest = isEmpty_ ? value : std::max(range.largest, value);
}

void Fit::add(const Vector& point) {
    const Vector seen = view_.turned(point);
    if (!isFinite(seen)) return;
    widen(x_, seen.x);
    widen(y_, seen.y);
    widen(z_, seen.z);
    widen(leftSide_, seen.x + slopeX_ * seen.z);
    widen(rightSide_, seen.x - slopeX_ * seen.z);
    widen(lowerSide_, seen.y + slopeY_ * seen.z);
    widen(upperSide_, seen.y - slopeY_ * seen.z);
    isEmpty_ = false;
}

double Fit::extent() const {
    return std::max({x_.length(), y_.length(), z_.length()});
}

std::optional<View> Fit::view() const {
    if (isEmpty_) return std::nullopt;
    // The sides of the view touch the points: where two opposite ones meet is the viewer.
    const double x = (rightSide_.largest + leftSide_.least) / 2;
    const double y = (upperSide_.largest + lowerSide_.least) / 2;
    const double forWidth = (leftSide_.least - rightSide_.largest) / (2 * slopeX_);
    const double forHeight = (lowerSide_.least - upperSide_.largest) / (2 * slopeY_);
    const double free = extent() > 0 ? extent() / 20 : 1;
    const double z = std::min({forWidth, forHeight, z_.least - free});
    View view = view_;
    view.origin = view_.right * x + view_.up * y + view_.forward * z;
    view.nearest = (z_.least - z) / 2;
    return view;
}

}  // namespace q7preview

// From where a scene is seen.
#pragma once

#include <optional>
#include <string_view>

#include "preview/geometry.h"
#include "preview/image.h"

namespace q7preview {

// What is up where no camera says it.
enum class Axis { y, z };

// A camera of the scene. What is missing is chosen.
struct SceneCamera {
    Vector position;
    Vector direction;
    std::optional<Vector> up;
    std::optional<double> fieldOfView;  // degrees from left to right
    std::optional<double> aspectRatio;
    std::optional<double> orthographicWidth;
    std::optional<double> nearPlane;
};

// Of the text of a camera message, with the properties that q7-send writes, and FOV for FieldOfView.
// Nothing when it has no Position and Direction of three numbers.
std::optional<SceneCamera> readCamera(std::string_view text);

// What a picture shows. In a view x goes to the right, y up, and z away from the viewer.
struct View {
    Vector origin;
    Vector right;
    Vector up;
    Vector forward;
    // How far it sees to each side: at the distance 1, or at all of them without perspective.
    double halfWidth = 1;
    double halfHeight = 1;
    bool hasPerspective = true;
    double nearest = 0;  // nothing nearer is drawn

    // Without moving.
    Vector turned(const Vector& direction) const;
    Vector toView(const Vector& point) const { return turned(point - origin); }
};

// All that the camera sees is in the picture, and more at two sides where the picture has another
// shape. extent: the size of what is drawn, for a near plane where the camera has none. Nothing when
// the camera looks nowhere.
std::optional<View> viewOf(const SceneCamera& camera, Size size, Axis up, double extent);

// Finds the place from which all points are in the picture, looking a little from above.
class Fit {
  public:
    Fit(Size size, Axis up);

    // Points that are not finite are left out.
    void add(const Vector& point);

    // The largest of the distances between points to the right, up and away; 0 for less than two.
    double extent() const;
    // Nothing without points.
    std::optional<View> view() const;

  private:
    // The largest and the least of a number.
    struct Range {
        double least = 0;
        double largest = 0;
        double length() const { return largest - least; }
    };
    void widen(Range& range, double value) const;

    View view_;
    double slopeX_;
    double slopeY_;
    bool isEmpty_ = true;
    Range x_, y_, z_;
    // How far the view's sides have to be from the middle, were the viewer at z = 0.
    Range leftSide_, rightSide_, lowerSide_, upperSide_;
};

}  // namespace q7preview

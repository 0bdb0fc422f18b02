// A named thing of the scene whose properties change over time.
#pragma once

#include <cstdint>
#include <vector>

#include "entities/entity.h"
#include "support/json.h"
#include "support/text.h"

class IJsonable {
  public:
    virtual ~IJsonable() = default;
    // Fills the value, and returns it.
    virtual Json& toJson(Json& value) const = 0;
};

// One moment. Each property is a curve's points at that moment: five doubles a point, the value and
// the time and value of the left and the right tangent.
class Q7AnimationKeyFrame : public IJsonable, public Q7Entity {
  public:
    double time = 0;

    explicit Q7AnimationKeyFrame(double frameTime) : time(frameTime) {}

    // An object with "T", and an array of points for each property that has any.
    Json& toJson(Json& value) const override;
};

class Q7AnimationEntity : public IJsonable, public Q7Entity {
  public:
    // In the order of adding, whatever their times.
    std::vector<Q7AnimationKeyFrame> frames;

    // Returns the frame's index.
    std::int32_t addFrame(double time);
    // The first frame whose time differs by less than the epsilon of a double, or -1.
    std::int32_t findFrame(double time) const;
    // Does nothing when there is no such frame.
    void deleteFrame(std::int32_t index);
    // Null when there is no such frame.
    Q7AnimationKeyFrame* frame(std::int32_t index);

    // An object with the entity's properties, and "FrameData" with the frames.
    Json& toJson(Json& value) const override;
};

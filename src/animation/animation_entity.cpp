#include "animation/animation_entity.h"

#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr std::array pointKeys = {"V", "LT", "LV", "RT", "RV"};

// The points join those that are there under the key. What is no array of points, the frame's time,
// gives way to them.
void appendPoints(Json& value, const std::vector<double>& numbers) {
    if (!value.isArray()) value = Json::array();
    for (std::size_t first = 0; first + pointKeys.size() <= numbers.size();
         first += pointKeys.size()) {
        Json point;
        for (std::size_t i = 0; i < pointKeys.size(); ++i)
            point[pointKeys[i]] = numbers[first + i];
        value.push_back(std::move(point));
    }
}

}  // namespace

Json& Q7AnimationKeyFrame::toJson(Json& value) const {
    value = Json::object();
    value["T"] = time;
    for (const auto& [key, property] : properties) {
        if (property.type != PropertyType::Double || property.elementCount() == 0) continue;
        appendPoints(value[wideToUtf8(property.name)], property.elements<double>());
    }
    return value;
}

std::int32_t Q7AnimationEntity::addFrame(double time) {
    frames.emplace_back(time);
    return static_cast<std::int32_t>(frames.size() - 1);
}

std::int32_t Q7AnimationEntity::findFrame(double time) const {
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if (std::abs(frames[i].time - time) < std::numeric_limits<double>::epsilon()) {
            return static_cast<std::int32_t>(i);
        }
    }
    return -1;
}

void Q7AnimationEntity::deleteFrame(std::int32_t index) {
    if (frame(index)) frames.erase(frames.begin() + index);
}

Q7AnimationKeyFrame* Q7AnimationEntity::frame(std::int32_t index) {
    const auto position = static_cast<std::uint32_t>(index);
    return position < frames.size() ? &frames[position] : nullptr;
}

Json& Q7AnimationEntity::toJson(Json& value) const {
    value = Q7Entity::toJson();
    Json& frameData = value["FrameData"] = Json::array();
    for (const Q7AnimationKeyFrame& frame : frames) {
        Json frameValue;
        frameData.push_back(std::move(frame.toJson(frameValue)));
    }
    return value;
}

// Placements of nodes.
#pragma once

#include <optional>

#include "send/scene.h"

namespace q7send {

// In a radian.
inline constexpr float degrees = 57.2957795F;
// How a camera or a light stands that says nothing else.
inline constexpr Pose unturned{{0, 0, 0}, {0, 0, -1}, {0, 1, 0}};

// Turns a matrix for column vectors, its rows one after the other, into one for row vectors, and
// back.
Transform transposed(const Transform& matrix);

// The placement of a child whose own transform is relative to its parent's.
Transform worldTransform(const Transform& local, const Transform& parentWorld);

// A place and a look within something, seen from the world. The directions get the length 1. Nothing
// when that is no finite place, or gives no direction.
std::optional<Pose> worldPose(const Pose& local, const Transform& world);

}  // namespace q7send

// Placements of nodes.
#pragma once

#include "send/scene.h"

namespace q7send {

// Turns a matrix for column vectors, its rows one after the other, into one for row vectors, and
// back.
Transform transposed(const Transform& matrix);

// The placement of a child whose own transform is relative to its parent's.
Transform worldTransform(const Transform& local, const Transform& parentWorld);

}  // namespace q7send

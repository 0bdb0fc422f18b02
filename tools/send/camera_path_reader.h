// How the cameras of a 3D file move.
#pragma once

#include <assimp/scene.h>

#include "send/node_table.h"
#include "send/scene.h"

namespace q7send {

// Fills scene.cameraPaths: one for each animation and camera whose node, or one above it, the
// animation moves. There is a frame for each key of these nodes; what has no key at that time is
// interpolated. scene.cameras must be complete. Frames without a finite place are left out, and
// counted as unplaced.
void readCameraPaths(const aiScene& source, const NodeTable& nodes, Scene& scene);

}  // namespace q7send

// The cameras of a 3D file.
#pragma once

#include <assimp/scene.h>

#include "send/node_table.h"
#include "send/scene.h"

namespace q7send {

// How a camera stands within its node.
Pose poseInNode(const aiCamera& camera, const NodeTable& nodes);

// Fills scene.cameras, in the order of the source's. The scene's nodes must be complete. One without
// a sound place or direction stays as it would be without its node.
void readCameras(const aiScene& source, const NodeTable& nodes, Scene& scene);

}  // namespace q7send

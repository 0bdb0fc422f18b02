// The lights of a 3D file.
#pragma once

#include <assimp/scene.h>

#include "send/node_table.h"
#include "send/scene.h"

namespace q7send {

// Fills scene.lights, in the order of the source's. The scene's nodes must be complete.
void readLights(const aiScene& source, const NodeTable& nodes, Scene& scene);

}  // namespace q7send

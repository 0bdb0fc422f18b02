// The measured meshes as Assimp holds them.
#pragma once

#include <assimp/scene.h>

#include "bench/peers.h"

namespace bench {

// Fills an empty scene: one node for each mesh below the root.
void fillScene(aiScene& scene, const Shape& shape);

}  // namespace bench

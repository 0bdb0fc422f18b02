// Materials as Assimp reads them.
#pragma once

#include "send/scene.h"

struct aiScene;

namespace q7send {

// Fills the materials of the scene, and its counts of textures that have no file. The scene's
// texture folder is set.
void readMaterials(const aiScene& source, Scene& scene);

}  // namespace q7send

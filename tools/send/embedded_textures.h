// Images that 3D files hold themselves.
#pragma once

#include <assimp/scene.h>

#include "send/scene.h"

namespace q7send {

// Fills scene.textures, in the order of the source's. Compressed images are taken as they are; others
// become TGA files. File names start with that of the model.
void readTextures(const aiScene& source, Scene& scene);

}  // namespace q7send

// What a 3D file tells about itself.
#pragma once

#include <assimp/scene.h>

#include "send/scene.h"

namespace q7send {

// Fills scene.remarks with the texts of the source's metadata, such as its author or program.
void readRemarks(const aiScene& source, Scene& scene);

}  // namespace q7send

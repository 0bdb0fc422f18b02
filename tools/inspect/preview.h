// Pictures of what a file holds.
#pragma once

#include <string>

#include "preview/preview.h"

namespace q7inspect {

// The camera of a file as q7-standin keeps it. Throws FileError, also when it is none.
q7preview::SceneCamera readCameraFile(const std::string& file);

// A stream with the texture files that it names, or that of an archive with the textures inside. Throws
// what readModel throws.
q7preview::Preview drawInput(const std::string& file, const q7preview::PreviewOptions& options);

}  // namespace q7inspect

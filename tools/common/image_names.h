// Names of images.
#pragma once

#include "support/text.h"

namespace q7tools {

// Whether a path's last part, behind the last slash or backslash, ends like the name of an image file:
// ".png", ".jpg" and so on, without regard to the case of A to Z.
bool isImageName(WideView path);

}  // namespace q7tools

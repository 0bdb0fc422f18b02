// What a material's text tells of its looks.
#pragma once

#include <optional>

#include "preview/image.h"
#include "support/text.h"

namespace q7preview {

struct MaterialLook {
    std::optional<Pixel> color;
    WideString texture;  // the path of an image; empty without one
    double opacity = 1;
};

// Of typed materials and of text, by the names of elements without children; blanks, "-" and "_" in
// them and the case of A to Z do not count. The colour is the text "#RRGGBB" of BaseColor, DiffuseColor,
// AlbedoColor, Color, Diffuse or Albedo, the first of them that has one; the texture is the text of
// the first element whose name has "base", "diffuse", "albedo" or "color" and "texture" or "map"; the opacity
// is the number of Opacity. The text that the library gives to a material which the host never
// described tells nothing. Text of any kind will do.
MaterialLook lookOf(WideView text);

// For a material whose colour is not known: always the same, and different for most names.
Pixel colorOfName(WideView name);

}  // namespace q7preview

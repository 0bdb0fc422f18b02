// How bright a surface is.
#pragma once

#include "preview/geometry.h"
#include "preview/texture.h"

namespace q7preview {

// The light that comes from a surface of that colour to the viewer: from a lamp beside the viewer,
// from the sky above and the ground below, and a little gloss. All directions have the length 1 and
// are those of a view, in which z goes away from the viewer; the normal is on the viewer's side.
Color shade(const Color& base, const Vector& normal, const Vector& toViewer, const Vector& sky);

// Behind the scene, by how far down the picture it is: 0 to 1.
Pixel background(double down);

}  // namespace q7preview

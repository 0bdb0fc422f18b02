// Vertices as the library takes them.
#pragma once

#include "send/scene.h"

namespace q7send {

// Takes out the vertices that no triangle uses: those of points and lines.
void dropUnusedVertices(SceneMesh& mesh);

// Repeats the last vertex until the number of vertices is a multiple of three, since the library
// counts them in threes also where triangles share them. No triangle uses the copies.
void padToWholeTriangles(SceneMesh& mesh);

}  // namespace q7send

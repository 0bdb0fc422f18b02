// Vertices as the library takes them.
#pragma once

#include "send/scene.h"

namespace q7send {

// Takes out the vertices that no triangle uses: those of points and lines.
void dropUnusedVertices(SceneMesh& mesh);

// Repeats the last vertex until the number of vertices is a multiple of three, since the library
// counts them in threes also where triangles share them. No triangle uses the copies.
void padToWholeTriangles(SceneMesh& mesh);

// Gives each corner of each triangle a vertex of its own, in the order of the indices, which become
// 0, 1, 2 and so on.
void unshareVertices(SceneMesh& mesh);

// The same for every mesh that the library may merge, since merging drops the indices: those of a
// single node. Meshes of several nodes keep the vertices that they share.
void unshareMergeable(Scene& scene);

}  // namespace q7send

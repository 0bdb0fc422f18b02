// The scene as a Wavefront OBJ file.
#pragma once

#include <cstdint>
#include <ostream>

#include "common/stream_reader.h"

namespace q7inspect {

struct ObjCounts {
    std::uint64_t objects = 0;
    std::uint64_t triangles = 0;
    std::uint64_t missingMeshes = 0;  // instances of meshes that the stream does not hold
    std::uint64_t skippedTriangles =
        0;  // with an index out of range or a corner that is not finite
};

// One object for each instance, placed in the world, with its material's name. Triangles of
// mirrored instances change their order of corners, so that they keep facing outwards. Normals and
// uvs are written where their number fits the positions. The vertices of a merged mesh are triangles,
// three by three.
ObjCounts writeObj(std::ostream& out, const q7tools::StreamModel& model);

}  // namespace q7inspect

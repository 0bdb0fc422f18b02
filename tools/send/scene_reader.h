// Reads 3D files of every kind that Assimp knows.
#pragma once

#include <filesystem>
#include <functional>

#include "send/scene.h"

namespace q7send {

// Takes how much is done, from 0 to 1.
using ProgressFunction = std::function<void(double)>;

// Reads a file: polygons cut into triangles, smooth normals where there are none, triangles that
// share vertices. Nodes keep their place in the world. Points and lines are counted and left out.
// Throws q7tools::FileError. A broken file may crash Assimp: see crash_guard.h.
Scene readScene(const std::filesystem::path& path, const ProgressFunction& progress);

}  // namespace q7send

// Reads 3D files of every kind that Assimp knows.
#pragma once

#include <filesystem>
#include <functional>

#include "send/scene.h"

namespace q7send {

// Takes how much is done, from 0 to 1.
using ProgressFunction = std::function<void(double)>;

// Whether the images that a file holds itself are to be kept in memory.
enum class EmbeddedTextures { leaveOut, read };

// Reads a file: polygons cut into triangles, smooth normals where there are none, triangles that
// share vertices. Nodes keep their place in the world. Points and lines are counted and left out.
// Throws q7tools::FileError. A broken file may crash Assimp: see crash_guard.h.
Scene readScene(const std::filesystem::path& path, const ProgressFunction& progress,
                EmbeddedTextures embedded = EmbeddedTextures::leaveOut);

}  // namespace q7send

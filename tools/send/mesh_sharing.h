// Which meshes become one node of the library, and which nodes are duplicates of it.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "send/scene.h"

namespace q7send {

// One node of the library: some meshes at the place of a node of the scene.
struct Placement {
    std::size_t node = 0;
    std::vector<std::size_t> meshes;
    std::optional<std::size_t> original;  // the placement whose geometry this one repeats
    bool isPart = false;                  // one mesh of several that the scene's node has

    bool operator==(const Placement&) const = default;
};

// In the order of the scene's nodes; an original stands before its duplicates. The library repeats
// whole nodes, so nodes with equal lists of meshes share them. Where a mesh occurs in different
// lists, those lists are taken apart and each of their meshes gets a placement of its own: so every
// mesh is handed over once.
std::vector<Placement> planPlacements(const std::vector<SceneNode>& nodes, std::size_t meshCount);

}  // namespace q7send

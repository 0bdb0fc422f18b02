#include "send/mesh_sharing.h"

#include <algorithm>
#include <map>
#include <utility>

namespace q7send {

namespace {

using MeshList = std::vector<std::size_t>;

constexpr std::size_t none = static_cast<std::size_t>(-1);

// The different lists of meshes that the nodes have, numbered in order of first use.
class MeshLists {
  public:
    MeshLists(const std::vector<SceneNode>& nodes, std::size_t meshCount)
        : listOfMesh_(meshCount, none), isShared_(meshCount, false) {
        for (const SceneNode& node : nodes) {
            const auto [list, isNew] = numbers_.try_emplace(node.meshes, numbers_.size());
            if (isNew) noteMeshes(list->first, list->second);
        }
    }

    bool isTakenApart(const MeshList& list) const {
        return std::any_of(list.begin(), list.end(),
                           [&](std::size_t mesh) { return isShared_[mesh]; });
    }

  private:
    void noteMeshes(const MeshList& list, std::size_t number) {
        for (const std::size_t mesh : list) {
            if (listOfMesh_[mesh] == none) listOfMesh_[mesh] = number;
            if (listOfMesh_[mesh] != number) isShared_[mesh] = true;
        }
    }

    std::map<MeshList, std::size_t> numbers_;
    std::vector<std::size_t> listOfMesh_;
    std::vector<bool> isShared_;
};

class Planner {
  public:
    void place(std::size_t node, const MeshList& meshes, bool isPart) {
        const auto [first, isNew] = originals_.try_emplace(meshes, placements_.size());
        placements_.push_back({node, meshes, {}, isPart});
        if (!isNew) placements_.back().original = first->second;
    }

    std::vector<Placement> finish() { return std::move(placements_); }

  private:
    std::vector<Placement> placements_;
    std::map<MeshList, std::size_t> originals_;
};

}  // namespace

std::vector<Placement> planPlacements(const std::vector<SceneNode>& nodes, std::size_t meshCount) {
    const MeshLists lists(nodes, meshCount);
    Planner planner;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const MeshList& meshes = nodes[i].meshes;
        if (meshes.empty()) continue;
        if (!lists.isTakenApart(meshes)) {
            planner.place(i, meshes, false);
            continue;
        }
        for (const std::size_t mesh : meshes)
            planner.place(i, {mesh}, meshes.size() > 1);
    }
    return planner.finish();
}

}  // namespace q7send

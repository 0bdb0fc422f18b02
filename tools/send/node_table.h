// The nodes of Assimp's scene, by name and by number.
#pragma once

#include <assimp/scene.h>

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "send/scene.h"

namespace q7send {

class NodeTable {
  public:
    // In the order of Scene::nodes. Of several nodes with one name the first counts.
    void add(const aiNode& node);

    std::optional<std::size_t> find(const aiString& name) const;
    const aiNode& operator[](std::size_t number) const { return *nodes_[number]; }

  private:
    std::vector<const aiNode*> nodes_;
    std::unordered_map<std::string, std::size_t> numbers_;
};

Transform transformOf(const aiMatrix4x4& matrix);
Vector vectorOf(const aiVector3D& vector);

// The place of a camera or light within its node. Some readers put the node's own place there once
// more: where the node has one, that counts alone.
Vector placeInNode(const aiVector3D& given, const aiNode& node);

}  // namespace q7send

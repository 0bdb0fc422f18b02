// The names under which a scene's materials and nodes go to the library.
#pragma once

#include <vector>

#include "send/scene.h"
#include "send/unique_names.h"

namespace q7send {

class SceneNames {
  public:
    explicit SceneNames(const Scene& scene);

    const WideString& material(std::size_t index) const { return materials_[index]; }
    const WideString& node(std::size_t index) const { return nodes_[index]; }

    // A further name beside those of the scene's nodes, for one mesh of that node.
    WideString claimPart(std::size_t node, WideView meshName);

    // The names from the root down to that node, each behind a "/". In a name "/" becomes "@".
    WideString path(std::size_t node) const;

  private:
    const Scene& scene_;
    UniqueNames nodeNames_;
    std::vector<WideString> materials_;
    std::vector<WideString> nodes_;
};

}  // namespace q7send

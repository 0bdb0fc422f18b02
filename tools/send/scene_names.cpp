#include "send/scene_names.h"

#include <algorithm>
#include <optional>

namespace q7send {

SceneNames::SceneNames(const Scene& scene) : scene_(scene), nodeNames_(u'_', u'@') {
    UniqueNames materialNames(u'/', u'@');
    materials_.reserve(scene.materials.size());
    for (const SceneMaterial& material : scene.materials) {
        materials_.push_back(materialNames.claim(material.name, u"Material"));
    }
    nodes_.reserve(scene.nodes.size());
    for (const SceneNode& node : scene.nodes) {
        nodes_.push_back(nodeNames_.claim(node.name, u"Node"));
    }
}

WideString SceneNames::claimPart(std::size_t node, WideView meshName) {
    const WideView part = meshName.empty() ? WideView(u"Mesh") : meshName;
    return nodeNames_.claim(nodes_[node] + u'.' + WideString(part), {});
}

WideString SceneNames::path(std::size_t node) const {
    std::vector<const WideString*> names;
    for (std::optional<std::size_t> i = node; i; i = scene_.nodes[*i].parent) {
        names.push_back(&nodes_[*i]);
    }
    WideString result;
    std::reverse(names.begin(), names.end());
    for (const WideString* name : names) {
        result += u'/';
        result += replaceUnit(*name, u'/', u'@');
    }
    return result;
}

}  // namespace q7send

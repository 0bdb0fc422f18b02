#include "send/node_table.h"

#include "send/transform.h"

namespace q7send {

void NodeTable::add(const aiNode& node) {
    numbers_.try_emplace(node.mName.C_Str(), nodes_.size());
    nodes_.push_back(&node);
}

std::optional<std::size_t> NodeTable::find(const aiString& name) const {
    const auto found = numbers_.find(name.C_Str());
    if (found == numbers_.end()) return std::nullopt;
    return found->second;
}

Transform transformOf(const aiMatrix4x4& m) {
    return transposed({m.a1, m.a2, m.a3, m.a4, m.b1, m.b2, m.b3, m.b4,  //
                       m.c1, m.c2, m.c3, m.c4, m.d1, m.d2, m.d3, m.d4});
}

Vector vectorOf(const aiVector3D& vector) {
    return {vector.x, vector.y, vector.z};
}

Vector placeInNode(const aiVector3D& given, const aiNode& node) {
    const aiMatrix4x4& own = node.mTransformation;
    const bool hasPlace = own.a4 != 0 || own.b4 != 0 || own.c4 != 0;
    return hasPlace ? Vector{} : vectorOf(given);
}

}  // namespace q7send

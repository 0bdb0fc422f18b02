#include "model/session_core.h"

#include <cstring>

void SessionCore::addScene(WideView name, WideView label, const void* sceneData,
                           std::uint32_t value) {
    LegacyScene scene{WideString(name), WideString(label), {}, value};
    std::memcpy(scene.sceneData.data(), sceneData, scene.sceneData.size());
    legacyScenes.push_back(std::move(scene));
}

void SessionCore::applyPendingDeletes() {
    model->removeInstances(pendingDeletions);
    pendingDeletions.clear();
}

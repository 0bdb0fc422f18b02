#include "model/session_core.h"

#include <cstring>

namespace {

template <class Store>
auto findRecord(Store& store, WideView name) {
    const auto* const record = store.find(name);
    return record ? record->get() : nullptr;
}

}  // namespace

bool isNamed(EntityType type) {
    return type == EntityType::Light || type == EntityType::Scene ||
           type == EntityType::CameraAnimation;
}

void addEntity(EntityStore& store, WideView name) {
    store[name] = std::make_unique<Q7Entity>();
}

void SessionCore::addScene(WideView name, WideView label, const void* sceneData,
                           std::uint32_t value) {
    LegacyScene scene{WideString(name), WideString(label), {}, value};
    std::memcpy(scene.sceneData.data(), sceneData, scene.sceneData.size());
    legacyScenes.push_back(std::move(scene));
}

void SessionCore::addCameraAnimation(const WideString& name) {
    auto animation = std::make_unique<Q7AnimationEntity>();
    animation->setText(u"Name", name);
    cameraAnims[name] = std::move(animation);
}

Q7Entity* SessionCore::findEntity(EntityType type, WideView name) {
    switch (type) {
        case EntityType::Camera:
            return cameraEntity.get();
        case EntityType::Light:
            return findRecord(lights, name);
        case EntityType::Scene:
            return findRecord(scenes, name);
        case EntityType::MetaData:
            return metaEntity.get();
        case EntityType::CameraAnimation:
            return findAnimation(type, name);
    }
    return nullptr;
}

Q7AnimationEntity* SessionCore::findAnimation(EntityType type, WideView name) {
    if (type != EntityType::CameraAnimation) return nullptr;
    return findRecord(cameraAnims, name);
}

void SessionCore::applyPendingDeletes() {
    model->removeInstances(pendingDeletions);
    pendingDeletions.clear();
}

#include "api/convert.h"

namespace {

// The name is read only where it matters.
Q7Entity* entityOf(void* session, uint32_t entityType, const Q7Char* entityName) {
    const auto type = static_cast<EntityType>(entityType);
    return coreOf(session).findEntity(type, isNamed(type) ? toWide(entityName) : WideString());
}

// Hosts count on it that a camera animation keeps what was set.
Q7Entity* shrinkableEntityOf(void* session, uint32_t entityType, const Q7Char* entityName) {
    if (static_cast<EntityType>(entityType) == EntityType::CameraAnimation) return nullptr;
    return entityOf(session, entityType, entityName);
}

}  // namespace

void Q7AddScene(void* session, const Q7Char* name) {
    addEntity(coreOf(session).scenes, toWide(name));
}

void Q7DeleteScene(void* session, const Q7Char* name) {
    coreOf(session).scenes.erase(toWide(name));
}

void Q7ClearScenes(void* session) {
    coreOf(session).scenes.clear();
}

void Q7AddLight(void* session, const Q7Char* name) {
    addEntity(coreOf(session).lights, toWide(name));
}

void Q7DeleteLight(void* session, const Q7Char* name) {
    coreOf(session).lights.erase(toWide(name));
}

void Q7ClearLights(void* session) {
    coreOf(session).lights.clear();
}

void Q7SetPathElementName(void* session, const Q7Char* id, const Q7Char* name) {
    coreOf(session).pathElementNames[toWide(id)] = toWide(name);
}

void Q7DeletePathElementName(void* session, const Q7Char* id) {
    coreOf(session).pathElementNames.erase(toWide(id));
}

void Q7ClearPathElementNames(void* session) {
    coreOf(session).pathElementNames.clear();
}

void Q7SetEntityIntProperty(void* session, uint32_t entityType, const Q7Char* entityName,
                            const Q7Char* property, int32_t value) {
    if (Q7Entity* const entity = entityOf(session, entityType, entityName)) {
        entity->setInts(toWide(property), {&value, 1});
    }
}

void Q7SetEntityFloatProperty(void* session, uint32_t entityType, const Q7Char* entityName,
                              const Q7Char* property, float value) {
    if (Q7Entity* const entity = entityOf(session, entityType, entityName)) {
        entity->setFloats(toWide(property), {&value, 1});
    }
}

void Q7SetEntityFloatArrayProperty(void* session, uint32_t entityType, const Q7Char* entityName,
                                   const Q7Char* property, const float* values, int count) {
    if (Q7Entity* const entity = entityOf(session, entityType, entityName)) {
        entity->setFloats(toWide(property), hostArray(values, count));
    }
}

void Q7SetEntityStringProperty(void* session, uint32_t entityType, const Q7Char* entityName,
                               const Q7Char* property, const Q7Char* value) {
    if (Q7Entity* const entity = entityOf(session, entityType, entityName)) {
        entity->setText(toWide(property), toWide(value));
    }
}

void Q7ResetEntityProperty(void* session, uint32_t entityType, const Q7Char* entityName) {
    if (Q7Entity* const entity = shrinkableEntityOf(session, entityType, entityName)) {
        entity->clear();
    }
}

void Q7DeleteEntityProperty(void* session, uint32_t entityType, const Q7Char* entityName,
                            const Q7Char* property) {
    if (Q7Entity* const entity = shrinkableEntityOf(session, entityType, entityName)) {
        entity->remove(toWide(property));
    }
}

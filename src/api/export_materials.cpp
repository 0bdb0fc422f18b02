#include "api/convert.h"
#include "api/host_thread.h"
#include "materials/material_list.h"
#include "materials/q7_material.h"

namespace {

// Null when the name is unknown or belongs to a text material.
Q7Material* materialOf(void* session, const Q7Char* name) {
    return findQ7Material(*sessionOf(session).core->model, toWide(name));
}

}  // namespace

void Q7AddMaterial(void* session, const Q7Char* name) {
    sessionOf(session).core->model->addQ7Material(normaliseMaterialName(toWide(name)));
}

void Q7ResetMaterial(void* session, const Q7Char* name) {
    if (Q7Material* const material = materialOf(session, name)) material->clear();
}

void Q7SetMaterialType(void* session, const Q7Char* name, uint32_t type) {
    if (Q7Material* const material = materialOf(session, name)) material->type = type;
}

void Q7SetMaterialIntProperty(void* session, const Q7Char* name, const Q7Char* property,
                              int32_t value) {
    if (Q7Material* const material = materialOf(session, name)) {
        material->setInts(toWide(property), {&value, 1});
    }
}

void Q7SetMaterialFloatProperty(void* session, const Q7Char* name, const Q7Char* property,
                                float value) {
    if (Q7Material* const material = materialOf(session, name)) {
        material->setFloats(toWide(property), {&value, 1});
    }
}

void Q7SetMaterialStringProperty(void* session, const Q7Char* name, const Q7Char* property,
                                 const Q7Char* value) {
    if (Q7Material* const material = materialOf(session, name)) {
        material->setText(toWide(property), toWide(value));
    }
}

void Q7RemoveMaterialProperty(void* session, const Q7Char* name, const Q7Char* property) {
    if (Q7Material* const material = materialOf(session, name)) material->remove(toWide(property));
}

void Q7SaveMaterialToFile(void* session, const Q7Char* path) {
    const HostThreadGuard guard;
    const SessionCore& core = *sessionOf(session).core;
    saveMaterialList(*core.model, core.materialVersion, toWide(path));
}

#include "api/convert.h"

namespace {

template <class Number>
Array<Number> toArray(const Number* numbers, int count) {
    return numbers ? copyArray(numbers, count) : Array<Number>();
}

}  // namespace

void AddMesh(void* session, const Q7Char* name, float* positions, int positionCount, float* normals,
             int normalCount, float* uvs, int uvCount, unsigned char* colors, int colorCount,
             int* indices, int indexCount) {
    sessionOf(session).core->model->setMesh(
        toWide(name),
        {toArray(positions, positionCount), toArray(normals, normalCount), toArray(uvs, uvCount),
         toArray(colors, colorCount), toArray(indices, indexCount)});
}

void AddMaterial(void* session, const Q7Char* materialName, const Q7Char* xml) {
    sessionOf(session).core->model->setMaterialXml(toWide(materialName), toWide(xml));
}

void AddScene(void* session, const Q7Char* name, const Q7Char* label, const void* sceneData,
              uint32_t value) {
    sessionOf(session).core->addScene(toWide(name), toWide(label), sceneData, value);
}

uint64_t Q7InstanceCount(void* session) {
    return sessionOf(session).core->model->instances.size();
}

void Q7DeleteInstance(void* session, uint64_t id) {
    sessionOf(session).instanceIds->deleteInstance(id);
}

#include "model/model.h"

#include <algorithm>

namespace {

bool countsFit(const MeshArrays& arrays) {
    const std::size_t positions = arrays.positions.size();
    const std::size_t normals = arrays.normals.size();
    return positions % 3 == 0 && (normals == 0 || normals == positions) &&
           arrays.uvs.size() == positions / 3 * 2;
}

}  // namespace

WideString normaliseMaterialName(WideView name) {
    return replaceUnit(name, u'/', u'@');
}

bool Model::hasMesh(WideView name) const {
    return meshes.contains(name);
}

Mesh* Model::meshAt(WideView name) const {
    const auto* const mesh = meshes.find(name);
    return mesh ? mesh->get() : nullptr;
}

Mesh* Model::addMesh(WideView name, MeshArrays arrays) {
    if (hasMesh(name) || !countsFit(arrays)) return nullptr;
    auto mesh = std::make_shared<Mesh>();
    static_cast<MeshArrays&>(*mesh) = std::move(arrays);
    mesh->name = name;
    return meshes.tryEmplace(name, std::move(mesh)).first.get();
}

void Model::setMesh(WideView name, MeshArrays arrays) {
    if (Mesh* const mesh = meshAt(name)) {
        static_cast<MeshArrays&>(*mesh) = std::move(arrays);
    } else {
        addMesh(name, std::move(arrays));
    }
}

InstanceHandle Model::addInstance(WideView meshName, WideView materialKey, const float* transform,
                                  WideView path) {
    Mesh* const mesh = meshAt(meshName);
    if (!mesh) return 0;
    const auto* const material = materials.find(materialKey);
    if (!material) return 0;
    auto instance = std::make_shared<Instance>(
        Instance{material->get(), mesh, identityTransform, WideString(path)});
    if (transform) std::copy_n(transform, instance->transform.size(), instance->transform.begin());
    instances.push_back(instance);
    return instance->handle();
}

void Model::removeInstances(const NumberSet& handles) {
    if (handles.empty()) return;
    std::erase_if(instances,
                  [&](const auto& instance) { return handles.contains(instance->handle()); });
}

void Model::pruneUnusedMeshes() {
    NumberSet used;
    const auto keyOf = [](const Mesh* mesh) { return reinterpret_cast<std::uint64_t>(mesh); };
    for (const auto& instance : instances)
        used.insert(keyOf(instance->mesh));
    meshes.eraseIf([&](const auto& entry) { return !used.contains(keyOf(entry.second.get())); });
}

Material* Model::addMaterialXml(WideView name, WideString xml) {
    if (materials.contains(name)) return nullptr;
    auto material = std::make_shared<Material>(WideString(name), std::move(xml));
    Material* const added = material.get();
    materials.tryEmplace(name, std::move(material));
    return added;
}

Material* Model::addDefaultMaterial(WideView name) {
    return addMaterialXml(name, WideString(defaultMaterialXml));
}

void Model::setMaterialXml(WideView name, WideString xml) {
    const WideString key = normaliseMaterialName(name);
    IQ7Material* const found = findMaterial(key);
    if (!found) {
        addMaterialXml(key, std::move(xml));
    } else if (auto* const material = dynamic_cast<Material*>(found)) {
        material->xml = std::move(xml);
    }
}

bool Model::hasMaterial(WideView name) const {
    return findMaterial(name) != nullptr;
}

IQ7Material* Model::findMaterial(WideView name) const {
    const auto* const material = materials.find(normaliseMaterialName(name));
    return material ? material->get() : nullptr;
}

#include "model/node_builder.h"

namespace {

// Appends the triples in the stored axis order.
void appendTriples(Array<float>& array, const float* source, std::size_t triples, AxisOrder order) {
    if (!MaxAdapter::permutes(order)) return append(array, source, 3 * triples);
    const std::size_t before = array.size();
    array.resize(before + 3 * triples);
    MaxAdapter::exchangeCoord({source, 3 * triples}, std::span(array).subspan(before),
                              static_cast<std::ptrdiff_t>(triples), order);
}

WideString meshNameOf(WideView node, WideView material) {
    WideString name = replaceUnit(node, u'_', u'@');
    name += u'_';
    name += material;
    return name;
}

// All the room first: a call that runs out of memory leaves the arrays as they were.
void makeRoom(MeshArrays& mesh, const TriangleBatch& batch) {
    const auto triangles = static_cast<std::size_t>(batch.triangleCount);
    growFor(mesh.positions, 9 * triangles);
    if (batch.normals) growFor(mesh.normals, 9 * triangles);
    growFor(mesh.uvs, 6 * triangles);
    if (batch.indices) mesh.indices.makeRoomFor(batch.indexCount);
}

// Gives back what a generous hint reserved; growth by doubling alone never leaves that much.
template <class Number>
void trim(Array<Number>& array) {
    if (array.capacity() / 2 > array.size()) array.shrink_to_fit();
}

void completeMesh(MeshArrays& mesh) {
    const std::size_t vertices = mesh.positions.size() / 3;
    if (mesh.normals.size() / 3 != vertices) mesh.normals.clear();
    trim(mesh.positions);
    trim(mesh.normals);
    trim(mesh.uvs);
    if (mesh.indices.empty()) mesh.indices = IndexList::running(vertices);
}

}  // namespace

void NodeBuilder::begin(WideView nodeName, const float* nodeTransform, WideView path) {
    if (nodeName.empty()) return;
    nodeInstances.tryEmplace(nodeName);
    transform = nodeTransform;
    instancePath = path;
    currentNode = nodeName;
}

void NodeBuilder::begin(WideView nodeName, const float* nodeTransform, std::uint32_t hint,
                        WideView path) {
    begin(nodeName, nodeTransform, path);
    triangleHint = hint;
}

void NodeBuilder::addTriangles(WideView materialName, const TriangleBatch& batch) {
    if (batch.triangleCount < 0) throwVectorTooLong();
    const auto triangles = static_cast<std::size_t>(batch.triangleCount);
    const auto* const found = subMeshes.find(materialName);
    auto added = found ? nullptr : makeSubMesh(materialName);
    Mesh& mesh = found ? **found : *added;
    makeRoom(mesh, batch);
    if (added) subMeshes.tryEmplace(materialName, std::move(added));

    appendTriples(mesh.positions, batch.positions, 3 * triangles, batch.order);
    if (batch.normals) appendTriples(mesh.normals, batch.normals, 3 * triangles, batch.order);
    if (batch.uvs) {
        append(mesh.uvs, batch.uvs, 6 * triangles);
    } else {
        mesh.uvs.resize(mesh.uvs.size() + 6 * triangles, 0.0F);
    }
    if (batch.indices) mesh.indices.add(batch.indices, batch.indexCount);
}

void NodeBuilder::end() {
    // Taken out first: a call that runs out of memory half-way must not hand a mesh over twice.
    const auto ended = std::move(subMeshes);
    for (const auto& [material, mesh] : ended) {
        completeMesh(*mesh);
        core->model->setMesh(mesh->name, std::move(static_cast<MeshArrays&>(*mesh)));
        const InstanceHandle handle = addInstance(mesh->name, material, transform, instancePath);
        nodeInstances[currentNode].push_back(handle);
    }
    currentNode.clear();
    instancePath.clear();
    triangleHint = 0;
}

void NodeBuilder::duplicate(WideView sourceNode, WideView newNode, const float* newTransform,
                            WideView path) {
    std::vector<InstanceHandle>& copies = nodeInstances[newNode];
    const std::vector<InstanceHandle>* const sources = nodeInstances.find(sourceNode);
    if (!sources) return;
    // A node may be duplicated onto itself: the list as it is now counts.
    const std::size_t count = sources->size();
    for (std::size_t i = 0; i < count; ++i) {
        // A handle is the address of its record.
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        const auto* const source = reinterpret_cast<const Instance*>((*sources)[i]);
        if (!source) continue;
        copies.push_back(
            addInstance(source->mesh->name, source->material->getName(), newTransform, path));
    }
}

void NodeBuilder::remove(WideView node) {
    const std::vector<InstanceHandle>* const handles = nodeInstances.find(node);
    if (!handles) return;
    for (const InstanceHandle handle : *handles)
        core->pendingDeletions.insert(handle);
    nodeInstances.erase(node);
}

std::shared_ptr<Mesh> NodeBuilder::makeSubMesh(WideView materialName) const {
    auto mesh = std::make_shared<Mesh>();
    if (triangleHint != 0) {
        const std::size_t triangles = triangleHint;
        mesh->positions.reserve(9 * triangles);
        mesh->normals.reserve(9 * triangles);
        mesh->uvs.reserve(6 * triangles);
    }
    mesh->name = meshNameOf(currentNode, materialName);
    return mesh;
}

InstanceHandle NodeBuilder::addInstance(WideView meshName, WideView materialName,
                                        const float* instanceTransform, WideView path) {
    Model& model = *core->model;
    const WideString key = materialName.empty() ? WideString(fallbackMaterialName)
                                                : normaliseMaterialName(materialName);
    if (!model.materials.contains(key)) {
        if (core->materialVersion == 0) model.addDefaultMaterial(key);
        if (core->materialVersion == 1) model.addQ7Material(key);
    }
    return model.addInstance(meshName, key, instanceTransform, path);
}

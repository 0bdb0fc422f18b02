#include "geometry/send_markers.h"

#include <charconv>
#include <cmath>
#include <utility>

#include "geometry/q7_model_utils.h"

namespace {

struct Row {
    float x, y, z;
};

float dot(const Row& a, const Row& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

bool healthyLength(const Row& row) {
    const float length = std::sqrt(dot(row, row));
    return length >= 0.001F && length <= 100.0F;
}

bool orthogonal(const Row& a, const Row& b) {
    return std::fabs(dot(a, b)) < 1e-5F;
}

// Every comparison is false for what is not a number.
bool healthy(const Transform& m) {
    const Row r0 = {m[0], m[1], m[2]};
    const Row r1 = {m[4], m[5], m[6]};
    const Row r2 = {m[8], m[9], m[10]};
    return orthogonal(r0, r1) && orthogonal(r0, r2) && orthogonal(r1, r2) && healthyLength(r0) &&
           healthyLength(r1) && healthyLength(r2);
}

WideString fixedMeshName(std::size_t counter, WideView meshName) {
    char digits[24];
    const auto end = std::to_chars(digits, std::end(digits), counter).ptr;
    WideString name(fixedMeshPrefix);
    name.append(digits, end);
    name += meshName;
    return name;
}

MeshArrays bakedArrays(const Mesh& mesh, const Transform& transform) {
    MeshArrays arrays;
    arrays.positions = Q7ModelUtils::calcWorldVertex(mesh.positions, transform);
    if (mesh.normals.size() >= 3) {
        arrays.normals = Q7ModelUtils::calcWorldNormal(mesh.normals, transform);
    }
    arrays.uvs = mesh.uvs;
    arrays.colors = mesh.colors;
    arrays.indices = mesh.indices;
    return arrays;
}

// A coordinate so far beside the given one that single precision still tells them apart.
float neighbourOf(float coordinate) {
    float step = 0.00512052F;
    float neighbour = coordinate + step;
    while (neighbour - coordinate < 0.002F) {
        step = step * 2;
        neighbour = neighbour + step;
    }
    return neighbour;
}

Row firstPointOf(const Model& model) {
    if (model.instances.empty()) return {0, 0, 0};
    const Array<float>& positions = model.instances.front()->mesh->positions;
    if (positions.size() < 3) return {0, 0, 0};
    return {positions[0], positions[1], positions[2]};
}

MeshArrays generatorArrays(const Row& p) {
    MeshArrays arrays;
    arrays.positions = {p.x, p.y, p.z, neighbourOf(p.x), p.y, p.z, p.x, neighbourOf(p.y), p.z};
    arrays.normals = {1, 0, 0, 1, 0, 0, 1, 0, 0};
    arrays.uvs = {1, 0, 1, 0, 1, 0};
    arrays.indices = {0, 1, 2};
    return arrays;
}

}  // namespace

void fixDegenerateTransforms(SessionCore& core, Model& model) {
    std::size_t counter = 0;
    for (const auto& instance : model.instances) {
        const Transform& transform = instance->transform;
        if (transform == identityTransform || healthy(transform)) continue;
        const WideString name = fixedMeshName(counter++, instance->mesh->name);
        Mesh* const fixed = model.addMesh(name, bakedArrays(*instance->mesh, transform));
        if (!fixed) continue;
        core.fixedInstances.push_back({instance.get(), instance->mesh, transform});
        instance->mesh = fixed;
        instance->transform = identityTransform;
    }
}

void restoreFixedInstances(SessionCore& core) {
    for (const FixedInstance& fixed : core.fixedInstances) {
        fixed.instance->mesh = fixed.mesh;
        fixed.instance->transform = fixed.transform;
    }
    core.fixedInstances.clear();
}

Mesh* addGeneratorMesh(Model& model) {
    model.setMesh(generatorMeshName, generatorArrays(firstPointOf(model)));
    return model.meshAt(generatorMeshName);
}

void addMaterialInstance(SessionCore& core, Model& model, const IQ7Material& material,
                         const Mesh& generator) {
    const Transform transform =
        model.instances.empty() ? identityTransform : model.instances.front()->transform;
    // Room first: an instance that is not remembered would stay for good.
    core.generatedInstances.push_back(nullptr);
    core.generatedInstances.pop_back();
    if (model.addInstance(generator.name, material.getName(), transform.data(),
                          generatedInstancePath) != 0) {
        core.generatedInstances.push_back(model.instances.back().get());
    }
}

void removeGeneratedInstances(SessionCore& core, Model& model) {
    const std::vector<Instance*> generated = std::exchange(core.generatedInstances, {});
    // Where each one stands now, so that none has to be searched for.
    HashMap<InstanceHandle, std::size_t> places;
    const std::size_t nowhere = model.instances.size();
    for (const Instance* instance : generated)
        places.tryEmplace(instance->handle(), nowhere);
    for (std::size_t i = 0; i < nowhere; ++i) {
        if (std::size_t* const place = places.find(model.instances[i]->handle())) *place = i;
    }
    for (const Instance* instance : generated) {
        const std::size_t place = places.at(instance->handle());
        if (place == nowhere) continue;
        if (std::size_t* const last = places.find(model.instances.back()->handle())) *last = place;
        std::swap(model.instances[place], model.instances.back());
        model.instances.pop_back();
    }
}

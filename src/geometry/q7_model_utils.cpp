#include "geometry/q7_model_utils.h"

#include <cmath>
#include <span>
#include <vector>

#include "support/hash_map.h"
#include "support/parallel_for.h"

namespace {

// Below this a second thread costs more to start than it saves.
constexpr std::size_t smallestPiece = 1U << 15;

// Calls bake(source, destination) for each complete triple, on all processors, and zeroes the rest.
template <class Bake>
void bakeTriples(std::span<const float> source, std::span<float> destination, const Bake& bake) {
    const std::size_t triples = source.size() / 3;
    const auto range = [&](std::size_t first, std::size_t last) {
        for (std::size_t i = 3 * first; i < 3 * last; i += 3)
            bake(&source[i], &destination[i]);
    };
    if (triples == 1) {
        range(0, 1);
    } else {
        ParallelFor(triples, smallestPiece, range);
    }
    for (std::size_t i = 3 * triples; i < source.size(); ++i)
        destination[i] = 0;
}

void bakePositions(std::span<const float> source, std::span<float> destination,
                   const Transform& m) {
    bakeTriples(source, destination, [m](const float* in, float* out) {
        const float x = in[0];
        const float y = in[1];
        const float z = in[2];
        out[0] = m[4] * y + x * m[0] + m[8] * z + m[12];
        out[1] = m[5] * y + m[1] * x + m[9] * z + m[13];
        out[2] = m[6] * y + m[2] * x + m[10] * z + m[14];
    });
}

void bakeNormals(std::span<const float> source, std::span<float> destination, const Transform& m) {
    // The cofactors of the upper-left three by three; the length that dividing by the determinant
    // would change is made 1 anyway.
    const float c0 = m[10] * m[5] - m[9] * m[6];
    const float c1 = m[8] * m[6] - m[4] * m[10];
    const float c2 = m[4] * m[9] - m[8] * m[5];
    const float c3 = m[2] * m[9] - m[1] * m[10];
    const float c4 = m[0] * m[10] - m[2] * m[8];
    const float c5 = m[1] * m[8] - m[0] * m[9];
    const float c6 = m[1] * m[6] - m[2] * m[5];
    const float c7 = m[2] * m[4] - m[0] * m[6];
    const float c8 = m[0] * m[5] - m[1] * m[4];
    bakeTriples(source, destination, [=](const float* in, float* out) {
        const float x = in[0];
        const float y = in[1];
        const float z = in[2];
        const float a = c3 * y + x * c0 + c6 * z;
        const float b = c4 * y + c1 * x + c7 * z;
        const float c = c5 * y + c2 * x + c8 * z;
        const float length = std::sqrt(a * a + b * b + c * c);
        const bool none = length == 0;
        out[0] = none ? a : a / length;
        out[1] = none ? b : b / length;
        out[2] = none ? c : c / length;
    });
}

using BakeFunction = void (*)(std::span<const float>, std::span<float>, const Transform&);

Array<float> baked(const Array<float>& source, const Transform& transform, BakeFunction bake) {
    Array<float> result(source.size());
    bake(source, result, transform);
    return result;
}

// Appends the source, baked unless it is in world space already. The room is there.
void appendBaked(Array<float>& target, const Array<float>& source, const Transform& transform,
                 BakeFunction bake) {
    if (transform == identityTransform) return append(target, source.data(), source.size());
    const std::size_t before = target.size();
    target.resize(before + source.size());
    bake(source, std::span(target).subspan(before), transform);
}

using Group = std::vector<const Instance*>;

std::uint64_t keyOf(const void* record) {
    return reinterpret_cast<std::uint64_t>(record);
}

// For each material the instances whose mesh no other instance uses, in instance order.
HashMap<std::uint64_t, Group> singleInstancesByMaterial(const Model& model) {
    struct Use {
        const Instance* first = nullptr;
        std::size_t count = 0;
    };
    HashMap<std::uint64_t, Use> uses;
    for (const auto& instance : model.instances) {
        Use& use = uses[keyOf(instance->mesh)];
        if (use.count++ == 0) use.first = instance.get();
    }
    HashMap<std::uint64_t, Group> groups;
    for (const auto& [mesh, use] : uses) {
        if (use.count == 1) groups[keyOf(use.first->material)].push_back(use.first);
    }
    return groups;
}

MeshArrays mergedArrays(const Group& group) {
    std::size_t positions = 0;
    std::size_t normals = 0;
    std::size_t uvs = 0;
    std::size_t colors = 0;
    for (const Instance* instance : group) {
        positions += instance->mesh->positions.size();
        normals += instance->mesh->normals.size();
        uvs += instance->mesh->uvs.size();
        colors += instance->mesh->colors.size();
    }
    MeshArrays merged;
    merged.positions.reserve(positions);
    merged.normals.reserve(normals);
    merged.uvs.reserve(uvs);
    merged.colors.reserve(colors);
    for (const Instance* instance : group) {
        const Mesh& source = *instance->mesh;
        appendBaked(merged.positions, source.positions, instance->transform, bakePositions);
        appendBaked(merged.normals, source.normals, instance->transform, bakeNormals);
        append(merged.uvs, source.uvs.data(), source.uvs.size());
        append(merged.colors, source.colors.data(), source.colors.size());
    }
    // One entry for each float, not for each point: receivers have always got it so.
    merged.indices.resize(positions);
    ParallelFor(positions, smallestPiece, [&](std::size_t first, std::size_t last) {
        for (std::size_t i = first; i < last; ++i)
            merged.indices[i] = static_cast<std::int32_t>(i);
    });
    return merged;
}

}  // namespace

Array<float> Q7ModelUtils::calcWorldVertex(const Array<float>& positions,
                                           const Transform& transform) {
    return baked(positions, transform, bakePositions);
}

Array<float> Q7ModelUtils::calcWorldNormal(const Array<float>& normals,
                                           const Transform& transform) {
    return baked(normals, transform, bakeNormals);
}

void Q7ModelUtils::MergeSingleInstancedMesh(Model& model) {
    HashSet<InstanceHandle> merged;
    for (const auto& [key, group] : singleInstancesByMaterial(model)) {
        if (group.size() < 2) continue;
        const WideString material = group.front()->material->getName();
        const WideString name = material + u"_q7_merged";
        if (!model.hasMesh(name)) model.addMesh(name, mergedArrays(group));
        model.addInstance(name, material, identityTransform.data(), u"");
        for (const Instance* instance : group)
            merged.insert(instance->handle());
    }
    model.removeInstances(merged);
}

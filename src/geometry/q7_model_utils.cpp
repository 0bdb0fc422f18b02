#include "geometry/q7_model_utils.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

#include "support/hash_map.h"
#include "support/parallel_for.h"

namespace {

// Below this a second thread costs more to start than it saves.
constexpr std::size_t smallestPiece = 1U << 15;

// A piece of an array, of triples first to last, and where they go.
struct Triples {
    const float* source;
    float* destination;
    std::size_t first;
    std::size_t last;
};

// Calls bake(source, destination) for each triple.
template <class Bake>
void bakeTriples(const Triples& triples, const Bake& bake) {
    for (std::size_t i = 3 * triples.first; i < 3 * triples.last; i += 3)
        bake(triples.source + i, triples.destination + i);
}

void bakePositions(const Triples& triples, const Transform& m) {
    bakeTriples(triples, [m](const float* in, float* out) {
        const float x = in[0];
        const float y = in[1];
        const float z = in[2];
        out[0] = m[4] * y + x * m[0] + m[8] * z + m[12];
        out[1] = m[5] * y + m[1] * x + m[9] * z + m[13];
        out[2] = m[6] * y + m[2] * x + m[10] * z + m[14];
    });
}

void bakeNormals(const Triples& triples, const Transform& m) {
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
    bakeTriples(triples, [=](const float* in, float* out) {
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

using BakeFunction = void (*)(const Triples&, const Transform&);

// A rest of less than three floats.
void zeroRest(std::span<float> destination) {
    const std::size_t rest = destination.size() % 3;
    std::fill(destination.end() - static_cast<std::ptrdiff_t>(rest), destination.end(), 0.0F);
}

Array<float> baked(const Array<float>& source, const Transform& transform, BakeFunction bake) {
    Array<float> result(source.size());
    const std::size_t triples = source.size() / 3;
    const auto range = [&](std::size_t first, std::size_t last) {
        bake({source.data(), result.data(), first, last}, transform);
    };
    // The call of a body that may run on several threads costs more than one triple.
    if (triples == 1) {
        range(0, 1);
    } else {
        ParallelFor(triples, smallestPiece, range);
    }
    zeroRest(result);
    return result;
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

// One array of a merged mesh, made of that of each source mesh.
template <class Number>
class Joined {
  public:
    Joined(const Group& group, Array<Number> MeshArrays::*member)
        : group_(group), member_(member), ends_(group.size()) {
        std::size_t size = 0;
        for (std::size_t i = 0; i < group.size(); ++i)
            ends_[i] = size += source(i).size();
        array_.resize(size);
    }

    // Calls fill(source, destination, first, last, instance) for the pieces of sources that make up
    // the elements first to last.
    template <class Fill>
    void fillRange(std::size_t first, std::size_t last, const Fill& fill) {
        const auto end = std::upper_bound(ends_.begin(), ends_.end(), first);
        for (auto i = static_cast<std::size_t>(end - ends_.begin()); first < last; ++i) {
            // An empty array has no address to give.
            if (source(i).empty()) continue;
            const std::size_t start = ends_[i] - source(i).size();
            const std::size_t stop = std::min(last, ends_[i]);
            fill(source(i).data(), array_.data() + start, first - start, stop - start, *group_[i]);
            first = stop;
        }
    }

    void copyRange(std::size_t first, std::size_t last) {
        fillRange(first, last,
                  [](const Number* source, Number* destination, std::size_t from, std::size_t to,
                     const Instance&) {
                      std::memcpy(destination + from, source + from, (to - from) * sizeof(Number));
                  });
    }

    std::size_t size() const { return array_.size(); }
    Array<Number> take() && { return std::move(array_); }

  private:
    const Array<Number>& source(std::size_t i) const { return group_[i]->mesh->*member_; }

    const Group& group_;
    Array<Number> MeshArrays::*const member_;
    // Where the part of each source ends.
    std::vector<std::size_t> ends_;
    Array<Number> array_;
};

// Copies in world space. A range may end within a triple: that belongs to the range it starts in.
void bakeRange(Joined<float>& joined, Array<float> MeshArrays::*member, BakeFunction bake,
               std::size_t first, std::size_t last) {
    joined.fillRange(first, last,
                     [&](const float* source, float* destination, std::size_t from, std::size_t to,
                         const Instance& instance) {
                         if (instance.transform == identityTransform) {
                             std::memcpy(destination + from, source + from,
                                         (to - from) * sizeof(float));
                             return;
                         }
                         const std::size_t size = (instance.mesh->*member).size();
                         const std::size_t complete = size / 3;
                         bake({source, destination, std::min((from + 2) / 3, complete),
                               std::min((to + 2) / 3, complete)},
                              instance.transform);
                         if (to == size) zeroRest({destination, size});
                     });
}

// Calls fill(first, last) with the part of an array that a range has, when the array begins at start.
template <class Fill>
void fillPart(std::size_t start, std::size_t size, std::size_t first, std::size_t last,
              const Fill& fill) {
    const std::size_t from = std::max(first, start);
    const std::size_t to = std::min(last, start + size);
    if (from < to) fill(from - start, to - start);
}

// All arrays in one loop: with a loop for each, a third of the time went into starting threads.
MeshArrays mergedArrays(const Group& group) {
    Joined<float> positions(group, &MeshArrays::positions);
    Joined<float> normals(group, &MeshArrays::normals);
    Joined<float> uvs(group, &MeshArrays::uvs);
    Joined<unsigned char> colors(group, &MeshArrays::colors);
    const std::size_t normalsStart = positions.size();
    const std::size_t uvsStart = normalsStart + normals.size();
    const std::size_t colorsStart = uvsStart + uvs.size();
    const std::size_t size = colorsStart + colors.size();
    ParallelFor(size, 3 * smallestPiece, [&](std::size_t first, std::size_t last) {
        fillPart(0, positions.size(), first, last, [&](std::size_t from, std::size_t to) {
            bakeRange(positions, &MeshArrays::positions, bakePositions, from, to);
        });
        fillPart(normalsStart, normals.size(), first, last, [&](std::size_t from, std::size_t to) {
            bakeRange(normals, &MeshArrays::normals, bakeNormals, from, to);
        });
        fillPart(uvsStart, uvs.size(), first, last,
                 [&](std::size_t from, std::size_t to) { uvs.copyRange(from, to); });
        fillPart(colorsStart, colors.size(), first, last,
                 [&](std::size_t from, std::size_t to) { colors.copyRange(from, to); });
    });
    MeshArrays merged;
    merged.positions = std::move(positions).take();
    merged.normals = std::move(normals).take();
    merged.uvs = std::move(uvs).take();
    merged.colors = std::move(colors).take();
    // One entry for each float, not for each point: receivers have always got it so.
    merged.indices = IndexList::running(merged.positions.size());
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
    NumberSet merged;
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

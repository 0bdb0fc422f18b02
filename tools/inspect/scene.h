// What the reports work out from a model stream.
#pragma once

#include <array>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <unordered_map>
#include <vector>

#include "common/stream_reader.h"

namespace q7inspect {

// The header's members, or nothing when its text is no JSON object.
std::optional<nlohmann::json> parseHeader(WideView headerText);

// Finds meshes by name; of several with one name, the first. The model must outlive it.
class MeshLookup {
  public:
    explicit MeshLookup(const q7tools::StreamModel& model);

    // The place in the model's list, or nothing.
    std::optional<std::size_t> find(WideView name) const;

  private:
    std::unordered_map<WideView, std::size_t> places_;
};

// How many instances place each mesh, in the order of the model's meshes.
std::vector<std::uint64_t> meshUses(const q7tools::StreamModel& model, const MeshLookup& lookup);

using Point = std::array<double, 3>;
using Transform = std::array<float, 16>;

// A point is a row vector on the left of the matrix; elements 3, 7, 11 and 15 take no part.
Point toWorld(const Transform& transform, const float* position);

// Below 0 when the transform turns the mesh inside out.
double determinant(const Transform& transform);

// A normal stays perpendicular to its surface and on the same side of it. Not of unit length.
Point normalToWorld(const Transform& transform, const float* normal);

struct Bounds {
    Point lowest;
    Point highest;
    // False when a mesh is placed so often that only the corners of its own box were placed: the
    // true box is then inside this one.
    bool exact = true;
};

// The box around all placed vertices, of which those that are not finite are left out; nothing when
// none is left. When more than `vertexLimit` vertices would have to be placed, the meshes that go beyond
// that count by the corners of their boxes.
std::optional<Bounds> worldBounds(const q7tools::StreamModel& model, const MeshLookup& lookup,
                                  std::uint64_t vertexLimit = 50'000'000);

}  // namespace q7inspect

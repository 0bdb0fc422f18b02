#include "inspect/scene.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "common/json_depth.h"

namespace q7inspect {

using q7tools::StreamInstance;
using q7tools::StreamModel;

std::optional<nlohmann::json> parseHeader(WideView headerText) {
    // The parser would take a zero for the end of the text.
    if (headerText.find(u'\0') != WideView::npos) return std::nullopt;
    // Printing a value takes stack for each level of it.
    constexpr std::size_t deepest = 100;
    const std::string text = wideToUtf8(headerText);
    if (q7tools::jsonDepth(text) > deepest) return std::nullopt;
    auto header = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
    if (!header.is_object()) return std::nullopt;
    return header;
}

MeshLookup::MeshLookup(const StreamModel& model) {
    places_.reserve(model.meshes.size());
    for (std::size_t i = 0; i < model.meshes.size(); ++i)
        places_.emplace(model.meshes[i].name, i);
}

std::optional<std::size_t> MeshLookup::find(WideView name) const {
    const auto found = places_.find(name);
    if (found == places_.end()) return std::nullopt;
    return found->second;
}

std::vector<std::uint64_t> meshUses(const StreamModel& model, const MeshLookup& lookup) {
    std::vector<std::uint64_t> uses(model.meshes.size(), 0);
    for (const StreamInstance& instance : model.instances) {
        if (const auto place = lookup.find(instance.mesh)) ++uses[*place];
    }
    return uses;
}

Point toWorld(const Transform& transform, const float* position) {
    Point world;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        world[axis] = transform[12 + axis];
        for (std::size_t row = 0; row < 3; ++row) {
            world[axis] += static_cast<double>(transform[4 * row + axis]) * position[row];
        }
    }
    return world;
}

namespace {

// What is left of the upper 3x3 part without a row and a column, with its sign.
double cofactor(const Transform& transform, std::size_t row, std::size_t column) {
    const auto element = [&](std::size_t downwards, std::size_t rightwards) {
        return static_cast<double>(
            transform[4 * ((row + downwards) % 3) + (column + rightwards) % 3]);
    };
    return element(1, 1) * element(2, 2) - element(1, 2) * element(2, 1);
}

void widen(std::optional<Bounds>& bounds, const Point& point) {
    if (!std::ranges::all_of(point, [](double value) { return std::isfinite(value); })) return;
    if (!bounds) {
        bounds = Bounds{point, point};
        return;
    }
    for (std::size_t axis = 0; axis < 3; ++axis) {
        bounds->lowest[axis] = std::min(bounds->lowest[axis], point[axis]);
        bounds->highest[axis] = std::max(bounds->highest[axis], point[axis]);
    }
}

std::vector<float> cornersOfBox(const std::vector<float>& positions) {
    constexpr Transform identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    std::optional<Bounds> box;
    for (std::size_t i = 0; i + 3 <= positions.size(); i += 3) {
        widen(box, toWorld(identity, &positions[i]));
    }
    std::vector<float> corners;
    for (unsigned corner = 0; box && corner < 8; ++corner) {
        for (unsigned axis = 0; axis < 3; ++axis) {
            const bool high = (corner >> axis & 1) != 0;
            corners.push_back(static_cast<float>(high ? box->highest[axis] : box->lowest[axis]));
        }
    }
    return corners;
}

}  // namespace

double determinant(const Transform& transform) {
    double sum = 0;
    for (std::size_t column = 0; column < 3; ++column) {
        sum += transform[column] * cofactor(transform, 0, column);
    }
    return sum;
}

Point normalToWorld(const Transform& transform, const float* normal) {
    const double side = determinant(transform) < 0 ? -1 : 1;
    Point world{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (std::size_t row = 0; row < 3; ++row) {
            world[axis] += side * cofactor(transform, row, axis) * normal[row];
        }
    }
    return world;
}

std::optional<Bounds> worldBounds(const StreamModel& model, const MeshLookup& lookup,
                                  std::uint64_t vertexLimit) {
    const std::vector<std::uint64_t> uses = meshUses(model, lookup);
    std::vector<std::optional<std::vector<float>>> corners(model.meshes.size());
    std::uint64_t left = vertexLimit;
    bool exact = true;
    for (std::size_t i = 0; i < model.meshes.size(); ++i) {
        const std::uint64_t placed = uses[i] * model.meshes[i].vertexCount();
        if (placed <= left) {
            left -= placed;
        } else {
            corners[i] = cornersOfBox(model.meshes[i].positions);
            exact = false;
        }
    }

    std::optional<Bounds> bounds;
    for (const StreamInstance& instance : model.instances) {
        const auto place = lookup.find(instance.mesh);
        if (!place) continue;
        const std::vector<float>& points =
            corners[*place] ? *corners[*place] : model.meshes[*place].positions;
        for (std::size_t i = 0; i + 3 <= points.size(); i += 3) {
            widen(bounds, toWorld(instance.transform, &points[i]));
        }
    }
    if (bounds) bounds->exact = exact;
    return bounds;
}

}  // namespace q7inspect

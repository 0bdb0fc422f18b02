// Whether two model streams describe the same scene.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "common/stream_reader.h"

namespace q7inspect {

struct CompareOptions {
    // A is a model as it was saved, B the same model as it was received over the link.
    bool link = false;
    // Whether the order of instances counts too.
    bool order = false;
    // Differences beyond these are only counted.
    std::size_t shown = 100;
};

// What `link` allows, as far as it was met.
struct LinkAllowances {
    std::uint64_t unusedMeshes = 0;     // that B lacks
    std::uint64_t uncoloredMeshes = 0;  // whose colors B lacks
    bool hasGenerator = false;          // B holds the mesh that carries materials alone
    std::uint64_t generatedInstances = 0;
};

struct Comparison {
    std::vector<std::string> differences;  // one printable line each
    std::uint64_t differenceCount = 0;     // of all
    LinkAllowances allowed;
};

// The same scene is: equal versions and header members; materials, by name, with equal texts;
// meshes, by name, with equal arrays, bit by bit; instances with equal meshes, materials and
// transforms, bit by bit, each as often. The order of materials and meshes never counts. The cost
// grows with the size of the streams, however often names and instances repeat.
Comparison compareStreams(const q7tools::StreamModel& a, const q7tools::StreamModel& b,
                          const CompareOptions& options);

}  // namespace q7inspect

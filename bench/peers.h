// Other programs that do the same jobs. Which of them there are is decided by the build:
// Q7BENCH_ASSIMP and Q7BENCH_TINYGLTF are defined for those that were found.
#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <vector>

#include "bench/measure.h"
#include "bench/scenes.h"

namespace bench {

// Meshes as largeMesh and manyMeshes of scenes.h hand them over, for those that build them by hand.
struct Shape {
    std::size_t meshes;
    std::size_t trianglesEach;
    std::size_t materials;
    // The triangles of a mesh repeat after so many.
    std::size_t batch;
    std::array<float, 16> transform = identity;

    // Calls take(vertex, position, normal, uv) for each vertex of one of the meshes.
    template <class Take>
    void forEachVertex(const Triangles& triangles, const Take& take) const {
        const std::size_t period = 3 * batch;
        for (std::size_t i = 0; i < 3 * trianglesEach; ++i) {
            const std::size_t source = i % period;
            take(i, &triangles.positions[3 * source], &triangles.normals[3 * source],
                 &triangles.uvs[2 * source]);
        }
    }
};

// Writers of files in the folder. The scene they write is built by this call, and lives as long as they
// do; the file goes after each run, which does not count. A writer that cannot do the job is left out,
// with a word on the standard error output.
std::vector<Peer> assimpWriters(const Shape& shape, const std::filesystem::path& folder);
std::vector<Peer> tinygltfWriters(const Shape& shape, const std::filesystem::path& folder);

// Bakes the transforms and joins the meshes that share a material.
Peer assimpMerge(const Shape& shape);

}  // namespace bench

// The merge of meshes that share a material against a copy of its output's bytes into fresh memory, and
// against the same by another program.
//
//   q7bench_merge [--smoke]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "api/session.h"
#include "bench/measure.h"
#include "bench/peers.h"
#include "bench/scenes.h"
#include "geometry/q7_model_utils.h"

namespace {

using bench::Options;
using bench::Peer;
using bench::Shape;

constexpr std::size_t trianglesEach = 192;
constexpr std::size_t materials = 20;

// The library in the host's process and the one linked here lay out their records alike.
const Model& modelOf(const bench::Session& session) {
    return *static_cast<const ::Session*>(session.handle)->core->model;
}

Model mergedCopy(const Model& model) {
    Model copy = model;
    Q7ModelUtils::MergeSingleInstancedMesh(copy);
    return copy;
}

// Gives the memory back after the clock has stopped.
double millisecondsOfMerge(const Model& model) {
    Model copy = model;
    return bench::millisecondsOf([&] { Q7ModelUtils::MergeSingleInstancedMesh(copy); });
}

class FreshCopies {
  public:
    FreshCopies() = default;
    ~FreshCopies() {
        for (void* block : blocks_)
            std::free(block);
    }
    FreshCopies(const FreshCopies&) = delete;
    FreshCopies& operator=(const FreshCopies&) = delete;

    template <class Number>
    void add(const Array<Number>& numbers) {
        if (numbers.empty()) return;
        const std::size_t bytes = numbers.size() * sizeof(Number);
        void* block = std::malloc(bytes);
        if (!block) throw std::bad_alloc();
        blocks_.push_back(block);
        std::memcpy(block, numbers.data(), bytes);
    }

  private:
    std::vector<void*> blocks_;
};

// The meshes that the merge adds, copied by one thread. Their indices are running lists, which take no
// memory.
double millisecondsOfCopy(const Model& merged, const Model& source) {
    FreshCopies copies;
    return bench::millisecondsOf([&] {
        for (const auto& [name, mesh] : merged.meshes) {
            if (source.hasMesh(name)) continue;
            copies.add(mesh->positions);
            copies.add(mesh->normals);
            copies.add(mesh->uvs);
            copies.add(mesh->colors);
        }
    });
}

void run(const Options& options) {
    for (const std::size_t meshes : options.sizes(5000, 40)) {
        const bench::Session session;
        bench::manyMeshes(session, meshes, trianglesEach, materials, bench::turned);
        const Model& model = modelOf(session);
        const Model merged = mergedCopy(model);
        const bench::Job job = {"merge: meshes of 192 triangles", static_cast<double>(meshes),
                                "meshes", [&] { return millisecondsOfMerge(model); }};
        bench::compare(job,
                       {{"copy of the output's bytes into fresh memory, one core",
                         [&] { return millisecondsOfCopy(merged, model); }}},
                       options.repetitions());
#if defined(Q7BENCH_ASSIMP)
        const Shape shape = {meshes, trianglesEach, materials, trianglesEach, bench::turned};
        bench::compare(job, {bench::assimpMerge(shape)}, options.smoke ? 1 : 3);
#else
        std::fprintf(stderr, "merge: Assimp is not in this build\n");
#endif
    }
}

}  // namespace

int main(int argc, char** argv) {
    return bench::runBenchmark(argc, argv, run);
}

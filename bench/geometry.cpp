// Baking a transform into points and normals, against copying as many bytes.
//
//   q7bench_geometry [--smoke]
#include <cstring>
#include <memory>
#include <thread>

#include "bench/measure.h"
#include "bench/scenes.h"
#include "geometry/q7_model_utils.h"
#include "support/array.h"
#include "support/parallel_for.h"

namespace {

using bench::Options;

constexpr std::size_t piece = 1U << 16;

// Into memory that nobody has touched yet, by all processors.
double copyFresh(const Array<float>& source) {
    return bench::millisecondsOf([&] {
        const std::unique_ptr<float[]> copy(new float[source.size()]);
        ParallelFor(source.size(), piece, [&](std::size_t first, std::size_t last) {
            std::memcpy(&copy[first], &source[first], (last - first) * sizeof(float));
        });
    });
}

using Bake = Array<float>(const Array<float>&, const Transform&);

double bake(const Array<float>& source, Bake* function) {
    return bench::millisecondsOf([&] { function(source, bench::turned); });
}

void run(const Options& options) {
    for (const std::size_t triangles : options.sizes(10000000, 1000)) {
        const bench::Triangles batch(1000);
        Array<float> source;
        for (std::size_t done = 0; done < triangles; done += 1000)
            append(source, batch.positions.data(), batch.positions.size());
        const bench::Peer copy = {"copy into fresh memory, all cores",
                                  [&] { return copyFresh(source); }};
        const auto items = static_cast<double>(triangles);
        bench::compare({"world-space positions", items, "triangles",
                        [&] { return bake(source, Q7ModelUtils::calcWorldVertex); }},
                       {copy}, options.repetitions());
        bench::compare({"world-space normals", items, "triangles",
                        [&] { return bake(source, Q7ModelUtils::calcWorldNormal); }},
                       {copy}, options.repetitions());
    }
}

}  // namespace

int main(int argc, char** argv) {
    return bench::runBenchmark(argc, argv, run);
}

// The calls that a host makes most, against what they could cost at least.
//
//   q7bench_calls [--smoke]
#include <benchmark/benchmark.h>

#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/measure.h"
#include "bench/scenes.h"

namespace {

using bench::HostText;
using bench::Options;
using bench::Session;
using bench::Triangles;

// One piece of work for each iteration, which tells how long that took that counts.
void registerTimed(const std::string& name, int repetitions, bench::Timed work) {
    const auto run = [work = std::move(work)](benchmark::State& state) {
        for ([[maybe_unused]] auto each : state)
            state.SetIterationTime(work() / 1000);
    };
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond)
        ->Iterations(1)
        ->Repetitions(repetitions);
}

// A job and what it is held against, by the names under which they run.
struct Comparison {
    bench::Job job;
    std::string peer;
    // Milliseconds when the peer is a number and nothing that runs.
    double fixed = 0;
};

class Jobs {
  public:
    explicit Jobs(const Options& options) : options_(options) {}

    void add(bench::Job job, const bench::Peer& peer) {
        const std::string name = nameOf(job);
        registerTimed(name, options_.repetitions(), job.work);
        registerTimed(name + '|' + peer.name, options_.repetitions(), peer.work);
        comparisons_.push_back({std::move(job), peer.name});
    }
    void addAgainstTime(bench::Job job, const std::string& peer, double milliseconds) {
        registerTimed(nameOf(job), options_.repetitions(), job.work);
        comparisons_.push_back({std::move(job), peer, milliseconds});
    }

    void print(const std::map<std::string, std::vector<double>>& times) const {
        for (const Comparison& each : comparisons_) {
            const std::string name = nameOf(each.job);
            const double peer =
                each.fixed > 0 ? each.fixed : bench::median(times.at(name + '|' + each.peer));
            bench::printRow(each.job, bench::median(times.at(name)), each.peer, peer);
        }
    }

  private:
    static std::string nameOf(const bench::Job& job) {
        return job.name + '@' + std::to_string(static_cast<std::uint64_t>(job.items));
    }

    Options options_;
    std::vector<Comparison> comparisons_;
};

// Keeps the times instead of printing them.
class Collector : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context& /*context*/) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                times[run.run_name.function_name].push_back(run.GetAdjustedRealTime());
            }
        }
    }
    std::map<std::string, std::vector<double>> times;
};

// What a host has of a mesh, with an index for each corner.
struct Source : Triangles {
    explicit Source(std::size_t count) : Triangles(count), indices(3 * count) {
        for (std::size_t i = 0; i < indices.size(); ++i)
            indices[i] = static_cast<int>(indices.size() - i);
    }
    std::vector<int> indices;
};

double appendPlainly(const Source& batch, std::size_t triangles, bool indexed) {
    std::vector<float> positions;
    std::vector<float> normals;
    std::vector<float> uvs;
    std::vector<int> indices;
    const auto append = [](auto& to, const auto& from) {
        to.insert(to.end(), from.begin(), from.end());
    };
    return bench::millisecondsOf([&] {
        for (std::size_t done = 0; done < triangles; done += batch.indices.size() / 3) {
            append(positions, batch.positions);
            append(normals, batch.normals);
            append(uvs, batch.uvs);
            if (indexed) append(indices, batch.indices);
        }
    });
}

void add(const Session& session, const Source& batch, bool indexed, CoordOrder order) {
    MaxAddIndexTriangles(session.handle, Q7T("material"), batch.count(), batch.positions.data(),
                         batch.normals.data(), batch.uvs.data(),
                         indexed ? static_cast<std::uint32_t>(batch.indices.size()) : 0,
                         indexed ? batch.indices.data() : nullptr, order);
}

double takeIn(const Source& batch, std::size_t triangles, bool indexed, CoordOrder order) {
    const Session session;
    MaxBeginNode(session.handle, Q7T("node"), bench::identity.data());
    const double took = bench::millisecondsOf([&] {
        for (std::size_t done = 0; done < triangles; done += batch.indices.size() / 3)
            add(session, batch, indexed, order);
    });
    MaxEndNode(session.handle);
    return took;
}

void addIntake(Jobs& jobs, const Options& options) {
    constexpr const char* orders[] = {"XYZ", "XZY", "YXZ", "YZX", "ZXY", "ZYX"};
    const std::size_t triangles = options.smoke ? 1000 : 500000;
    for (const std::size_t size : {std::size_t{1}, std::size_t{100}, std::size_t{100000}}) {
        const auto batch = std::make_shared<const Source>(std::min(size, triangles));
        for (std::size_t order = 0; order < std::size(orders); ++order) {
            for (const bool indexed : {false, true}) {
                const std::string name = std::string("triangles in, ") + orders[order] +
                                         (indexed ? ", indexed" : "") + ", batches of " +
                                         std::to_string(size);
                jobs.add(
                    {name, static_cast<double>(triangles), "triangles",
                     [=] {
                         return takeIn(*batch, triangles, indexed, static_cast<CoordOrder>(order));
                     }},
                    {"plain append", [=] { return appendPlainly(*batch, triangles, indexed); }});
            }
        }
    }
}

void addSingleTriangles(Jobs& jobs, const Options& options) {
    for (const std::size_t calls : options.sizes(1000000, 1000)) {
        const auto work = [=] {
            const Session session;
            const Triangles one(1);
            MaxBeginNode(session.handle, Q7T("node"), bench::identity.data());
            const double took = bench::millisecondsOf([&] {
                for (std::size_t i = 0; i < calls; ++i) {
                    MaxAddTriangle(session.handle, Q7T("material"), one.positions.data(),
                                   one.normals.data(), one.uvs.data());
                }
            });
            MaxEndNode(session.handle);
            return took;
        };
        jobs.addAgainstTime({"single triangles", static_cast<double>(calls), "calls", work},
                            "150 ns a call", 150e-6 * static_cast<double>(calls));
    }
}

// A large mesh has just gone through the processor's caches, a small one has not: this makes them alike.
void emptyCaches() {
    static std::vector<char> memory(64U << 20);
    for (std::size_t i = 0; i < memory.size(); i += 64)
        ++memory[i];
    benchmark::DoNotOptimize(memory.data());
}

// Several nodes, since one end alone is too short to be measured.
double endNodes(std::size_t triangles, bool indexed) {
    constexpr std::size_t nodes = 20;
    const Session session;
    const Source source(triangles);
    double took = 0;
    for (std::size_t i = 0; i < nodes; ++i) {
        MaxBeginNode(session.handle, bench::numbered("node", i).c_str(), bench::identity.data());
        add(session, source, indexed, CoordOrder::XYZ);
        emptyCaches();
        took += bench::millisecondsOf([&] { MaxEndNode(session.handle); });
    }
    return took;
}

void addNodeEnd(Jobs& jobs, const Options& options) {
    for (const bool indexed : {false, true}) {
        for (const std::size_t triangles : options.sizes(100000, 100)) {
            jobs.add({indexed ? "node end, indexed" : "node end", static_cast<double>(triangles),
                      "triangles", [=] { return endNodes(triangles, indexed); }},
                     {"node end of 100 triangles", [=] { return endNodes(100, indexed); }});
        }
    }
}

std::vector<HostText> nodeNames(std::size_t count) {
    std::vector<HostText> names;
    for (std::size_t i = 0; i < count; ++i)
        names.push_back(bench::numbered("node", i));
    return names;
}

double duplicateNodes(const Session& session, const std::vector<HostText>& names) {
    bench::manyMeshes(session, 1, 12, 1);
    const HostText source = bench::numbered("node", 0);
    return bench::millisecondsOf([&] {
        for (const HostText& name : names)
            MaxDuplicateNode(session.handle, source.c_str(), name.c_str(), bench::turned.data());
    });
}

void addTableCalls(Jobs& jobs, const Options& options) {
    const std::vector<std::size_t> sizes =
        options.smoke ? std::vector<std::size_t>{100}
                      : std::vector<std::size_t>{1000, 10000, 100000, 1000000};
    for (const std::size_t nodes : sizes) {
        const auto items = static_cast<double>(nodes);
        const double microsecondEach = 1e-3 * items;
        const auto names = std::make_shared<const std::vector<HostText>>(nodeNames(nodes));
        jobs.addAgainstTime({"duplicate", items, "nodes",
                             [=] {
                                 const Session session;
                                 return duplicateNodes(session, *names);
                             }},
                            "1 microsecond each", microsecondEach);
        jobs.addAgainstTime({"delete", items, "nodes",
                             [=] {
                                 const Session session;
                                 duplicateNodes(session, *names);
                                 return bench::millisecondsOf([&] {
                                     for (const HostText& name : *names)
                                         MaxDeleteNode(session.handle, name.c_str());
                                 });
                             }},
                            "1 microsecond each", microsecondEach);
        jobs.addAgainstTime(
            {"count", items, "nodes",
             [=] {
                 const Session session;
                 duplicateNodes(session, *names);
                 std::uint64_t sum = 0;
                 const double took = bench::millisecondsOf([&] {
                     for (std::size_t i = 0; i < names->size(); ++i)
                         sum += static_cast<std::uint64_t>(Q7InstanceCount(session.handle));
                 });
                 benchmark::DoNotOptimize(sum);
                 return took;
             }},
            "1 microsecond each", microsecondEach);
    }
}

void run(const Options& options) {
    Jobs jobs(options);
    addIntake(jobs, options);
    addSingleTriangles(jobs, options);
    addNodeEnd(jobs, options);
    addTableCalls(jobs, options);
    // In turns, so that whatever else the machine does meets all alike.
    char name[] = "q7bench_calls";
    char interleaved[] = "--benchmark_enable_random_interleaving=true";
    char* arguments[] = {name, interleaved, nullptr};
    int count = 2;
    benchmark::Initialize(&count, arguments);
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    jobs.print(collector.times);
}

}  // namespace

int main(int argc, char** argv) {
    return bench::runBenchmark(argc, argv, run);
}

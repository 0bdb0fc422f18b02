// Times of a job and of what it is held against, taken in turns, and printed as one row.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace bench {

inline double millisecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    return took.count();
}

// Runs once and gives the milliseconds that count; what it prepares before is not among them.
using Timed = std::function<double()>;

inline Timed timed(std::function<void()> work) {
    return [work = std::move(work)] { return millisecondsOf(work); };
}

inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// A limit of the machine, or another program that does the same job.
struct Peer {
    std::string name;
    Timed work;
};

struct Job {
    std::string name;
    // What its time grows with: triangles, meshes, instances, materials, bytes or calls.
    double items = 1;
    std::string unit;
    Timed work;
};

inline void printRow(const Job& job, double milliseconds, const std::string& peer,
                     double peerMilliseconds) {
    std::printf("%s\t%.0f\t%s\t%.4f\t%s\t%.4f\t%.4f\n", job.name.c_str(), job.items,
                job.unit.c_str(), milliseconds, peer.c_str(), peerMilliseconds,
                milliseconds / peerMilliseconds);
    std::fflush(stdout);
}

// One row for each peer: job, items, unit, milliseconds, peer, milliseconds, ratio; separated by tabs.
// Whatever else the machine does meets all alike, since they take turns. The times are medians.
inline void compare(const Job& job, const std::vector<Peer>& peers, int repetitions) {
    std::vector<double> times;
    std::vector<std::vector<double>> peerTimes(peers.size());
    for (int i = 0; i < repetitions; ++i) {
        times.push_back(job.work());
        for (std::size_t peer = 0; peer < peers.size(); ++peer)
            peerTimes[peer].push_back(peers[peer].work());
    }
    for (std::size_t peer = 0; peer < peers.size(); ++peer)
        printRow(job, median(times), peers[peer].name, median(peerTimes[peer]));
}

struct Options {
    // Small input, once: for the test that the program works.
    bool smoke = false;
    int repetitions() const { return smoke ? 1 : 5; }
    // A tenth of the size, then the size; in a smoke run a small one alone.
    std::vector<std::size_t> sizes(std::size_t full, std::size_t small) const {
        if (smoke) return {small};
        return {full / 10, full};
    }
};

// Else the allocator keeps some of the large blocks that it is given back, by rules that depend on what
// ran before, and memory is fresh for one and not for the other.
inline void keepMemoryFresh() {
#if defined(__GLIBC__)
    mallopt(M_MMAP_THRESHOLD, 1 << 16);
#endif
}

// The main function of a program: gives the exit code.
inline int runBenchmark(int argc, char** argv, const std::function<void(const Options&)>& run) {
    Options options;
    options.smoke = argc == 2 && std::string_view(argv[1]) == "--smoke";
    if (argc > 1 && !options.smoke) {
        std::fprintf(stderr, "%s: unknown option %s (there is --smoke)\n", argv[0], argv[1]);
        return 2;
    }
    keepMemoryFresh();
    try {
        run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
    return 0;
}

}  // namespace bench

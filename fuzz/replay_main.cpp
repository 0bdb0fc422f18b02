// Runs a target over files as they are, cut off at each place, and with each single bit turned over:
// what a build without libFuzzer repeats in every test run.
//
//   q7fuzz_TARGET [--memory MIB] [--most RUNS] PATH...
//   q7fuzz_TARGET --plain PATH...
//   q7fuzz_TARGET --cut SIZE FILE
//   q7fuzz_TARGET --flip BIT FILE
//
// A path is a file or a folder of files. With --most, each file is changed at most about that often, evenly
// over its length. --plain runs the files alone; --cut and --flip run one change again. A finding ends the
// program and is told with the change that led to it.
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/target.h"

namespace {

namespace fs = std::filesystem;

using Input = std::vector<std::uint8_t>;

// What the running input is, for last words.
char current[512] = "no input yet";

void tellCurrent() {
    std::fputs("finding with: ", stderr);
    std::fputs(current, stderr);
    std::fputs("\n", stderr);
    std::fflush(stderr);
}

std::atomic<std::size_t> memoryLimit = std::numeric_limits<std::size_t>::max();
std::atomic<std::size_t> liveBytes = 0;
std::atomic<std::size_t> peakBytes = 0;

std::size_t sizeOf(void* block) {
#if defined(_WIN32)
    return _msize(block);
#else
    return malloc_usable_size(block);
#endif
}

void count(void* block) {
    const std::size_t live = liveBytes += sizeOf(block);
    std::size_t peak = peakBytes;
    while (live > peak && !peakBytes.compare_exchange_weak(peak, live)) {
    }
}

// Not std::bad_alloc: the tools catch it, and a small input must not lead to it.
void* allocate(std::size_t size) {
    const std::size_t limit = memoryLimit;
    if (size > limit || liveBytes > limit - size) {
        std::fprintf(stderr, "finding: %zu bytes are wanted, and %zu are in use\n", size,
                     liveBytes.load());
        memoryLimit = std::numeric_limits<std::size_t>::max();
        std::abort();
    }
    void* const block = std::malloc(std::max<std::size_t>(size, 1));
    if (block != nullptr) count(block);
    return block;
}

void release(void* block) {
    if (block == nullptr) return;
    liveBytes -= sizeOf(block);
    std::free(block);
}

}  // namespace

// All of those without an alignment, so that none is paired with one of the system's or a sanitizer's.
void* operator new(std::size_t size) {
    void* const block = allocate(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* block) noexcept {
    release(block);
}
void operator delete[](void* block) noexcept {
    release(block);
}
void operator delete(void* block, std::size_t) noexcept {
    release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    release(block);
}

#if defined(__SANITIZE_ADDRESS__)
extern "C" void __sanitizer_set_death_callback(void (*callback)());
#endif

extern "C" {
static void q7fuzzCrashed(int number) {
    std::signal(number, SIG_DFL);
    tellCurrent();
    std::raise(number);
}
}

namespace {

void tellCrashes() {
    std::signal(SIGABRT, q7fuzzCrashed);
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_set_death_callback(tellCurrent);
#else
    std::signal(SIGSEGV, q7fuzzCrashed);
    std::signal(SIGFPE, q7fuzzCrashed);
    std::signal(SIGILL, q7fuzzCrashed);
#endif
}

struct Options {
    std::size_t memory = 64;
    std::size_t most = std::numeric_limits<std::size_t>::max();
    bool isPlain = false;
    std::size_t cut = std::numeric_limits<std::size_t>::max();
    std::size_t flip = std::numeric_limits<std::size_t>::max();
    std::vector<fs::path> files;
};

std::size_t numberOf(const std::string& text) {
    std::size_t number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) {
        throw std::runtime_error(text + ": is not a number");
    }
    return number;
}

void addFiles(const fs::path& path, std::vector<fs::path>& files) {
    if (!fs::is_directory(path)) {
        files.push_back(path);
        return;
    }
    const std::size_t before = files.size();
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin() + static_cast<std::ptrdiff_t>(before), files.end());
}

Options parse(const std::vector<std::string>& arguments) {
    Options options;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        const auto value = [&] {
            if (++argument == arguments.end()) throw std::runtime_error("a number is missing");
            return numberOf(*argument);
        };
        if (*argument == "--memory") {
            options.memory = value();
        } else if (*argument == "--most") {
            options.most = std::max<std::size_t>(value(), 1);
        } else if (*argument == "--cut") {
            options.cut = value();
        } else if (*argument == "--flip") {
            options.flip = value();
        } else if (*argument == "--plain") {
            options.isPlain = true;
        } else {
            addFiles(*argument, options.files);
        }
    }
    if (options.files.empty()) throw std::runtime_error("no file to run");
    return options;
}

Input read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error(path.string() + ": cannot be read");
    return {std::istreambuf_iterator<char>(file), {}};
}

class Runner {
  public:
    explicit Runner(const Options& options) : options_(options) {}

    void run(const fs::path& path) {
        name_ = path.filename().string();
        const Input seed = read(path);
        if (options_.cut <= seed.size()) return runCut(seed, options_.cut);
        if (options_.flip < seed.size() * 8) return runFlipped(seed, options_.flip);
        runOne(seed, "as it is", 0);
        if (options_.isPlain) return;
        runChanges(seed);
    }

    void tell() const {
        std::printf("%zu runs without a finding; at most %zu kB of memory in use\n", runs_,
                    most_ / 1000);
    }

  private:
    void runChanges(const Input& seed) {
        const std::size_t changes = seed.size() * 9;
        // Odd, so that each bit of a byte has its turn.
        const std::size_t step = (changes / options_.most) | 1U;
        for (std::size_t change = 0; change < changes; change += step) {
            if (change < seed.size()) {
                runCut(seed, change);
            } else {
                runFlipped(seed, change - seed.size());
            }
        }
    }

    void runCut(const Input& seed, std::size_t size) {
        const auto end = seed.begin() + static_cast<std::ptrdiff_t>(size);
        runOne(Input(seed.begin(), end), "--cut", size);
    }

    void runFlipped(Input input, std::size_t bit) {
        input[bit / 8] = static_cast<std::uint8_t>(input[bit / 8] ^ 1U << bit % 8);
        runOne(input, "--flip", bit);
    }

    // The input lies in a block of exactly its size, so that a sanitizer sees what goes beyond it.
    void runOne(const Input& input, const char* change, std::size_t number) {
        std::snprintf(current, sizeof current, "%s %zu %s", change, number, name_.c_str());
        const std::size_t before = liveBytes;
        peakBytes = before;
        memoryLimit = before + (options_.memory << 20U);
        LLVMFuzzerTestOneInput(input.data(), input.size());
        memoryLimit = std::numeric_limits<std::size_t>::max();
        most_ = std::max(most_, peakBytes - before);
        ++runs_;
    }

    const Options& options_;
    std::string name_;
    std::size_t runs_ = 0;
    std::size_t most_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options options = parse({argv + 1, argv + argc});
        tellCrashes();
        Runner runner(options);
        for (const fs::path& file : options.files)
            runner.run(file);
        runner.tell();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
}

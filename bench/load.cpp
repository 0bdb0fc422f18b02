// How long a host waits for the library: loading it, and a first session. Each time is that of a
// process started anew, which has nothing of it yet; the system may have the file in its cache.
//
//   q7bench_load [--smoke]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "bench/measure.h"
#include "tests/platform/loaded_library.h"
#include "tests/temporary_folder.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* childOption = "--child";

// The child prints the milliseconds, or fails.
int loadOnce(const char* library) {
    using Create = void*();
    using Destroy = void(void*);
    bool hasSession = false;
    const double milliseconds = bench::millisecondsOf([&] {
        const LoadedLibrary loaded(library);
        Create* const create = loaded.find<Create>("CreateSession");
        Destroy* const destroy = loaded.find<Destroy>("DestroySession");
        if (create == nullptr || destroy == nullptr) return;
        void* const session = create();
        hasSession = session != nullptr;
        destroy(session);
    });
    if (!hasSession) return 1;
    std::printf("%.4f\n", milliseconds);
    return 0;
}

std::string quoted(const std::string& text) {
    return '"' + text + '"';
}

bool runs(const std::string& command) {
#if defined(_WIN32)
    // The shell takes the outer quotation marks away.
    return std::system(quoted(command).c_str()) == 0;
#else
    return std::system(command.c_str()) == 0;
#endif
}

double millisecondsOfChild(const std::string& program, const fs::path& folder) {
    const fs::path printed = folder / "printed.txt";
    if (!runs(quoted(program) + ' ' + childOption + ' ' + quoted(Q7_LIBRARY) + " >" +
              quoted(printed.string()))) {
        throw std::runtime_error("the library was not loaded");
    }
    double milliseconds = 0;
    std::ifstream(printed) >> milliseconds;
    return milliseconds;
}

void compareSizes(const fs::path& folder) {
    const fs::path stripped = folder / "stripped";
    const fs::path messages = folder / "messages.txt";
    if (!runs("strip -o " + quoted(stripped.string()) + ' ' + quoted(Q7_LIBRARY) + " 2>" +
              quoted(messages.string()))) {
        std::fprintf(stderr, "load: strip is not installed, the sizes are left out\n");
        return;
    }
    bench::printRow({"library size", 1, "file", {}}, static_cast<double>(fs::file_size(Q7_LIBRARY)),
                    "stripped", static_cast<double>(fs::file_size(stripped)));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], childOption) == 0) return loadOnce(argv[2]);
    return bench::runBenchmark(argc, argv, [argv](const bench::Options& options) {
        const TemporaryFolder folder;
        const int starts = options.smoke ? 3 : 51;
        bench::compare({"library load and first session", 1, "load",
                        [&] { return millisecondsOfChild(argv[0], folder.path()); }},
                       {{"10 ms", [] { return 10.0; }}}, starts);
        compareSizes(folder.path());
    });
}

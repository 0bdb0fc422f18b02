// A host that has functions of the same names as the library and what it depends on, all of them wrong,
// and that exports them, with a C++ runtime of its own among them. It makes one session in the folder that
// it is given, through the library that it is given.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <new>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "tests/process/typical_session.h"

namespace {

[[noreturn]] void calledByMistake(const char* name) {
    std::fprintf(stderr, "the host's own %s was called\n", name);
    std::abort();
}

}  // namespace

// The zip library's and another zip library's, the compression library's, exports, and inline functions of
// the JSON library in the version that the library was built with.
#define Q7_IMPOSTORS(X)                  \
    X(mz_zip_writer_create)              \
    X(mz_zip_writer_delete)              \
    X(mz_zip_writer_set_compress_method) \
    X(mz_zip_writer_set_compress_level)  \
    X(mz_zip_writer_open_file)           \
    X(mz_zip_writer_add_path)            \
    X(mz_zip_writer_add_file)            \
    X(mz_zip_writer_add_info)            \
    X(mz_zip_writer_close)               \
    X(mz_zip_entry_write_open)           \
    X(mz_zip_create)                     \
    X(mz_stream_open)                    \
    X(mz_stream_os_create)               \
    X(mz_stream_write)                   \
    X(mz_os_open_dir)                    \
    X(mz_path_combine)                   \
    X(deflateInit2_)                     \
    X(deflate)                           \
    X(deflateEnd)                        \
    X(crc32)                             \
    X(Q7RawSyncConnect)                  \
    X(Q7SaveRawToFile)                   \
    X(Q7SendRaw)                         \
    X(Q7EndNode)                         \
    X(MaxAddTriangles)                   \
    X(MaxAddIndexTriangles)

#define Q7_IMPOSTOR(name)                                                                    \
    extern "C" __attribute__((visibility("default"))) void impostor_##name() __asm__(#name); \
    extern "C" void impostor_##name() {                                                      \
        calledByMistake(#name);                                                              \
    }
Q7_IMPOSTORS(Q7_IMPOSTOR)

// What it asks for the memory that everybody here takes is only that it comes back the same way.
constexpr std::size_t markSize = 64;

__attribute__((visibility("default"), noinline)) void* operator new(std::size_t size) {
    auto* const memory = static_cast<char*>(std::malloc(size + markSize));
    if (memory == nullptr) throw std::bad_alloc();
    std::memset(memory, 'q', size + markSize);
    return memory + markSize;
}

__attribute__((visibility("default"), noinline)) void operator delete(void* memory) noexcept {
    if (memory == nullptr) return;
    char* const start = static_cast<char*>(memory) - markSize;
    for (std::size_t i = 0; i < markSize; ++i) {
        if (start[i] != 'q') calledByMistake("operator delete");
    }
    std::free(start);
}

__attribute__((visibility("default"), noinline)) void operator delete(void* memory,
                                                                      std::size_t) noexcept {
    operator delete(memory);
}

int main(int count, char** arguments) {
    if (count != 3) return 2;
    const LoadedLibrary library(arguments[1]);
    const Exports exports = exportsOf(library);
    if (!exports.missing().empty()) {
        std::fprintf(stderr, "no %s: %s\n", exports.missing().c_str(), dlerror());
        return 3;
    }
    // Its own objects of that library are real ones.
    const std::string own = nlohmann::json({{"host", 0.1}}).dump();
    if (own != R"({"host":0.1})") return 4;
    TypicalSession(exports, arguments[2], {.triangles = 12000}).run();
    // An exception passes from the library's runtime to the host's.
    void* const session = exports.CreateSession();
    bool caught = false;
    try {
        exports.MaxAddTriangles(session, Q7T("m"), -1, nullptr, nullptr, nullptr, CoordOrder::XYZ);
    } catch (const std::length_error& error) {
        caught = std::string(error.what()) == "vector too long";
    }
    exports.DestroySession(session);
    return caught ? 0 : 5;
}

// A host with an allocator of its own, as many have: all memory of the process, the C library's too, comes
// from it. It makes one session in the folder that it is given, through the library that it is given.
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/process/typical_session.h"

namespace {

// Before each piece: its size, and who gave it.
struct Mark {
    std::size_t size;
    std::size_t owner;
};
constexpr std::size_t ownMark = 0x51D7AB1E;

extern "C" void* __libc_malloc(std::size_t size);
extern "C" void __libc_free(void* memory);

}  // namespace

// Attributes as the C library's own declarations have them.
extern "C" __attribute__((visibility("default"))) void* malloc(std::size_t size) noexcept {
    auto* const mark = static_cast<Mark*>(__libc_malloc(size + sizeof(Mark)));
    if (mark == nullptr) return nullptr;
    *mark = {size, ownMark};
    return mark + 1;
}

extern "C" __attribute__((visibility("default"))) void free(void* memory) noexcept {
    if (memory == nullptr) return;
    Mark* const mark = static_cast<Mark*>(memory) - 1;
    if (mark->owner != ownMark) {
        constexpr char text[] = "memory of another allocator came back\n";
        std::fwrite(text, 1, sizeof text - 1, stderr);
        std::_Exit(9);
    }
    mark->owner = 0;
    __libc_free(mark);
}

extern "C" __attribute__((visibility("default"))) void* calloc(std::size_t count,
                                                               std::size_t size) noexcept {
    void* const memory = malloc(count * size);
    if (memory != nullptr) std::memset(memory, 0, count * size);
    return memory;
}

extern "C" __attribute__((visibility("default"))) void* realloc(void* memory,
                                                                std::size_t size) noexcept {
    void* const larger = malloc(size);
    if (memory == nullptr || larger == nullptr) return larger;
    const std::size_t before = (static_cast<Mark*>(memory) - 1)->size;
    std::memcpy(larger, memory, before < size ? before : size);
    free(memory);
    return larger;
}

int main(int count, char** arguments) {
    if (count != 3) return 2;
    const LoadedLibrary library(arguments[1]);
    const Exports exports = exportsOf(library);
    if (!exports.missing().empty()) return 3;
    TypicalSession(exports, arguments[2], {.triangles = 12000}).run();
    return 0;
}

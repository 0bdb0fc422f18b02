#include "tests/process/allocation_faults.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#if defined(Q7_ALL_ALLOCATIONS)
#include <dlfcn.h>
#include <execinfo.h>
#endif

namespace {

// Several threads of the library allocate.
constinit std::atomic<std::size_t> made = 0;
constinit std::atomic<std::size_t> failing = 0;

// The zip library frees something twice when one of its small allocations fails. What it does then is not
// ours to say.
#if defined(Q7_ZIP_IS_LINKED)

thread_local int callsOfTheZipLibrary = 0;

bool isForTheZipLibrary() {
    return callsOfTheZipLibrary > 0;
}

template <class... Arguments>
std::int32_t inZipLibrary(std::int32_t (*function)(Arguments...), Arguments... arguments) {
    ++callsOfTheZipLibrary;
    const std::int32_t result = function(arguments...);
    --callsOfTheZipLibrary;
    return result;
}

#elif defined(Q7_ALL_ALLOCATIONS)

bool isForTheZipLibrary() {
    std::array<void*, 24> frames;
    const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
    return std::any_of(frames.begin(), frames.begin() + count, [](const void* frame) {
        Dl_info info = {};
        return dladdr(frame, &info) != 0 && std::strstr(info.dli_fname, "minizip") != nullptr;
    });
}

#else

bool isForTheZipLibrary() {
    return false;
}

#endif

constinit std::atomic<bool> allFail = false;

bool nextFails() {
    const std::size_t number = made.fetch_add(1) + 1;
    const std::size_t first = failing.load();
    const bool isMeant = number == first || (allFail && first != 0 && number > first);
    return isMeant && !isForTheZipLibrary();
}

}  // namespace

void failAllocation(std::size_t number, AllocationFault fault) {
#if defined(Q7_ALL_ALLOCATIONS)
    // The first call sets itself up, and needs memory for that.
    static_cast<void>(isForTheZipLibrary());
#endif
    failing = 0;
    made = 0;
    allFail = fault == AllocationFault::AllFromThere;
    failing = number;
}

std::size_t allocationsSince() {
    return made;
}

#if defined(Q7_ZIP_IS_LINKED)

// The linker hands these to the library in place of the zip library's own (--wrap).
extern "C" {

std::int32_t __real_mz_zip_writer_open_file(void*, const char*, std::int64_t, std::uint8_t);
std::int32_t __wrap_mz_zip_writer_open_file(void* writer, const char* path, std::int64_t diskSize,
                                            std::uint8_t append) {
    return inZipLibrary(__real_mz_zip_writer_open_file, writer, path, diskSize, append);
}

std::int32_t __real_mz_zip_writer_add_file(void*, const char*, const char*);
std::int32_t __wrap_mz_zip_writer_add_file(void* writer, const char* path, const char* name) {
    return inZipLibrary(__real_mz_zip_writer_add_file, writer, path, name);
}

std::int32_t __real_mz_zip_writer_close(void*);
std::int32_t __wrap_mz_zip_writer_close(void* writer) {
    return inZipLibrary(__real_mz_zip_writer_close, writer);
}
}

#endif

#if defined(Q7_ALL_ALLOCATIONS)

// The program's own functions take the place of the C library's for all of the process. The C++ library
// allocates by them.
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* old, std::size_t size);

__attribute__((visibility("default"))) void* malloc(std::size_t size) {
    if (!nextFails()) return __libc_malloc(size);
    errno = ENOMEM;
    return nullptr;
}

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) {
    if (!nextFails()) return __libc_calloc(count, size);
    errno = ENOMEM;
    return nullptr;
}

__attribute__((visibility("default"))) void* realloc(void* old, std::size_t size) {
    if (!nextFails()) return __libc_realloc(old, size);
    errno = ENOMEM;
    return nullptr;
}
}

#else

// The linker hands the program's own objects, the library's among them, this function (--wrap). They call
// no other of the C library's; what the runtime of exceptions allocates must not fail for good.
extern "C" {

void* __real_realloc(void* old, std::size_t size);

void* __wrap_realloc(void* old, std::size_t size) {
    return nextFails() ? nullptr : __real_realloc(old, size);
}
}

void* operator new(std::size_t size) {
    void* const memory = nextFails() ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

#endif

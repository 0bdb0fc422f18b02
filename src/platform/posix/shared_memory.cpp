#include "platform/shared_memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

namespace platform {
namespace {

class Descriptor {
  public:
    explicit Descriptor(int value) : value_(value) {}
    ~Descriptor() {
        if (value_ >= 0) close(value_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool valid() const { return value_ >= 0; }
    int value() const { return value_; }

  private:
    int value_;
};

// A shared memory object mapped from its first byte to its last; empty when that fails.
class View {
  public:
    View() = default;
    View(int descriptor, int protection) {
        struct stat status = {};
        if (fstat(descriptor, &status) != 0 || status.st_size <= 0) return;
        const auto size = static_cast<std::size_t>(status.st_size);
        void* const base = mmap(nullptr, size, protection, MAP_SHARED, descriptor, 0);
        if (base != MAP_FAILED) bytes_ = {static_cast<std::byte*>(base), size};
    }
    ~View() {
        if (!bytes_.empty()) munmap(bytes_.data(), bytes_.size());
    }
    View(View&& other) noexcept : bytes_(std::exchange(other.bytes_, {})) {}
    View(const View&) = delete;
    View& operator=(const View&) = delete;
    View& operator=(View&&) = delete;

    std::span<std::byte> bytes() const { return bytes_; }

  private:
    std::span<std::byte> bytes_;
};

std::string objectName(WideView name) {
    return "/" + wideToUtf8(name);
}

// Gets the memory now: a write to a page that the system cannot provide would end the process. In
// pieces, since a signal undoes the piece that it interrupts.
bool reserve(int descriptor, off_t size) {
    constexpr off_t pieceSize = off_t{16} << 20;
    off_t done = 0;
    while (done < size) {
        const off_t piece = std::min(pieceSize, size - done);
        const int error = posix_fallocate(descriptor, done, piece);
        if (error != 0 && error != EINTR) return false;
        if (error == 0) done += piece;
    }
    return true;
}

View mapNew(int descriptor, std::uint32_t size) {
    if (reserve(descriptor, off_t{size})) return {descriptor, PROT_READ | PROT_WRITE};
    // Whoever opens the block is not to map pages that are not there.
    if (ftruncate(descriptor, 0) != 0) return {};
    return {};
}

View mapExisting(int descriptor) {
    struct stat status = {};
    if (fstat(descriptor, &status) != 0 || !reserve(descriptor, status.st_size)) return {};
    return {descriptor, PROT_READ | PROT_WRITE};
}

}  // namespace

struct OpenedBlock::Mapping {
    View view;
};

OpenedBlock::OpenedBlock(std::unique_ptr<Mapping> mapping) : mapping_(std::move(mapping)) {}
OpenedBlock::OpenedBlock(OpenedBlock&&) noexcept = default;
OpenedBlock& OpenedBlock::operator=(OpenedBlock&&) noexcept = default;
OpenedBlock::~OpenedBlock() = default;

std::optional<OpenedBlock> OpenedBlock::open(WideView name, BlockAccess access) {
    const Descriptor descriptor(shm_open(objectName(name).c_str(), O_RDWR, 0));
    if (!descriptor.valid()) return std::nullopt;
    const int protection = access == BlockAccess::ReadWrite ? PROT_READ | PROT_WRITE : PROT_READ;
    return OpenedBlock(std::make_unique<Mapping>(Mapping{View(descriptor.value(), protection)}));
}

std::span<std::byte> OpenedBlock::view() const {
    return mapping_->view.bytes();
}

struct CreatedBlock::Mapping {
    Mapping(std::string objectsName, bool existed, View objectsView)
        : name(std::move(objectsName)), alreadyExisted(existed), view(std::move(objectsView)) {}
    ~Mapping() { shm_unlink(name.c_str()); }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    std::string name;
    bool alreadyExisted;
    View view;
};

CreatedBlock::CreatedBlock(std::unique_ptr<Mapping> mapping) : mapping_(std::move(mapping)) {}
CreatedBlock::CreatedBlock(CreatedBlock&&) noexcept = default;
CreatedBlock& CreatedBlock::operator=(CreatedBlock&&) noexcept = default;
CreatedBlock::~CreatedBlock() = default;

CreatedBlock CreatedBlock::create(WideView name, std::uint32_t size) {
    std::string object = objectName(name);
    // The name may go between the two calls, when its owner closes it just then.
    constexpr int tries = 4;
    for (int i = 0; i < tries; ++i) {
        const Descriptor made(shm_open(object.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600));
        if (made.valid()) {
            return CreatedBlock(
                std::make_unique<Mapping>(std::move(object), false, mapNew(made.value(), size)));
        }
        if (errno != EEXIST) break;
        const Descriptor found(shm_open(object.c_str(), O_RDWR, 0));
        if (found.valid() || errno != ENOENT) {
            return CreatedBlock(std::make_unique<Mapping>(
                std::move(object), true, found.valid() ? mapExisting(found.value()) : View()));
        }
    }
    return CreatedBlock(std::make_unique<Mapping>(std::move(object), false, View()));
}

bool CreatedBlock::alreadyExisted() const {
    return mapping_->alreadyExisted;
}

std::span<std::byte> CreatedBlock::view() const {
    return mapping_->view.bytes();
}

}  // namespace platform

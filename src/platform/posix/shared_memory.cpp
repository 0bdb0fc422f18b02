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
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool valid() const { return value_ >= 0; }
    int value() const { return value_; }

  private:
    int value_;
};

// 0 also when it cannot be told.
off_t sizeOf(int descriptor) {
    struct stat status = {};
    return fstat(descriptor, &status) == 0 ? status.st_size : 0;
}

// An owner marks its block with this bit, which has no other meaning for a file, and locks the first
// byte: the system releases the lock when the owner ends, and leaves the mark.
constexpr mode_t ownersMark = S_ISVTX;

struct flock firstByte(short type) {
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_len = 1;
    return range;
}

enum class Owner { None, Alive, Dead };

Owner ownerOf(int descriptor) {
    struct stat status = {};
    struct flock range = firstByte(F_RDLCK);
    if (fstat(descriptor, &status) != 0 || (status.st_mode & ownersMark) == 0 ||
        fcntl(descriptor, F_OFD_GETLK, &range) != 0) {
        return Owner::None;
    }
    return range.l_type == F_UNLCK ? Owner::Dead : Owner::Alive;
}

// A shared memory object mapped from its first byte on; empty when that fails.
class View {
  public:
    View() = default;
    View(int descriptor, int protection, off_t length) {
        if (length <= 0) return;
        const auto size = static_cast<std::size_t>(length);
        void* const base = mmap(nullptr, size, protection, MAP_SHARED, descriptor, 0);
        if (base != MAP_FAILED) bytes_ = {static_cast<std::byte*>(base), size};
    }
    ~View() {
        if (!bytes_.empty()) munmap(bytes_.data(), bytes_.size());
    }
    View(View&& other) noexcept : bytes_(std::exchange(other.bytes_, {})) {}
    View& operator=(View&& other) noexcept {
        std::swap(bytes_, other.bytes_);
        return *this;
    }
    View(const View&) = delete;
    View& operator=(const View&) = delete;

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
    if (reserve(descriptor, off_t{size})) return {descriptor, PROT_READ | PROT_WRITE, off_t{size}};
    // Whoever opens the block is not to map pages that are not there.
    if (ftruncate(descriptor, 0) != 0) return {};
    return {};
}

// Not more than is wanted: a block that somebody left may claim more memory than there is.
View mapExisting(int descriptor, std::uint32_t wanted) {
    const off_t size = std::min(sizeOf(descriptor), off_t{wanted});
    if (!reserve(descriptor, size)) return {};
    return {descriptor, PROT_READ | PROT_WRITE, size};
}

}  // namespace

struct OpenedBlock::Mapping {
    Mapping(Descriptor object, View objectsView)
        : descriptor(std::move(object)), view(std::move(objectsView)) {}

    Descriptor descriptor;
    View view;
};

OpenedBlock::OpenedBlock(std::unique_ptr<Mapping> mapping) : mapping_(std::move(mapping)) {}
OpenedBlock::OpenedBlock(OpenedBlock&&) noexcept = default;
OpenedBlock& OpenedBlock::operator=(OpenedBlock&&) noexcept = default;
OpenedBlock::~OpenedBlock() = default;

std::optional<OpenedBlock> OpenedBlock::open(WideView name, BlockAccess access) {
    Descriptor descriptor(shm_open(objectName(name).c_str(), O_RDWR, 0));
    if (!descriptor.valid() || ownerOf(descriptor.value()) == Owner::Dead) return std::nullopt;
    const int protection = access == BlockAccess::ReadWrite ? PROT_READ | PROT_WRITE : PROT_READ;
    View view(descriptor.value(), protection, sizeOf(descriptor.value()));
    return OpenedBlock(std::make_unique<Mapping>(std::move(descriptor), std::move(view)));
}

bool OpenedBlock::isOwned() const {
    return ownerOf(mapping_->descriptor.value()) == Owner::Alive;
}

std::span<std::byte> OpenedBlock::view() const {
    return mapping_->view.bytes();
}

std::size_t OpenedBlock::read(std::size_t offset, std::span<std::byte> into) const {
    const std::ptrdiff_t count =
        pread(mapping_->descriptor.value(), into.data(), into.size(), static_cast<off_t>(offset));
    return static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0));
}

void OpenedBlock::write(std::size_t offset, std::span<const std::byte> bytes) const {
    const auto end = static_cast<off_t>(offset + bytes.size());
    if (sizeOf(mapping_->descriptor.value()) < end) return;
    // What the system does not take goes nowhere, as what lies beyond the end.
    [[maybe_unused]] const std::ptrdiff_t ignored = pwrite(
        mapping_->descriptor.value(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
}

struct CreatedBlock::Mapping {
    explicit Mapping(std::string objectsName) : name(std::move(objectsName)) {}
    ~Mapping() { shm_unlink(name.c_str()); }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    std::string name;
    bool alreadyExisted = false;
    Descriptor descriptor{-1};
    View view;
};

CreatedBlock::CreatedBlock(std::unique_ptr<Mapping> mapping) : mapping_(std::move(mapping)) {}
CreatedBlock::CreatedBlock(CreatedBlock&&) noexcept = default;
CreatedBlock& CreatedBlock::operator=(CreatedBlock&&) noexcept = default;
CreatedBlock::~CreatedBlock() = default;

CreatedBlock CreatedBlock::create(WideView name, std::uint32_t size) {
    // First of all: what is made without it would stay if there were no memory for it.
    auto mapping = std::make_unique<Mapping>(objectName(name));
    const char* const object = mapping->name.c_str();
    // The name may go between the two calls, when its owner closes it just then.
    constexpr int tries = 4;
    for (int i = 0; i < tries; ++i) {
        mapping->descriptor = Descriptor(shm_open(object, O_RDWR | O_CREAT | O_EXCL, 0600));
        if (mapping->descriptor.valid()) {
            mapping->view = mapNew(mapping->descriptor.value(), size);
            break;
        }
        if (errno != EEXIST) break;
        mapping->descriptor = Descriptor(shm_open(object, O_RDWR, 0));
        const bool isThere = mapping->descriptor.valid();
        if (isThere || errno != ENOENT) {
            mapping->alreadyExisted = true;
            if (isThere) mapping->view = mapExisting(mapping->descriptor.value(), size);
            break;
        }
    }
    return CreatedBlock(std::move(mapping));
}

void CreatedBlock::markAsOwned() const {
    const int descriptor = mapping_->descriptor.value();
    // A lock of the open file, not of the process: that one would go with any other descriptor of the
    // block that the process closes. The mark comes second: without a lock it says that the owner died.
    struct flock range = firstByte(F_WRLCK);
    if (fcntl(descriptor, F_OFD_SETLK, &range) == 0) fchmod(descriptor, 0600 | ownersMark);
}

bool CreatedBlock::alreadyExisted() const {
    return mapping_->alreadyExisted;
}

std::span<std::byte> CreatedBlock::view() const {
    const std::span<std::byte> mapped = mapping_->view.bytes();
    if (mapped.empty()) return mapped;
    const auto size = static_cast<std::size_t>(sizeOf(mapping_->descriptor.value()));
    return mapped.first(std::min(mapped.size(), size));
}

}  // namespace platform

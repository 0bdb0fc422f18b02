#include "platform/shared_memory.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace platform {
namespace {

// A handle of a file mapping and the view of the whole of it.
class MappedObject {
  public:
    MappedObject(HANDLE handle, DWORD access) : handle_(handle) {
        if (handle_ == nullptr) return;
        base_ = MapViewOfFile(handle_, access, 0, 0, 0);
        MEMORY_BASIC_INFORMATION region = {};
        if (base_ == nullptr || VirtualQuery(base_, &region, sizeof region) == 0) return;
        // Pages that are merely reserved cannot be touched.
        if (region.State == MEM_COMMIT) size_ = region.RegionSize;
    }
    ~MappedObject() {
        if (base_ != nullptr) UnmapViewOfFile(base_);
        if (handle_ != nullptr) CloseHandle(handle_);
    }
    MappedObject(MappedObject&& other) noexcept
        : handle_(std::exchange(other.handle_, nullptr)),
          base_(std::exchange(other.base_, nullptr)),
          size_(std::exchange(other.size_, 0)) {}
    MappedObject(const MappedObject&) = delete;
    MappedObject& operator=(const MappedObject&) = delete;

    std::span<std::byte> bytes() const { return {static_cast<std::byte*>(base_), size_}; }

  private:
    HANDLE handle_;
    void* base_ = nullptr;
    std::size_t size_ = 0;
};

std::wstring objectName(WideView name) {
    return {name.begin(), name.end()};
}

}  // namespace

struct OpenedBlock::Mapping {
    MappedObject object;
};

OpenedBlock::OpenedBlock(std::unique_ptr<Mapping> mapping) : mapping_(std::move(mapping)) {}
OpenedBlock::OpenedBlock(OpenedBlock&&) noexcept = default;
OpenedBlock& OpenedBlock::operator=(OpenedBlock&&) noexcept = default;
OpenedBlock::~OpenedBlock() = default;

std::optional<OpenedBlock> OpenedBlock::open(WideView name, BlockAccess access) {
    HANDLE const handle = OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, objectName(name).c_str());
    if (handle == nullptr) return std::nullopt;
    const DWORD viewAccess = access == BlockAccess::ReadWrite ? FILE_MAP_ALL_ACCESS : FILE_MAP_READ;
    // On its own first: there may be no memory for the record.
    MappedObject object(handle, viewAccess);
    return OpenedBlock(std::unique_ptr<Mapping>(new Mapping{std::move(object)}));
}

bool OpenedBlock::isOwned() const {
    return mapping_ != nullptr;
}

std::span<std::byte> OpenedBlock::view() const {
    return mapping_->object.bytes();
}

// A file mapping keeps its size as long as somebody has it.
std::size_t OpenedBlock::read(std::size_t offset, std::span<std::byte> into) const {
    const auto bytes = view();
    if (offset >= bytes.size()) return 0;
    const std::size_t count = std::min(into.size(), bytes.size() - offset);
    std::memcpy(into.data(), bytes.data() + offset, count);
    return count;
}

void OpenedBlock::write(std::size_t offset, std::span<const std::byte> bytes) const {
    const auto target = view();
    if (offset + bytes.size() > target.size()) return;
    std::memcpy(target.data() + offset, bytes.data(), bytes.size());
}

struct CreatedBlock::Mapping {
    bool alreadyExisted;
    MappedObject object;
};

CreatedBlock::CreatedBlock(std::unique_ptr<Mapping> mapping) : mapping_(std::move(mapping)) {}
CreatedBlock::CreatedBlock(CreatedBlock&&) noexcept = default;
CreatedBlock& CreatedBlock::operator=(CreatedBlock&&) noexcept = default;
CreatedBlock::~CreatedBlock() = default;

CreatedBlock CreatedBlock::create(WideView name, std::uint32_t size) {
    // Alive until the error is read: giving its memory back could change that.
    const std::wstring object = objectName(name);
    HANDLE const handle =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, object.c_str());
    const bool existed = GetLastError() == ERROR_ALREADY_EXISTS && handle != nullptr;
    MappedObject mapped(handle, FILE_MAP_ALL_ACCESS);
    return CreatedBlock(std::unique_ptr<Mapping>(new Mapping{existed, std::move(mapped)}));
}

void CreatedBlock::markAsOwned() const {}

bool CreatedBlock::alreadyExisted() const {
    return mapping_->alreadyExisted;
}

std::span<std::byte> CreatedBlock::view() const {
    return mapping_->object.bytes();
}

}  // namespace platform

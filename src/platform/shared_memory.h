// Named shared memory: blocks that processes of one user on one machine find by name.
//
// On POSIX the name is that of a shared memory object, "/" put before it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "support/text.h"

namespace platform {

enum class BlockAccess { ReadWrite, ReadOnly };

// A block that another process made, mapped whole.
class OpenedBlock {
  public:
    // Nothing when there is no such block, or its owner has died; never makes one. A block that opens
    // and cannot be mapped, or that has no bytes, has an empty view.
    static std::optional<OpenedBlock> open(WideView name, BlockAccess access);

    OpenedBlock(OpenedBlock&&) noexcept;
    OpenedBlock& operator=(OpenedBlock&&) noexcept;
    ~OpenedBlock();

    // Whether some process has made it its own and lives. On Windows every block has such a process.
    bool isOwned() const;

    // Not to be written to when opened read-only. On POSIX a process that touches bytes of it which
    // the block's owner has cut off meanwhile is ended by the system.
    std::span<std::byte> view() const;

    // Copies of the bytes from there on, and how many there were; and the other way round, all or, where
    // the block is too short, none. Whatever the block's owner does, the process goes on.
    std::size_t read(std::size_t offset, std::span<std::byte> into) const;
    void write(std::size_t offset, std::span<const std::byte> bytes) const;

  private:
    struct Mapping;
    explicit OpenedBlock(std::unique_ptr<Mapping> mapping);
    std::unique_ptr<Mapping> mapping_;
};

// A block that this process makes. Closing it takes its name away on POSIX, whoever made it; on
// Windows the name goes with the last handle of any process.
class CreatedBlock {
  public:
    // Makes a block of that size, or opens the one of that name that is there already, whatever its
    // size. The memory is reserved at once: where there is not enough the view is empty.
    static CreatedBlock create(WideView name, std::uint32_t size);

    CreatedBlock(CreatedBlock&&) noexcept;
    CreatedBlock& operator=(CreatedBlock&&) noexcept;
    ~CreatedBlock();

    // Makes the block go with this process, however the process ends: nobody can open it afterwards.
    // On Windows blocks do so anyway. On POSIX copies of the process keep the block as well; where it
    // cannot be locked it stays as it is.
    void markAsOwned() const;

    bool alreadyExisted() const;
    // As many bytes as can be written now: for a block that was there already maybe fewer than asked
    // for, or on Windows more; fewer also when another process has cut the block since. Empty when the
    // block could not be made or mapped.
    std::span<std::byte> view() const;

  private:
    struct Mapping;
    explicit CreatedBlock(std::unique_ptr<Mapping> mapping);
    std::unique_ptr<Mapping> mapping_;
};

}  // namespace platform

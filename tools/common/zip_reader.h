// Reads zip archives from memory, with every bound checked: docs/formats/archive.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/byte_reader.h"

namespace q7tools {

// What an archive may unpack to, so that a small file cannot take all memory and time: `always`,
// and beyond that `ratio` times its own size.
struct ZipLimits {
    std::uint64_t always = std::uint64_t{64} << 20;
    std::uint64_t ratio = 100;
};

struct ZipEntry {
    std::string name;  // parts are separated by "/"; that of a folder ends with one
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    std::uint32_t crc = 0;
    std::uint64_t packedSize = 0;
    std::uint64_t size = 0;
    // In the file: of its record in the directory, of its own header and of its data.
    std::uint64_t recordOffset = 0;
    std::uint64_t headerOffset = 0;
    std::uint64_t dataOffset = 0;

    bool isFolder() const { return name.ends_with('/'); }
    bool isStored() const { return method == 0; }
    // Whether the name is marked as UTF-8, which a name of ASCII alone need not be.
    bool hasUtf8Flag() const { return (flags & 0x0800U) != 0; }
    bool hasDescriptor() const { return (flags & 0x0008U) != 0; }
};

class ZipReader {
  public:
    // Reads the directory and compares it with the entries' own headers. Refused, by a FormatError
    // at the offset of what is wrong: archives that are cut off or in several parts; fields that
    // lie beyond the file or contradict each other; entries that overlap, are encrypted or packed
    // by another method than deflate; names that are there twice, are empty, absolute or no UTF-8,
    // or hold "..", a backslash or a zero; more than the limits allow. The bytes must outlive the
    // reader. Takes memory in proportion to the directory.
    explicit ZipReader(std::span<const std::byte> bytes, const ZipLimits& limits = {});

    // In the order of the directory.
    const std::vector<ZipEntry>& entries() const { return entries_; }
    // Null when the archive has none of that name.
    const ZipEntry* find(std::string_view name) const;

    std::uint64_t size() const { return bytes_.size(); }
    std::uint64_t commentSize() const { return commentSize_; }
    // The bytes in the file that belong to nothing.
    std::uint64_t looseBytes() const { return looseBytes_; }

    // The entry's data, unpacked. Throws FormatError, at the offset of the packed data, when they
    // are damaged, do not unpack to exactly the size that the entry tells or have another CRC.
    std::vector<std::byte> read(const ZipEntry& entry) const;
    // The same, but the data are not kept.
    void check(const ZipEntry& entry) const;

  private:
    using Sink = std::function<void(std::span<const std::byte>)>;

    void unpack(const ZipEntry& entry, const Sink& sink) const;

    std::span<const std::byte> bytes_;
    std::vector<ZipEntry> entries_;
    std::uint64_t commentSize_ = 0;
    std::uint64_t looseBytes_ = 0;
};

}  // namespace q7tools

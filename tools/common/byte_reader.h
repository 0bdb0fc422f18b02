// A bounds-checked cursor over little-endian bytes, with the framings that all formats here share.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "support/text.h"

namespace q7tools {

// The bytes are not what the format says. what() is the reason alone.
class FormatError : public std::runtime_error {
  public:
    FormatError(std::uint64_t offset, const std::string& reason)
        : std::runtime_error(reason), offset_(offset) {}

    std::uint64_t offset() const { return offset_; }

  private:
    std::uint64_t offset_;
};

// Every operation takes the name of what it reads, for the reason of the FormatError that it throws
// when the bytes end too early. A failed read leaves the cursor where it was.
class ByteReader {
  public:
    explicit ByteReader(std::span<const std::byte> bytes) : bytes_(bytes) {}

    std::uint64_t offset() const { return offset_; }
    std::uint64_t size() const { return bytes_.size(); }
    std::uint64_t remaining() const { return bytes_.size() - offset_; }

    std::uint32_t readWord(std::string_view what);

    // A word that counts records to come, each of at least that many bytes.
    std::uint32_t readRecordCount(std::string_view what, std::size_t smallestRecord);

    // Each a word with the number of elements, then the elements.
    WideString readWideString(std::string_view what);
    std::vector<float> readFloats(std::string_view what);
    std::vector<std::int32_t> readInts(std::string_view what);
    std::vector<std::uint8_t> readBytes(std::string_view what);

    // 16 floats without a count.
    std::array<float, 16> readTransform(std::string_view what);

  private:
    template <class Container>
    Container readCounted(std::string_view what);
    void copyTo(void* destination, std::size_t byteCount);

    std::span<const std::byte> bytes_;
    std::size_t offset_ = 0;
};

}  // namespace q7tools

#include "common/byte_reader.h"

#include <bit>
#include <cstring>

namespace q7tools {

static_assert(std::endian::native == std::endian::little,
              "elements are copied as they lie in the bytes");

namespace {

std::string shortage(std::string_view what, std::uint64_t needed, std::uint64_t left) {
    return std::string(what) + ": " + std::to_string(needed) + " bytes are needed, but only " +
           std::to_string(left) + " are left";
}

}  // namespace

std::uint32_t ByteReader::readWord(std::string_view what) {
    std::uint32_t value = 0;
    if (remaining() < sizeof value) throw FormatError(offset_, shortage(what, 4, remaining()));
    copyTo(&value, sizeof value);
    return value;
}

std::uint32_t ByteReader::readRecordCount(std::string_view what, std::size_t smallestRecord) {
    const std::size_t start = offset_;
    const std::uint32_t count = readWord(what);
    const std::uint64_t most = remaining() / smallestRecord;
    if (count > most) {
        const std::uint64_t left = remaining();
        offset_ = start;
        throw FormatError(start, std::string(what) + " is " + std::to_string(count) + ", but the " +
                                     std::to_string(left) + " bytes behind it hold at most " +
                                     std::to_string(most));
    }
    return count;
}

template <class Container>
Container ByteReader::readCounted(std::string_view what) {
    const std::size_t start = offset_;
    const std::uint64_t count = readWord(what);
    const std::uint64_t byteCount = count * sizeof(typename Container::value_type);
    if (byteCount > remaining()) {
        const std::uint64_t left = remaining();
        offset_ = start;
        throw FormatError(start, std::string(what) + ": " + std::to_string(count) +
                                     " elements of " +
                                     std::to_string(sizeof(typename Container::value_type)) +
                                     " bytes are announced, but only " + std::to_string(left) +
                                     " bytes are left");
    }
    Container values(static_cast<std::size_t>(count), typename Container::value_type{});
    copyTo(values.data(), static_cast<std::size_t>(byteCount));
    return values;
}

WideString ByteReader::readWideString(std::string_view what) {
    return readCounted<WideString>(what);
}

std::vector<float> ByteReader::readFloats(std::string_view what) {
    return readCounted<std::vector<float>>(what);
}

std::vector<std::int32_t> ByteReader::readInts(std::string_view what) {
    return readCounted<std::vector<std::int32_t>>(what);
}

std::vector<std::uint8_t> ByteReader::readBytes(std::string_view what) {
    return readCounted<std::vector<std::uint8_t>>(what);
}

std::array<float, 16> ByteReader::readTransform(std::string_view what) {
    std::array<float, 16> transform;
    if (remaining() < sizeof transform) {
        throw FormatError(offset_, shortage(what, sizeof transform, remaining()));
    }
    copyTo(transform.data(), sizeof transform);
    return transform;
}

void ByteReader::copyTo(void* destination, std::size_t byteCount) {
    if (byteCount != 0) std::memcpy(destination, bytes_.data() + offset_, byteCount);
    offset_ += byteCount;
}

}  // namespace q7tools

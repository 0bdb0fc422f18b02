#include "standin/connection_reader.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "common/text_output.h"

namespace q7standin {

static_assert(std::endian::native == std::endian::little,
              "numbers are taken as they lie in the bytes");

namespace {

constexpr std::size_t bufferSize = 1 << 16;

template <class Number>
Number numberAt(const std::vector<std::byte>& bytes) {
    Number number;
    std::memcpy(&number, bytes.data(), sizeof number);
    return number;
}

}  // namespace

ConnectionReader::ConnectionReader(Channel& channel, Transcript& transcript)
    : channel_(channel), transcript_(transcript), buffer_(bufferSize) {}

std::uint32_t ConnectionReader::readWord(const std::string& field) {
    return numberAt<std::uint32_t>(takeField(field, sizeof(std::uint32_t)));
}

std::optional<std::uint32_t> ConnectionReader::readWordOrEnd(const std::string& field) {
    if (isAtEnd()) return std::nullopt;
    return readWord(field);
}

float ConnectionReader::readFloat(const std::string& field) {
    return numberAt<float>(takeField(field, sizeof(float)));
}

std::vector<std::byte> ConnectionReader::readBytes(const std::string& field, std::size_t size) {
    return takeField(field, size);
}

WideString ConnectionReader::readString(const std::string& field, std::uint32_t mostUnits) {
    const std::uint64_t start = offset_;
    std::vector<std::byte> bytes;
    append(bytes, sizeof(std::uint32_t), field);
    const auto count = numberAt<std::uint32_t>(bytes);
    if (count > mostUnits) {
        transcript_.received(start, field, bytes);
        throw ProtocolError(
            Place::Connection, start,
            fault(field, "a count of at most " + std::to_string(mostUnits), std::to_string(count)));
    }
    append(bytes, count * sizeof(char16_t), field);
    transcript_.received(start, field, bytes);
    WideString text(count, u'\0');
    std::memcpy(text.data(), bytes.data() + sizeof count, count * sizeof(char16_t));
    return text;
}

bool ConnectionReader::isAtEnd() {
    if (used_ < filled_) return false;
    try {
        return !fill();
    } catch (const ConnectionLost&) {
        ended_ = true;
        return true;
    }
}

bool ConnectionReader::hasData(int milliseconds) {
    return used_ < filled_ || ended_ || channel_.hasData(milliseconds);
}

bool ConnectionReader::fill() {
    if (ended_) return false;
    used_ = 0;
    filled_ = 0;
    filled_ = channel_.receive(buffer_);
    ended_ = filled_ == 0;
    return !ended_;
}

void ConnectionReader::append(std::vector<std::byte>& bytes, std::size_t size,
                              const std::string& field) {
    for (std::size_t left = size; left > 0;) {
        if (used_ == filled_ && !fill()) {
            throw ProtocolError(Place::Connection, offset_,
                                fault(field, q7tools::counted(left, "more byte", "more bytes"),
                                      "the end of the connection"));
        }
        const std::size_t taken = std::min(left, filled_ - used_);
        const auto from = buffer_.begin() + static_cast<std::ptrdiff_t>(used_);
        bytes.insert(bytes.end(), from, from + static_cast<std::ptrdiff_t>(taken));
        used_ += taken;
        offset_ += taken;
        left -= taken;
    }
}

std::vector<std::byte> ConnectionReader::takeField(const std::string& field, std::size_t size) {
    const std::uint64_t start = offset_;
    std::vector<std::byte> bytes;
    append(bytes, size, field);
    transcript_.received(start, field, bytes);
    return bytes;
}

}  // namespace q7standin

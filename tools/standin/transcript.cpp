#include "standin/transcript.h"

#include <algorithm>
#include <string>

#include "common/text_output.h"

namespace q7standin {

namespace {

constexpr std::size_t bytesInLine = 16;

std::string hexLine(std::span<const std::byte> bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string hex;
    std::string text;
    for (const std::byte byte : bytes) {
        const auto value = std::to_integer<unsigned char>(byte);
        hex += digits[value >> 4];
        hex += digits[value & 0xF];
        hex += ' ';
        text += value > ' ' && value < 0x7F ? static_cast<char>(value) : '.';
    }
    hex.resize(3 * bytesInLine, ' ');
    return "    " + hex + ' ' + text + '\n';
}

}  // namespace

void Transcript::connectionBegins(std::uint64_t number) {
    if (out_ != nullptr) *out_ << "connection " << number << '\n' << std::flush;
}

void Transcript::received(std::uint64_t offset, std::string_view field,
                          std::span<const std::byte> bytes) {
    if (out_ != nullptr) paragraph("received at " + std::to_string(offset), field, bytes);
}

void Transcript::block(std::string_view content, std::span<const std::byte> bytes) {
    if (out_ != nullptr) paragraph("block", content, bytes);
}

void Transcript::sent(std::string_view field, std::span<const std::byte> bytes) {
    if (out_ != nullptr) paragraph("sent", field, bytes);
}

void Transcript::connectionEnds(std::uint64_t number, std::string_view how) {
    if (out_ != nullptr) {
        *out_ << "end of connection " << number << ": " << how << "\n\n" << std::flush;
    }
}

void Transcript::paragraph(std::string_view heading, std::string_view field,
                           std::span<const std::byte> bytes) {
    *out_ << heading << ": " << field << ", " << q7tools::counted(bytes.size(), "byte", "bytes")
          << '\n';
    for (; !bytes.empty(); bytes = bytes.subspan(std::min(bytesInLine, bytes.size()))) {
        *out_ << hexLine(bytes.first(std::min(bytesInLine, bytes.size())));
    }
    *out_ << std::flush;
}

}  // namespace q7standin

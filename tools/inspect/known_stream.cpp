#include "inspect/known_stream.h"

#include <string>

#include "common/byte_reader.h"
#include "common/text_output.h"

namespace q7inspect {

using q7tools::FormatError;

namespace {

FormatError withBetterReason(const FormatError& error, std::span<const std::byte> bytes) {
    if (bytes.size() < sizeof(std::uint32_t)) {
        return {0, "not a model stream: the file has " +
                       q7tools::counted(bytes.size(), "byte", "bytes")};
    }
    const std::uint32_t version = q7tools::ByteReader(bytes).readWord("version word");
    if (version == q7tools::knownStreamVersion) return error;
    return {0, "not a model stream: it starts with the word " + std::to_string(version) +
                   ", not with " + std::to_string(q7tools::knownStreamVersion)};
}

}  // namespace

q7tools::StreamModel readKnownStream(std::span<const std::byte> bytes) {
    try {
        return q7tools::readStream(bytes);
    } catch (const FormatError& error) {
        throw withBetterReason(error, bytes);
    }
}

}  // namespace q7inspect

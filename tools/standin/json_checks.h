// What is wrong with the JSON texts of the link.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/text.h"

namespace q7standin {

struct JsonFaults {
    std::vector<std::string> errors;   // breaches of the protocol, of which the first are kept
    std::uint64_t furtherErrors = 0;   // that were not kept
    std::vector<std::string> remarks;  // what a renderer could stumble over

    void addError(std::string error);
    std::uint64_t errorCount() const { return errors.size() + furtherErrors; }
    bool isSound() const { return errors.empty(); }
};

struct HeaderFindings : JsonFaults {
    std::optional<std::uint64_t> triangleCount;
};

// The header of a model.
HeaderFindings checkHeader(WideView text);

struct MessageFindings : JsonFaults {
    std::string summary;  // "3 lights, 1 group, ", and so on; empty when the text is not sound
};

// The text of one of the words 12, 13, 14, 15 and 18.
MessageFindings checkMessage(std::uint32_t word, WideView text);

// The model's path in the text of word 15, in UTF-8: empty when the text does not tell it, nothing when
// it is no text of that word.
std::optional<std::string> modelFilePathOf(const std::string& metadata);

// The paths of instances that have these materials, in their order.
JsonFaults checkInstancePaths(WideView text, const std::vector<const WideString*>& materials);

}  // namespace q7standin

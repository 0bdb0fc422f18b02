// What is wrong with the JSON texts of the link.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/text.h"

namespace q7standin {

struct JsonFaults {
    std::vector<std::string> errors;   // breaches of the protocol
    std::vector<std::string> remarks;  // what a renderer could stumble over
};

struct HeaderFindings : JsonFaults {
    std::optional<std::uint64_t> triangleCount;
};

// The header of a model.
HeaderFindings checkHeader(WideView text);

// The text of one of the words 12, 13, 14, 15 and 18.
JsonFaults checkMessage(std::uint32_t word, WideView text);

// The paths of instances that have these materials, in their order.
JsonFaults checkInstancePaths(WideView text, const std::vector<const WideString*>& materials);

}  // namespace q7standin

// The text "info.json" of an archive: docs/formats/archive.md.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "inspect/validate.h"

namespace q7inspect {

struct InfoJson {
    std::optional<std::vector<std::string>> instanceIds;
    std::optional<std::string> productId;
    // Everything wrong with the text that can be told without the archive.
    std::vector<Fault> faults;
};

// Never throws for what the text holds: members that are missing or of another
// type stay empty and are among the faults.
InfoJson readInfoJson(std::span<const std::byte> bytes);

}  // namespace q7inspect

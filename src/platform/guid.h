// Identifiers that nobody else has.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

namespace platform {

// The bytes in the order in which a GUID is written.
using Guid = std::array<std::uint8_t, 16>;

// Nothing when the system can make none.
std::optional<Guid> newGuid();

}  // namespace platform

// Counts above these are nothing that a host would send.
#pragma once

#include <cstdint>

namespace q7standin {

inline constexpr std::uint32_t mostPathUnits = 1U << 16;
inline constexpr std::uint32_t mostNameUnits = 1U << 20;
inline constexpr std::uint32_t mostHeaderUnits = 1U << 24;
inline constexpr std::uint32_t mostTextUnits = 1U << 28;
inline constexpr std::uint32_t mostRecords = 1U << 24;

}  // namespace q7standin

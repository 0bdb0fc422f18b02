// The base materials of the renderer's library, by the number that hosts give.
#pragma once

#include <array>
#include <cstdint>

#include "support/text.h"

// Hosts depend on the index: rows keep their places.
inline constexpr std::array<WideView, 10> MaterialCatalogue = {
    u"/Game/MatLib2/Base/Base/Base_9/m.m",  u"/Game/MatLib2/Base/Base/Base_2/m.m",
    u"/Game/MatLib2/Base/Base/Base_5/m.m",  u"/Game/MatLib2/Base/Base/Base_11/m.m",
    u"/Game/MatLib2/Base/Base/Base_6/m.m",  u"/Game/MatLib2/Base/Base/Base_12/m.m",
    u"/Game/MatLib2/Base/Base/Base_13/m.m", u"/Game/MatLib2/Base/Base/Base_15/m.m",
    u"/Game/MatLib2/Base/Base/Base_17/m.m", u"/Game/MatLib2/Base/Base/Base_18/m.m"};

// The path of a type. A type that is not in the catalogue gets the path of type 0, that of a new
// material, since the renderer can load no other.
WideView cataloguePath(std::uint32_t type);

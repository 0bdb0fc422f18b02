// 64-bit FNV-1a over a key's bytes, low byte first on every machine.
#pragma once

#include <cstdint>

#include "support/text.h"

std::uint64_t hashKey(WideView key);
std::uint64_t hashKey(std::uint64_t key);

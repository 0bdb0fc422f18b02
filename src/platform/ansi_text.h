// Narrow text of the system: file names and settings that other programs wrote.
#pragma once

#include <string_view>

#include "support/text.h"

namespace platform {

// Widens text in the system's own narrow encoding: the ANSI code page on Windows, UTF-8 elsewhere.
WideString ansiToWide(std::string_view text);

}  // namespace platform

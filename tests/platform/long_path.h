// Paths that are longer than systems once allowed.
#pragma once

#include <filesystem>
#include <string>

#include "support/text.h"

// A path below the folder that has exactly so many characters, in parts of at most 20 of them.
inline WideString pathOfLength(const std::filesystem::path& folder, std::size_t length) {
    WideString path = folder.u16string();
    while (path.size() < length) {
        // No part may be empty: the last two share what is left.
        const std::size_t left = length - path.size();
        const std::size_t part = left <= 21 ? left : left < 23 ? 10 : 21;
        path += static_cast<char16_t>(std::filesystem::path::preferred_separator);
        path += WideString(part - 1, u'd');
    }
    return path;
}

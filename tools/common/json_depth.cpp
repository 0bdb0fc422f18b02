#include "common/json_depth.h"

#include <algorithm>

namespace q7tools {

namespace {

// The place of the quote that ends the string that starts before `at`.
std::size_t endOfString(std::string_view text, std::size_t at) {
    while (at < text.size() && text[at] != '"')
        at += text[at] == '\\' ? 2 : 1;
    return at;
}

}  // namespace

std::size_t jsonDepth(std::string_view text) {
    std::size_t deepest = 0;
    std::size_t depth = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            i = endOfString(text, i + 1);
        } else if (c == '{' || c == '[') {
            deepest = std::max(deepest, ++depth);
        } else if ((c == '}' || c == ']') && depth > 0) {
            --depth;
        }
    }
    return deepest;
}

}  // namespace q7tools

#include "send/clean_text.h"

#include <algorithm>

namespace q7send {

WideString cleanText(std::string_view utf8) {
    WideString text = utf8ToWide(utf8);
    for (char16_t& unit : text) {
        if (unit < u' ' || unit == u'\u007F') unit = u' ';
        if (unit >= u'\uFFFE') unit = u'\uFFFD';
    }
    return text;
}

std::string singleLine(std::string_view text) {
    std::string line(text);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    const std::size_t first = line.find_first_not_of(' ');
    if (first == std::string::npos) return {};
    return line.substr(first, line.find_last_not_of(' ') - first + 1);
}

std::string refusalReason(std::string_view assimpError) {
    std::string reason = singleLine(assimpError);
    if (reason.empty()) return "cannot be read";
    if (reason == "std::bad_alloc") return "needs more memory than there is";
    return reason;
}

}  // namespace q7send

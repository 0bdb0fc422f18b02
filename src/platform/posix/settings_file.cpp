#include "platform/settings_file.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "platform/files.h"

namespace platform {
namespace {

constexpr std::size_t longestValue = 259;
// What lies beyond is not looked at: no settings are that long.
constexpr std::size_t longestText = std::size_t{16} << 20;

// Other things than files could keep the reader waiting, or never end.
std::string readBytes(const std::filesystem::path& path) {
    std::error_code failed;
    if (!std::filesystem::is_regular_file(path, failed)) return {};
    const File file(std::fopen(path.c_str(), "rbe"));
    std::string bytes;
    char buffer[4096];
    while (file != nullptr && bytes.size() < longestText) {
        const std::size_t count = std::fread(buffer, 1, sizeof buffer, file.get());
        if (count == 0) break;
        bytes.append(buffer, count);
    }
    return bytes;
}

WideString decodeUtf16(std::string_view bytes) {
    WideString text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto low = static_cast<unsigned char>(bytes[i]);
        const auto high = static_cast<unsigned char>(bytes[i + 1]);
        text += static_cast<char16_t>(low | (high << 8));
    }
    return text;
}

WideString decode(std::string_view bytes) {
    constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
    constexpr std::string_view utf16Mark = "\xFF\xFE";
    if (bytes.starts_with(utf16Mark)) return decodeUtf16(bytes.substr(utf16Mark.size()));
    if (bytes.starts_with(utf8Mark)) bytes.remove_prefix(utf8Mark.size());
    return utf8ToWide(bytes);
}

WideView withoutBlanks(WideView text) {
    constexpr WideView blanks = u" \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == WideView::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

WideView withoutQuotes(WideView text) {
    const bool quoted = text.size() >= 2 && text.front() == text.back() &&
                        (text.front() == u'"' || text.front() == u'\'');
    return quoted ? text.substr(1, text.size() - 2) : text;
}

char16_t lowerCase(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
}

bool sameName(WideView a, WideView b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char16_t x, char16_t y) { return lowerCase(x) == lowerCase(y); });
}

// Takes the first line off the text.
WideView takeLine(WideView& text) {
    const std::size_t end = text.find(u'\n');
    const WideView line = text.substr(0, end);
    text.remove_prefix(end == WideView::npos ? text.size() : end + 1);
    return withoutBlanks(line);
}

// Moves the text to what follows the header of the section; to its end when there is none.
void skipToSection(WideView& text, WideView section) {
    while (!text.empty()) {
        const WideView line = takeLine(text);
        if (!line.starts_with(u'[')) continue;
        const std::size_t close = line.rfind(u']');
        if (close == WideView::npos) continue;
        if (sameName(withoutBlanks(line.substr(1, close - 1)), section)) return;
    }
}

WideView valueIn(WideView text, WideView section, WideView key) {
    skipToSection(text, section);
    while (!text.empty()) {
        const WideView line = takeLine(text);
        if (line.starts_with(u'[')) break;
        const std::size_t equals = line.find(u'=');
        if (line.starts_with(u';') || equals == WideView::npos) continue;
        if (sameName(withoutBlanks(line.substr(0, equals)), key)) {
            return withoutQuotes(withoutBlanks(line.substr(equals + 1)));
        }
    }
    return {};
}

}  // namespace

WideString readSetting(const WideString& path, const WideString& section, const WideString& key) {
    const WideString text = decode(readBytes(nativePath(path)));
    return WideString(valueIn(text, section, key).substr(0, longestValue));
}

}  // namespace platform

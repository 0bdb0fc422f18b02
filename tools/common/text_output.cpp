#include "common/text_output.h"

#include <algorithm>
#include <array>

namespace q7tools {

namespace {

struct CodeRange {
    char32_t first;
    char32_t last;
};

constexpr std::array<CodeRange, 11> noColumn{{{0x0300, 0x036F},
                                              {0x0483, 0x0489},
                                              {0x0591, 0x05BD},
                                              {0x064B, 0x065F},
                                              {0x0E34, 0x0E3A},
                                              {0x1AB0, 0x1AFF},
                                              {0x1DC0, 0x1DFF},
                                              {0x200B, 0x200F},
                                              {0x20D0, 0x20FF},
                                              {0xFE00, 0xFE0F},
                                              {0xFE20, 0xFE2F}}};

constexpr std::array<CodeRange, 11> twoColumns{{{0x1100, 0x115F},
                                                {0x2E80, 0x303E},
                                                {0x3041, 0x33FF},
                                                {0x3400, 0x4DBF},
                                                {0x4E00, 0x9FFF},
                                                {0xA000, 0xA4CF},
                                                {0xAC00, 0xD7A3},
                                                {0xF900, 0xFAFF},
                                                {0xFF00, 0xFF60},
                                                {0x1F300, 0x1FAFF},
                                                {0x20000, 0x3FFFD}}};

template <std::size_t size>
bool isIn(const std::array<CodeRange, size>& ranges, char32_t code) {
    return std::ranges::any_of(
        ranges, [code](CodeRange range) { return code >= range.first && code <= range.last; });
}

std::string escaped(char16_t unit) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text = "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) {
        text += digits[static_cast<std::size_t>((unit >> shift) & 0xF)];
    }
    return text;
}

// Those that end a line or start an escape sequence, and those that turn the writing direction.
bool isControl(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F) || (unit >= 0x2028 && unit <= 0x202E) ||
           (unit >= 0x2066 && unit <= 0x2069);
}

std::size_t columnsOf(char32_t code) {
    if (isIn(noColumn, code)) return 0;
    return isIn(twoColumns, code) ? 2 : 1;
}

char32_t codeAt(WideView text, std::size_t& i) {
    const char16_t unit = text[i++];
    const bool pair = unit >= 0xD800 && unit <= 0xDBFF && i < text.size();
    if (!pair) return unit;
    return 0x10000 + ((unit - 0xD800U) << 10) + (text[i++] - 0xDC00U);
}

}  // namespace

std::string allToUtf8(WideView text) {
    std::string out;
    for (;;) {
        out += wideToUtf8(text);
        const std::size_t zero = text.find(u'\0');
        if (zero == WideView::npos) return out;
        out += '\0';
        text.remove_prefix(zero + 1);
    }
}

std::string printable(WideView text) {
    std::string out;
    for (;;) {
        const auto control = std::ranges::find_if(text, isControl);
        const auto plain = static_cast<std::size_t>(control - text.begin());
        out += wideToUtf8(text.substr(0, plain));
        if (control == text.end()) return out;
        out += escaped(*control);
        text.remove_prefix(plain + 1);
    }
}

std::string printable(std::string_view utf8) {
    return printable(utf8ToWide(utf8));
}

std::string inQuotes(WideView text) {
    return '"' + printable(text) + '"';
}

std::size_t displayWidth(std::string_view utf8) {
    const WideString text = utf8ToWide(utf8);
    std::size_t width = 0;
    for (std::size_t i = 0; i < text.size();)
        width += columnsOf(codeAt(text, i));
    return width;
}

std::string padRight(std::string_view utf8, std::size_t width) {
    const std::size_t used = displayWidth(utf8);
    return std::string(utf8) + std::string(width > used ? width - used : 0, ' ');
}

std::string padLeft(std::string_view utf8, std::size_t width) {
    const std::size_t used = displayWidth(utf8);
    return std::string(width > used ? width - used : 0, ' ') + std::string(utf8);
}

std::string counted(std::uint64_t count, std::string_view one, std::string_view many) {
    return std::to_string(count) + ' ' + std::string(count == 1 ? one : many);
}

std::string errorLine(std::string_view program, std::string_view subject, std::string_view reason) {
    return std::string(program) + ": " + printable(subject) + ": " + printable(reason) + '\n';
}

std::string atByte(std::uint64_t offset, std::string_view reason) {
    return "at byte " + std::to_string(offset) + ": " + std::string(reason);
}

}  // namespace q7tools

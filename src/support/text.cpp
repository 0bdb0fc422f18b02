#include "support/text.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

bool isHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendUtf8(std::string& out, char32_t code) {
    const auto continuation = [code](int shift) {
        return static_cast<char>(0x80 | ((code >> shift) & 0x3F));
    };
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += continuation(0);
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += continuation(6);
        out += continuation(0);
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += continuation(12);
        out += continuation(6);
        out += continuation(0);
    }
}

void appendUtf16(WideString& out, char32_t code) {
    if (code < 0x10000) {
        out += static_cast<char16_t>(code);
        return;
    }
    code -= 0x10000;
    out += static_cast<char16_t>(0xD800 + (code >> 10));
    out += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
}

// What a UTF-8 lead byte announces: how many bytes follow, and the range of the first of them,
// which is what keeps out overlong forms, surrogates and codes above U+10FFFF.
struct Lead {
    int following;
    unsigned char low;
    unsigned char high;
};

Lead leadOf(unsigned char byte) {
    if (byte >= 0xC2 && byte <= 0xDF) return {1, 0x80, 0xBF};
    if (byte == 0xE0) return {2, 0xA0, 0xBF};
    if (byte == 0xED) return {2, 0x80, 0x9F};
    if (byte >= 0xE1 && byte <= 0xEF) return {2, 0x80, 0xBF};
    if (byte == 0xF0) return {3, 0x90, 0xBF};
    if (byte >= 0xF1 && byte <= 0xF3) return {3, 0x80, 0xBF};
    if (byte == 0xF4) return {3, 0x80, 0x8F};
    return {0, 0, 0};
}

}  // namespace

std::string wideToUtf8(WideView text) {
    text = text.substr(0, text.find(u'\0'));
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (isHighSurrogate(unit) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
            ++i;
            appendUtf8(out, 0x10000 + ((unit - 0xD800U) << 10) + (text[i] - 0xDC00U));
        } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
            appendUtf8(out, replacementCharacter);
        } else {
            appendUtf8(out, unit);
        }
    }
    return out;
}

WideString utf8ToWide(std::string_view text) {
    WideString out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        const auto first = static_cast<unsigned char>(text[i++]);
        if (first < 0x80) {
            out += static_cast<char16_t>(first);
            continue;
        }
        Lead lead = leadOf(first);
        char32_t code = first & (0x3FU >> lead.following);
        int missing = lead.following;
        while (missing > 0 && i < text.size()) {
            const auto byte = static_cast<unsigned char>(text[i]);
            if (byte < lead.low || byte > lead.high) break;
            code = (code << 6) | (byte & 0x3FU);
            lead.low = 0x80;
            lead.high = 0xBF;
            --missing;
            ++i;
        }
        const bool valid = lead.following > 0 && missing == 0;
        appendUtf16(out, valid ? code : replacementCharacter);
    }
    return out;
}

WideString replaceUnit(WideView text, char16_t from, char16_t to) {
    WideString out(text);
    std::replace(out.begin(), out.end(), from, to);
    return out;
}

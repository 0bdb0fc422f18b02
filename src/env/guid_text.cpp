#include "env/guid_text.h"

#include "platform/guid.h"

std::string newGuidText() {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    if (const auto guid = platform::newGuid()) {
        for (const std::uint8_t byte : *guid) {
            text += digits[byte >> 4];
            text += digits[byte & 0xF];
        }
    }
    return text;
}

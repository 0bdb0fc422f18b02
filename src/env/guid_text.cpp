#include "env/guid_text.h"

std::string newGuidText() {
    return guidText(platform::newGuid());
}

std::string guidText(const std::optional<platform::Guid>& guid) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    if (guid) {
        for (const std::uint8_t byte : *guid) {
            text += digits[byte >> 4];
            text += digits[byte & 0xF];
        }
    }
    return text;
}

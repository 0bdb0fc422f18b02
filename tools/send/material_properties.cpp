#include "send/material_properties.h"

#include <algorithm>
#include <cmath>

namespace q7send {

namespace {

void appendHexByte(WideString& text, float value) {
    constexpr char16_t digits[] = u"0123456789ABCDEF";
    const float fraction = std::isnan(value) ? 0.0F : std::clamp(value, 0.0F, 1.0F);
    const auto byte = static_cast<unsigned>(std::lround(fraction * 255.0F));
    text += digits[byte / 16];
    text += digits[byte % 16];
}

}  // namespace

WideString colorText(float red, float green, float blue) {
    WideString text = u"#";
    for (const float value : {red, green, blue})
        appendHexByte(text, value);
    return text;
}

float roughnessFromShininess(float shininess) {
    return std::sqrt(2.0F / (std::max(shininess, 0.0F) + 2.0F));
}

void addFraction(SceneMaterial& material, const char16_t* name, float value) {
    if (std::isnan(value)) return;
    material.properties.push_back({name, std::clamp(value, 0.0F, 1.0F)});
}

void addText(SceneMaterial& material, const char16_t* name, WideString value) {
    material.properties.push_back({name, std::move(value)});
}

}  // namespace q7send

#include "preview/materials.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <string_view>
#include <vector>

#include "common/text_output.h"
#include "support/hash.h"

namespace q7preview {

namespace {

// In the order in which they count.
constexpr std::array<std::string_view, 6> colorNames{"basecolor", "diffusecolor", "albedocolor",
                                                     "color",     "diffuse",      "albedo"};

struct Element {
    std::string name;  // in its plain form
    WideView text;
};

std::string plainName(WideView name) {
    std::string plain;
    for (const char16_t unit : name) {
        if (unit == u'-' || unit == u'_' || unit == u' ') continue;
        const bool isCapital = unit >= u'A' && unit <= u'Z';
        const unsigned letter = isCapital ? unit + 32U : unit;
        plain += letter < 128 ? static_cast<char>(letter) : '?';
    }
    return plain;
}

// The elements that hold text alone: <name>text</name>. What else there is, sound or not, is passed
// over.
std::vector<Element> leavesOf(WideView text) {
    std::vector<Element> leaves;
    std::size_t at = text.find(u'<');
    while (at != WideView::npos) {
        const std::size_t next = text.find(u'<', at + 1);
        const std::size_t end = text.find(u'>', at + 1);
        if (next == WideView::npos || end == WideView::npos) break;
        // Attributes follow behind a blank.
        const WideView tag = text.substr(at + 1, end - at - 1);
        const WideView name = tag.substr(0, tag.find(u' '));
        if (end < next && text.substr(next + 1).starts_with(u'/') &&
            text.substr(next + 2).starts_with(name)) {
            leaves.push_back({plainName(name), text.substr(end + 1, next - end - 1)});
        }
        at = next;
    }
    return leaves;
}

WideString withoutEntities(WideView text) {
    constexpr std::pair<WideView, char16_t> entities[] = {
        {u"&amp;", u'&'}, {u"&lt;", u'<'}, {u"&gt;", u'>'}};
    WideString plain;
    while (!text.empty()) {
        const auto* entity = std::ranges::find_if(
            entities, [text](const auto& known) { return text.starts_with(known.first); });
        const bool isEntity = entity != std::end(entities);
        plain += isEntity ? entity->second : text.front();
        text.remove_prefix(isEntity ? entity->first.size() : 1);
    }
    return plain;
}

std::optional<Pixel> readColor(WideView text) {
    if (text.size() != 7 || text.front() != u'#') return std::nullopt;
    const std::string digits = q7tools::allToUtf8(text.substr(1));
    unsigned number = 0;
    const char* last = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), last, number, 16);
    if (error != std::errc() || end != last) return std::nullopt;
    return Pixel{static_cast<std::uint8_t>(number >> 16 & 0xFFU),
                 static_cast<std::uint8_t>(number >> 8 & 0xFFU),
                 static_cast<std::uint8_t>(number & 0xFFU)};
}

double readOpacity(WideView text) {
    const std::string digits = q7tools::allToUtf8(text);
    double number = 1;
    const char* last = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), last, number);
    const bool isFraction = error == std::errc() && end == last && number >= 0 && number <= 1;
    return isFraction ? number : 1;
}

bool holds(std::string_view name, std::initializer_list<std::string_view> words) {
    return std::ranges::any_of(
        words, [name](std::string_view word) { return name.find(word) != std::string_view::npos; });
}

bool isTextureName(std::string_view name) {
    return holds(name, {"base", "diffuse", "albedo", "color"}) && holds(name, {"texture", "map"});
}

bool isNeverDescribed(const std::vector<Element>& leaves) {
    return std::ranges::any_of(leaves, [](const Element& element) {
        return element.name == "name" && element.text == u"DEFAULT";
    });
}

}  // namespace

MaterialLook lookOf(WideView text) {
    MaterialLook look;
    const std::vector<Element> leaves = leavesOf(text);
    if (isNeverDescribed(leaves)) return look;
    std::size_t rank = colorNames.size();
    for (const Element& element : leaves) {
        const auto place = static_cast<std::size_t>(std::ranges::find(colorNames, element.name) -
                                                    colorNames.begin());
        const auto color = place < rank ? readColor(element.text) : std::nullopt;
        if (color) {
            rank = place;
            look.color = color;
        } else if (element.name == "opacity") {
            look.opacity = readOpacity(element.text);
        } else if (look.texture.empty() && isTextureName(element.name)) {
            look.texture = withoutEntities(element.text);
        }
    }
    return look;
}

Pixel colorOfName(WideView name) {
    // Spread over all bits: short names differ in few.
    const std::uint64_t hash = hashKey(name) * 0x9E3779B97F4A7C15;
    // Around the circle of colours, which has six parts of 256 steps.
    constexpr unsigned steps = 256;
    constexpr unsigned all = 6 * steps;
    const auto hue = static_cast<unsigned>((hash >> 32) % all);
    const unsigned rising = hue % steps;
    const unsigned falling = steps - 1 - rising;
    constexpr unsigned full = steps - 1;
    const std::array<unsigned, 3> circle[] = {{full, rising, 0}, {falling, full, 0},
                                              {0, full, rising}, {0, falling, full},
                                              {rising, 0, full}, {full, 0, falling}};
    Pixel color{};
    for (std::size_t i = 0; i < color.size(); ++i) {
        color[i] = static_cast<std::uint8_t>(110 + circle[hue / steps][i] * 100 / full);
    }
    return color;
}

}  // namespace q7preview

#include "common/material_xml.h"

#include <algorithm>
#include <array>
#include <string>

#include "common/byte_reader.h"
#include "common/text_output.h"

namespace q7tools {

namespace {

constexpr WideView openingTag = u"<Material_2>";

struct Entity {
    WideView text;
    char16_t unit;
};
constexpr std::array<Entity, 3> entities{{{u"&amp;", u'&'}, {u"&lt;", u'<'}, {u"&gt;", u'>'}}};

struct UnitRange {
    char16_t first;
    char16_t last;
};

// Surrogates stand for the codes above U+FFFF, all of which XML allows in names but for the last
// planes.
constexpr std::array<UnitRange, 15> nameStarts{{{u':', u':'},
                                                {u'A', u'Z'},
                                                {u'_', u'_'},
                                                {u'a', u'z'},
                                                {0xC0, 0xD6},
                                                {0xD8, 0xF6},
                                                {0xF8, 0x2FF},
                                                {0x370, 0x37D},
                                                {0x37F, 0x1FFF},
                                                {0x200C, 0x200D},
                                                {0x2070, 0x218F},
                                                {0x2C00, 0x2FEF},
                                                {0x3001, 0xDFFF},
                                                {0xF900, 0xFDCF},
                                                {0xFDF0, 0xFFFD}}};
constexpr std::array<UnitRange, 5> nameRests{
    {{u'-', u'.'}, {u'0', u'9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}}};

template <std::size_t size>
bool isIn(const std::array<UnitRange, size>& ranges, char16_t unit) {
    return std::ranges::any_of(
        ranges, [unit](UnitRange range) { return unit >= range.first && unit <= range.last; });
}

bool isXmlName(WideView name) {
    if (name.empty() || !isIn(nameStarts, name.front())) return false;
    return std::ranges::all_of(
        name, [](char16_t unit) { return isIn(nameStarts, unit) || isIn(nameRests, unit); });
}

class Parser {
  public:
    explicit Parser(WideView text) : text_(text) {}

    TypedMaterial parse() {
        TypedMaterial material;
        expect(openingTag);
        material.id = readFixedElement(u"id");
        material.type = readFixedElement(u"Type");
        expect(u"\n");
        while (startsWith(u"    <")) {
            material.properties.push_back(readProperty());
            expect(u"\n");
        }
        expect(u"</Material_2>\n");
        if (at_ != text_.size()) fail("the text goes on behind its last line");
        return material;
    }

  private:
    [[noreturn]] void fail(const std::string& reason) const { failAt(at_, reason); }

    [[noreturn]] static void failAt(std::size_t unit, const std::string& reason) {
        throw FormatError(unit * sizeof(char16_t), reason);
    }

    bool startsWith(WideView expected) const { return text_.substr(at_).starts_with(expected); }

    void expect(WideView expected) {
        if (!startsWith(expected)) fail("expected " + inQuotes(expected));
        at_ += expected.size();
    }

    WideString readFixedElement(const WideString& name) {
        expect(u"\n    <" + name + u">");
        WideString content = readText();
        expect(u"</" + name + u">");
        return content;
    }

    MaterialProperty readProperty() {
        expect(u"    <");
        const std::size_t nameStart = at_;
        const std::size_t nameEnd = text_.find(u'>', at_);
        if (nameEnd == WideView::npos) fail("a tag without its \">\"");
        WideView name = text_.substr(nameStart, nameEnd - nameStart);
        const bool emptyTag = name.ends_with(u'/');
        if (emptyTag) name.remove_suffix(1);
        if (!isXmlName(name)) failAt(nameStart, inQuotes(name) + " is not a legal element name");
        at_ = nameEnd + 1;

        MaterialProperty property{WideString(name), !emptyTag, {}};
        if (!emptyTag) {
            property.text = readText();
            expect(u"</" + property.element + u">");
        }
        return property;
    }

    WideString readText() {
        WideString content;
        while (at_ < text_.size() && text_[at_] != u'<') {
            if (text_[at_] == u'>') fail("a bare \">\" in an element's text");
            content += text_[at_] == u'&' ? readEntity() : text_[at_++];
        }
        return content;
    }

    char16_t readEntity() {
        const auto entity = std::ranges::find_if(
            entities, [this](const Entity& known) { return startsWith(known.text); });
        if (entity == entities.end()) fail("a bare \"&\" in an element's text");
        at_ += entity->text.size();
        return entity->unit;
    }

    WideView text_;
    std::size_t at_ = 0;
};

}  // namespace

bool isTypedMaterial(WideView xml) {
    return xml.starts_with(openingTag);
}

TypedMaterial readTypedMaterial(WideView xml) {
    return Parser(xml).parse();
}

}  // namespace q7tools

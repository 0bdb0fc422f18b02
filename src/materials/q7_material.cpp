#include "materials/q7_material.h"

#include <charconv>
#include <cmath>
#include <cstdint>

#include "materials/material_catalogue.h"
#include "materials/xml_printer.h"

namespace {

WideString widenAscii(const char* begin, const char* end) {
    return {begin, end};
}

WideString printNumber(std::int32_t number) {
    char buffer[16];
    return widenAscii(buffer, std::to_chars(buffer, std::end(buffer), number).ptr);
}

// Six significant digits, with an exponent where that is shorter, whatever the host's locale.
WideString printNumber(float number) {
    // Runtimes differ in how they spell the sign of what is not a number.
    if (std::isnan(number)) return u"nan";
    char buffer[32];
    const auto end = std::to_chars(buffer, std::end(buffer), static_cast<double>(number),
                                   std::chars_format::general, 6);
    return widenAscii(buffer, end.ptr);
}

// A pointer the way wide streams print it: all sixteen digits, in upper case.
WideString printAddress(const void* address) {
    auto bits = reinterpret_cast<std::uintptr_t>(address);
    WideString digits(16, u'0');
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, bits >>= 4) {
        *digit = u"0123456789ABCDEF"[bits & 0xF];
    }
    return digits;
}

// Receivers have always got the addresses of several elements, not their values. No export can make
// such a property.
template <class Number>
WideString printNumbers(const EntityProperty& property) {
    if (property.elementCount() == 1) return printNumber(property.elements<Number>().front());
    WideString text;
    for (std::size_t i = 0; i < property.elementCount(); ++i) {
        text += printAddress(property.value.data() + i * sizeof(Number));
        text += u',';
    }
    return text;
}

void pushValue(XMLPrinter& printer, const EntityProperty& property) {
    switch (property.type) {
        case PropertyType::Int:
            return printer.PushText(printNumbers<std::int32_t>(property));
        case PropertyType::Float:
            return printer.PushText(printNumbers<float>(property));
        case PropertyType::Text:
            return printer.PushText(property.text());
        case PropertyType::Double:
        case PropertyType::None:
            break;
    }
}

WideString elementNameOf(const EntityProperty& property) {
    WideString name;
    for (const char16_t unit : property.name) {
        if (unit == u' ') {
            name += u"--";
        } else {
            name += unit;
        }
    }
    return name;
}

}  // namespace

WideString Q7Material::toXml() const {
    XMLPrinter printer;
    printer.OpenElement(u"Material_2");
    printer.OpenElement(u"id");
    printer.PushText(id);
    printer.CloseElement();
    printer.OpenElement(u"Type");
    printer.PushText(cataloguePath(type));
    printer.CloseElement();
    for (const auto& [key, property] : properties) {
        const WideString name = elementNameOf(property);
        printer.OpenElement(name);
        pushValue(printer, property);
        printer.CloseElement();
    }
    printer.CloseElement();
    return printer.CStr();
}

Q7Material* findQ7Material(const Model& model, WideView name) {
    return dynamic_cast<Q7Material*>(model.findMaterial(name));
}

// Here and not with the other operations of the model, which knows no kind of material but its own.
Q7Material* Model::addQ7Material(WideView name) {
    if (materials.contains(name)) return nullptr;
    auto material = std::make_shared<Q7Material>(name);
    Q7Material* const added = material.get();
    materials.tryEmplace(name, std::move(material));
    return added;
}

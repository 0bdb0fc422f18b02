#include "entities/entity.h"

#include <cstring>

#include "support/hash.h"

namespace {

std::size_t elementSize(PropertyType type) {
    switch (type) {
        case PropertyType::Int:
        case PropertyType::Float:
            return 4;
        case PropertyType::Double:
            return 8;
        case PropertyType::Text:
            return 2;
        case PropertyType::None:
            break;
    }
    return 0;
}

template <class Number, class Written>
Json numbersToJson(const EntityProperty& property) {
    const std::vector<Number> numbers = property.elements<Number>();
    if (numbers.size() == 1) return static_cast<Written>(numbers.front());
    Json array = Json::array();
    for (const Number number : numbers)
        array.push_back(static_cast<Written>(number));
    return array;
}

// Writes nothing for a property that has no value to show.
void writeProperty(Json& object, const EntityProperty& property) {
    if (property.type != PropertyType::Text && property.elementCount() == 0) return;
    const std::string key = wideToUtf8(property.name);
    switch (property.type) {
        case PropertyType::Int:
            object[key] = numbersToJson<std::int32_t, std::int32_t>(property);
            break;
        case PropertyType::Float:
            object[key] = numbersToJson<float, double>(property);
            break;
        case PropertyType::Double:
            object[key] = numbersToJson<double, double>(property);
            break;
        case PropertyType::Text:
            object[key] = wideToUtf8(property.text());
            break;
        case PropertyType::None:
            break;
    }
}

}  // namespace

std::size_t EntityProperty::elementCount() const {
    const std::size_t size = elementSize(type);
    return size == 0 ? 0 : value.size() / size;
}

template <class Number>
std::vector<Number> EntityProperty::elements() const {
    std::vector<Number> numbers(value.size() / sizeof(Number));
    if (!numbers.empty())
        std::memcpy(numbers.data(), value.data(), numbers.size() * sizeof(Number));
    return numbers;
}
template std::vector<std::int32_t> EntityProperty::elements<std::int32_t>() const;
template std::vector<float> EntityProperty::elements<float>() const;
template std::vector<double> EntityProperty::elements<double>() const;
template std::vector<char16_t> EntityProperty::elements<char16_t>() const;

WideString EntityProperty::text() const {
    const std::vector<char16_t> units = elements<char16_t>();
    const WideView all(units.data(), units.size());
    return WideString(all.substr(0, all.find(u'\0')));
}

void Q7Entity::set(WideView name, PropertyType type, std::span<const std::byte> value) {
    std::vector<std::byte> copy(value.begin(), value.end());
    auto [property, added] =
        properties.tryEmplace(hashKey(name), EntityProperty{type, WideString(name), {}});
    property.type = type;
    property.value = std::move(copy);
}

void Q7Entity::setInts(WideView name, std::span<const std::int32_t> values) {
    set(name, PropertyType::Int, std::as_bytes(values));
}

void Q7Entity::setFloats(WideView name, std::span<const float> values) {
    set(name, PropertyType::Float, std::as_bytes(values));
}

void Q7Entity::setDoubles(WideView name, std::span<const double> values) {
    set(name, PropertyType::Double, std::as_bytes(values));
}

void Q7Entity::setText(WideView name, const WideString& text) {
    const std::span<const char16_t> withTerminator(text.c_str(), text.size() + 1);
    set(name, PropertyType::Text, std::as_bytes(withTerminator));
}

void Q7Entity::remove(WideView name) {
    properties.erase(hashKey(name));
}

void Q7Entity::clear() {
    properties.clear();
}

Json Q7Entity::toJson() const {
    Json object;
    for (const auto& [key, property] : properties)
        writeProperty(object, property);
    if (!modelFilePath.empty()) object["model_file_path"] = wideToUtf8(modelFilePath);
    return object;
}

// The free-form record: named, typed values that a plug-in fills without the library knowing what
// they mean. Cameras, metadata and typed materials are such records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "support/hash_map.h"
#include "support/json.h"
#include "support/text.h"

enum class PropertyType : std::uint32_t { None = 0, Int = 1, Float = 2, Double = 3, Text = 4 };

struct EntityProperty {
    PropertyType type = PropertyType::None;
    WideString name;
    // The elements one after the other as they lie in memory: 32-bit integers, 32-bit floats,
    // 64-bit floats or UTF-16 code units. A text ends in a zero unit.
    std::vector<std::byte> value;

    std::size_t elementCount() const;
    // The elements as the numbers they are; Number must be what the type says.
    template <class Number>
    std::vector<Number> elements() const;
    // A text up to its first zero.
    WideString text() const;
};

class Q7Entity {
  public:
    // A name is known by its 64-bit hash alone: of two names that hash alike, the first stays.
    HashMap<std::uint64_t, EntityProperty> properties;
    WideString modelFilePath;

    void set(WideView name, PropertyType type, std::span<const std::byte> value);
    void setInts(WideView name, std::span<const std::int32_t> values);
    void setFloats(WideView name, std::span<const float> values);
    void setDoubles(WideView name, std::span<const double> values);
    void setText(WideView name, const WideString& text);
    void remove(WideView name);
    // Removes the properties; modelFilePath stays.
    void clear();

    // One member per property that has a value; one element is a plain value, more are an array.
    // Null when there is nothing to write.
    Json toJson() const;
};

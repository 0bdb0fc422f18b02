// From a host's arguments to the library's own types.
#pragma once

#include <span>

#include "api/q7plugin.h"
#include "api/session.h"
#include "model/max_adapter.h"
#include "support/errors.h"
#include "support/text.h"

inline Session& sessionOf(void* handle) {
    return *static_cast<Session*>(handle);
}

inline SessionCore& coreOf(void* handle) {
    return *sessionOf(handle).core;
}

// An owned copy, unit by unit: the host's character type is another one on Windows.
inline WideString toWide(const Q7Char* text) {
    WideString copy;
    for (; *text != 0; ++text)
        copy += static_cast<char16_t>(*text);
    return copy;
}

// The text and its terminator, into a buffer that has the room.
inline void copyOut(WideView text, Q7Char* buffer) {
    for (const char16_t unit : text)
        *buffer++ = static_cast<Q7Char>(unit);
    *buffer = 0;
}

// A null array is an empty one whatever its count. Throws std::length_error "vector too long" when
// the count is negative.
template <class Element>
std::span<const Element> hostArray(const Element* elements, int count) {
    if (!elements) return {};
    if (count < 0) throwVectorTooLong();
    return {elements, static_cast<std::size_t>(count)};
}

inline AxisOrder toAxisOrder(CoordOrder order) {
    return static_cast<AxisOrder>(order);
}

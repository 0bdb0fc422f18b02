// Large arrays of numbers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "support/errors.h"

// Leaves new elements as memory holds them: writing zeroes that are overwritten at once would touch
// fresh memory twice, which costs more than filling it.
template <class Number>
struct UninitializedAllocator : std::allocator<Number> {
    template <class Other>
    struct rebind {
        using other = UninitializedAllocator<Other>;
    };

    template <class Other>
    void construct(Other* place) {
        ::new (static_cast<void*>(place)) Other;
    }
    template <class Other, class... Arguments>
    void construct(Other* place, Arguments&&... arguments) {
        ::new (static_cast<void*>(place)) Other(std::forward<Arguments>(arguments)...);
    }
};

// A std::vector whose resize leaves the new elements without a value.
template <class Number>
using Array = std::vector<Number, UninitializedAllocator<Number>>;

// Makes room for more elements, so that adding them cannot fail; the room at least doubles when it
// grows. Throws std::length_error "vector too long".
template <class Number>
void growFor(Array<Number>& array, std::size_t more) {
    if (more > array.max_size() - array.size()) throwVectorTooLong();
    const std::size_t needed = array.size() + more;
    if (needed <= array.capacity()) return;
    const std::size_t doubled =
        array.capacity() + std::min(array.capacity(), array.max_size() - array.capacity());
    array.reserve(std::max(needed, doubled));
}

// Appends a copy of the numbers.
template <class Number>
void append(Array<Number>& array, const Number* numbers, std::size_t count) {
    if (count == 0) return;
    growFor(array, count);
    const std::size_t before = array.size();
    array.resize(before + count);
    std::memcpy(array.data() + before, numbers, count * sizeof(Number));
}

// A copy of a host's array. Throws std::length_error "vector too long" for a negative count.
template <class Number>
Array<Number> copyArray(const Number* numbers, std::ptrdiff_t count) {
    if (count < 0) throwVectorTooLong();
    Array<Number> copy;
    append(copy, numbers, static_cast<std::size_t>(count));
    return copy;
}

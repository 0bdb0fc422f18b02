// Large arrays of numbers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include "support/errors.h"

// What the library needs of std::vector, for numbers, with two differences that decide how fast
// geometry is taken in. Growing hands the memory to realloc, which moves large blocks by moving their
// pages, where std::vector copies them into fresh memory. And resize leaves new elements without a
// value: zeroes that are overwritten at once would touch fresh memory twice.
template <class Number>
class Array {
    static_assert(std::is_arithmetic_v<Number>);

  public:
    using value_type = Number;

    Array() = default;
    // The elements have no value yet.
    explicit Array(std::size_t count) { resize(count); }
    Array(std::size_t count, Number value) { resize(count, value); }
    Array(std::initializer_list<Number> numbers) : Array(numbers.begin(), numbers.size()) {}
    Array(const Number* numbers, std::size_t count) : Array(count) {
        if (count != 0) std::memcpy(data_, numbers, count * sizeof(Number));
    }
    Array(const Array& other) : Array(other.data_, other.size_) {}
    Array(Array&& other) noexcept { swap(other); }
    Array& operator=(Array other) noexcept {
        swap(other);
        return *this;
    }
    ~Array() { std::free(data_); }

    Number* data() { return data_; }
    const Number* data() const { return data_; }
    std::size_t size() const { return size_; }
    std::size_t capacity() const { return capacity_; }
    static constexpr std::size_t max_size() {
        return std::numeric_limits<std::ptrdiff_t>::max() / sizeof(Number);
    }
    bool empty() const { return size_ == 0; }
    Number& operator[](std::size_t i) { return data_[i]; }
    const Number& operator[](std::size_t i) const { return data_[i]; }
    Number* begin() { return data_; }
    Number* end() { return data_ + size_; }
    const Number* begin() const { return data_; }
    const Number* end() const { return data_ + size_; }

    // Throws std::length_error "vector too long", or std::bad_alloc with nothing changed.
    void reserve(std::size_t count) {
        if (count > max_size()) throwVectorTooLong();
        if (count > capacity_) reallocate(count);
    }
    void resize(std::size_t count) {
        reserve(count);
        size_ = count;
    }
    void resize(std::size_t count, Number value) {
        const std::size_t before = size_;
        resize(count);
        if (count > before) std::fill(data_ + before, data_ + count, value);
    }
    void clear() { size_ = 0; }
    // Only a wish: the memory stays where giving it back fails.
    void shrink_to_fit() {
        if (size_ == 0) {
            std::free(std::exchange(data_, nullptr));
            capacity_ = 0;
        } else if (void* const moved = std::realloc(data_, size_ * sizeof(Number))) {
            data_ = static_cast<Number*>(moved);
            capacity_ = size_;
        }
    }
    void swap(Array& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }

    friend bool operator==(const Array& a, const Array& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

  private:
    void reallocate(std::size_t count) {
        void* const moved = std::realloc(data_, count * sizeof(Number));
        if (moved == nullptr) throw std::bad_alloc();
        data_ = static_cast<Number*>(moved);
        capacity_ = count;
    }

    Number* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

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

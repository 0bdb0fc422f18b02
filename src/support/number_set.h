// Set of 64-bit numbers, such as handles.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// Open addressing in one array: with an entry of its own for each number, marking a million instances
// took twice as long, most of it in the allocator.
class NumberSet {
  public:
    NumberSet() = default;
    NumberSet(const NumberSet&) = default;
    NumberSet(NumberSet&& other) noexcept { swap(other); }
    NumberSet& operator=(NumberSet other) noexcept {
        swap(other);
        return *this;
    }
    ~NumberSet() = default;

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }

    bool contains(std::uint64_t number) const {
        if (number == free) return hasFree_;
        return !slots_.empty() && slots_[slotOf(number)] == number;
    }

    // Whether it was not in the set before.
    bool insert(std::uint64_t number) {
        if (contains(number)) return false;
        if (number == free) {
            hasFree_ = true;
        } else {
            growForOneMore();
            slots_[slotOf(number)] = number;
        }
        ++size_;
        return true;
    }

    void clear() noexcept { *this = NumberSet(); }

  private:
    static constexpr std::uint64_t free = 0;
    static constexpr std::size_t startSlots = 16;

    void swap(NumberSet& other) noexcept {
        slots_.swap(other.slots_);
        std::swap(size_, other.size_);
        std::swap(hasFree_, other.hasFree_);
    }

    // Where the number is or would be.
    std::size_t slotOf(std::uint64_t number) const {
        const std::size_t mask = slots_.size() - 1;
        // The high bits of the product depend on all bits of the number.
        const std::uint64_t product = number * 0x9E3779B97F4A7C15U;
        auto slot = static_cast<std::size_t>(product >> (64 - std::countr_zero(slots_.size())));
        while (slots_[slot] != free && slots_[slot] != number)
            slot = (slot + 1) & mask;
        return slot;
    }

    // Half of the slots stay free.
    void growForOneMore() {
        if (2 * (size_ + 1) <= slots_.size()) return;
        const std::size_t slots = slots_.empty() ? startSlots : 2 * slots_.size();
        const std::vector<std::uint64_t> before =
            std::exchange(slots_, std::vector<std::uint64_t>(slots, free));
        for (const std::uint64_t number : before) {
            if (number != free) slots_[slotOf(number)] = number;
        }
    }

    // The number of slots is always a power of two.
    std::vector<std::uint64_t> slots_;
    std::size_t size_ = 0;
    bool hasFree_ = false;
};

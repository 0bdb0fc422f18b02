// The corners of a mesh, as indices of its vertices.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <utility>

#include "support/array.h"

// Most meshes are handed over without indices, and theirs are then 0, 1, 2 and so on. Such a running
// list is known by its length alone: it takes no memory, and ending a node does not wait for it to be
// filled in.
class IndexList {
  public:
    using Index = std::int32_t;

    IndexList() = default;
    IndexList(const IndexList&) = default;
    IndexList(IndexList&& other) noexcept { swap(other); }
    IndexList& operator=(IndexList other) noexcept {
        swap(other);
        return *this;
    }
    ~IndexList() = default;
    IndexList(Array<Index> indices) : given_(std::move(indices)) {}
    IndexList(std::initializer_list<Index> indices) : given_(indices) {}
    // 0 to count - 1; beyond the range of Index they wrap round.
    static IndexList running(std::size_t count) {
        IndexList list;
        list.running_ = count;
        return list;
    }

    std::size_t size() const { return running_ + given_.size(); }
    bool empty() const { return size() == 0; }
    Index operator[](std::size_t i) const {
        return running_ != 0 ? static_cast<Index>(i) : given_[i];
    }

    // Calls take(const Index* indices, std::size_t count) for pieces that together make up the list; an
    // empty list is one empty piece.
    template <class Take>
    void forEachPiece(Take take) const {
        if (running_ == 0) return take(given_.data(), given_.size());
        // Small enough to stay in the processor's nearest cache, and on a small stack.
        std::array<Index, 2048> piece;
        for (std::size_t first = 0; first < running_; first += piece.size()) {
            const std::size_t count = std::min(piece.size(), running_ - first);
            for (std::size_t i = 0; i < count; ++i)
                piece[i] = static_cast<Index>(first + i);
            take(piece.data(), count);
        }
    }

    // These two turn a running list into an empty one first.
    void makeRoomFor(std::size_t more) {
        growFor(given_, more);
        running_ = 0;
    }
    void add(const Index* indices, std::size_t count) {
        append(given_, indices, count);
        running_ = 0;
    }

    friend bool operator==(const IndexList& a, const IndexList& b) {
        if (a.size() != b.size()) return false;
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (a[i] != b[i]) return false;
        }
        return true;
    }

  private:
    void swap(IndexList& other) noexcept {
        std::swap(running_, other.running_);
        given_.swap(other.given_);
    }

    // Of the two, one at most holds something.
    std::size_t running_ = 0;
    Array<Index> given_;
};

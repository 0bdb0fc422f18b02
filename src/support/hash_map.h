// Hash table that is walked in the order of insertion.
//
// The order is part of what the library writes: with a table of the standard library the same calls
// would give other bytes on each of them. Entries stay where they are until they are erased.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/errors.h"
#include "support/hash.h"

template <class Key, class Value,
          std::size_t maximumSize = std::numeric_limits<std::ptrdiff_t>::max()>
class HashMap {
    struct Node;

  public:
    using Entry = std::pair<const Key, Value>;
    // What a key is looked up by: text need not be owned for that.
    using Lookup = std::conditional_t<std::is_same_v<Key, WideString>, WideView, Key>;

    template <bool isConst>
    class Iterator {
      public:
        using NodePointer = std::conditional_t<isConst, const Node*, Node*>;
        using EntryType = std::conditional_t<isConst, const Entry, Entry>;
        explicit Iterator(NodePointer node) : node_(node) {}
        EntryType& operator*() const { return node_->entry; }
        EntryType* operator->() const { return &node_->entry; }
        Iterator& operator++() {
            node_ = node_->after;
            return *this;
        }
        bool operator==(const Iterator& other) const = default;

      private:
        NodePointer node_;
    };

    HashMap() = default;
    HashMap(const HashMap& other) : HashMap() {
        for (const auto& [key, value] : other)
            tryEmplace(key, value);
    }
    HashMap(HashMap&& other) noexcept { swap(other); }
    HashMap& operator=(HashMap other) noexcept {
        swap(other);
        return *this;
    }
    ~HashMap() { clear(); }

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    Iterator<false> begin() { return Iterator<false>(first_); }
    Iterator<false> end() { return Iterator<false>(nullptr); }
    Iterator<true> begin() const { return Iterator<true>(first_); }
    Iterator<true> end() const { return Iterator<true>(nullptr); }

    bool contains(Lookup key) const { return findNode(key, hashKey(key)) != nullptr; }

    // The value under the key, or null.
    Value* find(Lookup key) {
        Node* const node = findNode(key, hashKey(key));
        return node ? &node->entry.second : nullptr;
    }
    const Value* find(Lookup key) const { return const_cast<HashMap*>(this)->find(key); }

    // The value under the key. Throws std::out_of_range "invalid unordered_map<K, T> key".
    Value& at(Lookup key) {
        if (Value* const value = find(key)) return *value;
        throwInvalidKey();
    }

    // The value under the key, made from the arguments at the end of the order if there is none,
    // and whether it was made. Throws std::length_error "unordered_map/set too long" on a full
    // table.
    template <class... Arguments>
    std::pair<Value&, bool> tryEmplace(Lookup key, Arguments&&... arguments) {
        const std::uint64_t hash = hashKey(key);
        if (Node* const found = findNode(key, hash)) return {found->entry.second, false};
        if (size_ >= maximumSize) throwTableTooLong();
        auto node = std::make_unique<Node>(hash, Key(key), std::forward<Arguments>(arguments)...);
        growForOneMore();
        Node* const added = node.release();
        linkIntoBucket(added);
        added->before = last_;
        (last_ ? last_->after : first_) = added;
        last_ = added;
        ++size_;
        return {added->entry.second, true};
    }

    Value& operator[](Lookup key) { return tryEmplace(key).first; }

    bool erase(Lookup key) {
        Node* const node = findNode(key, hashKey(key));
        if (node) eraseNode(node);
        return node != nullptr;
    }

    template <class Predicate>
    void eraseIf(Predicate predicate) {
        for (Node* node = first_; node;) {
            Node* const after = node->after;
            if (predicate(node->entry)) eraseNode(node);
            node = after;
        }
    }

    void clear() noexcept {
        for (Node* node = first_; node;)
            delete std::exchange(node, node->after);
        buckets_ = {};
        first_ = last_ = nullptr;
        size_ = 0;
    }

    void swap(HashMap& other) noexcept {
        buckets_.swap(other.buckets_);
        std::swap(first_, other.first_);
        std::swap(last_, other.last_);
        std::swap(size_, other.size_);
    }

    // The most entries that share a bucket: how long a search may take.
    std::size_t longestBucket() const {
        std::size_t longest = 0;
        for (const Node* bucket : buckets_) {
            std::size_t length = 0;
            for (const Node* node = bucket; node; node = node->nextInBucket)
                ++length;
            longest = std::max(longest, length);
        }
        return longest;
    }

  private:
    static constexpr std::size_t startBuckets = 8;

    struct Node {
        template <class... Arguments>
        Node(std::uint64_t hashOfKey, Key key, Arguments&&... arguments)
            : entry(std::piecewise_construct, std::forward_as_tuple(std::move(key)),
                    std::forward_as_tuple(std::forward<Arguments>(arguments)...)),
              hash(hashOfKey) {}

        Entry entry;
        std::uint64_t hash;
        Node* nextInBucket = nullptr;
        Node* before = nullptr;
        Node* after = nullptr;
    };

    // The number of buckets is always a power of two. The low bits of a hash come from the low bits of
    // the text alone, so that names alike in them are quickly made; the high bits of the product
    // depend on all.
    Node*& bucketOf(std::uint64_t hash) {
        const int bits = std::countr_zero(buckets_.size());
        return buckets_[(hash * 0x9E3779B97F4A7C15U) >> (64 - bits)];
    }

    Node* findNode(const Lookup& key, std::uint64_t hash) const {
        if (buckets_.empty()) return nullptr;
        Node* node = const_cast<HashMap*>(this)->bucketOf(hash);
        while (node && !(node->hash == hash && node->entry.first == key))
            node = node->nextInBucket;
        return node;
    }

    void linkIntoBucket(Node* node) {
        Node*& bucket = bucketOf(node->hash);
        node->nextInBucket = bucket;
        bucket = node;
    }

    // At most one entry per bucket on average.
    void growForOneMore() {
        if (size_ < buckets_.size()) return;
        std::vector<Node*> larger(buckets_.empty() ? startBuckets : buckets_.size() * 2);
        buckets_.swap(larger);
        for (Node* node = first_; node; node = node->after)
            linkIntoBucket(node);
    }

    void eraseNode(Node* node) {
        Node** link = &bucketOf(node->hash);
        while (*link != node)
            link = &(*link)->nextInBucket;
        *link = node->nextInBucket;
        (node->before ? node->before->after : first_) = node->after;
        (node->after ? node->after->before : last_) = node->before;
        --size_;
        delete node;
    }

    std::vector<Node*> buckets_;
    Node* first_ = nullptr;
    Node* last_ = nullptr;
    std::size_t size_ = 0;
};

// The keys alone, in the order of insertion.
template <class Key>
class HashSet {
  public:
    std::size_t size() const { return keys_.size(); }
    bool empty() const { return keys_.empty(); }
    bool contains(const Key& key) const { return keys_.contains(key); }
    bool insert(const Key& key) { return keys_.tryEmplace(key).second; }
    void clear() noexcept { keys_.clear(); }

  private:
    struct Nothing {};
    HashMap<Key, Nothing> keys_;
};

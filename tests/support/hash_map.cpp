#include "support/hash_map.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using Table = HashMap<WideString, int>;

std::vector<WideString> keysOf(const Table& table) {
    std::vector<WideString> keys;
    for (const auto& [key, value] : table)
        keys.push_back(key);
    return keys;
}

// Names whose hashes have the same low bits: each of their parts is one of two that lead from the same
// low bits to the same low bits.
std::vector<WideString> namesWithTheSameLowBits(std::size_t parts) {
    constexpr std::uint64_t lowBits = (1U << 24U) - 1;
    std::vector<WideString> names = {u""};
    for (std::size_t part = 0; part < parts; ++part) {
        std::map<std::uint64_t, WideString> seen;
        WideString one;
        WideString other;
        for (std::uint32_t i = 1; one.empty(); ++i) {
            // Any texts that differ in more than 24 bits.
            const WideString tried = {static_cast<char16_t>(i),
                                      static_cast<char16_t>((i * 2654435761U) >> 16U)};
            const auto [at, added] = seen.emplace(hashKey(names.front() + tried) & lowBits, tried);
            if (!added) std::tie(one, other) = std::tie(at->second, tried);
        }
        std::vector<WideString> longer;
        for (const WideString& name : names) {
            longer.push_back(name + one);
            longer.push_back(name + other);
        }
        names = std::move(longer);
    }
    return names;
}

}  // namespace

TEST(HashMap, AMillionNamesWithTheSameLowBitsAreSpread) {
    const std::vector<WideString> names = namesWithTheSameLowBits(20);
    ASSERT_EQ(names.size(), 1U << 20U);
    EXPECT_EQ(hashKey(names.front()) & 0xFFFFFFU, hashKey(names.back()) & 0xFFFFFFU);
    Table table;
    for (const WideString& name : names)
        table.tryEmplace(name, 1);
    EXPECT_EQ(table.size(), names.size());
    EXPECT_LT(table.longestBucket(), 20U);
}

TEST(HashMap, FindsWhatWasAddedAndNothingElse) {
    Table table;
    EXPECT_EQ(table.find(u"a"), nullptr);
    table[u"a"] = 1;
    table[u"b"] = 2;
    EXPECT_EQ(*table.find(u"a"), 1);
    EXPECT_EQ(table.at(u"b"), 2);
    EXPECT_FALSE(table.contains(u"c"));
    EXPECT_EQ(table.size(), 2U);
}

TEST(HashMap, AddingAgainKeepsTheFirstValue) {
    Table table;
    EXPECT_TRUE(table.tryEmplace(u"a", 1).second);
    const auto [value, added] = table.tryEmplace(u"a", 2);
    EXPECT_FALSE(added);
    EXPECT_EQ(value, 1);
}

TEST(HashMap, AtThrowsForAnUnknownKey) {
    Table table;
    table[u"a"] = 1;
    try {
        table.at(u"b");
        FAIL();
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), "invalid unordered_map<K, T> key");
    }
}

TEST(HashMap, ThrowsWhenItIsFull) {
    HashMap<std::uint64_t, int, 2> table;
    table[1] = 1;
    table[2] = 2;
    EXPECT_EQ(table[1], 1);
    try {
        table[3] = 3;
        FAIL();
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "unordered_map/set too long");
    }
    EXPECT_EQ(table.size(), 2U);
}

TEST(HashMap, IsWalkedInTheOrderOfInsertion) {
    Table table;
    std::vector<WideString> expected;
    for (int i = 0; i < 100; ++i) {
        const std::string digits = std::to_string(i * 7919 % 100);
        expected.emplace_back(digits.begin(), digits.end());
        table[expected.back()] = i;
    }
    EXPECT_EQ(keysOf(table), expected);
    table.erase(expected[0]);
    table.erase(expected[50]);
    table.erase(expected[99]);
    table[expected[50]] = 1;
    expected.push_back(expected[50]);
    expected.erase(expected.begin() + 99);
    expected.erase(expected.begin() + 50);
    expected.erase(expected.begin());
    EXPECT_EQ(keysOf(table), expected);
}

TEST(HashMap, EntriesStayWhereTheyAre) {
    HashMap<std::uint64_t, int> table;
    const int* const first = &table.tryEmplace(0, 7).first;
    for (std::uint64_t i = 1; i < 1000; ++i)
        table[i] = 0;
    EXPECT_EQ(table.find(0), first);
}

TEST(HashMap, CopiesHoldTheSameInTheSameOrder) {
    Table table;
    for (const auto* key : {u"z", u"a", u"m"})
        table[key] = static_cast<int>(table.size());
    Table copy = table;
    copy[u"a"] = 50;
    EXPECT_EQ(keysOf(copy), keysOf(table));
    EXPECT_EQ(table.at(u"a"), 1);
    copy = Table();
    EXPECT_TRUE(copy.empty());
    const Table moved = std::move(table);
    EXPECT_EQ(moved.size(), 3U);
}

TEST(HashMap, EraseIfAndClear) {
    HashMap<std::uint64_t, std::uint64_t> table;
    for (std::uint64_t i = 0; i < 20; ++i)
        table[i] = i;
    table.eraseIf([](const auto& entry) { return entry.second % 2 == 1; });
    EXPECT_EQ(table.size(), 10U);
    EXPECT_FALSE(table.contains(7));
    EXPECT_TRUE(table.contains(8));
    table.clear();
    EXPECT_TRUE(table.empty());
    EXPECT_FALSE(table.contains(8));
    EXPECT_EQ(table.begin(), table.end());
    table[8] = 1;
    EXPECT_EQ(table.size(), 1U);
}

TEST(HashMap, AgreesWithAnOrderedMapOverManyOperations) {
    std::mt19937 random(1);
    HashMap<std::uint64_t, std::shared_ptr<int>> table;
    std::map<std::uint64_t, int> reference;
    for (int step = 0; step < 20000; ++step) {
        const std::uint64_t key = random() % 500;
        if (random() % 3 == 0) {
            EXPECT_EQ(table.erase(key), reference.erase(key) == 1);
        } else {
            table[key] = std::make_shared<int>(step);
            reference[key] = step;
        }
    }
    ASSERT_EQ(table.size(), reference.size());
    for (const auto& [key, value] : reference)
        EXPECT_EQ(**table.find(key), value);
}

TEST(HashSet, HoldsEachKeyOnce) {
    HashSet<std::uint64_t> set;
    EXPECT_TRUE(set.insert(5));
    EXPECT_FALSE(set.insert(5));
    EXPECT_TRUE(set.contains(5));
    EXPECT_EQ(set.size(), 1U);
    set.clear();
    EXPECT_TRUE(set.empty());
    EXPECT_FALSE(set.contains(5));
}

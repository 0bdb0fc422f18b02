#include "support/number_set.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <utility>

TEST(NumberSet, HoldsEachNumberOnce) {
    NumberSet set;
    EXPECT_TRUE(set.empty());
    EXPECT_FALSE(set.contains(7));
    EXPECT_TRUE(set.insert(7));
    EXPECT_FALSE(set.insert(7));
    EXPECT_TRUE(set.contains(7));
    EXPECT_FALSE(set.contains(8));
    EXPECT_EQ(set.size(), 1U);
    EXPECT_FALSE(set.empty());
}

TEST(NumberSet, TakesZeroAsAnyOtherNumber) {
    NumberSet set;
    EXPECT_FALSE(set.contains(0));
    EXPECT_TRUE(set.insert(0));
    EXPECT_FALSE(set.insert(0));
    EXPECT_TRUE(set.contains(0));
    EXPECT_EQ(set.size(), 1U);
    EXPECT_TRUE(set.insert(1));
    EXPECT_TRUE(set.contains(0));
}

TEST(NumberSet, IsEmptyAndUsableWhenCleared) {
    NumberSet set;
    for (const std::uint64_t number : {0U, 1U, 2U})
        set.insert(number);
    set.clear();
    EXPECT_TRUE(set.empty());
    for (const std::uint64_t number : {0U, 1U, 2U})
        EXPECT_FALSE(set.contains(number));
    EXPECT_TRUE(set.insert(2));
    EXPECT_EQ(set.size(), 1U);
}

TEST(NumberSet, IsEmptyWhenMovedFrom) {
    NumberSet set;
    set.insert(0);
    set.insert(1);
    const NumberSet moved = std::move(set);
    EXPECT_TRUE(moved.contains(0));
    EXPECT_TRUE(moved.contains(1));
    EXPECT_EQ(moved.size(), 2U);
    // NOLINTNEXTLINE(bugprone-use-after-move)
    EXPECT_TRUE(set.empty());
    EXPECT_FALSE(set.contains(0));
    EXPECT_TRUE(set.insert(1));
}

TEST(NumberSet, HoldsWhatASetOfTheStandardLibraryHolds) {
    // Numbers of one distance, as addresses are, close together and far apart, up to the largest.
    for (const std::uint64_t distance :
         {std::uint64_t{1}, std::uint64_t{16}, std::uint64_t{1} << 20, std::uint64_t{0x100000000},
          ~std::uint64_t{0}}) {
        NumberSet set;
        std::set<std::uint64_t> expected;
        for (std::uint64_t i = 0; i < 5000; ++i) {
            const std::uint64_t number = i * i % 3000 * distance;
            EXPECT_EQ(set.insert(number), expected.insert(number).second);
        }
        EXPECT_EQ(set.size(), expected.size());
        for (std::uint64_t i = 0; i < 3100; ++i)
            EXPECT_EQ(set.contains(i * distance), expected.contains(i * distance));
    }
}

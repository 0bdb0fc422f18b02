#include "support/array.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

TEST(Array, AppendsCopies) {
    Array<int> array = {1};
    const int more[] = {2, 3};
    append(array, more, 2);
    append(array, static_cast<const int*>(nullptr), 0);
    EXPECT_EQ(array, (Array<int>{1, 2, 3}));
}

TEST(Array, ResizeWithAValueFills) {
    Array<float> array(100, 5.0F);
    array.clear();
    array.resize(3, 0.0F);
    EXPECT_EQ(array, (Array<float>{0, 0, 0}));
}

TEST(Array, GrowsAtLeastTwofold) {
    Array<int> array;
    growFor(array, 10);
    EXPECT_GE(array.capacity(), 10U);
    array.resize(array.capacity());
    const std::size_t before = array.capacity();
    growFor(array, 1);
    EXPECT_GE(array.capacity(), 2 * before);
    EXPECT_EQ(array.size(), before);
}

TEST(Array, ThrowsBeyondTheLongestVector) {
    Array<int> array = {1};
    try {
        growFor(array, std::numeric_limits<std::size_t>::max());
        FAIL();
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "vector too long");
    }
    EXPECT_EQ(array.size(), 1U);
}

TEST(CopyArray, CopiesAndRefusesNegativeCounts) {
    const unsigned char bytes[] = {1, 2, 3};
    EXPECT_EQ(copyArray(bytes, 2), (Array<unsigned char>{1, 2}));
    EXPECT_TRUE(copyArray(bytes, 0).empty());
    try {
        copyArray(bytes, -1);
        FAIL();
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "vector too long");
    }
}

#include "support/array.h"

#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

TEST(Array, AppendsCopies) {
    Array<int> array = {1};
    const int more[] = {2, 3};
    append(array, more, 2);
    append(array, static_cast<const int*>(nullptr), 0);
    EXPECT_EQ(array, (Array<int>{1, 2, 3}));
}

TEST(Array, CopiesMovesAndSwapsItsNumbers) {
    Array<int> array = {1, 2, 3};
    Array<int> copy = array;
    EXPECT_EQ(copy, array);
    EXPECT_NE(copy.data(), array.data());
    const int* const place = copy.data();
    const Array<int> moved = std::move(copy);
    EXPECT_EQ(moved.data(), place);
    EXPECT_EQ(moved.size(), 3U);
    array = {4};
    EXPECT_EQ(array, Array<int>{4});
    array = moved;
    EXPECT_EQ(array, moved);
    array = Array<int>();
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(Array<int>(array), array);
    EXPECT_NE(array, moved);
    Array<int>& itself = array;
    array = {5, 6};
    array = itself;
    array = std::move(itself);
    EXPECT_EQ(array, (Array<int>{5, 6}));
    EXPECT_TRUE(Array<int>(static_cast<const int*>(nullptr), 0).empty());
}

TEST(Array, KeepsItsNumbersWhenItGrowsAndShrinks) {
    Array<int> array;
    // Beyond what an allocator hands out of a pool.
    for (int i = 0; i < 1000000; ++i)
        append(array, &i, 1);
    array.resize(500000);
    array.shrink_to_fit();
    EXPECT_EQ(array.capacity(), 500000U);
    for (int i = 0; i < 500000; ++i)
        ASSERT_EQ(array[static_cast<std::size_t>(i)], i);
    array.clear();
    EXPECT_EQ(array.capacity(), 500000U);
    array.shrink_to_fit();
    EXPECT_EQ(array.capacity(), 0U);
    EXPECT_EQ(array.data(), nullptr);
}

TEST(Array, StaysAsItIsWhenThereIsNoMemory) {
    Array<float> array = {1, 2};
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // A sanitizer ends the process at such a size.
    EXPECT_THROW(array.reserve(Array<float>::max_size()), std::bad_alloc);
#endif
    try {
        array.reserve(Array<float>::max_size() + 1);
        FAIL();
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "vector too long");
    }
    EXPECT_EQ(array, (Array<float>{1, 2}));
}

TEST(Array, ResizeWithAValueFills) {
    Array<float> array(100, 5.0F);
    array.clear();
    array.resize(3, 0.0F);
    EXPECT_EQ(array, (Array<float>{0, 0, 0}));
    array.resize(1, 7.0F);
    EXPECT_EQ(array, Array<float>{0});
    const std::size_t capacity = array.capacity();
    array.reserve(1);
    EXPECT_EQ(array.capacity(), capacity);
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

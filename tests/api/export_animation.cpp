#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

#include "tests/host.h"

namespace {

void expectPoint(const Q7AnimProperty& point, double first) {
    EXPECT_EQ(point.V, first);
    EXPECT_EQ(point.LT, first + 1);
    EXPECT_EQ(point.LV, first + 2);
    EXPECT_EQ(point.RT, first + 3);
    EXPECT_EQ(point.RV, first + 4);
}

}  // namespace

TEST(Q7AnimProperty, IsFiveDoublesInOrder) {
    static_assert(sizeof(Q7AnimProperty) == 5 * sizeof(double));
    static_assert(offsetof(Q7AnimProperty, V) == 0);
    static_assert(offsetof(Q7AnimProperty, LT) == 8);
    static_assert(offsetof(Q7AnimProperty, LV) == 16);
    static_assert(offsetof(Q7AnimProperty, RT) == 24);
    static_assert(offsetof(Q7AnimProperty, RV) == 32);
    expectPoint(Q7AnimProperty(1, 2, 3, 4, 5), 1);
}

TEST(Q7AnimProperty, AssignmentsCopyTheFiveValues) {
    const Q7AnimProperty source(10, 11, 12, 13, 14);
    Q7AnimProperty copied(0, 0, 0, 0, 0);
    EXPECT_EQ(&(copied = source), &copied);
    expectPoint(copied, 10);
    Q7AnimProperty moved(0, 0, 0, 0, 0);
    EXPECT_EQ(&(moved = std::move(copied)), &moved);
    expectPoint(moved, 10);
    const Q7AnimProperty constructed = moved;
    expectPoint(constructed, 10);
}

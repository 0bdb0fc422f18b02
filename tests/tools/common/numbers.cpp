#include "common/numbers.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using q7tools::roundedNumber;
using q7tools::shortestNumber;

TEST(Numbers, shortestReadsBackAsTheSame) {
    EXPECT_EQ(shortestNumber(0.1F), "0.1");
    EXPECT_EQ(shortestNumber(0.1), "0.1");
    EXPECT_EQ(shortestNumber(16777216.0F), "16777216");
    EXPECT_EQ(shortestNumber(-0.0F), "-0");
    EXPECT_EQ(shortestNumber(static_cast<double>(0.1F)), "0.10000000149011612");
    EXPECT_EQ(shortestNumber(std::numeric_limits<float>::quiet_NaN()), "nan");
    EXPECT_EQ(shortestNumber(-std::numeric_limits<float>::infinity()), "-inf");
}

TEST(Numbers, roundedHasSixDigits) {
    EXPECT_EQ(roundedNumber(0.5), "0.5");
    EXPECT_EQ(roundedNumber(1.23456789), "1.23457");
    EXPECT_EQ(roundedNumber(1000000), "1e+06");
    EXPECT_EQ(roundedNumber(100000), "100000");
}

}  // namespace

#include "model/max_adapter.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace {

std::vector<float> exchanged(AxisOrder order, std::vector<float> source = {1, 2, 3}) {
    std::vector<float> destination(source.size(), -1.0F);
    MaxAdapter::exchangeCoord(source, destination, static_cast<std::ptrdiff_t>(source.size() / 3),
                              order);
    return destination;
}

}  // namespace

TEST(ExchangeCoord, WritesEachOrder) {
    EXPECT_EQ(exchanged(AxisOrder::XZY), (std::vector<float>{1, 3, 2}));
    EXPECT_EQ(exchanged(AxisOrder::YXZ), (std::vector<float>{2, 1, 3}));
    EXPECT_EQ(exchanged(AxisOrder::YZX), (std::vector<float>{2, 3, 1}));
    EXPECT_EQ(exchanged(AxisOrder::ZXY), (std::vector<float>{3, 1, 2}));
    EXPECT_EQ(exchanged(AxisOrder::ZYX), (std::vector<float>{3, 2, 1}));
}

TEST(ExchangeCoord, WritesNothingForXyzAndUnknownOrders) {
    const std::vector<float> untouched(3, -1.0F);
    for (const int order : {0, 6, -1, 1000}) {
        EXPECT_EQ(exchanged(static_cast<AxisOrder>(order)), untouched);
        EXPECT_FALSE(MaxAdapter::permutes(static_cast<AxisOrder>(order)));
    }
    for (const int order : {1, 2, 3, 4, 5}) {
        EXPECT_TRUE(MaxAdapter::permutes(static_cast<AxisOrder>(order)));
    }
}

TEST(ExchangeCoord, WritesNothingForNoTriples) {
    const std::vector<float> source = {1, 2, 3};
    std::vector<float> destination(3, -1.0F);
    MaxAdapter::exchangeCoord(source, destination, 0, AxisOrder::ZYX);
    MaxAdapter::exchangeCoord(source, destination, -1, AxisOrder::ZYX);
    EXPECT_EQ(destination, std::vector<float>(3, -1.0F));
}

TEST(ExchangeCoord, WritesAsManyTriplesAsAsked) {
    const std::vector<float> source = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    std::vector<float> destination(9, -1.0F);
    MaxAdapter::exchangeCoord(source, destination, 2, AxisOrder::ZYX);
    EXPECT_EQ(destination, (std::vector<float>{3, 2, 1, 6, 5, 4, -1, -1, -1}));
}

TEST(ExchangeCoord, IsTheSameOnManyThreads) {
    std::vector<float> source(3 * 500'001);
    std::iota(source.begin(), source.end(), 0.0F);
    const std::vector<float> result = exchanged(AxisOrder::ZXY, source);
    for (std::size_t i = 0; i < source.size(); i += 3) {
        ASSERT_EQ(result[i], source[i + 2]);
        ASSERT_EQ(result[i + 1], source[i]);
        ASSERT_EQ(result[i + 2], source[i + 1]);
    }
}

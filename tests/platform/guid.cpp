#include "platform/guid.h"

#include <gtest/gtest.h>

#include <set>

TEST(NewGuid, IsAnotherOneEachTime) {
    std::set<platform::Guid> seen;
    for (int i = 0; i < 1000; ++i) {
        const auto guid = platform::newGuid();
        ASSERT_TRUE(guid);
        EXPECT_TRUE(seen.insert(*guid).second);
    }
}

TEST(NewGuid, SaysThatItIsMadeOfRandomNumbers) {
    const auto guid = platform::newGuid();
    ASSERT_TRUE(guid);
    EXPECT_EQ((*guid)[6] >> 4, 4);
    EXPECT_EQ((*guid)[8] >> 6, 2);
}

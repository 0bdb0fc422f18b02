#include "platform/instance_lock.h"

#include <gtest/gtest.h>

#include <utility>

using platform::InstanceLock;

TEST(InstanceLock, OneAtATime) {
    auto first = InstanceLock::take(u"q7core_tests_lock");
    ASSERT_TRUE(first);
    EXPECT_FALSE(InstanceLock::take(u"q7core_tests_lock"));
    EXPECT_TRUE(InstanceLock::take(u"q7core_tests_other_lock"));
    const InstanceLock moved = std::move(*first);
    first.reset();
    EXPECT_FALSE(InstanceLock::take(u"q7core_tests_lock"));
}

TEST(InstanceLock, IsGivenBack) {
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(InstanceLock::take(u"q7core_tests_lock"));
}

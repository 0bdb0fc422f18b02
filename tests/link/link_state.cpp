#include "link/link_state.h"

#include <gtest/gtest.h>

TEST(LinkState, IsOneForTheProcess) {
    EXPECT_EQ(&linkState(), &linkState());
}

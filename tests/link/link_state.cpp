#include "link/link_state.h"

#include <gtest/gtest.h>

TEST(LinkState, StartsEmpty) {
    EXPECT_EQ(LinkState().modelFilePath, u"");
}

TEST(LinkState, IsOneForTheProcess) {
    EXPECT_EQ(&linkState(), &linkState());
}

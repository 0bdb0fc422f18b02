// A renderer inside the test's own process.
#pragma once

#include <gtest/gtest.h>

#include "tests/renderer_peer.h"

// Takes away blocks that a run before left behind when it was killed.
class WithoutLeftBlocks : public testing::Environment {
  public:
    void SetUp() override { removeLeftBlocks(); }
};
inline testing::Environment* const withoutLeftBlocks =
    testing::AddGlobalTestEnvironment(new WithoutLeftBlocks);

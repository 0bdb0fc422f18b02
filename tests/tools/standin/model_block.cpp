#include "standin/model_block.h"

#include <gtest/gtest.h>

#include "platform/shared_memory.h"

namespace {

TEST(SharedModelBlock, NoneIsThere) {
    EXPECT_EQ(q7standin::openSharedModelBlock(), nullptr);
}

TEST(SharedModelBlock, ShowsWhatTheClientWrites) {
    auto made = platform::CreatedBlock::create(q7standin::modelBlockName, 100);
    ASSERT_GE(made.view().size(), 100U);
    made.view()[99] = std::byte{7};
    const auto block = q7standin::openSharedModelBlock();
    ASSERT_NE(block, nullptr);
    ASSERT_GE(block->view().size(), 100U);
    EXPECT_EQ(block->view()[99], std::byte{7});
    made.view()[0] = std::byte{8};
    EXPECT_EQ(block->view()[0], std::byte{8});
}

}  // namespace

#include "standin/published_blocks.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace q7standin;
using platform::BlockAccess;
using platform::CreatedBlock;
using platform::OpenedBlock;

// What a client reads, or nothing when there is no block.
std::optional<std::uint16_t> wordIn(WideView name, std::size_t offset) {
    const auto block = OpenedBlock::open(name, BlockAccess::ReadOnly);
    if (!block || block->view().size() < offset + 2) return std::nullopt;
    std::uint16_t word = 0;
    std::memcpy(&word, block->view().data() + offset, sizeof word);
    return word;
}

TEST(PublishedBlocks, AreThereAsLongAsTheObject) {
    {
        auto blocks = PublishedBlocks::publish(51234, 1, 256);
        ASSERT_TRUE(blocks);
        EXPECT_TRUE(isRendererAlive());
        EXPECT_EQ(wordIn(portBlockName, 0), 51234);
        EXPECT_EQ(wordIn(statusBlockName, 0), 1);
        EXPECT_EQ(wordIn(statusBlockName, 2), 256);
        blocks->setStatus(4);
        blocks->setFlag(1);
        EXPECT_EQ(wordIn(statusBlockName, 0), 4);
        EXPECT_EQ(wordIn(statusBlockName, 2), 1);
    }
    EXPECT_EQ(wordIn(portBlockName, 0), std::nullopt);
    EXPECT_EQ(wordIn(statusBlockName, 0), std::nullopt);
    EXPECT_FALSE(isRendererAlive());
}

TEST(PublishedBlocks, AreOwnedByTheirProcess) {
    const auto blocks = PublishedBlocks::publish(51234, 1, 0);
    ASSERT_TRUE(blocks);
    for (const WideView name : {portBlockName, statusBlockName}) {
        const auto block = OpenedBlock::open(name, BlockAccess::ReadOnly);
        ASSERT_TRUE(block);
        EXPECT_TRUE(block->isOwned());
    }
}

#if !defined(_WIN32)

// Such a block may be what a simple renderer left when it was killed.
TEST(PublishedBlocks, ABlockWithoutAnOwnerIsNoLivingRenderer) {
    const auto block = CreatedBlock::create(statusBlockName, 4);
    EXPECT_FALSE(isRendererAlive());
}

#endif

TEST(PublishedBlocks, WhatIsThereIsTakenOver) {
    const auto oldStatus = CreatedBlock::create(statusBlockName, 64);
    std::memset(oldStatus.view().data(), 0xFF, oldStatus.view().size());
    const auto blocks = PublishedBlocks::publish(1, 2, 3);
    ASSERT_TRUE(blocks);
    EXPECT_EQ(wordIn(statusBlockName, 0), 2);
    EXPECT_EQ(wordIn(statusBlockName, 2), 3);
}

}  // namespace

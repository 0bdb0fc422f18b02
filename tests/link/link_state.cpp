#include "link/link_state.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/fake_renderer.h"
#include "tests/platform/child_process.h"
#include "tests/platform/sized_block.h"

TEST(LinkState, StartsEmpty) {
    const LinkState state;
    EXPECT_EQ(state.renderPath, u"");
    EXPECT_EQ(state.pluginFile, u"");
    EXPECT_EQ(state.modelFilePath, u"");
    EXPECT_EQ(state.port, 0);
    EXPECT_EQ(state.status, 0);
    EXPECT_EQ(state.linkFlag, 0);
}

TEST(LinkState, IsOneForTheProcess) {
    EXPECT_EQ(&linkState(), &linkState());
}

TEST(LinkState, HasTheNamesThatTheRendererKnows) {
    EXPECT_EQ(statusBlockName, testStatusBlock);
    EXPECT_EQ(portBlockName, testPortBlock);
}

TEST(ReadStatus, WithoutABlockIsFalseAndLeavesTheFlag) {
    LinkState state;
    state.status = 4;
    state.linkFlag = 7;
    EXPECT_FALSE(state.readStatus(true));
    EXPECT_EQ(state.status, 0);
    EXPECT_EQ(state.linkFlag, 7);
    EXPECT_FALSE(statusBlockExists());
}

TEST(ReadStatus, MirrorsTheBlock) {
    FakeRenderer renderer(0xFFFE);
    renderer.setFlag(0x1234);
    LinkState state;
    EXPECT_TRUE(statusBlockExists());
    EXPECT_TRUE(state.readStatus(false));
    EXPECT_EQ(state.status, 0xFFFE);
    EXPECT_EQ(state.linkFlag, 0x1234);
    EXPECT_EQ(renderer.flag(), 0x1234);
    EXPECT_TRUE(state.readStatus(true));
    EXPECT_EQ(state.linkFlag, 0x1234);
    EXPECT_EQ(renderer.flag(), 0);
    EXPECT_TRUE(state.readStatus(true));
    EXPECT_EQ(state.linkFlag, 0);
}

TEST(ReadPort, MirrorsTheBlockAndKeepsTheLastPort) {
    LinkState state;
    {
        FakeRenderer renderer;
        renderer.setPort(65535);
        testing::internal::CaptureStdout();
        EXPECT_TRUE(state.readPort());
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(state.port, 65535);
    }
    testing::internal::CaptureStdout();
    EXPECT_FALSE(state.readPort());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Port share mem error!\n");
    EXPECT_EQ(state.port, 65535);
}

TEST(RenderStatusOf, WithAPlaceForTheFlagClearsIt) {
    FakeRenderer renderer(4);
    renderer.setFlag(1);
    LinkState state;
    EXPECT_EQ(state.renderStatus(nullptr), 4U);
    std::uint8_t flag = 9;
    EXPECT_EQ(state.renderStatus(&flag), 4U);
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(state.renderStatus(&flag), 4U);
    EXPECT_EQ(flag, 0);
}

TEST(RenderStatusOf, OnlyTheFlagsLowByteCounts) {
    FakeRenderer renderer(1);
    renderer.setFlag(256);
    LinkState state;
    std::uint8_t flag = 9;
    EXPECT_EQ(state.renderStatus(&flag), 1U);
    EXPECT_EQ(flag, 0);
}

TEST(RenderStatusOf, WithoutARendererHandsOutTheLastFlag) {
    LinkState state;
    state.linkFlag = 0x0105;
    std::uint8_t flag = 9;
    EXPECT_EQ(state.renderStatus(&flag), 0U);
    EXPECT_EQ(flag, 5);
    EXPECT_EQ(state.renderStatus(nullptr), 0U);
    EXPECT_FALSE(statusBlockExists());
}

// A name that something else has is no block, as little as one that may not be written to.
TEST(ReadStatus, WhatIsNoBlockToBeWrittenCountsAsNone) {
    const auto expectNone = [] {
        LinkState state;
        state.status = 4;
        state.linkFlag = 7;
        EXPECT_FALSE(state.readStatus(true));
        EXPECT_EQ(state.status, 0);
        EXPECT_EQ(state.linkFlag, 7);
    };
    {
        const NameOfAnotherObject other(testStatusBlock);
        expectNone();
        EXPECT_FALSE(statusBlockExists());
    }
#if defined(_WIN32)
    const ReadOnlyBlock block(testStatusBlock);
    ASSERT_TRUE(block.wasMade());
    if (!block.isKeptByTheSystem()) GTEST_SKIP() << "this system has no read-only blocks";
    expectNone();
#endif
}

TEST(ReadPort, WhatIsNoBlockCountsAsNone) {
    const NameOfAnotherObject other(testPortBlock);
    LinkState state;
    state.port = 77;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(state.readPort());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Port share mem error!\n");
    EXPECT_EQ(state.port, 77);
}

// Elsewhere a block has at least a page, which can always be mapped.
#if !defined(_WIN32)

TEST(ReadStatus, ABlockThatCannotBeLookedIntoCountsAsNone) {
    for (const off_t size : {off_t{0}, sizeThatCannotBeMapped}) {
        const SizedBlock block(testStatusBlock, size);
        LinkState state;
        state.status = 4;
        state.linkFlag = 7;
        EXPECT_FALSE(state.readStatus(true)) << size;
        EXPECT_EQ(state.status, 0);
        EXPECT_EQ(state.linkFlag, 7);
    }
}

TEST(ReadPort, ABlockThatCannotBeLookedIntoCountsAsNone) {
    for (const off_t size : {off_t{0}, sizeThatCannotBeMapped}) {
        const SizedBlock block(testPortBlock, size);
        LinkState state;
        state.port = 77;
        testing::internal::CaptureStdout();
        EXPECT_FALSE(state.readPort()) << size;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "Port share mem error!\n");
        EXPECT_EQ(state.port, 77);
    }
}

// A word that is cut off by the end of the block is 0.
TEST(ReadStatus, ABlockMayEndBeforeOrWithinAWord) {
    for (const off_t size : {1, 2, 3}) {
        const SizedBlock block(testStatusBlock, size);
        std::ofstream(blockPath(testStatusBlock), std::ios::binary | std::ios::in)
            << std::string(static_cast<std::size_t>(size), '\4');
        LinkState state;
        state.status = 4;
        state.linkFlag = 7;
        EXPECT_TRUE(state.readStatus(true));
        EXPECT_EQ(state.status, size == 1 ? 0 : 0x0404);
        EXPECT_EQ(state.linkFlag, 0);
        EXPECT_EQ(std::filesystem::file_size(blockPath(testStatusBlock)),
                  static_cast<std::uintmax_t>(size));
    }
}

TEST(ReadPort, ABlockMayEndWithinTheWord) {
    const SizedBlock block(testPortBlock, 1);
    LinkState state;
    state.port = 77;
    EXPECT_TRUE(state.readPort());
    EXPECT_EQ(state.port, 0);
}

TEST(RenderStatusOf, BlocksOfSomebodyElsesCountAsNone) {
    const SizedBlock status(testStatusBlock, 4);
    const SizedBlock port(testPortBlock, 4);
    status.closeToAll();
    port.closeToAll();
    const pid_t child = startChild([] {
        if (!becomesAStranger()) return 1;
        LinkState state;
        state.port = 77;
        std::uint8_t flag = 9;
        if (state.renderStatus(&flag) != 0 || flag != 0 || statusBlockExists()) return 2;
        return !state.readPort() && state.port == 77 ? 0 : 3;
    });
    EXPECT_EQ(exitCodeOf(child), 0);
}

#endif

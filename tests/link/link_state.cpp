#include "link/link_state.h"

#include <gtest/gtest.h>

#include "tests/fake_renderer.h"
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
TEST(ReadStatus, ABlockMayEndBeforeTheFlag) {
    const SizedBlock block(testStatusBlock, 2);
    LinkState state;
    state.status = 4;
    state.linkFlag = 7;
    EXPECT_TRUE(state.readStatus(true));
    EXPECT_EQ(state.status, 0);
    EXPECT_EQ(state.linkFlag, 0);
}

#endif

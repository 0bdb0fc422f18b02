#include "link/link_state.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/fake_renderer.h"
#include "tests/platform/child_process.h"
#include "tests/platform/child_program.h"
#include "tests/platform/owned_block.h"
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

namespace {

constexpr std::array<std::uint16_t, 2> shownStatus = {4, 1};
constexpr std::uint16_t shownPort = 51234;

// As a renderer does that is written after docs/formats/shared_blocks.md.
bool publishOwned() {
    return make_block(objectName(testPortBlock).c_str(), &shownPort, sizeof shownPort) >= 0 &&
           make_block(objectName(testStatusBlock).c_str(), shownStatus.data(),
                      sizeof shownStatus) >= 0;
}

void expectBlocks() {
    LinkState state;
    EXPECT_TRUE(statusBlockExists());
    EXPECT_EQ(state.renderStatus(nullptr), 4U);
    EXPECT_EQ(state.linkFlag, 1);
    EXPECT_TRUE(state.readPort());
    EXPECT_EQ(state.port, shownPort);
}

void expectNoBlocks() {
    LinkState state;
    state.status = 4;
    state.linkFlag = 7;
    state.port = 77;
    EXPECT_FALSE(statusBlockExists());
    EXPECT_FALSE(state.readStatus(true));
    EXPECT_EQ(state.status, 0);
    EXPECT_EQ(state.linkFlag, 7);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(state.readPort());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Port share mem error!\n");
    EXPECT_EQ(state.port, 77);
}

}  // namespace

TEST(OwnedBlocks, CountAsNoneOnceTheirRendererWasKilled) {
    HoldingProcess renderer(publishOwned);
    expectBlocks();
    renderer.kill();
    expectNoBlocks();
    // Neither taken away nor written to: the next renderer does that.
    std::array<std::uint16_t, 2> left = {};
    std::ifstream(blockPath(testStatusBlock), std::ios::binary)
        .read(reinterpret_cast<char*>(left.data()), sizeof left);
    EXPECT_EQ(left, shownStatus);
    const HoldingProcess next(publishOwned);
    expectBlocks();
    removeLeftBlocks();
}

// The lock is the open file's, which a copy of the process has as well.
TEST(OwnedBlocks, LiveAsLongAsACopyOfTheirRenderer) {
    int copiesEnd[2] = {};
    ASSERT_EQ(pipe(copiesEnd), 0);
    HoldingProcess renderer([&] {
        if (!publishOwned()) return false;
        startChild([&] {
            close(copiesEnd[1]);
            char none = 0;
            return static_cast<int>(read(copiesEnd[0], &none, 1));
        });
        return true;
    });
    close(copiesEnd[0]);
    renderer.kill();
    expectBlocks();
    close(copiesEnd[1]);
    EXPECT_TRUE(becomesTrue([] { return !statusBlockExists(); }));
    expectNoBlocks();
    removeLeftBlocks();
}

// Which the system releases as well, whatever else the renderer has open.
TEST(OwnedBlocks, TheLockMayBelongToTheProcess) {
    HoldingProcess renderer([] {
        struct flock lock = first_byte();
        for (const WideView name : {testStatusBlock, testPortBlock}) {
            const int block = shm_open(objectName(name).c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
            const bool isStatus = name == testStatusBlock;
            const void* const content = isStatus ? shownStatus.data() : &shownPort;
            const std::size_t size = isStatus ? sizeof shownStatus : sizeof shownPort;
            if (pwrite(block, content, size, 0) < 0 || fcntl(block, F_SETLK, &lock) != 0 ||
                fchmod(block, 0600 | S_ISVTX) != 0) {
                return false;
            }
        }
        return true;
    });
    expectBlocks();
    renderer.kill();
    expectNoBlocks();
    removeLeftBlocks();
}

// A renderer that knows nothing of marks is believed, locked or not.
TEST(OwnedBlocks, ABlockWithoutAMarkCountsWhoeverHasMadeIt) {
    HoldingProcess renderer([] {
        return publishOwned() && chmod(blockPath(testStatusBlock).c_str(), 0600) == 0 &&
               chmod(blockPath(testPortBlock).c_str(), 0600) == 0;
    });
    expectBlocks();
    renderer.kill();
    expectBlocks();
    removeLeftBlocks();
}

#endif

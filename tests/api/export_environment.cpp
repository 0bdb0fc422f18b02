#include <gtest/gtest.h>

#include <fstream>

#include "tests/host.h"
#include "tests/platform/child_program.h"
#include "tests/platform/local_app_data.h"

#if defined(_WIN32)
#include "platform/render_windows.h"
#endif

namespace {

namespace fs = std::filesystem;

std::string clientIdHere() {
    // The first call of the process reads and writes files.
    const LocalAppData data;
    std::string id(Q7GetCid(nullptr, 0), 'x');
    EXPECT_EQ(Q7GetCid(id.data(), static_cast<uint32_t>(id.size())), id.size());
    EXPECT_EQ(id.back(), '\0');
    id.pop_back();
    return id;
}

// What a process that starts now takes as the id, the same on all its threads.
std::string clientIdOfAnotherProcess() {
    const TemporaryFolder folder;
    ChildProgram program(Q7_PRINT_CLIENT_ID, {}, folder.path());
    EXPECT_EQ(program.exitCode(), 0);
    const std::string printed = asTextFile("\n");
    const std::string lines = program.printed();
    const std::string line = lines.substr(0, lines.find(printed) + printed.size());
    std::string expected;
    for (int i = 0; i < 8; ++i)
        expected += line;
    EXPECT_EQ(lines, expected);
    return line.substr(0, line.size() - printed.size());
}

}  // namespace

TEST(Q7GetCid, StaysTheSameInAProcess) {
    const std::string id = clientIdHere();
    EXPECT_EQ(id.size(), 32U);
    EXPECT_EQ(id.find_first_not_of("0123456789ABCDEF"), std::string::npos) << id;
    EXPECT_EQ(clientIdHere(), id);
}

TEST(Q7GetCid, NeedsABufferForTextAndTerminator) {
    const std::string id = clientIdHere();
    const auto needed = static_cast<uint32_t>(id.size() + 1);
    for (const uint32_t size : {0U, 1U, needed - 2, needed - 1}) {
        std::string buffer(100, 'x');
        EXPECT_EQ(Q7GetCid(buffer.data(), size), needed);
        EXPECT_EQ(buffer, std::string(100, 'x'));
    }
    for (const uint32_t size : {needed, needed + 1, 100U, 0xFFFFFFFFU}) {
        std::string buffer(100, 'x');
        EXPECT_EQ(Q7GetCid(buffer.data(), size), needed);
        EXPECT_EQ(buffer, id + '\0' + std::string(100 - needed, 'x'));
    }
    EXPECT_EQ(Q7GetCid(nullptr, 100), needed);
}

TEST(Q7GetCid, IsMadeOnceAndKeptInTheFile) {
    const LocalAppData data;
    const fs::path file = data / "q7_launcher" / "cid.dat";
    const std::string id = clientIdOfAnotherProcess();
    EXPECT_EQ(id.size(), 32U);
    EXPECT_EQ(readFile(file), id);
    EXPECT_EQ(clientIdOfAnotherProcess(), id);
    fs::remove(file);
    EXPECT_NE(clientIdOfAnotherProcess(), id);
}

TEST(Q7GetCid, IsTheFirstLineOfTheFile) {
    const LocalAppData data;
    fs::create_directory(data / "q7_launcher");
    const fs::path file = data / "q7_launcher" / "cid.dat";
    std::ofstream(file) << "any text\nanother line\n";
    EXPECT_EQ(clientIdOfAnotherProcess(), "any text");
    std::ofstream(file) << "";
    EXPECT_EQ(clientIdOfAnotherProcess(), "");
    EXPECT_EQ(readFile(file), "");
}

TEST(Q7GetCid, IsAnotherOneInEachProcessWhereNoFileCanBe) {
    const LocalAppData data;
    std::ofstream(data / "q7_launcher") << "x";
    const std::string id = clientIdOfAnotherProcess();
    EXPECT_EQ(id.size(), 32U);
    EXPECT_NE(clientIdOfAnotherProcess(), id);
    EXPECT_EQ(readFile(data / "q7_launcher"), "x");
}

TEST(Q7GetLogDir, MakesTheFolderAndNeedsABufferForPathAndTerminator) {
    const LocalAppData data;
    const HostString path = hostPath(data / "q7_engine" / "Saved" / "Logs" / "");
    const auto needed = static_cast<uint32_t>(path.size() + 1);
    EXPECT_EQ(Q7GetLogDir(nullptr, 0), needed);
    EXPECT_TRUE(fs::is_directory(path));
    for (const uint32_t size : {0U, 1U, needed - 2, needed - 1}) {
        HostString buffer(needed + 10, Q7Char('x'));
        EXPECT_EQ(Q7GetLogDir(buffer.data(), size), needed);
        EXPECT_EQ(buffer, HostString(needed + 10, Q7Char('x')));
    }
    for (const uint32_t size : {needed, needed + 1, 0xFFFFFFFFU}) {
        HostString buffer(needed + 10, Q7Char('x'));
        EXPECT_EQ(Q7GetLogDir(buffer.data(), size), needed);
        EXPECT_EQ(buffer, path + Q7Char(0) + HostString(10, Q7Char('x')));
    }
    EXPECT_EQ(Q7GetLogDir(nullptr, 1000), needed);
}

TEST(Q7GetLogDir, IsEmptyWhenTheFolderCannotBeMade) {
    const LocalAppData data;
    std::ofstream(data / "q7_engine") << "x";
    Q7Char buffer[] = {'x', 'x'};
    EXPECT_EQ(Q7GetLogDir(buffer, 0), 1U);
    EXPECT_EQ(buffer[0], Q7Char('x'));
    EXPECT_EQ(Q7GetLogDir(buffer, 1), 1U);
    EXPECT_EQ(buffer[0], 0);
    EXPECT_EQ(buffer[1], Q7Char('x'));
}

TEST(Q7RenderWindowSize, IsZeroWithoutARenderer) {
    EXPECT_EQ(Q7RenderWindowSize(), 0U);
    EXPECT_EQ(Q7RenderWindowSize(), 0U);
}

#if defined(_WIN32)

TEST(Q7RenderWindowSize, IsThatOfTheRenderersViewport) {
    for (int i = 0; i < 2; ++i) {
        const auto windows = platform::RenderWindows::show(
            {u"Qt5QWindowIcon", u"Q7 Render"}, {u"UnrealWindow", u"Q7 Render "}, 1920, 1080);
        if (!windows) GTEST_SKIP() << "no window can be shown here: there is no display";
        if (i > 0) {
            EXPECT_EQ(Q7RenderWindowSize(), 0U);
        }
        EXPECT_EQ(Q7RenderWindowSize(), 0x07800438U);
    }
    EXPECT_EQ(Q7RenderWindowSize(), 0U);
}

#endif

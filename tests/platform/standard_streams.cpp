#include "platform/standard_streams.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include "tests/read_file.h"
#include "tests/temporary_folder.h"

#if defined(_WIN32)
#include <io.h>
#include <windows.h>
#define q7dup _dup
#define q7dup2 _dup2
#define q7close _close
#define q7fileno _fileno
#else
#include <unistd.h>
#define q7dup dup
#define q7dup2 dup2
#define q7close close
#define q7fileno fileno
#endif

namespace {

// What the stream writes for one line when it starts out as a text file and is then made binary.
std::string bytesWrittenTo(std::FILE* stream) {
    const TemporaryFolder folder;
    const std::string path = (folder / "out").string();
    std::fflush(stream);
    const int saved = q7dup(q7fileno(stream));
    std::FILE* const file = std::fopen(path.c_str(), "w");
    if (file == nullptr) return "no file";
    q7dup2(q7fileno(file), q7fileno(stream));
    std::fclose(file);
    platform::useBinaryStandardStreams();
    std::fputs("a\nb\r\n", stream);
    std::fflush(stream);
    q7dup2(saved, q7fileno(stream));
    q7close(saved);
    return readFile(path);
}

TEST(WriteText, WritesLinesToTheStreamThatIsAskedFor) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    platform::writeText(platform::StandardStream::Output, "a\nb\n");
    platform::writeText(platform::StandardStream::Error, "c\n\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "a\nb\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "c\n\n");
}

#if defined(_WIN32)
// As a host does whose C runtime is not the library's.
TEST(WriteText, FollowsTheHandleOfTheProcess) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder / "out";
    HANDLE const before = GetStdHandle(STD_OUTPUT_HANDLE);
    HANDLE const file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    ASSERT_TRUE(SetStdHandle(STD_OUTPUT_HANDLE, file));
    platform::writeText(platform::StandardStream::Output, "a\nb\n");
    SetStdHandle(STD_OUTPUT_HANDLE, before);
    CloseHandle(file);
    EXPECT_EQ(readFile(path), "a\r\nb\r\n");
}

TEST(WriteText, DropsTheTextWhereTheProcessHasNoStream) {
    HANDLE const before = GetStdHandle(STD_ERROR_HANDLE);
    ASSERT_TRUE(SetStdHandle(STD_ERROR_HANDLE, nullptr));
    platform::writeText(platform::StandardStream::Error, "a\n");
    SetStdHandle(STD_ERROR_HANDLE, before);
}
#endif

TEST(StandardStreams, passLineEndsAsTheyAre) {
    EXPECT_EQ(bytesWrittenTo(stdout), "a\nb\r\n");
    EXPECT_EQ(bytesWrittenTo(stderr), "a\nb\r\n");
}

}  // namespace

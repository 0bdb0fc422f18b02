#include "platform/files.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/platform/inheritance.h"
#include "tests/read_file.h"
#include "tests/temporary_folder.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

WideString wide(const std::filesystem::path& path) {
    return path.u16string();
}

}  // namespace

TEST(OpenForWriting, EmptiesWhatWasThere) {
    const TemporaryFolder folder;
    const auto path = folder / "file";
    std::ofstream(path) << "a longer text";
    std::fputs("b", platform::openBinaryForWriting(wide(path)).get());
    EXPECT_EQ(readFile(path), "b");
    std::ofstream(path) << "a longer text";
    std::fputs("c", platform::openTextForWriting(wide(path)).get());
    EXPECT_EQ(readFile(path), "c");
}

TEST(OpenForWriting, TextGetsThePlatformsLineEndsAndBinaryNone) {
    const TemporaryFolder folder;
    std::fputs("a\nb\n", platform::openBinaryForWriting(wide(folder / "binary")).get());
    std::fputs("a\nb\n", platform::openTextForWriting(wide(folder / "text")).get());
    EXPECT_EQ(readFile(folder / "binary"), "a\nb\n");
    EXPECT_EQ(readFile(folder / "text"), std::string("a") + textLineEnd + "b" + textLineEnd);
}

TEST(OpenForWriting, TakesAnyUnicodeName) {
    const TemporaryFolder folder;
    const auto path = folder / std::filesystem::path(u"\u00E9\u4E2D\U0001F600");
    std::fputs("x", platform::openBinaryForWriting(wide(path)).get());
    EXPECT_EQ(readFile(path), "x");
    std::fputs("y", platform::openTextForWriting(wide(path)).get());
    EXPECT_EQ(readFile(path), "y");
}

TEST(OpenForReading, GivesTheBytesOrTheTextOfAFile) {
    const TemporaryFolder folder;
    const auto path = folder / std::filesystem::path(u"\u00E9\u4E2D\U0001F600");
    std::ofstream(path, std::ios::binary) << "a" << textLineEnd << "b";
    char buffer[8] = {};
    EXPECT_EQ(
        std::fread(buffer, 1, sizeof buffer, platform::openBinaryForReading(wide(path)).get()),
        std::string(textLineEnd).size() + 2);
    EXPECT_EQ(std::fread(buffer, 1, sizeof buffer, platform::openTextForReading(wide(path)).get()),
              3U);
    for (const WideString& missing : {WideString(), wide(folder / "missing")}) {
        EXPECT_EQ(platform::openBinaryForReading(missing), nullptr);
        EXPECT_EQ(platform::openTextForReading(missing), nullptr);
    }
}

TEST(Files, AreNotInherited) {
    const TemporaryFolder folder;
    const WideString path = wide(folder / "file");
    for (platform::File (*const open)(const WideString&) :
         {platform::openBinaryForWriting, platform::openSharedForWriting,
          platform::openTextForWriting, platform::openBinaryForReading,
          platform::openTextForReading}) {
        const platform::File file = open(path);
        ASSERT_NE(file, nullptr);
        EXPECT_FALSE(isInherited(file.get()));
    }
}

TEST(FileCanBeOpened, IsTrueForFilesOnly) {
    const TemporaryFolder folder;
    std::ofstream(folder / "empty").flush();
    std::ofstream(folder / "file") << "x";
    EXPECT_TRUE(platform::fileCanBeOpened(wide(folder / "empty")));
    EXPECT_TRUE(platform::fileCanBeOpened(wide(folder / "file")));
    EXPECT_FALSE(platform::fileCanBeOpened(wide(folder.path())));
    EXPECT_FALSE(platform::fileCanBeOpened(wide(folder / "missing")));
    EXPECT_FALSE(platform::fileCanBeOpened(u""));
}

TEST(OpenForWriting, IsNullWhereNoFileCanBe) {
    const TemporaryFolder folder;
    for (const WideString& path :
         {WideString(), wide(folder.path()), wide(folder / "missing" / "file"),
          wide(folder / std::string(5000, 'x'))}) {
        EXPECT_EQ(platform::openBinaryForWriting(path), nullptr);
        EXPECT_EQ(platform::openTextForWriting(path), nullptr);
    }
}

#if defined(_WIN32)

TEST(Files, AreNotEmptiedWhereTheProcessHasNoStreamLeft) {
    const TemporaryFolder folder;
    std::ofstream(folder / "file") << "older";
    std::vector<platform::File> streams;
    while (platform::File stream{_wfopen(L"NUL", L"r")})
        streams.push_back(std::move(stream));
    EXPECT_EQ(platform::openBinaryForWriting(wide(folder / "file")), nullptr);
    EXPECT_EQ(platform::openTextForWriting(wide(folder / "file")), nullptr);
    streams.clear();
    EXPECT_EQ(readFile(folder / "file"), "older");
}

TEST(OpenForWriting, OpensDevices) {
    EXPECT_NE(platform::openBinaryForWriting(u"NUL"), nullptr);
    EXPECT_NE(platform::openSharedForWriting(u"NUL"), nullptr);
    EXPECT_NE(platform::openTextForWriting(u"NUL"), nullptr);
}

TEST(OpenForWriting, OpensPipes) {
    const std::filesystem::path path =
        "\\\\.\\pipe\\q7-files-" + std::to_string(GetCurrentProcessId());
    for (platform::File (*const open)(const WideString&) :
         {platform::openBinaryForWriting, platform::openSharedForWriting,
          platform::openTextForWriting}) {
        const HANDLE pipe = CreateNamedPipeW(path.c_str(), PIPE_ACCESS_INBOUND,
                                             PIPE_TYPE_BYTE | PIPE_WAIT, 1, 64, 64, 0, nullptr);
        ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
        if (const platform::File file = open(wide(path))) std::fputs("text", file.get());
        char received[64] = {};
        DWORD size = 0;
        EXPECT_TRUE(ReadFile(pipe, received, sizeof received, &size, nullptr));
        EXPECT_EQ(std::string(received, size), "text");
        CloseHandle(pipe);
    }
}

#endif

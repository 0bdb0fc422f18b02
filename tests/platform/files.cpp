#include "platform/files.h"

#include <gtest/gtest.h>

#include "tests/read_file.h"
#include "tests/temporary_folder.h"

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

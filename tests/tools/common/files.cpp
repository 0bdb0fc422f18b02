#include "common/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "tests/read_file.h"
#include "tests/temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using q7tools::FileError;
using q7tools::readWholeFile;
using q7tools::writeWholeFile;

std::size_t entriesOf(const TemporaryFolder& folder) {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()));
}

// The reason that a call throws, with the file's name before it.
template <class Call>
std::string errorOf(const Call& call) {
    try {
        call();
    } catch (const FileError& error) {
        return error.file() + ": " + error.what();
    }
    return "no error";
}

TEST(Files, writesAndReadsAllBytes) {
    const TemporaryFolder folder;
    const std::string content("a\r\nb\n\0c\x1a", 8);
    writeWholeFile(folder / "file", content);
    EXPECT_EQ(readFile(folder / "file"), content);
    const std::vector<std::byte> bytes = readWholeFile(folder / "file");
    ASSERT_EQ(bytes.size(), content.size());
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), content.begin(),
                           [](std::byte b, char c) { return static_cast<char>(b) == c; }));
    EXPECT_EQ(entriesOf(folder), 1U);
}

TEST(Files, readsEmptyAndLargeFiles) {
    const TemporaryFolder folder;
    writeWholeFile(folder / "empty", "");
    EXPECT_TRUE(readWholeFile(folder / "empty").empty());
    writeWholeFile(folder / "large", std::string(300'000, 'x'));
    EXPECT_EQ(readWholeFile(folder / "large").size(), 300'000U);
}

TEST(Files, takesAnyUnicodePath) {
    const TemporaryFolder folder;
    const std::string name = "\xe6\xa8\xa1\xe5\x9e\x8b \xf0\x9f\x8f\xa0.bin";
    const fs::path path = folder / q7tools::pathFromUtf8(name);
    writeWholeFile(path, "x");
    EXPECT_EQ(readWholeFile(path).size(), 1U);
    EXPECT_EQ(q7tools::pathToUtf8(path.filename()), name);
}

TEST(Files, tellsWhyAFileCannotBeRead) {
    const TemporaryFolder folder;
    const std::string missing = q7tools::pathToUtf8(folder / "missing");
    EXPECT_EQ(errorOf([&] {
                  readWholeFile(folder / "missing");
              }).rfind(missing + ": cannot be opened: ", 0),
              0U);
    EXPECT_EQ(errorOf([&] { readWholeFile(folder.path()); }),
              q7tools::pathToUtf8(folder.path()) + ": is a folder, not a file");
}

TEST(Files, replacesWhatWasThere) {
    const TemporaryFolder folder;
    writeWholeFile(folder / "file", "a long first text");
    writeWholeFile(folder / "file", "second");
    EXPECT_EQ(readFile(folder / "file"), "second");
    EXPECT_EQ(entriesOf(folder), 1U);
}

TEST(Files, aFailureLeavesWhatWasThere) {
    const TemporaryFolder folder;
    writeWholeFile(folder / "file", "before");
    const auto writeAndThrow = [](std::ostream& out) {
        out << "half";
        throw std::runtime_error("stop");
    };
    EXPECT_THROW(writeWholeFile(folder / "file", writeAndThrow), std::runtime_error);
    const auto writeAndFail = [](std::ostream& out) { out.setstate(std::ios::badbit); };
    EXPECT_THROW(writeWholeFile(folder / "file", writeAndFail), FileError);
    EXPECT_EQ(readFile(folder / "file"), "before");
    EXPECT_EQ(entriesOf(folder), 1U);
}

TEST(Files, tellsWhyAFileCannotBeWritten) {
    const TemporaryFolder folder;
    const fs::path path = folder / "no folder" / "file";
    EXPECT_EQ(errorOf([&] {
                  writeWholeFile(path, "x");
              }).rfind(q7tools::pathToUtf8(path) + ": cannot be written: ", 0),
              0U);
    EXPECT_EQ(errorOf([&] { writeWholeFile(folder.path(), "x"); }),
              q7tools::pathToUtf8(folder.path()) + ": is a folder, not a file");
    EXPECT_EQ(entriesOf(folder), 0U);
}

TEST(Files, writesThroughALink) {
    const TemporaryFolder folder;
    writeWholeFile(folder / "target", "before");
    std::error_code error;
    fs::create_symlink(folder / "target", folder / "link", error);
    if (error) GTEST_SKIP() << "no symbolic links here: " << error.message();
    writeWholeFile(folder / "link", "after");
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(readFile(folder / "target"), "after");
}

}  // namespace

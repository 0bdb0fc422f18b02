#include "send/output_file.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "common/files.h"
#include "tests/read_file.h"
#include "tests/temporary_folder.h"

namespace q7send {

namespace fs = std::filesystem;

void write(const fs::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

std::size_t entryCount(const fs::path& folder) {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

std::string reasonFor(const fs::path& target) {
    try {
        const OutputFile file(target);
        return "no error";
    } catch (const q7tools::FileError& error) {
        EXPECT_EQ(error.file(), q7tools::pathToUtf8(target));
        return error.what();
    }
}

TEST(OutputFile, TakesTheTargetsPlaceWhenCommitted) {
    const TemporaryFolder folder;
    write(folder / "out", "old");
    {
        OutputFile file(folder / "out");
        EXPECT_EQ(file.temporary().parent_path(), fs::canonical(folder.path()));
        write(file.temporary(), "new");
        EXPECT_EQ(readFile(folder / "out"), "old");
        file.commit();
    }
    EXPECT_EQ(readFile(folder / "out"), "new");
    EXPECT_EQ(entryCount(folder.path()), 1U);
}

TEST(OutputFile, LeavesNothingWhenNotCommitted) {
    const TemporaryFolder folder;
    write(folder / "out", "old");
    {
        const OutputFile file(folder / "out");
        EXPECT_EQ(entryCount(folder.path()), 1U);
        write(file.temporary(), "new");
    }
    EXPECT_EQ(readFile(folder / "out"), "old");
    EXPECT_EQ(entryCount(folder.path()), 1U);
}

TEST(OutputFile, NothingWrittenCannotBeCommitted) {
    const TemporaryFolder folder;
    write(folder / "out", "old");
    OutputFile file(folder / "out");
    EXPECT_THROW(file.commit(), q7tools::FileError);
    EXPECT_EQ(readFile(folder / "out"), "old");
}

TEST(OutputFile, ReplacesWhatALinkPointsTo) {
    const TemporaryFolder folder;
    write(folder / "real", "old");
    std::error_code error;
    fs::create_symlink("real", folder / "link", error);
    if (error) GTEST_SKIP() << "no symbolic links here: " << error.message();
    OutputFile file(folder / "link");
    write(file.temporary(), "new");
    file.commit();
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(readFile(folder / "real"), "new");
}

TEST(OutputFile, AcceptsTheLongestName) {
    const TemporaryFolder folder;
    const fs::path target = folder / std::string(250, 'n');
    OutputFile file(target);
    write(file.temporary(), "new");
    file.commit();
    EXPECT_EQ(readFile(target), "new");
}

TEST(OutputFile, RefusesWhatCannotBeWritten) {
    const TemporaryFolder folder;
    write(folder / "file", "");
    fs::create_directory(folder / "sub");
    EXPECT_EQ(reasonFor(folder / "sub"), "is a folder");
    EXPECT_EQ(reasonFor(folder / "sub/"), "names no file");
    EXPECT_NE(reasonFor(folder / "absent" / "out").find("does not exist"), std::string::npos);
    EXPECT_NE(reasonFor(folder / "file" / "out").find("is not a folder"), std::string::npos);
    fs::permissions(folder / "file", fs::perms::owner_read);
    EXPECT_EQ(reasonFor(folder / "file"), "is write-protected");
    EXPECT_EQ(entryCount(folder.path()), 2U);
}

TEST(OutputFile, TakesNamesRelativeToTheCurrentFolder) {
    const TemporaryFolder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_EQ(reasonFor("out"), "no error");
    fs::current_path(before);
}

}  // namespace q7send

#include "platform/folders.h"

#include <gtest/gtest.h>

#include <fstream>

#include "platform/files.h"
#include "tests/platform/local_app_data.h"
#include "tests/platform/long_path.h"
#include "tests/read_file.h"
#include "tests/temporary_folder.h"

namespace fs = std::filesystem;
using platform::FolderCreation;

namespace {

WideString wide(const fs::path& path) {
    return path.u16string();
}

constexpr char16_t separator = static_cast<char16_t>(fs::path::preferred_separator);

// The folder with all that are missing above it.
bool createAll(const WideString& path) {
    for (std::size_t end = path.find(separator, 1);; end = path.find(separator, end + 1)) {
        const WideString folder = path.substr(0, end);
        if (!platform::isFolder(folder) &&
            platform::createFolder(folder) != FolderCreation::Created)
            return false;
        if (end == WideString::npos) return true;
    }
}

}  // namespace

TEST(LocalAppDataFolder, IsTheUsersWithoutASeparatorBehindIt) {
    const LocalAppData data;
    EXPECT_EQ(platform::localAppDataFolder(), wide(data.path()));
    LocalAppData::set(data / fs::path(u"\u00E9\u4E2D"));
    fs::create_directory(data / fs::path(u"\u00E9\u4E2D"));
    EXPECT_EQ(platform::localAppDataFolder(), wide(data / fs::path(u"\u00E9\u4E2D")));
}

#if defined(_WIN32)

TEST(LocalAppDataFolder, IsEmptyWhenTheSystemHasNone) {
    const LocalAppData data;
    LocalAppData::set(data / "missing");
    EXPECT_EQ(platform::localAppDataFolder(), u"");
}

#else

TEST(LocalAppDataFolder, IsInTheHomeFolderUnlessTheVariableNamesOne) {
    const LocalAppData data;
    const char* const home = std::getenv("HOME");
    const std::string before = home ? home : "";
    setenv("HOME", "/some/where", 1);
    for (const char* value : {"", "relative", "./x"}) {
        setenv("XDG_DATA_HOME", value, 1);
        EXPECT_EQ(platform::localAppDataFolder(), u"/some/where/.local/share") << value;
    }
    setenv("XDG_DATA_HOME", "/data/home//", 1);
    EXPECT_EQ(platform::localAppDataFolder(), u"/data/home");
    unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(platform::localAppDataFolder(), u"/some/where/.local/share");
    setenv("HOME", "/some/where/", 1);
    EXPECT_EQ(platform::localAppDataFolder(), u"/some/where/.local/share");
    setenv("HOME", "relative", 1);
    EXPECT_EQ(platform::localAppDataFolder(), u"");
    unsetenv("HOME");
    EXPECT_EQ(platform::localAppDataFolder(), u"");
    if (home) setenv("HOME", before.c_str(), 1);
}

#endif

TEST(IsFolder, IsTrueForFoldersOnly) {
    const TemporaryFolder folder;
    std::ofstream(folder / "file") << "x";
    EXPECT_TRUE(platform::isFolder(wide(folder.path())));
    EXPECT_TRUE(platform::isFolder(wide(folder.path()) + separator));
    EXPECT_TRUE(platform::isFolder(wide(folder.path().root_path())));
    EXPECT_FALSE(platform::isFolder(wide(folder / "file")));
    EXPECT_FALSE(platform::isFolder(wide(folder / "missing")));
    EXPECT_FALSE(platform::isFolder(u""));
}

TEST(CreateFolder, TellsWhatStoodThere) {
    const TemporaryFolder folder;
    std::ofstream(folder / "file") << "x";
    for (const WideString& end : {WideString(), WideString(1, separator)}) {
        const WideString path = wide(folder / "new") + end;
        EXPECT_EQ(platform::createFolder(path), FolderCreation::Created);
        EXPECT_TRUE(platform::isFolder(path));
        EXPECT_EQ(platform::createFolder(path), FolderCreation::AlreadyExists);
        EXPECT_EQ(platform::createFolder(wide(folder / "file") + end),
                  FolderCreation::AlreadyExists);
        EXPECT_EQ(platform::createFolder(wide(folder / "missing" / "new") + end),
                  FolderCreation::Failed);
        EXPECT_EQ(platform::createFolder(wide(folder / "file" / "new") + end),
                  FolderCreation::Failed);
        fs::remove(folder / "new");
    }
    EXPECT_EQ(platform::createFolder(u""), FolderCreation::Failed);
    EXPECT_EQ(readFile(folder / "file"), "x");
}

TEST(RemoveFolderTree, RemovesAllThatIsInIt) {
    const TemporaryFolder folder;
    fs::create_directories(folder / "tree" / "a" / "b");
    fs::create_directories(folder / "tree" / fs::path(u"\u00E9\u4E2D"));
    std::ofstream(folder / "tree" / "a" / "file") << "x";
    std::ofstream(folder / "tree" / "read only") << "x";
    fs::permissions(folder / "tree" / "read only", fs::perms::owner_read);
    std::ofstream(folder / "beside") << "x";
    EXPECT_TRUE(platform::removeFolderTree(wide(folder / "tree")));
    EXPECT_FALSE(fs::exists(folder / "tree"));
    EXPECT_TRUE(fs::exists(folder / "beside"));
}

TEST(RemoveFolderTree, IsFalseWhenNothingIsThere) {
    const TemporaryFolder folder;
    std::ofstream(folder / "beside") << "x";
    EXPECT_FALSE(platform::removeFolderTree(wide(folder / "missing")));
    EXPECT_FALSE(platform::removeFolderTree(wide(folder / "missing" / "too")));
    EXPECT_FALSE(platform::removeFolderTree(pathOfLength(folder.path(), 300)));
    EXPECT_FALSE(platform::removeFolderTree(u""));
    EXPECT_TRUE(fs::exists(folder / "beside"));
}

#if !defined(_WIN32)

TEST(RemoveFolderTree, LeavesWhatLinksPointTo) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "tree");
    fs::create_directory(folder / "kept");
    std::ofstream(folder / "kept" / "file") << "x";
    fs::create_directory_symlink(folder / "kept", folder / "tree" / "link");
    EXPECT_TRUE(platform::isFolder(wide(folder / "tree" / "link")));
    EXPECT_TRUE(platform::removeFolderTree(wide(folder / "tree")));
    EXPECT_TRUE(fs::exists(folder / "kept" / "file"));
}

#else

TEST(RemoveFolderTree, IsFalseWhenAFileIsInUse) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "tree");
    {
        const std::ofstream inUse(folder / "tree" / "file");
        EXPECT_FALSE(platform::removeFolderTree(wide(folder / "tree")));
        EXPECT_TRUE(fs::exists(folder / "tree" / "file"));
    }
    EXPECT_TRUE(platform::removeFolderTree(wide(folder / "tree")));
}

#endif

TEST(Folders, MayHavePathsOfAnyLength) {
    const TemporaryFolder folder;
    const WideString deepest = pathOfLength(folder.path(), 400);
    const std::size_t start = wide(folder.path()).size();
    ASSERT_TRUE(createAll(deepest));
    EXPECT_TRUE(platform::isFolder(deepest));
    EXPECT_EQ(platform::createFolder(deepest), FolderCreation::AlreadyExists);
    const WideString file = deepest + separator + u"file";
    ASSERT_NE(platform::openBinaryForWriting(file), nullptr);
    EXPECT_TRUE(platform::fileCanBeOpened(file));
    EXPECT_EQ(platform::createFolder(file), FolderCreation::AlreadyExists);
    // Once by a path that is long itself, once by one whose contents alone are.
    const WideString middle = deepest.substr(0, deepest.find(separator, 300));
    EXPECT_TRUE(platform::removeFolderTree(middle));
    EXPECT_FALSE(platform::isFolder(middle));
    EXPECT_EQ(platform::createFolder(middle), FolderCreation::Created);
    const WideString first = deepest.substr(0, deepest.find(separator, start + 1));
    EXPECT_TRUE(platform::removeFolderTree(first));
    EXPECT_FALSE(platform::isFolder(first));
}

TEST(LongestPathIn, CountsTheBytesOfAllLevels) {
    const TemporaryFolder folder;
    const auto longest = [&](const fs::path& path) {
        return platform::longestPathIn(wide(path)).value_or(0) - wideToUtf8(wide(path)).size();
    };
    EXPECT_EQ(longest(folder.path()), 0U);
    std::ofstream(folder / "file") << "x";
    EXPECT_EQ(longest(folder.path()), 5U);
    fs::create_directories(folder / "a" / "bc" / "d");
    EXPECT_EQ(longest(folder.path()), 7U);
    std::ofstream(folder / "a" / fs::path(u"\u00E9\u4E2D\U0001F600")) << "x";
    EXPECT_EQ(longest(folder.path()), 12U);
    EXPECT_EQ(longest(folder / "a"), 10U);
    const WideString deep = pathOfLength(folder.path(), 700);
    EXPECT_TRUE(createAll(deep));
    EXPECT_EQ(platform::longestPathIn(wide(folder.path())), 700U);
    EXPECT_EQ(platform::longestPathIn(deep), 700U);
}

TEST(LongestPathIn, IsNothingForWhatIsNoFolder) {
    const TemporaryFolder folder;
    std::ofstream(folder / "file") << "x";
    EXPECT_EQ(platform::longestPathIn(wide(folder / "file")), std::nullopt);
    EXPECT_EQ(platform::longestPathIn(wide(folder / "missing")), std::nullopt);
    EXPECT_EQ(platform::longestPathIn(u""), std::nullopt);
}

#if !defined(_WIN32)

TEST(LongestPathIn, FollowsNoLink) {
    const TemporaryFolder folder;
    fs::create_directories(folder / "inner");
    fs::create_directory_symlink(folder.path(), folder / "inner" / "loop");
    const std::size_t length = wideToUtf8(wide(folder.path())).size();
    EXPECT_EQ(platform::longestPathIn(wide(folder.path())), length + 11);
}

#endif

#include "platform/folders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <vector>

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

#include "platform/files.h"
#include "tests/platform/local_app_data.h"
#include "tests/platform/long_path.h"
#include "tests/read_file.h"
#include "tests/temporary_folder.h"

#if defined(_WIN32)
#include <optional>

#include "platform/windows/folder_removal.h"
#endif

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

// The names that a walk visits, folders with a separator at the end; their paths must lead to them.
std::vector<std::string> namesBelow(const WideString& folder) {
    std::vector<std::string> names;
    EXPECT_TRUE(platform::walkFolder(folder, [&](const platform::FolderEntry& entry) {
        EXPECT_TRUE(entry.path.ends_with(entry.name)) << entry.path;
        const WideString path = utf8ToWide(entry.path);
        EXPECT_EQ(platform::isFolder(path), entry.isFolder) << entry.path;
        EXPECT_EQ(platform::fileCanBeOpened(path), !entry.isFolder) << entry.path;
        names.push_back(entry.isFolder ? wideToUtf8(utf8ToWide(entry.name) + separator)
                                       : entry.name);
        return true;
    }));
    return names;
}

std::string native(const char16_t* path) {
    return wideToUtf8(wide(fs::path(path).make_preferred()));
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

namespace {

// A file that another program looks at, and that nobody may remove meanwhile.
class HeldFile {
  public:
    explicit HeldFile(const fs::path& path) {
        std::ofstream(path) << "x";
        constexpr DWORD noRemoval = FILE_SHARE_READ | FILE_SHARE_WRITE;
        handle_ = CreateFileW(path.c_str(), GENERIC_READ, noRemoval, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
        EXPECT_NE(handle_, INVALID_HANDLE_VALUE);
    }
    ~HeldFile() { CloseHandle(handle_); }
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;

  private:
    HANDLE handle_;
};

std::optional<HeldFile> held;
int waits = 0;

}  // namespace

TEST(RemoveFolderTree, WaitsForAProgramThatLooksAtAFile) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "tree");
    held.emplace(folder / "tree" / "file");
    waits = 0;
    EXPECT_TRUE(platform::removeFolderTree(wide(folder / "tree"), [] {
        if (++waits == platform::mostWaits) held.reset();
    }));
    EXPECT_EQ(waits, platform::mostWaits);
    EXPECT_FALSE(fs::exists(folder / "tree"));
}

TEST(RemoveFolderTree, DoesNotWaitForEver) {
    const TemporaryFolder folder;
    fs::create_directories(folder / "tree" / "a");
    const HeldFile one(folder / "tree" / "a" / "file");
    const HeldFile two(folder / "tree" / "file");
    std::ofstream(folder / "tree" / "free") << "x";
    waits = 0;
    EXPECT_FALSE(platform::removeFolderTree(wide(folder / "tree"), [] { ++waits; }));
    EXPECT_EQ(waits, platform::mostWaits);
    EXPECT_TRUE(fs::exists(folder / "tree" / "a" / "file"));
    EXPECT_FALSE(fs::exists(folder / "tree" / "free"));
    EXPECT_FALSE(platform::removeFolderTree(wide(folder / "missing"), [] { ++waits; }));
    EXPECT_EQ(waits, platform::mostWaits);
}

TEST(RemoveFolderTree, IsFalseWhenAFileStaysInUse) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "tree");
    held.emplace(folder / "tree" / "file");
    EXPECT_FALSE(platform::removeFolderTree(wide(folder / "tree")));
    EXPECT_TRUE(fs::exists(folder / "tree" / "file"));
    held.reset();
    EXPECT_TRUE(platform::removeFolderTree(wide(folder / "tree")));
}

namespace {

// A link to a folder that needs no privilege. False under Wine, which makes none.
bool makeJunction(const fs::path& link, const fs::path& target) {
    const std::wstring command =
        L"mklink /J \"" + link.wstring() + L"\" \"" + target.wstring() + L"\" >nul 2>nul";
    return _wsystem(command.c_str()) == 0 && fs::exists(link);
}

}  // namespace

TEST(RemoveFolderTree, LeavesWhatJunctionsPointTo) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "tree");
    fs::create_directory(folder / "kept");
    std::ofstream(folder / "kept" / "file") << "x";
    if (!makeJunction(folder / "tree" / "link", folder / "kept"))
        GTEST_SKIP() << "this system makes no junctions";
    EXPECT_EQ(namesBelow(wide(folder / "tree")), std::vector<std::string>());
    EXPECT_TRUE(platform::removeFolderTree(wide(folder / "tree")));
    EXPECT_TRUE(fs::exists(folder / "kept" / "file"));
}

// Of attributes and tag alone: Wine makes no reparse points.
TEST(IsFolderItself, IsFalseForLinksOnly) {
    constexpr DWORD folder = FILE_ATTRIBUTE_DIRECTORY;
    constexpr DWORD placeholder = folder | FILE_ATTRIBUTE_REPARSE_POINT;
    EXPECT_TRUE(platform::isFolderItself(folder, 0));
    // Without a reparse point there is no tag, whatever stands in its place.
    EXPECT_TRUE(platform::isFolderItself(folder, IO_REPARSE_TAG_SYMLINK));
    for (const DWORD tag : {0x9000001AUL, 0x9000101AUL, 0x9000F01AUL})  // a cloud service's
        EXPECT_TRUE(platform::isFolderItself(placeholder, tag)) << tag;
    EXPECT_TRUE(platform::isFolderItself(placeholder, IO_REPARSE_TAG_DEDUP));
    EXPECT_TRUE(platform::isFolderItself(placeholder, IO_REPARSE_TAG_WIM));
    EXPECT_FALSE(platform::isFolderItself(placeholder, IO_REPARSE_TAG_SYMLINK));
    EXPECT_FALSE(platform::isFolderItself(placeholder, IO_REPARSE_TAG_MOUNT_POINT));
    EXPECT_FALSE(platform::isFolderItself(FILE_ATTRIBUTE_NORMAL, 0));
    EXPECT_FALSE(platform::isFolderItself(FILE_ATTRIBUTE_REPARSE_POINT, 0x9000001AUL));
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

TEST(WalkFolder, VisitsAllLevelsAndFoldersBeforeTheirContent) {
    const TemporaryFolder folder;
    EXPECT_EQ(namesBelow(wide(folder.path())), std::vector<std::string>());
    fs::create_directories(folder / "a" / "bc" / "d");
    std::ofstream(folder / "a" / "bc" / "file") << "x";
    const std::vector<std::string> names = namesBelow(wide(folder.path()));
    const std::vector<std::string> first(names.begin(), names.begin() + 2);
    EXPECT_EQ(first, (std::vector<std::string>{native(u"a/"), native(u"a/bc/")}));
    const std::set<std::string> rest(names.begin() + 2, names.end());
    EXPECT_EQ(names.size(), 4U);
    EXPECT_EQ(rest, (std::set<std::string>{native(u"a/bc/d/"), native(u"a/bc/file")}));
}

TEST(WalkFolder, NamesAreUtf8AndOfAnyLength) {
    const TemporaryFolder folder;
    fs::create_directory(folder / fs::path(u"\u00E9"));
    std::ofstream(folder / fs::path(u"\u00E9") / fs::path(u"\u4E2D\U0001F600")) << "x";
    EXPECT_EQ(namesBelow(wide(folder.path())),
              (std::vector<std::string>{native(u"\u00E9/"), native(u"\u00E9/\u4E2D\U0001F600")}));
    const WideString deep = pathOfLength(folder.path(), 700);
    EXPECT_TRUE(createAll(deep));
    const std::string longest = wideToUtf8(deep.substr(wide(folder.path()).size() + 1));
    const std::vector<std::string> all = namesBelow(wide(folder.path()));
    EXPECT_EQ(std::count(all.begin(), all.end(), longest + native(u"/")), 1);
    EXPECT_EQ(namesBelow(deep), std::vector<std::string>());
}

TEST(WalkFolder, EndsWhenTheVisitorSaysSo) {
    const TemporaryFolder folder;
    for (const char* name : {"a", "b", "c"})
        std::ofstream(folder / name) << "x";
    int visits = 0;
    EXPECT_FALSE(platform::walkFolder(wide(folder.path()),
                                      [&](const platform::FolderEntry&) { return ++visits < 2; }));
    EXPECT_EQ(visits, 2);
}

TEST(WalkFolder, IsFalseForWhatIsNotAFolder) {
    const TemporaryFolder folder;
    std::ofstream(folder / "file") << "x";
    for (const WideString& path : {wide(folder / "file"), wide(folder / "missing"), WideString()}) {
        EXPECT_FALSE(platform::walkFolder(path, [](const platform::FolderEntry&) {
            ADD_FAILURE() << "visited";
            return true;
        }));
    }
}

#if !defined(_WIN32)

TEST(WalkFolder, LeavesOutLinksAndSpecialFiles) {
    const TemporaryFolder folder;
    fs::create_directories(folder / "inner");
    std::ofstream(folder / "inner" / "file") << "x";
    fs::create_directory_symlink(folder.path(), folder / "inner" / "loop");
    fs::create_symlink(folder / "inner" / "file", folder / "link");
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_EQ(namesBelow(wide(folder.path())), (std::vector<std::string>{"inner/", "inner/file"}));
}

#endif

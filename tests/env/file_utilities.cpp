#include "env/file_utilities.h"

#include <gtest/gtest.h>

#include <fstream>

#include "platform/files.h"
#include "platform/folders.h"
#include "platform/path_separator.h"
#include "tests/platform/long_path.h"
#include "tests/read_file.h"
#include "tests/temporary_folder.h"

#if !defined(_WIN32)
#include "tests/faults/posix_faults.h"
#include "tests/platform/inheritance.h"
#endif

namespace fs = std::filesystem;

namespace {

WideString wide(const fs::path& path) {
    return path.u16string();
}

// The text with "/" turned into the platform's separator.
WideString native(WideView path) {
    return replaceUnit(path, u'/', platform::pathSeparator);
}

}  // namespace

TEST(CreateDirectories, MakesAllLevels) {
    const TemporaryFolder folder;
    EXPECT_TRUE(createDirectories(wide(folder / "a" / "b" / "c")));
    EXPECT_TRUE(fs::is_directory(folder / "a" / "b" / "c"));
    EXPECT_TRUE(createDirectories(wide(folder / "a" / "b" / "d" / "")));
    EXPECT_TRUE(fs::is_directory(folder / "a" / "b" / "d"));
    EXPECT_TRUE(createDirectories(wide(folder / fs::path(u"\u00E9\u4E2D\U0001F600"))));
    EXPECT_TRUE(fs::is_directory(folder / fs::path(u"\u00E9\u4E2D\U0001F600")));
}

TEST(CreateDirectories, IsTrueForOneThatExists) {
    const TemporaryFolder folder;
    EXPECT_TRUE(createDirectories(wide(folder.path())));
    EXPECT_TRUE(createDirectories(wide(folder.path()) + platform::pathSeparator));
    EXPECT_TRUE(createDirectories(wide(folder.path().root_path())));
    EXPECT_TRUE(createDirectories(u""));
    EXPECT_TRUE(createDirectories(wide(folder.path()) + native(u"//x//")));
    EXPECT_TRUE(fs::is_directory(folder / "x"));
}

TEST(CreateDirectories, TakesASlashAsASeparator) {
    const TemporaryFolder folder;
    EXPECT_TRUE(createDirectories(folder.path().generic_u16string() + u"/a/b/"));
    EXPECT_TRUE(fs::is_directory(folder / "a" / "b"));
    EXPECT_TRUE(createDirectories(wide(folder.path()) + platform::pathSeparator + u"c/d"));
    EXPECT_TRUE(fs::is_directory(folder / "c" / "d"));
}

#if defined(_WIN32)

TEST(FirstFolderIn, IsBehindWhatCannotBeMade) {
    const std::pair<WideView, WideView> rows[] = {{u"\\\\server\\share\\", u"a\\b\\"},
                                                  {u"\\\\?\\UNC\\server\\share\\", u"a\\"},
                                                  {u"\\\\?\\unc\\server\\share\\", u"a\\"},
                                                  {u"\\\\.\\Unc\\server\\share\\", u"a\\"},
                                                  {u"\\\\?\\C:\\", u"a\\b\\"},
                                                  {u"\\\\.\\C:\\", u"a\\"},
                                                  {u"\\\\server\\share", u""},
                                                  {u"\\\\server\\", u""},
                                                  {u"\\\\server", u""},
                                                  {u"\\\\", u""},
                                                  {u"", u"C:\\a\\b\\"},
                                                  {u"", u"\\a\\"},
                                                  {u"", u"a\\b\\"},
                                                  {u"", u""}};
    for (const auto& [root, folders] : rows) {
        const WideString path = WideString(root) + WideString(folders);
        EXPECT_EQ(firstFolderIn(path), root.size()) << wideToUtf8(path);
    }
}

TEST(CreateDirectories, MakesTheFoldersOfAPathThatIsTakenLiterally) {
    const TemporaryFolder folder;
    const WideString literal = u"\\\\?\\" + wide(folder.path());
    EXPECT_TRUE(createDirectories(literal + u"\\a\\b"));
    EXPECT_TRUE(fs::is_directory(folder / "a" / "b"));
    EXPECT_TRUE(createDirectories(literal));
    EXPECT_FALSE(createDirectories(u"\\\\?\\no:\\a"));
    // No such share, and nobody is asked for a server.
    EXPECT_FALSE(createDirectories(u"\\\\?\\UNC\\"));
}

#else

TEST(FirstFolderIn, IsTheFirst) {
    for (const WideView path : {u"//server/share/a/", u"\\\\server\\share\\a/", u"/a/", u""})
        EXPECT_EQ(firstFolderIn(path), 0U);
}

#endif

TEST(CreateDirectories, StopsWhereOneCannotBe) {
    const TemporaryFolder folder;
    std::ofstream(folder / "file") << "x";
    EXPECT_FALSE(createDirectories(wide(folder / "file" / "a" / "b")));
    EXPECT_FALSE(createDirectories(wide(folder / "made" / std::string(300, 'x') / "a")));
    EXPECT_TRUE(fs::is_empty(folder / "made"));
    EXPECT_EQ(readFile(folder / "file"), "x");
}

TEST(CreateDirectories, CountsAFileOfThatNameAsThere) {
    const TemporaryFolder folder;
    std::ofstream(folder / "file") << "x";
    EXPECT_TRUE(createDirectories(wide(folder / "file")));
    EXPECT_TRUE(createDirectories(wide(folder / "file" / "")));
    EXPECT_EQ(readFile(folder / "file"), "x");
}

TEST(CreateDirectories, HasNoLimitThatRemovingDoesNotReach) {
    const TemporaryFolder folder;
    for (const std::size_t length : {246, 247, 248, 249, 258, 259, 260, 261, 262, 400, 900}) {
        const WideString path = pathOfLength(folder.path(), length);
        ASSERT_EQ(path.size(), length);
        EXPECT_TRUE(createDirectories(path)) << length;
        EXPECT_TRUE(platform::isFolder(path)) << length;
        std::ofstream(platform::nativePath(path + platform::pathSeparator + u"file")) << "x";
        EXPECT_TRUE(removeDirectoryTree(path)) << length;
        EXPECT_FALSE(platform::isFolder(path)) << length;
        EXPECT_TRUE(createDirectories(path)) << length;
        const std::size_t top = wide(folder.path()).size() + 1;
        EXPECT_TRUE(removeDirectoryTree(path.substr(0, path.find(platform::pathSeparator, top))))
            << length;
        EXPECT_TRUE(fs::is_empty(folder.path())) << length;
    }
}

TEST(ParentPath, IsWhatStandsBeforeTheLastSeparator) {
    EXPECT_EQ(parentPath(native(u"a/b/c")), native(u"a/b"));
    EXPECT_EQ(parentPath(native(u"a/b/c/")), native(u"a/b"));
    EXPECT_EQ(parentPath(native(u"a/b/c//")), native(u"a/b/c"));
    EXPECT_EQ(parentPath(native(u"C:/x")), u"C:");
    EXPECT_EQ(parentPath(native(u"/x")), u"");
    EXPECT_EQ(parentPath(native(u"/")), u"");
    EXPECT_EQ(parentPath(u""), u"");
}

TEST(ParentPath, IsTheWholeTextWithoutASeparator) {
    EXPECT_EQ(parentPath(u"name.q7a"), u"name.q7a");
    EXPECT_EQ(parentPath(native(u"name.q7a/")), u"name.q7a");
}

TEST(FileName, IsWhatStandsBehindTheLastSeparator) {
    EXPECT_EQ(fileName(native(u"a/b.c")), u"b.c");
    EXPECT_EQ(fileName(native(u"a/b/")), u"");
    EXPECT_EQ(fileName(u"a.b"), u"a.b");
    EXPECT_EQ(fileName(u""), u"");
}

TEST(Paths, AreSplitAtThePlatformsSeparatorOnly) {
    const WideString other = platform::pathSeparator == u'/' ? u"a\\b" : u"a/b";
    EXPECT_EQ(parentPath(other), other);
    EXPECT_EQ(fileName(other), other);
}

TEST(CopyStream, IsFalseForAFileThatHasFailedOnly) {
    const TemporaryFolder folder;
    const WideString path = wide(folder / "file");
    std::ofstream(folder / "file") << "text";
    const platform::File failed = platform::openBinaryForReading(path);
    std::fputc('x', failed.get());
    ASSERT_NE(std::ferror(failed.get()), 0);
    const platform::File from = platform::openBinaryForReading(path);
    platform::File to = platform::openBinaryForWriting(wide(folder / "copy"));
    EXPECT_FALSE(copyStream(failed.get(), to.get()));
    EXPECT_FALSE(copyStream(failed.get(), nullptr));
    EXPECT_FALSE(copyStream(from.get(), failed.get()));
    EXPECT_FALSE(copyStream(nullptr, failed.get()));
    EXPECT_TRUE(copyStream(nullptr, to.get()));
    EXPECT_TRUE(copyStream(from.get(), nullptr));
    EXPECT_EQ(std::ftell(to.get()), 0);
    EXPECT_TRUE(copyStream(from.get(), to.get()));
    to.reset();
    EXPECT_EQ(readFile(folder / "copy"), "text");
}

TEST(CopyFile, CopiesAllBytesAndReplacesTheTarget) {
    const TemporaryFolder folder;
    std::string content("a\r\nb\n\0c\x1A", 8);
    for (unsigned i = 0; i < 300000; ++i)
        content += static_cast<char>(i * i >> 5);
    std::ofstream(folder / "source", std::ios::binary) << content;
    std::ofstream(folder / "target") << std::string(content.size() + 10, 'x');
    EXPECT_TRUE(copyFile(wide(folder / "source"), wide(folder / "target")));
    EXPECT_EQ(readFile(folder / "target"), content);
    EXPECT_EQ(readFile(folder / "source"), content);
    std::ofstream(folder / "empty");
    EXPECT_TRUE(copyFile(wide(folder / "empty"), wide(folder / "target")));
    EXPECT_EQ(readFile(folder / "target"), "");
}

TEST(CopyFile, ReplacesATargetThatAnotherProgramReads) {
    const TemporaryFolder folder;
    std::ofstream(folder / "source") << "new";
    std::ofstream(folder / "target") << "older";
    const std::ifstream reader(folder / "target");
    ASSERT_TRUE(reader.is_open());
    EXPECT_TRUE(copyFile(wide(folder / "source"), wide(folder / "target")));
    EXPECT_EQ(readFile(folder / "target"), "new");
}

TEST(CopyFile, EmptiesAFileThatIsItsOwnTarget) {
    const TemporaryFolder folder;
    std::ofstream(folder / "file") << "x";
    EXPECT_TRUE(copyFile(wide(folder / "file"), wide(folder / "file")));
    EXPECT_EQ(readFile(folder / "file"), "");
}

TEST(CopyFile, LeavesAnEmptyTargetOfASourceThatCannotBeOpened) {
    const TemporaryFolder folder;
    for (const WideString& source : {wide(folder / "missing"), wide(folder.path()), WideString()}) {
        std::ofstream(folder / "target") << "x";
        EXPECT_TRUE(copyFile(source, wide(folder / "target")));
        EXPECT_TRUE(fs::is_regular_file(folder / "target"));
        EXPECT_EQ(readFile(folder / "target"), "");
    }
}

TEST(CopyFile, LosesTheDataWhenTheTargetCannotBeOpened) {
    const TemporaryFolder folder;
    std::ofstream(folder / "source") << "x";
    for (const WideString& target :
         {wide(folder / "missing" / "target"), wide(folder.path()), WideString()}) {
        EXPECT_TRUE(copyFile(wide(folder / "source"), target));
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
    EXPECT_EQ(readFile(folder / "source"), "x");
}

#if !defined(_WIN32)

TEST(CopyFile, KeepsNoFileOpenInProgramsThatTheHostStarts) {
    const TemporaryFolder folder;
    SlowFile source(folder / "source");
    OpenFiles files;
    source.write(std::string(100'000, 'x'), [&] { files = openFilesIn(folder.path()); });
    EXPECT_TRUE(copyFile(wide(folder / "source"), wide(folder / "target")));
    source.end();
    // Both ends of the source, and the target.
    EXPECT_EQ(files.open, 3U);
    EXPECT_EQ(files.inherited, 0U);
}

#endif

TEST(CopyFileToFolder, KeepsTheName) {
    const TemporaryFolder folder;
    std::ofstream(folder / "source.x") << "text";
    fs::create_directory(folder / "a");
    fs::create_directory(folder / "b");
    EXPECT_TRUE(copyFileToFolder(wide(folder / "source.x"), wide(folder / "a")));
    EXPECT_EQ(readFile(folder / "a" / "source.x"), "text");
    EXPECT_TRUE(copyFileToFolder(wide(folder / "source.x"), wide(folder / "b" / "")));
    EXPECT_EQ(readFile(folder / "b" / "source.x"), "text");
}

TEST(CopyFileToFolder, NeedsSourceAndFolder) {
    const TemporaryFolder folder;
    std::ofstream(folder / "source") << "text";
    EXPECT_FALSE(copyFileToFolder(wide(folder / "missing"), wide(folder.path())));
    EXPECT_FALSE(copyFileToFolder(wide(folder.path()), wide(folder.path())));
    EXPECT_FALSE(copyFileToFolder(wide(folder / "source"), wide(folder / "missing")));
    EXPECT_FALSE(copyFileToFolder(wide(folder / "source"), wide(folder / "source")));
    EXPECT_FALSE(copyFileToFolder(wide(folder / "source"), u""));
    EXPECT_EQ(readFile(folder / "source"), "text");
}

TEST(CopyFileToFolder, DoesNotLookAtHowTheCopyWent) {
    const TemporaryFolder folder;
    std::ofstream(folder / "source") << "text";
    fs::create_directories(folder / "target" / "source");
    EXPECT_TRUE(copyFileToFolder(wide(folder / "source"), wide(folder / "target")));
    EXPECT_TRUE(fs::is_empty(folder / "target" / "source"));
}

TEST(CopyFileToFolder, TakesLongPaths) {
    const TemporaryFolder folder;
    const WideString deep = pathOfLength(folder.path(), 300);
    ASSERT_TRUE(createDirectories(deep));
    std::ofstream(folder / "source") << "text";
    EXPECT_TRUE(copyFileToFolder(wide(folder / "source"), deep));
    EXPECT_TRUE(copyFile(deep + platform::pathSeparator + u"source", wide(folder / "back")));
    EXPECT_EQ(readFile(folder / "back"), "text");
    EXPECT_TRUE(removeDirectoryTree(deep));
}

TEST(RemoveDirectoryTree, TellsWhetherItIsGone) {
    const TemporaryFolder folder;
    fs::create_directories(folder / "tree" / "a");
    std::ofstream(folder / "tree" / "a" / "file") << "x";
    EXPECT_TRUE(removeDirectoryTree(wide(folder / "tree")));
    EXPECT_FALSE(fs::exists(folder / "tree"));
    EXPECT_FALSE(removeDirectoryTree(wide(folder / "tree")));
}

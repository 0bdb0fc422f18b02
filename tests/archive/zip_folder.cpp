#include "archive/zip_folder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "common/zip_reader.h"
#include "env/file_utilities.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/path_separator.h"
#include "tests/platform/long_path.h"
#include "tests/read_file.h"
#include "tests/temporary_folder.h"

namespace {

namespace fs = std::filesystem;

void writeFile(const fs::path& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary);
    file << content;
}

WideString wide(const fs::path& path) {
    return path.u16string();
}

// Reading needs the bytes of the file for as long as the reader.
class Archive {
  public:
    explicit Archive(const fs::path& path)
        : bytes_(readFile(path)), reader_(std::as_bytes(std::span(bytes_))) {}

    // The names with the files' contents.
    std::map<std::string, std::string> contents() const {
        std::map<std::string, std::string> all;
        for (const q7tools::ZipEntry& entry : reader_.entries()) {
            std::string text;
            for (const std::byte byte : reader_.read(entry))
                text += static_cast<char>(byte);
            all.emplace(entry.name, text);
        }
        return all;
    }
    const q7tools::ZipReader& reader() const { return reader_; }

  private:
    std::string bytes_;
    q7tools::ZipReader reader_;
};

class ZipFolder : public testing::Test {
  protected:
    ZipFolder() { fs::create_directories(folder); }

    bool zip() const { return zipFolder(wide(folder), wide(target)); }

    TemporaryFolder temporary;
    const fs::path folder = temporary / "packed";
    const fs::path target = temporary / "out.q7a";
};

TEST_F(ZipFolder, packsAllLevelsUnderNamesRelativeToTheFolder) {
    const std::string binary("\0\r\n\xFF\x1A", 5);
    writeFile(folder / "1.q7mesh", binary);
    writeFile(folder / "info.json", "{}");
    fs::create_directories(folder / "textures" / "deeper");
    writeFile(folder / "textures" / "wood.png", std::string(100'000, 'w'));
    writeFile(folder / "textures" / "deeper" / "empty", "");

    ASSERT_TRUE(zip());
    const std::map<std::string, std::string> expected{
        {"1.q7mesh", binary},
        {"info.json", "{}"},
        {"textures/", ""},
        {"textures/deeper/", ""},
        {"textures/deeper/empty", ""},
        {"textures/wood.png", std::string(100'000, 'w')},
    };
    EXPECT_EQ(Archive(target).contents(), expected);
}

TEST_F(ZipFolder, emptyFolderHasAnEntry) {
    fs::create_directories(folder / "textures");
    ASSERT_TRUE(zip());
    const std::map<std::string, std::string> expected{{"textures/", ""}};
    EXPECT_EQ(Archive(target).contents(), expected);
}

TEST_F(ZipFolder, filesAreDeflatedAtTheHighestLevelWithoutPassword) {
    writeFile(folder / "wood.png", std::string(100'000, 'w'));
    ASSERT_TRUE(zip());
    const Archive archive(target);
    const q7tools::ZipEntry* entry = archive.reader().find("wood.png");
    ASSERT_NE(entry, nullptr);
    constexpr unsigned encrypted = 0x0001;
    constexpr unsigned levelBits = 0x0006;
    constexpr unsigned highestLevel = 0x0002;
    constexpr unsigned deflate = 8;
    EXPECT_EQ(entry->method, deflate);
    EXPECT_EQ(entry->flags & (encrypted | levelBits), highestLevel);
    EXPECT_LT(entry->packedSize, 1000U);
}

TEST_F(ZipFolder, namesAreUtf8AndMarkedAsSuch) {
    const fs::path inner = folder / u"\u6750\u8d28";
    fs::create_directories(inner);
    writeFile(inner / u"\u00e4\U0001F600.png", "wood");
    writeFile(folder / "plain", "");
    ASSERT_TRUE(zip());
    const Archive archive(target);
    const std::map<std::string, std::string> expected{
        {"\xE6\x9D\x90\xE8\xB4\xA8/", ""},
        {"\xE6\x9D\x90\xE8\xB4\xA8/\xC3\xA4\xF0\x9F\x98\x80.png", "wood"},
        {"plain", ""},
    };
    EXPECT_EQ(archive.contents(), expected);
    for (const q7tools::ZipEntry& entry : archive.reader().entries())
        EXPECT_TRUE(entry.hasUtf8Flag()) << entry.name;
}

TEST_F(ZipFolder, pathsMayHoldAnyCharacter) {
    const fs::path home = temporary / u"\u6750 \u00e4\U0001F600";
    fs::create_directories(home / "from");
    writeFile(home / "from" / "a", "text");
    const fs::path archive = home / u"\u00fc.q7a";
    ASSERT_TRUE(zipFolder(wide(home / "from"), wide(archive)));
    const std::map<std::string, std::string> expected{{"a", "text"}};
    EXPECT_EQ(Archive(archive).contents(), expected);
}

TEST_F(ZipFolder, anOlderFileIsReplaced) {
    writeFile(target, std::string(100'000, 'x'));
    writeFile(folder / "a", "text");
    ASSERT_TRUE(zip());
    const Archive archive(target);
    const std::map<std::string, std::string> expected{{"a", "text"}};
    EXPECT_EQ(archive.contents(), expected);
    EXPECT_EQ(archive.reader().looseBytes(), 0U);
    EXPECT_LT(archive.reader().size(), 1000U);
}

TEST_F(ZipFolder, manyFilesAreAllThere) {
    constexpr int count = 300;
    for (int i = 0; i < count; ++i)
        writeFile(folder / std::to_string(i), std::to_string(i));
    ASSERT_TRUE(zip());
    const std::map<std::string, std::string> contents = Archive(target).contents();
    EXPECT_EQ(contents.size(), static_cast<std::size_t>(count));
    for (const auto& [name, content] : contents)
        EXPECT_EQ(name, content);
}

TEST_F(ZipFolder, aFolderWithNothingInItMakesAnEmptyArchive) {
    ASSERT_TRUE(zip());
    EXPECT_TRUE(Archive(target).contents().empty());
}

TEST_F(ZipFolder, aTargetThatCannotBeWrittenIsAFailure) {
    writeFile(folder / "a", "text");
    EXPECT_FALSE(zipFolder(wide(folder), wide(folder / "a" / "out.q7a")));
    EXPECT_FALSE(zipFolder(wide(folder), wide(folder)));
    EXPECT_FALSE(zipFolder(wide(folder), {}));
}

TEST_F(ZipFolder, aMissingFolderIsAFailureAndLeavesAnOlderFileAlone) {
    EXPECT_FALSE(zipFolder(wide(temporary / "missing"), wide(target)));
    EXPECT_FALSE(fs::exists(target));
    writeFile(target, "older");
    EXPECT_FALSE(zipFolder(wide(temporary / "missing"), wide(target)));
    EXPECT_EQ(readFile(target), "older");
}

// Around the sizes of the zip library's own buffers: 320 and 1024 bytes, and on Windows 260 characters.
TEST_F(ZipFolder, longPathsArePackedWhole) {
    for (const std::size_t length :
         {250, 300, 316, 317, 318, 319, 320, 500, 1010, 1023, 1030, 2000}) {
        const WideString deep = pathOfLength(folder, length);
        const WideString file = deep + platform::pathSeparator + u'a';
        ASSERT_TRUE(createDirectories(deep));
        writeFile(platform::nativePath(file), "text");
        const std::string name = wideToUtf8(file.substr(wide(folder).size() + 1));
        // Once with the long path as that of the folder, once as that of what is in it, once as the
        // archive's own.
        ASSERT_TRUE(zipFolder(deep, wide(target))) << length;
        EXPECT_EQ(Archive(target).contents(), (std::map<std::string, std::string>{{"a", "text"}}));
        ASSERT_TRUE(zip()) << length;
        const auto contents = Archive(target).contents();
        ASSERT_TRUE(contents.contains(fs::path(name).generic_string())) << length;
        EXPECT_EQ(contents.at(fs::path(name).generic_string()), "text");
        ASSERT_TRUE(zipFolder(deep, file + u".q7a")) << length;
        EXPECT_EQ(Archive(platform::nativePath(file + u".q7a")).contents().at("a"), "text");
        platform::removeFolderTree(wide(folder));
        fs::create_directories(folder);
    }
}

// The longest name of most file systems here; 255 units of any script, as Windows allows, cannot be made
// under Wine, which takes 255 bytes of UTF-8 for all.
TEST_F(ZipFolder, longNamesArePackedWhole) {
    const std::string name(255, 'n');
    const std::string inner(255, 'f');
    ASSERT_TRUE(createDirectories(wide(folder / inner)));
    writeFile(platform::nativePath(wide(folder / inner / name)), "text");
    ASSERT_TRUE(zip());
    EXPECT_EQ(Archive(target).contents().at(inner + "/" + name), "text");
}

#if !defined(_WIN32)

TEST_F(ZipFolder, aPathThatTheSystemCannotOpenIsAFailure) {
    WideString deep = wide(folder);
    const fs::path before = fs::current_path();
    fs::current_path(folder);
    // Deeper than one path can say.
    for (int i = 0; i < 20; ++i) {
        const std::string name(250, 'd');
        fs::create_directory(name);
        fs::current_path(name);
    }
    writeFile("a", "text");
    fs::current_path(before);
    EXPECT_FALSE(zip());
}

#endif

#if !defined(_WIN32)

TEST_F(ZipFolder, anArchiveThatCannotBeFinishedIsAFailure) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "there is no /dev/full here";
    // So many names that the list of them at the end is written at once.
    for (int i = 0; i < 300; ++i)
        writeFile(folder / std::to_string(i), "");
    EXPECT_FALSE(zipFolder(wide(folder), u"/dev/full"));
}

#endif

// Under Wine what is open is not seen here.
#if !defined(_WIN32)
TEST_F(ZipFolder, nothingStaysOpen) {
    const auto openFiles = [] {
        const auto files = fs::directory_iterator("/proc/self/fd");
        return std::distance(begin(files), end(files));
    };
    const auto before = openFiles();
    EXPECT_TRUE(zip());
    EXPECT_FALSE(zipFolder(wide(temporary / "missing"), wide(target)));
    EXPECT_FALSE(zipFolder(wide(folder), wide(target / "out.q7a")));
    EXPECT_EQ(openFiles(), before);
}
#endif

}  // namespace

#include "platform/settings_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/temporary_folder.h"

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

namespace {

class SettingsFile : public testing::Test {
  protected:
    // A file of its own for each text: the system may remember the files that it has read.
    WideString setting(const std::string& text, const WideString& section = u"Version",
                       const WideString& key = u"InstallerVersion") {
        const auto path = folder_ / ("settings" + std::to_string(++count_) + ".ini");
        std::ofstream(path, std::ios::binary) << text;
        return platform::readSetting(path.u16string(), section, key);
    }

    TemporaryFolder folder_;
    int count_ = 0;
};

std::string utf16(const std::u16string& text) {
    std::string bytes = "\xFF\xFE";
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

}  // namespace

TEST_F(SettingsFile, GivesTheValueOfTheKey) {
    EXPECT_EQ(setting("[Version]\nInstallerVersion=2.4\n"), u"2.4");
    EXPECT_EQ(setting("[Version]\r\nOther=1\r\nInstallerVersion=2.4.1\r\nLast=3\r\n"), u"2.4.1");
    EXPECT_EQ(setting("[Version]\nInstallerVersion=no line end"), u"no line end");
    EXPECT_EQ(setting("[Version]\nInstallerVersion=a=b;c\n"), u"a=b;c");
}

TEST_F(SettingsFile, IsEmptyWhereNothingIsFound) {
    EXPECT_EQ(platform::readSetting((folder_ / "missing.ini").u16string(), u"a", u"b"), u"");
    EXPECT_EQ(platform::readSetting(folder_.path().u16string(), u"a", u"b"), u"");
    EXPECT_EQ(setting(""), u"");
    EXPECT_EQ(setting("InstallerVersion=1\n"), u"");
    EXPECT_EQ(setting("[Other]\nInstallerVersion=1\n"), u"");
    EXPECT_EQ(setting("[Version]\nOther=1\n[Next]\nInstallerVersion=1\n"), u"");
    EXPECT_EQ(setting("[Version]\nInstallerVersion=\n"), u"");
    EXPECT_EQ(setting("[Version]\nInstallerVersion\n"), u"");
    EXPECT_EQ(setting("[Version]\nInstallerVersionOfOld=1\n"), u"");
}

TEST_F(SettingsFile, FindsNamesWhateverTheirCase) {
    EXPECT_EQ(setting("[VERSION]\ninstallerversion=1\n"), u"1");
    EXPECT_EQ(setting("[version]\nINSTALLERVERSION=1\n"), u"1");
}

TEST_F(SettingsFile, DropsBlanksAroundNamesAndValues) {
    EXPECT_EQ(setting("  [Version]  \n\t InstallerVersion \t= \t 2 4 \t \n"), u"2 4");
}

TEST_F(SettingsFile, DropsOnePairOfQuotes) {
    EXPECT_EQ(setting("[Version]\nInstallerVersion=\"2.4\"\n"), u"2.4");
    EXPECT_EQ(setting("[Version]\nInstallerVersion='2.4'\n"), u"2.4");
    EXPECT_EQ(setting("[Version]\nInstallerVersion = \" 2.4 \" \n"), u" 2.4 ");
    EXPECT_EQ(setting("[Version]\nInstallerVersion=\"'2.4'\"\n"), u"'2.4'");
    EXPECT_EQ(setting("[Version]\nInstallerVersion=\"2.4'\n"), u"\"2.4'");
    EXPECT_EQ(setting("[Version]\nInstallerVersion=\"2.4\n"), u"\"2.4");
    EXPECT_EQ(setting("[Version]\nInstallerVersion=2\"4\n"), u"2\"4");
    EXPECT_EQ(setting("[Version]\nInstallerVersion=\"\"\n"), u"");
    EXPECT_EQ(setting("[Version]\nInstallerVersion=\"\n"), u"\"");
}

TEST_F(SettingsFile, PassesCommentsAndWhatIsNoSetting) {
    EXPECT_EQ(setting("; first\n[Version]\n;InstallerVersion=1\n ; InstallerVersion=2\n\n"
                      "nothing\nInstallerVersion=3\n"),
              u"3");
    EXPECT_EQ(setting("[Version]\n;[Next]\nInstallerVersion=3\n"), u"3");
}

TEST_F(SettingsFile, TakesTheFirstThatMatches) {
    EXPECT_EQ(setting("[Version]\nInstallerVersion=1\nInstallerVersion=2\n"), u"1");
    EXPECT_EQ(setting("[Version]\nInstallerVersion=1\n[Version]\nInstallerVersion=2\n"), u"1");
}

TEST_F(SettingsFile, CutsALongValue) {
    const WideString fits(259, u'x');
    EXPECT_EQ(setting("[Version]\nInstallerVersion=" + std::string(259, 'x') + "\n"), fits);
    EXPECT_EQ(setting("[Version]\nInstallerVersion=" + std::string(260, 'x') + "\n"), fits);
    EXPECT_EQ(setting("[Version]\nInstallerVersion=" + std::string(100000, 'x') + "\n"), fits);
}

TEST_F(SettingsFile, ReadsALongFile) {
    std::string text = "[Other]\n";
    for (int i = 0; i < 20000; ++i)
        text += "key" + std::to_string(i) + "=value\n";
    EXPECT_EQ(setting(text + "[Version]\nInstallerVersion=2.4\n"), u"2.4");
    EXPECT_EQ(setting(std::string(300000, 'x') + "\n[Version]\nInstallerVersion=2.4\n"), u"2.4");
}

TEST_F(SettingsFile, ReadsUtf16) {
    EXPECT_EQ(setting(utf16(u"[Version]\r\nInstallerVersion=\u00E9\u4E2D\r\n")), u"\u00E9\u4E2D");
    EXPECT_EQ(setting(utf16(u"[Version]\r\nInstallerVersion=2.4")), u"2.4");
}

TEST_F(SettingsFile, TakesAnyUnicodePath) {
    const auto path = folder_ / std::filesystem::path(u"\u00E9\u4E2D.ini");
    std::ofstream(path) << "[a]\nb=c\n";
    EXPECT_EQ(platform::readSetting(path.u16string(), u"a", u"b"), u"c");
}

TEST_F(SettingsFile, DamagedFilesGiveNothingOrText) {
    for (const char* const text : {"[", "]", "[]", "=", "[=]", "[Version\nInstallerVersion"}) {
        EXPECT_EQ(setting(text), u"") << text;
    }
    EXPECT_EQ(setting(std::string("\0\0\0[Version]\n\0", 14)), u"");
    EXPECT_EQ(setting("\xFF\xFE["), u"");
    EXPECT_EQ(setting("\xFF\xFE"), u"");
    EXPECT_EQ(setting("\xFF"), u"");
}

#if !defined(_WIN32)

TEST_F(SettingsFile, ReadsUtf8WithAndWithoutMark) {
    EXPECT_EQ(setting("[Version]\nInstallerVersion=\xC3\xA9\n"), u"\u00E9");
    EXPECT_EQ(setting("\xEF\xBB\xBF[Version]\nInstallerVersion=\xC3\xA9\n"), u"\u00E9");
    EXPECT_EQ(setting("[Version]\nInstallerVersion=\xFF.1\n"), u"\uFFFD.1");
    EXPECT_EQ(setting("[\xC3\xA9]\n\xE4\xB8\xAD=1\n", u"\u00E9", u"\u4E2D"), u"1");
}

TEST_F(SettingsFile, DoesNotWaitForAPipe) {
    const auto path = folder_ / "pipe.ini";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(platform::readSetting(path.u16string(), u"a", u"b"), u"");
    EXPECT_EQ(platform::readSetting(u"/dev/zero", u"a", u"b"), u"");
}

TEST_F(SettingsFile, DoesNotReadAFileOfAnySizeIntoMemory) {
    const auto path = folder_ / "large.ini";
    std::ofstream(path) << "[a]\nb=c\n";
    std::filesystem::resize_file(path, std::uintmax_t{1} << 40);
    EXPECT_EQ(platform::readSetting(path.u16string(), u"a", u"b"), u"c");
    EXPECT_EQ(platform::readSetting(path.u16string(), u"a", u"missing"), u"");
}

#endif

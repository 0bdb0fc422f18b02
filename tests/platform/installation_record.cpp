#include "platform/installation_record.h"

#include <gtest/gtest.h>

#include <string>

#if defined(_WIN32)
#include <windows.h>

#include "tests/platform/registry_permission.h"
#else
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include "tests/temporary_folder.h"
#endif

using platform::InstallationRoot;
using platform::installedDisplayIcon;

TEST(InstallationRecord, TheUsersComesFirst) {
    EXPECT_EQ(platform::installationRoots[0], InstallationRoot::CurrentUser);
    EXPECT_EQ(platform::installationRoots[1], InstallationRoot::LocalMachine);
    EXPECT_EQ(platform::installationRoots.size(), 2U);
}

#if defined(_WIN32)

namespace {

// The uninstall key under one root, for the time of a test.
class UninstallKey {
  public:
    explicit UninstallKey(HKEY root) : root_(root) {
        needRegistry();
        DWORD disposition = 0;
        const LSTATUS result = RegCreateKeyExW(root_, path, 0, nullptr, 0, KEY_READ | KEY_WRITE,
                                               nullptr, &key_, &disposition);
        if (result != ERROR_SUCCESS) {
            key_ = nullptr;
            problem_ = "the key cannot be written, error " + std::to_string(result);
        } else if (disposition != REG_CREATED_NEW_KEY) {
            RegCloseKey(key_);
            key_ = nullptr;
            problem_ = "the machine has a real record, which stays as it is";
        }
    }
    ~UninstallKey() {
        if (key_ == nullptr) return;
        RegCloseKey(key_);
        RegDeleteKeyW(root_, path);
    }
    UninstallKey(const UninstallKey&) = delete;
    UninstallKey& operator=(const UninstallKey&) = delete;

    const std::string& problem() const { return problem_; }

    void set(DWORD type, const std::string& bytes) {
        EXPECT_EQ(RegSetValueExA(key_, "DisplayIcon", 0, type,
                                 reinterpret_cast<const BYTE*>(bytes.data()),
                                 static_cast<DWORD>(bytes.size())),
                  ERROR_SUCCESS);
    }

  private:
    static constexpr wchar_t path[] =
        L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Q7 Render";
    HKEY root_;
    HKEY key_ = nullptr;
    std::string problem_;
};

void checkTextUnder(HKEY key, InstallationRoot root) {
    UninstallKey record(key);
    if (!record.problem().empty()) GTEST_SKIP() << record.problem();
    EXPECT_EQ(installedDisplayIcon(root), std::nullopt);
    record.set(REG_SZ, std::string("C:\\Q7 Render\\q7_view.exe") + '\0');
    EXPECT_EQ(installedDisplayIcon(root), u"C:\\Q7 Render\\q7_view.exe");
    record.set(REG_SZ, std::string(1, '\0'));
    EXPECT_EQ(installedDisplayIcon(root), u"");
}

}  // namespace

TEST(InstallationRecord, IsThatOfTheUser) {
    checkTextUnder(HKEY_CURRENT_USER, InstallationRoot::CurrentUser);
    UninstallKey record(HKEY_CURRENT_USER);
    if (!record.problem().empty()) GTEST_SKIP() << record.problem();
    record.set(REG_SZ, "C:\\user.exe");
    EXPECT_NE(installedDisplayIcon(InstallationRoot::LocalMachine), u"C:\\user.exe");
}

TEST(InstallationRecord, IsThatOfTheMachine) {
    checkTextUnder(HKEY_LOCAL_MACHINE, InstallationRoot::LocalMachine);
}

TEST(InstallationRecord, IsNothingWithoutAKey) {
    {
        const UninstallKey record(HKEY_CURRENT_USER);
        if (!record.problem().empty()) GTEST_SKIP() << record.problem();
    }
    EXPECT_EQ(installedDisplayIcon(InstallationRoot::CurrentUser), std::nullopt);
}

TEST(InstallationRecord, EndsAtTheFirstZeroOrTheEndOfTheBuffer) {
    UninstallKey record(HKEY_CURRENT_USER);
    if (!record.problem().empty()) GTEST_SKIP() << record.problem();
    record.set(REG_BINARY, std::string("C:\\a\0b", 6));
    EXPECT_EQ(installedDisplayIcon(InstallationRoot::CurrentUser), u"C:\\a");
    record.set(REG_BINARY, std::string(260, 'x'));
    EXPECT_EQ(installedDisplayIcon(InstallationRoot::CurrentUser), WideString(260, u'x'));
    record.set(REG_SZ, std::string(259, 'x') + '\0');
    EXPECT_EQ(installedDisplayIcon(InstallationRoot::CurrentUser), WideString(259, u'x'));
}

TEST(InstallationRecord, IsNothingWhenItDoesNotFit) {
    UninstallKey record(HKEY_CURRENT_USER);
    if (!record.problem().empty()) GTEST_SKIP() << record.problem();
    record.set(REG_SZ, std::string(300, 'x') + '\0');
    EXPECT_EQ(installedDisplayIcon(InstallationRoot::CurrentUser), std::nullopt);
}

#else

namespace {

// An environment variable that has its old value back after the test.
class Variable {
  public:
    explicit Variable(const char* name) : name_(name) {
        if (const char* const value = std::getenv(name)) before_ = value;
    }
    ~Variable() {
        if (before_) {
            setenv(name_, before_->c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

    void set(const std::string& value) { setenv(name_, value.c_str(), 1); }
    void unset() { unsetenv(name_); }

  private:
    const char* name_;
    std::optional<std::string> before_;
};

class InstallationRecordFile : public testing::Test {
  protected:
    InstallationRecordFile() {
        home_.set((folder_ / "home").string());
        dataHome_.set((folder_ / "user").string());
        dataFolders_.set((folder_ / "one").string() + ":" + (folder_ / "two").string());
    }

    void write(const std::string& place, const std::string& text) {
        const auto file = folder_ / place / "q7_render" / "install.ini";
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }
    void writeIcon(const std::string& place, const std::string& icon) {
        write(place, "[Q7 Render]\nDisplayIcon=" + icon + "\n");
    }

    static std::optional<WideString> ofUser() {
        return installedDisplayIcon(InstallationRoot::CurrentUser);
    }
    static std::optional<WideString> ofMachine() {
        return installedDisplayIcon(InstallationRoot::LocalMachine);
    }

    TemporaryFolder folder_;
    Variable home_{"HOME"};
    Variable dataHome_{"XDG_DATA_HOME"};
    Variable dataFolders_{"XDG_DATA_DIRS"};
};

}  // namespace

TEST_F(InstallationRecordFile, IsNothingWithoutAFile) {
    EXPECT_EQ(ofUser(), std::nullopt);
    EXPECT_EQ(ofMachine(), std::nullopt);
}

TEST_F(InstallationRecordFile, IsThatOfTheUser) {
    writeIcon("user", "/opt/Q7 Render/q7_view.exe");
    EXPECT_EQ(ofUser(), u"/opt/Q7 Render/q7_view.exe");
    EXPECT_EQ(ofMachine(), std::nullopt);
}

TEST_F(InstallationRecordFile, IsNothingWithoutAValue) {
    for (const char* const text : {"", "[Q7 Render]\n", "[Q7 Render]\nDisplayIcon=\n",
                                   "[Other]\nDisplayIcon=/x\n", "DisplayIcon=/x\n"}) {
        write("user", text);
        EXPECT_EQ(ofUser(), std::nullopt) << text;
    }
}

TEST_F(InstallationRecordFile, HasAUsualPlaceInTheUsersHome) {
    writeIcon("home/.local/share", "/home/icon");
    EXPECT_EQ(ofUser(), std::nullopt);
    for (const char* const noFolder : {"", "relative"}) {
        dataHome_.set(noFolder);
        EXPECT_EQ(ofUser(), u"/home/icon");
    }
    dataHome_.unset();
    EXPECT_EQ(ofUser(), u"/home/icon");
    home_.set("relative");
    EXPECT_EQ(ofUser(), std::nullopt);
}

TEST_F(InstallationRecordFile, OfTheMachineIsTheFirstWithAValue) {
    writeIcon("two", "/two");
    EXPECT_EQ(ofMachine(), u"/two");
    EXPECT_EQ(ofUser(), std::nullopt);
    write("one", "[Q7 Render]\nDisplayIcon=\n");
    EXPECT_EQ(ofMachine(), u"/two");
    writeIcon("one", "/one");
    EXPECT_EQ(ofMachine(), u"/one");
}

TEST_F(InstallationRecordFile, PassesPlacesThatAreNone) {
    writeIcon("two", "/two");
    writeIcon("three", "/three");
    const auto relative = std::filesystem::relative(folder_ / "three");
    ASSERT_TRUE(relative.is_relative());
    dataFolders_.set("::" + relative.string() + ":" + (folder_ / "missing").string() + ":" +
                     (folder_ / "two").string() + ":");
    EXPECT_EQ(ofMachine(), u"/two");
    dataFolders_.set(":");
    EXPECT_EQ(ofMachine(), std::nullopt);
}

TEST_F(InstallationRecordFile, HasUsualPlacesForTheMachine) {
    dataFolders_.set("/usr/local/share:/usr/share");
    const auto given = ofMachine();
    dataFolders_.set("");
    EXPECT_EQ(ofMachine(), given);
    dataFolders_.unset();
    EXPECT_EQ(ofMachine(), given);
}

TEST_F(InstallationRecordFile, IsCutAfter260BytesAndInsideNoCharacter) {
    writeIcon("user", std::string(259, 'x'));
    EXPECT_EQ(ofUser(), WideString(259, u'x'));
    std::string icon = "/";
    WideString cut = u"/";
    for (int i = 0; i < 200; ++i) {
        icon += "\xC3\xA9";
        if (i < 129) cut += u'\u00E9';
    }
    writeIcon("user", icon);
    EXPECT_EQ(ofUser(), cut);
}

#endif

#include "link/render_install.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "link/link_state.h"
#include "tests/platform/installation.h"
#include "tests/platform/machine_record.h"

namespace {

WideString wide(const std::string& text) {
    return utf8ToWide(text);
}

template <class Error>
std::string errorOf(WideView version, WideView wanted) {
    try {
        IsVersionAtLeast(version, wanted);
    } catch (const Error& error) {
        return error.what();
    }
    return "none";
}

bool usable(const std::string& version) {
    const Installation installation(version);
    testing::internal::CaptureStdout();
    const bool result = IsInstalledVersionUsable();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), version + "\n");
    return result;
}

}  // namespace

TEST(FindInstallFolder, IsThePathOfTheIconWithoutItsName) {
    Installation installation;
    EXPECT_EQ(FindInstallFolder(), wide(installation.folder()));
    installation.registerIcon("q7.exe");
    EXPECT_EQ(FindInstallFolder(), u"q7.exe");
    installation.registerIcon("a" + Installation::separator());
    EXPECT_EQ(FindInstallFolder(), u"a");
    installation.unregister();
    EXPECT_EQ(FindInstallFolder(), u"");
}

TEST(FindInstallFolder, IsThatOfTheMachineWhereTheUserHasNone) {
    const TemporaryFolder other;
    const std::string separator = Installation::separator();
    const MachineRecord machine(other.path().string() + separator + "q7_launcher.exe");
    if (!machine.problem().empty()) GTEST_SKIP() << machine.problem();
    std::ofstream(other / "config.ini") << "[Version]\nInstallerVersion=3.1\n";
    Installation user("2.4");
    EXPECT_EQ(FindInstallFolder(), wide(user.folder()));
    EXPECT_EQ(ReadInstalledVersion(), u"2.4");
    // A record that names no folder is passed over too.
    user.registerIcon(separator + "q7_launcher.exe");
    EXPECT_EQ(FindInstallFolder(), wide(other.path().string()));
    user.unregister();
    EXPECT_EQ(FindInstallFolder(), wide(other.path().string()));
    EXPECT_EQ(ReadInstalledVersion(), u"3.1");
    EXPECT_TRUE(SetRenderPath(u"no such folder"));
    EXPECT_EQ(linkState().renderPath, wide(other.path().string()));
    linkState().renderPath.clear();
}

TEST(IsRenderPathComplete, NeedsAllThreePrograms) {
    const Installation installation;
    EXPECT_TRUE(IsRenderPathComplete(wide(installation.folder())));
    for (const auto& program :
         {installation.path("q7_launcher.exe"), installation.path("q7_view.exe"),
          installation.engineFolder() / "q7_engine.exe"}) {
        std::filesystem::rename(program, installation.path("away"));
        EXPECT_FALSE(IsRenderPathComplete(wide(installation.folder()))) << program;
        std::filesystem::create_directory(program);
        EXPECT_FALSE(IsRenderPathComplete(wide(installation.folder()))) << program;
        std::filesystem::remove(program);
        std::filesystem::rename(installation.path("away"), program);
    }
    EXPECT_FALSE(IsRenderPathComplete(u""));
}

TEST(SetRenderPath, KeepsACompleteFolder) {
    const Installation other("2.0", false);
    const Installation registered;
    EXPECT_TRUE(SetRenderPath(wide(other.folder())));
    EXPECT_EQ(linkState().renderPath, wide(other.folder()));
    linkState().renderPath.clear();
}

TEST(SetRenderPath, ReplacesAnotherSilentlyByTheRegisteredOne) {
    Installation registered;
    const Installation incomplete("2.0", false);
    registered.registerIcon(registered.folder() + Installation::separator() + "icon");
    std::filesystem::remove(incomplete.engineFolder() / "q7_engine.exe");
    EXPECT_TRUE(SetRenderPath(wide(incomplete.folder())));
    EXPECT_EQ(linkState().renderPath, wide(registered.folder()));
    registered.unregister();
    EXPECT_FALSE(SetRenderPath(wide(incomplete.folder())));
    EXPECT_EQ(linkState().renderPath, u"");
}

TEST(ReadInstalledVersion, IsReadAnewFromTheRegisteredInstallation) {
    Installation installation("2.4.1");
    EXPECT_EQ(ReadInstalledVersion(), u"2.4.1");
    installation.setVersion("3");
    EXPECT_EQ(ReadInstalledVersion(), u"3");
    installation.setVersion("");
    EXPECT_EQ(ReadInstalledVersion(), u"");
    installation.setVersion("4");
    const Installation other("9", false);
    linkState().renderPath = wide(other.folder());
    installation.registerIcon(installation.folder() + Installation::separator() + "icon");
    EXPECT_EQ(ReadInstalledVersion(), u"4");
    linkState().renderPath.clear();
    installation.unregister();
    EXPECT_EQ(ReadInstalledVersion(), u"");
}

TEST(IsInstalledVersionUsable, ComparesAsText) {
    for (const char* version : {"1.7.2", "1.8", "2.4", "1.7.10", "1.71", "10"}) {
        EXPECT_EQ(usable(version), std::string(version) > "1.7.1") << version;
    }
    EXPECT_TRUE(usable("1.7.2"));
    EXPECT_TRUE(usable("1.7.10"));
    EXPECT_TRUE(usable("2.4"));
    for (const char* version : {"1.7.1", "1.10.0", "1.7", "1.6.9", "", "0.9"}) {
        EXPECT_FALSE(usable(version)) << version;
    }
}

TEST(IsVersionAtLeast, ComparesPartByPart) {
    for (const auto* version :
         {u"2.4", u"2.4.0", u"2.10", u"3", u"3.0", u"2.5", u"10", u"10.1", u"2.4.9"}) {
        EXPECT_TRUE(IsVersionAtLeast(version, u"2.4"));
    }
    for (const auto* version : {u"2.3", u"2.3.9", u"1.9", u"1", u"0.10", u"-3.5"}) {
        EXPECT_FALSE(IsVersionAtLeast(version, u"2.4"));
    }
}

TEST(IsVersionAtLeast, TheLengthInCharactersLimitsThePasses) {
    EXPECT_TRUE(IsVersionAtLeast(u"", u"2.4"));
    // One character, one pass: the second part is not compared.
    EXPECT_TRUE(IsVersionAtLeast(u"2", u"2.4"));
    // Two characters, two passes, but one part: what is missing counts as 0.
    EXPECT_FALSE(IsVersionAtLeast(u"02", u"2.4"));
    EXPECT_TRUE(IsVersionAtLeast(u"02", u"2.0"));
    EXPECT_FALSE(IsVersionAtLeast(u"10", u"10.4"));
}

TEST(IsVersionAtLeast, ThrowsWhatTheConversionThrows) {
    EXPECT_EQ(errorOf<std::invalid_argument>(u"a", u"2.4"), "invalid stoi argument");
    EXPECT_EQ(errorOf<std::invalid_argument>(u".4", u"2.4"), "invalid stoi argument");
    EXPECT_EQ(errorOf<std::invalid_argument>(u"2.x", u"2.4"), "invalid stoi argument");
    EXPECT_EQ(errorOf<std::invalid_argument>(u"2.", u"2.4"), "invalid stoi argument");
    EXPECT_EQ(errorOf<std::invalid_argument>(u"-", u"2.4"), "invalid stoi argument");
    EXPECT_EQ(errorOf<std::out_of_range>(u"2147483648", u"2.4"), "stoi argument out of range");
    EXPECT_EQ(errorOf<std::out_of_range>(u"-2147483649", u"2.4"), "stoi argument out of range");
    EXPECT_EQ(errorOf<std::out_of_range>(u"99999999999999999999999", u"2.4"),
              "stoi argument out of range");
    EXPECT_EQ(errorOf<std::exception>(u"2147483647", u"2.4"), "none");
    EXPECT_EQ(errorOf<std::exception>(u"-2147483648", u"2.4"), "none");
    // Blanks before and other text behind a number are passed over.
    EXPECT_TRUE(IsVersionAtLeast(u" \t2beta.+5 rc", u"2.4"));
}

#include "env/directories.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/platform/local_app_data.h"

namespace fs = std::filesystem;

TEST(LauncherDataPath, IsInTheLocalApplicationDataAndNotMade) {
    const LocalAppData data;
    EXPECT_EQ(launcherDataPath(), (data / "q7_launcher").u16string());
    EXPECT_TRUE(fs::is_empty(data.path()));
}

TEST(LauncherDataPath, WithoutLocalApplicationDataIsAtTheRoot) {
    LocalAppData data;
    data.hide();
    EXPECT_EQ(launcherDataPath(), fs::path("/q7_launcher").make_preferred().u16string());
}

TEST(LogDirectory, EndsInASeparatorAndIsMadeWhenMissing) {
    const LocalAppData data;
    const fs::path expected = data / "q7_engine" / "Saved" / "Logs" / "";
    EXPECT_FALSE(fs::exists(expected));
    EXPECT_EQ(logDirectory(), expected.u16string());
    EXPECT_TRUE(fs::is_directory(expected));
    std::ofstream(expected / "log") << "x";
    EXPECT_EQ(logDirectory(), expected.u16string());
    EXPECT_TRUE(fs::exists(expected / "log"));
}

TEST(LogDirectory, IsEmptyWhenItCannotBeMade) {
    const LocalAppData data;
    std::ofstream(data / "q7_engine") << "x";
    EXPECT_EQ(logDirectory(), u"");
}

TEST(LogDirectory, IsThePathAlsoWhereAFileHasItsName) {
    const LocalAppData data;
    fs::create_directories(data / "q7_engine" / "Saved");
    std::ofstream(data / "q7_engine" / "Saved" / "Logs") << "x";
    EXPECT_EQ(logDirectory(), (data / "q7_engine" / "Saved" / "Logs" / "").u16string());
}

#include "archive/external_archive.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/archive/archive_contents.h"
#include "tests/temporary_folder.h"

namespace {

bool noCopy(const WideString&, const WideString&) {
    return false;
}

}  // namespace

TEST(SaveExtToQ7a, FailsWhenTheCopyDoes) {
    const TemporaryFolder folder;
    const SessionCore session;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(
        saveExtToQ7a(session, (folder / "a.b").u16string(), (folder / "x").u16string(), noCopy));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "copy file fail!\n");
    EXPECT_TRUE(std::filesystem::is_directory(folder / "__q7_export_temp" / "textures"));
    EXPECT_FALSE(std::filesystem::exists(folder / "__q7_export_temp" / "q7material.xml"));
    EXPECT_FALSE(std::filesystem::exists(folder / "x"));
}

TEST(SaveExtToQ7a, CopiesToItsExtension) {
    const TemporaryFolder folder;
    const SessionCore session;
    std::ofstream(folder / "a.b") << "text";
    EXPECT_TRUE(saveExtToQ7a(session, (folder / "a.b").u16string(), (folder / "x").u16string()));
    EXPECT_EQ(archiveContents(folder / "x")["1.b"], "text");
}

#include "send/verify.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "common/files.h"
#include "tests/temporary_folder.h"
#include "tests/tools/send/sample_scene.h"

namespace q7send {

namespace fs = std::filesystem;

std::string reasonOf(const OutputFile& file, const std::function<void()>& check) {
    try {
        check();
        return "no error";
    } catch (const q7tools::FileError& error) {
        EXPECT_EQ(error.file(), q7tools::pathToUtf8(file.target()));
        return error.what();
    }
}

class Verify : public testing::Test {
  protected:
    Verify() {
        SceneSender sender;
        totals = sender.describe(sampleScene(), "1.2", [](double) {});
        sender.saveStream(stream.temporary());
        sender.saveMaterials(materials.temporary());
    }

    std::string streamReason() {
        return reasonOf(stream, [this] { verifyStream(stream, totals); });
    }
    std::string materialsReason() {
        return reasonOf(materials, [this] { verifyMaterials(materials); });
    }

    TemporaryFolder folder;
    OutputFile stream{folder / "out.q7mesh"};
    OutputFile materials{folder / "out.xml"};
    SendTotals totals;
};

TEST_F(Verify, WholeFilesHaveTheirSize) {
    EXPECT_EQ(verifyStream(stream, totals), fs::file_size(stream.temporary()));
    EXPECT_EQ(verifyMaterials(materials), fs::file_size(materials.temporary()));
}

TEST_F(Verify, CutOffFilesAreFound) {
    for (const std::uintmax_t missing : {1U, 100U}) {
        fs::resize_file(stream.temporary(), fs::file_size(stream.temporary()) - missing);
        fs::resize_file(materials.temporary(), fs::file_size(materials.temporary()) - missing);
        EXPECT_EQ(streamReason(), "could not be written to its end");
        EXPECT_EQ(materialsReason(), "could not be written to its end");
    }
    fs::resize_file(stream.temporary(), 0);
    fs::resize_file(materials.temporary(), 0);
    EXPECT_EQ(streamReason(), "could not be written to its end");
    EXPECT_EQ(materialsReason(), "could not be written to its end");
}

TEST_F(Verify, AbsentFilesAreFound) {
    fs::remove(stream.temporary());
    fs::remove(materials.temporary());
    EXPECT_EQ(streamReason(), "could not be written");
    EXPECT_EQ(materialsReason(), "could not be written");
}

TEST_F(Verify, WhatIsMissingIsTold) {
    totals.triangles += 2;
    EXPECT_EQ(streamReason(), "16 triangles were sent, but 14 were written");
    totals.instances = 6;
    EXPECT_EQ(streamReason(), "6 instances were sent, but 5 were written");
    totals.materials = 3;
    EXPECT_EQ(streamReason(), "3 materials were sent, but 2 were written");
}

}  // namespace q7send

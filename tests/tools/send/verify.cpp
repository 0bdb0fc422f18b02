#include "send/verify.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "common/files.h"
#include "common/stream_reader.h"
#include "send/mesh_vertices.h"
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
        sender.saveStream(stream.temporary(), StreamForm::raw);
        sender.saveMaterials(materials.temporary());
    }

    std::string streamReason() {
        return reasonOf(stream, [this] { verifyStream(stream, totals, StreamForm::raw); });
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
    EXPECT_EQ(verifyStream(stream, totals, StreamForm::raw), fs::file_size(stream.temporary()));
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

class VerifyProcessed : public testing::Test {
  protected:
    // Sends the scene, and gives the reason why the file is refused.
    std::string reasonFor(const Scene& scene) {
        SceneSender sender;
        totals = sender.describe(scene, "1.2", [](double) {});
        sender.saveStream(stream.temporary(), StreamForm::processed);
        return verifyReason();
    }

    std::string verifyReason() {
        return reasonOf(stream, [this] { verifyStream(stream, totals, StreamForm::processed); });
    }

    TemporaryFolder folder;
    OutputFile stream{folder / "out.q7mesh"};
    SendTotals totals;
};

TEST_F(VerifyProcessed, MergedMeshesHoldWhatWasSent) {
    Scene scene = mergeableScene();
    unshareMergeable(scene);
    EXPECT_EQ(reasonFor(scene), "no error");
    EXPECT_EQ(totals.instances, 4U);
    EXPECT_EQ(q7tools::readStreamFile(stream.temporary()).instances.size(), 2U);
}

TEST_F(VerifyProcessed, ScenesWithoutAnythingToMergePass) {
    EXPECT_EQ(reasonFor(sampleScene()), "no error");
    EXPECT_EQ(reasonFor(Scene()), "no error");
}

TEST_F(VerifyProcessed, WhatIsMissingIsTold) {
    Scene scene = mergeableScene();
    unshareMergeable(scene);
    reasonFor(scene);
    totals.triangles += 2;
    EXPECT_EQ(verifyReason(), "12 triangles were sent, but 10 were written");
    totals.instances = 6;
    EXPECT_EQ(verifyReason(), "6 instances were sent, but 4 were written");
}

TEST_F(VerifyProcessed, MeshesThatDoNotFitEachOtherAreMissed) {
    Scene scene = mergeableScene();
    unshareMergeable(scene);
    scene.meshes[4].normals.clear();
    EXPECT_EQ(reasonFor(scene), "10 triangles were sent, but 4 were written");
}

TEST_F(VerifyProcessed, SharedVerticesAreFound) {
    Scene scene = mergeableScene();
    // Both sides of the square: four triangles, but the vertices of two.
    scene.meshes[3].indices = {0, 1, 2, 0, 2, 3, 2, 1, 0, 3, 2, 0};
    EXPECT_EQ(reasonFor(scene), "12 triangles were sent, but 10 were written");
}

}  // namespace q7send

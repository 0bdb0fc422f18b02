#include "inspect/instance_paths.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "common/files.h"
#include "tests/temporary_folder.h"
#include "tests/tools/inspect/sample_archive.h"

namespace {

using q7inspect::InstancePaths;
using streamtest::Scene;
using Paths = std::vector<std::string>;

q7tools::StreamModel modelOf(const Scene& scene) {
    return q7tools::readStream(scene.build().bytes());
}

InstancePaths read(const std::string& text) {
    return q7inspect::readInstancePaths(std::as_bytes(std::span(text)), modelOf(Scene()));
}

const std::string soundText = R"({"instance_paths":["a/quad/Lamp","b/Wall","c"]})";

TEST(InspectInstancePaths, areToldWithoutTheMaterial) {
    const InstancePaths paths = read(soundText);
    EXPECT_EQ(paths.paths, (Paths{"a/quad", "b", "c"}));
    EXPECT_EQ(paths.fault, "");
}

TEST(InspectInstancePaths, ofAnotherNumber) {
    EXPECT_EQ(read(R"({"instance_paths":["a"]})").fault, "has 1 path for 3 instances");
    EXPECT_EQ(read(R"({"instance_paths":["a"]})").paths, Paths());
}

TEST(InspectInstancePaths, beyondTheInstancesAreCounted) {
    const InstancePaths paths = read(R"({"instance_paths":["a","b","c","d","e"]})");
    EXPECT_EQ(paths.fault, "has 5 paths for 3 instances");
    EXPECT_EQ(paths.paths, Paths());
}

TEST(InspectInstancePaths, otherTextsAreLeftOut) {
    for (const std::string text :
         {"", "{", "[]", "null", R"({"instance_paths":[1,2,3]})", R"({"other":["a","b","c"]})",
          R"({"instance_paths":["a","b","c"]} x)", R"({"instance_paths":{"a":["b"]}})",
          R"({"instance_paths":[["a"],"b","c"]})", R"({"instance_paths":"a"})",
          R"({"instance_paths":["a","b","c"],"instance_paths":[]})"}) {
        EXPECT_EQ(read(text).fault, "is not an object with an array of strings, \"instance_paths\"")
            << text;
        EXPECT_EQ(read(text).paths, Paths()) << text;
    }
}

TEST(InspectInstancePaths, inAnArchive) {
    const auto pathsOf = [](const ziptest::ZipBuilder& zip) {
        return q7inspect::pathsInArchive(q7inspect::Archive(zip.bytes()));
    };
    const InstancePaths paths = pathsOf(archivetest::soundArchive());
    EXPECT_EQ(paths.source, "info.json");
    EXPECT_EQ(paths.paths, (Paths{"/a/b", "/c", ""}));
    // Before its instances were merged a model had more of them.
    const InstancePaths merged = pathsOf(
        archivetest::archiveOf(archivetest::scene(), archivetest::soundIds + ",\"/d/Wall\""));
    EXPECT_EQ(merged.source, "");
    EXPECT_EQ(merged.paths, Paths());
    EXPECT_EQ(pathsOf(archivetest::externalArchive()).paths, Paths());
}

class InspectPathsBeside : public testing::Test {
  protected:
    InstancePaths beside(const std::string& name) const {
        return q7inspect::pathsBeside(q7tools::pathToUtf8(folder_ / name), modelOf(Scene()));
    }

    TemporaryFolder folder_;
};

TEST_F(InspectPathsBeside, areThoseOfTheMessage) {
    q7tools::writeWholeFile(folder_ / "0007-instance-paths.json", soundText);
    const InstancePaths paths = beside("0007-model.q7mesh");
    EXPECT_EQ(paths.source, "0007-instance-paths.json");
    EXPECT_EQ(paths.paths, (Paths{"a/quad", "b", "c"}));
    EXPECT_EQ(beside("0008-model.q7mesh").source, "");
    EXPECT_EQ(beside("0007-model.other").source, "");
}

TEST_F(InspectPathsBeside, ofAnotherModelAreNamed) {
    q7tools::writeWholeFile(folder_ / "0007-instance-paths.json", R"({"instance_paths":[]})");
    const InstancePaths paths = beside("0007-model.q7mesh");
    EXPECT_EQ(paths.source, "0007-instance-paths.json");
    EXPECT_EQ(paths.fault, "has 0 paths for 3 instances");
}

TEST_F(InspectPathsBeside, whatIsNoFileIsLeftAlone) {
    std::filesystem::create_directory(folder_ / "0007-instance-paths.json");
    EXPECT_EQ(beside("0007-model.q7mesh").source, "");
    q7tools::writeWholeFile(folder_ / "elsewhere", soundText);
    std::error_code error;
    std::filesystem::create_symlink(folder_ / "elsewhere", folder_ / "0008-instance-paths.json",
                                    error);
    if (error) GTEST_SKIP() << "no links can be made here: " << error.message();
    EXPECT_EQ(beside("0008-model.q7mesh").source, "");
}

}  // namespace

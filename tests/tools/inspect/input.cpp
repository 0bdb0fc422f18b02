#include "inspect/input.h"

#include <gtest/gtest.h>

#include "common/files.h"
#include "tests/temporary_folder.h"
#include "tests/tools/inspect/sample_archive.h"

namespace {

using q7inspect::InputError;
using q7tools::pathToUtf8;

class InspectInput : public testing::Test {
  protected:
    std::string save(const std::string& name, const std::string& text) {
        q7tools::writeWholeFile(folder_ / name, text);
        return pathToUtf8(folder_ / name);
    }

    static std::string faultOf(const std::string& file) {
        try {
            q7inspect::readModel(file);
        } catch (const InputError& error) {
            return error.subject() + ": " + error.what();
        }
        return {};
    }

    TemporaryFolder folder_;
};

TEST_F(InspectInput, readsBothKinds) {
    const std::string stream = save("a.q7mesh", archivetest::streamText(archivetest::scene()));
    const std::string archive = save("a.q7a", archivetest::soundArchive().build());
    EXPECT_TRUE(q7inspect::readInput(stream).stream.has_value());
    EXPECT_FALSE(q7inspect::readInput(stream).archive.has_value());
    EXPECT_TRUE(q7inspect::readInput(archive).archive.has_value());
    EXPECT_FALSE(q7inspect::readInput(archive).stream.has_value());
    EXPECT_EQ(q7inspect::readModel(stream).meshes, q7inspect::readModel(archive).meshes);
}

TEST_F(InspectInput, faultsNameTheFileAndTheEntry) {
    const std::string stream = save("a.q7mesh", "x");
    EXPECT_EQ(faultOf(stream), stream + ": at byte 0: not a model stream: the file has 1 byte");
    const std::string archive = save("a.q7a", "x");
    EXPECT_EQ(faultOf(archive), archive + ": at byte 0: not a zip archive");
    ziptest::ZipBuilder zip = archivetest::soundArchive();
    zip.entry("1.q7mesh").data = "";
    const std::string broken = save("b.q7a", zip.build());
    EXPECT_EQ(faultOf(broken),
              broken + ": 1.q7mesh: at byte 0: not a model stream: the file has 0 bytes");
    const std::string external = save("c.q7a", archivetest::externalArchive().build());
    EXPECT_EQ(faultOf(external), external + ": the archive holds no model stream (1.q7mesh)");
    EXPECT_THROW(q7inspect::readInput(pathToUtf8(folder_ / "none")), q7tools::FileError);
}

}  // namespace

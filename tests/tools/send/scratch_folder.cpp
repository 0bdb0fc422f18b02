#include "send/scratch_folder.h"

#include <gtest/gtest.h>

#include <fstream>

#include "common/files.h"
#include "tests/temporary_folder.h"

namespace q7send {

TEST(ScratchFolder, GoesWithAllThatIsInIt) {
    const TemporaryFolder folder;
    std::filesystem::path path;
    {
        const ScratchFolder scratch(folder.path(), "out.q7a");
        const ScratchFolder other(folder.path(), "out.q7a");
        path = scratch.path();
        EXPECT_NE(path, other.path());
        EXPECT_EQ(path.parent_path(), folder.path());
        std::filesystem::create_directory(path / "in");
        std::ofstream(path / "in" / "file") << "text";
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(ScratchFolder, NamesWhatItWasFor) {
    const TemporaryFolder folder;
    try {
        const ScratchFolder scratch(folder / "absent", "out.q7a");
        FAIL() << "no error";
    } catch (const q7tools::FileError& error) {
        EXPECT_EQ(error.file(), "out.q7a");
    }
}

}  // namespace q7send

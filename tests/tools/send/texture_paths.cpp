#include "send/texture_paths.h"

#include <gtest/gtest.h>

#include <fstream>

#include "common/files.h"
#include "tests/temporary_folder.h"

namespace q7send {

class TexturePathsTest : public testing::Test {
  protected:
    TexturePathsTest() {
        std::filesystem::create_directory(folder / "maps");
        std::ofstream(folder / "beside.png") << "image";
        std::ofstream(folder / "maps" / "wood.png") << "image";
    }

    TemporaryFolder folder;
    TexturePaths paths{folder.path()};
};

TEST_F(TexturePathsTest, RelativePathsStartAtTheModel) {
    EXPECT_EQ(paths.find("maps/wood.png"), folder / "maps" / "wood.png");
    EXPECT_EQ(paths.find("./maps/../beside.png"), folder / "beside.png");
}

TEST_F(TexturePathsTest, BackslashesSeparateFolders) {
    EXPECT_EQ(paths.find("maps\\wood.png"), folder / "maps" / "wood.png");
    EXPECT_EQ(paths.find(".\\beside.png"), folder / "beside.png");
}

TEST_F(TexturePathsTest, PathsOfOtherMachinesAreLookedForBesideTheModel) {
    EXPECT_EQ(paths.find("C:\\projects\\beside.png"), folder / "beside.png");
    EXPECT_EQ(paths.find("/nowhere/beside.png"), folder / "beside.png");
}

TEST_F(TexturePathsTest, AbsolutePathsAreTakenAsTheyAre) {
    const auto path = folder / "maps" / "wood.png";
    EXPECT_EQ(TexturePaths("/nowhere").find(q7tools::pathToUtf8(path)), path);
}

TEST_F(TexturePathsTest, NothingForWhatIsNoFile) {
    for (const char* text : {"absent.png", "maps", "maps/", "", ".", "..", "*0", "\xFF"}) {
        EXPECT_EQ(paths.find(text), std::nullopt) << text;
    }
}

}  // namespace q7send

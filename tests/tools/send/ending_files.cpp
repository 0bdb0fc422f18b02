#include "send/ending_files.h"

#include <gtest/gtest.h>

#include <array>
#include <assimp/IOStream.hpp>
#include <fstream>
#include <stdexcept>

#include "common/files.h"
#include "tests/temporary_folder.h"

namespace {

class EndingFilesTest : public testing::Test {
  protected:
    EndingFilesTest() { std::ofstream(path_, std::ios::binary) << "abcdef"; }

    const TemporaryFolder folder_;
    const std::filesystem::path path_ = folder_ / "file";
    q7send::EndingFiles files_;
};

TEST_F(EndingFilesTest, areReadAsTheyAre) {
    Assimp::IOStream* file = files_.Open(q7tools::pathToUtf8(path_).c_str(), "rb");
    ASSERT_NE(file, nullptr);
    std::array<char, 8> buffer{};
    EXPECT_EQ(file->FileSize(), 6U);
    EXPECT_EQ(file->Read(buffer.data(), 1, 4), 4U);
    EXPECT_EQ(buffer[3], 'd');
    EXPECT_EQ(file->Tell(), 4U);
    EXPECT_EQ(file->Seek(1, aiOrigin_SET), aiReturn_SUCCESS);
    EXPECT_EQ(file->Read(buffer.data(), 1, 8), 5U);
    EXPECT_EQ(buffer[0], 'b');
    files_.Close(file);
}

TEST_F(EndingFilesTest, readingBehindTheEndEnds) {
    Assimp::IOStream* file = files_.Open(q7tools::pathToUtf8(path_).c_str(), "rb");
    ASSERT_NE(file, nullptr);
    std::array<char, 8> buffer{};
    file->Read(buffer.data(), 1, 6);
    const auto readForEver = [&] {
        while (file->Read(buffer.data(), 1, 8) == 0) {
        }
    };
    EXPECT_THROW(readForEver(), std::runtime_error);
    files_.Close(file);
}

TEST_F(EndingFilesTest, thoseThatAreMissingStayMissing) {
    EXPECT_EQ(files_.Open(q7tools::pathToUtf8(folder_ / "none").c_str(), "rb"), nullptr);
}

}  // namespace

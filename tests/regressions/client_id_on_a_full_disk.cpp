// An id that did not fit onto the disk left an empty file, and so every later process had an empty id.
#include <gtest/gtest.h>

#include "env/client_id.h"
#include "tests/faults/posix_faults.h"
#include "tests/read_file.h"
#include "tests/temporary_folder.h"

#if !defined(_WIN32)

TEST(ClientIdOnAFullDisk, LeavesNoFileAndIsAnotherOneNextTime) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "cid.dat";
    for (const std::size_t left : {0, 31}) {
        std::string id;
        {
            const FullDisk full(left);
            id = loadClientId(folder.path().u16string());
        }
        EXPECT_EQ(id.size(), 32U);
        EXPECT_FALSE(std::filesystem::exists(file));
    }
    const std::string id = loadClientId(folder.path().u16string());
    EXPECT_EQ(readFile(file), id);
    EXPECT_EQ(loadClientId(folder.path().u16string()), id);
}

TEST(ClientIdInAReadOnlyFolder, IsAnotherOneEachTime) {
    const TemporaryFolder folder;
    {
        const ReadOnlyFolder readOnly(folder.path());
        const std::string id = loadClientId((folder / "data").u16string());
        EXPECT_EQ(id.size(), 32U);
        EXPECT_NE(loadClientId((folder / "data").u16string()), id);
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

#endif

// Objects of the JSON library that were destroyed while there was no memory ended the process, and so did
// the C++ library's walk through a folder.
#include <gtest/gtest.h>

#include <fstream>
#include <new>

#include "platform/folders.h"
#include "support/json.h"
#include "tests/process/allocation_faults.h"
#include "tests/temporary_folder.h"

namespace {

// Until it succeeds. How often it did not.
template <class Work>
std::size_t failures(AllocationFault fault, const Work& work) {
    for (std::size_t number = 1;; ++number) {
        failAllocation(number, fault);
        bool hasThrown = false;
        try {
            work();
        } catch (const std::bad_alloc&) {
            hasThrown = true;
        }
        const bool hasFailed = allocationsSince() >= number;
        failAllocation(0);
        if (!hasFailed) return number - 1;
        EXPECT_TRUE(hasThrown) << number;
    }
}

class MemoryRunsOut : public testing::TestWithParam<AllocationFault> {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Faults, MemoryRunsOut,
                         testing::Values(AllocationFault::OneAlone, AllocationFault::AllFromThere));

TEST_P(MemoryRunsOut, WhileAJsonTextIsMade) {
    const std::string name = "a name that needs memory of its own";
    const std::string quoted = "a \"name\" that needs memory of its own";
    EXPECT_GT(failures(GetParam(),
                       [&] {
                           Json object;
                           for (double number : {0.5, 1e-7})
                               object[name].push_back(number);
                           object["objects"].push_back(Json::object());
                           Json inner;
                           inner[quoted] = quoted;
                           object["objects"].push_back(std::move(inner));
                           object["number"] = 7;
                           EXPECT_FALSE(object.dump().empty());
                       }),
              10U);
}

TEST_P(MemoryRunsOut, WhileAFolderIsWalked) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "a" / "folder with a name of some length" / "b");
    std::ofstream(folder / "a" / "a file with a name of some length") << "x";
    const WideString path = folder.path().u16string();
    int visits = 0;
    EXPECT_GT(failures(GetParam(),
                       [&] {
                           visits = 0;
                           const auto count = [&](const platform::FolderEntry&) {
                               ++visits;
                               return true;
                           };
                           // What the system itself has no memory for cannot be read.
                           if (!platform::walkFolder(path, count)) throw std::bad_alloc();
                       }),
              0U);
    EXPECT_EQ(visits, 4);
}

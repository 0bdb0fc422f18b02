#include "env/client_id.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/read_file.h"
#include "tests/temporary_folder.h"

namespace fs = std::filesystem;

namespace {

class LoadClientId : public testing::Test {
  protected:
    std::string load(std::string (*newId)() = newGuidText) const {
        return loadClientId(launcher.u16string(), newId);
    }
    void writeFile(const std::string& text) const {
        fs::create_directories(launcher);
        std::ofstream(file, std::ios::binary) << text;
    }

    const TemporaryFolder folder;
    const fs::path launcher = folder / "data" / "q7_launcher";
    const fs::path file = launcher / "cid.dat";
};

std::string noId() {
    return "";
}

}  // namespace

TEST_F(LoadClientId, MakesANewOneAndKeepsIt) {
    const std::string id = load();
    EXPECT_EQ(id.size(), 32U);
    EXPECT_EQ(id.find_first_not_of("0123456789ABCDEF"), std::string::npos) << id;
    EXPECT_EQ(readFile(file), id);
    EXPECT_EQ(load(), id);
    fs::remove(file);
    EXPECT_NE(load(), id);
}

TEST_F(LoadClientId, ReadsTheFirstLineWhateverItIs) {
    const std::pair<std::string, std::string> rows[] = {
        {"ABC", "ABC"},
        {"ABC\nDEF\n", "ABC"},
        {"ABC\n", "ABC"},
        {" any text, \xC3\xA9 ", " any text, \xC3\xA9 "},
        {"\nABC", ""},
        {std::string(100000, 'x'), std::string(100000, 'x')},
        {asTextFile("ABC\nDEF\n"), "ABC"}};
    for (const auto& [text, id] : rows) {
        writeFile(text);
        EXPECT_EQ(load(), id);
        EXPECT_EQ(readFile(file), text);
    }
}

TEST_F(LoadClientId, IsEmptyForAnEmptyFile) {
    writeFile("");
    EXPECT_EQ(load(), "");
    EXPECT_EQ(readFile(file), "");
}

TEST_F(LoadClientId, StaysEmptyWhenNoneCouldBeMade) {
    EXPECT_EQ(load(noId), "");
    EXPECT_TRUE(fs::is_regular_file(file));
    EXPECT_EQ(readFile(file), "");
    EXPECT_EQ(load(), "");
}

TEST_F(LoadClientId, IsAnotherOneEachTimeWhereNoFileCanBe) {
    fs::create_directories(file);
    const std::string id = load();
    EXPECT_EQ(id.size(), 32U);
    EXPECT_NE(load(), id);
    EXPECT_TRUE(fs::is_empty(file));
    fs::remove_all(folder / "data");
    std::ofstream(folder / "data") << "x";
    EXPECT_EQ(load().size(), 32U);
    EXPECT_EQ(readFile(folder / "data"), "x");
}

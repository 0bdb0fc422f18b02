#include "standin/message_store.h"

#include <gtest/gtest.h>

#include "common/files.h"
#include "tests/tools/standin/harness.h"

namespace {

using namespace q7standin;
using standintest::TestFolder;
using Lines = std::vector<std::string>;

TEST(MessageStore, KeepsNothingWithoutAFolder) {
    MessageStore store(std::nullopt);
    EXPECT_FALSE(store.isKeeping());
    EXPECT_EQ(store.keep("sync", "json", "x"), "");
    EXPECT_EQ(store.keepBeside("paths", "json", "x"), "");
}

TEST(MessageStore, NumbersInOrder) {
    const TestFolder folder;
    MessageStore store(folder.path() / "new");
    EXPECT_EQ(store.keep("sync", "json", "a"), "0001-sync.json");
    std::optional<KeptFile> file;
    store.begin(file);
    file->write("model", 5);
    EXPECT_EQ(store.keep("camera", "json", "b"), "0002-camera.json");
    EXPECT_EQ(store.commit(*file, "model", "q7mesh"), "0003-model.q7mesh");
    EXPECT_EQ(store.keepBeside("paths", "json", "c"), "0003-paths.json");
    EXPECT_EQ(folder.content("new/0001-sync.json"), "a");
    EXPECT_EQ(folder.content("new/0003-model.q7mesh"), "model");
    EXPECT_EQ(folder.content("new/0003-paths.json"), "c");
}

TEST(MessageStore, ReplacesAFileOfAnyName) {
    const TestFolder folder;
    const MessageStore store(folder.path());
    store.keepAs("a.png", "first");
    store.keepAs("a.png", "second");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a.png"});
    EXPECT_EQ(folder.content("a.png"), "second");
    EXPECT_EQ(store.pathOf("a.png"), folder.path() / "a.png");
}

TEST(MessageStore, GoesOnBehindWhatIsThere) {
    const TestFolder folder;
    MessageStore(folder.path()).keep("a", "json", "");
    q7tools::writeWholeFile(folder.path() / "0041-b.json", "old");
    q7tools::writeWholeFile(folder.path() / "99999.json", "no number of a message");
    q7tools::writeWholeFile(folder.path() / "notes.txt", "");
    MessageStore store(folder.path());
    EXPECT_EQ(store.keep("c", "json", ""), "0042-c.json");
    EXPECT_EQ(folder.content("0041-b.json"), "old");
}

TEST(MessageStore, NothingIsLeftOfAFileThatIsNotComplete) {
    const TestFolder folder;
    {
        MessageStore store(folder.path());
        std::optional<KeptFile> file;
        store.begin(file);
        file->write("mod", 3);
        EXPECT_EQ(folder.names().size(), 1U);
    }
    EXPECT_EQ(folder.names(), Lines{});
}

TEST(MessageStore, FolderThatCannotBe) {
    const TestFolder folder;
    q7tools::writeWholeFile(folder.path() / "file", "");
    EXPECT_THROW(MessageStore(folder.path() / "file"), q7tools::FileError);
    EXPECT_THROW(MessageStore(folder.path() / "file" / "in"), q7tools::FileError);
}

TEST(MessageStore, FolderThatIsGone) {
    const TestFolder folder;
    MessageStore store(folder.path() / "new");
    std::filesystem::remove_all(folder.path() / "new");
    EXPECT_THROW(store.keep("a", "json", ""), q7tools::FileError);
    std::optional<KeptFile> file;
    EXPECT_THROW(store.begin(file), q7tools::FileError);
}

}  // namespace

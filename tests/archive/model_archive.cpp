#include "archive/model_archive.h"

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/archive/archive_contents.h"
#include "tests/temporary_folder.h"

namespace {

class WriteInfoJson : public testing::Test {
  protected:
    std::string info() const {
        writeInfoJson(session, file.u16string());
        return readFile(file);
    }
    void addInstance(WideView path, WideView material) {
        session.model->addDefaultMaterial(material);
        session.model->addMesh(u"mesh", {});
        ASSERT_NE(session.model->addInstance(u"mesh", material, nullptr, path), 0U);
    }

    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "info.json";
    SessionCore session;
};

}  // namespace

TEST_F(WriteInfoJson, WithoutInstancesHasAnIdAlone) {
    const std::string text = info();
    ASSERT_EQ(text.size(), std::string(R"({"productID":""})").size() + 32);
    EXPECT_TRUE(text.starts_with(R"({"productID":")"));
    EXPECT_TRUE(text.ends_with("\"}"));
    const std::string id = text.substr(14, 32);
    EXPECT_EQ(id.find_first_not_of("0123456789ABCDEF"), std::string::npos) << id;
    EXPECT_NE(info(), text);
}

TEST_F(WriteInfoJson, NamesTheInstancesInTheirOrderWithNothingEscaped) {
    addInstance(u"b", u"m");
    addInstance(u"a/c", u"n@n");
    addInstance(u"b", u"m");
    addInstance(u"", u"m");
    addInstance(u"\u00E9\u4E2D\U0001F600", u"\u00E9");
    addInstance(u"\xD800", u"\"\\");
    const std::string text = info();
    EXPECT_TRUE(text.starts_with(
        "{\"instanceIdArray\":[\"b/m\",\"a/c/n@n\",\"b/m\",\"/m\",\"\xC3\xA9\xE4\xB8\xAD\xF0\x9F"
        "\x98\x80/\xC3\xA9\",\"\xEF\xBF\xBD/\\\"\\\\\"],\"productID\":\""))
        << text;
    EXPECT_TRUE(text.ends_with("\"}")) << text;
}

TEST_F(WriteInfoJson, ReplacesAFileAndPassesOverOneThatCannotBeOpened) {
    std::ofstream(file) << std::string(1000, 'x');
    EXPECT_LT(info().size(), 100U);
    writeInfoJson(session, folder.path().u16string());
    writeInfoJson(session, (folder / "missing" / "file").u16string());
    EXPECT_FALSE(std::filesystem::exists(folder / "missing"));
}

TEST(SaveToQ7a, HoldsTheSettingsOfTheStream) {
    const TemporaryFolder folder;
    const SessionCore session;
    ASSERT_TRUE(saveToQ7a(session, {u"a host", 0}, (folder / "x").u16string(), false));
    Q7Sync::saveRaw(*session.model, {u"a host", 0}, (folder / "expected").u16string());
    EXPECT_EQ(archiveContents(folder / "x")["1.q7mesh"], readFile(folder / "expected"));
}

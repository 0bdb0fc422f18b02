#include "archive/archive_folder.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/archive/archive_contents.h"
#include "tests/temporary_folder.h"

namespace fs = std::filesystem;

namespace {

class ArchiveTest : public testing::Test {
  protected:
    ArchiveTest() { session.materialVersion = 1; }

    WideString write(const fs::path& name, const std::string& text) const {
        const fs::path path = (place / name).make_preferred();
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
        return path.u16string();
    }
    Q7Material& addMaterial(WideView name) { return *session.model->addQ7Material(name); }

    const TemporaryFolder place;
    const fs::path temporary = place / "__q7_export_temp";
    const fs::path target = place / "target.q7a";
    const ArchiveFolder folder{target.u16string()};
    SessionCore session;
};

using CollectTextureFiles = ArchiveTest;
using CopyMaterialTextures = ArchiveTest;

}  // namespace

TEST_F(CollectTextureFiles, TakesEveryTextThatNamesAFileThatOpens) {
    Q7Material& material = addMaterial(u"m");
    const WideString first = write("a.png", "a");
    const WideString second = write("b", "b");
    material.setText(u"texture", first);
    material.setText(u"comment", second);
    material.setText(u"again", first);
    material.setText(u"missing", first + u"x");
    material.setText(u"folder", place.path().u16string());
    material.setText(u"empty", u"");
    material.setFloats(u"number", std::array{1.0F});
    EXPECT_EQ(collectTextureFiles(material), (std::vector<WideString>{first, second}));
}

TEST_F(CollectTextureFiles, LooksAtTextsOnly) {
    Q7Material& material = addMaterial(u"m");
    const WideString file = write("a", "a");
    const auto bytes = std::as_bytes(std::span(file.c_str(), file.size() + 1));
    material.set(u"p", PropertyType::None, bytes);
    EXPECT_TRUE(collectTextureFiles(material).empty());
    material.set(u"p", PropertyType::Text, bytes);
    EXPECT_EQ(collectTextureFiles(material), std::vector<WideString>{file});
}

TEST_F(CopyMaterialTextures, CopiesUnderTheFilesOwnNames) {
    addMaterial(u"m").setText(u"p", write("x/a.png", "one"));
    addMaterial(u"n").setText(u"p", write("y/b.png", "two"));
    fs::create_directory(place / "out");
    EXPECT_TRUE(copyMaterialTextures(session, (place / "out").u16string()));
    EXPECT_EQ(readFile(place / "out" / "a.png"), "one");
    EXPECT_EQ(readFile(place / "out" / "b.png"), "two");
}

TEST_F(CopyMaterialTextures, KeepsTheLaterOfTwoWithOneName) {
    addMaterial(u"m").setText(u"p", write("x/a.png", "one"));
    Q7Material& later = addMaterial(u"n");
    later.setText(u"p", write("y/a.png", "two"));
    later.setText(u"q", write("z/a.png", "three"));
    fs::create_directory(place / "out");
    EXPECT_TRUE(copyMaterialTextures(session, (place / "out").u16string()));
    EXPECT_EQ(readFile(place / "out" / "a.png"), "three");
}

TEST_F(CopyMaterialTextures, CopiesForVersion1Only) {
    addMaterial(u"m").setText(u"p", write("a.png", "a"));
    fs::create_directory(place / "out");
    for (const std::uint32_t version : {0U, 2U, 0xFFFFFFFFU}) {
        session.materialVersion = version;
        EXPECT_TRUE(copyMaterialTextures(session, (place / "out").u16string()));
        EXPECT_TRUE(copyMaterialTextures(session, u"missing"));
    }
    EXPECT_TRUE(fs::is_empty(place / "out"));
}

TEST_F(CopyMaterialTextures, PassesOverTextMaterials) {
    session.model->setMaterialXml(u"text", write("a.png", "a"));
    addMaterial(u"typed").setText(u"p", write("b.png", "b"));
    session.model->addDefaultMaterial(u"default");
    fs::create_directory(place / "out");
    EXPECT_TRUE(copyMaterialTextures(session, (place / "out").u16string()));
    EXPECT_FALSE(fs::exists(place / "out" / "a.png"));
    EXPECT_EQ(readFile(place / "out" / "b.png"), "b");
}

TEST_F(CopyMaterialTextures, NeedsAFolderOnlyForAFileToCopy) {
    EXPECT_TRUE(copyMaterialTextures(session, (place / "missing").u16string()));
    addMaterial(u"m").setText(u"p", place.path().u16string());
    EXPECT_TRUE(copyMaterialTextures(session, (place / "missing").u16string()));
    addMaterial(u"n").setText(u"p", write("a.png", "a"));
    EXPECT_FALSE(copyMaterialTextures(session, (place / "missing").u16string()));
}

TEST_F(ArchiveTest, TheFolderStandsBesideTheArchive) {
    EXPECT_EQ(folder.file(u"x"), (temporary / "x").u16string());
    EXPECT_EQ(ArchiveFolder((place / "name" / "").u16string()).file(u"x"),
              (temporary / "x").u16string());
    EXPECT_EQ(fs::path(ArchiveFolder(u"name.q7a").file(u"x")),
              (fs::path("name.q7a") / "__q7_export_temp" / "x").make_preferred());
    EXPECT_FALSE(fs::exists(temporary));
}

TEST_F(ArchiveTest, IsPackedAndRemoved) {
    EXPECT_TRUE(folder.addTextures(session));
    EXPECT_TRUE(fs::is_directory(temporary / "textures"));
    folder.addMaterialList(session);
    EXPECT_TRUE(folder.pack());
    EXPECT_FALSE(fs::exists(temporary));
    const std::map<std::string, std::string> expected = {
        {"q7material.xml", asTextFile("<Q7Materials_2>\n</Q7Materials_2>\n")}, {"textures/", ""}};
    EXPECT_EQ(archiveContents(target), expected);
}

TEST_F(ArchiveTest, EachFailurePrintsItsLineAndLeavesTheFolder) {
    std::ofstream(temporary) << "x";
    testing::internal::CaptureStderr();
    EXPECT_FALSE(folder.addTextures(session));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "create texture dir fail!\n");
    EXPECT_EQ(readFile(temporary), "x");
    fs::remove(temporary);

    addMaterial(u"m").setText(u"p", write("a.png", "a"));
    fs::create_directory(temporary);
    std::ofstream(temporary / "textures") << "x";
    testing::internal::CaptureStderr();
    EXPECT_FALSE(folder.addTextures(session));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "copy texture fail!\n");
    EXPECT_TRUE(fs::exists(temporary));

    fs::create_directory(target);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(folder.pack());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "compress file fail!\n");
    EXPECT_TRUE(fs::exists(temporary));
}

TEST(ArchiveFailed, PrintsTheReason) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(archiveFailed("reason"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "reason\n");
}

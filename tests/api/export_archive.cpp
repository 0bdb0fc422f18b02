#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "platform/files.h"
#include "tests/archive/archive_contents.h"
#include "tests/host.h"
#include "tests/platform/long_path.h"

namespace {

namespace fs = std::filesystem;
using Contents = std::map<std::string, std::string>;

// Calls with what they print on standard error, and what they may leave there.
class Archive : public testing::Test {
  protected:
    std::uint8_t saveRaw(const fs::path& path) const {
        return Q7SaveRawToQ7a(host.session, hostPath(path).c_str());
    }
    std::uint8_t saveProcessed(const fs::path& path) const {
        return Q7SaveProcessedToQ7a(host.session, hostPath(path).c_str());
    }
    std::uint8_t saveExt(const HostString& file, const fs::path& path) const {
        return Q7SaveExtToQ7a(host.session, file.c_str(), hostPath(path).c_str());
    }
    Contents rawContents() const {
        EXPECT_EQ(saveRaw(target), 1);
        EXPECT_FALSE(fs::exists(temporary));
        return archiveContents(target);
    }

    fs::path write(const fs::path& name, const std::string& text) const {
        const fs::path path = (place / name).make_preferred();
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }
    void addTexture(const Q7Char* material, const Q7Char* property, const fs::path& path) const {
        Q7SetMaterialVersion(host.session, 1);
        Q7AddMaterial(host.session, material);
        Q7SetMaterialStringProperty(host.session, material, property, hostPath(path).c_str());
    }
    template <class Call>
    void expectFailure(const Call& call, const std::string& line) const {
        testing::internal::CaptureStderr();
        EXPECT_EQ(call(), 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), line + "\n");
    }

    const Host host;
    const TemporaryFolder place;
    const fs::path temporary = place / "__q7_export_temp";
    const fs::path target = place / "target.q7a";
};

nlohmann::json infoOf(const Contents& contents) {
    return nlohmann::json::parse(contents.at("info.json"));
}

std::vector<std::string> namesIn(const Contents& contents) {
    std::vector<std::string> names;
    for (const auto& entry : contents)
        names.push_back(entry.first);
    return names;
}

// A place for a test of paths without a folder, which is the working directory
// meanwhile.
class WorkingDirectory {
  public:
    explicit WorkingDirectory(const fs::path& path) { fs::current_path(path); }
    ~WorkingDirectory() { fs::current_path(before_); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

  private:
    fs::path before_ = fs::current_path();
};

}  // namespace

using SaveRawToQ7a = Archive;
using SaveProcessedToQ7a = Archive;
using SaveExtToQ7a = Archive;

TEST_F(SaveRawToQ7a, HoldsModelMaterialsTexturesAndInformation) {
    host.addNode(Q7T("node"), {Q7T("m"), Q7T("n/n")});
    MaxDuplicateNode(host.session, Q7T("node"), Q7T("copy"), identity.data());
    const std::string texture("\x89PNG\r\n\x1A\n\0x", 10);
    addTexture(Q7T("typed"), Q7T("p"), write("some/texture.png", texture));
    const std::string before = host.savedBytes();
    testing::internal::CaptureStderr();
    const Contents contents = rawContents();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(namesIn(contents),
              (std::vector<std::string>{"1.q7mesh", "info.json", "q7material.xml", "textures/",
                                        "textures/texture.png"}));
    EXPECT_EQ(contents.at("1.q7mesh"), before);
    EXPECT_EQ(contents.at("q7material.xml"), host.savedMaterials());
    EXPECT_EQ(contents.at("textures/texture.png"), texture);
    EXPECT_EQ(infoOf(contents)["instanceIdArray"],
              (nlohmann::json{"path/m", "path/n@n", "//m", "//n@n"}));
    EXPECT_EQ(host.savedBytes(), before);
    EXPECT_EQ(readFile(place / "some" / "texture.png"), texture);
}

TEST_F(SaveRawToQ7a, WithoutInstancesTheInformationIsAnIdAlone) {
    const Contents contents = rawContents();
    const auto info = infoOf(contents);
    EXPECT_EQ(info.size(), 1U);
    const std::string id = info["productID"];
    EXPECT_EQ(id.size(), 32U);
    EXPECT_EQ(id.find_first_not_of("0123456789ABCDEF"), std::string::npos) << id;
    EXPECT_EQ(contents.at("info.json"), "{\"productID\":\"" + id + "\"}");
}

TEST_F(SaveRawToQ7a, EachSaveHasAnIdOfItsOwn) {
    const auto first = infoOf(rawContents());
    EXPECT_NE(infoOf(rawContents())["productID"], first["productID"]);
}

TEST_F(SaveRawToQ7a, InformationIsUtf8AndValidWhateverThePath) {
    const Q7Char lone[] = {'a', static_cast<Q7Char>(0xDC00), '"', 0};
    host.addNode(Q7T("node"), {Q7T("\u00E9\u4E2D")}, lone);
    const Contents contents = rawContents();
    EXPECT_TRUE(contents.at("info.json")
                    .starts_with("{\"instanceIdArray\":[\"a\xEF\xBF\xBD\\\"/"
                                 "\xC3\xA9\xE4\xB8\xAD\"],\"productID\":\""))
        << contents.at("info.json");
}

TEST_F(SaveRawToQ7a, TexturesAreCopiedForTypedMaterialsOnly) {
    addTexture(Q7T("m"), Q7T("p"), write("a.png", "a"));
    for (const std::uint32_t version : {0U, 2U}) {
        Q7SetMaterialVersion(host.session, version);
        const Contents contents = rawContents();
        EXPECT_EQ(namesIn(contents), (std::vector<std::string>{"1.q7mesh", "info.json",
                                                               "q7material.xml", "textures/"}));
    }
}

TEST_F(SaveRawToQ7a, ATextMaterialAmongTypedOnesIsPassedOver) {
    Q7SetMaterialVersion(host.session, 0);
    host.addNode(Q7T("node"), {Q7T("text")});
    AddMaterial(host.session, Q7T("another"), hostPath(write("b.png", "b")).c_str());
    addTexture(Q7T("m"), Q7T("p"), write("a.png", "a"));
    const Contents contents = rawContents();
    EXPECT_EQ(contents.at("textures/a.png"), "a");
    EXPECT_FALSE(contents.contains("textures/b.png"));
}

TEST_F(SaveRawToQ7a, ATextureIsWhateverTextNamesAFile) {
    addTexture(Q7T("m"), Q7T("comment"), write("no picture", "text"));
    addTexture(Q7T("m"), Q7T("missing"), place / "missing.png");
    addTexture(Q7T("m"), Q7T("folder"), place.path());
    addTexture(Q7T("m"), Q7T("again"), place / "no picture");
    addTexture(Q7T("n"), Q7T("again"), place / "no picture");
    Q7SetMaterialFloatProperty(host.session, Q7T("m"), Q7T("number"), 1);
    const Contents contents = rawContents();
    EXPECT_EQ(namesIn(contents),
              (std::vector<std::string>{"1.q7mesh", "info.json", "q7material.xml", "textures/",
                                        "textures/no picture"}));
    EXPECT_EQ(contents.at("textures/no picture"), "text");
}

TEST_F(SaveRawToQ7a, OfTexturesWithOneNameTheLastStays) {
    addTexture(Q7T("m"), Q7T("p"), write("x/a.png", "one"));
    addTexture(Q7T("n"), Q7T("p"), write("y/a.png", "two"));
    EXPECT_EQ(rawContents().at("textures/a.png"), "two");
}

TEST_F(SaveRawToQ7a, MaterialsKeepTheHostsTexturePaths) {
    const fs::path texture = write("a.png", "a");
    addTexture(Q7T("m"), Q7T("p"), texture);
    const std::u8string path = texture.u8string();
    EXPECT_NE(rawContents().at("q7material.xml").find(std::string(path.begin(), path.end())),
              std::string::npos);
}

TEST_F(SaveRawToQ7a, MakesTheFoldersAboveTheTarget) {
    const fs::path deep = place / "a" / "b" / "c.q7a";
    EXPECT_EQ(saveRaw(deep), 1);
    EXPECT_EQ(archiveContents(deep).size(), 4U);
    EXPECT_FALSE(fs::exists(place / "a" / "b" / "__q7_export_temp"));
}

TEST_F(SaveRawToQ7a, TakesAnyUnicodeName) {
    const fs::path name = place / fs::path(u"\u00E9\u4E2D \U0001F600") / fs::path(u"\u4E2D.q7a");
    addTexture(Q7T("m"), Q7T("p"), write(fs::path(u"\u00E9\u4E2D.png"), "a"));
    EXPECT_EQ(saveRaw(name), 1);
    EXPECT_EQ(archiveContents(name).at("textures/\xC3\xA9\xE4\xB8\xAD.png"), "a");
}

TEST_F(SaveRawToQ7a, ReplacesAnArchive) {
    std::ofstream(target) << std::string(100000, 'x');
    EXPECT_EQ(rawContents().size(), 4U);
}

TEST_F(SaveRawToQ7a, PacksWhatLiesInTheTemporaryFolder) {
    fs::create_directories(temporary / "deeper");
    std::ofstream(temporary / "deeper" / "left over") << "x";
    std::ofstream(temporary / "info.json") << std::string(1000, 'x');
    const Contents contents = rawContents();
    EXPECT_EQ(contents.at("deeper/left over"), "x");
    EXPECT_EQ(infoOf(contents).size(), 1U);
}

TEST_F(SaveRawToQ7a, GoesOnWithoutFilesThatCannotBeOpened) {
    for (const char* name : {"1.q7mesh", "q7material.xml", "info.json"})
        fs::create_directories(temporary / name);
    testing::internal::CaptureStderr();
    const Contents contents = rawContents();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(namesIn(contents), (std::vector<std::string>{"1.q7mesh/", "info.json/",
                                                           "q7material.xml/", "textures/"}));
}

TEST_F(SaveRawToQ7a, FailsWhereTheTemporaryFolderCannotBe) {
    std::ofstream(temporary) << "x";
    expectFailure([&] { return saveRaw(target); }, "create texture dir fail!");
    expectFailure([&] { return saveProcessed(target); }, "create texture dir fail!");
    expectFailure([&] { return saveExt(Q7T("x"), target); }, "create texture dir fail!");
    EXPECT_EQ(readFile(temporary), "x");
    EXPECT_FALSE(fs::exists(target));
}

TEST_F(SaveRawToQ7a, AFileInThePlaceOfTheTexturesFailsWithTheFirstOne) {
    fs::create_directory(temporary);
    std::ofstream(temporary / "textures") << "x";
    EXPECT_EQ(rawContents().at("textures"), "x");
    fs::create_directory(temporary);
    std::ofstream(temporary / "textures") << "x";
    fs::remove(target);
    addTexture(Q7T("m"), Q7T("p"), write("a.png", "a"));
    expectFailure([&] { return saveRaw(target); }, "copy texture fail!");
    expectFailure([&] { return saveProcessed(target); }, "copy texture fail!");
    expectFailure([&] { return saveExt(Q7T("x"), target); }, "copy texture fail!");
    EXPECT_TRUE(fs::exists(temporary));
    EXPECT_FALSE(fs::exists(target));
}

TEST_F(SaveRawToQ7a, AfterAFailureTheFolderStaysAndIsPackedByTheNext) {
    fs::create_directory(target);
    addTexture(Q7T("m"), Q7T("p"), write("a.png", "a"));
    expectFailure([&] { return saveRaw(target); }, "compress file fail!");
    expectFailure([&] { return saveProcessed(target); }, "compress file fail!");
    expectFailure([&] { return saveExt(hostPath(write("b.x", "b")), target); },
                  "compress file fail!");
    EXPECT_EQ(readFile(temporary / "textures" / "a.png"), "a");
    Q7RemoveMaterialProperty(host.session, Q7T("m"), Q7T("p"));
    EXPECT_EQ(saveRaw(place / "next.q7a"), 1);
    EXPECT_EQ(namesIn(archiveContents(place / "next.q7a")),
              (std::vector<std::string>{"1.q7mesh", "1.x", "info.json", "q7material.xml",
                                        "textures/", "textures/a.png"}));
    EXPECT_FALSE(fs::exists(temporary));
}

TEST_F(SaveRawToQ7a, ANameWithoutAFolderIsItselfTakenForTheFolder) {
    const WorkingDirectory here(place.path());
    expectFailure([&] { return saveRaw("name.q7a"); }, "compress file fail!");
    EXPECT_TRUE(fs::exists(place / "name.q7a" / "__q7_export_temp" / "info.json"));
    std::ofstream(place / "file.q7a") << "x";
    expectFailure([&] { return saveRaw("file.q7a"); }, "create texture dir fail!");
    EXPECT_EQ(readFile(place / "file.q7a"), "x");
}

TEST_F(SaveRawToQ7a, TakesARelativePath) {
    const WorkingDirectory here(place.path());
    EXPECT_EQ(saveRaw(fs::path("folder") / "name.q7a"), 1);
    EXPECT_EQ(archiveContents(place / "folder" / "name.q7a").size(), 4U);
    EXPECT_FALSE(fs::exists(place / "folder" / "__q7_export_temp"));
}

TEST_F(SaveRawToQ7a, TakesPathsOfAnyLength) {
    addTexture(Q7T("m"), Q7T("p"), write("a.png", "a"));
    for (const std::size_t length : {225, 231, 235, 240, 247, 250, 256, 259, 260, 261, 300, 500}) {
        const WideString path = pathOfLength(place.path(), length);
        const HostString argument(path.begin(), path.end());
        EXPECT_EQ(Q7SaveRawToQ7a(host.session, argument.c_str()), 1) << length;
        const fs::path archive = platform::nativePath(path);
        EXPECT_EQ(archiveContents(archive).size(), 5U) << length;
        fs::path left = archive;
        left.replace_filename("__q7_export_temp");
        EXPECT_FALSE(fs::exists(left)) << length;
        fs::remove(archive);
    }
}

TEST_F(SaveRawToQ7a, PathsMayBeLong) {
    const WideString path = pathOfLength(place.path(), 900) + u".q7a";
    const HostString argument(path.begin(), path.end());
    addTexture(Q7T("m"), Q7T("p"), write(std::string(200, 't') + ".png", "texture"));
    EXPECT_EQ(Q7SaveRawToQ7a(host.session, argument.c_str()), 1);
    const Contents contents = archiveContents(platform::nativePath(path));
    EXPECT_EQ(contents.at("1.q7mesh"), host.savedBytes());
    EXPECT_EQ(contents.at("textures/" + std::string(200, 't') + ".png"), "texture");
}

TEST_F(SaveProcessedToQ7a, HoldsTheMergedModelAndTheInstancesOfTheOther) {
    host.addNode(Q7T("a"), {Q7T("m")}, Q7T("one"));
    host.addNode(Q7T("b"), {Q7T("m")}, Q7T("two"));
    const std::string before = host.savedBytes();
    Q7SaveProcessedToFile(host.session, hostPath(place / "expected").c_str());
    EXPECT_EQ(saveProcessed(target), 1);
    EXPECT_FALSE(fs::exists(temporary));
    const Contents contents = archiveContents(target);
    EXPECT_EQ(contents.at("1.q7mesh"), readFile(place / "expected"));
    EXPECT_NE(contents.at("1.q7mesh"), before);
    EXPECT_EQ(infoOf(contents)["instanceIdArray"], (nlohmann::json{"one/m", "two/m"}));
    EXPECT_EQ(contents.at("q7material.xml"), host.savedMaterials());
    EXPECT_EQ(namesIn(contents),
              (std::vector<std::string>{"1.q7mesh", "info.json", "q7material.xml", "textures/"}));
    EXPECT_EQ(host.savedBytes(), before);
}

TEST_F(SaveExtToQ7a, HoldsTheFileMaterialsAndTextures) {
    host.addNode(Q7T("node"), {Q7T("m")});
    const std::string content("a\r\nb\n\0c\x1A", 8);
    addTexture(Q7T("t"), Q7T("p"), write("a.png", "a"));
    EXPECT_EQ(saveExt(hostPath(write("scene.fbx", content)), target), 1);
    EXPECT_FALSE(fs::exists(temporary));
    const Contents contents = archiveContents(target);
    EXPECT_EQ(namesIn(contents),
              (std::vector<std::string>{"1.fbx", "q7material.xml", "textures/", "textures/a.png"}));
    EXPECT_EQ(contents.at("1.fbx"), content);
    EXPECT_EQ(contents.at("q7material.xml"), host.savedMaterials());
    EXPECT_EQ(readFile(place / "scene.fbx"), content);
}

TEST_F(SaveExtToQ7a, TheExtensionIsWhatFollowsTheLastDotOfTheName) {
    const std::pair<const char*, const char*> rows[] = {
        {"a.b.c", "1.c"}, {"mesh", "1.mesh"}, {"dir.x/mesh", "1.mesh"}, {".hidden", "1.hidden"}};
    for (const auto& [name, entry] : rows) {
        EXPECT_EQ(saveExt(hostPath(write(name, "x")), target), 1);
        const Contents contents = archiveContents(target);
        ASSERT_TRUE(contents.contains(entry)) << name;
        EXPECT_EQ(contents.at(entry), "x");
        EXPECT_EQ(contents.size(), 3U);
    }
}

#if !defined(_WIN32)

TEST_F(SaveExtToQ7a, ANameThatEndsInADotHasAnEmptyExtension) {
    EXPECT_EQ(saveExt(hostPath(write("name.", "x")), target), 1);
    EXPECT_EQ(archiveContents(target).at("1."), "x");
}

#else

TEST_F(SaveExtToQ7a, ANameThatEndsInADotHasAnEmptyExtension) {
    EXPECT_EQ(saveExt(hostPath(write("name.", "x")), target), 1);
    const Contents contents = archiveContents(target);
    EXPECT_EQ(contents.size(), 3U);
    // File names do not end in a dot on Windows; where the system drops it the entry is plain "1".
    EXPECT_TRUE(contents.contains("1.") || contents.contains("1"));
}

TEST_F(SaveRawToQ7a, SucceedsThoughTheTemporaryFolderCannotBeRemoved) {
    fs::create_directory(temporary);
    {
        const std::ofstream inUse(temporary / "left over");
        EXPECT_EQ(saveRaw(target), 1);
        EXPECT_EQ(saveExt(Q7T("x"), place / "ext.q7a"), 1);
        EXPECT_TRUE(fs::exists(temporary / "left over"));
    }
    EXPECT_TRUE(archiveContents(target).contains("left over"));
}

TEST_F(SaveRawToQ7a, ATextureWhosePathHasNoBackslashGoesAstray) {
    Q7SetMaterialVersion(host.session, 1);
    Q7AddMaterial(host.session, Q7T("m"));
    Q7SetMaterialStringProperty(host.session, Q7T("m"), Q7T("p"),
                                hostPath(write("a.png", "a").generic_u16string()).c_str());
    EXPECT_EQ(rawContents().size(), 4U);
}

TEST_F(SaveExtToQ7a, OnlyABackslashSeparates) {
    const fs::path file = write("dir/mesh.fbx", "x");
    EXPECT_EQ(saveExt(hostPath(file.generic_u16string()), target), 1);
    EXPECT_EQ(archiveContents(target).at("1.fbx"), "x");
    // What follows the dot in the whole path names a place that is not there.
    EXPECT_EQ(saveExt(hostPath(write("dir.x/mesh", "x").generic_u16string()), target), 1);
    EXPECT_EQ(archiveContents(target).size(), 2U);
}

#endif

TEST_F(SaveExtToQ7a, AFileThatCannotBeOpenedIsAnEmptyEntry) {
    for (const HostString& file : {hostPath(place / "missing.abc"), HostString(Q7T("none.abc"))}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(saveExt(file, target), 1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        const Contents contents = archiveContents(target);
        EXPECT_EQ(namesIn(contents),
                  (std::vector<std::string>{"1.abc", "q7material.xml", "textures/"}));
        EXPECT_EQ(contents.at("1.abc"), "");
    }
    EXPECT_EQ(saveExt(Q7T("name."), target), 1);
    EXPECT_EQ(archiveContents(target).size(), 3U);
}

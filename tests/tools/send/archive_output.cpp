#include "send/archive_output.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>

#include "common/files.h"
#include "common/zip_reader.h"
#include "send/mesh_sharing.h"
#include "tests/temporary_folder.h"
#include "tests/tools/send/sample_scene.h"

namespace q7send {

namespace fs = std::filesystem;

class ArchiveOutputTest : public testing::Test {
  protected:
    void write(const fs::path& name, const std::string& content) const {
        fs::create_directories((folder / name).parent_path());
        std::ofstream(folder / name, std::ios::binary) << content;
    }

    // Gives its size.
    std::uintmax_t make(ArchiveOutput& output, const Scene& scene,
                        StreamForm form = StreamForm::raw) const {
        SceneSender sender;
        const SendTotals totals = sender.describe(scene, "1.2", [](double) {});
        output.placeTextures(scene);
        output.save(sender, scene, form);
        const std::uintmax_t size = output.verify(totals, form);
        output.commit();
        return size;
    }

    std::map<std::string, std::string> entries() const {
        const auto bytes = q7tools::readWholeFile(folder / "out.q7a");
        const q7tools::ZipReader zip(bytes);
        std::map<std::string, std::string> entries;
        for (const auto& entry : zip.entries()) {
            const auto data = zip.read(entry);
            entries[entry.name] =
                std::string(reinterpret_cast<const char*>(data.data()), data.size());
        }
        return entries;
    }

    std::string reason(const fs::path& packed) const {
        try {
            const ArchiveOutput output(folder / "out.q7a", packed);
            return "no error";
        } catch (const q7tools::FileError& error) {
            EXPECT_EQ(error.file(), q7tools::pathToUtf8(packed));
            return error.what();
        }
    }

    void addTexture(Scene& scene, std::size_t material, const fs::path& path) const {
        scene.materials[material].properties.push_back(
            {u"Image" + WideString(1, static_cast<char16_t>(
                                          u'0' + scene.materials[material].properties.size())),
             utf8ToWide(q7tools::pathToUtf8(path))});
    }

    TemporaryFolder folder;
};

TEST_F(ArchiveOutputTest, HoldsSceneMaterialsAndTextures) {
    write("wood.png", "wooden");
    Scene scene = sampleScene();
    addTexture(scene, 0, folder / "wood.png");
    addTexture(scene, 1, folder / "wood.png");
    addTexture(scene, 1, folder / "absent.png");
    scene.textures = {{"own-0.png", {std::byte{'o'}}}, {"own-1.png", {}}};
    scene.materials[0].embedded = {{u"NormalTexture", 0}, {u"OpacityTexture", 1}};
    ArchiveOutput output(folder / "out.q7a", std::nullopt);
    const std::uintmax_t size = make(output, scene);
    EXPECT_EQ(size, fs::file_size(folder / "out.q7a"));
    EXPECT_EQ(output.textureCount(), 2U);
    EXPECT_EQ(output.displacedTextureCount(), 0U);
    auto content = entries();
    EXPECT_EQ(content["textures/wood.png"], "wooden");
    EXPECT_EQ(content["textures/own-0.png"], "o");
    EXPECT_NE(content["q7material.xml"].find("own-0.png</NormalTexture>"), std::string::npos);
    EXPECT_EQ(content["q7material.xml"].find("OpacityTexture"), std::string::npos);
    EXPECT_TRUE(content.contains("1.q7mesh") && content.contains("info.json"));
    EXPECT_EQ(content.size(), 6U);
}

TEST_F(ArchiveOutputTest, NothingElseStays) {
    write("__q7_export_temp/1.old", "left by another program");
    {
        ArchiveOutput output(folder / "out.q7a", std::nullopt);
        make(output, sampleScene());
        EXPECT_FALSE(entries().contains("1.old"));
    }
    std::set<fs::path> names;
    for (const auto& entry : fs::directory_iterator(folder.path()))
        names.insert(entry.path().filename());
    EXPECT_EQ(names, (std::set<fs::path>{"__q7_export_temp", "out.q7a"}));
}

TEST_F(ArchiveOutputTest, TheProcessedFormIsMerged) {
    Scene scene = mergeableScene();
    unshareMergeable(scene);
    ArchiveOutput output(folder / "out.q7a", std::nullopt);
    make(output, scene, StreamForm::processed);
    EXPECT_NE(entries()["1.q7mesh"].size(), 0U);
}

TEST_F(ArchiveOutputTest, TexturesOfOneNameAreCounted) {
    write("a/wood.png", "one");
    write("b/wood.png", "another");
    Scene scene = sampleScene();
    addTexture(scene, 0, folder / "a/wood.png");
    addTexture(scene, 1, folder / "b/wood.png");
    ArchiveOutput output(folder / "out.q7a", std::nullopt);
    make(output, scene);
    EXPECT_EQ(output.textureCount(), 1U);
    EXPECT_EQ(output.displacedTextureCount(), 1U);
}

TEST_F(ArchiveOutputTest, AFileTakesTheScenesPlace) {
    write("car.v2.step", "geometry");
    ArchiveOutput output(folder / "out.q7a", folder / "car.v2.step");
    make(output, sampleScene());
    auto content = entries();
    EXPECT_EQ(content["1.step"], "geometry");
    EXPECT_FALSE(content.contains("1.q7mesh"));
    write("plain", "");
    ArchiveOutput second(folder / "out.q7a", folder / "plain");
    make(second, sampleScene());
    EXPECT_TRUE(entries().contains("1.plain"));
}

TEST_F(ArchiveOutputTest, FilesThatCannotBePacked) {
    EXPECT_EQ(reason(folder / "absent"),
              std::make_error_code(std::errc::no_such_file_or_directory).message());
    EXPECT_EQ(reason(folder.path()), "is a folder");
}

TEST_F(ArchiveOutputTest, WhatIsMissingIsFound) {
    write("wood.png", "wooden");
    Scene scene = sampleScene();
    addTexture(scene, 0, folder / "wood.png");
    ArchiveOutput output(folder / "out.q7a", std::nullopt);
    SceneSender sender;
    SendTotals totals = sender.describe(scene, "1.2", [](double) {});
    output.placeTextures(scene);
    const auto reasonFor = [&] {
        try {
            output.verify(totals, StreamForm::raw);
            return std::string("no error");
        } catch (const q7tools::FileError& error) {
            return std::string(error.what());
        }
    };
    output.save(sender, scene, StreamForm::raw);
    EXPECT_EQ(reasonFor(), "no error");
    ++totals.triangles;
    EXPECT_EQ(reasonFor(), "15 triangles were sent, but 14 were written");
    --totals.triangles;
    Scene more = scene;
    write("stone.png", "stone");
    addTexture(more, 0, folder / "stone.png");
    output.placeTextures(more);
    EXPECT_EQ(reasonFor(), "textures/stone.png is missing in the archive");
    EXPECT_FALSE(fs::exists(folder / "out.q7a"));
}

}  // namespace q7send

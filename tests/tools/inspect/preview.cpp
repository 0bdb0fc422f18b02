#include "inspect/preview.h"

#include <gtest/gtest.h>

#include "common/files.h"
#include "inspect/input.h"
#include "tests/temporary_folder.h"
#include "tests/tools/inspect/sample_archive.h"

namespace {

using q7inspect::drawInput;
using q7preview::Image;
using q7preview::Preview;
using q7preview::PreviewOptions;
using q7preview::Size;
using q7tools::pathToUtf8;

std::string redPng() {
    Image image(Size{2, 2});
    for (int i = 0; i < 4; ++i)
        image.setPixel(i % 2, i / 2, {255, 0, 0});
    return pngOf(image);
}

class InspectPreview : public testing::Test {
  protected:
    InspectPreview() { options_.size = Size{40, 30}; }

    std::string save(const std::string& name, const std::string& content) const {
        q7tools::writeWholeFile(folder_ / name, content);
        return pathToUtf8(folder_ / name);
    }

    // Two textures in use.
    static streamtest::Scene scene() {
        streamtest::Scene scene = archivetest::scene();
        scene.materials[0].xml = archivetest::typedXml(
            u"Lamp", archivetest::textProperty(u"Base--Map", u"C:\\tex\\\u00e4.png"));
        scene.materials[1].xml = archivetest::typedXml(
            u"Wall", archivetest::textProperty(u"Base--Map", u"C:/tex/glow.jpg"));
        return scene;
    }

    TemporaryFolder folder_;
    PreviewOptions options_;
};

TEST_F(InspectPreview, archivesComeWithTheirTextures) {
    ziptest::ZipBuilder zip;
    zip.add("1.q7mesh", archivetest::streamText(scene()));
    zip.add("q7material.xml", archivetest::materialList(scene()));
    zip.add("textures/\xc3\xa4.png", redPng()).add("textures/glow.jpg", "no picture");
    const Preview preview = drawInput(save("a.q7a", zip.build()), options_);
    EXPECT_EQ(previewText(preview), "40 x 30 pixels, 5 triangles, 1 texture, 1 texture not found");
    // Damaged in the archive.
    zip.entry("textures/\xc3\xa4.png").crc = 1;
    EXPECT_EQ(drawInput(save("b.q7a", zip.build()), options_).missingTextures, 2U);
}

TEST_F(InspectPreview, streamsLookForFiles) {
    streamtest::Scene plain = scene();
    plain.header = u"{\"textureFolder\":\"\"}";
    save("glow.jpg", redPng());
    const Preview preview = drawInput(save("a.q7mesh", archivetest::streamText(plain)), options_);
    EXPECT_EQ(preview.textures, 1U);
    EXPECT_EQ(preview.missingTextures, 1U);
}

TEST_F(InspectPreview, otherFilesAreRefused) {
    EXPECT_THROW(drawInput(save("a.q7a", archivetest::externalArchive().build()), options_),
                 q7inspect::InputError);
    EXPECT_THROW(drawInput(save("a.txt", "no stream"), options_), q7inspect::InputError);
    EXPECT_THROW(drawInput(pathToUtf8(folder_ / "none"), options_), q7tools::FileError);
}

TEST_F(InspectPreview, cameraFiles) {
    const auto camera =
        q7inspect::readCameraFile(save("c.json", R"({"Position":[1,2,3],"Direction":[0,0,-1]})"));
    EXPECT_EQ(camera.position, (q7preview::Vector{1, 2, 3}));
    EXPECT_THROW(q7inspect::readCameraFile(save("d.json", "{}")), q7tools::FileError);
    EXPECT_THROW(q7inspect::readCameraFile(pathToUtf8(folder_ / "none")), q7tools::FileError);
}

}  // namespace

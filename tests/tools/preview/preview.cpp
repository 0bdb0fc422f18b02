#include "preview/preview.h"

#include <gtest/gtest.h>

#include <limits>

#include "common/files.h"
#include "tests/temporary_folder.h"
#include "tests/tools/common/stream_builder.h"

namespace {

using q7preview::Axis;
using q7preview::drawPreview;
using q7preview::Image;
using q7preview::Pixel;
using q7preview::Preview;
using q7preview::PreviewOptions;
using q7preview::SceneCamera;
using q7preview::Size;
using q7preview::Threads;
using streamtest::Scene;

constexpr Size size{64, 64};

// The picture of the square from (0, 0) to (1, 1) has it at a quarter of its side from each side.
PreviewOptions straight() {
    SceneCamera camera;
    camera.position = {0.5, 0.5, 5};
    camera.direction = {0, 0, -1};
    camera.orthographicWidth = 2;
    PreviewOptions options;
    options.size = size;
    options.camera = camera;
    return options;
}

std::u16string colored(const std::u16string& color) {
    return u"<Material><Color>" + color + u"</Color></Material>";
}

Scene oneQuad() {
    Scene scene;
    scene.materials = {{u"Lamp", colored(u"#FF0000")}, {u"Wall", colored(u"#0000FF")}};
    scene.instances = {{u"quad", u"Lamp"}};
    return scene;
}

Preview draw(
    const Scene& scene, const PreviewOptions& options = straight(),
    const q7preview::TextureSource& textures = [](const WideString&) { return std::nullopt; }) {
    return drawPreview(q7tools::readStream(scene.build().bytes()), options, textures);
}

Image background() {
    Scene scene;
    scene.instances.clear();
    return draw(scene).image;
}

bool isRed(const Pixel& pixel) {
    return pixel[0] > 150 && pixel[1] < 100 && pixel[2] < 100;
}

bool isBlue(const Pixel& pixel) {
    return pixel[2] > 150 && pixel[0] < 100 && pixel[1] < 100;
}

TEST(PreviewModel, drawsWhatIsPlaced) {
    Scene scene = oneQuad();
    const Preview preview = draw(scene);
    EXPECT_EQ(preview.triangles, 2U);
    EXPECT_EQ(preview.skippedTriangles, 0U);
    const Image empty = background();
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const bool inside = x >= 16 && x < 48 && y >= 16 && y < 48;
            EXPECT_EQ(isRed(preview.image.pixel(x, y)), inside) << x << ' ' << y;
            if (!inside) {
                EXPECT_EQ(preview.image.pixel(x, y), empty.pixel(x, y));
            }
        }
    }
    EXPECT_EQ(q7preview::previewText(preview), "64 x 64 pixels, 2 triangles");
    EXPECT_EQ(q7preview::leftOutText(preview), "");
}

TEST(PreviewModel, transformsPlace) {
    Scene scene = oneQuad();
    scene.instances = {{u"quad", u"Lamp", streamtest::movedBy(-0.5F, 0, 0)},
                       {u"quad", u"Wall", streamtest::movedBy(0.5F, 0, -1)}};
    const Image image = draw(scene).image;
    EXPECT_TRUE(isRed(image.pixel(1, 32)));
    EXPECT_TRUE(isRed(image.pixel(31, 32)));
    EXPECT_TRUE(isBlue(image.pixel(32, 32)));
    EXPECT_TRUE(isBlue(image.pixel(63, 32)));
    // Mirrored ones are lit as the others are.
    Scene mirrored = oneQuad();
    mirrored.instances[0].transform[0] = -1;
    mirrored.instances[0].transform[12] = 1;
    EXPECT_EQ(draw(mirrored).image.pixel(32, 32), draw(oneQuad()).image.pixel(32, 32));
}

TEST(PreviewModel, thousandsOfInstances) {
    Scene scene = oneQuad();
    scene.instances.clear();
    for (int i = 0; i < 4000; ++i) {
        auto transform = streamtest::movedBy(static_cast<float>(i % 64) / 32 - 0.5F,
                                             static_cast<float>(i / 64) / 32 - 0.5F, 0);
        transform[0] = transform[5] = 1.0F / 32;
        scene.instances.push_back({u"quad", i % 2 == 0 ? u"Lamp" : u"Wall", transform});
    }
    const Preview preview = draw(scene);
    EXPECT_EQ(preview.triangles, 8000U);
    EXPECT_TRUE(isRed(preview.image.pixel(0, 63)));
    EXPECT_TRUE(isBlue(preview.image.pixel(1, 63)));
    EXPECT_TRUE(isBlue(preview.image.pixel(31, 2)));
}

TEST(PreviewModel, mergedMeshesAreTrianglesThreeByThree) {
    Scene scene = streamtest::mergedScene();
    scene.materials[1].xml = colored(u"#FF0000");
    const Preview preview = draw(scene);
    EXPECT_EQ(preview.triangles, 2U);
    EXPECT_EQ(preview.skippedTriangles, 0U);
    EXPECT_TRUE(isRed(preview.image.pixel(18, 40)));
}

TEST(PreviewModel, materialsWithoutAColorGetOneByTheirName) {
    Scene scene = oneQuad();
    scene.materials[0].xml = u"<Material/>";
    const Image named = draw(scene).image;
    scene.instances[0].material = u"Unknown";
    const Image unknown = draw(scene).image;
    EXPECT_NE(named.pixel(32, 32), unknown.pixel(32, 32));
    EXPECT_NE(unknown.pixel(32, 32), background().pixel(32, 32));
}

// Red above, blue below, with a green corner on the lower left.
std::vector<std::byte> texture() {
    Image image(Size{8, 8});
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x)
            image.setPixel(x, y, y < 4 ? Pixel{255, 0, 0} : Pixel{0, 0, 255});
    }
    for (int y = 6; y < 8; ++y) {
        for (int x = 0; x < 2; ++x)
            image.setPixel(x, y, {0, 255, 0});
    }
    const std::string png = pngOf(image);
    const auto bytes = std::as_bytes(std::span(png));
    return {bytes.begin(), bytes.end()};
}

Scene texturedQuad() {
    Scene scene = oneQuad();
    for (auto& material : scene.materials)
        material.xml = u"<M><Color>#000000</Color><ColorMap>t.png</ColorMap></M>";
    return scene;
}

TEST(PreviewModel, texturesStandUpright) {
    int asked = 0;
    Scene scene = texturedQuad();
    scene.instances.push_back({u"quad", u"Wall", streamtest::movedBy(0, 0, -1)});
    const Preview preview = draw(scene, straight(), [&](const WideString& path) {
        EXPECT_EQ(path, u"t.png");
        ++asked;
        return texture();
    });
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(q7preview::previewText(preview), "64 x 64 pixels, 4 triangles, 1 texture");
    EXPECT_TRUE(isRed(preview.image.pixel(32, 20)));
    EXPECT_TRUE(isBlue(preview.image.pixel(40, 44)));
    const Pixel corner = preview.image.pixel(18, 46);
    EXPECT_TRUE(corner[1] > 150 && corner[0] < 100 && corner[2] < 100);
}

TEST(PreviewModel, texturesThatCannotBeRead) {
    std::vector<std::byte> damaged = texture();
    damaged.resize(20);
    for (const auto& file : {std::optional<std::vector<std::byte>>(), std::optional(damaged)}) {
        Scene scene = texturedQuad();
        scene.materials[0].xml = u"<M><Color>#FF0000</Color><ColorMap>t.png</ColorMap></M>";
        const Preview preview = draw(scene, straight(), [&](const WideString&) { return file; });
        EXPECT_EQ(q7preview::previewText(preview),
                  "64 x 64 pixels, 2 triangles, 1 texture not found");
        EXPECT_TRUE(isRed(preview.image.pixel(32, 32)));
    }
}

TEST(PreviewModel, clearSurfacesShowWhatIsBehind) {
    Scene scene = oneQuad();
    scene.materials[0].xml = u"<M><Color>#FF0000</Color><Opacity>0.5</Opacity></M>";
    scene.instances.push_back({u"quad", u"Wall", streamtest::movedBy(0, 0, -1)});
    const Pixel half = draw(scene).image.pixel(32, 32);
    EXPECT_GT(half[0], 120);
    EXPECT_GT(half[2], 120);
    // What is quite clear is still there.
    scene.materials[0].xml = u"<M><Color>#FF0000</Color><Opacity>0</Opacity></M>";
    EXPECT_GT(draw(scene).image.pixel(32, 32)[0], 100);
}

TEST(PreviewModel, emptyModels) {
    Scene scene;
    scene.instances.clear();
    scene.meshes.clear();
    PreviewOptions options;
    options.size = size;
    EXPECT_EQ(q7preview::previewText(draw(scene, options)), "64 x 64 pixels, nothing to draw");
    EXPECT_EQ(draw(scene, options).image, background());
    scene.meshes = {{u"quad", {}, {}, {}, {}, {}}};
    scene.instances = {{u"quad", u"Lamp"}};
    EXPECT_EQ(draw(scene, options).image, background());
}

TEST(PreviewModel, leavesOutWhatCannotBeDrawn) {
    Scene scene = oneQuad();
    scene.instances.push_back({u"missing", u"Wall"});
    scene.meshes[0].indices = {0, 1, 2, 0, 2, 4, -1, 1, 2, 0, 2, 3, 0};
    scene.instances.push_back({u"tri", u"Wall"});
    scene.instances.back().transform[5] = std::numeric_limits<float>::quiet_NaN();
    PreviewOptions options;
    options.size = size;
    for (const PreviewOptions& chosen : {straight(), options}) {
        const Preview preview = draw(scene, chosen);
        EXPECT_EQ(preview.triangles, 2U);
        EXPECT_EQ(preview.missingMeshes, 1U);
        EXPECT_EQ(preview.skippedTriangles, 3U);
        EXPECT_EQ(q7preview::leftOutText(preview),
                  "left out: 1 instance of missing meshes, 3 unusable triangles");
        EXPECT_TRUE(isRed(preview.image.pixel(32, 32)));
    }
}

TEST(PreviewModel, everyFloatThatIsNone) {
    const float bad[] = {
        std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
        -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::max()};
    for (const float value : bad) {
        Scene scene;
        scene.meshes[0].positions[4] = value;
        scene.meshes[0].normals[2] = value;
        scene.meshes[0].uvs[3] = value;
        scene.instances[1].transform[12] = value;
        for (const Axis up : {Axis::y, Axis::z}) {
            PreviewOptions options;
            options.size = Size{20, 10};
            options.up = up;
            EXPECT_EQ(draw(scene, options).image.size(), options.size);
        }
    }
}

TEST(PreviewModel, arraysThatDoNotFitAreNotUsed) {
    Scene scene = oneQuad();
    scene.meshes[0].normals.pop_back();
    scene.meshes[0].uvs.push_back(0);
    EXPECT_TRUE(isRed(draw(scene).image.pixel(32, 32)));
}

TEST(PreviewModel, theFitShowsAll) {
    PreviewOptions options;
    options.size = size;
    Scene scene = oneQuad();
    scene.instances.push_back({u"quad", u"Wall", streamtest::movedBy(300, -40, 7)});
    // Far away, and of no triangle.
    scene.meshes[0].positions.insert(scene.meshes[0].positions.end(), {1e9F, 0, 0});
    scene.meshes[0].normals.insert(scene.meshes[0].normals.end(), {0, 0, 1});
    scene.meshes[0].uvs.insert(scene.meshes[0].uvs.end(), {0, 0});
    const Image image = draw(scene, options).image;
    const Image empty = background();
    int drawn = 0;
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const bool isDrawn = image.pixel(x, y) != empty.pixel(x, y);
            const bool isBorder = x == 0 || y == 0 || x == 63 || y == 63;
            EXPECT_FALSE(isDrawn && isBorder) << x << ' ' << y;
            drawn += isDrawn ? 1 : 0;
        }
    }
    EXPECT_GE(drawn, 2);
}

TEST(PreviewModel, aCameraThatSeesNothingIsLeftOut) {
    PreviewOptions options;
    options.size = size;
    for (const q7preview::Vector direction : {q7preview::Vector{}, {0, 0, 1}}) {
        PreviewOptions nowhere = straight();
        nowhere.camera->direction = direction;
        const Preview preview = draw(oneQuad(), nowhere);
        EXPECT_EQ(preview.image, draw(oneQuad(), options).image);
        EXPECT_EQ(q7preview::previewText(preview),
                  "64 x 64 pixels, 2 triangles; all of it, since the camera sees nothing of it");
    }
    EXPECT_NE(draw(oneQuad()).image, draw(oneQuad(), options).image);
}

TEST(PreviewModel, theTriangleThatASendAddsIsLeftOut) {
    Scene scene = oneQuad();
    const Preview before = draw(scene);
    scene.meshes[1].name = u"@g@m@q7_";
    scene.instances.push_back({u"@g@m@q7_", u"Wall", streamtest::movedBy(0, 0, 1)});
    const Preview after = draw(scene);
    EXPECT_EQ(after.image, before.image);
    EXPECT_EQ(after.triangles, 2U);
}

TEST(PreviewModel, oneThreadAndManyDrawTheSame) {
    Scene scene = texturedQuad();
    scene.instances.clear();
    for (int i = 0; i < 3000; ++i) {
        const auto number = static_cast<float>(i);
        scene.instances.push_back(
            {i % 3 == 0 ? u"tri" : u"quad", i % 2 == 0 ? u"Lamp" : u"Wall",
             streamtest::movedBy(number / 100, number / 170 - 9, static_cast<float>(i % 37))});
    }
    PreviewOptions options;
    options.size = size;
    const auto source = [](const WideString&) { return texture(); };
    const Image many = draw(scene, options, source).image;
    options.threads = Threads::one;
    EXPECT_EQ(draw(scene, options, source).image, many);
}

TEST(PreviewModel, streamFilesComeWithTheirTextures) {
    const TemporaryFolder folder;
    Scene scene = texturedQuad();
    scene.header = u"{\"textureFolder\":\"tex\"}";
    const auto stream = scene.build();
    q7tools::writeWholeFile(folder / "a.q7mesh",
                            std::string_view(reinterpret_cast<const char*>(stream.bytes().data()),
                                             stream.bytes().size()));
    Preview preview = q7preview::drawStreamFile(folder / "a.q7mesh", straight());
    EXPECT_EQ(preview.missingTextures, 1U);
    std::filesystem::create_directories(folder / "tex");
    const std::vector<std::byte> png = texture();
    q7tools::writeWholeFile(
        folder / "tex" / "t.png",
        std::string_view(reinterpret_cast<const char*>(png.data()), png.size()));
    preview = q7preview::drawStreamFile(folder / "a.q7mesh", straight());
    EXPECT_EQ(preview.textures, 1U);
    EXPECT_THROW(q7preview::drawStreamFile(folder / "b.q7mesh", straight()), q7tools::FileError);
}

}  // namespace

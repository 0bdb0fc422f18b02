#include "common/stream_reader.h"

#include <gtest/gtest.h>

#include "common/files.h"
#include "tests/temporary_folder.h"
#include "tests/tools/common/stream_builder.h"

namespace {

using q7tools::FormatError;
using q7tools::readStream;
using q7tools::StreamModel;
using streamtest::Scene;
using streamtest::StreamBuilder;

std::string errorOf(const StreamBuilder& stream) {
    try {
        readStream(stream.bytes());
    } catch (const FormatError& error) {
        return std::to_string(error.offset()) + ": " + error.what();
    }
    return "no error";
}

TEST(StreamReader, readsAllRecords) {
    const Scene scene;
    const StreamBuilder stream = scene.build();
    const StreamModel model = readStream(stream.bytes());
    EXPECT_EQ(model.version, 11U);
    EXPECT_EQ(model.headerText, scene.header);

    ASSERT_EQ(model.materials.size(), 2U);
    EXPECT_EQ(model.materials[0].name, u"Lamp");
    EXPECT_EQ(model.materials[0].xml, streamtest::typedXml);
    EXPECT_EQ(model.materials[1].name, u"Wall");

    ASSERT_EQ(model.instances.size(), 3U);
    EXPECT_EQ(model.instances[1].mesh, u"quad");
    EXPECT_EQ(model.instances[1].material, u"Wall");
    EXPECT_EQ(model.instances[1].transform, streamtest::movedBy(10, 20, 30));

    ASSERT_EQ(model.meshes.size(), 2U);
    EXPECT_EQ(model.meshes[0].name, u"quad");
    EXPECT_EQ(model.meshes[0].positions, scene.meshes[0].positions);
    EXPECT_EQ(model.meshes[0].normals, scene.meshes[0].normals);
    EXPECT_EQ(model.meshes[0].uvs, scene.meshes[0].uvs);
    EXPECT_EQ(model.meshes[0].colors, scene.meshes[0].colors);
    EXPECT_EQ(model.meshes[0].indices, scene.meshes[0].indices);
    EXPECT_EQ(model.meshes[0].vertexCount(), 4U);
    EXPECT_EQ(model.meshes[0].triangleCount(), 2U);
    EXPECT_TRUE(model.meshes[1].normals.empty());

    EXPECT_EQ(model.size, stream.offset());
    EXPECT_EQ(model.end, stream.offset());
    EXPECT_EQ(model.trailingBytes(), 0U);
}

TEST(StreamReader, readsTheEmptyModel) {
    StreamBuilder stream;
    stream.word(11).text(u"{}").word(0).word(0).word(0);
    const StreamModel model = readStream(stream.bytes());
    EXPECT_EQ(model.headerText, u"{}");
    EXPECT_TRUE(model.materials.empty());
    EXPECT_TRUE(model.instances.empty());
    EXPECT_TRUE(model.meshes.empty());
    EXPECT_EQ(model.placedTriangleCount(), 0U);
}

TEST(StreamReader, remembersWhereEverythingStarts) {
    StreamBuilder stream;
    stream.word(11).text(u"{}");            // 0, 4
    stream.word(1).material(u"m", u"xy");   // 12, 16
    stream.word(1).instance(u"abc", u"m");  // 30, 34
    stream.word(1).text(u"abc");            // 114, 118
    stream.floats({1, 2, 3}).floats({}).floats({0, 0}).byteArray({5}).ints({0});
    const StreamModel model = readStream(stream.bytes());
    EXPECT_EQ(model.headerOffset, 4U);
    EXPECT_EQ(model.materialsOffset, 12U);
    EXPECT_EQ(model.materials[0].offset, 16U);
    EXPECT_EQ(model.materials[0].xmlOffset, 22U);
    EXPECT_EQ(model.instancesOffset, 30U);
    EXPECT_EQ(model.instances[0].offset, 34U);
    EXPECT_EQ(model.instances[0].materialOffset, 44U);
    EXPECT_EQ(model.instances[0].transformOffset, 50U);
    EXPECT_EQ(model.meshesOffset, 114U);
    EXPECT_EQ(model.meshes[0].offset, 118U);
    EXPECT_EQ(model.meshes[0].positionsOffset, 128U);
    EXPECT_EQ(model.meshes[0].normalsOffset, 144U);
    EXPECT_EQ(model.meshes[0].uvsOffset, 148U);
    EXPECT_EQ(model.meshes[0].colorsOffset, 160U);
    EXPECT_EQ(model.meshes[0].indicesOffset, 165U);
    EXPECT_EQ(model.end, 173U);
}

TEST(StreamReader, everyTruncationIsAnError) {
    const StreamBuilder stream = Scene().build();
    for (std::size_t size = 0; size < stream.bytes().size(); ++size) {
        try {
            readStream(stream.bytes().first(size));
            FAIL() << "no error at " << size << " bytes";
        } catch (const FormatError& error) {
            EXPECT_LE(error.offset(), size);
        }
    }
}

TEST(StreamReader, everyBadWordIsAnErrorOrReadInBounds) {
    const StreamBuilder stream = Scene().build();
    for (std::size_t place = 0; place + 4 <= stream.bytes().size(); ++place) {
        std::vector<std::byte> bytes(stream.bytes().begin(), stream.bytes().end());
        for (std::size_t i = 0; i < 4; ++i)
            bytes[place + i] = std::byte{0xFF};
        try {
            const StreamModel model = readStream(bytes);
            EXPECT_LE(model.end, bytes.size());
        } catch (const FormatError& error) {
            EXPECT_LE(error.offset(), bytes.size());
        }
    }
}

TEST(StreamReader, lyingCountsNameTheirPlace) {
    StreamBuilder materials;
    materials.word(11).text(u"{}").word(2).word(0).word(0).word(0);
    EXPECT_EQ(errorOf(materials),
              "12: material count is 2, but the 12 bytes behind it hold at most 1");

    StreamBuilder instances;
    instances.word(11).text(u"{}").word(0).word(0xFFFFFFFF).instance(u"", u"");
    EXPECT_EQ(errorOf(instances),
              "16: instance count is 4294967295, but the 72 bytes behind it hold at most 1");

    StreamBuilder meshes;
    meshes.word(11).text(u"{}").word(0).word(0).word(1000);
    EXPECT_EQ(errorOf(meshes), "20: mesh count is 1000, but the 0 bytes behind it hold at most 0");

    StreamBuilder header;
    header.word(11).word(1000000);
    EXPECT_EQ(errorOf(header),
              "4: header: 1000000 elements of 2 bytes are announced, but only 0 bytes are left");
}

TEST(StreamReader, errorsNameTheRecord) {
    StreamBuilder stream;
    stream.word(11).text(u"{}").word(2).material(u"a", u"").text(u"b").word(9);
    EXPECT_EQ(
        errorOf(stream),
        "32: material 2 of 2: XML text: 9 elements of 2 bytes are announced, but only 0 bytes "
        "are left");
}

TEST(StreamReader, tellsTrailingBytes) {
    StreamBuilder stream = Scene().build();
    const std::uint64_t end = stream.offset();
    stream.byte(1).byte(2);
    const StreamModel model = readStream(stream.bytes());
    EXPECT_EQ(model.end, end);
    EXPECT_EQ(model.trailingBytes(), 2U);
}

TEST(StreamReader, keepsTextAsItIs) {
    Scene scene;
    scene.materials[0].name = std::u16string(u"a\0b\xdc00", 4);
    const StreamModel model = readStream(scene.build().bytes());
    EXPECT_EQ(model.materials[0].name, std::u16string(u"a\0b\xdc00", 4));
}

TEST(StreamReader, doesNotJudgeWhatTheRecordsSay) {
    Scene scene;
    scene.version = 12;
    scene.header = u"no JSON";
    scene.instances[0].mesh = u"elsewhere";
    scene.meshes[0].indices = {99, -1};
    const StreamModel model = readStream(scene.build().bytes());
    EXPECT_EQ(model.version, 12U);
    EXPECT_EQ(model.headerText, u"no JSON");
}

TEST(StreamReader, findsRecordsByName) {
    const StreamModel model = readStream(Scene().build().bytes());
    EXPECT_EQ(model.findMaterial(u"Wall"), &model.materials[1]);
    EXPECT_EQ(model.findMaterial(u"wall"), nullptr);
    EXPECT_EQ(model.findMesh(u"tri"), &model.meshes[1]);
    EXPECT_EQ(model.findMesh(u""), nullptr);
    EXPECT_EQ(model.findInstanceOf(u"quad"), &model.instances[0]);
    EXPECT_EQ(model.findInstanceOf(u"none"), nullptr);
}

TEST(StreamReader, countsPlacedTriangles) {
    Scene scene;
    EXPECT_EQ(readStream(scene.build().bytes()).placedTriangleCount(), 5U);
    EXPECT_EQ(readStream(scene.build().bytes()).countedTriangleCount(), 5U);
    scene.instances.push_back({u"missing", u"Wall"});
    scene.meshes[1].indices = {0, 1};
    EXPECT_EQ(readStream(scene.build().bytes()).placedTriangleCount(), 4U);
}

TEST(StreamReader, knowsMergedMeshes) {
    Scene scene = streamtest::mergedScene();
    const StreamModel model = readStream(scene.build().bytes());
    EXPECT_FALSE(model.meshes[0].isMerged());
    EXPECT_TRUE(model.meshes[2].isMerged());
    EXPECT_EQ(model.meshes[2].triangleCount(), 2U);
    EXPECT_EQ(model.meshes[2].countedTriangles(), 6U);
    EXPECT_EQ(model.placedTriangleCount(), 2U);
    EXPECT_EQ(model.countedTriangleCount(), 6U);
}

TEST(StreamReader, mergedMeshesHaveTheNameAndTheWholeList) {
    const StreamModel model = readStream(streamtest::mergedScene().build().bytes());
    q7tools::StreamMesh mesh = model.meshes[2];
    mesh.name = u"Wall_q7_merged_";
    EXPECT_FALSE(mesh.isMerged());
    EXPECT_EQ(mesh.triangleCount(), 6U);
    mesh.name = u"_q7_merged";
    EXPECT_TRUE(mesh.isMerged());
    mesh.indices[17] = 16;
    EXPECT_FALSE(mesh.isMerged());
    mesh.indices = {0, 1, 2, 3, 4, 5};
    EXPECT_FALSE(mesh.isMerged());
    EXPECT_EQ(mesh.triangleCount(), 2U);
}

TEST(StreamReader, pointsThatFillNoTriangleOfAMergedMeshAreNone) {
    q7tools::StreamMesh mesh;
    mesh.name = u"x_q7_merged";
    mesh.positions.assign(12, 0);
    mesh.indices = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    EXPECT_TRUE(mesh.isMerged());
    EXPECT_EQ(mesh.triangleCount(), 1U);
    EXPECT_EQ(mesh.countedTriangles(), 4U);
}

TEST(StreamReader, readsFiles) {
    const TemporaryFolder folder;
    const StreamBuilder stream = Scene().build();
    q7tools::writeWholeFile(
        folder / "a.stream",
        std::string_view(reinterpret_cast<const char*>(stream.bytes().data()), stream.offset()));
    EXPECT_EQ(q7tools::readStreamFile(folder / "a.stream").meshes,
              readStream(stream.bytes()).meshes);
    EXPECT_THROW(q7tools::readStreamFile(folder / "b.stream"), q7tools::FileError);
}

}  // namespace

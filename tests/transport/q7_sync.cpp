#include "transport/q7_sync.h"

#include <gtest/gtest.h>

#include <bit>
#include <string>
#include <vector>

#include "tests/read_file.h"
#include "tests/temporary_folder.h"

namespace {

// Each call of the writer as one entry.
struct Recorder {
    std::vector<std::string> writes;
    ByteWriter writer() {
        return [this](const void* data, std::size_t size) {
            writes.emplace_back(static_cast<const char*>(data), size);
        };
    }
    std::string bytes() const {
        std::string all;
        for (const std::string& write : writes)
            all += write;
        return all;
    }
};

std::string word(std::uint32_t value) {
    return {static_cast<char>(value), static_cast<char>(value >> 8), static_cast<char>(value >> 16),
            static_cast<char>(value >> 24)};
}

std::string wide(const std::string& ascii) {
    std::string bytes = word(static_cast<std::uint32_t>(ascii.size()));
    for (const char c : ascii)
        bytes += {c, '\0'};
    return bytes;
}

}  // namespace

TEST(Q7Sync, AWordIsFourBytesLowFirstAndCutToThem) {
    Recorder recorder;
    Q7Sync::writeWord(0x04030201, recorder.writer());
    Q7Sync::writeWord(0x0000000500000007U, recorder.writer());
    EXPECT_EQ(recorder.writes, (std::vector<std::string>{"\1\2\3\4", word(7)}));
}

TEST(Q7Sync, AWideStringIsItsUnitCountAndItsUnits) {
    Recorder recorder;
    Q7Sync::writeWideString(u"a\u4E2D\U0001F600", recorder.writer());
    EXPECT_EQ(recorder.writes,
              (std::vector<std::string>{word(4), std::string("a\0\x2D\x4E\x3D\xD8\x00\xDE", 8)}));
}

TEST(Q7Sync, AnEmptyFrameIsAZeroWordAndAWriteOfSizeZero) {
    Recorder recorder;
    Q7Sync::writeWideString(u"", recorder.writer());
    Q7Sync::writeFloatArray({}, recorder.writer());
    Q7Sync::writeIntArray({}, recorder.writer());
    Q7Sync::writeByteArray({}, recorder.writer());
    EXPECT_EQ(recorder.writes,
              (std::vector<std::string>{word(0), "", word(0), "", word(0), "", word(0), ""}));
}

TEST(Q7Sync, ArraysAreTheirElementCountAndTheirBytes) {
    Recorder recorder;
    Q7Sync::writeFloatArray({1.0F, -2.0F}, recorder.writer());
    Q7Sync::writeIntArray({1, -1}, recorder.writer());
    Q7Sync::writeByteArray({1, 2, 3}, recorder.writer());
    EXPECT_EQ(recorder.bytes(), word(2) + word(std::bit_cast<std::uint32_t>(1.0F)) +
                                    word(std::bit_cast<std::uint32_t>(-2.0F)) + word(2) + word(1) +
                                    word(0xFFFFFFFF) + word(3) + "\1\2\3");
}

TEST(Q7Sync, AMaterialIsItsNameAndItsText) {
    Recorder recorder;
    Q7Sync::writeMaterial(Material(u"name", u"<text/>"), recorder.writer());
    EXPECT_EQ(recorder.bytes(), wide("name") + wide("<text/>"));
}

TEST(Q7Sync, AnInstanceIsTwoNamesAndItsTransform) {
    Mesh mesh;
    mesh.name = u"mesh";
    Material material(u"", u"text");
    Instance instance{&material, &mesh, {}, u"path"};
    for (std::size_t i = 0; i < 16; ++i)
        instance.transform[i] = static_cast<float>(i);
    Recorder recorder;
    Q7Sync::writeInstance(instance, recorder.writer());
    std::string expected = wide("mesh") + word(0);
    for (int i = 0; i < 16; ++i)
        expected += word(std::bit_cast<std::uint32_t>(static_cast<float>(i)));
    EXPECT_EQ(recorder.bytes(), expected);
}

TEST(Q7Sync, AMeshIsItsNameAndItsFiveArraysInOrder) {
    Mesh mesh;
    mesh.name = u"m";
    mesh.positions = {1.0F};
    mesh.normals = {2.0F};
    mesh.uvs = {3.0F};
    mesh.colors = {4};
    mesh.indices = {5};
    Recorder recorder;
    Q7Sync::writeMesh(mesh, recorder.writer());
    EXPECT_EQ(recorder.bytes(), wide("m") + word(1) + word(std::bit_cast<std::uint32_t>(1.0F)) +
                                    word(1) + word(std::bit_cast<std::uint32_t>(2.0F)) + word(1) +
                                    word(std::bit_cast<std::uint32_t>(3.0F)) + word(1) + "\4" +
                                    word(1) + word(5));
}

TEST(Q7Sync, TheHeaderHasFourMembersInOrder) {
    Model model;
    EXPECT_EQ(wideToUtf8(Q7Sync::headerJson(model, {})),
              R"({"dccPluginInfo":"","materialVersion":1,"textureFolder":"","triangleCount":0})");
    model.textureFolder = u"C:\\t\u00E9\"";
    const StreamSettings settings{u"\u4E2D\U0001F600", 1};
    EXPECT_EQ(wideToUtf8(Q7Sync::headerJson(model, settings)),
              "{\"dccPluginInfo\":\"\u4E2D\U0001F600\",\"materialVersion\":2,"
              "\"textureFolder\":\"C:\\\\t\u00E9\\\"\",\"triangleCount\":0}");
}

TEST(Q7Sync, TheHeadersMaterialVersionIsAnUnsigned32BitSum) {
    const Model model;
    const auto versionFor = [&](std::uint32_t version) {
        const std::string text = wideToUtf8(Q7Sync::headerJson(model, {u"", version}));
        return text.substr(text.find("Version\":") + 9,
                           text.find(",\"tex") - text.find("Version\":") - 9);
    };
    EXPECT_EQ(versionFor(0), "1");
    EXPECT_EQ(versionFor(0x7FFFFFFF), "2147483648");
    EXPECT_EQ(versionFor(0xFFFFFFFE), "4294967295");
    EXPECT_EQ(versionFor(0xFFFFFFFF), "0");
}

TEST(Q7Sync, AFileThatTakesNothingIsNotReported) {
    const TemporaryFolder folder;
    const std::string path = (folder / "file").string();
    std::ofstream(path) << "abc";
    std::FILE* const readOnly = std::fopen(path.c_str(), "rb");
    ASSERT_NE(readOnly, nullptr);
    EXPECT_NO_THROW(Q7Sync::toFile(readOnly)("xyz", 3));
    std::fclose(readOnly);
    EXPECT_EQ(readFile(path), "abc");
}

TEST(Q7Sync, AnEmptyWriterThrowsBadFunctionCall) {
    EXPECT_THROW(Q7Sync::writeWord(1, {}), std::bad_function_call);
    EXPECT_THROW(Q7Sync::writeModel(Model(), {}, {}), std::bad_function_call);
}

TEST(Q7Sync, AWriterIsTakenByValueAndItsCopyDestroyed) {
    const auto counter = std::make_shared<int>(0);
    const ByteWriter writer = [counter](const void*, std::size_t) {};
    const long before = counter.use_count();
    Q7Sync::writeMesh(Mesh(), writer);
    EXPECT_EQ(counter.use_count(), before);
}

TEST(Q7Sync, ARunningListIsWrittenAsItsIndices) {
    Recorder recorder;
    Q7Sync::writeIntArray(IndexList::running(5000), recorder.writer());
    std::string expected = word(5000);
    for (std::uint32_t i = 0; i < 5000; ++i)
        expected += word(i);
    EXPECT_TRUE(recorder.bytes() == expected);
}

// Small pieces are gathered, large ones are not, and their sizes meet each other around the room that
// there is.
TEST(Q7Sync, AModelIsWrittenInOrderWhateverTheSizes) {
    constexpr std::size_t room = 1U << 19;
    Model model;
    model.addDefaultMaterial(u"a");
    model.addDefaultMaterial(u"b");
    std::uint32_t number = 0;
    for (const std::size_t bytes :
         {std::size_t{4}, room + 4, std::size_t{8}, room, room - 4, 3 * room, std::size_t{4}}) {
        MeshArrays arrays;
        arrays.colors.resize(bytes);
        for (std::size_t i = 0; i < bytes; ++i)
            arrays.colors[i] = static_cast<unsigned char>(i * i >> 5);
        const WideString name(1, static_cast<char16_t>(u'a' + number++));
        model.addMesh(name, std::move(arrays));
    }
    for (int i = 0; i < 10000; ++i)
        model.addInstance(u"a", i % 3 == 0 ? u"b" : u"a", nullptr, u"");
    Recorder inPieces;
    const ByteWriter writer = inPieces.writer();
    Q7Sync::writeWord(11, writer);
    Q7Sync::writeWideString(Q7Sync::headerJson(model, {}), writer);
    Q7Sync::writeWord(2, writer);
    for (const auto& [name, material] : model.materials)
        Q7Sync::writeMaterial(*material, writer);
    Q7Sync::writeWord(10000, writer);
    for (const auto& instance : model.instances)
        Q7Sync::writeInstance(*instance, writer);
    Q7Sync::writeWord(number, writer);
    for (const auto& [name, mesh] : model.meshes)
        Q7Sync::writeMesh(*mesh, writer);
    Recorder whole;
    Q7Sync::writeModel(model, {}, whole.writer());
    EXPECT_TRUE(whole.bytes() == inPieces.bytes());
    EXPECT_LT(whole.writes.size(), 20U);
}

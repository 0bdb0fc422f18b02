// Files that once cost the inspector far more time or memory than their size, or made it tell a wrong
// place. One that comes back to its square of time shows as a test that does not end.
#include <gtest/gtest.h>

#include <limits>

#include "common/zip_reader.h"
#include "inspect/info_json.h"
#include "inspect/material_file.h"
#include "inspect/scene.h"
#include "tests/tools/common/stream_builder.h"
#include "tests/tools/common/zip_builder.h"

namespace {

using q7inspect::MeshLookup;
using q7tools::StreamModel;

std::span<const std::byte> bytesOf(const std::string& text) {
    return std::as_bytes(std::span(text));
}

TEST(SmallFileTakesHours, faultOfAMaterialThatIsNoUtf8IsInsideTheFile) {
    const std::string start = "<Q7Materials_2>\n";
    const std::string text = start + "<Material_2>\n    <id>\xff\xfe\xe4\xb8&";
    const q7inspect::MaterialFile file = q7inspect::readMaterialFile(bytesOf(text));
    ASSERT_FALSE(file.faults.empty());
    // The bare "&", the last byte.
    EXPECT_EQ(file.faults.back().offset, text.size() - 1);
}

TEST(SmallFileTakesHours, headerOfManyObjectsIsReadInOneGo) {
    std::u16string header = u"{\"a\":[{}";
    for (int i = 0; i < 200'000; ++i)
        header += u",{}";
    const auto parsed = q7inspect::parseHeader(header + u"]}");
    ASSERT_TRUE(parsed.has_value());
    EXPECT_EQ(parsed->at("a").size(), 200'001U);
}

TEST(SmallFileTakesHours, meshOfNoPlaceIsNotPlacedOftener) {
    const float nowhere = std::numeric_limits<float>::quiet_NaN();
    streamtest::Scene scene;
    scene.meshes = {{u"a", std::vector<float>(150'000, nowhere), {}, {}, {}, {}}};
    scene.instances.assign(100'000, {u"a", u"Wall"});
    const StreamModel model = q7tools::readStream(scene.build().bytes());
    EXPECT_FALSE(q7inspect::worldBounds(model, MeshLookup(model)).has_value());
}

TEST(SmallFileTakesHours, manyMeshesShareTheLimitOfPlacedVertices) {
    const StreamModel model = q7tools::readStream(streamtest::Scene{}.build().bytes());
    // A quad that is placed twice, and a triangle.
    EXPECT_TRUE(q7inspect::worldBounds(model, MeshLookup(model), 11)->exact);
    EXPECT_FALSE(q7inspect::worldBounds(model, MeshLookup(model), 10)->exact);
}

TEST(SmallFileTakesHours, unknownKeysOfTheInformationAreToldAHundredTimes) {
    std::string text = "{\"productID\":\"0123456789ABCDEF0123456789ABCDEF\"";
    for (int i = 0; i < 250; ++i)
        text += ",\"x\":0";
    const q7inspect::InfoJson info = q7inspect::readInfoJson(bytesOf(text + "}"));
    ASSERT_EQ(info.faults.size(), 101U);
    EXPECT_EQ(info.faults[99].reason, "unknown key \"x\"");
    EXPECT_EQ(info.faults[100].reason, "150 more unknown keys");
}

TEST(SmallFileTakesHours, entryThatTellsTooMuchTakesNoMemoryForIt) {
    ziptest::Entry entry{.name = "a", .data = "any"};
    entry.size = 0x3000000;
    const std::vector<std::byte> file = ziptest::ZipBuilder().add(entry).bytes();
    const q7tools::ZipReader zip(file);
    EXPECT_THROW(zip.read(zip.entries()[0]), q7tools::FormatError);
}

}  // namespace

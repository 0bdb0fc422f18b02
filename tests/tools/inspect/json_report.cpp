#include "inspect/json_report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/tools/common/stream_builder.h"

namespace {

using nlohmann::json;
using streamtest::Scene;
using streamtest::StreamBuilder;

std::string textOf(const StreamBuilder& stream) {
    std::ostringstream out;
    q7inspect::printJson(out, "a \"b\".stream", q7tools::readStream(stream.bytes()));
    return out.str();
}

json reportOf(const Scene& scene) {
    return json::parse(textOf(scene.build()));
}

TEST(InspectJson, holdsEverythingButTheArrays) {
    const Scene scene;
    const json report = reportOf(scene);
    EXPECT_EQ(report["file"], "a \"b\".stream");
    EXPECT_EQ(report["size"], scene.build().offset());
    EXPECT_EQ(report["trailingBytes"], 0);
    EXPECT_EQ(report["version"], 11);
    EXPECT_EQ(report["header"]["textureFolder"], "C:\\tex");
    EXPECT_EQ(report["header"]["triangleCount"], 5);
    EXPECT_EQ(report["placedTriangles"], 5);
    EXPECT_EQ(report["countedTriangles"], 5);
    EXPECT_EQ(
        report["worldBounds"],
        (json{{"lowest", {0.0, 0.0, -5.0}}, {"highest", {11.0, 21.0, 30.0}}, {"exact", true}}));

    ASSERT_EQ(report["materials"].size(), 2U);
    const json& lamp = report["materials"][0];
    EXPECT_EQ(lamp["name"], "Lamp");
    EXPECT_EQ(lamp["uses"], 1);
    EXPECT_EQ(report["materials"][1]["uses"], 2);
    EXPECT_EQ(lamp["kind"], "typed");
    EXPECT_EQ(lamp["type"], "/Game/MatLib2/Base/Base/Base_9/m.m");
    EXPECT_EQ(lamp["properties"][1], (json{{"element", "Base--Map"}, {"text", "C:\\a & b.png"}}));
    EXPECT_EQ(lamp["properties"][2], (json{{"element", "Nothing"}, {"text", nullptr}}));
    EXPECT_EQ(report["materials"][1]["kind"], "text");
    EXPECT_EQ(report["materials"][1]["xml"], "<Material>any</Material>");

    ASSERT_EQ(report["instances"].size(), 3U);
    EXPECT_EQ(report["instances"][1]["mesh"], "quad");
    EXPECT_EQ(report["instances"][1]["material"], "Wall");
    EXPECT_EQ(report["instances"][1]["path"], nullptr);
    EXPECT_EQ(report["instancePathsIn"], nullptr);
    EXPECT_EQ(report["notes"], json::array());
    EXPECT_EQ(report["instances"][1]["transform"], json(streamtest::movedBy(10, 20, 30)));

    json quad = report["meshes"][0];
    quad.erase("offset");
    EXPECT_EQ(quad, (json{{"name", "quad"},
                          {"vertices", 4},
                          {"triangles", 2},
                          {"uses", 2},
                          {"merged", false},
                          {"positions", 12},
                          {"normals", 12},
                          {"uvs", 8},
                          {"colors", 3},
                          {"indices", 6}}));
}

TEST(InspectJson, mergedMeshesAreUnindexedTriangles) {
    const json report = reportOf(streamtest::mergedScene());
    EXPECT_EQ(report["placedTriangles"], 2);
    EXPECT_EQ(report["countedTriangles"], 6);
    EXPECT_EQ(report["meshes"][0]["merged"], false);
    EXPECT_EQ(report["meshes"][0]["uses"], 0);
    EXPECT_EQ(report["meshes"][2]["merged"], true);
    EXPECT_EQ(report["meshes"][2]["vertices"], 6);
    EXPECT_EQ(report["meshes"][2]["triangles"], 2);
    EXPECT_EQ(report["meshes"][2]["indices"], 18);
}

TEST(InspectJson, offsetsAreThoseOfTheFile) {
    const Scene scene;
    const q7tools::StreamModel model = q7tools::readStream(scene.build().bytes());
    const json report = reportOf(scene);
    EXPECT_EQ(report["materials"][1]["offset"], model.materials[1].offset);
    EXPECT_EQ(report["instances"][2]["offset"], model.instances[2].offset);
    EXPECT_EQ(report["meshes"][1]["offset"], model.meshes[1].offset);
}

TEST(InspectJson, eachRecordTakesOneLine) {
    const std::string text = textOf(Scene().build());
    EXPECT_EQ(std::ranges::count(text, '\n'), 1 + 11 + (1 + 2 + 1) + (1 + 3 + 1) + (1 + 2 + 1) + 1);
}

TEST(InspectJson, holdsNotesAndPaths) {
    Scene scene;
    scene.instances[0].material = u"nowhere";
    const q7tools::StreamModel model = q7tools::readStream(scene.build().bytes());
    std::ostringstream out;
    q7inspect::printJson(out, "a", model, {"p.json", "", {"/a", "b\xff", ""}});
    const json report = json::parse(out.str());
    EXPECT_EQ(report["instancePathsIn"], "p.json");
    EXPECT_EQ(report["instances"][0]["path"], "/a");
    EXPECT_EQ(report["instances"][1]["path"], "b\xef\xbf\xbd");
    EXPECT_EQ(report["instances"][2]["path"], "");
    EXPECT_EQ(
        report["notes"],
        (json::array({{{"kind", "unused"},
                       {"offset", model.materials[0].offset},
                       {"count", 1},
                       {"text", "1 material is described, but used by no instance: \"Lamp\""}}})));
}

TEST(InspectJson, emptyModelIsValidJson) {
    StreamBuilder stream;
    stream.word(11).text(u"{}").word(0).word(0).word(0);
    const json report = json::parse(textOf(stream));
    EXPECT_EQ(report["materials"], json::array());
    EXPECT_EQ(report["instances"], json::array());
    EXPECT_EQ(report["meshes"], json::array());
    EXPECT_EQ(report["worldBounds"], nullptr);
}

TEST(InspectJson, anyNameAndNumberGivesValidJson) {
    Scene scene;
    scene.header = u"not JSON \xd800";
    scene.materials[0] = {std::u16string(u"a\0\xdc00", 3), u"<Material_2>broken\n"};
    scene.instances[0].transform[5] = std::numeric_limits<float>::quiet_NaN();
    const json report = reportOf(scene);
    EXPECT_EQ(report["header"], nullptr);
    EXPECT_EQ(report["headerText"], "not JSON \xef\xbf\xbd");
    EXPECT_EQ(report["materials"][0]["name"], std::string("a\0\xef\xbf\xbd", 5));
    EXPECT_EQ(report["materials"][0]["fault"], "expected \"\\u000a    <id>\"");
    EXPECT_EQ(report["instances"][0]["transform"][5], nullptr);
}

}  // namespace

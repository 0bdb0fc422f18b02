#include "inspect/summary.h"

#include <gtest/gtest.h>

#include <locale>
#include <sstream>

#include "tests/tools/common/stream_builder.h"

namespace {

using streamtest::Scene;
using streamtest::StreamBuilder;

std::string summaryOf(const StreamBuilder& stream, bool all = false) {
    std::ostringstream out;
    q7inspect::printSummary(out, "a.stream", q7tools::readStream(stream.bytes()), all);
    return out.str();
}

bool holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(InspectSummary, tellsAllThatIsInAScene) {
    Scene scene;
    scene.materials[0].name = u"\u706f";
    EXPECT_EQ(summaryOf(scene.build()),
              "a.stream\n"
              "  size              " +
                  std::to_string(scene.build().offset()) + " bytes\n" +
                  "  stream version    11\n"
                  "  plug-in info      Sketcher 1.2\n"
                  "  material version  2\n"
                  "  texture folder    C:\\tex\n"
                  "  triangle count    5\n"
                  "  placed triangles  5\n"
                  "  world bounds      (0, 0, -5) to (11, 21, 30)\n"
                  "  world size        (11, 21, 35)\n"
                  "\n"
                  "Materials (2)\n"
                  "  name  kind   uses  properties  units of text\n"
                  "  \xe7\x81\xaf    typed     0           3            175\n"
                  "  Wall  text      2           -             24\n"
                  "\n"
                  "Meshes (2)\n"
                  "  name  vertices  triangles  uses  arrays\n"
                  "  quad         4          2     2  positions, normals, uvs, colors, indices\n"
                  "  tri          3          1     1  positions, uvs, indices\n"
                  "\n"
                  "Instances (3)\n"
                  "  mesh  material  position\n"
                  "  quad  Lamp      (0, 0, 0)\n"
                  "  quad  Wall      (10, 20, 30)\n"
                  "  tri   Wall      (0, 0, -5)\n"
                  "\n"
                  "Notes (1)\n"
                  "  1 material is described, but used by no instance: \"\xe7\x81\xaf\"\n");
}

TEST(InspectSummary, tellsPathsThatAreKnown) {
    const q7tools::StreamModel model = q7tools::readStream(Scene().build().bytes());
    std::ostringstream out;
    q7inspect::printSummary(out, "a.stream", model, false,
                            {"info.json", "", {"/a/quad", "/b\x1b", ""}});
    EXPECT_TRUE(holds(out.str(), "  instance paths    in info.json\n")) << out.str();
    EXPECT_TRUE(
        out.str().ends_with("Instances (3)\n"
                            "  mesh  material  position      path\n"
                            "  quad  Lamp      (0, 0, 0)     /a/quad\n"
                            "  quad  Wall      (10, 20, 30)  /b\\u001b\n"
                            "  tri   Wall      (0, 0, -5)\n"))
        << out.str();
    std::ostringstream other;
    q7inspect::printSummary(other, "a.stream", model, false, {"p.json", "has 1 path", {}});
    EXPECT_TRUE(holds(other.str(), "  instance paths    none: p.json has 1 path\n"));
}

TEST(InspectSummary, mergedMeshesAreUnindexedTriangles) {
    const std::string summary = summaryOf(streamtest::mergedScene().build());
    EXPECT_TRUE(holds(summary,
                      "  triangle count    6\n"
                      "  placed triangles  2\n"
                      "  merged meshes     1: unindexed triangles, of which \"triangle count\" "
                      "counts the points\n"
                      "  world bounds      (0, 0, 0) to (6, 1, 0)\n"))
        << summary;
    EXPECT_TRUE(holds(summary,
                      "  name            vertices  triangles  uses  arrays\n"
                      "  a                      3          1     0  positions, uvs, indices\n"
                      "  b                      3          1     0  positions, uvs, indices\n"
                      "  Wall_q7_merged         6          2     1  positions, uvs, no indices "
                      "(merged)\n"))
        << summary;
}

TEST(InspectSummary, emptyModel) {
    StreamBuilder stream;
    stream.word(11).text(u"{}").word(0).word(0).word(0);
    const std::string summary = summaryOf(stream);
    EXPECT_TRUE(holds(summary, "  plug-in info      (missing)\n")) << summary;
    EXPECT_TRUE(holds(summary, "  world bounds      none: no vertex is placed\n")) << summary;
    EXPECT_TRUE(holds(summary, "\nMaterials (0)\n\nMeshes (0)\n\nInstances (0)\n")) << summary;
}

TEST(InspectSummary, headerValuesOfAnyKindAreShown) {
    Scene scene;
    scene.header = u"{\"dccPluginInfo\":\"\",\"materialVersion\":[1],\"textureFolder\":null}";
    const std::string summary = summaryOf(scene.build());
    EXPECT_TRUE(holds(summary, "  plug-in info      (empty)\n")) << summary;
    EXPECT_TRUE(holds(summary, "  material version  [1]\n")) << summary;
    EXPECT_TRUE(holds(summary, "  texture folder    null\n")) << summary;
    EXPECT_TRUE(holds(summary, "  triangle count    (missing)\n")) << summary;
}

TEST(InspectSummary, cutsLongTablesUnlessAllIsAsked) {
    Scene scene;
    scene.instances.assign(27, {u"quad", u"Wall"});
    EXPECT_TRUE(holds(summaryOf(scene.build()), "Instances (27)\n"));
    EXPECT_TRUE(holds(summaryOf(scene.build()), "  ... and 7 more\n"));
    EXPECT_FALSE(holds(summaryOf(scene.build(), true), "more"));
}

TEST(InspectSummary, numbersAreTheSameInEveryLocale) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        char do_decimal_point() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };
    Scene scene;
    scene.instances.assign(1234, {u"tri", u"Wall", streamtest::movedBy(0.5F, 0, 0)});
    const std::string before = summaryOf(scene.build());
    const std::locale previous =
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    const std::string after = summaryOf(scene.build());
    std::locale::global(previous);
    EXPECT_EQ(after, before);
    EXPECT_TRUE(holds(after, "Instances (1234)\n")) << after;
    EXPECT_TRUE(holds(after, "(0.5, 0, 0)\n")) << after;
    EXPECT_TRUE(holds(after, "  ... and 1214 more\n")) << after;
}

TEST(InspectSummary, damageIsShownAndNotFollowed) {
    Scene scene;
    scene.header = u"nothing";
    scene.materials[0].xml = u"<Material_2>broken";
    scene.instances[0].mesh = u"missing\x1b";
    scene.meshes[1] = {u"bare", {}, {}, {}, {}, {}};
    StreamBuilder stream = scene.build();
    stream.byte(0);
    const std::string summary = summaryOf(stream);
    EXPECT_TRUE(holds(summary, "  header            (not a JSON object)\n")) << summary;
    EXPECT_TRUE(holds(summary, "  trailing bytes    1\n")) << summary;
    EXPECT_TRUE(holds(summary, "  Lamp  typed     1           ?")) << summary;
    EXPECT_TRUE(holds(summary, "  missing\\u001b  Lamp")) << summary;
    EXPECT_TRUE(holds(summary, "  bare         0          0     0  none\n")) << summary;
}

}  // namespace

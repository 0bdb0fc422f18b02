#include "send/report.h"

#include <gtest/gtest.h>

namespace q7send {

TEST(SizeText, ChoosesTheUnit) {
    EXPECT_EQ(sizeText(0), "0 bytes");
    EXPECT_EQ(sizeText(1), "1 byte");
    EXPECT_EQ(sizeText(999), "999 bytes");
    EXPECT_EQ(sizeText(1000), "1.0 kB");
    EXPECT_EQ(sizeText(1549), "1.5 kB");
    EXPECT_EQ(sizeText(999'949), "999.9 kB");
    EXPECT_EQ(sizeText(999'950), "1.0 MB");
    EXPECT_EQ(sizeText(23'000'000), "23.0 MB");
    EXPECT_EQ(sizeText(4'200'000'000), "4.2 GB");
    EXPECT_EQ(sizeText(7'000'000'000'000'000), "7000.0 TB");
}

TEST(Notes, TellWhatIsLeftOut) {
    Scene scene;
    SendTotals totals;
    totals.triangles = 1;
    EXPECT_EQ(notes(scene, totals), "");
    totals.triangles = 0;
    scene.pointsAndLines = 1;
    scene.unplaced = 2;
    scene.embeddedTextures = 3;
    scene.missingTextures = 1;
    EXPECT_EQ(notes(scene, totals),
              "note: the scene has no triangles\n"
              "note: 1 point or line left out\n"
              "note: 2 points and nodes with infinite coordinates moved to the origin\n"
              "note: 3 embedded textures without a file of their own left out\n"
              "note: 1 texture file not found\n");
}

TEST(Notes, TellWhatOnlyAnArchiveHas) {
    Scene scene;
    SendTotals totals;
    totals.triangles = 1;
    scene.embeddedTextures = 2;
    EXPECT_EQ(notes(scene, totals, Archived{2, 0, true}), "");
    EXPECT_EQ(notes(scene, totals, Archived{2, 1, false}),
              "note: 2 embedded textures in the archive only\n"
              "note: 1 texture not in the archive, which has one of the same file name\n");
}

TEST(MessageLine, TellsWhatWasSentBeside) {
    const SentLive confirmed = {0.25, true};
    EXPECT_EQ(deliveryLines({LiveForm::raw, confirmed, {}}), "messages: metadata\n");
    EXPECT_EQ(
        deliveryLines({LiveForm::raw, {}, {}}),
        "messages: metadata\n"
        "note: the renderer gives no metadata back, so it is not known whether all arrived\n");
    EXPECT_EQ(deliveryLines({LiveForm::raw, confirmed, {1, 3, 1, 90}}),
              "messages: metadata, camera, 3 lights, 1 scene, 1 camera animation of 90 frames\n");
}

TEST(ClosingLine, TellsTheTexturesOfAnArchive) {
    EXPECT_TRUE(closingLine("in.obj", {}, {}, {{"out.q7a", 10, 2}})
                    .ends_with(" -> out.q7a (10 bytes, 2 textures)\n"));
}

TEST(ClosingLine, TellsWhatWentWhere) {
    SendTotals totals;
    totals.nodes = 3;
    totals.duplicates = 1;
    totals.materials = 2;
    totals.triangles = 12;
    EXPECT_EQ(closingLine("in.obj", totals, {}, {{"out.q7mesh", 1200, {}}, {"o\nut.xml", 10, {}}}),
              "in.obj: 3 nodes (1 duplicate), 2 materials, 12 triangles -> out.q7mesh (1.2 kB), "
              "o\\u000aut.xml (10 bytes)\n");
}

TEST(ClosingLine, TellsHowFastItWentToTheRenderer) {
    SendTotals totals;
    totals.nodes = 1;
    totals.triangles = 2;
    totals.geometryBytes = 3'000'000;
    const std::string start =
        "in.obj: 1 node (0 duplicates), 0 materials, 2 triangles -> the renderer (";
    EXPECT_EQ(closingLine("in.obj", totals, Delivery{LiveForm::raw, {0.25, true}}, {}),
              start + "raw: 3.0 MB of geometry in 0.250 s, 12.0 MB/s)\n");
    EXPECT_EQ(closingLine("in.obj", totals, Delivery{LiveForm::group, {}}, {{"a", 1}}),
              start + "group: 3.0 MB of geometry in 0.000 s), a (1 byte)\n");
}

}  // namespace q7send

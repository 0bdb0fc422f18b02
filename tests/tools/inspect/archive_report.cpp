#include "inspect/archive_report.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/tools/inspect/sample_archive.h"

namespace {

using nlohmann::json;
using q7inspect::Archive;
using ziptest::ZipBuilder;

std::string summaryOf(const ZipBuilder& zip, bool all = false) {
    std::ostringstream out;
    q7inspect::printArchiveSummary(out, "a.q7a", Archive(zip.bytes()), all);
    return out.str();
}

json reportOf(const ZipBuilder& zip) {
    std::ostringstream out;
    q7inspect::printArchiveJson(out, "a.q7a", Archive(zip.bytes()));
    return json::parse(out.str());
}

void holds(const std::string& text, const std::string& part) {
    EXPECT_NE(text.find(part), std::string::npos) << part << "\nin\n" << text;
}

TEST(InspectArchiveReport, summaryTellsAll) {
    const ZipBuilder zip = archivetest::soundArchive();
    const std::string text = summaryOf(zip);
    EXPECT_TRUE(text.starts_with("a.q7a\n  size              " +
                                 std::to_string(zip.build().size()) +
                                 " bytes\n"
                                 "  archive of        model\n"
                                 "  product id        0123456789ABCDEF0123456789ABCDEF\n"
                                 "  instance ids      3\n"
                                 "  material file     2 typed materials, with a root\n"
                                 "\nEntries (6)\n"))
        << text;
    holds(text, "\n  1.q7mesh           model stream ");
    holds(text, "\n  textures/          texture folder       0         0  stored\n");
    holds(text, "\n  textures/glow.jpg  texture              7         5  deflated\n");
    holds(text,
          "\nTexture uses (3)\n"
          "  entry              material  property   path\n"
          "  textures/\xc3\xa4.png     Lamp      Base--Map  C:\\tex\\\xc3\xa4.png\n"
          "  textures/glow.jpg  Lamp      Glow       C:\\tex\\glow.jpg\n"
          "  textures/\xc3\xa4.png     Wall      Base--Map  C:/TEX/./\xc3\xa4.png\n"
          "\na.q7a: 1.q7mesh\n  size              ");
    holds(text, "\nInstances (3)\n");
}

TEST(InspectArchiveReport, summaryOfAnExternalFile) {
    const std::string text = summaryOf(archivetest::externalArchive());
    holds(text, "  archive of        external file\n  material file ");
    holds(text, "  1.fbx              external file ");
    EXPECT_TRUE(text.ends_with("C:/TEX/./\xc3\xa4.png\n")) << text;
}

TEST(InspectArchiveReport, summaryCountsFaultsAndMissingTextures) {
    ZipBuilder zip = archivetest::soundArchive();
    zip.entry("info.json").data = "{";
    zip.entry("q7material.xml").data += "x";
    zip.remove("textures/glow.jpg");
    std::string text = summaryOf(zip);
    holds(text, "  product id        (missing) (1 fault: --validate)\n  instance ids      none\n");
    holds(text,
          "  material file     2 typed materials and free text, with a root (1 fault: "
          "--validate)\n");
    holds(text, "\n  (not inside)    Lamp      Glow ");
}

TEST(InspectArchiveReport, longTablesAreCut) {
    ZipBuilder zip = archivetest::soundArchive();
    for (int i = 0; i < 20; ++i)
        zip.add("textures/" + std::to_string(i), "x");
    holds(summaryOf(zip), "\nEntries (26)\n");
    holds(summaryOf(zip), "\n  ... and 6 more\n");
    holds(summaryOf(zip, true), "\n  textures/19 ");
}

TEST(InspectArchiveReport, jsonTellsAll) {
    const ZipBuilder zip = archivetest::soundArchive();
    const json report = reportOf(zip);
    EXPECT_EQ(report["file"], "a.q7a");
    EXPECT_EQ(report["size"], zip.build().size());
    EXPECT_EQ(report["archiveOf"], "model");
    EXPECT_EQ(report["info"], (json{{"productID", archivetest::productId},
                                    {"instanceIdArray", {"/a/b/Lamp", "/c/Wall", "/Wall"}},
                                    {"faults", json::array()}}));
    EXPECT_EQ(report["materialFile"]["root"], true);
    EXPECT_EQ(report["materialFile"]["lineEnd"], "LF");
    EXPECT_EQ(report["materialFile"]["faults"], json::array());
    ASSERT_EQ(report["materialFile"]["materials"].size(), 2U);
    EXPECT_EQ(report["materialFile"]["materials"][1]["id"], "Wall");
    EXPECT_EQ(report["materialFile"]["materials"][0]["offset"], 16);
    ASSERT_EQ(report["entries"].size(), 6U);
    EXPECT_EQ(report["entries"][4], (json{{"name", "textures/glow.jpg"},
                                          {"what", "texture"},
                                          {"packed", 7},
                                          {"unpacked", 5},
                                          {"method", "deflated"},
                                          {"utf8", true},
                                          {"offset", report["entries"][4]["offset"]}}));
    ASSERT_EQ(report["textureUses"].size(), 3U);
    EXPECT_EQ(report["textureUses"][1], (json{{"entry", "textures/glow.jpg"},
                                              {"material", "Lamp"},
                                              {"property", "Glow"},
                                              {"path", "C:\\tex\\glow.jpg"}}));
    EXPECT_EQ(report["stream"]["file"], "a.q7a: 1.q7mesh");
    EXPECT_EQ(report["stream"]["instances"].size(), 3U);
    EXPECT_EQ(report["stream"]["instancePathsIn"], "info.json");
    EXPECT_EQ(report["stream"]["instances"][1]["path"], "/c");
}

TEST(InspectArchiveReport, jsonHasNullsForWhatIsNotThere) {
    const json report = reportOf(ZipBuilder().add("1.fbx", "x"));
    EXPECT_EQ(report["archiveOf"], "external file");
    EXPECT_EQ(report["info"], nullptr);
    EXPECT_EQ(report["materialFile"], nullptr);
    EXPECT_EQ(report["textureUses"], json::array());
    EXPECT_EQ(report["stream"], nullptr);

    ZipBuilder zip = archivetest::soundArchive();
    zip.remove("textures/glow.jpg");
    zip.entry("info.json").data = "{";
    EXPECT_EQ(reportOf(zip)["textureUses"][1]["entry"], nullptr);
    EXPECT_EQ(reportOf(zip)["info"]["productID"], nullptr);
    EXPECT_EQ(reportOf(zip)["info"]["faults"],
              (json::array({{{"offset", 1}, {"reason", "the text is not JSON"}}})));
}

TEST(InspectArchiveReport, namesOfUnknownEncodingDoNoHarm) {
    const ZipBuilder zip = ZipBuilder().add({.name = "a\xff\x1b", .data = "x", .flags = 0});
    EXPECT_EQ(reportOf(zip)["entries"][0]["name"], "a\xef\xbf\xbd\x1b");
    holds(summaryOf(zip), "  a\xef\xbf\xbd\\u001b  unknown ");
}

}  // namespace

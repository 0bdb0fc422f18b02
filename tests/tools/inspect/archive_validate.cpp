#include "inspect/archive_validate.h"

#include <gtest/gtest.h>

#include "tests/tools/inspect/sample_archive.h"

namespace {

using archivetest::archiveOf;
using archivetest::soundArchive;
using archivetest::textProperty;
using archivetest::typedXml;
using q7inspect::ArchiveFault;
using q7inspect::ArchiveFindings;
using streamtest::Scene;
using ziptest::Entry;
using ziptest::Form;
using ziptest::ZipBuilder;

using Lines = std::vector<std::string>;

Lines linesOf(const std::vector<ArchiveFault>& faults) {
    Lines lines;
    for (const ArchiveFault& fault : faults) {
        const std::string place = fault.offset ? " at " + std::to_string(*fault.offset) : "";
        lines.push_back(fault.entry + place + ": " + fault.reason);
    }
    return lines;
}

ArchiveFindings check(const ZipBuilder& zip) {
    return q7inspect::checkArchive(q7inspect::Archive(zip.bytes()));
}

Lines faultsOf(const ZipBuilder& zip) {
    return linesOf(check(zip).faults);
}

Lines notesOf(const ZipBuilder& zip) {
    return linesOf(check(zip).notes);
}

Lines idFaults(const std::string& ids) {
    return faultsOf(archiveOf(archivetest::scene(), ids));
}

TEST(InspectArchiveValidate, soundArchivesHaveNoFault) {
    for (const ZipBuilder& zip : {soundArchive(), archivetest::externalArchive()}) {
        EXPECT_EQ(faultsOf(zip), Lines());
        EXPECT_EQ(notesOf(zip), Lines());
    }
}

TEST(InspectArchiveValidate, everyFormOfTheContainerIsSound) {
    ZipBuilder zip = soundArchive();
    zip.entry("1.q7mesh").form = Form::zip64Descriptor;
    zip.entry("info.json").form = Form::descriptor;
    zip.entry("q7material.xml").form = Form::zip64;
    zip.zip64End = true;
    EXPECT_EQ(faultsOf(zip), Lines());
    EXPECT_EQ(notesOf(zip), Lines());
}

TEST(InspectArchiveValidate, namesAndMethods) {
    ZipBuilder zip = soundArchive();
    zip.entry("textures/").flags = 0;
    zip.entry("info.json").method = 0;
    EXPECT_EQ(faultsOf(zip), (Lines{"info.json: is stored, not deflated",
                                    "textures/: the name is not marked as UTF-8"}));
}

TEST(InspectArchiveValidate, missingEntries) {
    EXPECT_EQ(
        faultsOf(ZipBuilder()),
        (Lines{": the entry \"q7material.xml\" is missing", ": the entry \"textures\" is missing",
               ": the entry \"1.q7mesh\" is missing", ": the entry \"info.json\" is missing"}));
    ZipBuilder zip = soundArchive();
    zip.remove("1.q7mesh");
    EXPECT_EQ(faultsOf(zip), Lines{": the entry \"1.q7mesh\" is missing"});
}

TEST(InspectArchiveValidate, aStreamWithoutInformationMayBeAnExternalFile) {
    ZipBuilder zip = soundArchive();
    zip.remove("info.json");
    EXPECT_EQ(faultsOf(zip), Lines());
    EXPECT_EQ(notesOf(zip), Lines{": \"info.json\" is missing: the archive is taken for one with a "
                                  "stream as its external file"});
}

TEST(InspectArchiveValidate, oneExternalFile) {
    ZipBuilder zip = archivetest::externalArchive();
    zip.add("1.obj", "x");
    EXPECT_EQ(faultsOf(zip), Lines{": it holds 2 external files, of which only one can be meant"});
    zip.remove("1.obj");
    zip.entry("1.fbx").data = "";
    EXPECT_EQ(notesOf(zip), Lines{"1.fbx: is empty, as when the file to pack could not be read"});
}

TEST(InspectArchiveValidate, unknownEntriesAreNotes) {
    ZipBuilder zip = soundArchive();
    zip.add("1.fbx", "x").add("notes.txt", "x");
    const std::string reason =
        ": is no part of an archive; it was left in the folder that was "
        "packed";
    EXPECT_EQ(faultsOf(zip), Lines());
    EXPECT_EQ(notesOf(zip), (Lines{"1.fbx" + reason, "notes.txt" + reason}));
}

TEST(InspectArchiveValidate, notesOnTheStream) {
    Scene scene = archivetest::scene();
    scene.meshes[0].uvs.assign(8, 0);
    const ZipBuilder zip = archiveOf(scene);
    EXPECT_EQ(faultsOf(zip), Lines());
    const ArchiveFindings findings = check(zip);
    ASSERT_EQ(findings.notes.size(), 1U);
    EXPECT_EQ(findings.notes[0].entry, "1.q7mesh");
    EXPECT_TRUE(findings.notes[0].offset);
    EXPECT_EQ(findings.notes[0].reason,
              "1 mesh has a material with a texture, and uvs that are all 0: \"quad\"");
}

TEST(InspectArchiveValidate, commentsAndLooseBytesAreNotes) {
    ZipBuilder zip = soundArchive();
    zip.comment = "c";
    zip.entry("info.json").behind = "xy";
    EXPECT_EQ(notesOf(zip),
              (Lines{": 2 bytes belong to no entry", ": the archive has a comment of 1 byte"}));
}

TEST(InspectArchiveValidate, damagedTexturesAreFound) {
    ZipBuilder zip = soundArchive();
    zip.entry("textures/glow.jpg").crc = 1;
    EXPECT_THROW(check(zip), q7tools::FormatError);
}

TEST(InspectArchiveValidate, faultsOfTheStreamAreAmongThem) {
    Scene scene = archivetest::scene();
    scene.header = streamtest::headerText(6);
    EXPECT_EQ(faultsOf(archiveOf(scene)),
              Lines{"1.q7mesh at 4: header: \"triangleCount\" is 6, but the instances place 5"});
}

TEST(InspectArchiveValidate, faultsOfTheInformationAreAmongThem) {
    ZipBuilder zip = soundArchive();
    zip.entry("info.json").data = "{}";
    EXPECT_EQ(faultsOf(zip), Lines{"info.json at 0: the key \"productID\" is missing"});
}

TEST(InspectArchiveValidate, instanceIdsMustMatch) {
    EXPECT_EQ(idFaults("\"/a/Lamp\",\"/b/Lamp\",\"/Wall\""),
              Lines{"info.json: \"instanceIdArray\"[1] is \"/b/Lamp\", but the instance's material "
                    "is \"Wall\""});
    EXPECT_EQ(idFaults("\"/a/Wall\",\"/b/Lamp\",\"/Wall\""),
              Lines{"info.json: \"instanceIdArray\"[0] is \"/a/Wall\", but the instance's material "
                    "is \"Lamp\", and 1 more differs"});
    EXPECT_EQ(idFaults("\"/a/Lamp\",\"/b/Wall\""),
              Lines{"info.json: \"instanceIdArray\" has 2 elements, but the stream has 3 "
                    "instances"});
    EXPECT_EQ(idFaults("\"Lamp\",\"/b/Wall\",\"/Wall\""),
              Lines{"info.json: \"instanceIdArray\"[0] is \"Lamp\", which has no \"/\" before a "
                    "material's name"});
}

TEST(InspectArchiveValidate, withoutInstanceIdsThereAreNoInstances) {
    ZipBuilder zip = soundArchive();
    zip.entry("info.json").data = "{\"productID\":\"" + archivetest::productId + "\"}";
    EXPECT_EQ(faultsOf(zip),
              Lines{"info.json: \"instanceIdArray\" is missing, but the stream has 3 instances"});
    Scene scene = archivetest::scene();
    scene.instances.clear();
    scene.header = streamtest::headerText(0);
    ZipBuilder empty = archiveOf(scene);
    empty.entry("info.json").data = "{\"productID\":\"" + archivetest::productId + "\"}";
    EXPECT_EQ(faultsOf(empty), Lines());
}

// A scene of which two instances with the material Wall were merged into one.
ZipBuilder mergedArchive(const std::string& ids) {
    Scene scene = streamtest::mergedScene();
    scene.materials = archivetest::scene().materials;
    return archiveOf(scene, ids);
}

TEST(InspectArchiveValidate, instancesBeforeMergingMatchThoseBehind) {
    EXPECT_EQ(faultsOf(mergedArchive("\"/a/Wall\",\"/b/Wall\"")), Lines());
    EXPECT_EQ(faultsOf(mergedArchive("\"/a/Wall\",\"/b/Lamp\"")),
              Lines{"info.json: \"instanceIdArray\" and the stream do not have the same instances "
                    "with the material \"Wall\""});
    EXPECT_EQ(faultsOf(mergedArchive("\"/a/Wall\",\"/b/Wall\",\"/c/Lamp\"")),
              Lines{"info.json: \"instanceIdArray\" and the stream do not have the same instances "
                    "with the material \"Lamp\""});
    EXPECT_EQ(faultsOf(mergedArchive("\"/a/Wall\",\"/b/Wall\",\"/c/Wall\"")),
              Lines{"info.json: \"instanceIdArray\" has 3 elements without an instance in the "
                    "stream, which can have been merged from at most 2 meshes without instances"});
}

TEST(InspectArchiveValidate, unmergedInstancesKeepTheirOrder) {
    Scene scene = archivetest::scene();
    scene.meshes.push_back({u"spare", {}, {}, {}, {}, {}});
    scene.meshes.push_back({u"spare 2", {}, {}, {}, {}, {}});
    const ZipBuilder lost =
        archiveOf(scene, "\"/1/Lamp\",\"/2/Glow\",\"/3/Wall\",\"/4/Glow\",\"/5/Wall\"");
    EXPECT_EQ(faultsOf(lost), Lines());
    EXPECT_EQ(notesOf(lost), Lines{"info.json: 2 instances have no counterpart in the stream: "
                                   "their meshes did not fit for merging"});
    EXPECT_EQ(faultsOf(archiveOf(scene, "\"/1/Wall\",\"/2/Wall\",\"/3/Glow\",\"/4/Lamp\"")),
              Lines{"info.json: \"instanceIdArray\" does not hold the stream's instances in their "
                    "order: none is left for one with the material \"Wall\""});
}

TEST(InspectArchiveValidate, theMaterialFileIsThatOfTheStream) {
    ZipBuilder zip = soundArchive();
    std::string& text = zip.entry("q7material.xml").data;
    std::string carriages;
    for (const char c : text)
        carriages += c == '\n' ? "\r\n" : std::string(1, c);
    const std::string plain = text;
    text = carriages;
    EXPECT_EQ(faultsOf(zip), Lines());
    text = plain;
    text.replace(text.find("<Mode>3"), 7, "<Mode>4");
    EXPECT_EQ(faultsOf(zip), Lines{"q7material.xml at " + std::to_string(text.find("4</Mode>")) +
                                   ": differs from the materials of the stream"});
    text = "";
    EXPECT_EQ(faultsOf(zip),
              Lines{"q7material.xml at 0: differs from the materials of the stream"});
}

TEST(InspectArchiveValidate, textMaterialsHaveNoRootAndNoTextures) {
    Scene scene = archivetest::scene();
    const std::u16string version = u"\"materialVersion\":";
    scene.header.replace(scene.header.find(version) + version.size(), 1, u"1");
    scene.materials = {{u"Lamp", u"<a>x.png</a>"}, {u"Wall", u"<b/>"}};
    ZipBuilder zip = archiveOf(scene);
    zip.entry("q7material.xml").data = "<a>x.png</a><b/>";
    zip.remove("textures/glow.jpg");
    zip.remove("textures/\xc3\xa4.png");
    EXPECT_EQ(faultsOf(zip), Lines());
    EXPECT_EQ(notesOf(zip), Lines());
}

TEST(InspectArchiveValidate, missingTextures) {
    ZipBuilder zip = soundArchive();
    zip.remove("textures/glow.jpg");
    EXPECT_EQ(faultsOf(zip),
              Lines{"q7material.xml: \"C:\\tex\\glow.jpg\" (material \"Lamp\", \"Glow\"): the "
                    "texture is not in the archive"});
    Scene scene = archivetest::scene();
    scene.materials[0].xml = typedXml(u"Lamp", textProperty(u"Group", u"metal/steel"));
    zip = archiveOf(scene);
    zip.remove("textures/glow.jpg");
    EXPECT_EQ(faultsOf(zip), Lines());
    EXPECT_EQ(notesOf(zip), Lines{"q7material.xml: \"metal/steel\" (material \"Lamp\", \"Group\"): "
                                  "looks like a file, and is not in the archive"});
}

TEST(InspectArchiveValidate, unusedTexturesAreNotes) {
    ZipBuilder zip = soundArchive();
    zip.add("textures/old.png", "x");
    EXPECT_EQ(faultsOf(zip), Lines());
    EXPECT_EQ(notesOf(zip), Lines{"textures/old.png: is used by no material"});
}

TEST(InspectArchiveValidate, collidingTextures) {
    Scene scene = archivetest::scene();
    scene.materials[1].xml = typedXml(u"Wall", textProperty(u"Map", u"D:\\other\\glow.jpg"));
    EXPECT_EQ(faultsOf(archiveOf(scene)),
              Lines{"textures/glow.jpg: \"C:\\tex\\glow.jpg\" (material \"Lamp\", \"Glow\") and "
                    "\"D:\\other\\glow.jpg\" (material \"Wall\", \"Map\") have one file name: at "
                    "most one of them is inside"});
}

}  // namespace

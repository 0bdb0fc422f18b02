#include "inspect/texture_uses.h"

#include <gtest/gtest.h>

#include "tests/tools/inspect/sample_archive.h"

namespace {

using archivetest::textProperty;
using archivetest::typedXml;
using q7inspect::comparablePath;
using q7inspect::TextureUse;
using q7tools::ZipEntry;

std::vector<ZipEntry> entriesOf(const std::vector<std::string>& names) {
    std::vector<ZipEntry> entries;
    for (const std::string& name : names)
        entries.push_back({.name = name});
    return entries;
}

// The uses of materials that have one property each.
std::vector<TextureUse> usesOf(const std::vector<std::u16string>& texts,
                               const std::vector<std::string>& names, bool hasRoot = true) {
    q7inspect::MaterialFile file;
    file.hasRoot = hasRoot;
    for (const std::u16string& text : texts) {
        const std::u16string xml = typedXml(u"id", textProperty(u"Map", text));
        file.materials.push_back({0, xml, q7tools::readTypedMaterial(xml)});
    }
    file.materials.push_back({0, u"free", std::nullopt});
    return q7inspect::findTextureUses(file, entriesOf(names));
}

TEST(InspectTextureUses, areFoundByTheLastPart) {
    const auto uses = usesOf(
        {u"C:\\x\\a.png", u"C:/x/\u00e4.jpg", u"plain"},
        {"1.q7mesh", "textures/", "textures/a.png", "textures/\xc3\xa4.jpg", "textures/plain"});
    ASSERT_EQ(uses.size(), 3U);
    EXPECT_EQ(uses[0].entry, 2U);
    EXPECT_TRUE(uses[0].isImage);
    EXPECT_EQ(uses[0].material, u"id");
    EXPECT_EQ(uses[0].property, u"Map");
    EXPECT_EQ(uses[0].path, u"C:\\x\\a.png");
    EXPECT_EQ(uses[1].entry, 3U);
    EXPECT_EQ(uses[2].entry, 4U);
    EXPECT_FALSE(uses[2].isImage);
}

TEST(InspectTextureUses, smallAndCapitalLettersAreOneIfNeedBe) {
    const auto uses = usesOf({u"A.PNG", u"a.png"}, {"textures/a.png"});
    ASSERT_EQ(uses.size(), 2U);
    EXPECT_EQ(uses[0].entry, 0U);
    EXPECT_TRUE(uses[0].isImage);
    const auto exact = usesOf({u"A.PNG", u"a.png"}, {"textures/a.png", "textures/A.PNG"});
    EXPECT_EQ(exact[0].entry, 1U);
    EXPECT_EQ(exact[1].entry, 0U);
}

TEST(InspectTextureUses, whatLooksLikeAFile) {
    const auto uses = usesOf({u"a.tiff", u"x/y", u"0.5", u"red", u"", u"x/", u"png", u".png"}, {});
    ASSERT_EQ(uses.size(), 2U);
    EXPECT_TRUE(uses[0].isImage);
    EXPECT_FALSE(uses[0].entry.has_value());
    EXPECT_FALSE(uses[1].isImage);
}

TEST(InspectTextureUses, texturesArePackedWithARootOnly) {
    EXPECT_TRUE(usesOf({u"a.png"}, {"textures/a.png"}, false).empty());
}

TEST(InspectTextureUses, pathsAreCompared) {
    EXPECT_EQ(comparablePath(u"C:\\Tex\\.\\a//b\\..\\c.PNG"), "c:/tex/a/c.png");
    EXPECT_EQ(comparablePath(u"/tex/a"), "/tex/a");
    EXPECT_EQ(comparablePath(u"../../a"), "../../a");
    EXPECT_EQ(comparablePath(u""), "");
    EXPECT_EQ(comparablePath(u"/"), "/");
}

TEST(InspectTextureUses, collisionsAreToldOncePerPath) {
    using Pairs = std::vector<std::pair<std::size_t, std::size_t>>;
    const std::vector<std::string> names{"textures/a.png", "textures/b.png"};
    EXPECT_EQ(q7inspect::findCollisions(
                  usesOf({u"x\\a.png", u"x/a.png", u"x\\b.png", u"X\\A.png"}, names)),
              Pairs());
    EXPECT_EQ(q7inspect::findCollisions(usesOf({u"x/a.png", u"x/b.png", u"y/a.png", u"y/a.png",
                                                u"z/a.png", u"y/c.png", u"z/c.png"},
                                               names)),
              (Pairs{{0, 2}, {0, 4}}));
}

}  // namespace

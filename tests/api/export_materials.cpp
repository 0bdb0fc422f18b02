#include <gtest/gtest.h>

#include <limits>

#include "tests/host.h"

namespace {

// The stream's text of the only material.
std::string xmlOf(const Host& host) {
    return wideToUtf8(host.saved().materials.at(0).xml);
}

std::string xmlWith(const std::string& lines, const std::string& base = "Base_9") {
    return "<Material_2>\n    <id>m</id>\n    <Type>/Game/MatLib2/Base/Base/" + base +
           "/m.m</Type>\n" + lines + "</Material_2>\n";
}

}  // namespace

TEST(Q7AddMaterial, AddsAMaterialOfTypeZeroWithoutProperties) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    EXPECT_EQ(namesOf(host.saved().materials), std::vector<WideString>{u"m"});
    EXPECT_EQ(xmlOf(host), xmlWith(""));
}

TEST(Q7AddMaterial, AnExistingNameStaysAsItIs) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    Q7SetMaterialType(host.session, Q7T("m"), 2);
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("p"), 1);
    Q7AddMaterial(host.session, Q7T("m"));
    EXPECT_EQ(xmlOf(host), xmlWith("    <p>1</p>\n", "Base_5"));
    AddMaterial(host.session, Q7T("text"), Q7T("x"));
    Q7AddMaterial(host.session, Q7T("text"));
    EXPECT_EQ(host.saved().materials.at(1).xml, u"x");
}

TEST(Q7SetMaterialType, ReachesEachRowOfTheCatalogue) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    const int numbers[] = {9, 2, 5, 11, 6, 12, 13, 15, 17, 18};
    for (std::uint32_t type = 0; type < 10; ++type) {
        Q7SetMaterialType(host.session, Q7T("m"), type);
        EXPECT_EQ(xmlOf(host), xmlWith("", "Base_" + std::to_string(numbers[type])));
    }
}

TEST(Q7SetMaterialType, AnyOtherTypeIsWrittenAsTypeZero) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    for (const std::uint32_t type : {10U, 11U, 1000U, 0xFFFFFFFFU}) {
        Q7SetMaterialType(host.session, Q7T("m"), 3);
        ASSERT_EQ(xmlOf(host), xmlWith("", "Base_11"));
        Q7SetMaterialType(host.session, Q7T("m"), type);
        EXPECT_EQ(xmlOf(host), xmlWith(""));
    }
}

TEST(Q7SetMaterialProperty, WritesIntegersAsDecimals) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("a"), 3);
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("b"), -2147483647 - 1);
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("c"), 2147483647);
    EXPECT_EQ(xmlOf(host),
              xmlWith("    <a>3</a>\n    <b>-2147483648</b>\n    <c>2147483647</c>\n"));
}

TEST(Q7SetMaterialProperty, WritesFloatsWithSixDigits) {
    const std::pair<float, const char*> rows[] = {
        {0.5F, "0.5"},
        {0.1F, "0.1"},
        {100000.0F, "100000"},
        {1000000.0F, "1e+06"},
        {1234567.0F, "1.23457e+06"},
        {0.0F, "0"},
        {-0.0F, "-0"},
        {-2.25F, "-2.25"},
        {0.0001F, "0.0001"},
        {0.00001F, "1e-05"},
        {1.0F / 3.0F, "0.333333"},
        {3.0e38F, "3e+38"},
        {std::numeric_limits<float>::infinity(), "inf"},
        {-std::numeric_limits<float>::infinity(), "-inf"},
        {std::numeric_limits<float>::quiet_NaN(), "nan"},
        {-std::numeric_limits<float>::quiet_NaN(), "nan"}};
    for (const auto& [value, text] : rows) {
        const Host host;
        Q7AddMaterial(host.session, Q7T("m"));
        Q7SetMaterialFloatProperty(host.session, Q7T("m"), Q7T("f"), value);
        EXPECT_EQ(xmlOf(host), xmlWith("    <f>" + std::string(text) + "</f>\n"));
    }
}

TEST(Q7SetMaterialProperty, WritesTextVerbatimButForTheThreeEntities) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    Q7SetMaterialStringProperty(host.session, Q7T("m"), Q7T("Base Map"),
                                Q7T("C:\\tex/../a&b<\u4E2D>\"'.png"));
    Q7SetMaterialStringProperty(host.session, Q7T("m"), Q7T("empty"), Q7T(""));
    EXPECT_EQ(xmlOf(host), xmlWith("    <Base--Map>C:\\tex/../a&amp;b&lt;\u4E2D&gt;\"'.png"
                                   "</Base--Map>\n    <empty></empty>\n"));
}

TEST(Q7SetMaterialProperty, NamesKeepAllButTheirBlanks) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    for (const auto* name :
         {Q7T("two  blanks"), Q7T(" edge "), Q7T("a<&\"/b"), Q7T("tab\tend"), Q7T("")}) {
        Q7SetMaterialIntProperty(host.session, Q7T("m"), name, 1);
    }
    EXPECT_EQ(xmlOf(host), xmlWith("    <two----blanks>1</two----blanks>\n"
                                   "    <--edge-->1</--edge-->\n"
                                   "    <a<&\"/b>1</a<&\"/b>\n"
                                   "    <tab\tend>1</tab\tend>\n"
                                   "    <>1</>\n"));
}

TEST(Q7SetMaterialProperty, TheLastSetDecidesAndKeepsThePlace) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("p"), 1);
    Q7SetMaterialFloatProperty(host.session, Q7T("m"), Q7T("q"), 0.5F);
    Q7SetMaterialStringProperty(host.session, Q7T("m"), Q7T("p"), Q7T("text"));
    EXPECT_EQ(xmlOf(host), xmlWith("    <p>text</p>\n    <q>0.5</q>\n"));
}

TEST(Q7SetMaterialProperty, NamesDifferByCase) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("p"), 1);
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("P"), 2);
    EXPECT_EQ(xmlOf(host), xmlWith("    <p>1</p>\n    <P>2</P>\n"));
}

TEST(Q7RemoveMaterialProperty, RemovesTheOneAndIgnoresTheUnknown) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("a"), 1);
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("b"), 2);
    Q7RemoveMaterialProperty(host.session, Q7T("m"), Q7T("unknown"));
    Q7RemoveMaterialProperty(host.session, Q7T("unknown"), Q7T("a"));
    Q7RemoveMaterialProperty(host.session, Q7T("m"), Q7T("a"));
    EXPECT_EQ(xmlOf(host), xmlWith("    <b>2</b>\n"));
}

TEST(Q7ResetMaterial, RemovesThePropertiesAndKeepsTheType) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    Q7SetMaterialType(host.session, Q7T("m"), 1);
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("a"), 1);
    Q7ResetMaterial(host.session, Q7T("m"));
    EXPECT_EQ(xmlOf(host), xmlWith("", "Base_2"));
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("b"), 1);
    EXPECT_EQ(xmlOf(host), xmlWith("    <b>1</b>\n", "Base_2"));
}

TEST(TypedMaterials, AreFoundBySlashAndAtAlike) {
    for (const auto* name : {Q7T("a/b"), Q7T("a@b")}) {
        const Host host;
        Q7AddMaterial(host.session, Q7T("a/b"));
        Q7AddMaterial(host.session, Q7T("a@b"));
        Q7SetMaterialType(host.session, name, 1);
        Q7SetMaterialIntProperty(host.session, name, Q7T("i"), 1);
        Q7SetMaterialFloatProperty(host.session, name, Q7T("f"), 1);
        Q7SetMaterialStringProperty(host.session, name, Q7T("s"), Q7T("t"));
        Q7RemoveMaterialProperty(host.session, name, Q7T("i"));
        const auto materials = host.saved().materials;
        ASSERT_EQ(materials.size(), 1U);
        EXPECT_EQ(materials[0].name, u"a@b");
        EXPECT_EQ(wideToUtf8(materials[0].xml),
                  "<Material_2>\n    <id>a@b</id>\n"
                  "    <Type>/Game/MatLib2/Base/Base/Base_2/m.m</Type>\n"
                  "    <f>1</f>\n    <s>t</s>\n</Material_2>\n");
        Q7ResetMaterial(host.session, name);
        EXPECT_EQ(xmlOf(host).find("<f>"), std::string::npos);
    }
}

TEST(TypedMaterials, PropertyNamesAreNotNormalised) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("a/i"), 1);
    Q7SetMaterialFloatProperty(host.session, Q7T("m"), Q7T("a/f"), 2);
    Q7SetMaterialStringProperty(host.session, Q7T("m"), Q7T("a/s"), Q7T("x/y"));
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("kept@"), 3);
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("gone/"), 4);
    Q7RemoveMaterialProperty(host.session, Q7T("m"), Q7T("kept/"));
    Q7RemoveMaterialProperty(host.session, Q7T("m"), Q7T("gone/"));
    EXPECT_EQ(xmlOf(host), xmlWith("    <a/i>1</a/i>\n    <a/f>2</a/f>\n    <a/s>x/y</a/s>\n"
                                   "    <kept@>3</kept@>\n"));
}

TEST(TypedMaterials, AnIdIsEscapedAndANameInTheStreamIsNot) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("a&b<c>"));
    const auto material = host.saved().materials.at(0);
    EXPECT_EQ(material.name, u"a&b<c>");
    EXPECT_NE(material.xml.find(u"<id>a&amp;b&lt;c&gt;</id>"), WideString::npos);
}

TEST(TypedMaterials, UnknownNamesAndTextMaterialsAreLeftAlone) {
    const Host host;
    AddMaterial(host.session, Q7T("text"), Q7T("x"));
    for (const auto* name : {Q7T("text"), Q7T("unknown")}) {
        Q7ResetMaterial(host.session, name);
        Q7SetMaterialType(host.session, name, 1);
        Q7SetMaterialIntProperty(host.session, name, Q7T("p"), 1);
        Q7SetMaterialFloatProperty(host.session, name, Q7T("p"), 1);
        Q7SetMaterialStringProperty(host.session, name, Q7T("p"), Q7T("t"));
        Q7RemoveMaterialProperty(host.session, name, Q7T("p"));
    }
    const auto materials = host.saved().materials;
    ASSERT_EQ(materials.size(), 1U);
    EXPECT_EQ(materials[0].xml, u"x");
}

TEST(TypedMaterials, ChangingTheVersionLeavesThoseThatExist) {
    const Host host;
    AddMaterial(host.session, Q7T("text"), Q7T("x"));
    Q7SetMaterialVersion(host.session, 1);
    Q7AddMaterial(host.session, Q7T("typed"));
    Q7SetMaterialVersion(host.session, 0);
    const auto materials = host.saved().materials;
    ASSERT_EQ(materials.size(), 2U);
    EXPECT_EQ(materials[0].xml, u"x");
    EXPECT_EQ(materials[1].xml.substr(0, 12), u"<Material_2>");
}

TEST(Q7SaveMaterialToFile, AnEmptyModelGivesTheRootOfItsVersion) {
    const Host host;
    EXPECT_EQ(host.savedMaterials(), "");
    Q7SetMaterialVersion(host.session, 1);
    EXPECT_EQ(host.savedMaterials(), asTextFile("<Q7Materials_2>\n</Q7Materials_2>\n"));
    Q7SetMaterialVersion(host.session, 2);
    EXPECT_EQ(host.savedMaterials(), "");
}

TEST(Q7SaveMaterialToFile, WritesEachMaterialInItsOwnForm) {
    const Host host;
    Q7SetMaterialVersion(host.session, 1);
    AddMaterial(host.session, Q7T("text"), Q7T("a\nb"));
    Q7AddMaterial(host.session, Q7T("m"));
    EXPECT_EQ(host.savedMaterials(),
              asTextFile("<Q7Materials_2>\na\nb" + xmlWith("") + "</Q7Materials_2>\n"));
    Q7SetMaterialVersion(host.session, 0);
    EXPECT_EQ(host.savedMaterials(), asTextFile("a\nb" + xmlWith("")));
}

TEST(Q7SaveMaterialToFile, IsUtf8WithoutAMark) {
    const Host host;
    AddMaterial(host.session, Q7T("m"), Q7T("\u00E9\u4E2D\U0001F600"));
    EXPECT_EQ(host.savedMaterials(), "\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80");
}

TEST(Q7SaveMaterialToFile, ReplacesAFileAndDoesNothingWhereNoneCanBe) {
    const Host host;
    const TemporaryFolder folder;
    const auto path = folder / "file.xml";
    std::ofstream(path) << "a text that was there before";
    AddMaterial(host.session, Q7T("m"), Q7T("x"));
    Q7SaveMaterialToFile(host.session, hostPath(path).c_str());
    EXPECT_EQ(readFile(path), "x");
    Q7SaveMaterialToFile(host.session, hostPath(folder / "missing" / "file.xml").c_str());
    Q7SaveMaterialToFile(host.session, hostPath(folder.path()).c_str());
    Q7SaveMaterialToFile(host.session, Q7T(""));
    EXPECT_FALSE(std::filesystem::exists(folder / "missing"));
}

TEST(Q7SaveMaterialToFile, TakesPathsOfAnyUnicodeName) {
    const Host host;
    const TemporaryFolder folder;
    AddMaterial(host.session, Q7T("m"), Q7T("x"));
    const auto path = folder / std::filesystem::path(u"\u00E9\u4E2D\U0001F600.xml");
    Q7SaveMaterialToFile(host.session, hostPath(path).c_str());
    EXPECT_EQ(readFile(path), "x");
}

#if defined(__linux__)

TEST(Q7SaveMaterialToFile, AFullDiskIsNotReported) {
    const Host host;
    AddMaterial(host.session, Q7T("m"), HostString(100000, u'x').c_str());
    EXPECT_NO_THROW(Q7SaveMaterialToFile(host.session, Q7T("/dev/full")));
}

#endif

TEST(Q7SaveMaterialToFile, ChangesNothingInTheSession) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    const std::string before = host.savedBytes();
    host.savedMaterials();
    EXPECT_EQ(host.savedBytes(), before);
}

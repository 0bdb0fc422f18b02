#include "preview/materials.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using q7preview::colorOfName;
using q7preview::lookOf;
using q7preview::MaterialLook;
using q7preview::Pixel;

MaterialLook typed(const std::u16string& properties) {
    return lookOf(u"<Material_2>\n    <id>a</id>\n    <Type>/Game/m.m</Type>\n" + properties +
                  u"</Material_2>\n");
}

TEST(PreviewMaterials, typedMaterials) {
    const MaterialLook look = typed(
        u"    <BaseColor>#0A80FF</BaseColor>\n    <Roughness>0.5</Roughness>\n"
        u"    <Opacity>0.25</Opacity>\n    <NormalTexture>n.png</NormalTexture>\n"
        u"    <BaseColorTexture>C:\\a &amp; b\\c.png</BaseColorTexture>\n    <Nothing/>\n");
    EXPECT_EQ(look.color, (Pixel{10, 128, 255}));
    EXPECT_EQ(look.opacity, 0.25);
    EXPECT_EQ(look.texture, u"C:\\a & b\\c.png");
}

TEST(PreviewMaterials, textMaterials) {
    const MaterialLook look = lookOf(
        u"<Material><Name>Steel</Name><Opacity>1.00</Opacity>"
        u"<DiffuseColor>#112233</DiffuseColor><TintColor>#FFFFFF</TintColor></Material>");
    EXPECT_EQ(look.color, (Pixel{0x11, 0x22, 0x33}));
    EXPECT_EQ(look.texture, u"");
    EXPECT_EQ(look.opacity, 1);
}

TEST(PreviewMaterials, theTextOfAMaterialThatNobodyDescribedTellsNothing) {
    const MaterialLook look = lookOf(
        u"<Material><Name>DEFAULT</Name><Opacity>0.5</Opacity><DiffuseColor>#FFFFFF</DiffuseColor>"
        u"</Material>");
    EXPECT_EQ(look.color, std::nullopt);
    EXPECT_EQ(look.opacity, 1);
}

TEST(PreviewMaterials, namesThatMeanTheSame) {
    for (const char16_t* name :
         {u"BaseColor", u"base_color", u"Base--Color", u"DIFFUSE", u"Color", u"Albedo"}) {
        const std::u16string element = name;
        EXPECT_EQ(typed(u"    <" + element + u">#010203</" + element + u">\n").color,
                  (Pixel{1, 2, 3}));
    }
    for (const char16_t* name : {u"Base--Map", u"DiffuseMap", u"color_texture", u"AlbedoTexture"}) {
        const std::u16string element = name;
        EXPECT_EQ(typed(u"    <" + element + u">a.png</" + element + u">\n").texture, u"a.png");
    }
    for (const char16_t* name : {u"NormalTexture", u"Texture", u"BaseColorFile", u"BumpMap"}) {
        const std::u16string element = name;
        EXPECT_EQ(typed(u"    <" + element + u">a.png</" + element + u">\n").texture, u"");
    }
}

TEST(PreviewMaterials, theMoreExactNameCounts) {
    EXPECT_EQ(typed(u"    <Color>#000001</Color>\n    <BaseColor>#000002</BaseColor>\n"
                    u"    <Diffuse>#000003</Diffuse>\n")
                  .color,
              (Pixel{0, 0, 2}));
    EXPECT_EQ(typed(u"    <BaseColor>red</BaseColor>\n    <Color>#000001</Color>\n").color,
              (Pixel{0, 0, 1}));
}

TEST(PreviewMaterials, anyTextWillDo) {
    for (const char16_t* text :
         {u"", u"<", u">", u"<>", u"<<>>", u"</>", u"<Color>#0102", u"<Color>#010203<Color>",
          u"<Color>#01020G</Color>", u"<Color>#0102030</Color>", u"<Color>0102030</Color>",
          u"<Color>#-10203</Color>", u"<Color>#\u6a21\u6a21\u6a21\u6a21\u6a21\u6a21</Color>",
          u"Color #010203", u"<a><b>"}) {
        EXPECT_EQ(lookOf(text).color, std::nullopt);
    }
    for (const char16_t* opacity : {u"", u"nan", u"-1", u"2", u"0.5x", u"inf"}) {
        EXPECT_EQ(typed(u"    <Opacity>" + std::u16string(opacity) + u"</Opacity>\n").opacity, 1);
    }
    EXPECT_EQ(lookOf(u"<m><Color unit=\"1\">#010203</Color></m>").color, (Pixel{1, 2, 3}));
}

TEST(PreviewMaterials, namesHaveColorsOfTheirOwn) {
    EXPECT_EQ(colorOfName(u"Steel"), colorOfName(u"Steel"));
    std::set<Pixel> colors;
    for (char16_t letter = u'a'; letter <= u'z'; ++letter) {
        const Pixel color = colorOfName(std::u16string(1, letter));
        colors.insert(color);
        for (const std::uint8_t value : color)
            EXPECT_TRUE(value >= 110 && value <= 210) << int{value};
    }
    EXPECT_GT(colors.size(), 20U);
}

}  // namespace

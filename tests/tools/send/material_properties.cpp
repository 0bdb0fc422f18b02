#include "send/material_properties.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace q7send {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

TEST(ColorText, HasTwoDigitsForEachPart) {
    EXPECT_EQ(colorText(0, 0.5F, 1), u"#0080FF");
    EXPECT_EQ(colorText(1.0F / 255, 10.0F / 255, 171.0F / 255), u"#010AAB");
}

TEST(ColorText, IsCutOffAtItsEnds) {
    EXPECT_EQ(colorText(-1, 2, infinity), u"#00FFFF");
    EXPECT_EQ(colorText(nan, -infinity, 0), u"#000000");
}

TEST(RoughnessFromShininess, FallsFromOne) {
    EXPECT_FLOAT_EQ(roughnessFromShininess(0), 1);
    EXPECT_FLOAT_EQ(roughnessFromShininess(6), 0.5F);
    EXPECT_FLOAT_EQ(roughnessFromShininess(-5), 1);
    EXPECT_FLOAT_EQ(roughnessFromShininess(infinity), 0);
}

TEST(AddFraction, CutsOffAndLeavesOutWhatIsNoNumber) {
    SceneMaterial material;
    addFraction(material, u"a", 0.25F);
    addFraction(material, u"b", -3);
    addFraction(material, u"c", infinity);
    addFraction(material, u"d", nan);
    const std::vector<MaterialProperty> expected{{u"a", 0.25F}, {u"b", 0.0F}, {u"c", 1.0F}};
    EXPECT_EQ(material.properties, expected);
}

TEST(AddText, AddsAText) {
    SceneMaterial material;
    addText(material, property::baseColor, u"#102030");
    const std::vector<MaterialProperty> expected{{u"BaseColor", WideString(u"#102030")}};
    EXPECT_EQ(material.properties, expected);
}

TEST(PropertyDescriptions, NamesDifferAndAreElementNames) {
    std::set<WideString> names;
    for (const PropertyDescription& description : propertyDescriptions) {
        const WideString name = description.name;
        EXPECT_TRUE(names.insert(name).second);
        for (const char16_t unit : name)
            EXPECT_TRUE(unit < 128 && std::isalpha(unit));
    }
}

}  // namespace q7send

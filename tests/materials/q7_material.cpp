#include "materials/q7_material.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

// What hosts can do with typed materials is tested through the exports; here is what they cannot.

namespace {

std::string xmlOf(const Q7Material& material) {
    return wideToUtf8(material.toXml());
}

std::string xmlWith(const std::string& lines) {
    return "<Material_2>\n    <id>m</id>\n    <Type>/Game/MatLib2/Base/Base/Base_9/m.m</Type>\n" +
           lines + "</Material_2>\n";
}

}  // namespace

TEST(Q7Material, DoublesAndUnknownTypesAreEmptyTags) {
    Q7Material material(u"m");
    material.setDoubles(u"d", std::vector{1.0});
    material.setDoubles(u"dd", std::vector{1.0, 2.0});
    material.set(u"n", PropertyType::None, {});
    material.set(u"u", static_cast<PropertyType>(7), {});
    EXPECT_EQ(xmlOf(material), xmlWith("    <d/>\n    <dd/>\n    <n/>\n    <u/>\n"));
}

TEST(Q7Material, SeveralNumbersAreWrittenAsTheirAddresses) {
    Q7Material material(u"m");
    material.setInts(u"i", std::vector{1, 2, 3});
    material.setFloats(u"f", std::vector{1.0F, 2.0F});
    const auto addressesOf = [&](WideView name, int count) {
        const auto* address = material.properties.find(hashKey(name))->value.data();
        std::string text;
        for (int i = 0; i < count; ++i, address += 4) {
            char digits[20];
            std::snprintf(
                digits, sizeof digits, "%016llX,",
                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(address)));
            text += digits;
        }
        return text;
    };
    EXPECT_EQ(xmlOf(material), xmlWith("    <i>" + addressesOf(u"i", 3) + "</i>\n    <f>" +
                                       addressesOf(u"f", 2) + "</f>\n"));
}

TEST(Q7Material, NumbersWithoutElementsAreEmptyTexts) {
    Q7Material material(u"m");
    material.setInts(u"i", {});
    EXPECT_EQ(xmlOf(material), xmlWith("    <i></i>\n"));
}

TEST(Q7Material, TextEndsAtItsFirstZero) {
    Q7Material material(u"m");
    material.setText(u"cut", WideString(u"ab\0cd", 5));
    material.set(u"empty", PropertyType::Text, {});
    EXPECT_EQ(xmlOf(material), xmlWith("    <cut>ab</cut>\n    <empty></empty>\n"));
}

TEST(AddQ7Material, GivesTheNewMaterialOrNothing) {
    Model model;
    Q7Material* const added = model.addQ7Material(u"m");
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(added->getName(), u"m");
    EXPECT_EQ(added->type, 0U);
    EXPECT_TRUE(added->properties.empty());
    EXPECT_EQ(model.addQ7Material(u"m"), nullptr);
    model.addDefaultMaterial(u"text");
    EXPECT_EQ(model.addQ7Material(u"text"), nullptr);
}

TEST(FindQ7Material, NormalisesTheNameAndTakesTypedMaterialsOnly) {
    Model model;
    Q7Material* const added = model.addQ7Material(u"a@b");
    model.addDefaultMaterial(u"text");
    EXPECT_EQ(findQ7Material(model, u"a/b"), added);
    EXPECT_EQ(findQ7Material(model, u"text"), nullptr);
    EXPECT_EQ(findQ7Material(model, u"unknown"), nullptr);
}

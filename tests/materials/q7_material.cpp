#include "materials/q7_material.h"

#include <gtest/gtest.h>

#include <regex>
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
    const std::regex expected(
        "[^]*<i>([0-9A-F]{16}),([0-9A-F]{16}),([0-9A-F]{16}),</i>\n"
        "    <f>[0-9A-F]{16},[0-9A-F]{16},</f>\n[^]*");
    std::smatch addresses;
    const std::string xml = xmlOf(material);
    ASSERT_TRUE(std::regex_match(xml, addresses, expected)) << xml;
    const auto address = [&](int i) {
        return std::stoull(addresses[static_cast<std::size_t>(i)], nullptr, 16);
    };
    const auto* const elements = material.properties.find(hashKey(u"i"))->value.data();
    EXPECT_EQ(address(1), reinterpret_cast<std::uintptr_t>(elements));
    EXPECT_EQ(address(2) - address(1), 4U);
    EXPECT_EQ(address(3) - address(2), 4U);
}

TEST(Q7Material, NumbersWithoutElementsAreEmptyTexts) {
    Q7Material material(u"m");
    material.setInts(u"i", {});
    EXPECT_EQ(xmlOf(material), xmlWith("    <i></i>\n"));
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

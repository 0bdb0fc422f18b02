#include "common/material_xml.h"

#include <gtest/gtest.h>

#include "common/byte_reader.h"
#include "tests/tools/common/stream_builder.h"

namespace {

using q7tools::FormatError;
using q7tools::readTypedMaterial;
using q7tools::TypedMaterial;

const std::u16string head = u"<Material_2>\n    <id>a</id>\n    <Type>t</Type>\n";
const std::u16string tail = u"</Material_2>\n";

// The place in code units and the reason of the fault.
std::string faultOf(const std::u16string& xml) {
    try {
        readTypedMaterial(xml);
    } catch (const FormatError& error) {
        EXPECT_EQ(error.offset() % 2, 0U);
        return std::to_string(error.offset() / 2) + ": " + error.what();
    }
    return "none";
}

std::string faultOfLine(const std::u16string& line) {
    return faultOf(head + line + u"\n" + tail);
}

TEST(MaterialXml, readsAMaterial) {
    const TypedMaterial material = readTypedMaterial(streamtest::typedXml);
    EXPECT_EQ(material.id, u"Lamp");
    EXPECT_EQ(material.type, u"/Game/MatLib2/Base/Base/Base_9/m.m");
    ASSERT_EQ(material.properties.size(), 3U);
    EXPECT_EQ(material.properties[0].element, u"Mode");
    EXPECT_EQ(material.properties[0].text, u"3");
    EXPECT_EQ(material.properties[1].element, u"Base--Map");
    EXPECT_EQ(material.properties[1].text, u"C:\\a & b.png");
    EXPECT_TRUE(material.properties[1].hasText);
    EXPECT_EQ(material.properties[2].element, u"Nothing");
    EXPECT_FALSE(material.properties[2].hasText);
}

TEST(MaterialXml, readsAMaterialWithoutProperties) {
    EXPECT_TRUE(readTypedMaterial(head + tail).properties.empty());
}

TEST(MaterialXml, keepsEmptyTextApartFromAnEmptyTag) {
    const TypedMaterial material = readTypedMaterial(head + u"    <A></A>\n    <B/>\n" + tail);
    EXPECT_TRUE(material.properties[0].hasText);
    EXPECT_EQ(material.properties[0].text, u"");
    EXPECT_FALSE(material.properties[1].hasText);
}

TEST(MaterialXml, textMayHoldLineEndsQuotesAndEntities) {
    const TypedMaterial material =
        readTypedMaterial(head + u"    <A>x\n</A>\n    <B>&lt;\"'&gt;&amp;lt;</B>\n" + tail);
    EXPECT_EQ(material.properties[0].text, u"x\n");
    EXPECT_EQ(material.properties[1].text, u"<\"'>&lt;");
}

TEST(MaterialXml, namesFollowTheRulesOfXml) {
    EXPECT_EQ(faultOfLine(u"    <_a-1.\u00e9>x</_a-1.\u00e9>"), "none");
    EXPECT_EQ(faultOfLine(u"    <\U00020000/>"), "none");
    EXPECT_EQ(faultOfLine(u"    <2D>x</2D>"), "52: \"2D\" is not a legal element name");
    EXPECT_EQ(faultOfLine(u"    <a(b)/>"), "52: \"a(b)\" is not a legal element name");
    EXPECT_EQ(faultOfLine(u"    <>x</>"), "52: \"\" is not a legal element name");
}

TEST(MaterialXml, tellsWhereTheLayoutBreaks) {
    EXPECT_EQ(faultOf(u"<Material_2><id>a</id>"), "12: expected \"\\u000a    <id>\"");
    EXPECT_EQ(faultOf(u"<Material_2>\n    <id>a"), "22: expected \"</id>\"");
    EXPECT_EQ(faultOf(head), "47: expected \"</Material_2>\\u000a\"");
    EXPECT_EQ(faultOf(head + tail + u"x"), "61: the text goes on behind its last line");
    EXPECT_EQ(faultOfLine(u"    <A>x</B>"), "55: expected \"</A>\"");
    EXPECT_EQ(faultOfLine(u"    <A>x & y</A>"), "56: a bare \"&\" in an element's text");
    EXPECT_EQ(faultOfLine(u"    <A>x > y</A>"), "56: a bare \">\" in an element's text");
    EXPECT_EQ(faultOf(head + u"    <A"), "52: a tag without its \">\"");
}

TEST(MaterialXml, everyTruncationIsAFault) {
    const std::u16string& xml = streamtest::typedXml;
    for (std::size_t size = 0; size < xml.size(); ++size) {
        EXPECT_THROW(readTypedMaterial(xml.substr(0, size)), FormatError) << size;
    }
}

TEST(MaterialXml, tellsTypedTextFromOther) {
    EXPECT_TRUE(q7tools::isTypedMaterial(u"<Material_2>"));
    EXPECT_FALSE(q7tools::isTypedMaterial(u"<Material>"));
    EXPECT_FALSE(q7tools::isTypedMaterial(u" <Material_2>"));
    EXPECT_FALSE(q7tools::isTypedMaterial(u""));
}

}  // namespace

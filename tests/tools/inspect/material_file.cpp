#include "inspect/material_file.h"

#include <gtest/gtest.h>

#include "tests/tools/inspect/sample_archive.h"

namespace {

using archivetest::textProperty;
using archivetest::typedXml;
using q7inspect::MaterialFile;
using Lines = std::vector<std::string>;

const std::string start = "<Q7Materials_2>\n";
const std::string end = "</Q7Materials_2>\n";

MaterialFile read(const std::string& text) {
    return q7inspect::readMaterialFile(std::as_bytes(std::span(text)));
}

Lines faultsOf(const std::string& text) {
    Lines lines;
    for (const q7inspect::Fault& fault : read(text).faults)
        lines.push_back(std::to_string(fault.offset) + ": " + fault.reason);
    return lines;
}

std::string withCarriages(const std::string& text) {
    std::string out;
    for (const char c : text) {
        if (c == '\n') out += '\r';
        out += c;
    }
    return out;
}

std::string lamp() {
    return wideToUtf8(typedXml(u"Lamp \u00e4", textProperty(u"Map", u"a.png")));
}

TEST(InspectMaterialFile, readsAList) {
    const std::string text = start + lamp() + "<Material>free</Material>" + lamp() + end;
    for (const bool carriages : {false, true}) {
        const std::string file = carriages ? withCarriages(text) : text;
        const MaterialFile list = read(file);
        EXPECT_TRUE(list.hasRoot);
        EXPECT_EQ(list.hasCarriages, carriages);
        EXPECT_TRUE(list.faults.empty());
        ASSERT_EQ(list.materials.size(), 3U);
        ASSERT_TRUE(list.materials[0].typed.has_value());
        EXPECT_EQ(list.materials[0].typed->id, u"Lamp \u00e4");
        EXPECT_EQ(list.materials[0].typed->properties[0].text, u"a.png");
        EXPECT_FALSE(list.materials[1].typed.has_value());
        EXPECT_EQ(list.materials[1].xml, u"<Material>free</Material>");
        EXPECT_TRUE(list.materials[2].typed.has_value());
        EXPECT_EQ(list.materials[1].offset, file.find("<Material>"));
        EXPECT_EQ(list.materials[2].offset, file.rfind("<Material_2>"));
    }
}

TEST(InspectMaterialFile, readsWithoutARoot) {
    EXPECT_TRUE(read("").materials.empty());
    EXPECT_FALSE(read("").hasRoot);
    const MaterialFile list = read("<Material>a</Material><Material>b</Material>");
    EXPECT_FALSE(list.hasRoot);
    EXPECT_EQ(list.materials.size(), 1U);
    EXPECT_TRUE(list.faults.empty());
    EXPECT_TRUE(read(start + end).materials.empty());
    EXPECT_TRUE(read(start + end).hasRoot);
}

TEST(InspectMaterialFile, aCarriageReturnOfATextStays) {
    const MaterialFile list = read("<a>\r\n</a>\n");
    EXPECT_FALSE(list.hasCarriages);
    EXPECT_EQ(list.materials[0].xml, u"<a>\r\n</a>\n");
    EXPECT_EQ(read("<a>\r\r\n</a>\r\n").materials[0].xml, u"<a>\r\n</a>\n");
}

TEST(InspectMaterialFile, faultsAreToldByTheirPlaceInTheFile) {
    EXPECT_EQ(faultsOf("\xEF\xBB\xBF" + start + end),
              Lines{"0: the text starts with a byte-order mark"});
    EXPECT_EQ(faultsOf("a\xff"), Lines{"0: the text is not UTF-8"});
    EXPECT_EQ(faultsOf(start),
              Lines{"16: the text does not end with \"</Q7Materials_2>\" and a line end"});
    std::string broken = lamp();
    broken.replace(broken.find("a.png"), 1, "&");
    for (const bool carriages : {false, true}) {
        std::string file = start + lamp() + broken + end;
        if (carriages) file = withCarriages(file);
        EXPECT_EQ(faultsOf(file), Lines{std::to_string(file.find("&.png")) +
                                        ": a bare \"&\" in an element's text"});
        EXPECT_FALSE(read(file).materials[1].typed.has_value());
    }
}

}  // namespace

#include "inspect/info_json.h"

#include <gtest/gtest.h>

#include "tests/tools/inspect/sample_archive.h"

namespace {

using archivetest::infoText;
using archivetest::productId;
using q7inspect::InfoJson;
using Lines = std::vector<std::string>;

InfoJson read(const std::string& text) {
    return q7inspect::readInfoJson(std::as_bytes(std::span(text)));
}

Lines faultsOf(const std::string& text) {
    Lines lines;
    for (const q7inspect::Fault& fault : read(text).faults)
        lines.push_back(std::to_string(fault.offset) + ": " + fault.reason);
    return lines;
}

TEST(InspectInfoJson, readsBothMembers) {
    const InfoJson info = read(infoText("\"/a/\xc3\xa4\",\"q\\\"\\n\""));
    EXPECT_EQ(info.instanceIds, (Lines{"/a/\xc3\xa4", "q\"\n"}));
    EXPECT_EQ(info.productId, productId);
    EXPECT_TRUE(info.faults.empty());
}

TEST(InspectInfoJson, withoutInstancesThereIsNoArray) {
    const InfoJson info = read("{\"productID\":\"" + productId + "\"}");
    EXPECT_FALSE(info.instanceIds.has_value());
    EXPECT_TRUE(info.faults.empty());
    EXPECT_EQ(faultsOf(infoText("")),
              Lines{"0: \"instanceIdArray\" is empty, and should not be there"});
}

TEST(InspectInfoJson, otherTexts) {
    EXPECT_EQ(faultsOf(""), Lines{"0: the text is not JSON"});
    EXPECT_EQ(faultsOf("{\"productID\":x}"), Lines{"13: the text is not JSON"});
    EXPECT_EQ(faultsOf("{\"productID\":\"\xff\"}"), Lines{"14: the text is not JSON"});
    EXPECT_EQ(faultsOf(infoText("\"a\"") + "}"),
              Lines{std::to_string(infoText("\"a\"").size()) + ": the text is not JSON"});
    EXPECT_EQ(faultsOf("[1]"), Lines{"0: the text is not a JSON object"});
    EXPECT_EQ(faultsOf("7"), Lines{"0: the text is not a JSON object"});
    EXPECT_FALSE(read(infoText("\"a\"") + "}").productId.has_value());
}

TEST(InspectInfoJson, membersOfOtherKinds) {
    EXPECT_EQ(faultsOf("{\"productID\":7}"), Lines{"0: \"productID\" is not a string"});
    EXPECT_EQ(faultsOf("{}"), Lines{"0: the key \"productID\" is missing"});
    EXPECT_EQ(faultsOf("{\"instanceIdArray\":{\"a\":[\"b\"]},\"productID\":\"" + productId + "\"}"),
              Lines{"0: \"instanceIdArray\" is not an array"});
    EXPECT_EQ(faultsOf(infoText("\"a\",1,[\"b\"],{\"productID\":\"c\"}")),
              Lines{"0: \"instanceIdArray\" holds 3 elements that are not strings"});
    EXPECT_EQ(faultsOf("{\"other\":1,\"productID\":\"" + productId + "\"}"),
              Lines{"0: unknown key \"other\""});
}

TEST(InspectInfoJson, productIds) {
    for (const std::string& id : {productId.substr(1), productId + "0", std::string(32, 'a')}) {
        EXPECT_EQ(
            faultsOf("{\"productID\":\"" + id + "\"}"),
            Lines{"0: \"productID\" is \"" + id + "\", not 32 upper-case hexadecimal digits"});
    }
}

TEST(InspectInfoJson, onlyTheCompactFormIsRight) {
    const std::string end = ": the text is not in the compact form with sorted keys";
    const std::string member = "\"productID\":\"" + productId + "\"";
    EXPECT_EQ(faultsOf("{ " + member + "}"), Lines{"1" + end});
    EXPECT_EQ(faultsOf("{" + member + "}\n"), Lines{std::to_string(member.size() + 2) + end});
    EXPECT_EQ(faultsOf("{" + member + ",\"instanceIdArray\":[\"a\"]}"), Lines{"2" + end});
    EXPECT_EQ(faultsOf("{" + member + "," + member + "}"),
              Lines{std::to_string(member.size() + 1) + end});
    EXPECT_EQ(faultsOf(infoText("\"\\u00e4\"")), Lines{"21" + end});
}

TEST(InspectInfoJson, deepNestingIsHarmless) {
    EXPECT_EQ(faultsOf(std::string(1'000'000, '[')).size(), 1U);
}

}  // namespace

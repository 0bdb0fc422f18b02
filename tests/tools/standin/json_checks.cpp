#include "standin/json_checks.h"

#include <gtest/gtest.h>

namespace {

using namespace q7standin;
using Lines = std::vector<std::string>;

constexpr WideView goodHeader =
    u"{\"dccPluginInfo\":\"ä\",\"materialVersion\":1,\"textureFolder\":\"\",\"triangleCount\":12}";

TEST(Header, Sound) {
    const HeaderFindings findings = checkHeader(goodHeader);
    EXPECT_EQ(findings.errors, Lines{});
    EXPECT_EQ(findings.remarks, Lines{});
    EXPECT_EQ(findings.triangleCount, 12U);
}

TEST(Header, Faults) {
    EXPECT_EQ(checkHeader(u"{\"a").errors, Lines{"text: expected JSON, got \"{\"a\""});
    EXPECT_EQ(checkHeader(u"").errors, Lines{"text: expected JSON, got \"\""});
    EXPECT_EQ(checkHeader(u"[]").errors, Lines{"text: expected a JSON object, got array"});
    const HeaderFindings findings = checkHeader(
        u"{\"dccPluginInfo\":1,\"extra\":2,\"materialVersion\":-1,\"triangleCount\":3}");
    EXPECT_EQ(
        findings.errors,
        (Lines{"\"dccPluginInfo\": expected a string, got number",
               "\"materialVersion\": expected an unsigned number, got number",
               "\"textureFolder\": expected a string, got nothing", "unknown key \"extra\""}));
    EXPECT_EQ(findings.triangleCount, std::nullopt);
}

TEST(Header, Layout) {
    const Lines remark{"the JSON text is not compact with its keys in order"};
    EXPECT_EQ(checkHeader(std::u16string(goodHeader) + u" ").remarks, remark);
    const HeaderFindings findings = checkHeader(
        u"{\"materialVersion\":1,\"dccPluginInfo\":\"\",\"textureFolder\":\"\",\"triangleCount\":"
        u"1}");
    EXPECT_EQ(findings.remarks, remark);
    EXPECT_EQ(findings.errors, Lines{});
}

TEST(Message, Sound) {
    for (const std::uint32_t word : {12U, 15U}) {
        EXPECT_EQ(checkMessage(word, u"null").errors, Lines{});
        EXPECT_EQ(checkMessage(word, u"{\"a\":0.10000000149011612}").errors, Lines{});
        EXPECT_EQ(checkMessage(word, u"{\"a\":0.10000000149011612}").remarks, Lines{});
    }
    EXPECT_EQ(checkMessage(13, u"{\"model_file_path\":\"\"}").errors, Lines{});
    EXPECT_EQ(checkMessage(13, u"{\"model_file_path\":\"a\",\"scenes\":[null,{}]}").errors,
              Lines{});
    EXPECT_EQ(checkMessage(14,
                           u"{\"groups\":[{\"id\":\"1\",\"name\":\"n\"}],\"lights\":[{}],"
                           u"\"model_file_path\":\"a\"}")
                  .errors,
              Lines{});
    EXPECT_EQ(checkMessage(18, u"{\"CameraAnimations\":[]}").errors, Lines{});
}

TEST(Message, Faults) {
    EXPECT_EQ(checkMessage(12, u"[]").errors, Lines{"text: expected an object or null, got array"});
    EXPECT_EQ(checkMessage(15, u"nul").errors, Lines{"text: expected JSON, got \"nul\""});
    EXPECT_EQ(
        checkMessage(13, u"{\"lights\":[]}").errors,
        (Lines{"\"model_file_path\": expected a string, got nothing", "unknown key \"lights\""}));
    EXPECT_EQ(checkMessage(13, u"{\"model_file_path\":\"\",\"scenes\":[1]}").errors,
              Lines{"scenes[0]: expected an object or null, got number"});
    EXPECT_EQ(checkMessage(14, u"{\"groups\":[{\"id\":1}],\"model_file_path\":\"\"}").errors,
              (Lines{"\"id\": expected a string, got number",
                     "\"name\": expected a string, got nothing"}));
    EXPECT_EQ(checkMessage(18, u"{}").errors,
              Lines{"\"CameraAnimations\": expected an array, got nothing"});
}

TEST(InstancePaths, EndWithTheirMaterials) {
    const WideString red = u"red";
    const WideString none;
    const WideString lone = {u'a', char16_t{0xD800}};
    EXPECT_EQ(checkInstancePaths(u"{\"instance_paths\":[\"a/b/red\",\"/\",\"x/a\uFFFD\"]}",
                                 {&red, &none, &lone})
                  .errors,
              Lines{});
    EXPECT_EQ(checkInstancePaths(u"{\"instance_paths\":[\"a/red\"]}", {&red, &red}).errors,
              Lines{"\"instance_paths\": expected 2 paths, got 1"});
    EXPECT_EQ(checkInstancePaths(u"{\"instance_paths\":[7]}", {&red}).errors,
              Lines{"\"instance_paths\"[0]: expected a path that ends with \"/red\", got \"7\""});
    EXPECT_EQ(
        checkInstancePaths(u"{\"paths\":[]}", {}).errors,
        (Lines{"\"instance_paths\": expected an array, got nothing", "unknown key \"paths\""}));
}

}  // namespace

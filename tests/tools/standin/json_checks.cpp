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
    EXPECT_EQ(checkHeader(std::u16string(goodHeader) + u" ").remarks,
              Lines{"the JSON text is not compact"});
    const HeaderFindings findings = checkHeader(
        u"{\"materialVersion\":1,\"dccPluginInfo\":\"\",\"textureFolder\":\"\",\"triangleCount\":"
        u"1}");
    EXPECT_EQ(findings.errors,
              Lines{"text: expected keys in byte order, got \"dccPluginInfo\" behind "
                    "\"materialVersion\""});
    EXPECT_EQ(findings.remarks, Lines{});
}

constexpr WideView animations =
    u"{\"CameraAnimations\":[{\"FrameData\":[{\"Position\":[{\"LT\":0,\"LV\":0.5,\"RT\":1,\"RV\":2,"
    u"\"V\":-1}],"
    u"\"T\":0.0},{\"T\":1.5}],\"Name\":\"flight\"}]}";

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
    EXPECT_EQ(checkMessage(12, u"{\"a\":[0.5,-1],\"b\":\"t\",\"c\":null,\"model_file_path\":\"m\"}")
                  .errors,
              Lines{});
    EXPECT_EQ(checkMessage(18, animations).errors, Lines{});
}

TEST(Message, Summary) {
    EXPECT_EQ(checkMessage(12, u"null").summary, "0 properties, ");
    EXPECT_EQ(checkMessage(15, u"{\"a\":1}").summary, "1 property, ");
    EXPECT_EQ(checkMessage(13, u"{\"model_file_path\":\"\",\"scenes\":[null,{}]}").summary,
              "2 scenes, ");
    EXPECT_EQ(checkMessage(14, u"{\"model_file_path\":\"\"}").summary, "0 lights, 0 groups, ");
    EXPECT_EQ(checkMessage(18, animations).summary, "1 animation, 2 frames, ");
    EXPECT_EQ(checkMessage(18, u"{}").summary, "");
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
              (Lines{"groups[0].id: expected a string, got number",
                     "groups[0].name: expected a string, got nothing"}));
    EXPECT_EQ(checkMessage(18, u"{}").errors,
              Lines{"\"CameraAnimations\": expected an array, got nothing"});
}

Lines errorsOf(std::uint32_t word, WideView text) {
    return checkMessage(word, text).errors;
}

TEST(Message, PropertiesAreTextsOrNumbers) {
    EXPECT_EQ(errorsOf(12, u"{\"a\":{},\"b\":true}"),
              (Lines{"\"a\": expected a string, a number or an array of numbers, got object",
                     "\"b\": expected a string, a number or an array of numbers, got boolean"}));
    EXPECT_EQ(
        errorsOf(13, u"{\"model_file_path\":\"\",\"scenes\":[{\"a\":[1]},{\"a\":[1,\"x\"]}]}"),
        (Lines{"scenes[0].a: expected an array of two or more, got 1 element",
               "scenes[1].a[1]: expected a number, got string"}));
    EXPECT_EQ(errorsOf(15, u"{\"model_file_path\":1}"),
              Lines{"\"model_file_path\": expected a string, got number"});
}

TEST(Message, EmptyStoresHaveNoKey) {
    EXPECT_EQ(errorsOf(13, u"{\"model_file_path\":\"\",\"scenes\":[]}"),
              Lines{"\"scenes\": expected no key or some elements, got an empty array"});
    EXPECT_EQ(errorsOf(14, u"{\"groups\":[],\"lights\":[],\"model_file_path\":\"\"}").size(), 2U);
}

TEST(Message, KeysStandInByteOrder) {
    EXPECT_EQ(errorsOf(12, u"{\"b\":1,\"a\":2}"),
              Lines{"text: expected keys in byte order, got \"a\" behind \"b\""});
    EXPECT_EQ(errorsOf(14, u"{\"lights\":[{},{\"a\":1,\"B\":2}],\"model_file_path\":\"\"}"),
              Lines{"\"lights\"[1]: expected keys in byte order, got \"B\" behind \"a\""});
}

Lines errorsOfAnimation(const std::u16string& text) {
    return errorsOf(18, u"{\"CameraAnimations\":[" + text + u"]}");
}

TEST(Message, AnimationsHaveFrames) {
    EXPECT_EQ(errorsOfAnimation(u"null"),
              Lines{"CameraAnimations[0]: expected an object, got null"});
    EXPECT_EQ(errorsOfAnimation(u"{}"),
              Lines{"CameraAnimations[0].FrameData: expected an array, got nothing"});
    EXPECT_EQ(
        errorsOfAnimation(u"{\"FrameData\":1,\"Name\":[]}"),
        (Lines{"CameraAnimations[0].FrameData: expected an array, got number",
               "CameraAnimations[0].Name: expected an array of two or more, got 0 elements"}));
    EXPECT_EQ(errorsOfAnimation(u"{\"FrameData\":[1,{}]}"),
              (Lines{"CameraAnimations[0].FrameData[0]: expected an object, got number",
                     "CameraAnimations[0].FrameData[1].T: expected a number, got nothing"}));
}

TEST(Message, FramesHaveCurvePoints) {
    const auto withPoints = [](const std::u16string& points) {
        return errorsOfAnimation(u"{\"FrameData\":[{\"P\":" + points + u",\"T\":0}]}");
    };
    const std::string place = "CameraAnimations[0].FrameData[0].P";
    EXPECT_EQ(withPoints(u"1"), Lines{place + ": expected an array of points, got number"});
    EXPECT_EQ(withPoints(u"[]"), Lines{place + ": expected an array of points, got an empty one"});
    EXPECT_EQ(withPoints(u"[1]"), Lines{place + "[0]: expected an object, got number"});
    EXPECT_EQ(withPoints(u"[{\"LT\":0,\"LV\":\"x\",\"RV\":0,\"V\":null,\"W\":0}]"),
              (Lines{place + "[0].LV: expected a number, got string",
                     place + "[0].RT: expected a number, got nothing",
                     place + "[0]: unknown key \"W\""}));
}

TEST(Message, DeepNestingIsRefused) {
    const std::u16string deep = std::u16string(100'000, u'[') + std::u16string(100'000, u']');
    EXPECT_EQ(errorsOf(12, deep), Lines{"text: expected at most 64 levels, got more"});
    EXPECT_EQ(modelFilePathOf(wideToUtf8(deep)), std::nullopt);
}

TEST(ModelFilePath, OfMetadata) {
    EXPECT_EQ(modelFilePathOf("{\"a\":1,\"model_file_path\":\"m\"}"), "m");
    EXPECT_EQ(modelFilePathOf("{\"a\":1}"), "");
    EXPECT_EQ(modelFilePathOf("null"), "");
    for (const char* text : {"", "{", "[]", "{\"model_file_path\":1}"})
        EXPECT_EQ(modelFilePathOf(text), std::nullopt) << text;
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

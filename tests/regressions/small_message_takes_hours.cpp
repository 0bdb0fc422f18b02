// Messages that once cost the stand-in renderer far more time or memory than their size. One that
// comes back to its square of time shows as a test that does not end.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "standin/json_checks.h"

namespace {

using namespace q7standin;

WideString numbered(int number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

TEST(SmallMessageTakesHours, manyKeysInTheWrongOrderAreCounted) {
    WideString text = u"{";
    for (int i = 299'999; i >= 100'000; --i)
        text += u"\"" + numbered(i) + u"\":0,";
    const MessageFindings findings = checkMessage(15, text + u"\"z\":0}");
    ASSERT_EQ(findings.errors.size(), 100U);
    EXPECT_EQ(findings.errors[0],
              "text: expected keys in byte order, got \"299998\" behind \"299999\"");
    EXPECT_EQ(findings.errorCount(), 199'999U);
    EXPECT_FALSE(findings.isSound());
}

TEST(SmallMessageTakesHours, manyObjectsAreParsedInOneGo) {
    WideString text = u"{\"model_file_path\":\"\",\"scenes\":[{}";
    for (int i = 0; i < 200'000; ++i)
        text += u",{}";
    EXPECT_EQ(checkMessage(13, text + u"]}").summary, "200001 scenes, ");
}

TEST(SmallMessageTakesHours, longNamesAreToldInPart) {
    const WideString name(1'000'000, u'n');
    WideString text = u"{\"" + name + u"\":[[]";
    for (int i = 0; i < 50'000; ++i)
        text += u",[]";
    const MessageFindings findings = checkMessage(12, text + u"]}");
    EXPECT_EQ(findings.errorCount(), 50'001U);
    for (const std::string& error : findings.errors)
        EXPECT_LT(error.size(), 300U);
}

TEST(SmallMessageTakesHours, furtherFaultsDoNotMakeATextSound) {
    WideString text = u"{\"CameraAnimations\":[";
    for (int i = 0; i < 200; ++i)
        text += u"{\"FrameData\":0},";
    EXPECT_EQ(checkMessage(18, text + u"{}]}").errorCount(), 201U);
}

}  // namespace

#include "animation/animation_entity.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <memory>
#include <type_traits>

// Or a growing list of key frames would copy them; MSVC's maps and lists may throw when they are moved.
static_assert(std::is_nothrow_move_constructible_v<Q7AnimationKeyFrame>);

namespace {

std::string jsonOf(const IJsonable& thing) {
    Json value = std::string("anything");
    EXPECT_EQ(&thing.toJson(value), &value);
    return value.dump();
}

constexpr std::array<double, 5> point = {1, 2, 3, 4, 5};
constexpr std::array<double, 10> twoPoints = {1, 2, 3, 4, 5, 6, 7, 8, 9, 0.1};

}  // namespace

TEST(AnimationKeyFrameJson, HasItsTimeAlsoWithoutProperties) {
    EXPECT_EQ(jsonOf(Q7AnimationKeyFrame(1.5)), R"({"T":1.5})");
    EXPECT_EQ(jsonOf(Q7AnimationKeyFrame(-0.1)), R"({"T":-0.1})");
}

TEST(AnimationKeyFrameJson, APointIsAnArrayOfOne) {
    Q7AnimationKeyFrame frame(0);
    frame.setDoubles(u"X\u00E9", point);
    EXPECT_EQ(jsonOf(frame),
              "{\"T\":0.0,\"X\u00E9\":[{\"LT\":2.0,\"LV\":3.0,\"RT\":4.0,\"RV\":5.0,\"V\":1.0}]}");
}

TEST(AnimationKeyFrameJson, SeveralPointsKeepTheirOrder) {
    Q7AnimationKeyFrame frame(0);
    frame.setDoubles(u"X", twoPoints);
    EXPECT_EQ(jsonOf(frame), R"({"T":0.0,"X":[{"LT":2.0,"LV":3.0,"RT":4.0,"RV":5.0,"V":1.0},)"
                             R"({"LT":7.0,"LV":8.0,"RT":9.0,"RV":0.1,"V":6.0}]})");
}

TEST(AnimationKeyFrameJson, OnlyDoublesCount) {
    Q7AnimationKeyFrame frame(2);
    frame.setInts(u"int", std::array<std::int32_t, 5>{});
    frame.setFloats(u"float", std::array<float, 5>{});
    frame.setText(u"text", u"abcd");
    frame.setDoubles(u"none", {});
    EXPECT_EQ(jsonOf(frame), R"({"T":2.0})");
}

TEST(AnimationKeyFrameJson, PointsOfNamesThatShowAlikeAreAppended) {
    Q7AnimationKeyFrame frame(2);
    // Two names that differ become one key, since neither is a character.
    frame.setDoubles(WideString(1, u'\xD800'), point);
    frame.setDoubles(WideString(1, u'\xD801'), point);
    const std::string text = R"({"LT":2.0,"LV":3.0,"RT":4.0,"RV":5.0,"V":1.0})";
    EXPECT_EQ(jsonOf(frame), R"({"T":2.0,"�":[)" + text + ',' + text + "]}");
}

TEST(AnimationKeyFrameJson, PointsUnderTheTimesKeyTakeItsPlace) {
    Q7AnimationKeyFrame frame(2);
    frame.setDoubles(u"T", point);
    EXPECT_EQ(jsonOf(frame), R"({"T":[{"LT":2.0,"LV":3.0,"RT":4.0,"RV":5.0,"V":1.0}]})");
}

TEST(AnimationEntityFrames, KeepTheOrderOfAdding) {
    Q7AnimationEntity entity;
    EXPECT_EQ(entity.addFrame(2), 0);
    EXPECT_EQ(entity.addFrame(1), 1);
    EXPECT_EQ(entity.addFrame(1), 2);
    EXPECT_EQ(jsonOf(entity), R"({"FrameData":[{"T":2.0},{"T":1.0},{"T":1.0}]})");
}

TEST(AnimationEntityFindFrame, TakesTheFirstWithinTheEpsilonStrictly) {
    Q7AnimationEntity entity;
    EXPECT_EQ(entity.findFrame(0), -1);
    entity.addFrame(1);
    entity.addFrame(0);
    entity.addFrame(1);
    EXPECT_EQ(entity.findFrame(1), 0);
    EXPECT_EQ(entity.findFrame(1.0000000000000002), -1);
    EXPECT_EQ(entity.findFrame(0.9999999999999999), 0);
    EXPECT_EQ(entity.findFrame(2.220446049250313e-16), -1);
    EXPECT_EQ(entity.findFrame(2.2204460492503128e-16), 1);
    EXPECT_EQ(entity.findFrame(-2.2204460492503128e-16), 1);
    EXPECT_EQ(entity.findFrame(std::numeric_limits<double>::quiet_NaN()), -1);
}

TEST(AnimationEntityDeleteFrame, MovesTheLaterOnesDown) {
    Q7AnimationEntity entity;
    for (const double time : {1, 2, 3})
        entity.addFrame(time);
    entity.deleteFrame(-1);
    entity.deleteFrame(3);
    EXPECT_EQ(entity.frames.size(), 3U);
    entity.deleteFrame(0);
    ASSERT_EQ(entity.frames.size(), 2U);
    EXPECT_EQ(entity.frames[0].time, 2);
    EXPECT_EQ(entity.frames[1].time, 3);
}

TEST(AnimationEntityFrame, IsNoneOutsideOfTheList) {
    Q7AnimationEntity entity;
    EXPECT_EQ(entity.frame(0), nullptr);
    entity.addFrame(7);
    EXPECT_EQ(entity.frame(0), entity.frames.data());
    EXPECT_EQ(entity.frame(1), nullptr);
    EXPECT_EQ(entity.frame(-1), nullptr);
    EXPECT_EQ(entity.frame(std::numeric_limits<std::int32_t>::min()), nullptr);
}

TEST(AnimationEntityJson, HasFrameDataAlsoWithoutFrames) {
    EXPECT_EQ(jsonOf(Q7AnimationEntity()), R"({"FrameData":[]})");
}

TEST(AnimationEntityJson, WritesItsPropertiesOfEveryType) {
    Q7AnimationEntity entity;
    entity.setInts(u"i", std::array{1});
    entity.setInts(u"is", std::array{1, 2});
    entity.setInts(u"none", {});
    entity.setFloats(u"f", std::array{0.1F});
    entity.setFloats(u"fs", std::array{0.5F, 2.0F});
    entity.setDoubles(u"d", std::array{0.1});
    entity.setDoubles(u"ds", std::array{0.1, 2.0});
    entity.setText(u"t", u"\u00E9");
    entity.addFrame(3);
    EXPECT_EQ(jsonOf(entity),
              "{\"FrameData\":[{\"T\":3.0}],\"d\":0.1,\"ds\":[0.1,2.0],"
              "\"f\":0.10000000149011612,\"fs\":[0.5,2.0],\"i\":1,\"is\":[1,2],\"t\":\"\u00E9\"}");
}

TEST(AnimationEntityJson, TheFramesTakeThePlaceOfAPropertyOfTheirName) {
    Q7AnimationEntity entity;
    entity.setText(u"FrameData", u"text");
    EXPECT_EQ(jsonOf(entity), R"({"FrameData":[]})");
}

TEST(Jsonable, IsDestroyedThroughItsInterface) {
    static_assert(std::has_virtual_destructor_v<IJsonable>);
    const std::unique_ptr<IJsonable> thing = std::make_unique<Q7AnimationEntity>();
    EXPECT_EQ(jsonOf(*thing), R"({"FrameData":[]})");
}

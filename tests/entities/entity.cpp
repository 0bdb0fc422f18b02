#include "entities/entity.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::string jsonOf(const Q7Entity& entity) {
    return entity.toJson().dump();
}

}  // namespace

TEST(EntityJson, NothingIsNullAndAPathAloneIsAnObject) {
    Q7Entity entity;
    EXPECT_EQ(jsonOf(entity), "null");
    entity.modelFilePath = u"C:\\m\u00E9.x";
    EXPECT_EQ(jsonOf(entity), "{\"model_file_path\":\"C:\\\\m\u00E9.x\"}");
}

TEST(EntityJson, OneElementIsAPlainValue) {
    Q7Entity entity;
    entity.setInts(u"int", std::vector{-7});
    entity.setFloats(u"float", std::vector{0.5F});
    entity.setDoubles(u"double", std::vector{0.1});
    EXPECT_EQ(jsonOf(entity), R"({"double":0.1,"float":0.5,"int":-7})");
}

TEST(EntityJson, OfNamesThatShowAlikeTheLaterValueStays) {
    Q7Entity entity;
    // Neither is a character, so both show as U+FFFD.
    entity.setInts(WideString(1, u'\xD800'), std::vector{1});
    entity.setInts(WideString(1, u'\xD801'), std::vector{2});
    EXPECT_EQ(jsonOf(entity), "{\"\uFFFD\":2}");
}

TEST(EntityJson, MoreElementsAreAnArrayInOrder) {
    Q7Entity entity;
    entity.setInts(u"ints", std::vector{3, 1, 2});
    entity.setFloats(u"floats", std::vector{1.5F, -2.0F});
    entity.setDoubles(u"doubles", std::vector{0.25, 0.1});
    EXPECT_EQ(jsonOf(entity), R"({"doubles":[0.25,0.1],"floats":[1.5,-2.0],"ints":[3,1,2]})");
}

TEST(EntityJson, FloatsAreWidenedToDouble) {
    Q7Entity entity;
    entity.setFloats(u"one", std::vector{0.1F});
    entity.setFloats(u"two", std::vector{0.1F, 0.2F});
    EXPECT_EQ(jsonOf(entity),
              R"({"one":0.10000000149011612,"two":[0.10000000149011612,0.20000000298023224]})");
}

TEST(EntityJson, IntegersAreIntegersAndFloatsAreFloats) {
    Q7Entity entity;
    entity.setInts(u"int", std::vector{2});
    entity.setFloats(u"float", std::vector{2.0F});
    EXPECT_EQ(jsonOf(entity), R"({"float":2.0,"int":2})");
}

TEST(EntityJson, NoElementLeavesTheKeyOut) {
    Q7Entity entity;
    entity.setInts(u"ints", {});
    entity.setFloats(u"floats", {});
    entity.setDoubles(u"doubles", {});
    EXPECT_EQ(jsonOf(entity), "null");
    entity.set(u"text", PropertyType::Text, {});
    EXPECT_EQ(jsonOf(entity), R"({"text":""})");
}

TEST(EntityJson, OtherTypesAreLeftOut) {
    Q7Entity entity;
    const std::vector<std::byte> bytes(8);
    entity.set(u"none", PropertyType::None, bytes);
    entity.set(u"unknown", static_cast<PropertyType>(9), bytes);
    EXPECT_EQ(jsonOf(entity), "null");
}

TEST(EntityJson, TextIsUtf8UpToItsFirstZero) {
    Q7Entity entity;
    entity.setText(u"text", u"\u4E2D\U0001F600");
    entity.setText(u"empty", u"");
    entity.setText(u"cut", WideString(u"ab\0cd", 5));
    entity.setText(u"lone", WideString(1, 0xD800));
    EXPECT_EQ(jsonOf(entity),
              "{\"cut\":\"ab\",\"empty\":\"\",\"lone\":\"\uFFFD\",\"text\":\"\u4E2D\U0001F600\"}");
}

TEST(EntityJson, KeysAreUtf8AndInByteOrder) {
    Q7Entity entity;
    for (const auto* name : {u"b", u"\u00E9", u"a", u"B"})
        entity.setInts(name, std::vector{1});
    EXPECT_EQ(jsonOf(entity), "{\"B\":1,\"a\":1,\"b\":1,\"\u00E9\":1}");
}

TEST(EntityJson, ThePathOverwritesAPropertyOfItsName) {
    Q7Entity entity;
    entity.setInts(u"model_file_path", std::vector{1});
    EXPECT_EQ(jsonOf(entity), R"({"model_file_path":1})");
    entity.modelFilePath = u"m";
    EXPECT_EQ(jsonOf(entity), R"({"model_file_path":"m"})");
}

TEST(Entity, TheLastSetDecidesTheType) {
    Q7Entity entity;
    entity.setInts(u"p", std::vector{1});
    entity.setText(u"p", u"text");
    EXPECT_EQ(entity.properties.size(), 1U);
    const EntityProperty& property = entity.properties.begin()->second;
    EXPECT_EQ(property.type, PropertyType::Text);
    EXPECT_EQ(property.name, u"p");
    EXPECT_EQ(jsonOf(entity), R"({"p":"text"})");
}

TEST(Entity, PropertiesAreKeyedByTheHashOfTheirName) {
    Q7Entity entity;
    entity.setInts(u"a", std::vector{1});
    EXPECT_EQ(entity.properties.begin()->first, 0x089be207b544f1e4U);
    // Stands for a second name with the same hash: the value is replaced and the first name stays.
    entity.properties.begin()->second.name = u"first";
    entity.setInts(u"a", std::vector{2});
    EXPECT_EQ(jsonOf(entity), R"({"first":2})");
}

TEST(Entity, ElementCountsFollowTheType) {
    const auto countOf = [](PropertyType type) {
        Q7Entity entity;
        entity.set(u"p", type, std::vector<std::byte>(16));
        return entity.properties.begin()->second.elementCount();
    };
    EXPECT_EQ(countOf(PropertyType::None), 0U);
    EXPECT_EQ(countOf(PropertyType::Int), 4U);
    EXPECT_EQ(countOf(PropertyType::Float), 4U);
    EXPECT_EQ(countOf(PropertyType::Double), 2U);
    EXPECT_EQ(countOf(PropertyType::Text), 8U);
    EXPECT_EQ(static_cast<int>(PropertyType::None), 0);
    EXPECT_EQ(static_cast<int>(PropertyType::Int), 1);
    EXPECT_EQ(static_cast<int>(PropertyType::Float), 2);
    EXPECT_EQ(static_cast<int>(PropertyType::Double), 3);
    EXPECT_EQ(static_cast<int>(PropertyType::Text), 4);
}

TEST(Entity, ARestOfAnElementDoesNotCount) {
    Q7Entity entity;
    entity.set(u"int", PropertyType::Int, std::vector<std::byte>(6));
    entity.set(u"none", PropertyType::Int, std::vector<std::byte>(3));
    entity.set(u"text", PropertyType::Text, std::vector<std::byte>(5, std::byte{0x41}));
    EXPECT_EQ(jsonOf(entity), "{\"int\":0,\"text\":\"\u4141\u4141\"}");
}

TEST(Entity, ATextHoldsItsTerminator) {
    Q7Entity entity;
    entity.setText(u"empty", u"");
    entity.setText(u"two", u"ab");
    EXPECT_EQ(entity.properties.find(hashKey(u"empty"))->elementCount(), 1U);
    EXPECT_EQ(entity.properties.find(hashKey(u"two"))->elementCount(), 3U);
}

TEST(Entity, RemoveAndClearKeepThePath) {
    Q7Entity entity;
    entity.modelFilePath = u"m";
    entity.setInts(u"a", std::vector{1});
    entity.setInts(u"b", std::vector{2});
    entity.remove(u"unknown");
    entity.remove(u"a");
    EXPECT_EQ(jsonOf(entity), R"({"b":2,"model_file_path":"m"})");
    entity.clear();
    EXPECT_EQ(jsonOf(entity), R"({"model_file_path":"m"})");
    entity.setInts(u"c", std::vector{3});
    EXPECT_EQ(jsonOf(entity), R"({"c":3,"model_file_path":"m"})");
}

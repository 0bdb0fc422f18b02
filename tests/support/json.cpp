#include "support/json.h"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>
#include <type_traits>
#include <utility>

// A vector that grows copies what can be copied and may throw when it is moved, as maps of MSVC may.
static_assert(!std::is_copy_constructible_v<Json> && std::is_nothrow_move_constructible_v<Json>);

TEST(Json, IsNullAtFirst) {
    EXPECT_EQ(Json().dump(), "null");
    EXPECT_FALSE(Json().isArray());
}

TEST(Json, TextsAreThoseOfTheJsonLibrary) {
    std::string all;
    for (char unit = 1; unit < 0x7F; ++unit)
        all += unit;
    for (const std::string& text :
         {std::string(), std::string("plain"), all, std::string("a\0b", 3), std::string("\x7F"),
          std::string("\"\\/"), std::string("\u00E9\u4E2D\U0001F600\uFFFD")}) {
        EXPECT_EQ(Json(text).dump(), nlohmann::json(text).dump());
        Json object;
        object[text] = 1;
        EXPECT_EQ(object.dump(), (nlohmann::json{{text, 1}}).dump());
    }
}

TEST(Json, NumbersAreThoseOfTheJsonLibrary) {
    using Limits = std::numeric_limits<double>;
    for (const double number : {0.0, -0.0, 1.0, 0.1, -2.5, 1e15, 1e16, 1e-5, 123456.789, 5e-324,
                                0.10000000149011612, Limits::max(), Limits::min(),
                                Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
        EXPECT_EQ(Json(number).dump(), nlohmann::json(number).dump());
    }
    EXPECT_EQ(Json(std::numeric_limits<std::int32_t>::min()).dump(), "-2147483648");
    EXPECT_EQ(Json(std::numeric_limits<std::uint32_t>::max()).dump(), "4294967295");
    EXPECT_EQ(Json(std::numeric_limits<std::uint64_t>::max()).dump(), "18446744073709551615");
}

TEST(Json, ObjectsHaveTheirKeysInOrderOnceEach) {
    EXPECT_EQ(Json::object().dump(), "{}");
    Json object;
    object["b"] = 1;
    object["a"] = 2;
    object["B"] = 3;
    object["b"] = std::string("again");
    object["c"];
    EXPECT_EQ(object.dump(), R"({"B":3,"a":2,"b":"again","c":null})");
}

TEST(Json, ArraysKeepTheOrder) {
    EXPECT_EQ(Json::array().dump(), "[]");
    EXPECT_TRUE(Json::array().isArray());
    Json array;
    array.push_back(2);
    array.push_back(Json::object());
    array.push_back(Json::array());
    array.push_back(1);
    EXPECT_TRUE(array.isArray());
    EXPECT_EQ(array.dump(), "[2,{},[],1]");
    Json object;
    object["a"] = std::move(array);
    EXPECT_EQ(object.dump(), R"({"a":[2,{},[],1]})");
}

#include "support/json.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace {

void appendText(std::string& all, const std::string& text) {
    if (!isPlainInJson(text)) {
        all += nlohmann::json(text).dump();
        return;
    }
    all += '"';
    all += text;
    all += '"';
}

std::string quoted(const std::string& text) {
    std::string all;
    appendText(all, text);
    return all;
}

}  // namespace

Json::Json(const std::string& text) : value_(quoted(text)) {}

Json::Json(std::int32_t number) : value_(std::to_string(number)) {}

Json::Json(std::uint32_t number) : value_(std::to_string(number)) {}

Json::Json(std::uint64_t number) : value_(std::to_string(number)) {}

Json::Json(double number) : value_(nlohmann::json(number).dump()) {}

Json Json::object() {
    Json json;
    json.value_ = std::make_unique<Members>();
    return json;
}

Json Json::array() {
    Json json;
    json.value_ = Array();
    return json;
}

bool Json::isArray() const {
    return std::holds_alternative<Array>(value_);
}

Json& Json::operator[](const std::string& key) {
    if (!std::holds_alternative<Object>(value_)) value_ = std::make_unique<Members>();
    return (*std::get<Object>(value_))[key];
}

void Json::push_back(Json value) {
    if (!isArray()) value_ = Array();
    std::get<Array>(value_).push_back(std::move(value));
}

std::string Json::dump() const {
    std::string text;
    appendTo(text);
    return text;
}

// NOLINTNEXTLINE(misc-no-recursion): the library's messages are four levels deep.
void Json::appendTo(std::string& text) const {
    if (const auto* const object = std::get_if<Object>(&value_)) {
        char before = '{';
        for (const auto& [key, value] : **object) {
            text += std::exchange(before, ',');
            appendText(text, key);
            text += ':';
            value.appendTo(text);
        }
        text += before == '{' ? "{}" : "}";
    } else if (const auto* const array = std::get_if<Array>(&value_)) {
        char before = '[';
        for (const Json& value : *array) {
            text += std::exchange(before, ',');
            value.appendTo(text);
        }
        text += before == '[' ? "[]" : "]";
    } else {
        text += std::get<std::string>(value_);
    }
}

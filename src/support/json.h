// JSON values, as far as the library writes them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

// Whether the JSON library would only put quotation marks around the text, of whatever units. Asking comes
// first where texts are many: a scene may have a million names.
template <class Text>
bool isPlainInJson(const Text& text) {
    return std::all_of(text.begin(), text.end(), [](auto unit) {
        return unit >= ' ' && unit < 0x7F && unit != '"' && unit != '\\';
    });
}

// The JSON library writes the texts and the numbers, but what they are put together to is kept here: its
// own objects and arrays take memory when they are destroyed, and where there is none the process ends.
// Values are moved and never copied.
class Json {
  public:
    // Null, which becomes an object or an array when something is put into it.
    Json() = default;
    // The text is UTF-8.
    Json(const std::string& text);
    Json(std::int32_t number);
    Json(std::uint32_t number);
    Json(std::uint64_t number);
    // Null for what is no finite number.
    Json(double number);

    static Json object();
    static Json array();

    bool isArray() const;

    // The value under the key, a null one if there was none. For null and objects only.
    Json& operator[](const std::string& key);
    // For null and arrays only.
    void push_back(Json value);

    // Without white space, and keys in the order of their bytes.
    std::string dump() const;

  private:
    // By a pointer: of a map alone a move may throw under MSVC, and a growing vector then copies.
    using Members = std::map<std::string, Json>;
    using Object = std::unique_ptr<Members>;
    using Array = std::vector<Json>;

    void appendTo(std::string& text) const;

    // A value with nothing in it is kept as its text.
    std::variant<std::string, Object, Array> value_ = "null";
};

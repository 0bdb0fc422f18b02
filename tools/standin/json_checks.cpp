#include "standin/json_checks.h"

#include <nlohmann/json.hpp>
#include <span>
#include <string_view>

#include "common/json_depth.h"
#include "common/text_output.h"
#include "standin/protocol_error.h"

namespace q7standin {

using nlohmann::json;
using q7tools::counted;

namespace {

// No message nests deeper than 6, and what goes through values is recursive.
constexpr std::size_t mostLevels = 64;

enum class Kind { Text, Number, UnsignedNumber, List };

struct Member {
    std::string_view key;
    Kind kind;
    bool isRequired;
};

constexpr Member headerMembers[] = {{"dccPluginInfo", Kind::Text, true},
                                    {"materialVersion", Kind::UnsignedNumber, true},
                                    {"textureFolder", Kind::Text, true},
                                    {"triangleCount", Kind::UnsignedNumber, true}};
constexpr Member sceneMembers[] = {{"model_file_path", Kind::Text, true},
                                   {"scenes", Kind::List, false}};
constexpr Member lightMembers[] = {{"groups", Kind::List, false},
                                   {"lights", Kind::List, false},
                                   {"model_file_path", Kind::Text, true}};
constexpr Member animationMembers[] = {{"CameraAnimations", Kind::List, true}};
constexpr Member pointMembers[] = {{"LT", Kind::Number, true},
                                   {"LV", Kind::Number, true},
                                   {"RT", Kind::Number, true},
                                   {"RV", Kind::Number, true},
                                   {"V", Kind::Number, true}};
constexpr Member pathMembers[] = {{"instance_paths", Kind::List, true}};

std::string nameOf(Kind kind) {
    switch (kind) {
        case Kind::Text:
            return "a string";
        case Kind::Number:
            return "a number";
        case Kind::UnsignedNumber:
            return "an unsigned number";
        case Kind::List:
            break;
    }
    return "an array";
}

bool isOf(const json& value, Kind kind) {
    switch (kind) {
        case Kind::Text:
            return value.is_string();
        case Kind::Number:
            // The text of a number that is not finite.
            return value.is_number() || value.is_null();
        case Kind::UnsignedNumber:
            return value.is_number_unsigned();
        case Kind::List:
            break;
    }
    return value.is_array();
}

// A fault tells the names of all that is around it: long ones would make a small text a large report.
std::string excerpt(std::string_view text) {
    constexpr std::size_t longest = 200;
    if (text.size() <= longest) return q7tools::printable(text);
    return q7tools::printable(text.substr(0, longest)) + "...";
}

std::string quotedText(std::string_view text) {
    return '"' + excerpt(text) + '"';
}

class TooDeep {};

// Discarded when the text is no JSON. Throws TooDeep.
json parsed(const std::string& utf8) {
    if (q7tools::jsonDepth(utf8) > mostLevels) throw TooDeep();
    return json::parse(utf8, nullptr, false);
}

std::string memberName(const std::string& field, const std::string& key) {
    return field.empty() ? quotedText(key) : field + '.' + excerpt(key);
}

std::string elementName(const std::string& field, std::size_t index) {
    return field + '[' + std::to_string(index) + ']';
}

// Goes through a text that is JSON. The parsed value has its keys in order, whatever theirs was, and a
// value that keeps theirs is slow to make where they are many.
class KeyOrder : public nlohmann::json_sax<json> {
  public:
    explicit KeyOrder(JsonFaults& faults) : faults_(faults) {}

    bool null() override { return value(); }
    bool boolean(bool) override { return value(); }
    bool number_integer(number_integer_t) override { return value(); }
    bool number_unsigned(number_unsigned_t) override { return value(); }
    bool number_float(number_float_t, const string_t&) override { return value(); }
    bool string(string_t&) override { return value(); }
    bool binary(binary_t&) override { return value(); }
    bool start_object(std::size_t) override { return enter(true); }
    bool start_array(std::size_t) override { return enter(false); }
    bool end_object() override { return leave(); }
    bool end_array() override { return leave(); }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

    bool key(string_t& text) override {
        Level& level = levels_.back();
        if (text < level.key) {
            faults_.addError(fault(place(), "keys in byte order",
                                   quotedText(text) + " behind " + quotedText(level.key)));
        }
        level.key = std::move(text);
        return true;
    }

  private:
    struct Level {
        bool isObject = false;
        std::string key = {};   // that was last
        std::size_t index = 0;  // of the element that is next
    };

    bool enter(bool isObject) {
        levels_.push_back({isObject});
        return true;
    }

    bool leave() {
        levels_.pop_back();
        return value();
    }

    bool value() {
        if (!levels_.empty()) ++levels_.back().index;
        return true;
    }

    // Of the innermost object.
    std::string place() const {
        std::string name;
        for (std::size_t i = 0; i + 1 < levels_.size(); ++i) {
            const Level& level = levels_[i];
            name = level.isObject ? memberName(name, level.key)
                                  : elementName(name.empty() ? "text" : name, level.index);
        }
        return name.empty() ? "text" : name;
    }

    JsonFaults& faults_;
    std::vector<Level> levels_;
};

// Discarded when the text is no JSON.
json parse(WideView text, JsonFaults& faults) {
    const std::string utf8 = q7tools::allToUtf8(text);
    json value(json::value_t::discarded);
    try {
        value = parsed(utf8);
    } catch (const TooDeep&) {
        faults.addError(fault("text", "at most " + std::to_string(mostLevels) + " levels", "more"));
        return value;
    }
    if (value.is_discarded()) {
        faults.addError(fault("text", "JSON", quotedText(utf8.substr(0, 60))));
    } else if (value.dump() != utf8) {
        const std::uint64_t before = faults.errorCount();
        KeyOrder order(faults);
        json::sax_parse(utf8, &order);
        if (faults.errorCount() == before) {
            faults.remarks.emplace_back("the JSON text is not compact");
        }
    }
    return value;
}

void checkKnown(const json& object, const std::string& field, std::span<const Member> members,
                JsonFaults& faults) {
    for (const auto& item : object.items()) {
        bool isKnown = false;
        for (const Member& member : members)
            isKnown = isKnown || member.key == item.key();
        if (isKnown) continue;
        const std::string start = field.empty() ? "" : field + ": ";
        faults.addError(start + "unknown key " + quotedText(item.key()));
    }
}

void checkMember(const json& object, const std::string& field, const Member& member,
                 JsonFaults& faults) {
    const std::string key(member.key);
    const auto found = object.find(key);
    if (found == object.end()) {
        if (!member.isRequired) return;
        faults.addError(fault(memberName(field, key), nameOf(member.kind), "nothing"));
    } else if (!isOf(*found, member.kind)) {
        faults.addError(fault(memberName(field, key), nameOf(member.kind), found->type_name()));
    }
}

// Whether the value is an object of exactly these members. An empty field is the whole text.
bool checkMembers(const json& value, const std::string& field, std::span<const Member> members,
                  JsonFaults& faults) {
    if (value.is_discarded()) return false;
    if (!value.is_object()) {
        faults.addError(fault(field.empty() ? "text" : field,
                              field.empty() ? "a JSON object" : "an object", value.type_name()));
        return false;
    }
    const std::uint64_t before = faults.errorCount();
    for (const Member& member : members)
        checkMember(value, field, member, faults);
    checkKnown(value, field, members, faults);
    return faults.errorCount() == before;
}

// One number, several of them, or a text. A single number is never in an array.
void checkProperty(const json& value, const std::string& field, JsonFaults& faults) {
    if (value.is_string() || isOf(value, Kind::Number)) return;
    if (!value.is_array()) {
        faults.addError(
            fault(field, "a string, a number or an array of numbers", value.type_name()));
        return;
    }
    if (value.size() < 2) {
        faults.addError(
            fault(field, "an array of two or more", counted(value.size(), "element", "elements")));
    }
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (isOf(value[i], Kind::Number)) continue;
        faults.addError(fault(elementName(field, i), "a number", value[i].type_name()));
    }
}

// The properties of a record, but for a member that is no property.
void checkProperties(const json& record, const std::string& field, std::string_view otherMember,
                     JsonFaults& faults) {
    for (const auto& [key, value] : record.items()) {
        if (key != otherMember) checkProperty(value, memberName(field, key), faults);
    }
}

// A record without properties is null.
void checkEntity(const json& value, const std::string& field, JsonFaults& faults) {
    if (value.is_discarded() || value.is_null()) return;
    if (!value.is_object()) {
        faults.addError(fault(field, "an object or null", value.type_name()));
        return;
    }
    const std::string place = field == "text" ? std::string() : field;
    checkProperties(value, place, {}, faults);
    // Of the camera and the metadata only, where it is no property.
    constexpr Member path{"model_file_path", Kind::Text, false};
    if (place.empty()) checkMember(value, place, path, faults);
}

void checkPoints(const json& points, const std::string& field, JsonFaults& faults) {
    if (!points.is_array() || points.empty()) {
        faults.addError(
            fault(field, "an array of points",
                  points.is_array() ? "an empty one" : std::string(points.type_name())));
        return;
    }
    for (std::size_t i = 0; i < points.size(); ++i)
        checkMembers(points[i], elementName(field, i), pointMembers, faults);
}

void checkFrame(const json& frame, const std::string& field, JsonFaults& faults) {
    if (!frame.is_object()) {
        faults.addError(fault(field, "an object", frame.type_name()));
        return;
    }
    constexpr Member time{"T", Kind::Number, true};
    checkMember(frame, field, time, faults);
    for (const auto& [key, value] : frame.items()) {
        if (key != time.key) checkPoints(value, memberName(field, key), faults);
    }
}

void checkAnimation(const json& animation, const std::string& field, JsonFaults& faults) {
    if (!animation.is_object()) {
        faults.addError(fault(field, "an object", animation.type_name()));
        return;
    }
    constexpr Member frames{"FrameData", Kind::List, true};
    const std::uint64_t before = faults.errorCount();
    checkMember(animation, field, frames, faults);
    const bool hasFrames = faults.errorCount() == before;
    checkProperties(animation, field, frames.key, faults);
    if (!hasFrames) return;
    std::size_t i = 0;
    for (const json& frame : animation[std::string(frames.key)])
        checkFrame(frame, elementName(memberName(field, "FrameData"), i++), faults);
}

void checkEach(const json& value, const std::string& key,
               void (*check)(const json&, const std::string&, JsonFaults&), JsonFaults& faults) {
    if (!value.contains(key)) return;
    std::size_t i = 0;
    for (const json& element : value[key])
        check(element, elementName(key, i++), faults);
}

// Absent when it would be empty.
void checkNotEmpty(const json& value, const std::string& key, JsonFaults& faults) {
    if (!value.contains(key) || !value[key].empty()) return;
    faults.addError(fault(quotedText(key), "no key or some elements", "an empty array"));
}

void checkGroup(const json& group, const std::string& field, JsonFaults& faults) {
    constexpr Member members[] = {{"id", Kind::Text, true}, {"name", Kind::Text, true}};
    checkMembers(group, field, members, faults);
}

void checkScenes(const json& value, JsonFaults& faults) {
    if (!checkMembers(value, {}, sceneMembers, faults)) return;
    checkNotEmpty(value, "scenes", faults);
    checkEach(value, "scenes", checkEntity, faults);
}

void checkLights(const json& value, JsonFaults& faults) {
    if (!checkMembers(value, {}, lightMembers, faults)) return;
    checkNotEmpty(value, "lights", faults);
    checkNotEmpty(value, "groups", faults);
    checkEach(value, "lights", checkEntity, faults);
    checkEach(value, "groups", checkGroup, faults);
}

void checkAnimations(const json& value, JsonFaults& faults) {
    if (!checkMembers(value, {}, animationMembers, faults)) return;
    checkEach(value, "CameraAnimations", checkAnimation, faults);
}

std::string countOf(const json& value, const std::string& key, std::string_view one,
                    std::string_view many) {
    return counted(value.contains(key) ? value[key].size() : 0, one, many) + ", ";
}

// Of a text without faults.
std::string summaryOf(std::uint32_t word, const json& value) {
    switch (word) {
        case 13:
            return countOf(value, "scenes", "scene", "scenes");
        case 14:
            return countOf(value, "lights", "light", "lights") +
                   countOf(value, "groups", "group", "groups");
        case 18: {
            std::size_t frames = 0;
            for (const json& animation : value["CameraAnimations"])
                frames += animation["FrameData"].size();
            return countOf(value, "CameraAnimations", "animation", "animations") +
                   counted(frames, "frame", "frames") + ", ";
        }
        default:
            return counted(value.size(), "property", "properties") + ", ";
    }
}

}  // namespace

void JsonFaults::addError(std::string error) {
    constexpr std::size_t mostKept = 100;
    if (errors.size() < mostKept) {
        errors.push_back(std::move(error));
    } else {
        ++furtherErrors;
    }
}

HeaderFindings checkHeader(WideView text) {
    HeaderFindings findings;
    const json value = parse(text, findings);
    if (checkMembers(value, {}, headerMembers, findings)) {
        findings.triangleCount = value["triangleCount"].get<std::uint64_t>();
    }
    return findings;
}

MessageFindings checkMessage(std::uint32_t word, WideView text) {
    MessageFindings findings;
    const json value = parse(text, findings);
    switch (word) {
        case 13:
            checkScenes(value, findings);
            break;
        case 14:
            checkLights(value, findings);
            break;
        case 18:
            checkAnimations(value, findings);
            break;
        default:
            checkEntity(value, "text", findings);
            break;
    }
    if (findings.isSound()) findings.summary = summaryOf(word, value);
    return findings;
}

std::optional<std::string> modelFilePathOf(const std::string& metadata) {
    try {
        const json value = parsed(metadata);
        if (value.is_null()) return std::string();
        if (!value.is_object()) return std::nullopt;
        const auto path = value.find("model_file_path");
        if (path == value.end()) return std::string();
        return path->is_string() ? std::optional(path->get<std::string>()) : std::nullopt;
    } catch (const TooDeep&) {
        return std::nullopt;
    }
}

JsonFaults checkInstancePaths(WideView text, const std::vector<const WideString*>& materials) {
    JsonFaults faults;
    const json value = parse(text, faults);
    if (!checkMembers(value, {}, pathMembers, faults)) return faults;
    const json& paths = value["instance_paths"];
    if (paths.size() != materials.size()) {
        faults.addError(fault("\"instance_paths\"", counted(materials.size(), "path", "paths"),
                              std::to_string(paths.size())));
        return faults;
    }
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const std::string end = '/' + wideToUtf8(*materials[i]);
        const bool isRight =
            paths[i].is_string() && paths[i].get_ref<const std::string&>().ends_with(end);
        if (!isRight) {
            faults.addError(fault("\"instance_paths\"[" + std::to_string(i) + ']',
                                  "a path that ends with " + quotedText(end),
                                  quotedText(paths[i].dump())));
        }
    }
    return faults;
}

}  // namespace q7standin

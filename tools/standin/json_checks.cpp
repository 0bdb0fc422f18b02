#include "standin/json_checks.h"

#include <nlohmann/json.hpp>
#include <span>
#include <string_view>

#include "common/text_output.h"
#include "standin/protocol_error.h"

namespace q7standin {

using nlohmann::json;
using q7tools::counted;

namespace {

enum class Kind { Text, UnsignedNumber, List };

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
constexpr Member pathMembers[] = {{"instance_paths", Kind::List, true}};

std::string nameOf(Kind kind) {
    switch (kind) {
        case Kind::Text:
            return "a string";
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
        case Kind::UnsignedNumber:
            return value.is_number_unsigned();
        case Kind::List:
            break;
    }
    return value.is_array();
}

std::string quotedText(std::string_view text) {
    return '"' + q7tools::printable(text) + '"';
}

// Discarded when the text is no JSON.
json parse(WideView text, JsonFaults& faults) {
    const std::string utf8 = q7tools::allToUtf8(text);
    json value = json::parse(utf8, nullptr, false);
    if (value.is_discarded()) {
        faults.errors.push_back(fault("text", "JSON", quotedText(utf8.substr(0, 60))));
    } else if (value.dump() != utf8) {
        faults.remarks.emplace_back("the JSON text is not compact with its keys in order");
    }
    return value;
}

void checkKnown(const json& object, std::span<const Member> members, JsonFaults& faults) {
    for (const auto& item : object.items()) {
        bool isKnown = false;
        for (const Member& member : members)
            isKnown = isKnown || member.key == item.key();
        if (!isKnown) faults.errors.push_back("unknown key " + quotedText(item.key()));
    }
}

// Whether the value is an object of exactly these members.
bool checkMembers(const json& value, std::span<const Member> members, JsonFaults& faults) {
    if (value.is_discarded()) return false;
    if (!value.is_object()) {
        faults.errors.push_back(fault("text", "a JSON object", value.type_name()));
        return false;
    }
    const std::size_t before = faults.errors.size();
    for (const Member& member : members) {
        const auto found = value.find(std::string(member.key));
        if (found == value.end()) {
            if (member.isRequired) {
                faults.errors.push_back(
                    fault(quotedText(member.key), nameOf(member.kind), "nothing"));
            }
        } else if (!isOf(*found, member.kind)) {
            faults.errors.push_back(
                fault(quotedText(member.key), nameOf(member.kind), found->type_name()));
        }
    }
    checkKnown(value, members, faults);
    return faults.errors.size() == before;
}

// An entity without properties is null.
void checkEntity(const json& value, const std::string& field, JsonFaults& faults) {
    if (value.is_discarded() || value.is_object() || value.is_null()) return;
    faults.errors.push_back(fault(field, "an object or null", value.type_name()));
}

void checkEntities(const json& value, const std::string& key, JsonFaults& faults) {
    if (!value.contains(key)) return;
    std::size_t i = 0;
    for (const json& entity : value[key])
        checkEntity(entity, key + '[' + std::to_string(i++) + ']', faults);
}

void checkGroups(const json& value, JsonFaults& faults) {
    if (!value.contains("groups")) return;
    constexpr Member members[] = {{"id", Kind::Text, true}, {"name", Kind::Text, true}};
    for (const json& group : value["groups"])
        checkMembers(group, members, faults);
}

}  // namespace

HeaderFindings checkHeader(WideView text) {
    HeaderFindings findings;
    const json value = parse(text, findings);
    if (checkMembers(value, headerMembers, findings)) {
        findings.triangleCount = value["triangleCount"].get<std::uint64_t>();
    }
    return findings;
}

JsonFaults checkMessage(std::uint32_t word, WideView text) {
    JsonFaults faults;
    const json value = parse(text, faults);
    switch (word) {
        case 13:
            if (checkMembers(value, sceneMembers, faults)) checkEntities(value, "scenes", faults);
            break;
        case 14:
            if (checkMembers(value, lightMembers, faults)) {
                checkEntities(value, "lights", faults);
                checkGroups(value, faults);
            }
            break;
        case 18:
            if (checkMembers(value, animationMembers, faults)) {
                checkEntities(value, "CameraAnimations", faults);
            }
            break;
        default:
            checkEntity(value, "text", faults);
            break;
    }
    return faults;
}

JsonFaults checkInstancePaths(WideView text, const std::vector<const WideString*>& materials) {
    JsonFaults faults;
    const json value = parse(text, faults);
    if (!checkMembers(value, pathMembers, faults)) return faults;
    const json& paths = value["instance_paths"];
    if (paths.size() != materials.size()) {
        faults.errors.push_back(fault("\"instance_paths\"",
                                      counted(materials.size(), "path", "paths"),
                                      std::to_string(paths.size())));
        return faults;
    }
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const std::string end = '/' + wideToUtf8(*materials[i]);
        const bool isRight =
            paths[i].is_string() && paths[i].get_ref<const std::string&>().ends_with(end);
        if (!isRight) {
            faults.errors.push_back(fault("\"instance_paths\"[" + std::to_string(i) + ']',
                                          "a path that ends with " + quotedText(end),
                                          quotedText(paths[i].dump())));
        }
    }
    return faults;
}

}  // namespace q7standin

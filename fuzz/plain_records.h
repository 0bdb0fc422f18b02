// Scenes, lights and what else of a session travels as messages, in the plainest form: as the JSON that is
// to arrive. It shares no code with the library.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/plain_model.h"

namespace q7fuzz {

using nlohmann::json;

// JSON knows how to write any text, so it is asked to read it.
inline std::string utf8(const Text& text) {
    return json::parse(u"\"" + text + u"\"").get<std::string>();
}

struct PlainFrame {
    double time;
    std::map<Text, json> curves;
};

struct PlainAnimation {
    json own = json::object();
    std::vector<PlainFrame> frames;
};

class PlainRecords {
  public:
    json camera;
    json metadata;
    std::map<Text, json> lights;
    std::map<Text, json> scenes;
    std::map<Text, Text> groups;
    std::map<Text, PlainAnimation> animations;
    Text modelPath;

    // The record that a property export addresses, or null.
    json* record(std::uint32_t type, const Text& name) {
        const auto in = [&](std::map<Text, json>& all) {
            const auto at = all.find(name);
            return at == all.end() ? nullptr : &at->second;
        };
        if (type == 0) return &camera;
        if (type == 1) return in(lights);
        if (type == 2) return in(scenes);
        if (type == 3) return &metadata;
        const auto at = type == 4 ? animations.find(name) : animations.end();
        return at == animations.end() ? nullptr : &at->second.own;
    }
    void set(std::uint32_t type, const Text& name, const Text& property, const json& value) {
        json* const found = record(type, name);
        if (!found) return;
        if (value.is_null()) {
            drop(*found, property);
        } else {
            (*found)[utf8(property)] = value;
        }
    }
    void drop(std::uint32_t type, const Text& name, const Text& property) {
        json* const found = type == 4 ? nullptr : record(type, name);
        if (found) drop(*found, property);
    }
    void clear(std::uint32_t type, const Text& name) {
        json* const found = type == 4 ? nullptr : record(type, name);
        if (found) *found = nullptr;
    }

    PlainFrame* frame(const Text& animation, std::int32_t index) {
        const auto at = animations.find(animation);
        if (at == animations.end() || index < 0) return nullptr;
        auto& frames = at->second.frames;
        const auto place = static_cast<std::size_t>(index);
        return place < frames.size() ? &frames[place] : nullptr;
    }

    // Arrays of records come in any order: see inOrder.
    json cameraMessage() const { return withPath(camera); }
    json metadataMessage() const { return withPath(metadata); }
    json scenesMessage() const { return collection("scenes", scenes); }
    json lightsMessage() const {
        json message = collection("lights", lights);
        for (const auto& [id, name] : groups)
            message["groups"].push_back({{"id", utf8(id)}, {"name", utf8(name)}});
        return message;
    }
    json animationsMessage() const {
        json all = json::array();
        for (const auto& [name, animation] : animations) {
            json one = animation.own;
            one["FrameData"] = json::array();
            for (const PlainFrame& frame : animation.frames) {
                json written = {{"T", frame.time}};
                for (const auto& [property, points] : frame.curves) {
                    if (!points.empty()) written[utf8(property)] = points;
                }
                one["FrameData"].push_back(written);
            }
            all.push_back(one);
        }
        return {{"CameraAnimations", all}};
    }

    // Frames stay as they are; the arrays that list records get an order.
    static json inOrder(json message) {
        for (const char* const key : {"lights", "scenes", "groups", "CameraAnimations"}) {
            if (message.is_object() && message.contains(key))
                std::sort(message[key].begin(), message[key].end());
        }
        return message;
    }

  private:
    static void drop(json& record, const Text& property) {
        if (record.is_object()) record.erase(utf8(property));
    }
    // A record that has lost its last property is one without any.
    static json written(const json& record) { return record.empty() ? json() : record; }
    json withPath(const json& record) const {
        json message = written(record);
        if (!modelPath.empty()) message["model_file_path"] = utf8(modelPath);
        return message;
    }
    json collection(const char* key, const std::map<Text, json>& records) const {
        json message = {{"model_file_path", utf8(modelPath)}};
        for (const auto& [name, record] : records)
            message[key].push_back(written(record));
        return message;
    }
};

}  // namespace q7fuzz

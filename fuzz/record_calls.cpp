#include "fuzz/record_calls.h"

#include <array>
#include <optional>

namespace q7fuzz {

namespace {

json asJson(const Q7AnimProperty& point) {
    return {{"V", point.V}, {"LT", point.LT}, {"LV", point.LV}, {"RT", point.RT}, {"RV", point.RV}};
}

void compareMessage(StandIn& renderer, const std::string& kind, const json& expected) {
    const json arrived = json::parse(renderer.nextText(kind));
    require(PlainRecords::inOrder(arrived) == PlainRecords::inOrder(expected),
            "message " + kind + ": " + arrived.dump() + " instead of " + expected.dump());
}

}  // namespace

void RecordCalls::paths() {
    const Text main = random_.name();
    const Text relevant = random_.name();
    SetModelFilePath(session_, toHost(main).c_str());
    plain_.modelPath = main;
    if (random_.oneIn(2)) {
        SetRelevantModelFilePath(session_, toHost(relevant).c_str());
        plain_.modelPath = relevant;
    }
}

void RecordCalls::collections() {
    const Text& name = random_.name();
    const HostText host = toHost(name);
    switch (random_.below(9)) {
        case 0:
        case 1:
            Q7AddScene(session_, host.c_str());
            plain_.scenes[name] = nullptr;
            break;
        case 2:
        case 3:
            Q7AddLight(session_, host.c_str());
            plain_.lights[name] = nullptr;
            break;
        case 4:
            Q7DeleteScene(session_, host.c_str());
            plain_.scenes.erase(name);
            break;
        case 5:
            Q7DeleteLight(session_, host.c_str());
            plain_.lights.erase(name);
            break;
        case 6: {
            const Text& shown = random_.name();
            Q7SetPathElementName(session_, host.c_str(), toHost(shown).c_str());
            plain_.groups[name] = shown;
            break;
        }
        case 7:
            Q7DeletePathElementName(session_, host.c_str());
            plain_.groups.erase(name);
            break;
        default:
            addLegacyScene();
    }
    if (!random_.oneIn(60)) return;
    Q7ClearScenes(session_);
    Q7ClearLights(session_);
    Q7ClearPathElementNames(session_);
    plain_.scenes.clear();
    plain_.lights.clear();
    plain_.groups.clear();
}

void RecordCalls::addLegacyScene() {
    const std::array<char, 36> data = {1, 2, 3};
    AddScene(session_, toHost(random_.name()).c_str(), toHost(random_.name()).c_str(), data.data(),
             7);
    ++legacyScenes_;
}

void RecordCalls::values() {
    const Text& name = random_.name();
    const Text& property = random_.name();
    const HostText host = toHost(name);
    const HostText hostProperty = toHost(property);
    const auto type = static_cast<std::uint32_t>(random_.below(6));
    switch (random_.below(6)) {
        case 0: {
            const auto value = static_cast<std::int32_t>(random_.below(5)) - 2;
            Q7SetEntityIntProperty(session_, type, host.c_str(), hostProperty.c_str(), value);
            plain_.set(type, name, property, value);
            break;
        }
        case 1: {
            const float value = random_.number() / 7;
            Q7SetEntityFloatProperty(session_, type, host.c_str(), hostProperty.c_str(), value);
            plain_.set(type, name, property, static_cast<double>(value));
            break;
        }
        case 2: {
            const std::vector<float> all = random_.numbers(random_.below(4));
            Q7SetEntityFloatArrayProperty(session_, type, host.c_str(), hostProperty.c_str(),
                                          all.data(), static_cast<int>(all.size()));
            // None is not written, and one is written as a number.
            plain_.set(type, name, property,
                       all.empty()       ? json()
                       : all.size() == 1 ? json(static_cast<double>(all[0]))
                                         : json(all));
            break;
        }
        case 3: {
            const Text& value = random_.name();
            Q7SetEntityStringProperty(session_, type, host.c_str(), hostProperty.c_str(),
                                      toHost(value).c_str());
            plain_.set(type, name, property, utf8(value));
            break;
        }
        case 4:
            Q7DeleteEntityProperty(session_, type, host.c_str(), hostProperty.c_str());
            plain_.drop(type, name, property);
            break;
        default:
            if (random_.oneIn(2)) return;
            Q7ResetEntityProperty(session_, type, host.c_str());
            plain_.clear(type, name);
    }
}

void RecordCalls::animations() {
    const Text& name = random_.name();
    const HostText host = toHost(name);
    if (random_.oneIn(40)) {
        Q7ClearCameraAnims(session_);
        plain_.animations.clear();
    } else if (random_.oneIn(3)) {
        Q7DeleteCameraAnims(session_, host.c_str());
        plain_.animations.erase(name);
    } else {
        Q7AddCameraAnims(session_, host.c_str());
        plain_.animations[name] = {{{"Name", utf8(name)}}, {}};
    }
}

void RecordCalls::frames() {
    const Text& name = random_.name();
    const HostText host = toHost(name);
    const std::int32_t type = random_.oneIn(8) ? 3 : 4;
    const auto found = type == 4 ? plain_.animations.find(name) : plain_.animations.end();
    const bool known = found != plain_.animations.end();
    const double time = static_cast<double>(random_.below(4)) / 2;
    switch (random_.below(6)) {
        case 0:
        case 1:
        case 2: {
            const std::int32_t index = Q7AddAnimEntityFrame(session_, type, host.c_str(), time);
            if (known) found->second.frames.push_back({time, {}});
            require(
                index == (known ? static_cast<std::int32_t>(found->second.frames.size()) - 1 : -1),
                "index of a new frame");
            break;
        }
        case 3: {
            std::int32_t expected = -1;
            for (std::size_t i = 0; known && expected < 0 && i < found->second.frames.size(); ++i) {
                if (found->second.frames[i].time == time) expected = static_cast<std::int32_t>(i);
            }
            require(Q7FindAnimEntityFrame(session_, type, host.c_str(), time) == expected,
                    "index of a frame by its time");
            break;
        }
        case 4: {
            const std::int32_t frame = anyFrame();
            Q7DeleteAnimEntityFrame(session_, type, host.c_str(), frame);
            if (known && plain_.frame(name, frame))
                found->second.frames.erase(found->second.frames.begin() + frame);
            break;
        }
        default:
            if (!random_.oneIn(10)) return;
            Q7ClearAnimEntityFrames(session_, type, host.c_str());
            if (known) found->second.frames.clear();
    }
}

Q7AnimProperty RecordCalls::point() {
    const auto any = [this] { return static_cast<double>(random_.number()) / 3; };
    const double v = any();
    const double lt = any();
    const double lv = any();
    const double rt = any();
    return {v, lt, lv, rt, any()};
}

void RecordCalls::curves() {
    const Text& name = random_.name();
    const Text& property = random_.name();
    const HostText host = toHost(name);
    const HostText hostProperty = toHost(property);
    const std::int32_t index = anyFrame();
    PlainFrame* const frame = plain_.frame(name, index);
    const auto found = plain_.animations.find(name);
    switch (random_.below(7)) {
        case 0:
        case 1: {
            const Q7AnimProperty value = point();
            Q7SetAnimProperty(session_, 4, host.c_str(), hostProperty.c_str(), index, &value);
            if (frame) frame->curves[property] = json::array({asJson(value)});
            break;
        }
        case 2:
        case 3: {
            std::vector<Q7AnimProperty> values;
            json written = json::array();
            for (std::size_t left = random_.below(4); left > 0; --left) {
                values.push_back(point());
                written.push_back(asJson(values.back()));
            }
            Q7SetAnimArrayProperty(session_, 4, host.c_str(), hostProperty.c_str(), index,
                                   values.data(), static_cast<int>(values.size()));
            if (frame) frame->curves[property] = written;
            break;
        }
        case 4:
            Q7DeleteAnimProperty(session_, 4, host.c_str(), hostProperty.c_str(), index);
            if (frame) frame->curves.erase(property);
            break;
        case 5:
            Q7ResetAnimProperty(session_, 4, host.c_str(), index);
            if (frame) frame->curves.clear();
            break;
        default: {
            const bool all = random_.oneIn(2);
            if (all) {
                Q7ResetAllAnimProperty(session_, 4, host.c_str());
            } else {
                Q7DeleteAllAnimProperty(session_, 4, host.c_str(), hostProperty.c_str());
            }
            if (found == plain_.animations.end()) return;
            for (PlainFrame& each : found->second.frames) {
                if (all) {
                    each.curves.clear();
                } else {
                    each.curves.erase(property);
                }
            }
        }
    }
}

void RecordCalls::sendMessages(StandIn& renderer) {
    Q7SendScenes(session_);
    compareMessage(renderer, "scenes", plain_.scenesMessage());
    Q7SendLights(session_);
    compareMessage(renderer, "lights", plain_.lightsMessage());
    Q7SendCamera(session_);
    compareMessage(renderer, "camera", plain_.cameraMessage());
    Q7SendMetaData(session_);
    compareMessage(renderer, "metadata", plain_.metadataMessage());
    askMetadata();
    Q7SendCameraAnims(session_);
    compareMessage(renderer, "camera-animations", plain_.animationsMessage());
    plain_.animations.clear();
    sendLegacy(renderer);
}

// The renderer answers with what came last, of a model whose path it knows.
void RecordCalls::askMetadata() {
    if (plain_.modelPath.empty()) return;
    HostText answer(Q7GetMetaData(session_, nullptr, 0), 0);
    require(Q7GetMetaData(session_, answer.data(), static_cast<std::uint32_t>(answer.size())) ==
                answer.size(),
            "length of the metadata");
    answer.pop_back();
    require(json::parse(Text(answer.begin(), answer.end())) == plain_.metadataMessage(),
            "the metadata asked for");
}

void RecordCalls::sendLegacy(StandIn& renderer) {
    const std::array<char, 36> transform = {};
    SendCameraTransformFov(session_, transform.data(), 45);
    require(json::parse(renderer.nextText("camera-transform")).is_object(), "camera transform");
    SendLightsDataXml(session_, toHost(u"<a/>").c_str(), toHost(u"<b/>").c_str());
    require(json::parse(renderer.nextText("light-texts")).at("second") == "<b/>", "light texts");
    SendScenes(session_, toHost(u"").c_str());
    SendScenes(session_, toHost(u"text").c_str());
    const json legacy = json::parse(renderer.nextText("scene-list"));
    require(legacy.at("records").size() == legacyScenes_, "legacy scenes: " + legacy.dump());
    legacyScenes_ = 0;
}

}  // namespace q7fuzz

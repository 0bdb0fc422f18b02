#include "messages/scene_messages.h"

#include <nlohmann/json.hpp>

#include "messages/message.h"

namespace {

// Leaves the key out when the store is empty.
void writeEntities(nlohmann::json& object, const char* key, const EntityStore& store) {
    for (const auto& [name, entity] : store)
        object[key].push_back(entity->toJson());
}

nlohmann::json scenesToJson(const SessionCore& core) {
    nlohmann::json object;
    writeEntities(object, "scenes", core.scenes);
    object["model_file_path"] = wideToUtf8(core.modelFilePath);
    return object;
}

nlohmann::json lightsToJson(const SessionCore& core) {
    nlohmann::json object;
    writeEntities(object, "lights", core.lights);
    for (const auto& [id, name] : core.pathElementNames)
        object["groups"].push_back({{"id", wideToUtf8(id)}, {"name", wideToUtf8(name)}});
    object["model_file_path"] = wideToUtf8(core.modelFilePath);
    return object;
}

nlohmann::json cameraAnimationsToJson(const SessionCore& core) {
    nlohmann::json object;
    nlohmann::json& animations = object["CameraAnimations"] = nlohmann::json::array();
    for (const auto& [name, animation] : core.cameraAnims) {
        nlohmann::json value;
        animations.push_back(std::move(animation->toJson(value)));
    }
    return object;
}

}  // namespace

void sendScenes(const SessionCore& core) {
    std::optional<Message> message = Message::open();
    if (!message) return;
    message->sendCommand(CommandWord::Scenes);
    message->sendJson(scenesToJson(core));
}

void sendLights(const SessionCore& core) {
    std::optional<Message> message = Message::open();
    if (!message) return;
    message->sendCommand(CommandWord::Lights);
    message->sendJson(lightsToJson(core));
}

void sendLegacyScenes(SessionCore& core, WideView text) {
    std::optional<Message> message = Message::open();
    if (!message || text.empty()) return;
    message->sendCommand(CommandWord::LegacyScenes);
    message->sendString(text);
    message->sendWord(static_cast<std::uint32_t>(core.legacyScenes.size()));
    for (const LegacyScene& scene : core.legacyScenes) {
        message->sendString(scene.name);
        message->sendString(scene.label);
        message->sendBytes(scene.sceneData.data(), scene.sceneData.size());
        message->sendWord(scene.value);
    }
    core.legacyScenes.clear();
}

void sendLightsDataXml(WideView first, WideView second) {
    std::optional<Message> message = Message::open();
    if (!message) return;
    message->sendCommand(CommandWord::LightsDataXml);
    message->sendString(first);
    message->sendString(second);
}

void sendCameraAnimations(SessionCore& core) {
    std::optional<Message> message = Message::open();
    if (!message) return;
    message->sendCommand(CommandWord::CameraAnimations);
    message->sendJson(cameraAnimationsToJson(core));
    core.cameraAnims.clear();
}

#include "messages/scene_messages.h"

#include "messages/message.h"

namespace {

// Leaves the key out when the store is empty.
void writeEntities(Json& object, const char* key, const EntityStore& store) {
    for (const auto& [name, entity] : store)
        object[key].push_back(entity->toJson());
}

Json scenesToJson(const SessionCore& core) {
    Json object;
    writeEntities(object, "scenes", core.scenes);
    object["model_file_path"] = wideToUtf8(core.modelFilePath);
    return object;
}

Json lightsToJson(const SessionCore& core) {
    Json object;
    writeEntities(object, "lights", core.lights);
    for (const auto& [id, name] : core.pathElementNames) {
        Json group;
        group["id"] = wideToUtf8(id);
        group["name"] = wideToUtf8(name);
        object["groups"].push_back(std::move(group));
    }
    object["model_file_path"] = wideToUtf8(core.modelFilePath);
    return object;
}

Json cameraAnimationsToJson(const SessionCore& core) {
    Json object;
    Json& animations = object["CameraAnimations"] = Json::array();
    for (const auto& [name, animation] : core.cameraAnims) {
        Json value;
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

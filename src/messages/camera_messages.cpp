#include "messages/camera_messages.h"

#include "messages/message.h"

namespace {

void sendEntity(CommandWord word, const Q7Entity& entity) {
    std::optional<Message> message = Message::open();
    if (!message) return;
    message->sendCommand(word);
    message->sendJson(entity.toJson());
}

}  // namespace

void sendCameraTransformFov(const SessionCore& core, const void* transform, float fov) {
    std::optional<Message> message = Message::open();
    if (!message) return;
    message->sendCommand(CommandWord::CameraTransformFov);
    message->sendBytes(transform, cameraTransformSize);
    message->sendBytes(&fov, sizeof fov);
    message->sendString(core.modelFilePath);
}

void sendCamera(const SessionCore& core) {
    sendEntity(CommandWord::Camera, *core.cameraEntity);
}

void sendMetaData(const SessionCore& core) {
    sendEntity(CommandWord::MetaData, *core.metaEntity);
}

std::optional<WideString> askMetaData(const SessionCore& core) {
    std::optional<Message> message = Message::open();
    if (!message) return std::nullopt;
    message->sendCommand(CommandWord::GetMetaData);
    message->sendString(core.modelFilePath);
    return message->receiveString();
}

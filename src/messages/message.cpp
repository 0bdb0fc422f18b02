#include "messages/message.h"

std::optional<Message> Message::open() {
    if (!SendGate(renderSocket())) return std::nullopt;
    return Message();
}

Message::~Message() {
    if (open_) CloseLink(renderSocket());
}

void Message::sendCommand(CommandWord word) {
    sendWord(static_cast<std::uint32_t>(word));
}

void Message::sendWord(std::uint32_t word) {
    SendWord(renderSocket(), word);
}

void Message::sendBytes(const void* data, std::size_t size) {
    SendBytes(renderSocket(), data, size);
}

void Message::sendString(WideView text) {
    SendString(renderSocket(), text);
}

void Message::sendJson(const Json& value) {
    sendString(utf8ToWide(value.dump()));
}

WideString Message::receiveString() {
    return ReceiveString(renderSocket());
}

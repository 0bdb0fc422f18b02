#include "link/render_socket.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "link/link_state.h"

namespace {

// No reply is as large: such a count is a broken peer's, and the memory for it would be the host's.
constexpr std::int32_t largestReply = 64 << 20;

void closeSocketOf(RenderSocket& link) {
    if (link.socket != platform::noSocket) platform::closeSocket(link.socket);
    link.socket = platform::noSocket;
}

void dropBrokenLink(RenderSocket& link) {
    closeSocketOf(link);
    linkState().readPort();
    link.connected = false;
}

SyncResult resultOfReply(std::uint32_t reply) {
    switch (reply) {
        case 0:
            return SyncResult::Accepted;
        case 1:
            return SyncResult::RefusedByReply1;
        case 2:
            return SyncResult::RefusedByReply2;
        case 3:
            return SyncResult::RefusedByReply3;
        default:
            return SyncResult::Failed;
    }
}

}  // namespace

RenderSocket::RenderSocket() {
    platform::startSockets();
}

RenderSocket::~RenderSocket() {
    connected = false;
    // Also when the process ends: what the system closes by itself may reach the renderer as a reset, which
    // can lose what the renderer has not read yet.
    closeSocketOf(*this);
    platform::stopSockets();
}

RenderSocket& renderSocket() {
    static RenderSocket link;
    return link;
}

bool SocketConnect(RenderSocket& link, std::uint16_t port) {
    if (!platform::isAddress(link.address)) return false;
    // A connection that is still held would be lost without being closed.
    closeSocketOf(link);
    link.socket = platform::openSocket();
    if (!platform::connectSocket(link.socket, link.address, port)) {
        dropBrokenLink(link);
        return false;
    }
    link.connected = true;
    platform::setTimeouts(link.socket);
    // Counts are words of their own: without this each of them waits for a delayed acknowledgement.
    platform::sendWithoutDelay(link.socket);
    return true;
}

void CloseLink(RenderSocket& link) {
    link.connected = false;
    closeSocketOf(link);
}

void SendBytes(RenderSocket& link, const void* data, std::size_t size) {
    if (link.socket == platform::noSocket) return;
    if (platform::sendBytes(link.socket, data, size) < 0) {
        dropBrokenLink(link);
    } else {
        link.connected = true;
    }
}

void SendWord(RenderSocket& link, std::uint32_t word) {
    SendBytes(link, &word, sizeof word);
}

void SendString(RenderSocket& link, WideView text) {
    SendWord(link, static_cast<std::uint32_t>(text.size()));
    SendBytes(link, text.data(), text.size() * sizeof(char16_t));
}

void SendStringAndWord(RenderSocket& link, WideView text, std::uint32_t word) {
    std::array<char, 512> piece = {};
    const std::size_t textBytes = text.size() * sizeof(char16_t);
    const auto count = static_cast<std::uint32_t>(text.size());
    if (textBytes > piece.size() - sizeof count - sizeof word) {
        SendString(link, text);
        SendWord(link, word);
        return;
    }
    char* const textPlace = piece.data() + sizeof count;
    std::memcpy(piece.data(), &count, sizeof count);
    std::memcpy(std::copy_n(reinterpret_cast<const char*>(text.data()), textBytes, textPlace),
                &word, sizeof word);
    SendBytes(link, piece.data(), sizeof count + textBytes + sizeof word);
}

bool ReceiveWord(RenderSocket& link, std::uint32_t& word) {
    word = 0;
    return platform::receiveBytes(link.socket, &word, sizeof word) > 0;
}

WideString ReceiveString(RenderSocket& link) {
    std::uint32_t count = 0;
    if (!ReceiveWord(link, count)) return {};
    const auto length = static_cast<std::int32_t>(count);
    if (length <= 0 || length > largestReply) return {};
    // Twice the length is taken from the connection, in room for as much: a peer that sends more
    // than it said does no harm.
    std::vector<char> buffer(2 * static_cast<std::size_t>(length));
    platform::receiveBytes(link.socket, buffer.data(), buffer.size());
    return utf8ToWide(std::string_view(buffer.data(), static_cast<std::size_t>(length)));
}

bool SendGate(RenderSocket& link) {
    LinkState& state = linkState();
    if (!state.readStatus(false)) return false;
    if (state.status == RenderStatus::notAvailable) return false;
    if (link.connected) return false;
    SocketConnect(link, state.port);
    return true;
}

SyncResult SyncRequest(SessionCore& session, std::uint16_t port, CommandWord word) {
    RenderSocket& link = renderSocket();
    if (!SocketConnect(link, port)) {
        session.connected = true;
        return SyncResult::Accepted;
    }
    SendWord(link, static_cast<std::uint32_t>(word));
    SendString(link, session.modelFilePath);
    if (word == CommandWord::RelevantSync) SendString(link, session.proxyParent);
    std::uint32_t reply = 0;
    const SyncResult result = ReceiveWord(link, reply) ? resultOfReply(reply) : SyncResult::Failed;
    if (result == SyncResult::Accepted) {
        session.connected = true;
    } else {
        CloseLink(link);
    }
    return result;
}

#include "standin/socket_channel.h"

#include <algorithm>
#include <utility>

#include "platform/listener.h"

namespace q7standin {

SocketChannel::SocketChannel(platform::SocketHandle socket, std::function<bool()> shouldStop)
    : socket_(socket), shouldStop_(std::move(shouldStop)) {
    platform::sendWithoutDelay(socket_);
}

SocketChannel::~SocketChannel() {
    if (socket_ != platform::noSocket) platform::closeSocket(socket_);
}

std::size_t SocketChannel::receive(std::span<std::byte> into) {
    while (!platform::waitForData(socket_, waitSlice)) {
        if (shouldStop_()) throw Stopped();
    }
    const std::ptrdiff_t size = platform::receiveBytes(socket_, into.data(), into.size());
    if (size < 0) throw ConnectionLost("the connection was reset");
    return static_cast<std::size_t>(size);
}

bool SocketChannel::hasData(int milliseconds) {
    for (int left = milliseconds; left > 0; left -= waitSlice) {
        if (platform::waitForData(socket_, std::min(left, waitSlice))) return true;
        if (shouldStop_()) throw Stopped();
    }
    return false;
}

void SocketChannel::send(std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const std::ptrdiff_t size = platform::sendBytes(socket_, bytes.data(), bytes.size());
        if (size < 0) throw ConnectionLost("the connection was gone when an answer was sent");
        bytes = bytes.subspan(static_cast<std::size_t>(size));
    }
}

void SocketChannel::abort() {
    platform::abortSocket(std::exchange(socket_, platform::noSocket));
}

}  // namespace q7standin

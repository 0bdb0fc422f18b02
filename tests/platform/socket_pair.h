// Both ends of a TCP connection.
#pragma once

#include <cstdint>
#include <string>

#include "platform/listener.h"
#include "platform/socket.h"

// A socket that is closed at the end of its life.
class OwnedSocket {
  public:
    explicit OwnedSocket(platform::SocketHandle handle) : handle_(handle) {}
    ~OwnedSocket() { close(); }
    OwnedSocket(const OwnedSocket&) = delete;
    OwnedSocket& operator=(const OwnedSocket&) = delete;

    platform::SocketHandle get() const { return handle_; }
    platform::SocketHandle release() {
        const platform::SocketHandle handle = handle_;
        handle_ = platform::noSocket;
        return handle;
    }
    void close() {
        if (handle_ != platform::noSocket) platform::closeSocket(release());
    }

  private:
    platform::SocketHandle handle_;
};

inline constexpr char loopbackAddress[] = "127.0.0.1";

// Long enough for any machine: no test waits this long unless it fails.
inline constexpr int patience = 30000;

// A connection of this process with itself.
struct SocketPair {
    OwnedSocket listener{(platform::startSockets(), platform::listenOnLoopback())};
    OwnedSocket client{platform::openSocket()};
    OwnedSocket server{connected()};

  private:
    platform::SocketHandle connected() {
        platform::connectSocket(client.get(), loopbackAddress, platform::portOf(listener.get()));
        return platform::acceptClient(listener.get(), patience);
    }
};

inline std::ptrdiff_t sendText(platform::SocketHandle socket, const std::string& text) {
    return platform::sendBytes(socket, text.data(), text.size());
}

// What one receive gives of at most that many bytes.
inline std::string receiveText(platform::SocketHandle socket, std::size_t limit) {
    std::string text(limit, '\0');
    const std::ptrdiff_t count = platform::receiveBytes(socket, text.data(), limit);
    if (count < 0) return "failed";
    text.resize(static_cast<std::size_t>(count));
    return text;
}

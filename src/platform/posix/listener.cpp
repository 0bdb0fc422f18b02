#include "platform/listener.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;

int descriptorOf(SocketHandle socket) {
    return static_cast<int>(socket);
}

int millisecondsUntil(Clock::time_point end) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left, 0));
}

// Whether a call of accept or recv would not wait any more.
bool waitUntilReadable(SocketHandle socket, int milliseconds) {
    if (socket == noSocket) return false;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    pollfd entry = {descriptorOf(socket), POLLIN, 0};
    int ready = poll(&entry, 1, milliseconds);
    while (ready < 0 && errno == EINTR) {
        ready = poll(&entry, 1, milliseconds < 0 ? -1 : millisecondsUntil(end));
    }
    return ready == 1 && (entry.revents & POLLNVAL) == 0;
}

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

}  // namespace

SocketHandle listenOnLoopback(std::uint16_t port) {
    // Not blocking, for the client that is gone again between the waiting and the accepting.
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_TCP);
    if (listener < 0) return noSocket;
    // Old connections of a listener that is gone would hold its port for minutes.
    const int on = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in address = loopback(port);
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, SOMAXCONN) != 0) {
        close(listener);
        return noSocket;
    }
    return listener;
}

std::uint16_t portOf(SocketHandle listener) {
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    getsockname(descriptorOf(listener), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

SocketHandle acceptClient(SocketHandle listener, int milliseconds) {
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    int left = milliseconds;
    while (waitUntilReadable(listener, left)) {
        const int client = accept4(descriptorOf(listener), nullptr, nullptr, SOCK_CLOEXEC);
        if (client >= 0) return client;
        if (errno != EAGAIN && errno != ECONNABORTED && errno != EINTR) break;
        if (milliseconds >= 0) left = millisecondsUntil(end);
    }
    return noSocket;
}

bool waitForData(SocketHandle socket, int milliseconds) {
    return waitUntilReadable(socket, milliseconds);
}

void abortSocket(SocketHandle socket) {
    const linger atOnce = {1, 0};
    setsockopt(descriptorOf(socket), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    closeSocket(socket);
}

}  // namespace platform

#include "platform/listener.h"

#include <winsock2.h>

namespace platform {
namespace {

SOCKET nativeOf(SocketHandle socket) {
    return static_cast<SOCKET>(socket);
}

// Whether a call of accept or recv would not wait any more.
bool waitUntilReadable(SocketHandle socket, int milliseconds) {
    if (socket == noSocket) return false;
    fd_set sockets = {};
    sockets.fd_count = 1;
    sockets.fd_array[0] = nativeOf(socket);
    timeval limit = {milliseconds / 1000, milliseconds % 1000 * 1000};
    return select(0, &sockets, nullptr, nullptr, milliseconds < 0 ? nullptr : &limit) == 1;
}

}  // namespace

SocketHandle listenOnLoopback(std::uint16_t port) {
    const SOCKET listener = nativeOf(openSocket());
    if (listener == INVALID_SOCKET) return noSocket;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, SOMAXCONN) != 0) {
        closesocket(listener);
        return noSocket;
    }
    return static_cast<SocketHandle>(listener);
}

std::uint16_t portOf(SocketHandle listener) {
    sockaddr_in address = {};
    int size = sizeof address;
    getsockname(nativeOf(listener), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

SocketHandle acceptClient(SocketHandle listener, int milliseconds) {
    if (!waitUntilReadable(listener, milliseconds)) return noSocket;
    const SOCKET client = accept(nativeOf(listener), nullptr, nullptr);
    SetHandleInformation(reinterpret_cast<HANDLE>(client), HANDLE_FLAG_INHERIT, 0);
    return static_cast<SocketHandle>(client);
}

bool waitForData(SocketHandle socket, int milliseconds) {
    return waitUntilReadable(socket, milliseconds);
}

void abortSocket(SocketHandle socket) {
    const linger atOnce = {1, 0};
    setsockopt(nativeOf(socket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&atOnce),
               sizeof atOnce);
    closeSocket(socket);
}

}  // namespace platform

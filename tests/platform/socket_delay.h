// What the system itself says of a socket.
#pragma once

#include "platform/socket.h"

#if defined(_WIN32)
#include <winsock2.h>
#else
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#endif

// Whether small writes go out at once.
inline bool sendsWithoutDelay(platform::SocketHandle socket) {
    int value = 0;
#if defined(_WIN32)
    int size = sizeof value;
    return getsockopt(static_cast<SOCKET>(socket), IPPROTO_TCP, TCP_NODELAY,
                      reinterpret_cast<char*>(&value), &size) == 0 &&
           value != 0;
#else
    socklen_t size = sizeof value;
    return getsockopt(static_cast<int>(socket), IPPROTO_TCP, TCP_NODELAY, &value, &size) == 0 &&
           value != 0;
#endif
}

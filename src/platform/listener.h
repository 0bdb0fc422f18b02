// The accepting side of a TCP connection, for the programs that stand in for the renderer.
#pragma once

#include <cstdint>

#include "platform/socket.h"

namespace platform {

// Listens on 127.0.0.1 at a port that the system chooses, or at the one given; noSocket on failure.
SocketHandle listenOnLoopback(std::uint16_t port = 0);
// The port a listening socket has, in host order.
std::uint16_t portOf(SocketHandle listener);
// Waits until a client connects, at most that long; noSocket when none came or the listener failed.
// A negative wait has no limit.
SocketHandle acceptClient(SocketHandle listener, int milliseconds);
// Whether there is something to receive (data, or the peer's closing) within that time.
bool waitForData(SocketHandle socket, int milliseconds);
// Closes so that the peer sees a reset and not an orderly end.
void abortSocket(SocketHandle socket);

}  // namespace platform

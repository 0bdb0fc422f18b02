// TCP over IPv4, as much of it as the link to the renderer needs. No call raises a signal.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace platform {

// The socket handle of the system; on Windows a pointer-sized unsigned number.
using SocketHandle = std::intptr_t;
inline constexpr SocketHandle noSocket = -1;

// Starts the system's socket library, once for the process, whatever the number of calls. Needed
// before any other call here; does nothing where the system has none to start.
void startSockets();
// Ends it again, if it was started.
void stopSockets();

// Whether the text is an IPv4 address in dotted form.
bool isAddress(const char* address);

// A new TCP socket, or noSocket. As with all sockets here no program that the host starts gets it: such a one
// would keep the connection open, and the peer would never see a message end.
SocketHandle openSocket();
// Blocks until the connection stands (true) or has failed (false). The port is in host order.
bool connectSocket(SocketHandle socket, const char* address, std::uint16_t port);
void closeSocket(SocketHandle socket);

// Sets the receive and the send time-out of the SOL_SOCKET level, in this order, each to the same
// 8-byte option value of two 32-bit words, 0 and 60: no time-out on Windows, where the first word is
// the count of milliseconds. On POSIX the value that means no time-out is set. Results are dropped.
void setTimeouts(SocketHandle socket);
// Sends small writes at once, without waiting for the acknowledgement of those before.
void sendWithoutDelay(SocketHandle socket);

// The number of bytes that were taken, all of them, or given by one call of the system's recv; 0 when
// the peer has closed (receive), negative on failure. An interrupted call is made again.
std::ptrdiff_t sendBytes(SocketHandle socket, const void* data, std::size_t size);
std::ptrdiff_t receiveBytes(SocketHandle socket, void* data, std::size_t size);

// Whether a receive would find something within about this time. It keeps asking instead of sleeping: for
// answers that come sooner than a thread wakes up. True as well on failure, and on POSIX when the peer has
// closed; on Windows that is not seen here.
bool hasDataWithin(SocketHandle socket, std::chrono::microseconds time);

}  // namespace platform

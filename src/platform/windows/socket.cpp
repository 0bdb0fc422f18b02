#include "platform/socket.h"

#include <winsock2.h>
// Need winsock2.h first.
#include <mstcpip.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <mutex>

#include "platform/windows/process_end.h"

namespace platform {
namespace {

static_assert(static_cast<SocketHandle>(INVALID_SOCKET) == noSocket);

std::atomic<bool> started = false;
std::mutex starting;

SOCKET nativeOf(SocketHandle socket) {
    return static_cast<SOCKET>(socket);
}

int inOneCall(std::size_t size) {
    return static_cast<int>(std::min<std::size_t>(size, INT_MAX));
}

void setOption(SocketHandle socket, int level, int option, const void* value, int size) {
    setsockopt(nativeOf(socket), level, option, static_cast<const char*>(value), size);
}

// The system takes a port that nobody listens on for a listener that is busy, and asks two more times: some
// two seconds in which the host waits. Not so under Wine, which knows this setting as little as systems
// before Windows 10 do, so no test shows the difference. Where it is not known, connecting works as before.
void giveUpAtFirstRefusal(SocketHandle socket) {
    TCP_INITIAL_RTO_PARAMETERS once = {TCP_INITIAL_RTO_UNSPECIFIED_RTT,
                                       TCP_INITIAL_RTO_NO_SYN_RETRANSMISSIONS};
    DWORD given = 0;
    WSAIoctl(nativeOf(socket), SIO_TCP_INITIAL_RTO, &once, sizeof once, nullptr, 0, &given, nullptr,
             nullptr);
}

}  // namespace

void startSockets() {
    const std::scoped_lock lock(starting);
    if (started) return;
    WSADATA details = {};
    started = WSAStartup(MAKEWORD(2, 2), &details) == 0;
}

// Takes no lock: it runs while the process ends, when a thread that held the lock may be gone. Nor does it end
// the socket library then, which has locks of its own, and sockets of the host.
void stopSockets() {
    if (started.exchange(false) && !isProcessEnding()) WSACleanup();
}

bool isAddress(const char* address) {
    in_addr parsed = {};
    return inet_pton(AF_INET, address, &parsed) == 1;
}

SocketHandle openSocket() {
    return static_cast<SocketHandle>(WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0,
                                                WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT));
}

bool connectSocket(SocketHandle socket, const char* address, std::uint16_t port) {
    sockaddr_in target = {};
    target.sin_family = AF_INET;
    target.sin_port = htons(port);
    if (inet_pton(AF_INET, address, &target.sin_addr) != 1) return false;
    giveUpAtFirstRefusal(socket);
    return connect(nativeOf(socket), reinterpret_cast<const sockaddr*>(&target), sizeof target) ==
           0;
}

void closeSocket(SocketHandle socket) {
    closesocket(nativeOf(socket));
}

void setTimeouts(SocketHandle socket) {
    const std::array<DWORD, 2> value = {0, 60};
    setOption(socket, SOL_SOCKET, SO_RCVTIMEO, value.data(), sizeof value);
    setOption(socket, SOL_SOCKET, SO_SNDTIMEO, value.data(), sizeof value);
}

void sendWithoutDelay(SocketHandle socket) {
    const BOOL on = TRUE;
    setOption(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

std::ptrdiff_t sendBytes(SocketHandle socket, const void* data, std::size_t size) {
    return send(nativeOf(socket), static_cast<const char*>(data), inOneCall(size), 0);
}

std::ptrdiff_t receiveBytes(SocketHandle socket, void* data, std::size_t size) {
    return recv(nativeOf(socket), static_cast<char*>(data), inOneCall(size), 0);
}

bool hasDataWithin(SocketHandle socket, std::chrono::microseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    do {
        u_long waiting = 0;
        if (ioctlsocket(nativeOf(socket), FIONREAD, &waiting) != 0 || waiting > 0) return true;
    } while (std::chrono::steady_clock::now() < end);
    return false;
}

}  // namespace platform

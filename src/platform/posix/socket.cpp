#include "platform/socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace platform {
namespace {

int descriptorOf(SocketHandle socket) {
    return static_cast<int>(socket);
}

std::size_t inOneCall(std::size_t size) {
    return std::min<std::size_t>(size, INT_MAX);
}

// A connect that a signal interrupts goes on by itself; a second call would not wait for it.
bool finishConnecting(int descriptor) {
    pollfd entry = {descriptor, POLLOUT, 0};
    int ready = 0;
    do {
        ready = poll(&entry, 1, -1);
    } while (ready < 0 && errno == EINTR);
    int error = 0;
    socklen_t size = sizeof error;
    return ready == 1 && getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == 0 &&
           error == 0;
}

}  // namespace

void startSockets() {}

void stopSockets() {}

bool isAddress(const char* address) {
    in_addr parsed = {};
    return inet_pton(AF_INET, address, &parsed) == 1;
}

SocketHandle openSocket() {
    return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
}

bool connectSocket(SocketHandle socket, const char* address, std::uint16_t port) {
    sockaddr_in target = {};
    target.sin_family = AF_INET;
    target.sin_port = htons(port);
    if (inet_pton(AF_INET, address, &target.sin_addr) != 1) return false;
    const int descriptor = descriptorOf(socket);
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&target), sizeof target) == 0) {
        return true;
    }
    return errno == EINTR && finishConnecting(descriptor);
}

void closeSocket(SocketHandle socket) {
    close(descriptorOf(socket));
}

void setTimeouts(SocketHandle socket) {
    const timeval none = {};
    setsockopt(descriptorOf(socket), SOL_SOCKET, SO_RCVTIMEO, &none, sizeof none);
    setsockopt(descriptorOf(socket), SOL_SOCKET, SO_SNDTIMEO, &none, sizeof none);
}

void sendWithoutDelay(SocketHandle socket) {
    const int on = 1;
    setsockopt(descriptorOf(socket), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

std::ptrdiff_t sendBytes(SocketHandle socket, const void* data, std::size_t size) {
    const std::size_t wanted = inOneCall(size);
    std::size_t done = 0;
    // A signal may end a call half-way; on Windows a blocking one takes all.
    do {
        const auto* const rest = static_cast<const char*>(data) + done;
        const std::ptrdiff_t sent = send(descriptorOf(socket), rest, wanted - done, MSG_NOSIGNAL);
        if (sent >= 0) {
            done += static_cast<std::size_t>(sent);
        } else if (errno != EINTR) {
            return sent;
        }
    } while (done < wanted);
    return static_cast<std::ptrdiff_t>(done);
}

std::ptrdiff_t receiveBytes(SocketHandle socket, void* data, std::size_t size) {
    std::ptrdiff_t received = 0;
    do {
        received = recv(descriptorOf(socket), data, inOneCall(size), 0);
    } while (received < 0 && errno == EINTR);
    return received;
}

bool hasDataWithin(SocketHandle socket, std::chrono::microseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    char byte = 0;
    do {
        if (recv(descriptorOf(socket), &byte, 1, MSG_PEEK | MSG_DONTWAIT) >= 0 ||
            (errno != EAGAIN && errno != EINTR)) {
            return true;
        }
    } while (std::chrono::steady_clock::now() < end);
    return false;
}

}  // namespace platform

#include "platform/socket.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "tests/platform/child_program.h"
#include "tests/platform/inheritance.h"
#include "tests/platform/socket_pair.h"
#include "tests/temporary_folder.h"

#if defined(_WIN32)
#include <winsock2.h>
#else
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>

#include "tests/platform/interrupted.h"
#endif

using platform::noSocket;
using platform::SocketHandle;

namespace {

#if defined(_WIN32)
using Native = SOCKET;
using OptionSize = int;
using Timeout = DWORD;
constexpr Timeout someTime = 5000;
long long asNumber(Timeout value) {
    return value;
}
#else
using Native = int;
using OptionSize = socklen_t;
using Timeout = timeval;
constexpr Timeout someTime = {5, 0};
long long asNumber(const Timeout& value) {
    return value.tv_sec * 1000000LL + value.tv_usec;
}
#endif

template <typename Value>
Value optionOf(SocketHandle socket, int level, int option) {
    Value value = {};
    OptionSize size = sizeof value;
    EXPECT_EQ(getsockopt(static_cast<Native>(socket), level, option,
                         reinterpret_cast<char*>(&value), &size),
              0);
    return value;
}

void setTimeout(SocketHandle socket, int option) {
    EXPECT_EQ(setsockopt(static_cast<Native>(socket), SOL_SOCKET, option,
                         reinterpret_cast<const char*>(&someTime), sizeof someTime),
              0);
    EXPECT_NE(asNumber(optionOf<Timeout>(socket, SOL_SOCKET, option)), 0);
}

}  // namespace

TEST(Socket, StartingTwiceAndFromManyThreadsIsStartingOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back(platform::startSockets);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_NE(OwnedSocket(platform::openSocket()).get(), noSocket);
    platform::stopSockets();
#if defined(_WIN32)
    EXPECT_EQ(platform::openSocket(), noSocket);
#endif
    platform::stopSockets();
    platform::startSockets();
    EXPECT_NE(OwnedSocket(platform::openSocket()).get(), noSocket);
}

#if defined(_WIN32)
TEST(Socket, StoppingEndsNobodyElsesUse) {
    WSADATA details = {};
    ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &details), 0);
    platform::startSockets();
    platform::stopSockets();
    platform::stopSockets();
    EXPECT_NE(OwnedSocket(platform::openSocket()).get(), noSocket);
    WSACleanup();
}
#endif

TEST(Socket, KnowsAddresses) {
    platform::startSockets();
    for (const char* const address : {"127.0.0.1", "0.0.0.0", "255.255.255.255"}) {
        EXPECT_TRUE(platform::isAddress(address)) << address;
    }
    for (const char* const text :
         {"", "localhost", "127.0.0", "127.0.0.256", "127.0.0.1 ", "::1"}) {
        EXPECT_FALSE(platform::isAddress(text)) << text;
    }
}

TEST(Socket, ConnectsToAListenerOnly) {
    platform::startSockets();
    OwnedSocket listener(platform::listenOnLoopback());
    const std::uint16_t port = platform::portOf(listener.get());
    const OwnedSocket first(platform::openSocket());
    EXPECT_FALSE(platform::connectSocket(first.get(), "localhost", port));
    EXPECT_TRUE(platform::connectSocket(first.get(), loopbackAddress, port));
    listener.close();
    const OwnedSocket second(platform::openSocket());
    EXPECT_FALSE(platform::connectSocket(second.get(), loopbackAddress, port));
}

TEST(Socket, CarriesBytesBothWays) {
    const SocketPair pair;
    ASSERT_NE(pair.server.get(), noSocket);
    EXPECT_EQ(sendText(pair.client.get(), "to server"), 9);
    EXPECT_EQ(receiveText(pair.server.get(), 100), "to server");
    EXPECT_EQ(sendText(pair.server.get(), "to client"), 9);
    EXPECT_EQ(receiveText(pair.client.get(), 3), "to ");
    EXPECT_EQ(receiveText(pair.client.get(), 6), "client");
}

TEST(Socket, ReceivesNothingAfterThePeerHasClosed) {
    SocketPair pair;
    sendText(pair.server.get(), "last");
    pair.server.close();
    EXPECT_EQ(receiveText(pair.client.get(), 10), "last");
    char byte = 0;
    EXPECT_EQ(platform::receiveBytes(pair.client.get(), &byte, 1), 0);
}

TEST(Socket, FailsAfterAReset) {
    SocketPair pair;
    platform::abortSocket(pair.server.release());
    ASSERT_TRUE(platform::waitForData(pair.client.get(), patience));
    char byte = 0;
    // Wine shows a reset like an orderly end here; a send tells them apart on any system.
    EXPECT_LE(platform::receiveBytes(pair.client.get(), &byte, 1), 0);
    // Would end the process where a broken connection raises a signal.
    EXPECT_LT(sendText(pair.client.get(), "lost"), 0);
    EXPECT_LT(sendText(pair.client.get(), "lost"), 0);
}

TEST(Socket, TellsWhetherDataIsThereSoon) {
    SocketPair pair;
    using std::chrono::microseconds;
    EXPECT_FALSE(platform::hasDataWithin(pair.client.get(), microseconds(100)));
    EXPECT_FALSE(platform::hasDataWithin(pair.client.get(), microseconds(0)));
    sendText(pair.server.get(), "ab");
    EXPECT_TRUE(platform::hasDataWithin(pair.client.get(), std::chrono::minutes(1)));
    EXPECT_EQ(receiveText(pair.client.get(), 1), "a");
    EXPECT_TRUE(platform::hasDataWithin(pair.client.get(), std::chrono::minutes(1)));
    EXPECT_EQ(receiveText(pair.client.get(), 1), "b");
    EXPECT_FALSE(platform::hasDataWithin(pair.client.get(), microseconds(100)));
#if !defined(_WIN32)
    pair.server.close();
    EXPECT_TRUE(platform::hasDataWithin(pair.client.get(), std::chrono::minutes(1)));
#endif
    EXPECT_TRUE(platform::hasDataWithin(noSocket, std::chrono::minutes(1)));
}

TEST(Socket, NoSocketFails) {
    platform::startSockets();
    char byte = 0;
    EXPECT_FALSE(platform::connectSocket(noSocket, loopbackAddress, 1));
    EXPECT_LT(platform::receiveBytes(noSocket, &byte, 1), 0);
    EXPECT_LT(platform::sendBytes(noSocket, &byte, 1), 0);
    platform::setTimeouts(noSocket);
    platform::sendWithoutDelay(noSocket);
    platform::closeSocket(noSocket);
}

TEST(Socket, TimeoutsAreNone) {
    const SocketPair pair;
    const SocketHandle socket = pair.client.get();
    setTimeout(socket, SO_RCVTIMEO);
    setTimeout(socket, SO_SNDTIMEO);
    platform::setTimeouts(socket);
    EXPECT_EQ(asNumber(optionOf<Timeout>(socket, SOL_SOCKET, SO_RCVTIMEO)), 0);
    EXPECT_EQ(asNumber(optionOf<Timeout>(socket, SOL_SOCKET, SO_SNDTIMEO)), 0);
}

TEST(Socket, SendsWithoutDelayWhenAskedTo) {
    const SocketPair pair;
    EXPECT_EQ(optionOf<int>(pair.client.get(), IPPROTO_TCP, TCP_NODELAY) & 0xFF, 0);
    platform::sendWithoutDelay(pair.client.get());
    EXPECT_NE(optionOf<int>(pair.client.get(), IPPROTO_TCP, TCP_NODELAY) & 0xFF, 0);
}

TEST(Socket, IsNotInherited) {
    const SocketPair pair;
    for (const OwnedSocket* const socket : {&pair.listener, &pair.client, &pair.server})
        EXPECT_FALSE(isInherited(socket->get()));
}

TEST(Socket, EndsTheConnectionWhateverProgramsTheHostHasStarted) {
    SocketPair pair;
    const TemporaryFolder folder;
    std::ofstream(folder / "lives") << "x";
    ChildProgram child(Q7_SLEEPER, {"lives"}, folder.path());
    pair.client.close();
    EXPECT_TRUE(platform::waitForData(pair.server.get(), patience));
    EXPECT_FALSE(child.hasEnded());
    std::filesystem::remove(folder / "lives");
    EXPECT_EQ(child.exitCode(), 0);
}

#if !defined(_WIN32)

// Not on Windows: there the buffer would have to be as large as the limit.
TEST(Socket, ALimitBeyondTheSystemsIsNotCutToItsLowWord) {
    const SocketPair pair;
    sendText(pair.server.get(), "abc");
    // Not on the stack: beyond its end are too few addresses for the limit.
    static char buffer[16] = {};
    constexpr std::size_t limit = std::size_t{1} << 32;
    EXPECT_EQ(platform::receiveBytes(pair.client.get(), buffer, limit), 3);
    EXPECT_STREQ(buffer, "abc");
}

TEST(Socket, SignalsDoNotEndAReceive) {
    const SocketPair pair;
    const std::string received =
        callInterrupted([&pair] { return receiveText(pair.client.get(), 10); },
                        [&pair] { sendText(pair.server.get(), "late"); });
    EXPECT_EQ(received, "late");
}

TEST(Socket, SignalsDoNotFailASend) {
    const SocketPair pair;
    // More than the system takes before the other side reads.
    const std::string text(std::size_t{32} << 20, 'x');
    std::size_t read = 0;
    const auto sent = callInterrupted(
        [&] {
            std::size_t done = 0;
            while (done < text.size()) {
                const auto count =
                    platform::sendBytes(pair.client.get(), text.data() + done, text.size() - done);
                if (count <= 0) break;
                done += static_cast<std::size_t>(count);
            }
            shutdown(static_cast<int>(pair.client.get()), SHUT_WR);
            return done;
        },
        [&] {
            for (std::string part = receiveText(pair.server.get(), 1 << 20); !part.empty();
                 part = receiveText(pair.server.get(), 1 << 20)) {
                read += part.size();
            }
        });
    EXPECT_EQ(sent, text.size());
    EXPECT_EQ(read, text.size());
}

TEST(Socket, SignalsDoNotFailAConnect) {
    // The listener takes one connection; the next is not answered until that one is accepted.
    const OwnedSocket listener(platform::listenOnLoopback());
    ASSERT_EQ(listen(static_cast<int>(listener.get()), 0), 0);
    const std::uint16_t port = platform::portOf(listener.get());
    const OwnedSocket first(platform::openSocket());
    ASSERT_TRUE(platform::connectSocket(first.get(), loopbackAddress, port));
    const OwnedSocket second(platform::openSocket());
    const bool connected = callInterrupted(
        [&] { return platform::connectSocket(second.get(), loopbackAddress, port); },
        [&] { OwnedSocket(platform::acceptClient(listener.get(), patience)).close(); });
    EXPECT_TRUE(connected);
    const OwnedSocket accepted(platform::acceptClient(listener.get(), patience));
    EXPECT_EQ(sendText(second.get(), "x"), 1);
    EXPECT_EQ(receiveText(accepted.get(), 1), "x");
}

TEST(Socket, SignalsDoNotTurnAFailedConnectIntoASuccess) {
    OwnedSocket listener(platform::listenOnLoopback());
    ASSERT_EQ(listen(static_cast<int>(listener.get()), 0), 0);
    const std::uint16_t port = platform::portOf(listener.get());
    const OwnedSocket first(platform::openSocket());
    ASSERT_TRUE(platform::connectSocket(first.get(), loopbackAddress, port));
    const OwnedSocket second(platform::openSocket());
    EXPECT_FALSE(callInterrupted(
        [&] { return platform::connectSocket(second.get(), loopbackAddress, port); },
        [&] { listener.close(); }));
}

#endif

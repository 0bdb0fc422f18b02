#include "platform/listener.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/platform/socket_pair.h"

#if defined(_WIN32)
#include <winsock2.h>
#else
#include <netinet/in.h>
#include <sys/socket.h>

#include "tests/platform/interrupted.h"
#endif

using platform::noSocket;

namespace {

bool connects(const OwnedSocket& client, std::uint16_t port) {
    return platform::connectSocket(client.get(), loopbackAddress, port);
}

}  // namespace

TEST(Listener, TakesAPortOfTheSystemsChoice) {
    platform::startSockets();
    const OwnedSocket first(platform::listenOnLoopback());
    const OwnedSocket second(platform::listenOnLoopback());
    EXPECT_NE(platform::portOf(first.get()), 0);
    EXPECT_NE(platform::portOf(second.get()), 0);
    EXPECT_NE(platform::portOf(first.get()), platform::portOf(second.get()));
}

TEST(Listener, TakesThePortGivenUnlessItIsTaken) {
    platform::startSockets();
    OwnedSocket first(platform::listenOnLoopback());
    const std::uint16_t port = platform::portOf(first.get());
    EXPECT_EQ(OwnedSocket(platform::listenOnLoopback(port)).get(), noSocket);
    first.close();
    const OwnedSocket second(platform::listenOnLoopback(port));
    ASSERT_NE(second.get(), noSocket);
    EXPECT_EQ(platform::portOf(second.get()), port);
    const OwnedSocket client(platform::openSocket());
    EXPECT_TRUE(connects(client, port));
}

TEST(Listener, IsReachedFromThisMachineOnly) {
    platform::startSockets();
    const OwnedSocket listener(platform::listenOnLoopback());
    sockaddr_in address = {};
#if defined(_WIN32)
    int size = sizeof address;
    const auto handle = static_cast<SOCKET>(listener.get());
#else
    socklen_t size = sizeof address;
    const auto handle = static_cast<int>(listener.get());
#endif
    ASSERT_EQ(getsockname(handle, reinterpret_cast<sockaddr*>(&address), &size), 0);
    EXPECT_EQ(address.sin_addr.s_addr, htonl(INADDR_LOOPBACK));
}

TEST(Listener, HasNoPortWithoutASocket) {
    platform::startSockets();
    EXPECT_EQ(platform::portOf(noSocket), 0);
}

TEST(Listener, AcceptsEachClientOnce) {
    platform::startSockets();
    const OwnedSocket listener(platform::listenOnLoopback());
    const OwnedSocket first(platform::openSocket());
    const OwnedSocket second(platform::openSocket());
    ASSERT_TRUE(connects(first, platform::portOf(listener.get())));
    ASSERT_TRUE(connects(second, platform::portOf(listener.get())));
    const OwnedSocket one(platform::acceptClient(listener.get(), patience));
    const OwnedSocket two(platform::acceptClient(listener.get(), -1));
    ASSERT_NE(one.get(), noSocket);
    ASSERT_NE(two.get(), noSocket);
    sendText(first.get(), "first");
    sendText(second.get(), "second");
    EXPECT_EQ(receiveText(one.get(), 10), "first");
    EXPECT_EQ(receiveText(two.get(), 10), "second");
    EXPECT_EQ(platform::acceptClient(listener.get(), 0), noSocket);
}

TEST(Listener, GivesNoClientWhenNoneComes) {
    platform::startSockets();
    const OwnedSocket listener(platform::listenOnLoopback());
    EXPECT_EQ(platform::acceptClient(listener.get(), 0), noSocket);
    EXPECT_EQ(platform::acceptClient(listener.get(), 20), noSocket);
}

TEST(Listener, GivesNoClientWithoutAListener) {
    platform::startSockets();
    const OwnedSocket idle(platform::openSocket());
    EXPECT_EQ(platform::acceptClient(noSocket, -1), noSocket);
    EXPECT_EQ(platform::acceptClient(idle.get(), 0), noSocket);
}

TEST(Listener, WaitsForAClient) {
    platform::startSockets();
    const OwnedSocket listener(platform::listenOnLoopback());
    const OwnedSocket client(platform::openSocket());
    const std::uint16_t port = platform::portOf(listener.get());
    std::thread late([&client, port] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        connects(client, port);
    });
    const OwnedSocket server(platform::acceptClient(listener.get(), -1));
    late.join();
    EXPECT_NE(server.get(), noSocket);
}

TEST(WaitForData, TellsDataFromNone) {
    const SocketPair pair;
    EXPECT_FALSE(platform::waitForData(pair.client.get(), 0));
    EXPECT_FALSE(platform::waitForData(pair.client.get(), 20));
    sendText(pair.server.get(), "x");
    EXPECT_TRUE(platform::waitForData(pair.client.get(), patience));
    EXPECT_EQ(receiveText(pair.client.get(), 10), "x");
    EXPECT_FALSE(platform::waitForData(pair.client.get(), 0));
    EXPECT_FALSE(platform::waitForData(noSocket, 0));
    EXPECT_FALSE(platform::waitForData(noSocket, -1));
}

TEST(WaitForData, SeesThePeerClose) {
    SocketPair pair;
    pair.server.close();
    EXPECT_TRUE(platform::waitForData(pair.client.get(), patience));
    EXPECT_EQ(receiveText(pair.client.get(), 10), "");
}

TEST(WaitForData, WaitsWithoutLimitWhenAskedTo) {
    const SocketPair pair;
    std::thread late([&pair] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        sendText(pair.server.get(), "x");
    });
    EXPECT_TRUE(platform::waitForData(pair.client.get(), -1));
    late.join();
}

TEST(AbortSocket, ResetsTheConnection) {
    SocketPair pair;
    platform::abortSocket(pair.server.release());
    EXPECT_TRUE(platform::waitForData(pair.client.get(), patience));
    // After an orderly end the first send would still be taken.
    EXPECT_LT(sendText(pair.client.get(), "x"), 0);
}

#if !defined(_WIN32)

TEST(Listener, SignalsDoNotEndTheWait) {
    platform::startSockets();
    const OwnedSocket listener(platform::listenOnLoopback());
    const OwnedSocket client(platform::openSocket());
    for (const int limit : {patience, -1}) {
        const OwnedSocket one(platform::openSocket());
        const auto accepted =
            callInterrupted([&] { return platform::acceptClient(listener.get(), limit); },
                            [&] { connects(one, platform::portOf(listener.get())); });
        EXPECT_NE(OwnedSocket(accepted).get(), noSocket);
    }
}

TEST(Listener, SignalsDoNotMakeTheWaitLonger) {
    platform::startSockets();
    const OwnedSocket listener(platform::listenOnLoopback());
    EXPECT_EQ(callInterrupted([&] { return platform::acceptClient(listener.get(), 10); }, [] {}),
              noSocket);
}

TEST(Listener, ItsPortIsFreeAtOnceAfterConnectionsThatItClosed) {
    std::uint16_t port = 0;
    {
        SocketPair pair;
        port = platform::portOf(pair.listener.get());
        pair.server.close();
        EXPECT_EQ(receiveText(pair.client.get(), 1), "");
    }
    EXPECT_NE(OwnedSocket(platform::listenOnLoopback(port)).get(), noSocket);
}

TEST(Listener, ItsClientsWaitWhenTheyReceive) {
    const SocketPair pair;
    std::thread late([&pair] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        sendText(pair.client.get(), "late");
    });
    EXPECT_EQ(receiveText(pair.server.get(), 10), "late");
    late.join();
}

#endif

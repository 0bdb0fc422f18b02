#include "standin/socket_channel.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <memory>

#include "platform/listener.h"

namespace {

using namespace q7standin;
using platform::noSocket;
using platform::SocketHandle;

// Both ends of a connection.
class Connected : public testing::Test {
  protected:
    Connected() {
        platform::startSockets();
        const SocketHandle listener = platform::listenOnLoopback();
        client = platform::openSocket();
        EXPECT_TRUE(platform::connectSocket(client, "127.0.0.1", platform::portOf(listener)));
        const SocketHandle server = platform::acceptClient(listener, 10000);
        EXPECT_NE(server, noSocket);
        channel = std::make_unique<SocketChannel>(server, [this] { return ++asked > 2; });
        platform::closeSocket(listener);
    }
    ~Connected() override {
        channel.reset();
        closeClient();
    }

    void closeClient() {
        if (client != noSocket) platform::closeSocket(std::exchange(client, noSocket));
    }

    SocketHandle client = noSocket;
    int asked = 0;
    std::unique_ptr<SocketChannel> channel;
    std::array<std::byte, 16> buffer{};
};

TEST_F(Connected, ReceivesUntilTheClientCloses) {
    ASSERT_EQ(platform::sendBytes(client, "abc", 3), 3);
    std::size_t size = 0;
    while (size < 3)
        size += channel->receive(std::span(buffer).subspan(size));
    EXPECT_EQ(std::memcmp(buffer.data(), "abc", 3), 0);
    closeClient();
    EXPECT_TRUE(channel->hasData(10000));
    EXPECT_EQ(channel->receive(buffer), 0U);
}

TEST_F(Connected, Sends) {
    channel->send(std::as_bytes(std::span("xyz", 3)));
    EXPECT_TRUE(platform::waitForData(client, 10000));
    EXPECT_EQ(platform::receiveBytes(client, buffer.data(), buffer.size()), 3);
    EXPECT_EQ(std::memcmp(buffer.data(), "xyz", 3), 0);
}

TEST_F(Connected, ClosesInOrder) {
    channel.reset();
    EXPECT_TRUE(platform::waitForData(client, 10000));
    EXPECT_EQ(platform::receiveBytes(client, buffer.data(), buffer.size()), 0);
}

// Some systems show a reset to a receiver like an orderly end; a send tells them apart on all.

TEST_F(Connected, ResetsOnRequest) {
    channel->abort();
    EXPECT_TRUE(platform::waitForData(client, 10000));
    EXPECT_LE(platform::receiveBytes(client, buffer.data(), buffer.size()), 0);
    EXPECT_LT(platform::sendBytes(client, "x", 1), 0);
}

TEST_F(Connected, AResetOfTheClientIsALostConnection) {
    platform::abortSocket(std::exchange(client, noSocket));
    try {
        EXPECT_EQ(channel->receive(buffer), 0U);
    } catch (const ConnectionLost& lost) {
        EXPECT_STREQ(lost.what(), "the connection was reset");
    }
    EXPECT_THROW(channel->send(buffer), ConnectionLost);
}

TEST_F(Connected, StopsWhenAsked) {
    EXPECT_THROW(channel->receive(buffer), Stopped);
    EXPECT_EQ(asked, 3);
    EXPECT_THROW(channel->hasData(60000), Stopped);
}

TEST_F(Connected, NothingComesInTime) {
    EXPECT_FALSE(channel->hasData(1));
}

}  // namespace

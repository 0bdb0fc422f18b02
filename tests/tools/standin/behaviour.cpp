#include "standin/behaviour.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/tools/standin/scripted_client.h"

namespace {

using namespace q7standin;
using standintest::Bytes;
using standintest::bytesOf;
using standintest::ScriptedClient;

// Counts what it is sent, call by call.
class CountingClient : public ScriptedClient {
  public:
    void send(std::span<const std::byte> bytes) override {
        sizes.push_back(bytes.size());
        ScriptedClient::send(bytes);
    }
    std::vector<std::size_t> sizes;
};

class Answering : public testing::Test {
  protected:
    Behaviour with(const Misbehaviour& misbehaviour) {
        return {misbehaviour, transcript, log, [this](int time) { pauses.push_back(time); },
                [this] { ++deaths; }};
    }

    // Whether what the client does wrong from now on counts.
    bool isBlamed() {
        const std::uint64_t before = log.protocolErrorCount();
        log.protocolError(Place::Connection, 0, "wrong");
        return log.protocolErrorCount() > before;
    }

    std::ostringstream out;
    std::ostringstream said;
    Transcript transcript{&out};
    MessageLog log{said, said, false, [] { return 0.0; }};
    std::vector<int> pauses;
    int deaths = 0;
    CountingClient client;
};

TEST_F(Answering, Well) {
    Behaviour behaviour = with({});
    behaviour.commandArrived(client, 7);
    behaviour.answerWord(client, "reply", 3);
    behaviour.acknowledge(client, "the model");
    EXPECT_EQ(client.answers(), bytesOf(standintest::StreamBuilder().word(3).word(0)));
    EXPECT_EQ(client.sizes, (std::vector<std::size_t>{4, 4}));
    EXPECT_EQ(out.str(),
              "sent: reply, 4 bytes\n"
              "    03 00 00 00                                      ....\n"
              "sent: acknowledgement of the model, 4 bytes\n"
              "    00 00 00 00                                      ....\n");
    EXPECT_EQ(deaths, 0);
    EXPECT_TRUE(isBlamed());
}

TEST_F(Answering, ClosesOnce) {
    Misbehaviour misbehaviour;
    misbehaviour.closeAtAcknowledgement = 2;
    Behaviour behaviour = with(misbehaviour);
    behaviour.acknowledge(client, "a");
    EXPECT_THROW(behaviour.acknowledge(client, "b"), ClosedOnPurpose);
    behaviour.acknowledge(client, "c");
    EXPECT_EQ(client.sizes.size(), 2U);
    EXPECT_FALSE(client.wasAborted());
}

TEST_F(Answering, ClosesWithAReset) {
    Misbehaviour misbehaviour;
    misbehaviour.closeAtWord = 12;
    misbehaviour.withReset = true;
    Behaviour behaviour = with(misbehaviour);
    behaviour.commandArrived(client, 13);
    EXPECT_FALSE(client.wasAborted());
    EXPECT_THROW(behaviour.commandArrived(client, 12), ClosedOnPurpose);
    EXPECT_TRUE(client.wasAborted());
}

TEST_F(Answering, Dies) {
    Misbehaviour misbehaviour;
    misbehaviour.dieAtAcknowledgement = 1;
    misbehaviour.dieAtWord = 3;
    Behaviour behaviour = with(misbehaviour);
    behaviour.commandArrived(client, 7);
    EXPECT_EQ(deaths, 0);
    behaviour.commandArrived(client, 3);
    EXPECT_EQ(deaths, 1);
    behaviour.acknowledge(client, "a");
    behaviour.acknowledge(client, "b");
    EXPECT_EQ(deaths, 2);
}

TEST_F(Answering, InPiecesAndLate) {
    Misbehaviour misbehaviour;
    misbehaviour.inPieces = true;
    misbehaviour.acknowledgementDelay = 70;
    Behaviour behaviour = with(misbehaviour);
    behaviour.commandArrived(client, 7);
    EXPECT_TRUE(isBlamed());
    behaviour.acknowledge(client, "a");
    EXPECT_FALSE(isBlamed());
    EXPECT_EQ(client.sizes, (std::vector<std::size_t>{1, 1, 1, 1}));
    EXPECT_EQ(client.answers(), Bytes(4));
    EXPECT_EQ(pauses, (std::vector<int>{70, 1, 1, 1}));
}

}  // namespace

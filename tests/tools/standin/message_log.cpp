#include "standin/message_log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace {

using namespace q7standin;

class Log : public testing::Test {
  protected:
    MessageLog log(bool quiet) {
        return {out, errors, quiet, [] { return 12.3456; }};
    }

    std::ostringstream out;
    std::ostringstream errors;
};

TEST_F(Log, Messages) {
    MessageLog all = log(false);
    all.message({2, 7, "model \x1b", 1234567, 0.5, "0001-model.q7mesh"});
    all.message({3, std::nullopt, "nothing", 12, 2, ""});
    all.note("status 1");
    EXPECT_EQ(out.str(),
              "   12.346  #2  word 7  model \\u001b  (1.2 MB in 500.0 ms, 2.5 MB/s)  -> "
              "0001-model.q7mesh\n"
              "   12.346  #3  nothing  (12 B in 2.00 s, 6 B/s)\n"
              "   12.346  status 1\n");
    EXPECT_EQ(all.closingLine(3),
              "q7-standin: 3 connections, 2 messages, 1.2 MB, 0 protocol errors\n");
}

TEST_F(Log, QuietTellsFaultsOnly) {
    MessageLog quiet = log(true);
    quiet.message({1, 7, "model", 1, 1, ""});
    quiet.note("status 1");
    quiet.beginConnection(4);
    quiet.protocolError(Place::Connection, 0, "command word: expected 3, got 16");
    quiet.commandArrived(7);
    quiet.protocolError(Place::Connection, 12, "path: wrong");
    quiet.remark(Place::Block, 8, "odd");
    quiet.beginConnection(5);
    quiet.remark(Place::Block, 9, "odd");
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(
        errors.str(),
        "q7-standin: protocol error, connection 4: at byte 0 of the connection: command word: "
        "expected 3, got 16\n"
        "q7-standin: protocol error, connection 4, word 7: at byte 12 of the connection: path: "
        "wrong\n"
        "q7-standin: remark, connection 4, word 7: at byte 8 of the block: odd\n"
        "q7-standin: remark, connection 5: at byte 9 of the block: odd\n");
    EXPECT_EQ(quiet.messageCount(), 1U);
    EXPECT_EQ(quiet.protocolErrorCount(), 2U);
    EXPECT_EQ(quiet.closingLine(1),
              "q7-standin: 1 connection, 1 message, 1 B, 2 protocol errors, 2 remarks\n");
}

TEST_F(Log, FaultsAfterAnswersInPiecesAreNotTheClients) {
    MessageLog all = log(false);
    all.beginConnection(1);
    all.disturbed();
    all.commandArrived(7);
    all.protocolError(Place::Connection, 12, "path: wrong");
    all.furtherProtocolErrors(3);
    all.remark(Place::Block, 8, "odd");
    EXPECT_EQ(all.protocolErrorCount(), 0U);
    EXPECT_EQ(
        errors.str(),
        "q7-standin: fault after an answer in pieces, connection 1, word 7: at byte 12 of the "
        "connection: path: wrong\n"
        "q7-standin: fault after an answer in pieces, connection 1, word 7: at byte 8 of the "
        "block: odd\n");
    EXPECT_EQ(
        all.closingLine(1),
        "q7-standin: 1 connection, 0 messages, 0 B, 0 protocol errors, 5 faults after answers "
        "in pieces\n");
    all.beginConnection(2);
    all.protocolError(Place::Connection, 0, "wrong");
    EXPECT_EQ(all.protocolErrorCount(), 1U);
}

TEST_F(Log, AFloodIsCounted) {
    MessageLog all = log(false);
    all.beginConnection(1);
    for (int i = 0; i < 1000; ++i)
        all.protocolError(Place::Block, 0, "wrong");
    EXPECT_EQ(all.protocolErrorCount(), 1000U);
    const std::string text = errors.str();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 51);
    EXPECT_TRUE(text.ends_with("more of them are only counted\n"));
}

TEST(ReadableSize, Units) {
    EXPECT_EQ(readableSize(0), "0 B");
    EXPECT_EQ(readableSize(999), "999 B");
    EXPECT_EQ(readableSize(1000), "1.0 kB");
    EXPECT_EQ(readableSize(999960), "1.0 MB");
    EXPECT_EQ(readableSize(2.34e9), "2.3 GB");
    EXPECT_EQ(readableSize(4e15), "4000.0 TB");
}

}  // namespace

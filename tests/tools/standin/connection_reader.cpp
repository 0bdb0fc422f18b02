#include "standin/connection_reader.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/tools/standin/scripted_client.h"

namespace {

using namespace q7standin;
using standintest::ScriptedClient;
using standintest::StreamBuilder;

class Reader : public testing::Test {
  protected:
    ConnectionReader over(ScriptedClient& sending) { return {sending, transcript}; }

    ScriptedClient client;
    std::ostringstream out;
    Transcript transcript{&out};
};

TEST_F(Reader, FieldsWhateverThePieces) {
    for (const std::size_t pieceSize : {1, 3, 64}) {
        ScriptedClient sending;
        sending.setPieceSize(pieceSize);
        sending.word(7).text(u"aä").word(0x3F800000).word(0x04030201).text(u"");
        ConnectionReader reader = over(sending);
        EXPECT_EQ(reader.readWord("word"), 7U);
        EXPECT_EQ(reader.readString("text", 2), u"aä");
        EXPECT_EQ(reader.offset(), 12U);
        EXPECT_EQ(reader.readFloat("float"), 1.0F);
        EXPECT_EQ(reader.readBytes("bytes", 2),
                  (std::vector<std::byte>{std::byte{1}, std::byte{2}}));
        EXPECT_FALSE(reader.isAtEnd());
        EXPECT_EQ(reader.readBytes("bytes", 2).back(), std::byte{4});
        EXPECT_EQ(reader.readString("empty", 0), u"");
        EXPECT_TRUE(reader.isAtEnd());
        EXPECT_EQ(reader.offset(), 24U);
    }
}

TEST_F(Reader, AWordOrTheEnd) {
    client.word(5);
    ConnectionReader reader = over(client);
    EXPECT_EQ(reader.readWordOrEnd("word"), 5U);
    EXPECT_EQ(reader.readWordOrEnd("word"), std::nullopt);
    EXPECT_EQ(reader.readWordOrEnd("word"), std::nullopt);
}

TEST_F(Reader, EndInsideAField) {
    client.word(3).send(StreamBuilder().byte(1).byte(2));
    ConnectionReader reader = over(client);
    try {
        reader.readString("name", 10);
        FAIL();
    } catch (const ProtocolError& error) {
        EXPECT_EQ(error.offset(), 6U);
        EXPECT_EQ(error.place(), Place::Connection);
        EXPECT_STREQ(error.what(), "name: expected 4 more bytes, got the end of the connection");
    }
}

TEST_F(Reader, CountAboveTheLimit) {
    client.word(9).word(11);
    ConnectionReader reader = over(client);
    reader.readWord("word");
    try {
        reader.readString("name", 10);
        FAIL();
    } catch (const ProtocolError& error) {
        EXPECT_EQ(error.offset(), 4U);
        EXPECT_STREQ(error.what(), "name: expected a count of at most 10, got 11");
    }
}

// The memory of such a test would not do for what is announced.
TEST_F(Reader, AnAbsurdCountTakesNoMemory) {
    client.word(0xFFFFFFFF).word(0);
    ConnectionReader reader = over(client);
    EXPECT_THROW(reader.readString("name", 0xFFFFFFFF), ProtocolError);
}

TEST_F(Reader, ABrokenConnection) {
    client.send(StreamBuilder().byte(1));
    client.breakAtEnd();
    ConnectionReader reader = over(client);
    EXPECT_FALSE(reader.isAtEnd());
    EXPECT_THROW(reader.readWord("word"), ConnectionLost);

    ScriptedClient gone;
    gone.breakAtEnd();
    ConnectionReader between = over(gone);
    EXPECT_TRUE(between.isAtEnd());
    EXPECT_EQ(between.readWordOrEnd("word"), std::nullopt);
}

TEST_F(Reader, WaitingForData) {
    client.word(1).awaitAnswer().word(2);
    ConnectionReader reader = over(client);
    EXPECT_TRUE(reader.hasData(1000));
    reader.readWord("word");
    EXPECT_FALSE(reader.hasData(1000));
    client.send(std::vector<std::byte>(4));
    EXPECT_TRUE(reader.hasData(1000));
    reader.readWord("word");
    EXPECT_TRUE(reader.isAtEnd());
    EXPECT_TRUE(reader.hasData(1000));
}

TEST_F(Reader, RecordsWhatItRead) {
    client.word(7).text(u"a");
    ConnectionReader reader = over(client);
    reader.readWord("command word");
    reader.readString("path", 1);
    EXPECT_EQ(out.str(),
              "received at 0: command word, 4 bytes\n"
              "    07 00 00 00                                      ....\n"
              "received at 4: path, 6 bytes\n"
              "    01 00 00 00 61 00                                ....a.\n");
}

}  // namespace

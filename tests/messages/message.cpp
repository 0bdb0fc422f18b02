#include "messages/message.h"

#include <gtest/gtest.h>

#include "link/link_state.h"
#include "tests/fake_renderer.h"

namespace {

class OneMessage : public testing::Test {
  protected:
    OneMessage() {
        linkState().port = renderer.port();
        renderer.serve({[this](Peer& peer) { bytes = peer.allBytes(); }});
    }

    FakeRenderer renderer;
    std::string bytes;
};

}  // namespace

TEST_F(OneMessage, IsItsPartsAndClosesAtItsEnd) {
    {
        std::optional<Message> message = Message::open();
        ASSERT_TRUE(message);
        EXPECT_TRUE(renderSocket().connected);
        message->sendCommand(CommandWord::Camera);
        message->sendBytes("abc", 3);
        message->sendWord(0x01020304);
        message->sendString(u"\u4E2D");
        message->sendString(u"");
    }
    renderer.finish();
    EXPECT_FALSE(renderSocket().connected);
    EXPECT_EQ(bytes, std::string("\x0C\0\0\0"
                                 "abc"
                                 "\x04\x03\x02\x01"
                                 "\x01\0\0\0\x2D\x4E"
                                 "\0\0\0\0",
                                 21));
}

TEST_F(OneMessage, ClosesOnlyAtTheEndOfTheOneItWasMovedTo) {
    {
        std::optional<Message> message = Message::open();
        ASSERT_TRUE(message);
        const Message moved = std::move(*message);
        message.reset();
        EXPECT_TRUE(renderSocket().connected);
    }
    renderer.finish();
    EXPECT_FALSE(renderSocket().connected);
}

TEST_F(OneMessage, JsonIsOneLineOfUtf16) {
    Json value;
    value["b"].push_back(1);
    value["b"].push_back(0.5);
    value["a"] = std::string("\u00E9");
    Message::open()->sendJson(value);
    renderer.finish();
    const std::string text = R"({"a":"?","b":[1,0.5]})";
    ASSERT_EQ(bytes.size(), 4 + 2 * text.size());
    EXPECT_EQ(static_cast<std::size_t>(bytes[0]), text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
        EXPECT_EQ(bytes[4 + 2 * i], text[i] == '?' ? '\xE9' : text[i]);
}

TEST(Message, DoesNotOpenWithoutARenderer) {
    EXPECT_FALSE(Message::open());
    EXPECT_FALSE(renderSocket().connected);
}

TEST(Message, DoesNotOpenWhileTheLinkIsInUseAndLeavesIt) {
    const FakeRenderer renderer;
    renderSocket().connected = true;
    EXPECT_FALSE(Message::open());
    EXPECT_TRUE(renderSocket().connected);
    renderSocket().connected = false;
}

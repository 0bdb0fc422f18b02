// What a host's calls send on connections of their own.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

#include "q7plugin.h"
#include "support/text.h"
#include "tests/fake_renderer.h"
#include "tests/host_text.h"

// The parts of a message, taken off one by one.
class MessageBytes {
  public:
    explicit MessageBytes(std::string bytes) : bytes_(std::move(bytes)) {}

    std::string take(std::size_t count) {
        EXPECT_LE(count, bytes_.size());
        const std::string part = bytes_.substr(0, count);
        bytes_.erase(0, count);
        return part;
    }
    std::uint32_t word() { return number<std::uint32_t>(); }
    float real() { return number<float>(); }
    WideString string() {
        const std::size_t units = word();
        const std::string raw = take(2 * units);
        WideString text(raw.size() / 2, u'\0');
        std::memcpy(text.data(), raw.data(), raw.size());
        return text;
    }
    bool atEnd() const { return bytes_.empty(); }

  private:
    template <class Number>
    Number number() {
        Number value = 0;
        const std::string raw = take(sizeof value);
        std::memcpy(&value, raw.data(), raw.size());
        return value;
    }

    std::string bytes_;
};

// A linked renderer whose port the library knows.
class MessageRecorder {
  public:
    MessageRecorder() {
        // A handshake with a renderer that is linked already reads the port and does nothing else.
        EXPECT_EQ(StartLinkQ7Render(Q7T("")), 0U);
    }

    // All bytes that the call sends on the one connection that it makes.
    MessageBytes sentBy(const std::function<void()>& call) {
        std::string bytes;
        renderer.serve({[&bytes](Peer& peer) { bytes = peer.allBytes(); }});
        call();
        renderer.finish();
        return MessageBytes(bytes);
    }

    // The text of a message that is a command word and a text.
    WideString textOf(std::uint32_t command, const std::function<void()>& call) {
        MessageBytes message = sentBy(call);
        EXPECT_EQ(message.word(), command);
        WideString text = message.string();
        EXPECT_TRUE(message.atEnd());
        return text;
    }

    FakeRenderer renderer;
};

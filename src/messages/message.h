// One message to the renderer on a connection of its own.
#pragma once

#include <optional>

#include "link/render_socket.h"
#include "support/json.h"
#include "support/text.h"

// Open from its making to its end. No failure of the link is reported: what cannot be sent goes
// nowhere.
class Message {
  public:
    // None when no message may go now: no renderer has published a state, or a connection for a
    // model is open, which stays as it is.
    static std::optional<Message> open();
    Message(Message&& other) noexcept : open_(other.open_) { other.open_ = false; }
    Message& operator=(Message&&) = delete;
    ~Message();

    void sendCommand(CommandWord word);
    void sendWord(std::uint32_t word);
    void sendBytes(const void* data, std::size_t size);
    void sendString(WideView text);
    // The value's text, with neither white space nor line ends.
    void sendJson(const Json& value);
    // Empty when no answer came.
    WideString receiveString();

  private:
    Message() = default;

    bool open_ = true;
};

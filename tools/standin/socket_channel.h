// The connection over a socket.
#pragma once

#include <functional>

#include "platform/socket.h"
#include "standin/channel.h"

namespace q7standin {

// For how long, in milliseconds, nobody is asked whether to stop.
inline constexpr int waitSlice = 50;

class SocketChannel : public Channel {
  public:
    // Takes the socket over. `shouldStop` is asked at least ten times a second while it waits.
    SocketChannel(platform::SocketHandle socket, std::function<bool()> shouldStop);
    ~SocketChannel() override;

    std::size_t receive(std::span<std::byte> into) override;
    bool hasData(int milliseconds) override;
    void send(std::span<const std::byte> bytes) override;
    void abort() override;

  private:
    platform::SocketHandle socket_;
    std::function<bool()> shouldStop_;
};

}  // namespace q7standin

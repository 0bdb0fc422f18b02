// A client's connection, as the receivers see it. Tests put bytes in memory behind it.
#pragma once

#include <cstddef>
#include <span>
#include <stdexcept>

namespace q7standin {

// The connection broke: reset by the client, or failed otherwise.
class ConnectionLost : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The program has been told to end, or its time is up. No fault of anyone.
class Stopped {};

class Channel {
  public:
    Channel() = default;
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;
    virtual ~Channel() = default;

    // Blocks until there is at least one byte; 0 when the client has closed. Throws ConnectionLost
    // and Stopped.
    virtual std::size_t receive(std::span<std::byte> into) = 0;
    // Whether there is something to receive, or the client's closing, within that time.
    virtual bool hasData(int milliseconds) = 0;
    // Throws ConnectionLost.
    virtual void send(std::span<const std::byte> bytes) = 0;
    // Closes with a reset. Nothing else may be called afterwards.
    virtual void abort() = 0;
};

}  // namespace q7standin

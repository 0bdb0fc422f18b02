// What the program says while it runs.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>

#include "standin/protocol_error.h"

namespace q7standin {

struct Message {
    std::uint64_t connection = 0;
    std::optional<std::uint32_t> word;
    std::string what;
    std::uint64_t bytes = 0;
    double seconds = 0;
    std::string file;  // empty when it was not kept
};

// "12.3 kB", and so on.
std::string readableSize(double bytes);

class MessageLog {
  public:
    // clock: seconds since the program's start
    MessageLog(std::ostream& out, std::ostream& errors, bool quiet, std::function<double()> clock);

    double now() const { return clock_(); }

    // One line each. A quiet log leaves out messages and notes, and shows the rest.
    void message(const Message& message);
    void note(const std::string& text);

    // The connection that faults belong to from now on.
    void beginConnection(std::uint64_t number);
    void commandArrived(std::uint32_t word) { word_ = word; }
    // A breach of the protocol. The rest of a flood of them on one connection is only counted.
    void protocolError(Place place, std::uint64_t offset, const std::string& text);
    // More of the last ones, whose texts nobody has.
    void furtherProtocolErrors(std::uint64_t count);
    // An answer went out in a way that puts clients out of step. What is wrong on this connection from
    // now on is shown, and counts neither as an error of the protocol nor as a remark.
    void disturbed() { isDisturbed_ = true; }
    // Something in what the host handed over that a renderer could stumble over.
    void remark(Place place, std::uint64_t offset, const std::string& text);

    std::uint64_t messageCount() const { return messages_; }
    std::uint64_t protocolErrorCount() const { return protocolErrors_; }
    std::string closingLine(std::uint64_t connections) const;

  private:
    void fault(const std::string& kind, Place place, std::uint64_t offset, const std::string& text);
    void stamp();

    std::ostream& out_;
    std::ostream& errors_;
    bool quiet_;
    std::function<double()> clock_;
    std::uint64_t connection_ = 0;
    std::optional<std::uint32_t> word_;
    std::uint64_t faultsOfConnection_ = 0;
    bool isDisturbed_ = false;
    std::uint64_t messages_ = 0;
    std::uint64_t bytes_ = 0;
    std::uint64_t protocolErrors_ = 0;
    std::uint64_t remarks_ = 0;
    std::uint64_t disturbances_ = 0;
};

}  // namespace q7standin

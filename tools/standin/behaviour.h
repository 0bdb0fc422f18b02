// How the renderer answers, and how it misbehaves when it is told to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "standin/channel.h"
#include "standin/message_log.h"
#include "standin/transcript.h"

namespace q7standin {

// Acknowledgements are counted from 1 over the whole run, so that what happens at one happens once.
struct Misbehaviour {
    std::optional<std::uint64_t> closeAtAcknowledgement;
    std::optional<std::uint64_t> dieAtAcknowledgement;
    std::optional<std::uint32_t> closeAtWord;
    std::optional<std::uint32_t> dieAtWord;
    int acknowledgementDelay = 0;  // milliseconds
    bool inPieces = false;         // each answer byte by byte
    bool withReset = false;        // where it closes, it resets the connection
};

// The connection is to be closed here because the command line says so.
class ClosedOnPurpose {};

class Behaviour {
  public:
    // pause: waits for so many milliseconds
    // die:   ends the process at once; in a test it may return
    Behaviour(const Misbehaviour& misbehaviour, Transcript& transcript, MessageLog& log,
              std::function<void(int)> pause, std::function<void()> die);

    // All throw ClosedOnPurpose when the time for it has come, and what Channel::send throws.
    void commandArrived(Channel& channel, std::uint32_t word);
    void answer(Channel& channel, const std::string& field, std::span<const std::byte> bytes);
    void answerWord(Channel& channel, const std::string& field, std::uint32_t word);
    void acknowledge(Channel& channel, const std::string& what);

  private:
    [[noreturn]] void close(Channel& channel) const;

    Misbehaviour misbehaviour_;
    Transcript& transcript_;
    MessageLog& log_;
    std::function<void(int)> pause_;
    std::function<void()> die_;
    std::uint64_t acknowledgements_ = 0;
};

}  // namespace q7standin

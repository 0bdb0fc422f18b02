#include "standin/behaviour.h"

#include <utility>

namespace q7standin {

Behaviour::Behaviour(const Misbehaviour& misbehaviour, Transcript& transcript, MessageLog& log,
                     std::function<void(int)> pause, std::function<void()> die)
    : misbehaviour_(misbehaviour),
      transcript_(transcript),
      log_(log),
      pause_(std::move(pause)),
      die_(std::move(die)) {}

void Behaviour::commandArrived(Channel& channel, std::uint32_t word) {
    if (misbehaviour_.dieAtWord == word) die_();
    if (misbehaviour_.closeAtWord == word) close(channel);
}

void Behaviour::answer(Channel& channel, const std::string& field,
                       std::span<const std::byte> bytes) {
    transcript_.sent(field, bytes);
    if (!misbehaviour_.inPieces) {
        channel.send(bytes);
        return;
    }
    // Clients take what one read gives them, and go on before the rest is there.
    log_.disturbed();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i > 0) pause_(1);
        channel.send(bytes.subspan(i, 1));
    }
}

void Behaviour::answerWord(Channel& channel, const std::string& field, std::uint32_t word) {
    answer(channel, field, std::as_bytes(std::span(&word, 1)));
}

void Behaviour::acknowledge(Channel& channel, const std::string& what) {
    ++acknowledgements_;
    if (misbehaviour_.dieAtAcknowledgement == acknowledgements_) die_();
    if (misbehaviour_.closeAtAcknowledgement == acknowledgements_) close(channel);
    if (misbehaviour_.acknowledgementDelay > 0) pause_(misbehaviour_.acknowledgementDelay);
    answerWord(channel, "acknowledgement of " + what, 0);
}

void Behaviour::close(Channel& channel) const {
    if (misbehaviour_.withReset) channel.abort();
    throw ClosedOnPurpose();
}

}  // namespace q7standin

// A client in memory: it writes, waits for answers and changes the model block as a real one does.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "standin/channel.h"
#include "standin/model_block.h"
#include "tests/tools/common/stream_builder.h"

namespace standintest {

using streamtest::StreamBuilder;
using Bytes = std::vector<std::byte>;

inline Bytes bytesOf(const StreamBuilder& builder) {
    return {builder.bytes().begin(), builder.bytes().end()};
}

// Gives its bytes in pieces of at most `pieceSize`, to try every split. Both sides waiting for each
// other is a std::logic_error.
class ScriptedClient : public q7standin::Channel {
  public:
    // Building the script, in the order in which the client acts.
    ScriptedClient& send(const StreamBuilder& builder) {
        const Bytes bytes = bytesOf(builder);
        steps_.back().bytes.insert(steps_.back().bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    ScriptedClient& word(std::uint32_t value) { return send(StreamBuilder().word(value)); }
    ScriptedClient& text(std::u16string_view value) { return send(StreamBuilder().text(value)); }
    // Before anything is sent in this step.
    ScriptedClient& fillBlock(const StreamBuilder& builder) {
        steps_.back().block = bytesOf(builder);
        steps_.back().changesBlock = true;
        return *this;
    }
    ScriptedClient& awaitAnswer(std::size_t size = 4) {
        const std::size_t needed = steps_.back().needed + size;
        steps_.push_back({});
        steps_.back().needed = needed;
        return *this;
    }
    // The connection breaks at the script's end instead of closing in order.
    void breakAtEnd() { breaks_ = true; }
    // Only that many of the script's bytes are sent.
    void cutAfter(std::size_t size) { left_ = size; }
    void setPieceSize(std::size_t size) { pieceSize_ = size; }

    std::size_t scriptSize() const {
        std::size_t size = 0;
        for (const Step& step : steps_)
            size += step.bytes.size();
        return size;
    }
    const Bytes& answers() const { return answers_; }
    bool wasAborted() const { return aborted_; }

    q7standin::BlockOpener blockOpener() {
        return [this]() -> std::unique_ptr<q7standin::ModelBlock> {
            ++timesOpened_;
            if (!hasBlock_) return nullptr;
            return std::make_unique<Block>(*this);
        };
    }
    void setBlockMissing() { hasBlock_ = false; }
    int timesBlockOpened() const { return timesOpened_; }
    int openBlocks() const { return openBlocks_; }

    std::size_t receive(std::span<std::byte> into) override {
        if (left_ == 0 || !stepForward()) {
            if (left_ > 0 && step_ + 1 < steps_.size()) {
                throw std::logic_error("both sides wait for each other");
            }
            if (breaks_) throw q7standin::ConnectionLost("the connection was reset");
            return 0;
        }
        const Bytes& bytes = steps_[step_].bytes;
        const std::size_t size = std::min({into.size(), bytes.size() - sent_, pieceSize_, left_});
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(sent_), size, into.begin());
        sent_ += size;
        left_ -= size;
        return size;
    }
    bool hasData(int) override { return left_ == 0 || stepForward() || step_ + 1 == steps_.size(); }
    void send(std::span<const std::byte> bytes) override {
        if (sendFails_) throw q7standin::ConnectionLost("the connection was gone");
        answers_.insert(answers_.end(), bytes.begin(), bytes.end());
    }
    void abort() override { aborted_ = true; }
    void failSending() { sendFails_ = true; }

  private:
    struct Step {
        std::size_t needed = 0;
        bool changesBlock = false;
        Bytes block{};
        Bytes bytes{};
    };

    class Block : public q7standin::ModelBlock {
      public:
        explicit Block(ScriptedClient& client) : client_(client) { ++client_.openBlocks_; }
        ~Block() override { --client_.openBlocks_; }
        std::span<const std::byte> view() const override { return client_.block_; }

      private:
        ScriptedClient& client_;
    };

    // Whether there are bytes to give, now that so many answers have come.
    bool stepForward() {
        enter();
        while (sent_ == steps_[step_].bytes.size() && step_ + 1 < steps_.size() &&
               answers_.size() >= steps_[step_ + 1].needed) {
            ++step_;
            sent_ = 0;
            enter();
        }
        return sent_ < steps_[step_].bytes.size();
    }
    void enter() {
        if (sent_ == 0 && steps_[step_].changesBlock) block_ = steps_[step_].block;
    }

    std::vector<Step> steps_ = std::vector<Step>(1);
    std::size_t step_ = 0;
    std::size_t sent_ = 0;
    std::size_t left_ = static_cast<std::size_t>(-1);
    std::size_t pieceSize_ = static_cast<std::size_t>(-1);
    bool breaks_ = false;
    bool aborted_ = false;
    bool sendFails_ = false;
    bool hasBlock_ = true;
    int timesOpened_ = 0;
    int openBlocks_ = 0;
    Bytes block_;
    Bytes answers_;
};

}  // namespace standintest

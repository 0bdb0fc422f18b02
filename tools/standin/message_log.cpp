#include "standin/message_log.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <utility>

#include "common/text_output.h"

namespace q7standin {

using q7tools::counted;

namespace {

constexpr std::uint64_t shownFaults = 50;

std::string fixed(double value, int digits) {
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                   std::chars_format::fixed, digits)
                         .ptr;
    return {text.data(), end};
}

std::string speed(std::uint64_t bytes, double seconds) {
    std::string text = readableSize(static_cast<double>(bytes)) + " in ";
    text += seconds < 1 ? fixed(seconds * 1000, 1) + " ms" : fixed(seconds, 2) + " s";
    if (seconds > 0) text += ", " + readableSize(static_cast<double>(bytes) / seconds) + "/s";
    return text;
}

}  // namespace

std::string readableSize(double bytes) {
    constexpr std::array<std::string_view, 5> units{"B", "kB", "MB", "GB", "TB"};
    std::size_t unit = 0;
    while (bytes >= 999.95 && unit + 1 < units.size()) {
        bytes /= 1000;
        ++unit;
    }
    return fixed(bytes, unit == 0 ? 0 : 1) + ' ' + std::string(units[unit]);
}

MessageLog::MessageLog(std::ostream& out, std::ostream& errors, bool quiet,
                       std::function<double()> clock)
    : out_(out), errors_(errors), quiet_(quiet), clock_(std::move(clock)) {}

void MessageLog::message(const Message& message) {
    ++messages_;
    bytes_ += message.bytes;
    if (quiet_) return;
    stamp();
    out_ << '#' << message.connection << "  ";
    if (message.word) out_ << "word " << *message.word << "  ";
    out_ << q7tools::printable(message.what) << "  (" << speed(message.bytes, message.seconds)
         << ')';
    if (!message.file.empty()) out_ << "  -> " << q7tools::printable(message.file);
    out_ << '\n' << std::flush;
}

void MessageLog::note(const std::string& text) {
    if (quiet_) return;
    stamp();
    out_ << q7tools::printable(text) << '\n' << std::flush;
}

void MessageLog::beginConnection(std::uint64_t number) {
    connection_ = number;
    word_.reset();
    faultsOfConnection_ = 0;
    isDisturbed_ = false;
}

void MessageLog::protocolError(Place place, std::uint64_t offset, const std::string& text) {
    ++(isDisturbed_ ? disturbances_ : protocolErrors_);
    fault("protocol error", place, offset, text);
}

void MessageLog::furtherProtocolErrors(std::uint64_t count) {
    (isDisturbed_ ? disturbances_ : protocolErrors_) += count;
    faultsOfConnection_ += count;
}

void MessageLog::remark(Place place, std::uint64_t offset, const std::string& text) {
    ++(isDisturbed_ ? disturbances_ : remarks_);
    fault("remark", place, offset, text);
}

std::string MessageLog::closingLine(std::uint64_t connections) const {
    std::string text = "q7-standin: " + counted(connections, "connection", "connections") + ", " +
                       counted(messages_, "message", "messages") + ", " +
                       readableSize(static_cast<double>(bytes_)) + ", " +
                       counted(protocolErrors_, "protocol error", "protocol errors");
    if (remarks_ > 0) text += ", " + counted(remarks_, "remark", "remarks");
    if (disturbances_ > 0) {
        text += ", " + counted(disturbances_, "fault", "faults") + " after answers in pieces";
    }
    return text + '\n';
}

void MessageLog::fault(const std::string& kind, Place place, std::uint64_t offset,
                       const std::string& text) {
    if (++faultsOfConnection_ > shownFaults) return;
    std::string subject = (isDisturbed_ ? "fault after an answer in pieces" : kind) +
                          ", connection " + std::to_string(connection_);
    if (word_) subject += ", word " + std::to_string(*word_);
    const std::string where = "at byte " + std::to_string(offset) + " of the " +
                              (place == Place::Connection ? "connection" : "block");
    errors_ << q7tools::errorLine("q7-standin", subject, where + ": " + text);
    if (faultsOfConnection_ == shownFaults) {
        errors_ << q7tools::errorLine("q7-standin", subject, "more of them are only counted");
    }
    errors_ << std::flush;
}

void MessageLog::stamp() {
    out_ << q7tools::padLeft(fixed(clock_(), 3), 9) << "  ";
}

}  // namespace q7standin

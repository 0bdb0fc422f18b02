// Reads the fields of a connection one after the other, and knows where it stands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "standin/channel.h"
#include "standin/protocol_error.h"
#include "standin/transcript.h"
#include "support/text.h"

namespace q7standin {

// Every operation takes the name of the field, for the transcript and for the ProtocolError that it
// throws when the connection ends before the field does. What Channel::receive throws passes on.
class ConnectionReader {
  public:
    ConnectionReader(Channel& channel, Transcript& transcript);

    // Bytes of the connection that have been read.
    std::uint64_t offset() const { return offset_; }

    std::uint32_t readWord(const std::string& field);
    // Nothing when the client has closed before the word's first byte.
    std::optional<std::uint32_t> readWordOrEnd(const std::string& field);
    float readFloat(const std::string& field);
    std::vector<std::byte> readBytes(const std::string& field, std::size_t size);
    // A count of code units, then the units. A count above the limit is a ProtocolError; memory is
    // taken only for what arrives.
    WideString readString(const std::string& field, std::uint32_t mostUnits);

    // Waits for the next byte or the end. A connection that is lost here counts as ended.
    bool isAtEnd();
    bool hasData(int milliseconds);

  private:
    // False at the end of the connection.
    bool fill();
    void append(std::vector<std::byte>& bytes, std::size_t size, const std::string& field);
    std::vector<std::byte> takeField(const std::string& field, std::size_t size);

    Channel& channel_;
    Transcript& transcript_;
    std::vector<std::byte> buffer_;
    std::size_t used_ = 0;
    std::size_t filled_ = 0;
    bool ended_ = false;
    std::uint64_t offset_ = 0;
};

}  // namespace q7standin

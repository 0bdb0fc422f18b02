// The record of a run, byte by byte, in a form that is the same whenever the bytes are.
//
// One paragraph for each field, a line that tells what it is and then its bytes, 16 in a line, in
// hexadecimal and as text:
//
//   connection 1
//   received at 4: model file path, 6 bytes
//       01 00 00 00 61 00                                ....a.
//   block: materials, 46 bytes
//       ...
//   sent: acknowledgement, 4 bytes
//       00 00 00 00                                      ....
//   end of connection 1: closed by the client
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
#include <string_view>

namespace q7standin {

class Transcript {
  public:
    // Null: nothing is recorded.
    explicit Transcript(std::ostream* out) : out_(out) {}

    bool isRecording() const { return out_ != nullptr; }

    void connectionBegins(std::uint64_t number);
    // The offset counts the bytes of the connection that came before.
    void received(std::uint64_t offset, std::string_view field, std::span<const std::byte> bytes);
    void block(std::string_view content, std::span<const std::byte> bytes);
    void sent(std::string_view field, std::span<const std::byte> bytes);
    void connectionEnds(std::uint64_t number, std::string_view how);

  private:
    void paragraph(std::string_view heading, std::string_view field,
                   std::span<const std::byte> bytes);

    std::ostream* out_;
};

}  // namespace q7standin

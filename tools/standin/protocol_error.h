// What a client did wrong.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace q7standin {

// Where an offset counts from.
enum class Place { Connection, Block };

// A fault after which the rest of the connection cannot be understood.
class ProtocolError : public std::runtime_error {
  public:
    ProtocolError(Place place, std::uint64_t offset, const std::string& fault)
        : std::runtime_error(fault), place_(place), offset_(offset) {}

    Place place() const { return place_; }
    std::uint64_t offset() const { return offset_; }

  private:
    Place place_;
    std::uint64_t offset_;
};

// The one form of a fault's text.
inline std::string fault(const std::string& field, const std::string& expected,
                         const std::string& got) {
    return field + ": expected " + expected + ", got " + got;
}

}  // namespace q7standin

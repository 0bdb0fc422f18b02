#include "common/numbers.h"

#include <array>
#include <charconv>

namespace q7tools {

namespace {

template <class... Format>
std::string convert(Format... format) {
    std::array<char, 64> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), format...);
    return {buffer.data(), result.ptr};
}

}  // namespace

std::string shortestNumber(float value) {
    return convert(value);
}

std::string shortestNumber(double value) {
    return convert(value);
}

std::string roundedNumber(double value) {
    return convert(value, std::chars_format::general, 6);
}

}  // namespace q7tools

// Numbers as text, without regard to the locale.
#pragma once

#include <string>

namespace q7tools {

// The fewest digits that read back as the same number.
std::string shortestNumber(float value);
std::string shortestNumber(double value);

// Six significant digits, for people.
std::string roundedNumber(double value);

}  // namespace q7tools

// Text from files, made fit for names and for the material list.
#pragma once

#include <string>
#include <string_view>

#include "support/text.h"

namespace q7send {

// Widens UTF-8, whose faults become U+FFFD. Control characters become blanks and the two code units
// that are no characters U+FFFD: the material list is XML, which knows none of them.
WideString cleanText(std::string_view utf8);

// One line for a message: control characters become blanks, those at the ends go.
std::string singleLine(std::string_view text);

// What Assimp tells of a file that it refuses, as the reason in an error line: never empty.
std::string refusalReason(std::string_view assimpError);

}  // namespace q7send

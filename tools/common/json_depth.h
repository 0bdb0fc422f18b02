// Whether a JSON text may be parsed without fear for the stack.
#pragma once

#include <cstddef>
#include <string_view>

namespace q7tools {

// How deep the objects and arrays of a JSON text nest; 0 for a text without any. Of a text that is
// no JSON, some number. To be asked before a text is parsed: what goes through values afterwards is
// recursive, and a parser that watches the depth while it parses takes a time that grows with
// the square of the text.
std::size_t jsonDepth(std::string_view text);

}  // namespace q7tools

// The few fixed lines that the library prints.
#pragma once

#include <string_view>

// Writes the text and a line end to standard output at once.
void printLine(std::string_view text);

// The same to standard error.
void printErrorLine(std::string_view text);

// Names and messages on their way to a terminal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/text.h"

namespace q7tools {

// Unlike wideToUtf8 it goes on behind a zero, which a damaged file may hold.
std::string allToUtf8(WideView text);

// Control characters, which could play tricks with the reader's terminal, appear as \u001b and so
// on; the text is one line then.
std::string printable(std::string_view utf8);
std::string printable(WideView text);

// Printable and in double quotes.
std::string inQuotes(WideView text);

// The columns that printable text takes: two for East Asian wide characters, none for combining
// marks.
std::size_t displayWidth(std::string_view utf8);

// With blanks behind or before it up to a width in columns.
std::string padRight(std::string_view utf8, std::size_t width);
std::string padLeft(std::string_view utf8, std::size_t width);

// "1 mesh", "2 meshes".
std::string counted(std::uint64_t count, std::string_view one, std::string_view many);

// The one form of an error line: "PROGRAM: SUBJECT: REASON\n". The offset form puts "at byte N: "
// before the reason.
std::string errorLine(std::string_view program, std::string_view subject, std::string_view reason);
std::string atByte(std::uint64_t offset, std::string_view reason);

}  // namespace q7tools

// Text inside the library: UTF-16 everywhere, UTF-8 only at JSON and file boundaries.
#pragma once

#include <string>
#include <string_view>

using WideString = std::u16string;
using WideView = std::u16string_view;

// Converts up to the first zero. An unpaired surrogate becomes U+FFFD, so the result is always
// valid UTF-8.
std::string wideToUtf8(WideView text);

// Converts all of the text, zeros included. Each maximal piece of a sequence that is not valid
// UTF-8 becomes one U+FFFD.
WideString utf8ToWide(std::string_view text);

// A copy of the text with every `from` turned into `to`.
WideString replaceUnit(WideView text, char16_t from, char16_t to);

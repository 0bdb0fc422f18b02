// Text as the exports take it.
#pragma once

#include <string>

#include "q7plugin.h"
#include "support/text.h"

namespace q7send {

// wchar_t has the same 16 bits as char16_t on Windows, but is a type of its own.
class HostText {
  public:
    explicit HostText(WideView text) : text_(text.begin(), text.end()) {}
    operator const Q7Char*() const { return text_.c_str(); }

  private:
    std::basic_string<Q7Char> text_;
};

}  // namespace q7send

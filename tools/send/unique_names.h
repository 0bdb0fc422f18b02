// Names that stay different in the library.
#pragma once

#include <cstddef>
#include <unordered_map>
#include <unordered_set>

#include "support/text.h"

namespace q7send {

// Hands out names no two of which are the same after `from` has been turned into `to`: the library
// makes that change itself, and what then has one name becomes one object.
class UniqueNames {
  public:
    UniqueNames(char16_t from, char16_t to) : from_(from), to_(to) {}

    // The wanted name, or that name with a number behind it. Never empty: an empty name becomes
    // `nameless`.
    WideString claim(WideView wanted, WideView nameless);

  private:
    bool take(WideView name);

    char16_t from_;
    char16_t to_;
    std::unordered_set<WideString> taken_;
    // Where counting goes on, so that a million nodes of one name take no longer than others.
    std::unordered_map<WideString, std::size_t> lastNumber_;
};

}  // namespace q7send

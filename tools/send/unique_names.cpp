#include "send/unique_names.h"

#include <string>

namespace q7send {

namespace {

WideString numbered(WideView name, std::size_t number) {
    const std::string digits = std::to_string(number);
    WideString result(name);
    result += u" (";
    result.append(digits.begin(), digits.end());
    result += u')';
    return result;
}

}  // namespace

WideString UniqueNames::claim(WideView wanted, WideView nameless) {
    const WideView name = wanted.empty() ? nameless : wanted;
    if (take(name)) return WideString(name);
    std::size_t& number = lastNumber_.try_emplace(replaceUnit(name, from_, to_), 1).first->second;
    for (;;) {
        WideString candidate = numbered(name, ++number);
        if (take(candidate)) return candidate;
    }
}

bool UniqueNames::take(WideView name) {
    return taken_.insert(replaceUnit(name, from_, to_)).second;
}

}  // namespace q7send

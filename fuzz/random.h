// What the random callers share: numbers from a seed, short lists of names, and the way to complain.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/plain_model.h"
#include "q7plugin.h"

namespace q7fuzz {

using HostText = std::basic_string<Q7Char>;

inline HostText toHost(const Text& text) {
    return {text.begin(), text.end()};
}

// Short, so that calls meet what other calls have made.
inline const std::array<Text, 10> names = {u"",
                                           u"a",
                                           u"b_c",
                                           u"d/e",
                                           u"_",
                                           u"/",
                                           u"\u4E2D\U0001F600",
                                           u"a_m",
                                           u"No Material",
                                           u"a long name beyond any short buffer"};

class Difference : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

inline void require(bool holds, const std::string& what) {
    if (!holds) throw Difference(what);
}

class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(engine_() % limit); }
    bool oneIn(std::size_t many) { return below(many) == 0; }
    const Text& name() { return names[below(names.size())]; }
    float number() { return static_cast<float>(below(2001)) - 1000; }
    std::vector<float> numbers(std::size_t count) {
        std::vector<float> made(count);
        for (float& each : made)
            each = number();
        return made;
    }
    template <class Number>
    std::vector<Number> whole(std::size_t count) {
        std::vector<Number> made(count);
        for (Number& each : made)
            each = static_cast<Number>(below(100));
        return made;
    }

  private:
    std::mt19937_64 engine_;
};

}  // namespace q7fuzz

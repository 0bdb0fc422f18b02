#include "support/hash.h"

namespace {

constexpr std::uint64_t offsetBasis = 0xcbf29ce484222325U;
constexpr std::uint64_t prime = 0x100000001b3U;

template <class Number>
std::uint64_t mixBytes(std::uint64_t hash, Number number) {
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        hash = (hash ^ ((number >> (8 * i)) & 0xFFU)) * prime;
    }
    return hash;
}

}  // namespace

std::uint64_t hashKey(WideView key) {
    std::uint64_t hash = offsetBasis;
    for (const char16_t unit : key)
        hash = mixBytes(hash, unit);
    return hash;
}

std::uint64_t hashKey(std::uint64_t key) {
    return mixBytes(offsetBasis, key);
}

// The exceptions whose texts hosts see. Each standard library words its own differently, so the
// library raises these itself.
#pragma once

// std::length_error "vector too long".
[[noreturn]] void throwVectorTooLong();

// std::length_error "unordered_map/set too long".
[[noreturn]] void throwTableTooLong();

// std::out_of_range "invalid unordered_map<K, T> key".
[[noreturn]] void throwInvalidKey();

// std::invalid_argument "invalid stoi argument".
[[noreturn]] void throwNotANumber();

// std::out_of_range "stoi argument out of range".
[[noreturn]] void throwNumberTooLarge();

#include "support/errors.h"

#include <stdexcept>

void throwVectorTooLong() {
    throw std::length_error("vector too long");
}

void throwTableTooLong() {
    throw std::length_error("unordered_map/set too long");
}

void throwInvalidKey() {
    throw std::out_of_range("invalid unordered_map<K, T> key");
}

void throwNotANumber() {
    throw std::invalid_argument("invalid stoi argument");
}

void throwNumberTooLarge() {
    throw std::out_of_range("stoi argument out of range");
}

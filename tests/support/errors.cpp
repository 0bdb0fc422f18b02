#include "support/errors.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

template <class Error>
std::string textOf(void (*raise)()) {
    try {
        raise();
    } catch (const Error& error) {
        return error.what();
    }
    return "nothing";
}

}  // namespace

TEST(Errors, HaveTheirTypesAndTexts) {
    EXPECT_EQ(textOf<std::length_error>([] { throwVectorTooLong(); }), "vector too long");
    EXPECT_EQ(textOf<std::length_error>([] { throwTableTooLong(); }), "unordered_map/set too long");
    EXPECT_EQ(textOf<std::out_of_range>([] { throwInvalidKey(); }),
              "invalid unordered_map<K, T> key");
    EXPECT_EQ(textOf<std::invalid_argument>([] { throwNotANumber(); }), "invalid stoi argument");
    EXPECT_EQ(textOf<std::out_of_range>([] { throwNumberTooLarge(); }),
              "stoi argument out of range");
}

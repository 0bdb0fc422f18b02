#include "inspect/pairing.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using q7inspect::allPlaces;
using q7inspect::Pairs;
using q7inspect::Places;

struct Result {
    Pairs pairs;
    Places restA;
    Places restB;
};

Result pairUp(const std::string& a, const std::string& b) {
    Result result{{}, allPlaces(a.size()), allPlaces(b.size())};
    result.pairs = q7inspect::pairUp<std::hash<char>>(
        result.restA, result.restB, [&a](std::size_t i) { return a[i]; },
        [&b](std::size_t i) { return b[i]; });
    return result;
}

TEST(InspectPairing, equalKeysFindEachOtherInAnyOrder) {
    const Result result = pairUp("abc", "cab");
    EXPECT_EQ(result.pairs, (Pairs{{0, 1}, {1, 2}, {2, 0}}));
    EXPECT_TRUE(result.restA.empty());
    EXPECT_TRUE(result.restB.empty());
}

TEST(InspectPairing, repeatedKeysPairInTheirOrder) {
    const Result result = pairUp("xaxx", "xbx");
    EXPECT_EQ(result.pairs, (Pairs{{0, 0}, {2, 2}}));
    EXPECT_EQ(result.restA, (Places{1, 3}));
    EXPECT_EQ(result.restB, (Places{1}));
}

TEST(InspectPairing, emptyListsLeaveEverything) {
    EXPECT_EQ(pairUp("", "ab").restB, (Places{0, 1}));
    EXPECT_EQ(pairUp("ab", "").restA, (Places{0, 1}));
}

TEST(InspectPairing, onlyTheGivenPlacesTakePart) {
    const std::string keys = "aaaa";
    Places a{1, 3};
    Places b{2};
    const auto key = [&keys](std::size_t i) { return keys[i]; };
    EXPECT_EQ((q7inspect::pairUp<std::hash<char>>(a, b, key, key)), (Pairs{{1, 2}}));
    EXPECT_EQ(a, (Places{3}));
    EXPECT_TRUE(b.empty());
}

}  // namespace

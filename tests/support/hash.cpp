#include "support/hash.h"

#include <gtest/gtest.h>

namespace {

// The plain form of the function, over bytes.
std::uint64_t hashOfBytes(const std::string& bytes) {
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const char byte : bytes)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
    return hash;
}

}  // namespace

TEST(HashKey, OfNothingIsTheOffsetBasis) {
    EXPECT_EQ(hashKey(WideView()), 0xcbf29ce484222325U);
}

TEST(HashKey, TakesTextByBytesLowByteFirst) {
    // The published value for the two bytes "a" and zero.
    EXPECT_EQ(hashKey(u"a"), 0x089be207b544f1e4U);
    EXPECT_EQ(hashKey(u"a"), hashOfBytes(std::string("a\0", 2)));
    EXPECT_EQ(hashKey(u"\u4E2D\u6587"), hashOfBytes("\x2D\x4E\x87\x65"));
}

TEST(HashKey, TakesNumbersByEightBytesLowByteFirst) {
    EXPECT_EQ(hashKey(std::uint64_t{0x0807060504030201U}), hashOfBytes("\1\2\3\4\5\6\7\10"));
    EXPECT_NE(hashKey(std::uint64_t{1}), hashKey(std::uint64_t{2}));
}

#include "common/byte_reader.h"

#include <gtest/gtest.h>

#include "tests/tools/common/stream_builder.h"

namespace {

using q7tools::ByteReader;
using q7tools::FormatError;
using streamtest::StreamBuilder;

// The error that a call throws, as "OFFSET: REASON".
template <class Call>
std::string errorOf(const Call& call) {
    try {
        call();
    } catch (const FormatError& error) {
        return std::to_string(error.offset()) + ": " + error.what();
    }
    return "no error";
}

TEST(ByteReader, readsEachFramingAndMovesOn) {
    StreamBuilder stream;
    stream.word(0x04030201).text(u"h\u00e9\xd83d").floats({1.5F, -2}).ints({-1, 7}).byteArray({9});
    ByteReader reader(stream.bytes());
    EXPECT_EQ(reader.size(), 4U + 10 + 12 + 12 + 5);
    EXPECT_EQ(reader.readWord("word"), 0x04030201U);
    EXPECT_EQ(reader.offset(), 4U);
    EXPECT_EQ(reader.readWideString("text"), u"h\u00e9\xd83d");
    EXPECT_EQ(reader.offset(), 14U);
    EXPECT_EQ(reader.readFloats("floats"), (std::vector<float>{1.5F, -2}));
    EXPECT_EQ(reader.readInts("ints"), (std::vector<std::int32_t>{-1, 7}));
    EXPECT_EQ(reader.readBytes("bytes"), std::vector<std::uint8_t>{9});
    EXPECT_EQ(reader.remaining(), 0U);
}

TEST(ByteReader, readsEmptyFramings) {
    StreamBuilder stream;
    stream.word(0).word(0).word(0);
    ByteReader reader(stream.bytes());
    EXPECT_EQ(reader.readWideString("text"), u"");
    EXPECT_TRUE(reader.readFloats("floats").empty());
    EXPECT_TRUE(reader.readBytes("bytes").empty());
    EXPECT_EQ(reader.remaining(), 0U);
}

TEST(ByteReader, readsATransformWithoutACount) {
    StreamBuilder stream;
    stream.transform(streamtest::movedBy(1, 2, 3));
    ByteReader reader(stream.bytes());
    EXPECT_EQ(reader.readTransform("transform"), streamtest::movedBy(1, 2, 3));
    EXPECT_EQ(errorOf([&] { reader.readTransform("transform"); }),
              "64: transform: 64 bytes are needed, but only 0 are left");
}

TEST(ByteReader, namesTheMissingBytesOfAWord) {
    StreamBuilder stream;
    stream.byte(1).byte(2).byte(3);
    ByteReader reader(stream.bytes());
    EXPECT_EQ(errorOf([&] { reader.readWord("version"); }),
              "0: version: 4 bytes are needed, but only 3 are left");
}

TEST(ByteReader, aLyingCountIsAnErrorAndLeavesTheCursor) {
    StreamBuilder stream;
    stream.word(7).word(0xFFFFFFFF).word(1);
    ByteReader reader(stream.bytes());
    reader.readWord("first");
    const std::string reason = ": 4294967295 elements of ";
    EXPECT_EQ(errorOf([&] { reader.readWideString("name"); }),
              "4: name" + reason + "2 bytes are announced, but only 4 bytes are left");
    EXPECT_EQ(errorOf([&] { reader.readFloats("uvs"); }),
              "4: uvs" + reason + "4 bytes are announced, but only 4 bytes are left");
    EXPECT_EQ(errorOf([&] { reader.readInts("indices"); }),
              "4: indices" + reason + "4 bytes are announced, but only 4 bytes are left");
    EXPECT_EQ(errorOf([&] { reader.readBytes("colors"); }),
              "4: colors" + reason + "1 bytes are announced, but only 4 bytes are left");
    EXPECT_EQ(reader.offset(), 4U);
}

TEST(ByteReader, aRecordCountMustBePossible) {
    StreamBuilder stream;
    stream.word(2).word(0).word(0).word(0);
    ByteReader possible(stream.bytes());
    EXPECT_EQ(possible.readRecordCount("mesh count", 6), 2U);
    ByteReader impossible(stream.bytes());
    EXPECT_EQ(errorOf([&] { impossible.readRecordCount("mesh count", 8); }),
              "0: mesh count is 2, but the 12 bytes behind it hold at most 1");
    EXPECT_EQ(impossible.offset(), 0U);
}

}  // namespace

#include "inspect/known_stream.h"

#include <gtest/gtest.h>

#include "tests/tools/common/stream_builder.h"

namespace {

using streamtest::StreamBuilder;

std::string faultOf(const StreamBuilder& stream) {
    try {
        q7inspect::readKnownStream(stream.bytes());
    } catch (const q7tools::FormatError& error) {
        return std::to_string(error.offset()) + ": " + error.what();
    }
    return {};
}

TEST(InspectKnownStream, readsStreams) {
    const StreamBuilder stream = streamtest::Scene().build();
    EXPECT_EQ(q7inspect::readKnownStream(stream.bytes()).instances.size(), 3U);
}

TEST(InspectKnownStream, otherBytesAreToldAsSuch) {
    EXPECT_EQ(faultOf(StreamBuilder().byte(11)), "0: not a model stream: the file has 1 byte");
    EXPECT_EQ(faultOf(StreamBuilder().word(7).word(7)),
              "0: not a model stream: it starts with the word 7, not with 11");
}

TEST(InspectKnownStream, damagedStreamsKeepTheirReason) {
    EXPECT_EQ(faultOf(StreamBuilder().word(11).text(u"{}").word(3)),
              "12: material count is 3, but the 0 bytes behind it hold at most 0");
}

}  // namespace

#include "standin/transcript.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace {

std::vector<std::byte> bytesUpTo(int size) {
    std::vector<std::byte> bytes;
    for (int i = 0; i < size; ++i)
        bytes.push_back(static_cast<std::byte>(i + 0x1F));
    return bytes;
}

TEST(Transcript, Form) {
    std::ostringstream out;
    q7standin::Transcript transcript(&out);
    EXPECT_TRUE(transcript.isRecording());
    transcript.connectionBegins(3);
    transcript.received(12, "path", bytesUpTo(17));
    transcript.block("materials", bytesUpTo(1));
    transcript.block("normals", {});
    transcript.sent("reply", bytesUpTo(4));
    transcript.connectionEnds(3, "closed by the client");
    EXPECT_EQ(out.str(),
              "connection 3\n"
              "received at 12: path, 17 bytes\n"
              "    1f 20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e  ..!\"#$%&'()*+,-.\n"
              "    2f                                               /\n"
              "block: materials, 1 byte\n"
              "    1f                                               .\n"
              "block: normals, 0 bytes\n"
              "sent: reply, 4 bytes\n"
              "    1f 20 21 22                                      ..!\"\n"
              "end of connection 3: closed by the client\n\n");
}

TEST(Transcript, NothingIsRecordedWithoutAStream) {
    q7standin::Transcript transcript(nullptr);
    transcript.connectionBegins(1);
    transcript.received(0, "word", bytesUpTo(4));
    transcript.connectionEnds(1, "closed");
    EXPECT_FALSE(transcript.isRecording());
}

}  // namespace

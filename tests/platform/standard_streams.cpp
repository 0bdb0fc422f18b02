#include "platform/standard_streams.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "tests/read_file.h"
#include "tests/temporary_folder.h"

#if defined(_WIN32)
#include <io.h>
#define q7dup _dup
#define q7dup2 _dup2
#define q7close _close
#define q7fileno _fileno
#else
#include <unistd.h>
#define q7dup dup
#define q7dup2 dup2
#define q7close close
#define q7fileno fileno
#endif

namespace {

// What the stream writes for one line when it starts out as a text file and is then made binary.
std::string bytesWrittenTo(std::FILE* stream) {
    const TemporaryFolder folder;
    const std::string path = (folder / "out").string();
    std::fflush(stream);
    const int saved = q7dup(q7fileno(stream));
    std::FILE* const file = std::fopen(path.c_str(), "w");
    if (file == nullptr) return "no file";
    q7dup2(q7fileno(file), q7fileno(stream));
    std::fclose(file);
    platform::useBinaryStandardStreams();
    std::fputs("a\nb\r\n", stream);
    std::fflush(stream);
    q7dup2(saved, q7fileno(stream));
    q7close(saved);
    return readFile(path);
}

TEST(StandardStreams, passLineEndsAsTheyAre) {
    EXPECT_EQ(bytesWrittenTo(stdout), "a\nb\r\n");
    EXPECT_EQ(bytesWrittenTo(stderr), "a\nb\r\n");
}

}  // namespace

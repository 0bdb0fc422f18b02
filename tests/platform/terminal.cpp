#include "platform/terminal.h"

#include <gtest/gtest.h>

#include <cstdio>

#if defined(_WIN32)
#include <io.h>
#define q7dup _dup
#define q7dup2 _dup2
#define q7fileno _fileno
#else
#include <unistd.h>
#define q7dup dup
#define q7dup2 dup2
#define q7fileno fileno
#endif

TEST(Terminal, AFileIsNone) {
    std::FILE* const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    const int saved = q7dup(q7fileno(stderr));
    q7dup2(q7fileno(file), q7fileno(stderr));
    const bool terminal = platform::standardErrorIsTerminal();
    q7dup2(saved, q7fileno(stderr));
    std::fclose(file);
    EXPECT_FALSE(terminal);
}

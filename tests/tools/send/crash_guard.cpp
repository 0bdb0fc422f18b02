#include "send/crash_guard.h"

#include <gtest/gtest.h>

#include <csignal>

namespace q7send {

TEST(CrashGuardDeathTest, EndsWithTheLastWords) {
    for (const int number : {SIGABRT, SIGSEGV, SIGFPE, SIGILL}) {
        EXPECT_EXIT(
            {
                const CrashGuard guard("last words\n");
                std::raise(number);
            },
            testing::ExitedWithCode(1), "^last words\n$");
    }
}

TEST(CrashGuardDeathTest, IsOverWithItsScope) {
    EXPECT_EXIT(
        {
            { const CrashGuard guard("last words\n"); }
            std::raise(SIGABRT);
        },
        testing::KilledBySignal(SIGABRT), "^$");
}

}  // namespace q7send

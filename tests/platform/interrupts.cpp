#include "platform/interrupts.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

TEST(Interrupts, NoneUntilOneComes) {
    EXPECT_FALSE(platform::wasInterrupted());
}

#if !defined(_WIN32)
// In a process of its own: the watch cannot be ended. (The events of Windows need a console.)
TEST(Interrupts, AreRemembered) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const auto interrupted = [signal] {
            platform::watchInterrupts();
            const bool before = platform::wasInterrupted();
            std::raise(signal);
            std::_Exit(!before && platform::wasInterrupted() ? 0 : 1);
        };
        EXPECT_EXIT(interrupted(), testing::ExitedWithCode(0), "");
    }
}

TEST(Interrupts, TheSecondFromTheKeyboardEndsTheProgram) {
    const auto interruptedTwice = [] {
        platform::watchInterrupts();
        std::raise(SIGINT);
        std::raise(SIGINT);
        std::_Exit(0);
    };
    EXPECT_EXIT(interruptedTwice(), testing::KilledBySignal(SIGINT), "");
}

// Some programs send the signal to a process and then to its group.
TEST(Interrupts, AnyNumberOfTheOthersIsRemembered) {
    for (const int signal : {SIGTERM, SIGHUP}) {
        const auto interruptedTwice = [signal] {
            platform::watchInterrupts();
            std::raise(signal);
            std::raise(signal);
            std::_Exit(platform::wasInterrupted() ? 0 : 1);
        };
        EXPECT_EXIT(interruptedTwice(), testing::ExitedWithCode(0), "");
    }
}
#endif

#include "platform/pipe_signals.h"

#include <gtest/gtest.h>

#if defined(_WIN32)

TEST(PipeSignals, AreNoneHere) {
    EXPECT_NO_THROW(platform::PipeSignalsHeld());
}

#else

#include <csignal>

namespace {

bool isBlocked() {
    sigset_t signals;
    pthread_sigmask(SIG_BLOCK, nullptr, &signals);
    return sigismember(&signals, SIGPIPE) == 1;
}

bool isPending() {
    sigset_t signals;
    sigpending(&signals);
    return sigismember(&signals, SIGPIPE) == 1;
}

}  // namespace

TEST(PipeSignals, AreHeldAndDropped) {
    ASSERT_FALSE(isBlocked());
    {
        const platform::PipeSignalsHeld held;
        EXPECT_TRUE(isBlocked());
        pthread_kill(pthread_self(), SIGPIPE);
        EXPECT_TRUE(isPending());
        {
            // The inner one knows that this is not its own.
            const platform::PipeSignalsHeld inner;
            pthread_kill(pthread_self(), SIGPIPE);
        }
        EXPECT_TRUE(isPending());
        EXPECT_TRUE(isBlocked());
    }
    EXPECT_FALSE(isPending());
    EXPECT_FALSE(isBlocked());
}

TEST(PipeSignals, StayAsTheHostHasThem) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    pthread_kill(pthread_self(), SIGPIPE);
    { const platform::PipeSignalsHeld held; }
    EXPECT_TRUE(isBlocked());
    EXPECT_TRUE(isPending());
    int taken = 0;
    EXPECT_EQ(sigwait(&signals, &taken), 0);
    { const platform::PipeSignalsHeld held; }
    EXPECT_TRUE(isBlocked());
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

#endif

// The handshake looks at all processes, and threw when one of them ended at that moment.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/processes.h"
#include "tests/platform/child_process.h"

#if !defined(_WIN32)

TEST(Regressions, ProcessesMayEndWhileTheyAreLookedAt) {
    std::atomic<bool> done = false;
    std::thread others([&] {
        while (!done) {
            std::vector<pid_t> children(20);
            for (pid_t& child : children)
                child = startChild([] { return 0; });
            for (const pid_t child : children)
                exitCodeOf(child);
        }
    });
    int failures = 0;
    for (int i = 0; i < 400; ++i) {
        try {
            platform::isProcessRunning("q7 no such program");
        } catch (const std::exception&) {
            ++failures;
        }
    }
    done = true;
    others.join();
    EXPECT_EQ(failures, 0);
}

#endif

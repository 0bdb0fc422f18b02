// Memory that runs out in the middle of a session, at every place in turn.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <system_error>

#include "tests/platform/local_app_data.h"
#include "tests/process/allocation_faults.h"
#include "tests/process/resources.h"
#include "tests/process/typical_session.h"
#include "tests/temporary_folder.h"

namespace {

Exports linkedExports() {
    Exports exports;
#define Q7_TAKE(name) exports.name = &::name;
    Q7_EXPORTS_IN_USE(Q7_TAKE)
#undef Q7_TAKE
    return exports;
}

struct Outcome {
    bool hasFailed = false;  // an allocation
    std::size_t threwBadAlloc = 0;
    std::string step;
    std::string other;
};

// Makes all calls, also those after the one that ran out of memory.
Outcome runWithFailing(std::size_t number, AllocationFault fault, TypicalSession& session) {
    Outcome outcome;
    const char* failedStep = "";
    const char* otherStep = "";
    failAllocation(number, fault);
    for (const TypicalSession::Step& step : session.steps()) {
        const bool hadFailed = allocationsSince() >= number;
        try {
            step.call();
        } catch (const std::bad_alloc&) {
            ++outcome.threwBadAlloc;
        } catch (...) {
            otherStep = step.name;
        }
        if (!hadFailed && allocationsSince() >= number) failedStep = step.name;
    }
    // Without memory, too.
    session.end();
    outcome.hasFailed = allocationsSince() >= number;
    failAllocation(0);
    outcome.step = failedStep;
    outcome.other = otherStep;
    return outcome;
}

// Q7_ALLOCATION_STEP names another one.
std::size_t allocationStep() {
    const char* const wish = std::getenv("Q7_ALLOCATION_STEP");
    return wish ? std::stoul(wish) : Q7_ALLOCATION_STEP;
}

class AllocationFailure : public testing::TestWithParam<AllocationFault> {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Faults, AllocationFailure,
                         testing::Values(AllocationFault::OneAlone, AllocationFault::AllFromThere),
                         [](const auto& row) {
                             return row.param == AllocationFault::OneAlone ? "OneAlone"
                                                                           : "AllFromThere";
                         });

TEST_P(AllocationFailure, PassesToTheCallerAndTheSessionCanBeEnded) {
    const LocalAppData data;
    const TemporaryFolder folder;
    const Exports exports = linkedExports();
    ASSERT_EQ(exports.missing(), "");
    const SessionKind kind = {.hasLink = true};
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    // What a process sets up once, for exceptions too.
    {
        TypicalSession first(exports, folder.path(), kind);
        runWithFailing(100, AllocationFault::OneAlone, first);
    }
    const auto expected = [&] {
        const TypicalSession session(exports, folder.path(), kind);
        session.run();
        return session.written();
    }();
    const std::size_t handles = Resources::countHandles();
    const bool isAlone = GetParam() == AllocationFault::OneAlone;
    const std::size_t stride = allocationStep();
    // What may happen instead: a file that cannot be opened is not written, and memory that was to be
    // given back stays.
    std::map<std::string, std::size_t> silent;
    std::size_t number = 1;
    for (bool goesOn = true; goesOn; number += stride) {
        TypicalSession session(exports, folder.path(), kind);
        const Outcome outcome = runWithFailing(number, GetParam(), session);
        goesOn = outcome.hasFailed;
        EXPECT_EQ(outcome.other, "") << "another exception, at allocation " << number;
        if (isAlone) {
            EXPECT_LE(outcome.threwBadAlloc, 1U) << number << ' ' << outcome.step;
        }
        if (isAlone && outcome.hasFailed && outcome.threwBadAlloc == 0) {
            const bool isAsEver = session.written() == expected;
            ++silent[outcome.step + (isAsEver ? "" : ", which wrote something else")];
            EXPECT_TRUE(isAsEver || outcome.step.starts_with("Q7Save")) << number << outcome.step;
        }
        std::filesystem::remove_all(session.temporaryFolder());
        EXPECT_EQ(Resources::countHandles(), handles) << number << ' ' << outcome.step;
        if (HasFailure()) break;
    }
    const std::string printed = testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    if (HasFailure()) std::cout << printed;
    std::cout << "about " << number << " allocations\n";
    for (const auto& [step, count] : silent)
        std::cout << "  without an exception: " << count << " in " << step << '\n';
    EXPECT_GT(number, 100U);
}

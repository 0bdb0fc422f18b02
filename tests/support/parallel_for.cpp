#include "support/parallel_for.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

TEST(ParallelFor, CoversEachIndexOnce) {
    for (const std::size_t count : {1U, 2U, 9U, 10U, 11U, 1000U, 12345U}) {
        for (const std::size_t piece : {1U, 10U, 5000U}) {
            std::vector<std::atomic<int>> hits(count);
            ParallelFor(count, piece, [&](std::size_t first, std::size_t last) {
                for (std::size_t i = first; i < last; ++i)
                    ++hits[i];
            });
            for (const auto& hit : hits)
                ASSERT_EQ(hit, 1);
        }
    }
}

TEST(ParallelFor, AnEmptyRangeCallsNothing) {
    ParallelFor(0, 1, [](std::size_t, std::size_t) { FAIL(); });
}

TEST(ParallelFor, ASmallRangeStaysOnTheCallersThreadInOnePiece) {
    int calls = 0;
    const std::thread::id caller = std::this_thread::get_id();
    ParallelFor(10, 10, [&](std::size_t first, std::size_t last) {
        ++calls;
        EXPECT_EQ(std::this_thread::get_id(), caller);
        EXPECT_EQ(first, 0U);
        EXPECT_EQ(last, 10U);
    });
    EXPECT_EQ(calls, 1);
}

TEST(ParallelFor, NoPieceButTheLastIsSmallerThanAsked) {
    std::mutex mutex;
    std::set<std::pair<std::size_t, std::size_t>> pieces;
    ParallelFor(1003, 100, [&](std::size_t first, std::size_t last) {
        const std::lock_guard lock(mutex);
        pieces.insert({first, last});
    });
    for (const auto& [first, last] : pieces) {
        EXPECT_TRUE(last == 1003 || last - first >= 100);
    }
}

TEST(ParallelFor, StartsWithAProcessorsShareAndGoesOnWithLess) {
    const std::size_t processors = std::thread::hardware_concurrency();
    std::mutex mutex;
    std::map<std::size_t, std::size_t> pieces;
    ParallelFor(1000, 1, [&](std::size_t first, std::size_t last) {
        const std::lock_guard lock(mutex);
        pieces[first] = last - first;
    });
    if (processors < 2) {
        EXPECT_EQ(pieces.size(), 1U);
        return;
    }
    EXPECT_EQ(pieces.at(0), 1000 / processors);
    EXPECT_GT(pieces.size(), processors);
    EXPECT_EQ(pieces.rbegin()->second, 1U);
    for (auto piece = pieces.begin(); std::next(piece) != pieces.end(); ++piece) {
        EXPECT_GE(piece->second, std::next(piece)->second);
    }
}

TEST(ParallelFor, PassesTheBodysExceptionOnAndStops) {
    for (const std::size_t piece : {1U, 1U << 20}) {
        std::atomic<int> calls = 0;
        EXPECT_THROW(ParallelFor(100000, piece,
                                 [&](std::size_t, std::size_t) {
                                     ++calls;
                                     throw std::runtime_error("stop");
                                 }),
                     std::runtime_error);
        // Each thread ends with its first piece.
        EXPECT_LE(calls, static_cast<int>(std::max(1U, std::thread::hardware_concurrency())));
    }
}

TEST(ParallelFor, CanBeCalledFromItsOwnBody) {
    std::atomic<std::size_t> sum = 0;
    ParallelFor(4, 1, [&](std::size_t first, std::size_t last) {
        for (std::size_t i = first; i < last; ++i) {
            ParallelFor(100, 10, [&](std::size_t a, std::size_t b) { sum += b - a; });
        }
    });
    EXPECT_EQ(sum, 400U);
}

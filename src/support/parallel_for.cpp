#include "support/parallel_for.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Body = std::function<void(std::size_t, std::size_t)>;

// The part of the range that no thread has taken yet. Pieces start at one processor's share and
// shrink with what is left, so that a thread that was held up is not waited for long.
class RemainingRange {
  public:
    RemainingRange(std::size_t count, std::size_t smallestPiece, std::size_t threads)
        : count_(count), smallestPiece_(smallestPiece), threads_(threads) {}

    std::optional<std::pair<std::size_t, std::size_t>> take() {
        const std::lock_guard lock(mutex_);
        if (next_ == count_) return std::nullopt;
        const std::size_t left = count_ - next_;
        const std::size_t first = next_;
        next_ += std::min(left, std::max(smallestPiece_, left / threads_));
        return std::pair(first, next_);
    }

    void fail(std::exception_ptr error) {
        const std::lock_guard lock(mutex_);
        if (!error_) error_ = std::move(error);
        next_ = count_;
    }

    // Only once all threads have ended.
    const std::exception_ptr& error() const { return error_; }

  private:
    std::mutex mutex_;
    std::size_t next_ = 0;
    const std::size_t count_;
    const std::size_t smallestPiece_;
    const std::size_t threads_;
    std::exception_ptr error_;
};

void work(RemainingRange& range, const Body& body) {
    try {
        while (const auto piece = range.take())
            body(piece->first, piece->second);
    } catch (...) {
        range.fail(std::current_exception());
    }
}

}  // namespace

void ParallelFor(std::size_t count, std::size_t smallestPiece, const Body& body) {
    if (count == 0) return;
    static const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    const std::size_t pieces = (count - 1) / smallestPiece + 1;
    const std::size_t threads = std::min(processors, pieces);
    if (threads == 1) {
        body(0, count);
        return;
    }
    RemainingRange range(count, smallestPiece, threads);
    {
        std::vector<std::jthread> helpers;
        try {
            helpers.reserve(threads - 1);
            while (helpers.size() < threads - 1) {
                helpers.emplace_back([&] { work(range, body); });
            }
        } catch (const std::system_error&) {
            // The system has no more threads to give: those there are do the work.
        } catch (const std::bad_alloc&) {
            // Nor has it memory for them.
        }
        work(range, body);
    }
    if (range.error()) std::rethrow_exception(range.error());
}

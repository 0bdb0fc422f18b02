// A host that loads and unloads the library over and over.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/platform/local_app_data.h"
#include "tests/process/resources.h"
#include "tests/process/typical_session.h"
#include "tests/temporary_folder.h"

namespace {

// Q7_LOADS names another number.
int loads() {
    const char* const wish = std::getenv("Q7_LOADS");
    return wish ? std::stoi(wish) : Q7_LOADS;
}

void loadWorkAndUnload(const std::filesystem::path& folder, bool hasArchives) {
    LoadedLibrary library(Q7_LIBRARY);
    const Exports exports = exportsOf(library);
    ASSERT_EQ(exports.missing(), "");
    TypicalSession(exports, folder, {.hasArchives = hasArchives, .hasLink = true}).run();
    library.unload();
    ASSERT_FALSE(library.isInProcess());
}

}  // namespace

TEST(Loading, LeavesTheProcessAsItWas) {
    const LocalAppData data;
    const TemporaryFolder folder;
    testing::internal::CaptureStdout();
    // What the system and its libraries set up once for a process, they have set up then.
    constexpr int warmUp = 10;
    for (int i = 0; i < warmUp; ++i)
        loadWorkAndUnload(folder.path(), true);
    const Resources before = Resources::now();
    const int count = loads();
    for (int i = 0; i < count && !HasFatalFailure(); ++i)
        loadWorkAndUnload(folder.path(), i % 10 == 0);
    const Resources after = Resources::now();
    testing::internal::GetCapturedStdout();
    std::cout << count << " loads\nbefore: " << before << "\nafter:  " << after << '\n';

    EXPECT_EQ(after.threads, before.threads);
    EXPECT_EQ(after.handles, before.handles);
    EXPECT_EQ(after.mappings, before.mappings);
    // The same after ten times as many loads: what the runtimes keep at hand varies.
#if defined(_WIN32)
    // Of each load the thread library that is linked into it keeps some 600 bytes.
    const std::size_t tolerance = 1024 * static_cast<std::size_t>(count);
#elif defined(__SANITIZE_ADDRESS__)
    // It remembers the destructors of each load for good, some 200 bytes; leaks it tells at the end.
    const std::size_t tolerance = 256 * static_cast<std::size_t>(count);
#else
    constexpr std::size_t tolerance = 1U << 15;
#endif
    EXPECT_LE(after.memory, before.memory + tolerance);
}

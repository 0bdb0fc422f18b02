// Whether tests may change the registry. A test that is killed leaves its changes behind, which break
// somebody's profile; a prefix of Wine is nobody's.
#pragma once

#if defined(_WIN32)

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <string_view>

// Skips the test, from wherever it is called, unless the environment or Wine permits changes.
inline void needRegistry() {
    const char* const wish = std::getenv("Q7_TESTS_MAY_CHANGE_REGISTRY");
    const bool isWine =
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
    if (wish ? std::string_view(wish) == "1" : isWine) return;
    constexpr char reason[] =
        "changes the registry of this user: Q7_TESTS_MAY_CHANGE_REGISTRY=1 permits it";
    [&] { GTEST_SKIP() << reason; }();
    // Ends the test, and is no failure of its own.
    throw testing::AssertionException(
        testing::TestPartResult(testing::TestPartResult::kSkip, __FILE__, __LINE__, reason));
}

#endif

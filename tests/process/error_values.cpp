// Hosts that have errors of their own standing in errno, and on Windows in the thread's last error.
#include <gtest/gtest.h>

#include <cerrno>

#include "tests/platform/local_app_data.h"
#include "tests/process/typical_session.h"
#include "tests/temporary_folder.h"

namespace {

void setErrors(int code) {
    errno = code;
#if defined(_WIN32)
    SetLastError(static_cast<DWORD>(code));
#endif
}

}  // namespace

TEST(ErrorValues, OfTheHostDoNotMatter) {
    const LocalAppData data;
    const TemporaryFolder folder;
    const LoadedLibrary library(Q7_LIBRARY);
    const Exports exports = exportsOf(library);
    ASSERT_EQ(exports.missing(), "");
    std::map<std::string, std::string> expected;
    // Success and interruption; what exists already, on both systems; no memory; out of range; unknown.
    for (const int code : {0, EINTR, EEXIST, 183, ENOMEM, ENOENT, ERANGE, 9999, -1}) {
        const TypicalSession session(exports, folder.path(), {.hasLink = true});
        for (const TypicalSession::Step& step : session.steps()) {
            setErrors(code);
            step.call();
        }
        if (expected.empty()) expected = session.written();
        EXPECT_EQ(session.written(), expected) << code;
        EXPECT_FALSE(std::filesystem::exists(session.temporaryFolder())) << code;
    }
    EXPECT_EQ(expected.size(), 3U + 4U + 1U + 4U + 1U + 4U);
}

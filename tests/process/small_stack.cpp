#include "tests/process/small_stack.h"

#include <gtest/gtest.h>

#include "tests/platform/local_app_data.h"
#include "tests/process/typical_session.h"
#include "tests/temporary_folder.h"

TEST(SmallStack, IsEnoughForAWholeSession) {
    const LocalAppData data;
    const TemporaryFolder folder;
    const LoadedLibrary library(Q7_LIBRARY);
    const Exports exports = exportsOf(library);
    ASSERT_EQ(exports.missing(), "");
    const TypicalSession expected(exports, folder.path(), {.triangles = 12000, .hasLink = true});
    expected.run();
    const auto files = expected.written();
    const TypicalSession session(exports, folder.path(), {.triangles = 12000, .hasLink = true});
    ASSERT_TRUE(runOnSmallStack([&] { session.run(); }));
    EXPECT_TRUE(session.written() == files);
}

// Hosts that have functions of the same names as the library and what it depends on.
#include <gtest/gtest.h>

#include "tests/platform/child_program.h"
#include "tests/platform/local_app_data.h"
#include "tests/process/typical_session.h"
#include "tests/temporary_folder.h"

namespace {

void expectFilesOf(const char* program) {
    const LocalAppData data;
    const TemporaryFolder folder;
    const LoadedLibrary library(Q7_LIBRARY);
    const TypicalSession here(exportsOf(library), folder.path(), {.triangles = 12000});
    here.run();
    const auto expected = here.written();
    for (const auto& [file, bytes] : expected)
        std::filesystem::remove(folder / file.substr(0, file.find(':')));
    ChildProgram host(program, {Q7_LIBRARY, folder.path().string()}, folder.path());
    EXPECT_EQ(host.exitCode(), 0) << host.printed();
    EXPECT_TRUE(here.written() == expected) << host.printed();
}

}  // namespace

TEST(OwnNames, AreCalledThoughTheHostHasTheSame) {
    expectFilesOf(Q7_CROWDED_HOST);
}

TEST(OwnNames, AreCalledInAHostWithAnAllocatorOfItsOwn) {
    expectFilesOf(Q7_HOST_WITH_ALLOCATOR);
}

TEST(OwnNames, AreCalledThoughTheHostHasAnotherRuntime) {
    expectFilesOf(Q7_CROWDED_HOST_WITH_RUNTIME);
}

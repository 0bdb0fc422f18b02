"""Tests of scripts/checks/layers.py on small trees, right and wrong."""

import tempfile
import unittest
from pathlib import Path

import layers


class LayersTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.top = Path(temporary.name)

    def write(self, path, *include_lines):
        file = self.top / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text("".join(f"#include {line}\n" for line in include_lines))

    def check(self, *expected, tested_elsewhere=None):
        self.assertEqual(layers.check(self.top, tested_elsewhere or {}), list(expected))

    def test_tree_in_order(self):
        self.write("src/support/text.h", "<string>")
        self.write("src/support/text.cpp", '"support/text.h"', '"platform/files.h"')
        self.write("tests/support/text.cpp", '"support/text.h"', "<gtest/gtest.h>")
        self.write("src/platform/files.h", '"support/text.h"')
        self.write("src/platform/windows/files.cpp", '"platform/files.h"', "<Windows.h>")
        self.write("src/platform/posix/files.cpp", "<unistd.h>", "<sys/mman.h>", "<fcntl.h>")
        self.write("tests/platform/files.cpp", '"platform/files.h"')
        self.write("src/model/model.h", '"model/node.h"', '"entities/entity.h"')
        self.write("src/api/session.h", '"model/model.h"', '"link/state.h"', '"q7plugin.h"')
        self.write("tools/send/sender.cpp", '"send/scene.h"', '"common/files.h"', '"q7plugin.h"')
        self.write("tests/tools/send/sender.cpp")
        self.write("examples/host.cpp", '"q7plugin.h"', "<vector>")
        self.write("tests/abi/caller.cpp", "<windows.h>", "<dlfcn.h>")
        self.write("tests/platform/socket.cpp", "<winsock2.h>", "<sys/socket.h>", "<fcntl.h>")
        self.check()

    def test_upward_include(self):
        self.write("src/support/text.h", "<string>", '"model/model.h"')
        self.check('src/support/text.h:2: "model/model.h": support may not depend on model')

    def test_folders_of_one_rank(self):
        self.write("src/materials/list.h", '"link/state.h"')
        self.check('src/materials/list.h:1: "link/state.h": materials may not depend on link')

    def test_public_header_counts_as_api(self):
        self.write("src/model/model.h", '"q7plugin.h"')
        self.check('src/model/model.h:1: "api/q7plugin.h": model may not depend on api')

    def test_platform_stays_at_the_bottom(self):
        self.write("src/platform/files.h", '"model/model.h"')
        self.check('src/platform/files.h:1: "model/model.h": platform includes nothing above support')

    def test_path_not_from_the_root(self):
        self.write("src/model/model.h", '"node.h"', '"elsewhere/node.h"')
        self.check(
            'src/model/model.h:1: "node.h" is not a path from src/',
            'src/model/model.h:2: "elsewhere/node.h" is not a path from src/',
        )

    def test_source_outside_the_folders(self):
        self.write("src/thing.h", '"support/text.h"')
        self.check("src/thing.h:1: a source lies in a folder of src, not in src itself")

    def test_folder_without_rank(self):
        self.write("src/extra/thing.h", '"support/text.h"')
        self.check("src/extra/thing.h:1: the folder src/extra has no rank")

    def test_tool_that_reaches_into_the_library(self):
        self.write("tools/send/sender.h", '"model/model.h"', '"inspect/report.h"')
        places = "only common, platform, preview, send, support and q7plugin.h may be included here"
        self.check(
            f'tools/send/sender.h:1: "model/model.h": {places}',
            f'tools/send/sender.h:2: "inspect/report.h": {places}',
        )

    def test_example_that_reaches_into_the_library(self):
        self.write("examples/host.cpp", '"support/text.h"')
        self.write("examples/small/host.cpp", '"support/text.h"')
        error = '"support/text.h": an example includes only q7plugin.h'
        self.check(f"examples/host.cpp:1: {error}", f"examples/small/host.cpp:1: {error}")

    def test_os_headers_outside_platform(self):
        self.write("src/platform/files.h", "<windows.h>")
        self.write("tests/support/hash.cpp", "<unistd.h>")
        self.write("tools/send/sender.h", "<sys/stat.h>")
        rule = "headers of the operating system stay in src/platform"
        self.check(
            f"src/platform/files.h:1: <windows.h>: {rule}",
            f"tests/support/hash.cpp:1: <unistd.h>: {rule}",
            f"tools/send/sender.h:1: <sys/stat.h>: {rule}",
        )

    def test_os_headers_of_the_other_system(self):
        for system, header in (("windows", "unistd.h"), ("posix", "Windows.h")):
            self.write(f"src/platform/{system}/files.cpp", f"<{header}>")
        self.write("src/platform/files.h")
        self.write("tests/platform/files.cpp")
        self.check(
            "src/platform/posix/files.cpp:1: <Windows.h> belongs to the other system",
            "src/platform/windows/files.cpp:1: <unistd.h> belongs to the other system",
        )

    def test_service_of_one_system_only(self):
        self.write("src/platform/windows/files.cpp")
        self.write("src/platform/posix/socket.cpp")
        self.write("src/platform/files.h")
        self.write("tests/platform/files.cpp")
        self.write("tests/platform/socket.cpp")
        self.check(
            "src/platform/windows/files.cpp: src/platform/posix has no file of that name",
            "src/platform/posix/socket.cpp: src/platform/windows has no file of that name",
            "src/platform: socket.cpp has no header socket.h",
        )

    def test_missing_tests(self):
        self.write("src/model/model.cpp")
        self.write("tools/send/sender.cpp")
        self.write("tools/send/main.cpp")
        self.write("tools/inspect/report.cpp")
        self.write("tests/tools/inspect/report.py")
        self.check(
            "src/model/model.cpp: its test tests/model/model.cpp is missing",
            "tools/send/sender.cpp: its test tests/tools/send/sender.cpp is missing",
            tested_elsewhere={"tools/*/main.cpp": "the tests run the program"},
        )

    def test_excuse_that_nothing_needs(self):
        self.write("src/model/model.cpp")
        self.write("tests/model/model.cpp")
        self.check(
            "src/model/model.cpp: is excused from having a test, but no file needs that",
            tested_elsewhere={"src/model/model.cpp": "once upon a time"},
        )

    def test_empty_tree(self):
        self.check(f"{self.top}: no sources found")


if __name__ == "__main__":
    unittest.main()

"""Tests of scripts/checks/tidy.py with a stand-in for clang-tidy."""

import io
import json
import os
import tempfile
import unittest
from contextlib import redirect_stderr, redirect_stdout
from pathlib import Path
from unittest import mock

import tidy

# Finds "wrong" in a file and in what it includes, and notes what it is asked to read.
CLANG_TIDY = """#!/usr/bin/env python3
import re, sys
from pathlib import Path
file = Path(next(word for word in sys.argv[1:] if word.endswith(".cpp")))
with open({calls!r}, "a") as calls:
    calls.write(file.name + "\\n")
text = file.read_text()
for included in re.findall(r'#include "(.*)"', text):
    text += Path(included).read_text()
if "wrong" in text:
    print(file.name + ": wrong")
    sys.exit(1)
"""


class TidyTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.top = Path(temporary.name).resolve()
        self.build = self.top / "build"
        self.build.mkdir()
        self.commands = []
        program = self.top / "bin/clang-tidy"
        program.parent.mkdir()
        program.write_text(CLANG_TIDY.format(calls=str(self.top / "calls.txt")))
        program.chmod(0o755)
        path = f"{program.parent}:{os.environ['PATH']}"
        for patch in (
            mock.patch.object(tidy, "TOP", self.top),
            mock.patch.dict(os.environ, {"PATH": path}),
        ):
            patch.start()
            self.addCleanup(patch.stop)

    def add(self, name, text="", option="-O2"):
        file = self.top / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)
        command = f"c++ {option} -o {file.stem}.o -c {file}"
        self.commands.append({"directory": str(self.build), "file": str(file), "command": command})

    def run_tidy(self, *words):
        (self.build / "compile_commands.json").write_text(json.dumps(self.commands))
        printed = io.StringIO()
        with redirect_stdout(printed):
            code = tidy.main([str(self.build), *words])
        calls = self.top / "calls.txt"
        return code, printed.getvalue(), calls.read_text().split() if calls.exists() else []

    def test_files_of_a_folder_are_read_together(self):
        for name in ("a", "b", "c"):
            self.add(f"src/model/{name}.cpp")
        code, printed, calls = self.run_tidy()
        self.assertEqual((code, len(calls)), (0, 1))
        self.assertIn("3 files", printed)

    def test_finding_comes_from_the_file_by_itself(self):
        self.add("src/model/a.cpp")
        self.add("src/model/b.cpp", "wrong")
        code, printed, calls = self.run_tidy()
        self.assertEqual(code, 1)
        self.assertIn("b.cpp: wrong", printed)
        self.assertNotIn("bundle", printed)
        self.assertEqual(len(calls), 3)

    def test_bundle_that_fails_alone_is_no_finding(self):
        self.add("src/model/a.cpp", "wr")
        self.add("src/model/b.cpp", "ong")
        code, printed, calls = self.run_tidy()
        self.assertEqual((code, len(calls)), (0, 3))

    def test_folders_but_of_the_library_and_options_are_kept_apart(self):
        self.add("tools/send/a.cpp")
        self.add("tools/common/b.cpp")
        self.add("tools/send/c.cpp", option="-DC")
        self.assertEqual(sorted(self.run_tidy()[2]), ["a.cpp", "b.cpp", "c.cpp"])

    def test_folders_of_the_library_are_read_together_unless_one_has_settings(self):
        for name in ("model/a", "link/b", "platform/posix/c"):
            self.add(f"src/{name}.cpp")
        self.assertEqual(len(self.run_tidy()[2]), 1)
        (self.top / "src/link/.clang-tidy").write_text("Checks: '-*'\n")
        self.assertEqual(sorted(self.run_tidy()[2][1:]), ["b.cpp", "bundle_a.cpp"])

    def test_programs_are_read_by_themselves(self):
        self.add("examples/guide/a.cpp", "int main() {}")
        self.add("examples/guide/b.cpp", "\nint main(int count, char** words) {}")
        self.add("examples/guide/c.cpp", "// int main() is elsewhere")
        self.add("examples/guide/d.cpp")
        self.assertEqual(sorted(self.run_tidy()[2]), ["a.cpp", "b.cpp", "bundle_c.cpp"])

    def test_other_folders_are_left_out(self):
        self.add("tests/a.cpp", "wrong")
        self.add("src/model/b.cpp")
        self.assertEqual(self.run_tidy()[2], ["b.cpp"])

    def test_words_choose_files(self):
        self.add("src/model/a.cpp", "wrong")
        self.add("src/model/b.cpp")
        self.assertEqual(self.run_tidy("model/b")[2], ["b.cpp"])

    def test_many_files_become_several_bundles(self):
        for i in range(2 * tidy.FILES_IN_A_BUNDLE + 1):
            self.add(f"src/model/f{i}.cpp")
        self.assertEqual(len(self.run_tidy()[2]), 3)

    def test_number_of_runs_at_once_may_be_told(self):
        self.add("src/model/a.cpp")
        self.run_tidy()
        for told, code in (("-j1", 0), ("-j3", 0), ("-j0", 2)):
            with redirect_stdout(io.StringIO()):
                self.assertEqual(tidy.main([told, str(self.build)]), code)

    def test_build_without_sources_is_a_fault(self):
        self.assertEqual(self.run_tidy()[0], 1)

    def test_folder_without_a_build_is_a_fault(self):
        with redirect_stderr(io.StringIO()) as errors:
            self.assertEqual(tidy.main([str(self.top / "nothing")]), 1)
        self.assertIn("nothing/compile_commands.json is missing", errors.getvalue())

    def test_settings_of_a_folder_hold_for_its_bundles(self):
        self.add("tools/common/a.cpp")
        self.add("tools/common/b.cpp")
        for folder in (".", "tools"):
            (self.top / folder / ".clang-tidy").write_text(f"# {folder}")
        self.run_tidy()
        for folder in (".", "tools"):
            settings = self.build / "tidy" / folder / ".clang-tidy"
            self.assertEqual(settings.read_text(), f"# {folder}")


if __name__ == "__main__":
    unittest.main()

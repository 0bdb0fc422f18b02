"""Tests of scripts/tally.py: each shape that a test run can leave, and what it counts as."""

import contextlib
import io
import json
import tempfile
import unittest
from pathlib import Path

import tally

PASSED = '<testcase name="{0}" status="run"/>'
FAILED = '<testcase name="{0}" status="fail"><failure message=""/></testcase>'
NOT_RUN = (
    '<testcase name="{0}" status="notrun"><skipped message="{1}"/>'
    "<system-out>{2}</system-out></testcase>"
)
CASE = '<testcase name="{0}" status="run" result="completed" classname="Suite"/>'
BAD_CASE = (
    '<testcase name="{0}" status="run" classname="Suite"><failure message="not equal"/></testcase>'
)
SKIPPED_CASE = (
    '<testcase name="{0}" status="run" result="skipped" classname="Suite">'
    '<skipped message="a.cpp:7&#x0A;no display"/></testcase>'
)
DISABLED_CASE = '<testcase name="{0}" status="notrun" result="suppressed" classname="Suite"/>'


class TallyTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name) / "linux-release"
        (self.folder / "gtest").mkdir(parents=True)

    def entries(self, *elements, commands=None):
        text = f"<testsuite>{''.join(elements)}</testsuite>"
        (self.folder / "ctest.xml").write_text(text)
        tests = [{"name": name, "command": words} for name, words in (commands or {}).items()]
        (self.folder / "tests.json").write_text(json.dumps({"tests": tests}))

    def report(self, name, *cases):
        text = f"<testsuites><testsuite>{''.join(cases)}</testsuite></testsuites>"
        (self.folder / "gtest" / name).write_text(text)

    def count(self, passed, failed, skipped=0):
        result = tally.count_run(self.folder)
        self.assertEqual(
            (result.passed, len(result.failed), len(result.skipped)), (passed, failed, skipped)
        )
        return result

    def test_plain_entries_count_one_each(self):
        self.entries(PASSED.format("a"), PASSED.format("b"), FAILED.format("c"))
        self.count(2, 1)

    def test_entry_with_report_counts_its_cases(self):
        self.entries(
            PASSED.format("plain"),
            PASSED.format("model"),
            commands={"model": ["/b/bin/model_test"], "plain": ["/usr/bin/true"]},
        )
        self.report("model_test.xml", CASE.format("A"), CASE.format("B"), SKIPPED_CASE.format("C"))
        result = self.count(3, 0, 1)
        self.assertEqual(result.skipped, ["Suite.C: no display"])

    def test_program_behind_an_emulator(self):
        self.entries(
            PASSED.format("model"), commands={"model": ["/s/wine.sh", "/b/bin/model_test.exe"]}
        )
        self.report("model_test.xml", CASE.format("A"), CASE.format("B"))
        self.count(2, 0)

    def test_program_that_runs_twice(self):
        self.entries(
            PASSED.format("one"),
            PASSED.format("two"),
            commands={"one": ["/b/t", "--gtest_filter=A"], "two": ["/b/t", "--gtest_filter=B"]},
        )
        self.report("t.xml", CASE.format("A"))
        self.report("t_1.xml", CASE.format("B"))
        self.count(2, 0)

    def test_programs_whose_names_end_in_a_number(self):
        self.entries(
            PASSED.format("one"), FAILED.format("two"), commands={"one": ["/t"], "two": ["/t_1"]}
        )
        self.report("t.xml", CASE.format("A"))
        self.report("t_1.xml", BAD_CASE.format("B"))
        self.count(1, 1)

    def test_failed_cases_are_not_counted_again_as_failed_entry(self):
        self.entries(FAILED.format("model"), commands={"model": ["/b/model"]})
        self.report("model.xml", CASE.format("A"), BAD_CASE.format("B"))
        self.assertEqual(self.count(1, 1).failed, ["Suite.B"])

    def test_failure_after_the_report_was_written(self):
        self.entries(FAILED.format("model"), commands={"model": ["/b/model"]})
        self.report("model.xml", CASE.format("A"))
        self.assertIn("model", self.count(1, 1).failed[0])

    def test_crash_that_leaves_no_report(self):
        self.entries(FAILED.format("model"), commands={"model": ["/b/model"]})
        self.count(0, 1)

    def test_report_cut_off(self):
        self.entries(FAILED.format("model"), commands={"model": ["/b/model"]})
        (self.folder / "gtest" / "model.xml").write_text("<testsuites><tests")
        self.count(0, 1)

    def test_report_of_no_entry_is_left_out(self):
        self.entries(PASSED.format("driver"), commands={"driver": ["/driver.py"]})
        self.report("helper.xml", CASE.format("A"))
        self.count(1, 0)

    def test_skipped_entries_keep_their_reason(self):
        self.entries(
            PASSED.format("a"),
            NOT_RUN.format("b", "SKIP_RETURN_CODE=77", "no display"),
            NOT_RUN.format("c", "SKIP_REGULAR_EXPRESSION_MATCHED", "no clang"),
        )
        self.assertEqual(self.count(1, 0, 2).skipped, ["b: no display", "c: no clang"])

    def test_entry_that_could_not_run_is_a_failure(self):
        self.entries(NOT_RUN.format("a", "Unable to find executable", "?"))
        self.count(0, 1)

    def test_disabled_tests_are_skipped(self):
        self.entries(
            '<testcase name="off" status="disabled"/>',
            PASSED.format("model"),
            commands={"model": ["/b/model"]},
        )
        self.report("model.xml", CASE.format("A"), DISABLED_CASE.format("B"))
        self.count(1, 0, 2)

    def test_failed_step_is_the_one_failure(self):
        (self.folder / "failed-steps.txt").write_text("build: see build.log\n")
        self.assertEqual(self.count(0, 1).failed, ["build: see build.log"])

    def test_no_report_of_ctest(self):
        self.count(0, 1)

    def test_error_of_ctest_that_no_entry_shows(self):
        self.entries(PASSED.format("a"))
        (self.folder / "ctest-failed").touch()
        self.count(1, 1)

    def test_run_without_tests_fails(self):
        self.entries()
        self.assertEqual(self.count(0, 1).failed, ["no test ran"])

    def run_main(self):
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            code = tally.main([str(self.folder)])
        return code, output.getvalue().splitlines()

    def test_last_line_and_exit_code(self):
        self.entries(PASSED.format("a"), PASSED.format("b"))
        self.assertEqual(self.run_main(), (0, ["linux-release: 2 passed, 0 failed", "2 passed, 0 failed"]))

    def test_last_line_with_failures_and_skips(self):
        self.entries(FAILED.format("a"), NOT_RUN.format("b", "SKIP_RETURN_CODE=77", "no display"))
        code, lines = self.run_main()
        self.assertEqual(code, 1)
        self.assertEqual(lines[-1], "0 passed, 1 failed, 1 skipped")
        self.assertIn("  skipped: b: no display", lines)


if __name__ == "__main__":
    unittest.main()

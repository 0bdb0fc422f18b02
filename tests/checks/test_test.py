"""Tests of scripts/test.sh, with stand-ins for everything that it calls but the count."""

import os
import shutil
import signal
import subprocess
import unittest

from script_folder import SCRIPTS, ScriptTest

# Writes a report of one entry, which passes unless the preset is named in FAILING.
CTEST = r"""
while (($#)); do
    case $1 in
    --preset) preset=$2 ;;
    --output-junit) report=$2 ;;
    --show-only*) echo '{"tests": []}'; exit 0 ;;
    esac
    shift
done
[[ $preset == "$FAILING" ]] && status=fail || status=run
echo "<testsuite><testcase name='t' status='$status'/></testsuite>" >"$report"
echo "reports: $GTEST_OUTPUT"
[[ $status == run ]]
"""


class TestScriptTest(ScriptTest):
    def setUp(self):
        super().setUp()
        self.copy("test.sh", "tally.py")
        self.stand_in("scripts/setup.sh")
        self.stand_in("scripts/wine.sh")
        self.stand_in("bin/cmake")
        self.ctest()

    def ctest(self, failing="none"):
        self.stand_in("bin/ctest", f"FAILING={failing}", CTEST)

    def last_line(self, result):
        return result.stdout.splitlines()[-1]

    def built(self):
        return [call.split()[-1] for call in self.calls() if call.startswith("cmake --build")]

    def test_all_builds(self):
        result = self.run_script("test.sh")
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertEqual(self.last_line(result), "4 passed, 0 failed")
        self.assertEqual(self.built(), ["linux-release", "windows", "linux-asan", "linux-tsan"])
        self.assertIn(f"reports: xml:Z:{self.top}/build/test-results/windows/gtest/", result.stdout)

    def test_wine_is_prepared_before_and_ended_after(self):
        self.run_script("test.sh", "--windows")
        names = [call.split(" -")[0] + call.partition("wine.sh")[2] for call in self.calls()]
        self.assertEqual(
            names,
            ["setup.sh", "cmake", "cmake", "wine.sh --prepare", "ctest", "ctest", "wine.sh --end"],
        )

    def test_tests_run_beside_the_next_build_and_never_beside_other_tests(self):
        self.stand_in(
            "bin/ctest",
            f"top={self.top}",
            '[[ "$*" == *--show-only* ]] || mkdir "$top/testing" || echo "tests overlap"',
            "for ((i = 0; i < 600; ++i)); do",
            '    [[ "$*" == *linux-asan* ]] || break',
            '    grep -q "build --preset linux-tsan" "$top/calls.txt" && break',
            "    sleep 0.1",
            "done",
            '((i < 600)) || echo "no build begins"',
            '[[ "$*" == *--show-only* ]] || rmdir "$top/testing"',
            "FAILING=none",
            CTEST,
        )
        result = self.run_script("test.sh")
        self.assertEqual(self.last_line(result), "4 passed, 0 failed")
        self.assertNotIn("no build begins", result.stdout)
        self.assertNotIn("tests overlap", result.stdout)
        self.assertIn("\nlinux-asan: reports: ", result.stdout)

    def test_tests_end_with_the_script(self):
        self.stand_in(
            "bin/ctest",
            f"top={self.top}",
            '[[ "$*" == *--show-only* ]] && exit',
            'echo $$ >"$top/ctest.pid"',
            "exec sleep 1000",
        )
        # The build that runs beside those tests ends the script.
        self.stand_in(
            "bin/cmake",
            f"top={self.top}",
            '[[ "$*" == "--build"*asan ]] || exit 0',
            'until [[ -s $top/ctest.pid ]]; do sleep 0.1; done',
            "kill $PPID",
        )
        self.assertEqual(self.run_script("test.sh", "--linux").returncode, -signal.SIGTERM)
        self.wait_until_ended(*(self.top / "ctest.pid").read_text().split())

    def test_all_builds_with_what_was_downloaded_before(self):
        checkout = self.top / "checkout"
        for folder in ("checkout/.ci", "checkout/scripts", "shared/downloads"):
            (self.top / folder).mkdir(parents=True)
        shutil.copy(SCRIPTS.parent / ".ci/run", checkout / ".ci")
        self.stand_in("checkout/scripts/test.sh", 'echo "${Q7_DOWNLOADS-none}"')

        def downloads(**variables):
            environment = {name: each for name, each in os.environ.items() if name != "Q7_DOWNLOADS"}
            command = ["bash", checkout / ".ci/run"]
            return subprocess.check_output(command, env={**environment, **variables}, text=True)

        self.assertEqual(downloads(), f"{self.top}/shared/downloads\n")
        self.assertEqual(downloads(Q7_DOWNLOADS="/elsewhere"), "/elsewhere\n")
        (self.top / "shared/downloads").rmdir()
        self.assertEqual(downloads(), "none\n")

    def test_linux_needs_no_wine(self):
        result = self.run_script("test.sh", "--linux")
        self.assertEqual(self.last_line(result), "3 passed, 0 failed")
        self.assertIn("setup.sh --linux", self.calls())
        self.assertFalse([call for call in self.calls() if call.startswith("wine.sh")])

    def test_hosts_need_one_build_and_run_their_own_tests_alone(self):
        result = self.run_script("test.sh", "--host")
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertEqual(self.last_line(result), "1 passed, 0 failed")
        self.assertIn("setup.sh --host", self.calls())
        self.assertIn(f"reports: xml:{self.top}/build/test-results/host/gtest/", result.stdout)
        builds = [call for call in self.calls() if call.startswith("cmake --build")]
        self.assertEqual(
            builds,
            ["cmake --build --preset linux-release --target Q7Plugin q7-standin q7-inspect"],
        )
        runs = [call for call in self.calls() if call.startswith("ctest")]
        self.assertEqual(len(runs), 2)
        for call in runs:
            self.assertIn(
                "--preset linux-release --build-config host --tests-regex ^host_", call
            )

    def test_hosts_are_no_part_of_the_other_runs(self):
        for options in ((), ("--linux",)):
            self.run_script("test.sh", *options)
        self.assertFalse([call for call in self.calls() if "host" in call])

    def test_failing_host(self):
        self.ctest(failing="linux-release")
        result = self.run_script("test.sh", "--host")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(self.last_line(result), "0 passed, 1 failed")

    def test_failing_test(self):
        self.ctest(failing="linux-asan")
        result = self.run_script("test.sh")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(self.last_line(result), "3 passed, 1 failed")

    def test_build_that_fails(self):
        self.stand_in("bin/cmake", "echo 'no such thing'", '[[ "$*" != "--build"*release ]]')
        result = self.run_script("test.sh")
        self.assertEqual(result.returncode, 1)
        self.assertIn("no such thing", result.stdout)
        self.assertIn("linux-release: build FAILED", result.stdout)
        self.assertEqual(self.last_line(result), "3 passed, 1 failed")

    def test_setup_that_fails(self):
        self.stand_in("scripts/setup.sh", "exit 1")
        result = self.run_script("test.sh")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(self.last_line(result), "0 passed, 1 failed")
        self.assertEqual(self.built(), [])

    def test_results_of_an_earlier_run_do_not_count(self):
        old = self.top / "build/test-results/linux-release"
        old.mkdir(parents=True)
        (old / "failed-steps.txt").write_text("build: long ago\n")
        self.assertEqual(self.run_script("test.sh").returncode, 0)

    def test_unknown_option(self):
        result = self.run_script("test.sh", "--mac")
        self.assertEqual(result.returncode, 2)
        self.assertEqual(self.calls(), [])


if __name__ == "__main__":
    unittest.main()

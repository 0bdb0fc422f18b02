"""Tests of scripts/bench.sh, with stand-ins for everything that it calls."""

import unittest

from script_folder import ScriptTest

PROGRAMS = (
    "live_send",
    "calls",
    "geometry",
    "merge",
    "save",
    "assembly",
    "archive",
    "load",
    "exporters",
)


class BenchTest(ScriptTest):
    def setUp(self):
        super().setUp()
        self.copy("bench.sh")
        self.stand_in("scripts/setup.sh")
        self.stand_in("bin/cmake")
        self.stand_in("bin/python3")
        self.stand_in(
            "bin/blender", 'while [[ $1 != -- ]]; do shift; done; echo "row of blender" >"$2"'
        )
        (self.top / "build/linux/bin").mkdir(parents=True)
        for name in PROGRAMS:
            self.program(name)

    def program(self, name, code=0):
        self.stand_in(
            f"build/linux/bin/q7bench_{name}", f'echo "row of {name} $*"', f"exit {code}"
        )

    def bench(self, *arguments):
        return self.run_script("bench.sh", *arguments)

    def measured(self):
        """The programs that ran, without their arguments."""
        names = [call.split()[0].removeprefix("q7bench_") for call in self.calls()]
        return [name for name in names if name in (*PROGRAMS, "blender")]

    def rows(self, name, folder="build/bench"):
        return (self.top / folder / f"{name}.tsv").read_text()

    def report_call(self):
        return self.calls()[-1].split()

    def test_all_of_them_and_the_report(self):
        result = self.bench()
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.measured(), [*PROGRAMS, "blender"])
        self.assertEqual(self.rows("calls"), "row of calls \n")
        self.assertEqual(self.rows("blender"), "row of blender\n")
        self.assertEqual(self.report_call()[:4], ["python3", "-B", "bench/report.py", "docs"])
        self.assertEqual(len(self.report_call()[4:]), len(PROGRAMS) + 1)

    def test_it_sets_up_and_builds_first(self):
        self.bench("load")
        self.assertEqual(
            self.calls()[:3],
            [
                "setup.sh --bench",
                "cmake --preset linux-release",
                "cmake --build --preset linux-release --target q7benchmarks",
            ],
        )

    def test_some_of_them_with_the_last_rows_of_the_others(self):
        self.bench("save")
        self.bench("load", "calls")
        self.assertEqual(self.measured(), ["save", "load", "calls"])
        rows = [f"build/bench/{name}.tsv" for name in ("calls", "load", "save")]
        self.assertEqual(self.report_call()[3:], ["--partial", "docs", *rows])

    def test_quick_test_leaves_the_report_alone(self):
        self.assertEqual(self.bench("--smoke").returncode, 0)
        self.assertEqual(self.rows("calls", "build/bench/smoke"), "row of calls --smoke\n")
        self.assertEqual(
            self.report_call()[:5],
            ["python3", "-B", "bench/report.py", "--smoke", "build/bench/smoke"],
        )
        self.assertTrue([call for call in self.calls() if call.endswith("blender.new --smoke")])

    def test_program_that_fails(self):
        self.bench("load")
        self.program("load", code=3)
        before = self.rows("load")
        result = self.bench("load", "calls")
        self.assertEqual(result.returncode, 1)
        self.assertIn("bench: build/linux/bin/q7bench_load failed", result.stderr)
        self.assertEqual(self.rows("load"), before)
        self.assertEqual(self.measured(), ["load", "load"])

    def test_blender_that_fails(self):
        self.stand_in("bin/blender", "echo 'no exporter'", "exit 1")
        result = self.bench("blender")
        self.assertEqual(result.returncode, 1)
        self.assertIn("no exporter", result.stderr)
        self.assertIn("bench: blender failed", result.stderr)

    def test_program_that_was_not_built(self):
        (self.top / "build/linux/bin/q7bench_calls").unlink()
        result = self.bench("calls")
        self.assertEqual(result.returncode, 1)
        self.assertIn("bench: build/linux/bin/q7bench_calls was not built", result.stderr)

    def test_build_that_fails(self):
        self.stand_in("bin/cmake", "echo 'no such thing'", '[[ "$*" != --build* ]]')
        result = self.bench()
        self.assertEqual(result.returncode, 1)
        self.assertIn("no such thing", result.stderr)
        self.assertEqual(self.measured(), [])

    def test_setup_that_fails(self):
        self.stand_in("scripts/setup.sh", "exit 1")
        self.assertEqual(self.bench().returncode, 1)
        self.assertEqual(self.measured(), [])

    def test_report_that_fails(self):
        self.stand_in("bin/python3", "exit 1")
        self.assertEqual(self.bench("load").returncode, 1)

    def test_unknown_name(self):
        result = self.bench("--smoke", "speed")
        self.assertEqual(result.returncode, 2)
        self.assertIn("bench: there is no benchmark speed", result.stderr)
        self.assertEqual(self.calls(), [])


if __name__ == "__main__":
    unittest.main()

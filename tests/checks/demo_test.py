"""Tests of how scripts/demo.sh sets up and builds, with stand-ins. What it shows is tested by tests/docs."""

import unittest

from script_folder import ScriptTest

BUILD = "cmake --build build/linux --target q7-send q7-inspect q7-standin"


class DemoTest(ScriptTest):
    def setUp(self):
        super().setUp()
        self.copy("demo.sh")
        self.stand_in("scripts/setup.sh")
        # The demo ends here.
        self.stand_in("bin/cmake", "echo 'no such thing'", '[[ "$*" != --build* ]]')

    def test_it_sets_up_and_builds_only_what_it_runs(self):
        result = self.run_script("demo.sh")
        self.assertEqual(result.returncode, 1)
        self.assertIn("no such thing", result.stderr)
        self.assertIn("demo: the build failed, see build/demo/build.log", result.stderr)
        self.assertEqual(self.calls(), ["setup.sh --demo", "cmake --preset linux-demo", BUILD])

    def test_a_build_with_tests_stays_one(self):
        (self.top / "build/linux").mkdir(parents=True)
        (self.top / "build/linux/build.ninja").touch()
        self.run_script("demo.sh")
        self.assertEqual(self.calls(), ["setup.sh --demo", BUILD])

    def test_arguments_are_refused(self):
        result = self.run_script("demo.sh", "--help")
        self.assertEqual(result.returncode, 2)
        self.assertEqual(result.stderr, "demo: unexpected argument --help (scripts/demo.sh takes none)\n")
        self.assertEqual(self.calls(), [])

    def test_setup_that_fails(self):
        self.stand_in("scripts/setup.sh", "exit 1")
        self.assertEqual(self.run_script("demo.sh").returncode, 1)
        self.assertEqual(self.calls(), ["setup.sh --demo"])


if __name__ == "__main__":
    unittest.main()

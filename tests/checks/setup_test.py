"""Tests of scripts/setup.sh, with stand-ins for the package tools."""

import re
import unittest

from script_folder import SCRIPTS, ScriptTest


def packages_of(name):
    return re.search(rf"^{name}=\((.*?)\)", (SCRIPTS / "setup.sh").read_text(), re.M | re.S)[
        1
    ].split()


class SetupTest(ScriptTest):
    def setUp(self):
        super().setUp()
        self.copy("setup.sh")
        self.stand_in("bin/apt-get")
        self.stand_in("bin/sudo", '"$@"')

    def installed(self, *packages, removed=()):
        lines = [f"installed {name}" for name in packages]
        lines += [f"config-files {name}" for name in removed]
        self.stand_in("bin/dpkg-query", *(f"echo '{line}'" for line in lines))

    def wanted(self):
        """What apt-get was told to install."""
        calls = [call for call in self.calls() if " install " in call]
        self.assertEqual(len(calls), 1)
        self.assertIn("--no-install-recommends", calls[0])
        return calls[0].split("--no-install-recommends ")[1].split()

    def test_nothing_is_missing(self):
        self.installed(*packages_of("both"), *packages_of("linux"), *packages_of("windows"))
        result = self.run_script("setup.sh")
        self.assertEqual(result.returncode, 0)
        self.assertEqual(result.stdout, "setup: nothing to install\n")
        self.assertFalse([call for call in self.calls() if call.startswith("apt-get")])

    def test_only_what_is_missing_is_installed(self):
        everything = packages_of("both") + packages_of("linux") + packages_of("windows")
        everything.remove("cmake")
        everything.remove("wine")
        self.installed(*everything, removed=["cmake"])
        self.assertEqual(self.run_script("setup.sh").returncode, 0)
        self.assertEqual(self.wanted(), ["cmake", "wine"])

    def test_linux_needs_no_cross_tools(self):
        self.installed("git")
        self.assertEqual(self.run_script("setup.sh", "--linux").returncode, 0)
        wanted = self.wanted()
        self.assertIn("g++", wanted)
        self.assertFalse(set(wanted) & set(packages_of("windows")))

    def test_windows_needs_no_tools_of_linux_only(self):
        self.installed("git")
        self.assertEqual(self.run_script("setup.sh", "--windows").returncode, 0)
        wanted = self.wanted()
        self.assertIn("wine64", wanted)
        self.assertFalse(set(wanted) & set(packages_of("linux")))

    def test_unreachable_source_is_no_failure_when_installing_works(self):
        self.installed("git")
        self.stand_in("bin/apt-get", '[[ "$*" != *update* ]]')
        self.assertEqual(self.run_script("setup.sh").returncode, 0)

    def test_failed_installation(self):
        self.installed("git")
        self.stand_in("bin/apt-get", "echo 'E: no such package'", '[[ "$*" != *install* ]]')
        result = self.run_script("setup.sh")
        self.assertEqual(result.returncode, 1)
        self.assertIn("E: no such package", result.stderr)
        self.assertIn("setup: apt-get could not install", result.stderr)

    def test_unknown_option(self):
        result = self.run_script("setup.sh", "--mac")
        self.assertEqual(result.returncode, 1)
        self.assertIn("setup: unknown option --mac", result.stderr)
        self.assertEqual(self.calls(), [])


if __name__ == "__main__":
    unittest.main()

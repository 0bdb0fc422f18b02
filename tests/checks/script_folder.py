"""A folder with copies of the scripts and stand-ins for the programs that they call."""

import os
import shutil
import signal
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

SCRIPTS = Path(__file__).parents[2] / "scripts"


def runs(process):
    """Whether the process is there, and not just because nobody asked how it ended."""
    try:
        return Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()[0] != "Z"
    except OSError:
        return False


class ScriptTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.top = Path(temporary.name)
        (self.top / "scripts").mkdir()
        (self.top / "bin").mkdir()
        self.environment = dict(os.environ, PATH=f"{self.top}/bin:{os.environ['PATH']}")
        # The tests' own machine may have the files that a script looks for.
        self.environment.pop("Q7_DOWNLOADS", None)

    def copy(self, *names):
        for name in (*names, "jobs.sh"):
            shutil.copy(SCRIPTS / name, self.top / "scripts" / name)

    def stand_in(self, path, *lines):
        """A program that notes its arguments in calls.txt, then does what the lines tell."""
        file = self.top / path
        note = f'echo "{file.name} $*" >>"{self.top}/calls.txt"'
        file.write_text("\n".join(["#!/bin/bash", note, *lines]) + "\n")
        file.chmod(0o755)

    def run_script(self, name, *arguments):
        return subprocess.run(
            ["bash", self.top / "scripts" / name, *arguments],
            capture_output=True,
            text=True,
            env=self.environment,
        )

    def wait_until(self, condition, what):
        end = time.monotonic() + 60
        while not condition():
            self.assertLess(time.monotonic(), end, what)
            time.sleep(0.02)

    def wait_until_ended(self, *processes):
        """Processes that the test started, by their ids; those that do not end by themselves are killed."""
        try:
            self.wait_until(lambda: not any(map(runs, processes)), f"{processes} still run")
        finally:
            for process in filter(runs, processes):
                os.kill(int(process), signal.SIGKILL)

    def calls(self):
        file = self.top / "calls.txt"
        return file.read_text().splitlines() if file.exists() else []

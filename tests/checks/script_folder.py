"""A folder with copies of the scripts and stand-ins for the programs that they call."""

import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SCRIPTS = Path(__file__).parents[2] / "scripts"


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

    def calls(self):
        file = self.top / "calls.txt"
        return file.read_text().splitlines() if file.exists() else []

"""Tests of cmake/Q7MinizipSource.cmake: where the source of minizip-ng comes from.

    minizip_test.py CMAKE
"""

import hashlib
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

MODULE = Path(__file__).parents[2] / "cmake" / "Q7MinizipSource.cmake"
NAME = "minizip-ng-4.0.10.tar.gz"
CONTENT = b"a release"
cmake = "cmake"


class MinizipTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.top = Path(temporary.name).resolve()
        (self.top / "cmake").mkdir()
        # The release of the tests is a file of a few bytes.
        text = MODULE.read_text()
        pinned = text.split("set(Q7_MINIZIP_HASH ")[1].split(")")[0]
        self.assertEqual(len(pinned), 64)
        module = self.top / "cmake" / MODULE.name
        module.write_text(text.replace(pinned, hashlib.sha256(CONTENT).hexdigest()))
        self.kept = self.top / "build" / "packages" / NAME
        self.server = self.top / "server"
        self.environment = dict(os.environ)
        self.environment.pop("Q7_DOWNLOADS", None)

    def file(self, folder, content=CONTENT):
        (self.top / folder).mkdir(parents=True, exist_ok=True)
        (self.top / folder / NAME).write_bytes(content)

    def fetch(self):
        url = (self.server / NAME).as_uri()
        return subprocess.run(
            [cmake, f"-DQ7_MINIZIP_URL={url}", "-P", self.top / "cmake" / MODULE.name],
            capture_output=True,
            text=True,
            env=self.environment,
            cwd="/",
        )

    def assert_refused(self, *words):
        done = self.fetch()
        self.assertNotEqual(done.returncode, 0)
        text = " ".join(done.stderr.split())
        for word in words:
            self.assertIn(word, text)

    def test_download_is_kept(self):
        self.file("server")
        done = self.fetch()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.kept.read_bytes(), CONTENT)
        shutil.rmtree(self.server)
        self.assertEqual(self.fetch().returncode, 0)

    def test_failed_download_gives_its_reason_and_leaves_nothing(self):
        self.assert_refused(NAME)
        self.assertEqual(list(self.kept.parent.glob("*")), [])

    def test_download_of_something_else_is_not_kept(self):
        self.file("server", b"another release")
        self.assert_refused(hashlib.sha256(b"another release").hexdigest())
        self.assertEqual(list(self.kept.parent.glob("*")), [])

    def test_downloaded_files_come_first(self):
        self.file("server", b"must not be read")
        self.file("given")
        for folder in (str(self.top / "given"), "given"):
            self.environment["Q7_DOWNLOADS"] = folder
            self.kept.unlink(missing_ok=True)
            done = self.fetch()
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertEqual(self.kept.read_bytes(), CONTENT)
        del self.environment["Q7_DOWNLOADS"]
        self.assertEqual(self.fetch().returncode, 0)

    def test_folder_without_the_file_leaves_the_download(self):
        self.file("server")
        (self.top / "given").mkdir()
        self.environment["Q7_DOWNLOADS"] = str(self.top / "given")
        self.assertEqual(self.fetch().returncode, 0)
        self.assertTrue(self.kept.exists())

    def test_changed_file_is_refused(self):
        self.file("server")
        self.file("given", b"changed")
        self.environment["Q7_DOWNLOADS"] = str(self.top / "given")
        self.assert_refused(NAME, hashlib.sha256(b"changed").hexdigest())

    def test_folder_that_does_not_exist_is_refused(self):
        self.file("server")
        self.environment["Q7_DOWNLOADS"] = str(self.top / "given")
        self.assert_refused("Q7_DOWNLOADS", "is not a folder")


if __name__ == "__main__":
    cmake = sys.argv.pop(1)
    unittest.main()

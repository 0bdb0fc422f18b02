"""Tests of cmake/Q7MinizipSource.cmake: where the source of minizip-ng comes from.

    minizip_test.py CMAKE
"""

import hashlib
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

MODULE = Path(__file__).parents[2] / "cmake" / "Q7MinizipSource.cmake"
NAME = "minizip-ng-4.0.10.tar.gz"
CONTENT = b"a release"
PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(minizip_test NONE)
include(cmake/Q7MinizipSource.cmake)
set(Q7_DOWNLOADS "" CACHE STRING "")
q7_minizip_tarball(tarball reason "${PROJECT_SOURCE_DIR}/build/packages" "${PROJECT_BINARY_DIR}")
message(STATUS "found: ${tarball}")
message(STATUS "reason: ${reason}")
"""
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
        self.working = self.top / "working"
        self.working.mkdir()
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
            cwd=self.working,
        )

    def configure(self, *options):
        """Configures a project that asks for the source, and gives back the path that the project got."""
        (self.top / "CMakeLists.txt").write_text(PROJECT)
        url = (self.server / NAME).as_uri()
        done = subprocess.run(
            [cmake, "--no-warn-unused-cli", "-S", self.top, "-B", self.top / "binary"]
            + [f"-DQ7_MINIZIP_URL={url}", *options],
            capture_output=True,
            text=True,
            env=self.environment,
            cwd=self.working,
        )
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stderr, "")
        return re.search(r"-- found: (.*)\n-- reason: (.*)\n", done.stdout).groups()

    def packages_that_cannot_be_written(self):
        """Folders of packages in which not even the superuser makes a file."""
        packages = self.kept.parent
        packages.parent.mkdir()
        packages.symlink_to("/proc")
        yield packages
        packages.unlink()
        packages.touch()
        yield packages

    def assert_refused(self, *words):
        done = self.fetch()
        self.assertNotEqual(done.returncode, 0)
        text = " ".join(done.stderr.split())
        for word in words:
            self.assertIn(word, text)
        self.assertEqual(text.count("CMake Error"), 1)

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

    def test_folder_in_the_place_of_the_file_is_refused(self):
        self.file("server")
        (self.top / "given" / NAME).mkdir(parents=True)
        self.environment["Q7_DOWNLOADS"] = "given"
        self.assert_refused(f"given/{NAME} is a folder")
        del self.environment["Q7_DOWNLOADS"]
        self.kept.mkdir(parents=True)
        self.assert_refused(f"build/packages/{NAME} is a folder")

    def test_link_to_a_file_is_kept_as_a_file(self):
        self.file("elsewhere")
        (self.top / "given").mkdir()
        (self.top / "given" / NAME).symlink_to("../elsewhere/" + NAME)
        self.environment["Q7_DOWNLOADS"] = "given"
        # Left by a copy of a link.
        self.kept.parent.mkdir(parents=True)
        self.kept.symlink_to("nothing")
        done = self.fetch()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertFalse(self.kept.is_symlink())
        self.assertEqual(self.kept.read_bytes(), CONTENT)
        self.assertEqual(list(self.kept.parent.iterdir()), [self.kept])

    def test_cut_file_among_the_packages_is_fetched_again(self):
        self.file("server")
        self.file("given")
        for folder in ("", "given"):
            self.file("build/packages", CONTENT[:-1])
            self.environment["Q7_DOWNLOADS"] = folder
            done = self.fetch()
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertIn("it is not the release that is wanted", done.stdout)
            self.assertEqual(list(self.kept.parent.iterdir()), [self.kept])
            self.assertEqual(self.kept.read_bytes(), CONTENT)

    def test_cut_file_among_the_packages_is_removed_where_nothing_replaces_it(self):
        self.file("build/packages", CONTENT[:-1])
        self.assert_refused(NAME)
        self.assertEqual(list(self.kept.parent.iterdir()), [])

    def test_given_file_is_used_where_it_is_when_no_copy_can_be_kept(self):
        self.file("given")
        self.environment["Q7_DOWNLOADS"] = "given"
        for packages in self.packages_that_cannot_be_written():
            with self.subTest(packages=packages.resolve()):
                self.assertEqual(self.configure(), (str(self.top / "given" / NAME), ""))
                self.assertEqual(self.fetch().returncode, 0)

    def test_download_goes_to_the_binary_folder_when_it_cannot_be_kept(self):
        for packages in self.packages_that_cannot_be_written():
            with self.subTest(packages=packages.resolve()):
                self.file("server")
                expected = self.top / "binary" / NAME
                self.assertEqual(self.configure(), (str(expected), ""))
                self.assertEqual(expected.read_bytes(), CONTENT)
                # The second run needs no download.
                shutil.rmtree(self.server)
                self.assertEqual(self.configure(), (str(expected), ""))
                expected.unlink()
                self.assert_refused("build/packages cannot be written")

    def test_reason_is_always_set(self):
        self.assertRegex(self.configure()[1], NAME)
        self.file("server", b"another release")
        self.assertRegex(self.configure()[1], hashlib.sha256(b"another release").hexdigest())

    def test_unusual_names_of_folders(self):
        # Brackets join the items of a list in CMake.
        for name in ("a [b", "a]b\\c${HOME}", "off"):
            with self.subTest(folder=name):
                self.file(name)
                self.environment["Q7_DOWNLOADS"] = name
                done = self.fetch()
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertEqual(self.kept.read_bytes(), CONTENT)
                del self.environment["Q7_DOWNLOADS"]
                self.kept.unlink()
                option = f"-DQ7_DOWNLOADS={self.top / name}"
                self.assertEqual(self.configure(option), (str(self.kept), ""))
                self.kept.unlink()

    def test_semicolon_in_the_name_of_the_folder_is_refused(self):
        self.file("a;b")
        self.environment["Q7_DOWNLOADS"] = "a;b"
        self.assert_refused("Q7_DOWNLOADS: a;b contains a semicolon")


if __name__ == "__main__":
    cmake = sys.argv.pop(1)
    unittest.main()

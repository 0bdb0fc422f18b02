import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from support import LIMIT, NO_CORE, PACKAGE, ProcessTest, needed

import q7plugin
from q7plugin import _exports, _library

USE = "import q7plugin; print(q7plugin.get_plugin_version(), q7plugin.library_path())"


class FakeFunction:
    argtypes = restype = None


class FakeLibrary:
    """Exports what it is asked for, and notes it."""

    def __init__(self, missing=()):
        self.asked = []
        self.missing = missing

    def __getitem__(self, symbol):
        if symbol in self.missing:
            raise AttributeError(symbol)
        self.asked.append(symbol)
        return FakeFunction()


def listed(column):
    lines = Path(needed("Q7_EXPORTS")).read_text().splitlines()
    rows = [line.split() for line in lines if line and not line.startswith("#")]
    return [columns[column] for columns in rows]


class ExportTable(unittest.TestCase):
    def test_every_export_is_declared_in_the_order_of_the_list(self):
        self.assertEqual([export.windows for export in _exports.EXPORTS], listed(0))
        self.assertEqual([export.elsewhere for export in _exports.EXPORTS], listed(-1))
        self.assertEqual(len(_exports.EXPORTS), 98)
        self.assertEqual(len({export.name for export in _exports.EXPORTS}), 98)

    def test_each_system_is_asked_for_its_own_names(self):
        for windows, column in ((True, 0), (False, -1)):
            library = FakeLibrary()
            functions = _exports.Functions(library, windows)
            self.assertEqual(library.asked, listed(column))
            for export in _exports.EXPORTS:
                self.assertEqual(getattr(functions, export.name).argtypes, export.arguments)
                self.assertEqual(getattr(functions, export.name).restype, export.result)

    def test_the_types_are_those_of_the_header(self):
        # How many arguments a function has can be read from its declaration.
        header = (Path(needed("Q7_EXPORTS")).parent / "q7plugin.h").read_text()
        header = re.sub(r"/\*.*?\*/", "", header, flags=re.S)
        found = re.findall(r"Q7_API [^;()]*?[ *](\w+)\(([^)]*)\)", header)
        counts = {name: 0 if text in ("", "void") else text.count(",") + 1 for name, text in found}
        for export in _exports.EXPORTS[:-3]:
            self.assertEqual(len(export.arguments), counts[export.name], export.name)
        self.assertEqual(len(_exports.EXPORTS[:-3]), len(counts.keys() - {"Q7AnimProperty"}))

    def test_raw_names(self):
        for export in _exports.EXPORTS:
            self.assertIn(export.name, dir(q7plugin.raw))
            self.assertIs(
                getattr(q7plugin.raw, export.name), getattr(_library.functions(), export.name)
            )
        with self.assertRaises(AttributeError):
            q7plugin.raw.NoSuchFunction
        with self.assertRaises(AttributeError):
            _library.functions().NoSuchFunction


class Candidates(unittest.TestCase):
    def test_names(self):
        self.assertEqual(_library.file_name(True), "Q7Plugin.dll")
        self.assertEqual(_library.file_name(False), "libQ7Plugin.so")

    def test_order(self):
        with tempfile.TemporaryDirectory() as folder:
            file = os.path.join(folder, "mine.so")
            self.assertEqual(_library.candidates(file, "/env", "/package"), [file])
            self.assertEqual(
                _library.candidates(Path(folder), "/env", "/package", windows=True),
                [os.path.join(folder, "Q7Plugin.dll")],
            )
            self.assertEqual(
                _library.candidates(None, folder, "/package", windows=False),
                [os.path.join(folder, "libQ7Plugin.so")],
            )
            self.assertEqual(
                _library.candidates(None, "", "/site/q7plugin", windows=False),
                ["/site/q7plugin/libQ7Plugin.so", "/site/libQ7Plugin.so", "libQ7Plugin.so"],
            )
            self.assertEqual(
                _library.candidates(None, None, "/site/q7plugin", windows=True)[0],
                os.path.join("/site/q7plugin", "Q7Plugin.dll"),
            )

    def test_a_second_library_is_refused(self):
        path = q7plugin.load()
        self.assertEqual(q7plugin.library_path(), path)
        self.assertEqual(q7plugin.load(path), path)
        self.assertEqual(q7plugin.load(Path(path).parent), path)
        with self.assertRaisesRegex(
            q7plugin.Q7Error, "cannot be loaded: .* is, and a process has one"
        ):
            q7plugin.load("/another/libQ7Plugin.so")


class Loading(ProcessTest):
    def test_importing_loads_nothing(self):
        result = self.run_python("import q7plugin; print(q7plugin.library_path())", "/no/such/file")
        self.assertEqual((result.stdout, result.stderr), ("None\n", ""))

    def test_the_variable_names_file_or_folder(self):
        library = Path(needed("Q7PLUGIN_LIBRARY"))
        for place in (library, library.parent):
            result = self.run_python(USE, place)
            self.assertEqual((result.stdout, result.stderr), (f"0.5.7.0 {library}\n", ""))

    def test_a_path_wins_over_the_variable(self):
        library = needed("Q7PLUGIN_LIBRARY")
        result = self.run_python(f"import q7plugin; print(q7plugin.load({library!r}))", "/no/such")
        self.assertEqual((result.stdout, result.stderr), (f"{library}\n", ""))

    def test_the_error_names_what_was_tried(self):
        text = self.folder / "text.so"
        text.write_text("no library")
        for library, expected in (
            (None, [str(PACKAGE / "q7plugin" / "libQ7Plugin.so"), str(PACKAGE / "libQ7Plugin.so")]),
            ("/no/such/file", ["/no/such/file: there is no such file"]),
            (text, [f"{text}: "]),
        ):
            result = self.run_python("import q7plugin; q7plugin.Session()", library)
            self.assertIn("LibraryNotFoundError: the Q7Plugin library could not be", result.stderr)
            for place in expected:
                self.assertIn(f"\n  {place}", result.stderr)
            self.assertNotIn("Exception ignored", result.stderr)

    def test_a_library_without_the_exports_is_refused(self):
        with self.assertRaisesRegex(OSError, "^it does not export Q7EndNode$"):
            _exports.Functions(_library._Exported(FakeLibrary(["Q7EndNode"])), False)

    def test_an_exception_of_the_library_ends_the_process(self):
        """The reason for all the checks: Q7DeleteInstance always throws."""
        result = self.run_python(
            NO_CORE + "session = q7plugin.Session()\n"
            "q7plugin.raw.Q7DeleteInstance(session.handle, 1)\n",
            needed("Q7PLUGIN_LIBRARY"),
        )
        self.assertEqual(result.returncode, -6)
        self.assertIn("invalid unordered_map<K, T> key", result.stderr)


class Installed(ProcessTest):
    """The package as pip installs it from its folder, without a network."""

    def setUp(self):
        for module in ("pip", "setuptools", "wheel"):
            if subprocess.run(
                [sys.executable, "-c", f"import {module}"], capture_output=True
            ).returncode:
                self.skipTest(f"{module} is not installed")
        super().setUp()
        # Building leaves files in the folder.
        unwanted = shutil.ignore_patterns("build", "*.egg-info", "__pycache__", ".mypy_cache")
        source = shutil.copytree(PACKAGE, self.folder / "source", ignore=unwanted)
        self.site = self.folder / "site"
        result = subprocess.run(
            [
                sys.executable,
                "-m",
                "pip",
                "install",
                "--no-build-isolation",
                "--no-deps",
                "--no-index",
            ]
            + [
                "--no-cache-dir",
                "--disable-pip-version-check",
                "--target",
                str(self.site),
                str(source),
            ],
            env={**os.environ, "PIP_CONFIG_FILE": os.devnull},
            capture_output=True,
            text=True,
            timeout=LIMIT,
        )
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_it_works_from_another_folder(self):
        shutil.rmtree(self.folder / "source")
        self.assertTrue((self.site / "q7plugin" / "py.typed").exists())
        library = needed("Q7PLUGIN_LIBRARY")
        result = self.run_python(USE + "; print(q7plugin.__file__)", library, self.site)
        expected = f"0.5.7.0 {library}\n{self.site / 'q7plugin' / '__init__.py'}\n"
        self.assertEqual((result.stdout, result.stderr), (expected, ""))
        # A library in the package's folder is found without a word.
        for file in Path(library).parent.glob("*.so*"):
            shutil.copy(file, self.site / "q7plugin")
        result = self.run_python(USE, None, self.site)
        expected = f"0.5.7.0 {self.site / 'q7plugin' / 'libQ7Plugin.so'}\n"
        self.assertEqual((result.stdout, result.stderr), (expected, ""))


class Types(unittest.TestCase):
    def test_mypy_has_no_finding(self):
        if subprocess.run([sys.executable, "-c", "import mypy"], capture_output=True).returncode:
            self.skipTest("mypy is not installed")
        with tempfile.TemporaryDirectory() as cache:
            result = subprocess.run(
                [sys.executable, "-m", "mypy", "--cache-dir", cache],
                cwd=PACKAGE,
                capture_output=True,
                text=True,
                timeout=LIMIT,
            )
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)


if __name__ == "__main__":
    unittest.main()

"""What the tests share: a reader of streams, the inspector, the stand-in renderer, a recorder.

    Q7PLUGIN_LIBRARY  the library
    Q7_INSPECT        the program q7-inspect
    Q7_STANDIN        the program q7-standin
    Q7_EXPORTS        the list of exports, exports.txt
"""

import json
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

PACKAGE = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(PACKAGE))

# The library's own files, and the records of an installed renderer, are those of the tests alone.
_home = tempfile.TemporaryDirectory()
os.environ["XDG_DATA_HOME"] = _home.name
os.environ["XDG_DATA_DIRS"] = _home.name
HOME = Path(_home.name)

NO_CORE = "import resource, q7plugin\nresource.setrlimit(resource.RLIMIT_CORE, (0, 0))\n"
LIMIT = 120  # seconds, for anything that should take far less


def needed(name):
    value = os.environ.get(name)
    if not value:
        raise SystemExit(f"{name} is not set; the head of {__file__} tells what it is")
    return value


class Reader:
    """A model stream, as docs/formats/model_stream.md describes it."""

    def __init__(self, data):
        self.data = data
        self.at = 0
        if self.word() != 11:
            raise ValueError("not a model stream of version 11")
        self.header = json.loads(self.text())
        self.materials = {self.text(): self.text() for _ in range(self.word())}
        self.instances = [
            {"mesh": self.text(), "material": self.text(), "transform": self.numbers("f", 16)}
            for _ in range(self.word())
        ]
        self.meshes = {self.text(): self.mesh() for _ in range(self.word())}
        if self.at != len(data):
            raise ValueError(f"{len(data) - self.at} bytes too many")

    def take(self, size):
        if size > len(self.data) - self.at:
            raise ValueError(f"at byte {self.at}: {size} bytes are needed")
        self.at += size
        return self.data[self.at - size : self.at]

    def word(self):
        return struct.unpack("<I", self.take(4))[0]

    def text(self):
        return self.take(2 * self.word()).decode("utf-16-le", "surrogatepass")

    def numbers(self, kind, count):
        return struct.unpack(f"<{count}{kind}", self.take(count * struct.calcsize(kind)))

    def mesh(self):
        kinds = {"positions": "f", "normals": "f", "uvs": "f", "colors": "B", "indices": "i"}
        return {name: self.numbers(kind, self.word()) for name, kind in kinds.items()}


class Recorder:
    """Stands in front of a library's functions, and notes which are called, and with what."""

    def __init__(self, functions, passing=True):
        self.functions = functions
        self.passing = passing
        self.calls = []

    def __getattr__(self, name):
        function = getattr(self.functions, name)

        def call(*arguments):
            self.calls.append((name, arguments))
            return function(*arguments) if self.passing else None

        return call

    def names(self):
        return [name for name, _ in self.calls]


class LibraryTest(unittest.TestCase):
    """A test with a session and a folder."""

    def setUp(self):
        import q7plugin

        needed("Q7PLUGIN_LIBRARY")
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)
        self.session = q7plugin.Session()
        self.addCleanup(self.session.close)

    def saved(self, session=None):
        file = self.folder / "saved.q7mesh"
        (session or self.session).save_raw_to_file(file)
        return Reader(file.read_bytes())

    def record(self, passing=True):
        recorder = Recorder(self.session._raw, passing)
        self.session._raw = recorder
        self.addCleanup(setattr, self.session, "_raw", recorder.functions)
        return recorder


def inspect(*arguments):
    """Exit code and output of q7-inspect."""
    result = subprocess.run(
        [needed("Q7_INSPECT"), *map(str, arguments)], capture_output=True, text=True, timeout=LIMIT
    )
    return result.returncode, result.stdout + result.stderr


def inspected(file):
    code, out = inspect("--json", file)
    if code:
        raise AssertionError(out)
    return json.loads(out)


class Standin:
    """q7-standin as a process, ready for a client. In no case does it live for longer than a minute."""

    def __init__(self, *options):
        self.folder = Path(tempfile.mkdtemp())
        self.process = subprocess.Popen(
            [needed("Q7_STANDIN"), "--ready-file", "ready", "--out", "received"]
            + ["--exit-after", "60000", *options],
            cwd=self.folder,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
        )
        end = time.monotonic() + LIMIT
        while not (self.folder / "ready").exists():
            if self.process.poll() is not None or time.monotonic() > end:
                self.close()
                raise AssertionError(f"the stand-in is not ready: {self.process.stdout.read()}")
            time.sleep(0.01)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def finish(self):
        """Waits for its end. Exit code, and what it printed."""
        out, _ = self.process.communicate(timeout=LIMIT)
        return self.process.returncode, out

    def received(self):
        return sorted(self.folder.glob("received/*"))

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        if self.process.stdout and not self.process.stdout.closed:
            self.process.stdout.close()
        shutil.rmtree(self.folder, ignore_errors=True)


def numpy_or_skip():
    try:
        import numpy
    except ImportError:
        raise unittest.SkipTest("numpy is not installed") from None
    return numpy


def run_python(code, folder, library=None, path=PACKAGE):
    """Runs code in a process of its own, with the package at a path."""
    environment = {**os.environ, "PYTHONPATH": str(path), "PYTHONDONTWRITEBYTECODE": "1"}
    environment.pop("Q7PLUGIN_LIBRARY", None)
    if library is not None:
        environment["Q7PLUGIN_LIBRARY"] = str(library)
    return subprocess.run(
        [sys.executable, "-c", code],
        cwd=folder,
        env=environment,
        capture_output=True,
        text=True,
        timeout=LIMIT,
    )


class ProcessTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)

    def run_python(self, code, library=None, path=PACKAGE):
        return run_python(code, self.folder, library, path)

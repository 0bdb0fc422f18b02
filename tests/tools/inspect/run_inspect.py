#!/usr/bin/env python3
"""Runs q7-inspect as a process: exit codes, streams, line ends, names beyond the code page.

    run_inspect.py [LAUNCHER...] PROGRAM
"""

import json
import re
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

COMMAND: list[str] = []


def wide(text: str) -> bytes:
    units = text.encode("utf-16-le", "surrogatepass")
    return struct.pack("<I", len(units) // 2) + units


def floats(*values: float) -> bytes:
    return struct.pack(f"<I{len(values)}f", len(values), *values)


def stream(mesh: str) -> bytes:
    header = {"dccPluginInfo": "é", "materialVersion": 1, "textureFolder": "", "triangleCount": 1}
    transform = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]
    one = struct.pack("<I", 1)
    return b"".join(
        [
            struct.pack("<I", 11),
            wide(json.dumps(header, ensure_ascii=False)),
            one + wide("red") + wide("<Material/>"),
            one + wide(mesh) + wide("red") + struct.pack("<16f", *transform),
            one + wide(mesh),
            floats(0, 0, 0, 1, 0, 0, 0, 1, 0) + floats() + floats(0, 0, 1, 0, 0, 1),
            struct.pack("<I", 0) + struct.pack("<4i", 3, 0, 1, 2),
        ]
    )


class RunInspect(unittest.TestCase):
    def setUp(self) -> None:
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)

    def run_program(self, *arguments: str) -> subprocess.CompletedProcess:
        # In the folder and with bare names, which mean the same to every platform.
        return subprocess.run(
            [*COMMAND, *arguments], cwd=self.folder, capture_output=True, timeout=120
        )

    def test_unicode_arguments_and_output(self) -> None:
        name = "模型 ä🏠.stream"
        (self.folder / name).write_bytes(stream("家🏠"))
        run = self.run_program("--json", name)
        self.assertEqual((run.returncode, run.stderr), (0, b""))
        self.assertNotIn(b"\r", run.stdout)
        report = json.loads(run.stdout)
        self.assertEqual(report["file"], name)
        self.assertEqual(report["meshes"][0]["name"], "家🏠")

        run = self.run_program("--validate", name)
        self.assertEqual(run.returncode, 0)
        self.assertEqual(
            run.stdout.decode(),
            f"{name}: valid: 1 material, 1 instance, 1 mesh, 1 placed triangle\n",
        )

    def test_obj(self) -> None:
        (self.folder / "a.stream").write_bytes(stream("m"))
        run = self.run_program("--obj", "ö.obj", "a.stream")
        self.assertEqual((run.returncode, run.stderr), (0, b""))
        self.assertEqual(
            (self.folder / "ö.obj").read_bytes(),
            b"o m\ng m\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 0 1\n"
            b"usemtl red\nf 1/1 2/2 3/3\n",
        )
        self.assertEqual(sorted(file.name for file in self.folder.iterdir()), ["a.stream", "ö.obj"])

    def test_preview(self) -> None:
        (self.folder / "a.stream").write_bytes(stream("m"))
        run = self.run_program("--preview", "ö.png", "--preview-size", "30x20", "a.stream")
        self.assertEqual((run.returncode, run.stderr), (0, b""))
        self.assertEqual(run.stdout.decode(), "ö.png: 30 x 20 pixels, 1 triangle\n")
        png = (self.folder / "ö.png").read_bytes()
        self.assertEqual(png[:8], b"\x89PNG\r\n\x1a\n")
        self.assertEqual(struct.unpack(">2I", png[16:24]), (30, 20))
        self.assertEqual(sorted(file.name for file in self.folder.iterdir()), ["a.stream", "ö.png"])
        run = self.run_program("--preview", "b.png", "--preview-size", "30", "a.stream")
        self.assertEqual((run.returncode, run.stdout), (2, b""))
        self.assertFalse((self.folder / "b.png").exists())

    def test_faults(self) -> None:
        (self.folder / "a.stream").write_bytes(stream("m") + b"x")
        run = self.run_program("--validate", "a.stream")
        self.assertEqual((run.returncode, run.stderr), (1, b""))
        self.assertRegex(
            run.stdout, rb"\Aa\.stream: at byte \d+: 1 byte follows the end of the stream\n\Z"
        )

    def test_compare(self) -> None:
        (self.folder / "é.stream").write_bytes(stream("m"))
        (self.folder / "b.stream").write_bytes(stream("n"))
        run = self.run_program("--compare", "é.stream", "é.stream")
        self.assertEqual((run.returncode, run.stderr), (0, b""))
        self.assertEqual(
            run.stdout.decode(),
            "é.stream (A) and é.stream (B): the same scene: 1 material, 1 instance, 1 mesh\n",
        )
        run = self.run_program("--compare", "é.stream", "b.stream")
        self.assertEqual((run.returncode, run.stderr), (1, b""))
        self.assertEqual(len(run.stdout.splitlines()), 5)

    def test_failures(self) -> None:
        run = self.run_program("missing.stream")
        self.assertEqual((run.returncode, run.stdout), (2, b""))
        self.assertRegex(run.stderr, rb"\Aq7-inspect: missing\.stream: cannot be opened: [^\n\r]+\n\Z")
        run = self.run_program()
        self.assertEqual((run.returncode, run.stdout), (2, b""))
        self.assertRegex(run.stderr, rb"\Aq7-inspect: usage: [^\n\r]+\n\Z")

    def test_help(self) -> None:
        run = self.run_program("--help")
        self.assertEqual((run.returncode, run.stderr), (0, b""))
        self.assertIn(b"Examples:", run.stdout)

    def test_version(self) -> None:
        project = (Path(__file__).parents[3] / "CMakeLists.txt").read_text("utf-8")
        version = re.search(r"^project\(Q7Plugin VERSION ([\d.]+)", project, re.MULTILINE)[1]
        run = self.run_program("--version")
        self.assertEqual((run.returncode, run.stderr), (0, b""))
        self.assertEqual(run.stdout.decode(), f"q7-inspect {version}\n")


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    COMMAND = sys.argv[1:]
    unittest.main(argv=sys.argv[:1], verbosity=2)

#!/usr/bin/env python3
"""Runs q7-send as a process on real files, and looks into its streams with q7-inspect.

    run_send.py SEND INSPECT MODELS
"""

import json
import os
import pty
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SKIPPED = 77
SEND = INSPECT = ""
MODELS = Path()

SQUARE = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n"
ENGINE = "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"


class SendTest(unittest.TestCase):
    def setUp(self) -> None:
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)

    def send(self, *arguments: str, **options) -> subprocess.CompletedProcess:
        return subprocess.run(
            [SEND, *map(str, arguments)],
            cwd=self.folder,
            capture_output=True,
            encoding="utf-8",
            timeout=300,
            **options,
        )

    def sent(self, *arguments: str) -> str:
        run = self.send(*arguments)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        return run.stdout

    def refused(self, code: int, *arguments: str, **options) -> str:
        before = self.names()
        run = self.send(*arguments, **options)
        self.assertEqual((run.returncode, run.stdout), (code, ""), run.stderr)
        self.assertEqual(len(run.stderr.splitlines()), 1, run.stderr)
        self.assertEqual(self.names(), before)
        return run.stderr

    def names(self) -> list[str]:
        return sorted(path.name for path in self.folder.rglob("*"))

    def inspect(self, name: str) -> dict:
        valid = subprocess.run([INSPECT, "--validate", name], cwd=self.folder, capture_output=True)
        self.assertEqual(valid.returncode, 0, valid)
        run = subprocess.run([INSPECT, "--json", name], cwd=self.folder, capture_output=True)
        self.assertEqual(run.returncode, 0, run)
        return json.loads(run.stdout)

    def write_square(self, name: str) -> str:
        (self.folder / name).write_text(SQUARE)
        return name


class RealFiles(SendTest):
    def test_engine(self) -> None:
        model = MODELS / ENGINE
        line = self.sent(model, "--stream", "e.q7mesh", "--materials", "e.xml")
        size = (self.folder / "e.q7mesh").stat().st_size
        self.assertEqual(
            line,
            f"{model}: 67 nodes (38 duplicates), 35 materials, 121496 triangles"
            f" -> e.q7mesh ({size / 1e6:.1f} MB), e.xml (7.9 kB)\n",
        )
        content = self.inspect("e.q7mesh")
        self.assertEqual(content["size"], size)
        self.assertEqual(content["placedTriangles"], 121496)
        self.assertEqual(len(content["materials"]), 35)
        # As many as the file itself has: nothing is handed over twice, nothing merges.
        self.assertEqual(len(content["meshes"]), 34)
        self.assertEqual(len(content["instances"]), 115)
        self.assertEqual(sum(mesh["uses"] for mesh in content["meshes"]), 115)
        for mesh in content["meshes"]:
            self.assertEqual(mesh["normals"], mesh["positions"])
        self.assertEqual(content["header"]["textureFolder"], str(model.parent))
        self.assertEqual(self.names(), ["e.q7mesh", "e.xml"])

    def triangles(self, stream: str) -> list[list[str]]:
        """Of the placed scene, each as its three corners."""
        subprocess.run(
            [INSPECT, "--obj", "out.obj", stream], cwd=self.folder, capture_output=True, check=True
        )
        lines = (self.folder / "out.obj").read_text().splitlines()
        vertices = [line for line in lines if line.startswith("v ")]
        return sorted(
            [vertices[int(corner.split("/")[0]) - 1] for corner in line.split()[1:]]
            for line in lines
            if line.startswith("f ")
        )

    def test_processed_form(self) -> None:
        corners = [(0, 0), (1, 0), (1, 1), (0, 1), (2, 2)]
        text = "mtllib m.mtl\n"
        for x in (0, 10):
            text += f"o part{x}\n" + "".join(f"v {x + u} {v} {u * v}\n" for u, v in corners)
            text += "usemtl red\nf -5 -4 -3\nf -5 -3 -2\nf -3 -1 -2\nf -4 -1 -3\n"
        (self.folder / "m.obj").write_text(text)
        (self.folder / "m.mtl").write_text("newmtl red\nKd 1 0 0\n")
        self.sent("m.obj", "--stream", "raw.q7mesh")
        line = self.sent("m.obj", "--processed", "--stream", "merged.q7mesh")
        self.assertIn("2 nodes (0 duplicates), ", line)
        self.assertIn(", 8 triangles -> merged.q7mesh (", line)
        merged = self.inspect("merged.q7mesh")
        self.assertEqual([i["mesh"] for i in merged["instances"]], ["red_q7_merged"])
        self.assertEqual(len(merged["meshes"]), 3)
        self.assertEqual((merged["placedTriangles"], merged["countedTriangles"]), (8, 24))
        self.assertEqual(merged["header"]["triangleCount"], 24)
        self.assertEqual(self.triangles("merged.q7mesh"), self.triangles("raw.q7mesh"))

    def test_engine_processed(self) -> None:
        line = self.sent(MODELS / ENGINE, "--processed", "--stream", "e.q7mesh")
        self.assertIn("67 nodes (38 duplicates), 35 materials, 121496 triangles", line)
        self.assertEqual(self.inspect("e.q7mesh")["placedTriangles"], 121496)

    def test_same_bytes_again(self) -> None:
        for name in ("a", "b"):
            self.sent(MODELS / ENGINE, "--stream", f"{name}.q7mesh", "--materials", f"{name}.xml")
        for suffix in (".q7mesh", ".xml"):
            first, second = (self.folder / f"{name}{suffix}" for name in ("a", "b"))
            self.assertEqual(first.read_bytes(), second.read_bytes())

    def test_textures_are_found_beside_the_model(self) -> None:
        model = MODELS / "glTF2/BoxTextured-glTF/BoxTextured.gltf"
        self.sent(model, "--stream", "box.q7mesh")
        properties = {
            item["element"]: item["text"]
            for material in self.inspect("box.q7mesh")["materials"]
            for item in material.get("properties", [])
        }
        texture = Path(properties["BaseColorTexture"])
        self.assertEqual(texture, model.parent / "CesiumLogoFlat.png")

    def test_embedded_textures_are_mentioned(self) -> None:
        model = MODELS / "glTF2/BoxTextured-glTF-Binary/BoxTextured.glb"
        notes = self.sent(model, "--stream", "box.q7mesh")
        self.assertIn("note: 1 embedded texture without a file of their own left out\n", notes)

    def test_unicode_path_and_names(self) -> None:
        folder = self.folder / "Проект 窓"
        folder.mkdir()
        model = folder / "Motor ä🏠.glb"
        shutil.copy(MODELS / ENGINE, model)
        line = self.sent(f"{folder.name}/{model.name}", "--stream", f"{folder.name}/поток.q7mesh")
        self.assertIn("Motor ä🏠.glb", line)
        content = self.inspect(f"{folder.name}/поток.q7mesh")
        self.assertEqual(content["placedTriangles"], 121496)
        self.assertEqual(content["header"]["textureFolder"], str(folder))

    def test_unicode_names_in_the_file(self) -> None:
        lines = "mtllib m.mtl\no Стул_ä🏠\nusemtl 木/白\n" + SQUARE
        (self.folder / "m.obj").write_text(lines, encoding="utf-8")
        (self.folder / "m.mtl").write_text("newmtl 木/白\nKd 1 0 0\n", encoding="utf-8")
        self.sent("m.obj", "--stream", "m.q7mesh")
        content = self.inspect("m.q7mesh")
        self.assertEqual([m["name"] for m in content["meshes"]], ["Стул@ä🏠_木/白"])
        self.assertEqual(content["instances"][0]["material"], "木@白")

    def test_scene_without_triangles(self) -> None:
        (self.folder / "lines.obj").write_text("v 0 0 0\nv 1 0 0\nl 1 2\n")
        text = self.sent("lines.obj", "--stream", "lines.q7mesh")
        self.assertIn("note: the scene has no triangles\nnote: 1 point or line left out\n", text)
        content = self.inspect("lines.q7mesh")
        self.assertEqual((content["placedTriangles"], content["instances"]), (0, []))


class Refusals(SendTest):
    def test_missing_file(self) -> None:
        error = self.refused(1, "absent.obj", "--stream", "out")
        self.assertEqual(error, "q7-send: absent.obj: No such file or directory\n")

    def test_folder_as_model(self) -> None:
        self.assertEqual(self.refused(1, ".", "--stream", "out"), "q7-send: .: is a folder\n")

    def test_file_that_assimp_refuses(self) -> None:
        (self.folder / "broken.glb").write_bytes(b"glTF\2\0\0\0")
        error = self.refused(1, "broken.glb", "--stream", "out")
        self.assertTrue(error.startswith("q7-send: broken.glb: "), error)

    def test_output_in_absent_folder(self) -> None:
        model = self.write_square("square.obj")
        error = self.refused(1, model, "--stream", "absent/out.q7mesh")
        self.assertRegex(error, r"^q7-send: absent/out.q7mesh: the folder .*/absent does not exist\n$")

    def test_output_that_is_a_folder(self) -> None:
        model = self.write_square("square.obj")
        (self.folder / "out").mkdir()
        self.assertEqual(
            self.refused(1, model, "--stream", "out"), "q7-send: out: is a folder\n"
        )

    def test_output_below_a_file(self) -> None:
        model = self.write_square("square.obj")
        error = self.refused(1, model, "--materials", "square.obj/out.xml")
        self.assertRegex(error, r"^q7-send: square.obj/out.xml: .*square.obj is not a folder\n$")

    def test_output_folder_that_takes_no_files(self) -> None:
        # Not a folder without permissions: the tests may run as a user who may do everything.
        if not Path("/proc/self").is_dir():
            self.skipTest("there is no /proc")
        model = self.write_square("square.obj")
        error = self.refused(1, model, "--stream", "/proc/self/out.q7mesh")
        self.assertTrue(error.startswith("q7-send: /proc/self/out.q7mesh: "), error)

    def test_device_as_output(self) -> None:
        model = self.write_square("square.obj")
        error = self.refused(1, model, "--stream", "/dev/null")
        self.assertEqual(error, "q7-send: /dev/null: is not a file that can be replaced\n")
        self.assertTrue(Path("/dev/null").is_char_device())

    def test_model_as_output(self) -> None:
        model = self.write_square("square.obj")
        error = self.refused(1, model, "--stream", "./square.obj")
        self.assertEqual(error, "q7-send: ./square.obj: is the model itself\n")
        self.assertEqual((self.folder / model).read_text(), SQUARE)

    def test_second_output_wrong_leaves_the_first_alone(self) -> None:
        model = self.write_square("square.obj")
        (self.folder / "out.q7mesh").write_text("old")
        self.refused(1, model, "--stream", "out.q7mesh", "--materials", "absent/out.xml")
        self.assertEqual((self.folder / "out.q7mesh").read_text(), "old")

    def test_no_space_for_the_whole_stream(self) -> None:
        (self.folder / "out.q7mesh").write_text("old")

        def limit_files() -> None:
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (100_000, 100_000))

        error = self.refused(
            1,
            MODELS / ENGINE,
            "--stream",
            "out.q7mesh",
            preexec_fn=limit_files,
            restore_signals=False,
        )
        self.assertEqual(error, "q7-send: out.q7mesh: could not be written to its end\n")
        self.assertEqual((self.folder / "out.q7mesh").read_text(), "old")

    def test_usage(self) -> None:
        model = self.write_square("square.obj")
        for arguments in ([], [model], [model, "--stream"], [model, "--stream", "o", "--what"]):
            error = self.refused(2, *arguments)
            self.assertTrue(error.startswith("q7-send: command line: "), error)
            self.assertTrue(error.endswith("; see q7-send --help\n"), error)

    def test_help(self) -> None:
        self.assertIn("Examples:", self.sent("--help"))


class Terminal(SendTest):
    def test_output_is_one_line_for_short_work(self) -> None:
        model = self.write_square("square.obj")
        reading, writing = pty.openpty()
        self.addCleanup(os.close, reading)
        command = [SEND, model, "--stream", "out.q7mesh"]
        run = subprocess.run(
            command, cwd=self.folder, stdout=subprocess.PIPE, stderr=writing, timeout=300
        )
        os.close(writing)
        self.assertEqual((run.returncode, len(run.stdout.splitlines())), (0, 1))


if __name__ == "__main__":
    SEND, INSPECT, MODELS = sys.argv[1], sys.argv[2], Path(sys.argv[3])
    if not (MODELS / ENGINE).is_file():
        print(f"skipped: no models in {MODELS}")
        sys.exit(SKIPPED)
    unittest.main(argv=sys.argv[:1])

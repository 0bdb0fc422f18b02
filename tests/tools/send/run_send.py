#!/usr/bin/env python3
"""Runs q7-send as a process on real files, and looks into its streams with q7-inspect.

    run_send.py SEND INSPECT MODELS

Live sends go to q7-standin, which is looked for beside SEND.
"""

import json
import os
import pty
import resource
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import zipfile
from pathlib import Path

SKIPPED = 77
SEND = INSPECT = ""
MODELS = Path()
SHARED = Path("/dev/shm")

LOST = (
    "q7-send: the renderer: could not be reached, or the connection to it broke: the scene may not "
    "have arrived, or only in part\n"
)
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

    def archive(self, name: str) -> dict[str, bytes]:
        with zipfile.ZipFile(self.folder / name) as content:
            self.assertIsNone(content.testzip())
            return {entry: content.read(entry) for entry in content.namelist()}

    def test_archive_of_a_model_with_an_embedded_texture(self) -> None:
        model = MODELS / "glTF2/BoxTextured-glTF-Binary/BoxTextured.glb"
        line = self.sent(model, "--q7a", "box.q7a")
        self.assertRegex(line, r"^[^\n]* 12 triangles -> box\.q7a \(.*, 1 texture\)\n$")
        content = self.archive("box.q7a")
        self.assertEqual(
            sorted(content),
            ["1.q7mesh", "info.json", "q7material.xml", "textures/", "textures/BoxTextured-texture-0.png"],
        )
        self.assertTrue(content["textures/BoxTextured-texture-0.png"].startswith(b"\x89PNG"))
        self.assertIn(b"BoxTextured-texture-0.png</BaseColorTexture>", content["q7material.xml"])
        self.assertEqual(self.names(), ["box.q7a"])
        # The other outputs of a run do not name a file that is gone.
        line = self.sent(model, "--q7a", "box.q7a", "--stream", "s", "--materials", "m")
        self.assertIn("note: 1 embedded texture in the archive only\n", line)
        self.assertNotIn("Texture>", (self.folder / "m").read_text().replace("<id>Texture</id>", ""))
        self.inspect("s")

    def test_archives_in_both_forms(self) -> None:
        model = MODELS / ENGINE
        for name, arguments in (("raw", []), ("processed", ["--processed"])):
            self.sent(model, *arguments, "--q7a", f"{name}.q7a", "--stream", f"{name}.q7mesh")
            content = self.archive(f"{name}.q7a")
            self.assertEqual(content["1.q7mesh"], (self.folder / f"{name}.q7mesh").read_bytes())

    def test_archive_of_a_file_of_its_own(self) -> None:
        model = MODELS / "Collada/duck.dae"
        packed = self.folder / "entente.v1.bin"
        packed.write_bytes(b"geometry")
        line = self.sent(model, "--q7a", "duck.q7a", "--pack", packed.name)
        self.assertIn(", 1 texture)\n", line)
        content = self.archive("duck.q7a")
        self.assertEqual(
            sorted(content), ["1.bin", "q7material.xml", "textures/", "textures/duckCM.tga"]
        )
        self.assertEqual(content["1.bin"], b"geometry")
        texture = MODELS / "Collada/duckCM.tga"
        self.assertEqual(content["textures/duckCM.tga"], texture.read_bytes())

    def test_archive_in_a_folder_with_another_ones_leavings(self) -> None:
        leavings = self.folder / "__q7_export_temp"
        leavings.mkdir()
        (leavings / "old").write_text("of another program")
        self.sent(self.write_square("square.obj"), "--q7a", "out.q7a")
        self.assertNotIn("old", self.archive("out.q7a"))
        self.assertTrue((leavings / "old").exists())

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

    def test_no_space_for_the_whole_archive(self) -> None:
        (self.folder / "out.q7a").write_text("old")
        before = self.names()

        def limit_files() -> None:
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (100_000, 100_000))

        run = self.send(
            MODELS / ENGINE, "--q7a", "out.q7a", preexec_fn=limit_files, restore_signals=False
        )
        self.assertEqual((run.returncode, run.stdout), (1, ""))
        # The library may tell of it in a line of its own before.
        self.assertRegex(run.stderr, r"^([^\n]*fail!\n)?q7-send: out\.q7a: [^\n]*\n$")
        self.assertEqual(self.names(), before)
        self.assertEqual((self.folder / "out.q7a").read_text(), "old")

    def test_archive_that_would_replace_an_input(self) -> None:
        model = self.write_square("square.obj")
        (self.folder / "packed").write_text("geometry")
        error = self.refused(1, model, "--q7a", "./packed", "--pack", "packed")
        self.assertEqual(error, "q7-send: ./packed: is the file that is to be packed\n")
        error = self.refused(1, model, "--q7a", "./square.obj")
        self.assertEqual(error, "q7-send: ./square.obj: is the model itself\n")

    def test_file_that_cannot_be_packed(self) -> None:
        model = self.write_square("square.obj")
        error = self.refused(1, model, "--q7a", "out.q7a", "--pack", "absent.step")
        self.assertEqual(error, "q7-send: absent.step: No such file or directory\n")
        error = self.refused(1, model, "--q7a", "absent/out.q7a")
        self.assertRegex(error, r"^q7-send: absent/out.q7a: the folder .*/absent does not exist\n$")

    def test_second_output_wrong_makes_no_archive(self) -> None:
        model = self.write_square("square.obj")
        self.refused(1, model, "--q7a", "out.q7a", "--stream", "absent/out")

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


class Live(SendTest):
    """Sends to q7-standin in the renderer's place. The machine has room for one."""

    def setUp(self) -> None:
        super().setUp()
        self.standins: list[subprocess.Popen] = []
        # No installation of this machine counts.
        self.environment = {
            **os.environ,
            "XDG_DATA_HOME": str(self.folder / "absent"),
            "XDG_DATA_DIRS": str(self.folder / "absent"),
        }
        # The program's output beside the library's own lines, which come before it.
        self.link_lines = r"(Sync status\n\d+\n)*(Port share mem error!\n)*"

    def start_standin(self, *arguments: str) -> subprocess.Popen:
        standin = Path(SEND).with_name("q7-standin")
        if not standin.is_file():
            self.skipTest("q7-standin is not built")
        ready = self.folder / "ready"
        process = subprocess.Popen(
            [standin, "--out", "got", "--ready-file", ready, "--exit-after", "120000", *arguments],
            cwd=self.folder,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            encoding="utf-8",
        )
        self.addCleanup(self.kill, process)
        self.standins.append(process)
        while not ready.exists():
            if process.poll() is not None:
                self.fail(f"q7-standin ended: {process.communicate()}")
            time.sleep(0.01)
        return process

    @staticmethod
    def kill(process: subprocess.Popen) -> None:
        """Kindly at first, so that it takes its blocks away."""
        if process.poll() is None:
            process.send_signal(signal.SIGINT)
        try:
            process.communicate(timeout=60)
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()

    def end(self, process: subprocess.Popen) -> None:
        """Its exit status tells whether all messages were right."""
        process.send_signal(signal.SIGINT)
        out, errors = process.communicate(timeout=60)
        self.assertEqual((process.returncode, errors), (0, ""), out)

    def sent_live(self, form: str, *arguments: str) -> None:
        run = self.send(*arguments, "--live", env=self.environment)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertRegex(
            run.stdout,
            rf"^{self.link_lines}messages: metadata.*\n.* triangles -> the renderer \({form}: \d.* of geometry in "
            r"\d+\.\d{3} s, \d.*B/s\).*\n$",
        )
        self.await_messages(run.stdout)

    def test_connection_that_breaks(self) -> None:
        for options in (["--close-at-ack", "3"], ["--close-at-ack", "3", "--abort"]):
            with self.subTest(options):
                self.end_before()
                self.start_standin(*options)
                self.assertEqual(self.refused_live(self.write_square("square.obj")), LOST)

    def test_renderer_that_nobody_reaches(self) -> None:
        self.start_standin("--status", "4", "--port", "65535")
        self.assertEqual(self.refused_live(self.write_square("square.obj")), LOST)

    def test_renderer_that_dies(self) -> None:
        """At the first question, at each acknowledgement of a square, and at the last messages."""
        model = self.write_square("square.obj")
        for options in (
            [["--die-at-word", word] for word in ("15", "10", "11")]
            + [["--die-at-ack", str(number)] for number in range(1, 18)]
        ):
            with self.subTest(options):
                self.end_before()
                self.start_standin(*options)
                error = self.refused_live(model)
                self.assertTrue(error.startswith("q7-send: the renderer: "), error)
        for word in ("12", "13"):
            with self.subTest(word):
                self.end_before()
                self.start_standin("--die-at-word", word)
                self.refused_live(MODELS / "glTF2/cameras/Cameras.gltf")

    def test_next_send_to_a_dead_renderer(self) -> None:
        self.start_standin("--die-at-word", "11")
        model = self.write_square("square.obj")
        self.refused_live(model)
        self.refused_live(model)

    def test_what_does_not_show(self) -> None:
        self.start_standin("--close-at-ack", "17")
        self.sent_live("raw", self.write_square("square.obj"))

    def test_renderer_that_cannot_be_asked(self) -> None:
        note = "note: the renderer gives no metadata back, so it is not known whether all arrived\n"
        for options in (["--metadata", "own"], ["--close-at-word", "10"], ["--close-at-word", "15"]):
            with self.subTest(options):
                self.end_before()
                self.start_standin(*options)
                run = self.send(self.write_square("square.obj"), "--live", env=self.environment)
                self.assertEqual((run.returncode, run.stderr), (0, ""))
                self.assertIn(note, run.stdout)

    def end_before(self) -> None:
        """Makes room for another renderer."""
        for process in self.standins:
            self.kill(process)
        shutil.rmtree(self.folder / "got", ignore_errors=True)
        (self.folder / "ready").unlink(missing_ok=True)

    def await_messages(self, told: str) -> None:
        """A message may still be on its way when its sender has ended."""
        last = None
        if "camera animation" in told:
            last = "camera-animations"
        elif ", camera" in told:
            last = "scenes"
        end = time.monotonic() + 60
        while last and not list((self.folder / "got").glob(f"*-{last}.json")):
            self.assertLess(time.monotonic(), end, f"{last} did not arrive")
            time.sleep(0.01)

    def received(self) -> list[str]:
        return sorted(f"got/{path.name}" for path in (self.folder / "got").glob("*-model.q7mesh"))

    def words(self) -> list[int]:
        files = sorted((self.folder / "got").glob("*-sync.json"))
        return [json.loads(file.read_text("utf-8"))["word"] for file in files]

    def assert_same(self, saved: str, received: str) -> str:
        command = [INSPECT, "--compare", "--link", saved, received]
        run = subprocess.run(command, cwd=self.folder, capture_output=True, encoding="utf-8")
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        return run.stdout

    def write_mergeable(self) -> str:
        text = "mtllib m.mtl\n"
        for x in (0, 10):
            text += f"o part{x}\n" + "".join(
                f"v {x + u} {v} 0\n" for u, v in [(0, 0), (1, 0), (1, 1), (0, 1)]
            )
            text += "usemtl red\nf -4 -3 -2 -1\n"
        (self.folder / "m.obj").write_text(text)
        (self.folder / "m.mtl").write_text("newmtl red\nKd 1 0 0\n")
        return "m.obj"

    def test_raw_makes_both_passes(self) -> None:
        standin = self.start_standin()
        self.sent_live("raw", MODELS / ENGINE, "--stream", "saved.q7mesh", "--materials", "m.xml")
        self.end(standin)
        self.assertEqual(self.words(), [11])
        self.assertEqual(len(self.received()), 2)
        for model in self.received():
            self.assert_same("saved.q7mesh", model)
        self.assertTrue((self.folder / "m.xml").is_file())

    def test_processed_and_group_arrive_merged(self) -> None:
        for form, word in (("processed", 7), ("group", 8)):
            with self.subTest(form):
                shutil.rmtree(self.folder / "got", ignore_errors=True)
                (self.folder / "ready").unlink(missing_ok=True)
                standin = self.start_standin()
                model = self.write_mergeable()
                self.sent_live(form, model, f"--{form}", "--stream", "saved.q7mesh")
                self.end(standin)
                self.assertEqual(self.words(), [word])
                [received] = self.received()
                self.assert_same("saved.q7mesh", received)
                content = self.inspect(received)
                self.assertEqual([m["name"] for m in content["meshes"]], ["red_q7_merged"])
                self.assertEqual(content["placedTriangles"], 4)

    def test_generated_material_instances(self) -> None:
        standin = self.start_standin()
        model = self.write_mergeable()
        self.sent_live("raw", model, "--raw", "--gen-materials", "--stream", "saved.q7mesh")
        self.end(standin)
        materials = len(self.inspect("saved.q7mesh")["materials"])
        self.assertEqual(len(self.inspect("saved.q7mesh")["instances"]), 2)
        for received in self.received():
            self.assert_same("saved.q7mesh", received)
            self.assertEqual(len(self.inspect(received)["instances"]), 2 + materials)

    def messages(self) -> dict[str, dict]:
        """By kind: the last message that arrived."""
        return {
            path.stem.partition("-")[2]: json.loads(path.read_text("utf-8"))
            for path in sorted((self.folder / "got").glob("*.json"))
        }

    def test_messages_arrive_around_the_model(self) -> None:
        standin = self.start_standin()
        model = MODELS / "ASE/anim2.ASE"
        run = self.send(model, "--live", env=self.environment)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertIn(
            "messages: metadata, camera, 3 lights, 1 scene, 1 camera animation of 90 frames\n",
            run.stdout,
        )
        self.await_messages(run.stdout)
        self.end(standin)
        kinds = [path.stem.partition("-")[2] for path in sorted((self.folder / "got").iterdir())]
        self.assertEqual(
            kinds,
            ["plugin-file", "metadata", "metadata-request", "sync", "instance-paths", "model", "model"]
            + ["camera", "lights", "scenes", "camera-animations", "metadata-request"],
        )
        messages = self.messages()
        for kind in ("metadata", "camera", "lights", "scenes"):
            self.assertEqual(messages[kind]["model_file_path"], str(model))
        self.assertEqual(messages["metadata"]["Name"], "anim2.ASE")
        self.assertEqual(messages["metadata"]["Triangles"], 24)
        self.assertEqual(messages["camera"]["Name"], "Camera01")
        self.assertAlmostEqual(messages["camera"]["FieldOfView"], 45, delta=0.01)
        lights = messages["lights"]["lights"]
        self.assertEqual([light["Type"] for light in lights], ["Directional", "Directional", "Point"])
        [scene] = messages["scenes"]["scenes"]
        self.assertEqual(scene["Position"], messages["camera"]["Position"])
        [animation] = messages["camera-animations"]["CameraAnimations"]
        self.assertEqual((animation["Name"], animation["Camera"]), ("Camera01", "Camera01"))
        times = [frame["T"] for frame in animation["FrameData"]]
        self.assertEqual((len(times), times), (90, sorted(times)))
        # Ticks of the last key, 4800 of them a second.
        self.assertAlmostEqual(times[-1], 14560 / 4800)

    def test_scenes_are_the_cameras(self) -> None:
        standin = self.start_standin()
        self.sent_live("processed", MODELS / "glTF2/cameras/Cameras.gltf", "--processed")
        self.end(standin)
        messages = self.messages()
        scenes = messages["scenes"]["scenes"]
        self.assertEqual([scene["Name"] for scene in scenes], ["nodes[1]", "nodes[2]"])
        for scene in scenes:
            self.assertEqual([round(x, 3) for x in scene["Position"]], [0.5, 0.5, 3])
        self.assertEqual(scenes[1]["OrthographicWidth"], 2)
        self.assertNotIn("lights", messages)
        self.assertNotIn("camera-animations", messages)

    def test_scene_without_cameras_and_lights(self) -> None:
        standin = self.start_standin()
        self.sent_live("raw", self.write_square("square.obj"))
        self.end(standin)
        self.assertEqual(
            sorted(self.messages()),
            ["instance-paths", "metadata", "metadata-request", "plugin-file", "sync"],
        )

    def test_refused_scene_leaves_no_archive(self) -> None:
        self.start_standin("--reply", "1")
        model = self.write_square("square.obj")
        run = self.send(model, "--live", "--q7a", "out.q7a", env=self.environment)
        self.assertEqual(run.returncode, 1)
        self.assertFalse((self.folder / "out.q7a").exists())
        self.assertEqual([name for name in self.names() if name.endswith(".tmp")], [])

    def refused_live(self, *arguments: str) -> str:
        """Nothing is written, also where a file was asked for."""
        run = self.send(*arguments, "--live", "--stream", "out.q7mesh", env=self.environment)
        self.assertEqual(run.returncode, 1, run)
        self.assertRegex(run.stdout, rf"^{self.link_lines}$")
        self.assertEqual(len(run.stderr.splitlines()), 1, run.stderr)
        self.assertFalse((self.folder / "out.q7mesh").exists())
        # A renderer that dies leaves files of its own.
        left = [name for name in self.names() if name.endswith(".tmp")]
        self.assertEqual([name for name in left if not name.startswith(".q7-standin-")], [])
        return run.stderr

    def test_no_renderer_and_no_installation(self) -> None:
        # Takes away what a killed one may have left.
        self.end(self.start_standin())
        self.assertEqual(
            self.refused_live(self.write_square("square.obj")),
            "q7-send: the renderer: does not run, and no installation of it was found\n",
        )

    def test_renderer_that_takes_no_link(self) -> None:
        self.start_standin("--status", "2")
        self.assertEqual(
            self.refused_live(self.write_square("square.obj")),
            "q7-send: the renderer: takes no link\n",
        )

    def test_renderer_that_refuses_the_plugin_file(self) -> None:
        self.start_standin("--flag-after-plugin", "1")
        self.assertEqual(
            self.refused_live(self.write_square("square.obj")),
            "q7-send: the renderer: refused the plug-in file\n",
        )

    def test_renderer_without_a_port(self) -> None:
        self.start_standin("--port", "65535")
        error = self.refused_live(self.write_square("square.obj"))
        self.assertEqual(
            error, "q7-send: the renderer: has no port, or cannot be connected to\n"
        )

    def test_renderer_that_refuses_the_scene(self) -> None:
        self.start_standin("--reply", "2")
        self.assertEqual(
            self.refused_live(self.write_square("square.obj")),
            "q7-send: the renderer: refused the scene with its reply 2\n",
        )

    def test_renderer_that_gives_no_reply(self) -> None:
        self.start_standin("--reply", "none")
        self.assertEqual(
            self.refused_live(self.write_square("square.obj")),
            "q7-send: the renderer: gave no answer to the connection, or an unknown one\n",
        )

    def test_renderer_that_ends_its_link_during_the_send(self) -> None:
        if not SHARED.is_dir():
            self.skipTest(f"there is no {SHARED}")
        # First a renderer that ends well: it takes away what an earlier one may have left.
        self.end(self.start_standin())
        status = SHARED / "E35404FC215ED0F65A4EC1CCBB898CC8"
        port = SHARED / "BD7A725E37C60EEFD473703CF7EC26DD"
        listener = socket.create_server(("127.0.0.1", 0))
        listener.settimeout(60)
        self.addCleanup(listener.close)

        def accept_and_leave() -> None:
            metadata, _ = listener.accept()
            with metadata:
                while metadata.recv(4096):
                    pass
            # The question for it ends without an answer.
            listener.accept()[0].close()
            client, _ = listener.accept()
            with client:
                # All of it: closing with bytes unread would take back the reply.
                stream = client.makefile("rb")
                _, length = struct.unpack("<II", stream.read(8))
                stream.read(2 * length)
                status.write_bytes(struct.pack("<HH", 2, 0))
                client.sendall(struct.pack("<I", 0))

        blocks = {
            port: struct.pack("<H", listener.getsockname()[1]),
            status: struct.pack("<HH", 4, 0),
        }
        for block, content in blocks.items():
            block.write_bytes(content)
            self.addCleanup(block.unlink)
        renderer = threading.Thread(target=accept_and_leave)
        renderer.start()
        self.addCleanup(renderer.join)
        self.assertEqual(
            self.refused_live(self.write_square("square.obj")),
            "q7-send: the renderer: after the send it was no longer linked (status 2), so the "
            "scene went nowhere or arrived in part\n",
        )


if __name__ == "__main__":
    SEND, INSPECT, MODELS = sys.argv[1], sys.argv[2], Path(sys.argv[3])
    if not (MODELS / ENGINE).is_file():
        print(f"skipped: no models in {MODELS}")
        sys.exit(SKIPPED)
    if not Path(SEND).with_name("q7-standin").is_file():
        print("skipped: the live sends, since q7-standin is not built", flush=True)
    unittest.main(argv=sys.argv[:1])

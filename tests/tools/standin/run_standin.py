#!/usr/bin/env python3
"""Runs q7-standin as a process: exit codes, streams, one at a time, crashes, as the launcher.

    run_standin.py [LAUNCHER...] PROGRAM

The client is this script, on the same machine; a model needs its shared memory and is sent to a
program of this system only.
"""

import json
import re
import os
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

COMMAND: list[str] = []
LIMIT = 120  # seconds, for anything that should take far less

SHARED = Path("/dev/shm")
STATUS = SHARED / "E35404FC215ED0F65A4EC1CCBB898CC8"
PORT = SHARED / "BD7A725E37C60EEFD473703CF7EC26DD"
MODEL = SHARED / "84FB12B2EBCB82AB1DEDE669D1309DB6"


def is_native() -> bool:
    return len(COMMAND) == 1 and os.name == "posix"


def only_native(reason: str):
    """Decorates a test that needs more than a program under an emulator has."""

    def decorate(test):
        def run(self) -> None:
            if not is_native():
                self.skipTest(reason)
            test(self)

        return run

    return decorate


def word(value: int) -> bytes:
    return struct.pack("<I", value)


def wide(text: str) -> bytes:
    units = text.encode("utf-16-le")
    return word(len(units) // 2) + units


class Client:
    def __init__(self, port: int) -> None:
        self.socket = socket.create_connection(("127.0.0.1", port), timeout=LIMIT)
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)

    def __enter__(self) -> "Client":
        return self

    def __exit__(self, *_: object) -> None:
        self.socket.close()

    def send(self, data: bytes) -> None:
        self.socket.sendall(data)

    def answer(self, size: int = 4) -> bytes:
        """Fewer bytes, when the connection ends."""
        answer = b""
        try:
            while len(answer) < size and (piece := self.socket.recv(size - len(answer))):
                answer += piece
        except ConnectionError:
            pass
        return answer

    def send_model(self) -> bool:
        """One triangle. Whether every answer came."""
        header = {"dccPluginInfo": "", "materialVersion": 1, "textureFolder": "", "triangleCount": 1}
        transform = struct.pack("<16f", *[1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1])
        rounds = [
            (b"", wide("red") + wide("<Material/>"), 1),
            (b"", wide("m") + wide("red") + transform, 1),
            (word(1) + wide("m"), struct.pack("<9f", 0, 0, 0, 1, 0, 0, 0, 1, 0), 9),
            (b"", b"", 0),
            (b"", struct.pack("<6f", 0, 0, 1, 0, 0, 1), 6),
            (b"", b"", 0),
            (b"", struct.pack("<3i", 0, 1, 2), 3),
        ]
        try:
            with MODEL.open("w+b") as block:
                block.truncate(4096)
                self.send(word(11) + wide(json.dumps(header, separators=(",", ":"))))
                for before, content, count in rounds:
                    block.seek(0)
                    block.write(content)
                    block.flush()
                    self.send(before + word(count))
                    if len(self.answer()) < 4:
                        return False
                return len(self.answer()) == 4
        except ConnectionError:
            return False
        finally:
            MODEL.unlink()


class RunStandin(unittest.TestCase):
    def setUp(self) -> None:
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)

    def start(self, *arguments: str, command: list[str] | None = None, **environment: str):
        """Starts the program in the folder, so that bare names mean the same to every system."""
        process = subprocess.Popen(
            [*(command or COMMAND), *arguments],
            cwd=self.folder,
            env={**os.environ, **environment},
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
        )
        self.addCleanup(self.kill, process)
        return process

    @staticmethod
    def kill(process: subprocess.Popen) -> None:
        if process.poll() is None:
            process.kill()
        process.communicate()

    def start_ready(self, *arguments: str) -> tuple[subprocess.Popen, int]:
        process = self.start("--ready-file", "ready", "--exit-after", "60000", *arguments)
        return process, self.port_of(process)

    def port_of(self, process: subprocess.Popen) -> int:
        ready = self.folder / "ready"
        end = time.monotonic() + LIMIT
        while not ready.exists():
            if process.poll() is not None:
                self.fail(f"ended: {process.communicate()}")
            self.assertLess(time.monotonic(), end, "never ready")
            time.sleep(0.01)
        port = int(ready.read_text())
        ready.unlink()
        return port

    def finish(self, process: subprocess.Popen) -> tuple[int, str, str]:
        out, errors = process.communicate(timeout=LIMIT)
        self.assertNotIn(b"\r", out + errors)
        return process.returncode, out.decode(), errors.decode()

    def run_program(self, *arguments: str) -> tuple[int, str, str]:
        return self.finish(self.start(*arguments))

    def names(self) -> list[str]:
        return sorted(str(file.relative_to(self.folder)) for file in self.folder.rglob("*"))

    def test_help_and_usage(self) -> None:
        code, out, errors = self.run_program("--help")
        self.assertEqual((code, errors), (0, ""))
        self.assertIn("Examples:", out)
        code, out, errors = self.run_program("--reply", "many")
        self.assertEqual((code, out), (2, ""))
        self.assertEqual(
            errors,
            'q7-standin: usage: "many" is neither a 32-bit number nor "none" (--help tells more)\n',
        )

    def test_version(self) -> None:
        project = (Path(__file__).parents[3] / "CMakeLists.txt").read_text("utf-8")
        version = re.search(r"^project\(Q7Plugin VERSION ([\d.]+)", project, re.MULTILINE)[1]
        self.assertEqual(self.run_program("--version"), (0, f"q7-standin {version}\n", ""))

    def test_messages(self) -> None:
        process, port = self.start_ready(
            "--connections", "3", "--out", "ö", "--transcript", "t", "--metadata", "größer"
        )
        with Client(port) as client:
            client.send(word(3) + wide("C:\\模型.ini"))
        with Client(port) as client:
            client.send(word(10) + wide("a"))
            self.assertEqual(client.answer(12), word(8) + "größer".encode())
        with Client(port) as client:
            client.send(word(12) + wide('{"a":"模"}'))
        code, out, errors = self.finish(process)
        self.assertEqual((code, errors), (0, ""), out)
        self.assertIn('plug-in file "C:\\模型.ini"', out)
        self.assertTrue(out.endswith("0 protocol errors\n"), out)
        self.assertEqual(
            self.names(),
            ["t", "ö", "ö/0001-plugin-file.json", "ö/0002-metadata-request.json", "ö/0003-camera.json"],
        )
        kept = json.loads((self.folder / "ö/0001-plugin-file.json").read_text("utf-8"))
        self.assertEqual(kept, {"word": 3, "pluginFile": "C:\\模型.ini"})
        self.assertEqual((self.folder / "ö/0003-camera.json").read_text("utf-8"), '{"a":"模"}')
        self.assertTrue((self.folder / "t").read_bytes().startswith(b"connection 1\nreceived at 0: "))

    def test_protocol_error(self) -> None:
        process, port = self.start_ready("--connections", "1", "--quiet")
        with Client(port) as client:
            client.send(word(3) + word(70000))
            self.assertEqual(client.answer(), b"")
        code, out, errors = self.finish(process)
        self.assertEqual(code, 1)
        self.assertEqual(
            errors,
            "q7-standin: protocol error, connection 1, word 3: at byte 4 of the connection: plug-in "
            "file: expected a count of at most 65536, got 70000\n",
        )
        self.assertEqual(out, "q7-standin: 1 connection, 0 messages, 0 B, 1 protocol error\n")

    def test_second_instance(self) -> None:
        first, port = self.start_ready("--connections", "1")
        code, out, errors = self.run_program()
        self.assertEqual((code, out), (2, ""))
        self.assertEqual(
            errors, "q7-standin: cannot start: another q7-standin runs on this machine\n"
        )
        with Client(port) as client:  # the first one is as it was
            client.send(word(9) + wide(""))
            self.assertEqual(client.answer(), word(0))
        self.assertEqual(self.finish(first)[0], 0)

    def test_file_that_cannot_be_written(self) -> None:
        (self.folder / "file").touch()
        code, out, errors = self.run_program("--out", "file")
        self.assertEqual((code, out), (2, ""))
        self.assertEqual(errors, "q7-standin: file: is not a folder\n")
        self.check_that_no_block_is_left()

    @only_native("there the option works")
    def test_window_where_there_are_none(self) -> None:
        code, out, errors = self.run_program("--window", "640x480")
        self.assertEqual(code, 2)
        self.assertEqual(
            errors,
            "q7-standin: cannot start: --window: windows that plug-ins can find exist on Windows only\n",
        )
        self.check_that_no_block_is_left()

    def test_metadata_comes_back(self) -> None:
        process, port = self.start_ready("--connections", "2", "--quiet")
        text = '{"Name":"Größe","model_file_path":"a.skp"}'
        with Client(port) as client:
            client.send(word(15) + wide(text))
        with Client(port) as client:
            client.send(word(10) + wide("a.skp"))
            expected = text.encode()
            self.assertEqual(client.answer(4 + len(expected)), word(len(expected)) + expected)
        self.assertEqual(self.finish(process)[0], 0)

    def test_message_of_another_shape(self) -> None:
        process, port = self.start_ready("--connections", "1", "--quiet")
        with Client(port) as client:
            client.send(word(18) + wide('{"CameraAnimations":[{"FrameData":[{}]}]}'))
        code, _, errors = self.finish(process)
        self.assertEqual(code, 1)
        self.assertEqual(
            errors,
            "q7-standin: protocol error, connection 1, word 18: at byte 4 of the connection: JSON "
            "text: CameraAnimations[0].FrameData[0].T: expected a number, got nothing\n",
        )

    def test_death_at_a_word(self) -> None:
        process, port = self.start_ready("--die-at-word", "9")
        with Client(port) as client:
            client.send(word(9) + wide("a"))
            self.assertEqual(client.answer(), b"")
        self.assertEqual(process.wait(LIMIT), 3)
        if is_native():
            self.assertTrue(STATUS.exists() and PORT.exists())
        self.check_that_a_new_one_works()

    def check_that_a_new_one_works(self) -> None:
        process, port = self.start_ready("--connections", "1", "--status", "2")
        if is_native():
            self.assertEqual(STATUS.read_bytes(), struct.pack("<HH", 2, 0))
            self.assertEqual(PORT.read_bytes(), struct.pack("<H", port))
        with Client(port) as client:
            client.send(word(3) + wide("a"))
        self.assertEqual(self.finish(process)[0], 0)
        self.check_that_no_block_is_left()

    def check_that_no_block_is_left(self) -> None:
        if is_native():  # an emulator keeps its blocks elsewhere
            self.assertFalse(STATUS.exists() or PORT.exists())

    def test_kill(self) -> None:
        process, _ = self.start_ready()
        process.kill()
        process.wait(LIMIT)
        self.check_that_a_new_one_works()

    @only_native("an emulator keeps its blocks elsewhere")
    def test_renderer_that_lives(self) -> None:
        import fcntl

        with STATUS.open("w+b") as block:
            block.write(struct.pack("<HH", 4, 0))
            block.flush()
            fcntl.lockf(block, fcntl.LOCK_EX, 1)
            STATUS.chmod(0o1600)
            code, out, errors = self.run_program("--exit-after", "0")
            self.assertEqual((code, out), (2, ""))
            self.assertEqual(errors, "q7-standin: cannot start: a renderer runs on this machine\n")
            self.assertEqual(STATUS.read_bytes(), struct.pack("<HH", 4, 0))
        self.check_that_a_new_one_works()

    @only_native("an emulated program gets no signals")
    def test_signals(self) -> None:
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process, port = self.start_ready()
            with Client(port) as client:  # also in the middle of a message
                client.send(word(3))
                process.send_signal(number)
                code, out, errors = self.finish(process)
            self.assertEqual((code, errors), (0, ""))
            self.assertIn("interrupted\n", out)
            self.check_that_no_block_is_left()

    @only_native("the model block is shared memory of this system")
    def test_death_at_every_acknowledgement(self) -> None:
        for last in range(1, 9):
            process, port = self.start_ready("--die-at-ack", str(last), "--out", "out")
            with Client(port) as client:
                client.send(word(7) + wide("a.skp"))
                self.assertEqual(client.answer(), word(0))
                self.assertFalse(client.send_model())
            self.assertEqual(process.wait(LIMIT), 3)
        process, port = self.start_ready("--connections", "1", "--pieces", "--delay-ack", "1")
        with Client(port) as client:
            client.send(word(7) + wide("a.skp"))
            self.assertEqual(client.answer(), word(0))
            self.assertTrue(client.send_model())
        self.assertEqual(self.finish(process)[0], 0)

    @only_native("the model block is shared memory of this system")
    def test_pictures(self) -> None:
        process, port = self.start_ready(
            "--connections", "2", "--out", "ö", "--preview", "--preview-size", "30x20"
        )
        camera = {"Position": [0, 0, 9], "Direction": [0, 0, -1], "model_file_path": "a.skp"}
        client = Client(port)
        with Client(port) as waiting:  # so that the program is not idle in between
            with client:
                client.send(word(7) + wide("a.skp"))
                self.assertEqual(client.answer(), word(0))
                self.assertTrue(client.send_model())
            waiting.send(word(12) + wide(json.dumps(camera, separators=(",", ":"), sort_keys=True)))
        code, out, errors = self.finish(process)
        self.assertEqual((code, errors), (0, ""), out)
        self.assertEqual(out.count("drew 0002-model.png: 30 x 20 pixels, 1 triangle\n"), 1)
        png = (self.folder / "ö/0002-model.png").read_bytes()
        self.assertEqual(struct.unpack(">2I", png[16:24]), (30, 20))

    def test_pictures_without_a_folder(self) -> None:
        code, out, errors = self.run_program("--preview")
        self.assertEqual((code, out), (2, ""))
        self.assertEqual(errors, "q7-standin: usage: --preview needs --out (--help tells more)\n")

    def test_as_the_launcher(self) -> None:
        program = Path(COMMAND[-1])
        launcher = self.folder / ("q7_launcher" + program.suffix)
        shutil.copy(program, launcher)
        (self.folder / "q7-standin.options").write_text(
            '--ready-file "ready" --exit-after 60000\r\n--connections 7 --out "my files"\r\n'
        )
        process = self.start(
            "-pluginFile=C:\\my",
            "plug-in.ini",
            command=[*COMMAND[:-1], str(launcher)],
            Q7_STANDIN_OPTIONS="--connections 1",
        )
        port = self.port_of(process)
        with Client(port) as client:
            client.send(word(3) + wide("C:\\my plug-in.ini"))
        code, out, errors = self.finish(process)
        self.assertEqual((code, errors), (0, ""), out)
        self.assertIn('launched with the plug-in file "C:\\my plug-in.ini"', out)
        self.assertNotIn("not the plug-in file", out)
        self.assertTrue((self.folder / "my files/0001-plugin-file.json").exists())


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    COMMAND = sys.argv[1:]
    unittest.main(argv=sys.argv[:1], verbosity=2)

"""Runs the example robust_live with everything that fails at a user's.

    run_robust.py ROBUST_LIVE Q7_STANDIN Q7_INSPECT
"""

import contextlib
import os
import resource
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

ROBUST, STANDIN, INSPECT = sys.argv[1:4]
LIMIT = 120  # seconds, for anything that should take far less
NEVER = "100000000"  # milliseconds
ARRIVED = "the scene arrived"
BROKE = "the renderer may have all, a part or nothing of the scene, send again"
ENDED = "start it and send again"
WENT_AWAY = "the renderer went away, or did not understand the plug-in"


class Robust(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.home = Path(temporary.name) / "home"
        self.folder = Path(temporary.name) / "scene"
        self.received = Path(temporary.name) / "received"
        self.home.mkdir()
        self.folder.mkdir()
        (self.folder / "wood.png").write_bytes(b"pixels")
        self.environment = {
            **os.environ,
            "XDG_DATA_HOME": str(self.home),
            "XDG_DATA_DIRS": str(self.home),
        }

    @contextlib.contextmanager
    def renderer(self, *options):
        ready = self.home / "ready"
        command = [STANDIN, "--quiet", "--exit-after", "600000", "--ready-file", ready]
        process = subprocess.Popen(
            [*command, "--out", self.received, *options], stdout=subprocess.DEVNULL
        )
        try:
            while not (ready.exists() and ready.stat().st_size):
                self.assertIsNone(process.poll(), "the stand-in is not ready")
                time.sleep(0.01)
            yield process
        finally:
            process.kill()
            process.wait()
            ready.unlink(missing_ok=True)
            shutil.rmtree(self.received, ignore_errors=True)
            # A killed process leaves it behind, and the next test may want no renderer at all.
            for block in Path("/dev/shm").glob("*E35404FC215ED0F65A4EC1CCBB898CC8"):
                block.unlink()

    def install(self, version):
        (self.home / "q7_render").mkdir()
        record = self.home / "q7_render" / "install.ini"
        record.write_text(f"[Q7 Render]\nDisplayIcon={self.home}/icon.png\n")
        (self.home / "config.ini").write_text(f"[Version]\nInstallerVersion={version}\n")

    def run_it(self, *options, **settings):
        done = subprocess.run(
            [ROBUST, "plugin.file", self.folder, *options],
            env=self.environment,
            capture_output=True,
            text=True,
            timeout=LIMIT,
            **settings,
        )
        return done.returncode, done.stdout + done.stderr

    def expect(self, status, text, *options, **settings):
        code, out = self.run_it(*options, **settings)
        self.assertIn(text, out)
        self.assertEqual(code, status, out)
        return out


class ToTheRenderer(Robust):
    def test_all_goes_well(self):
        with self.renderer():
            self.expect(0, ARRIVED)
            self.assertEqual(len(list(self.received.glob("*model.q7mesh"))), 2)
            # Linked already, and once more.
            self.expect(0, ARRIVED)

    def test_no_renderer(self):
        self.expect(1, "the renderer is not installed")

    def test_an_old_version(self):
        self.install("1.0")
        self.expect(1, "the installed renderer is too old")

    def test_a_version_that_is_none(self):
        self.install("v2.4")
        with self.renderer():
            self.expect(1, "the scene was not sent: invalid stoi argument")

    def test_links_that_are_refused(self):
        for options, text in (
            (("--status", "2"), "takes no link now"),
            (("--flag-after-plugin", "1"), "does not accept this plug-in"),
            (("--port", "65535"), "cannot be reached"),
        ):
            with self.subTest(options), self.renderer(*options):
                self.expect(1, text)

    def test_scenes_that_are_refused(self):
        for reply in ("1", "2", "3"):
            with self.subTest(reply), self.renderer("--reply", reply):
                self.expect(1, "the renderer refused the scene")

    def test_a_connect_without_an_answer(self):
        for options in (
            ("--reply", "none"),
            ("--reply", "9"),
            ("--close-at-word", "11"),
            ("--close-at-word", "11", "--abort"),
            ("--die-at-word", "11"),
        ):
            with self.subTest(options), self.renderer(*options):
                self.expect(1, WENT_AWAY)

    def test_nobody_listens(self):
        with self.renderer("--status", "4", "--port", "65535"):
            self.expect(1, BROKE)

    def assert_dead(self, out):
        # A process that ends closes its connection before its blocks go, or after.
        self.assertTrue(BROKE in out or ENDED in out, out)

    def test_a_renderer_that_dies_at_any_acknowledgement(self):
        # One mesh takes eight in the first pass, nine with the paths.
        for number in range(1, 18):
            with self.subTest(number), self.renderer("--die-at-ack", str(number)) as process:
                code, out = self.run_it()
                self.assertEqual(code, 1, out)
                self.assert_dead(out)
                self.assertEqual(process.wait(LIMIT), 3)

    def test_a_renderer_that_dies_at_the_metadata(self):
        for word in ("15", "10"):
            with self.subTest(word), self.renderer("--die-at-word", word):
                code, out = self.run_it()
                self.assertEqual(code, 1, out)
                # The system may accept the connection for the scene while the process ends.
                self.assertTrue(WENT_AWAY in out or BROKE in out or ENDED in out, out)

    def test_a_connection_that_breaks(self):
        for options in (("--close-at-ack", "3"), ("--close-at-ack", "3", "--abort")):
            with self.subTest(options), self.renderer(*options):
                self.expect(1, BROKE)

    def test_a_connection_that_breaks_at_the_end(self):
        """Nothing can see it; docs/faults.md says so."""
        with self.renderer("--close-at-ack", "17"):
            self.expect(0, ARRIVED)

    def test_a_renderer_that_cannot_be_asked(self):
        for options in (("--metadata", "its own"), ("--close-at-word", "10")):
            with self.subTest(options), self.renderer(*options):
                self.expect(0, "sent; the renderer does not say whether it arrived")

    def test_a_renderer_that_never_answers(self):
        for options in (("--delay-ack", NEVER), ("--link-delay", NEVER)):
            with self.subTest(options), self.renderer(*options):
                self.expect(3, "the renderer does not answer while", "1")

    def test_a_renderer_that_is_ended_ends_the_wait(self):
        with self.renderer("--delay-ack", NEVER) as process:
            host = subprocess.Popen(
                [ROBUST, "plugin.file", self.folder, "600"],
                env=self.environment,
                stdout=subprocess.PIPE,
                stderr=subprocess.STDOUT,
                text=True,
            )
            # It has linked and its connection for models is accepted: the send waits.
            while not list(self.received.glob("*sync.json")):
                self.assertIsNone(host.poll(), "the host has ended")
                time.sleep(0.01)
            process.kill()
            out, _ = host.communicate(timeout=LIMIT)
            self.assert_dead(out)
            self.assertEqual(host.returncode, 1)


class ToDisk(Robust):
    def expect_fault(self, text, **settings):
        with self.renderer():
            out = self.expect(1, text, **settings)
            self.assertIn(ARRIVED, out)

    def test_files_are_whole(self):
        with self.renderer():
            self.expect(0, ARRIVED)
        for name in ("scene.q7mesh", "scene.q7a"):
            subprocess.run([INSPECT, "--validate", self.folder / name], check=True)
        self.assertEqual(
            sorted(file.name for file in self.folder.iterdir()),
            ["scene.q7a", "scene.q7mesh", "wood.png"],
        )

    def test_a_missing_folder(self):
        self.folder = self.folder / "none"
        self.expect_fault("scene.q7mesh cannot be written")

    def test_a_folder_that_may_not_be_written(self):
        # Also for root: a folder of the kernel's own takes no files.
        self.folder = Path("/proc/self")
        self.expect_fault("scene.q7mesh cannot be written")

    def test_a_full_disk(self):
        stream = self.folder / "scene.q7mesh"
        with self.renderer():
            self.expect(0, ARRIVED)
            whole = stream.read_bytes()
        for size in range(0, len(whole), 7):

            def limited():
                # Python ignores the signal, and so does its child.
                resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))

            out = subprocess.run(
                [ROBUST, "plugin.file", self.folder],
                env=self.environment,
                capture_output=True,
                text=True,
                timeout=LIMIT,
                preexec_fn=limited,
                restore_signals=False,
            ).stderr
            self.assertIn("scene.q7mesh was not saved: the disk is full", out, size)
            # The old file is still there, and nothing else.
            self.assertEqual(stream.read_bytes(), whole)
            self.assertFalse((self.folder / "scene.q7mesh.part").exists())

    def test_a_missing_texture(self):
        (self.folder / "wood.png").unlink()
        self.expect_fault("wood.png cannot be read")

    def test_an_archive_folder_in_the_way(self):
        (self.folder / "__q7_export_temp").write_text("a file")
        self.expect_fault("__q7_export_temp is in the way")

    def test_an_archive_that_cannot_be_replaced(self):
        (self.folder / "scene.q7a").mkdir()
        self.expect_fault("scene.q7a could not be made")

    def test_a_stream_that_cannot_be_replaced(self):
        (self.folder / "scene.q7mesh").mkdir()
        (self.folder / "scene.q7mesh" / "file").touch()
        self.expect_fault("scene.q7mesh cannot be replaced")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)

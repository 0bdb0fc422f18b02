"""Tests of scripts/jobs.sh: what a script started ends with it, with stand-ins for all that takes long."""

import contextlib
import os
import pty
import signal
import subprocess
import threading
import unittest

from script_folder import ScriptTest

BUILDING = [("test.sh", "--linux"), ("demo.sh",), ("bench.sh",), ("fuzz.sh",)]
SIGNALS = (signal.SIGTERM, signal.SIGINT, signal.SIGHUP)


class JobsTest(ScriptTest):
    def setUp(self):
        super().setUp()
        self.copy("test.sh", "demo.sh", "bench.sh", "fuzz.sh", "setup.sh")
        self.stand_in("scripts/wine.sh")
        self.stand_in("bin/sudo", '"$@"')
        self.stand_in("bin/dpkg-query", "echo installed libminizip-ng-dev")
        for name in ("apt-get", "cmake", "ctest"):
            self.stand_in(f"bin/{name}")

    def lasting(self, path, options="", otherwise="exit 0"):
        """A program that waits for one that it started, if it is called with the options."""
        self.stand_in(
            path,
            f'[[ "$*" == *"{options}"* ]] || {{ {otherwise or ":"}; exit 0; }}',
            "sleep 1000 &",
            f'echo $$ $! >"{self.top}/started.new"',
            f'mv "{self.top}/started.new" "{self.top}/started"',
            "wait",
        )

    def end(self, number, name, *arguments):
        """Sends a script the signal while the lasting program runs; nothing of that may be left."""
        started = self.top / "started"
        started.unlink(missing_ok=True)
        script = subprocess.Popen(
            # Whoever runs the tests may ignore signals.
            ["env", "--default-signal", "bash", self.top / "scripts" / name, *arguments],
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            env=self.environment,
        )
        try:
            self.wait_until(started.exists, f"{name} does not call the program")
            processes = started.read_text().split()
            script.send_signal(number)
            self.assertEqual(script.wait(60), -number)
            self.wait_until_ended(*processes)
        finally:
            script.kill()
            script.wait()

    def test_builds(self):
        self.lasting("bin/cmake", "--build")
        for script in BUILDING:
            for number in SIGNALS:
                with self.subTest(script=script, signal=number):
                    self.end(number, *script)

    def test_configuring(self):
        self.lasting("bin/cmake")
        for script in BUILDING:
            with self.subTest(script=script):
                self.end(signal.SIGTERM, *script)

    def test_setup(self):
        # As apt-get does, which bash's jobs in the background do not: it ends by SIGINT.
        self.stand_in("bin/apt-get", '[[ "$*" != *install* ]] ||', f"exec {self.top}/bin/install")
        self.stand_in(
            "bin/install",
            "trap 'exit 130' INT",
            "trap '' TERM",
            f'echo $$ >"{self.top}/started.new"',
            f'mv "{self.top}/started.new" "{self.top}/started"',
            "while sleep 0.1; do :; done",
        )
        for script in BUILDING:
            for number in SIGNALS:
                with self.subTest(script=script, signal=number):
                    self.end(number, *script)

    def test_tests_in_an_application(self):
        self.lasting("bin/ctest", "--output-junit")
        for number in SIGNALS:
            with self.subTest(signal=number):
                self.end(number, "test.sh", "--host")

    def test_group_may_write_to_a_terminal_that_stops_others(self):
        (self.top / "scripts/writer.sh").write_text(
            """cd "${BASH_SOURCE[0]%/*}"
            . ./jobs.sh
            stty tostop
            in_group bash -c 'echo "it is written"'
            """
        )
        process, terminal = pty.fork()
        if process == 0:
            os.execlp("bash", "bash", self.top / "scripts/writer.sh")
        # What stopped would not end.
        guard = threading.Timer(60, os.killpg, (process, signal.SIGKILL))
        guard.start()
        output = b""
        # EIO is the end of a terminal.
        with contextlib.suppress(OSError):
            while data := os.read(terminal, 1024):
                output += data
        guard.cancel()
        os.close(terminal)
        self.assertEqual(os.waitpid(process, 0)[1], 0, output)
        self.assertEqual(output, b"it is written\r\n")

    def test_preparation_of_wine(self):
        self.lasting("scripts/wine.sh", "--prepare")
        self.end(signal.SIGTERM, "test.sh", "--windows")
        self.assertEqual(self.calls()[-1], "wine.sh --end")

    def test_benchmark(self):
        (self.top / "build/linux/bin").mkdir(parents=True)
        self.lasting("build/linux/bin/q7bench_load")
        for number in SIGNALS:
            with self.subTest(signal=number):
                self.end(number, "bench.sh", "load")

    def test_tools_of_the_demo(self):
        tools = self.top / "build/linux/bin"
        tools.mkdir(parents=True)
        (tools.parent / "build.ninja").touch()
        self.stand_in("bin/dpkg-query", "printf '/%s\\n' 2CylinderEngine.glb ASE/anim2.ASE Collada/duck.dae")
        self.stand_in("scripts/setup.sh")
        self.stand_in(
            "build/linux/bin/q7-standin",
            'mkdir "$2"',
            'touch "$2"/{1,2}-scenes.json "$2/3-camera-animations.json" "$2/4-model.q7mesh"',
            "trap 'echo no faults; exit' TERM",
            'echo ready >"$4"',
            "while sleep 0.1; do :; done",
        )
        programs = {
            "build/linux/bin/q7-send": "echo 'messages: 1'",
            "build/linux/bin/q7-inspect": """echo '{"instances": [], "meshes": [], "placedTriangles": 0}'""",
            "bin/unzip": "",
        }
        for program, options in (
            ("build/linux/bin/q7-send", "--materials"),
            ("build/linux/bin/q7-inspect", "--validate"),
            ("build/linux/bin/q7-send", "--live"),
            ("build/linux/bin/q7-inspect", "--json"),
            ("build/linux/bin/q7-inspect", "--compare"),
            ("build/linux/bin/q7-inspect", "engine.q7mesh --preview"),
            ("bin/unzip", "-t"),
        ):
            for name, line in programs.items():
                self.stand_in(name, line)
            self.lasting(program, options, otherwise=programs[program])
            for number in SIGNALS if options == "--materials" else (signal.SIGINT,):
                with self.subTest(program=program, options=options, signal=number):
                    self.end(number, "demo.sh")

    def test_search_for_findings(self):
        (self.top / "build/linux-fuzz/bin").mkdir(parents=True)
        (self.top / "fuzz/corpus/stream_file").mkdir(parents=True)
        (self.top / "fuzz/corpus/stream_file/seed").touch()
        self.lasting("build/linux-fuzz/bin/q7fuzz_stream_file")
        for number in SIGNALS:
            with self.subTest(signal=number):
                self.end(number, "fuzz.sh", "stream_file")


if __name__ == "__main__":
    unittest.main()

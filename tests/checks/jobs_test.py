"""Tests of scripts/jobs.sh: what a script started ends with it, with stand-ins for all that takes long."""

import os
import signal
import subprocess
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

    def lasting(self, path, options=""):
        """A program that waits for one that it started, if it is called with the options."""
        self.stand_in(
            path,
            f'[[ "$*" == *"{options}"* ]] || exit 0',
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
            env=dict(os.environ, PATH=f"{self.top}/bin:{os.environ['PATH']}"),
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

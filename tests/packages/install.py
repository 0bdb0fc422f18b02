"""Installs the library where nothing is, uses it from there as a project of somebody else would, and makes
the packages.

    install.py BUILD CMAKE COMPILER [--toolchain FILE] [--run PROGRAM] [--zip-inside | --zip-bridge FILE]

BUILD is the build to install, COMPILER a C++ compiler for the same system. --run starts programs of that
system. --zip-inside: the zip library is part of the library. --zip-bridge: only this file, which is not
installed, lets the library make archives; it is put beside the library.
"""

import argparse
import os
import shutil
import subprocess
import sys
import tarfile
import tempfile
import unittest
import zipfile
from pathlib import Path

HERE = Path(__file__).parent
CONSUMER = HERE / "consumer"
VERSION = "0.5.7.0"
arguments = argparse.Namespace()


def run(*command, **more):
    done = subprocess.run(
        [str(word) for word in command], capture_output=True, text=True, errors="replace", **more
    )
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))}:\n{done.stdout}{done.stderr}")
    return done.stdout


def expected_files(windows):
    names = [
        "include/q7plugin.h",
        "lib/cmake/Q7Plugin/Q7PluginConfig.cmake",
        "lib/cmake/Q7Plugin/Q7PluginConfigVersion.cmake",
        "lib/cmake/Q7Plugin/Q7PluginTargets.cmake",
        "lib/pkgconfig/q7plugin.pc",
        "share/q7plugin/python/pyproject.toml",
        "share/q7plugin/python/q7plugin/__init__.py",
        "share/doc/q7plugin/README.md",
        "share/doc/q7plugin/docs/guide.md",
        "share/doc/q7plugin/licences/nlohmann-json.txt",
        "share/doc/q7plugin/licences/cli11.txt",
        "share/doc/q7plugin/licences/stb.txt",
        "share/doc/q7plugin/licences/zlib.txt",
        "share/doc/q7plugin/docs/preview.png",
        "share/doc/q7plugin/examples/guide/nodes.cpp",
    ]
    if arguments.zip_inside:
        names.append("share/doc/q7plugin/licences/minizip-ng.txt")
    if windows:
        return names + [
            "bin/Q7Plugin.dll",
            "bin/q7-inspect.exe",
            "bin/q7-standin.exe",
            "lib/Q7Plugin.lib",
            "lib/libQ7Plugin.dll.a",
            "share/doc/q7plugin/licences/gcc-runtime.txt",
            "share/doc/q7plugin/licences/mingw-w64-runtime.txt",
        ]
    return names + [
        "lib/libQ7Plugin.so",
        "bin/q7-inspect",
        "bin/q7-send",
        "bin/q7-standin",
    ]


class InstallTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.windows = bool(arguments.toolchain)
        temporary = tempfile.TemporaryDirectory()
        cls.addClassCleanup(temporary.cleanup)
        cls.top = Path(temporary.name)
        first = cls.top / "first place"
        run(arguments.cmake, "--install", arguments.build, "--prefix", first)
        # Nothing of it may remember where it was put first.
        cls.prefix = cls.top / "moved"
        first.rename(cls.prefix)
        cls.libraries = cls.prefix / ("bin" if cls.windows else "lib")
        if arguments.zip_bridge:
            shutil.copy(arguments.zip_bridge, cls.libraries)

    def start(self, program, *words):
        launcher = [arguments.run] if arguments.run else []
        environment = dict(os.environ)
        if self.windows:
            # Windows looks beside the program.
            for library in self.libraries.glob("*.dll"):
                if program.parent != self.libraries:
                    shutil.copy(library, program.parent)
        else:
            environment["LD_LIBRARY_PATH"] = str(self.libraries)
        return run(*launcher, program, *words, cwd=program.parent, env=environment)

    def assert_works(self, program):
        printed = self.start(program)
        self.assertIn(f"version {VERSION}, 1 instance", printed)
        self.assertIn("archived", printed)
        self.assertTrue(zipfile.is_zipfile(program.parent / "consumer.q7a"))

    def test_everything_is_there(self):
        missing = [name for name in expected_files(self.windows) if not (self.prefix / name).exists()]
        self.assertEqual(missing, [])

    def test_nothing_else_is_there(self):
        files = [str(f.relative_to(self.prefix)) for f in self.prefix.rglob("*") if f.is_file()]
        odd = [f for f in files if "tests" in f or "__pycache__" in f or f.endswith((".o", ".a.log"))]
        self.assertEqual(odd, [])
        if arguments.zip_inside:
            self.assertEqual([f for f in files if "minizip" in Path(f).name and "licences" not in f], [])

    def test_no_library_comes_from_the_current_folder(self):
        script = HERE.parent / "abi" / "hardening.py"
        run(sys.executable, "-B", script, self.prefix / "bin", self.prefix / "lib")

    def test_licences_are_texts(self):
        for file in (self.prefix / "share/doc/q7plugin/licences").iterdir():
            self.assertGreater(len(file.read_text(errors="replace")), 200, file)

    def system_options(self):
        if arguments.toolchain:
            return [f"-DCMAKE_TOOLCHAIN_FILE={arguments.toolchain}"]
        return [f"-DCMAKE_CXX_COMPILER={arguments.compiler}"]

    def place_options(self):
        # A toolchain's search stays below its own roots.
        if arguments.toolchain:
            return [f"-DQ7Plugin_DIR={self.prefix}/lib/cmake/Q7Plugin"]
        return [f"-DCMAKE_PREFIX_PATH={self.prefix}"]

    def test_cmake_consumer(self):
        build = self.top / "cmake-consumer"
        options = [*self.system_options(), *self.place_options()]
        run(arguments.cmake, "-S", CONSUMER, "-B", build, "-G", "Ninja", *options)
        run(arguments.cmake, "--build", build)
        self.assert_works(build / ("consumer.exe" if self.windows else "consumer"))

    def test_plugin_to_copy(self):
        project = self.prefix / "share/doc/q7plugin/examples/own_project"
        configure = [arguments.cmake, "-S", project, "-G", "Ninja", *self.system_options(), "-B"]
        with self.assertRaisesRegex(AssertionError, "CMAKE_PREFIX_PATH=FOLDER.*\\s.*-DQ7PLUGIN_FOLDER=FOLDER"):
            run(*configure, self.top / "nothing")
        build = self.top / "own"
        run(*configure, build, *self.place_options())
        run(arguments.cmake, "--build", build)
        if self.windows:
            return self.assertEqual(sorted(f.name for f in build.glob("*.dll")), ["Q7Plugin.dll", "my_plugin.dll"])
        code = "import ctypes; print(ctypes.CDLL('./my_plugin.so').exportScene())"
        self.assertEqual(run(sys.executable, "-c", code, cwd=build), "1\n")

    def test_cmake_refuses_another_version(self):
        project = self.top / "other-version"
        shutil.copytree(CONSUMER, project)
        file = project / "CMakeLists.txt"
        file.write_text(file.read_text().replace("Q7Plugin 0.5", "Q7Plugin 9.0"))
        with self.assertRaisesRegex(AssertionError, "9.0"):
            run(arguments.cmake, "-S", project, "-B", project / "build", "-G", "Ninja",
                f"-DCMAKE_PREFIX_PATH={self.prefix}")

    def test_pkg_config_consumer(self):
        environment = dict(os.environ, PKG_CONFIG_PATH=str(self.prefix / "lib/pkgconfig"))
        flags = run("pkg-config", "--cflags", "--libs", "q7plugin", env=environment).split()
        self.assertEqual(run("pkg-config", "--modversion", "q7plugin", env=environment).strip(), VERSION)
        folder = self.top / "pkg-config-consumer"
        folder.mkdir()
        program = folder / ("consumer.exe" if self.windows else "consumer")
        static = ["-static-libgcc", "-static-libstdc++"] if self.windows else []
        run(arguments.compiler, "-std=c++20", CONSUMER / "main.cpp", "-o", program, *static, *flags)
        self.assert_works(program)

    def test_tools_run_from_there(self):
        suffix = ".exe" if self.windows else ""
        tool = self.prefix / f"bin/q7-inspect{suffix}"
        self.assertIn("--validate", self.start(tool, "--help"))

    def test_python_package_is_whole(self):
        if self.windows:
            return self.assertTrue((self.prefix / "share/q7plugin/python/q7plugin/session.py").exists())
        code = "import q7plugin; print(q7plugin.get_plugin_version())"
        environment = dict(
            os.environ,
            PYTHONPATH=str(self.prefix / "share/q7plugin/python"),
            Q7PLUGIN_LIBRARY=str(self.prefix / "lib"),
            PYTHONDONTWRITEBYTECODE="1",
        )
        self.assertEqual(run(sys.executable, "-c", code, env=environment).strip(), VERSION)


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.windows = bool(arguments.toolchain)
        temporary = tempfile.TemporaryDirectory()
        cls.addClassCleanup(temporary.cleanup)
        cls.folder = Path(temporary.name)
        cpack = Path(arguments.cmake).with_name("cpack")
        run(cpack, "--config", Path(arguments.build) / "CPackConfig.cmake", "-B", cls.folder)

    def assert_complete(self, names, top):
        missing = [n for n in expected_files(self.windows) if f"{top}/{n}" not in names]
        self.assertEqual(missing, [])

    def test_archive(self):
        if self.windows:
            # A package that cannot make archives on Windows says so in its name.
            lacking = "-without-archives" if arguments.zip_bridge else ""
            file = self.folder / f"q7plugin-{VERSION}-windows-x64{lacking}.zip"
            with zipfile.ZipFile(file) as packed:
                names = set(packed.namelist())
        else:
            file = self.folder / f"q7plugin-{VERSION}-linux-x64.tar.gz"
            with tarfile.open(file) as packed:
                names = set(packed.getnames())
        self.assert_complete(names, file.name.removesuffix(".zip").removesuffix(".tar.gz"))

    def test_debian_package(self):
        packages = list(self.folder.glob("*.deb"))
        self.assertEqual(len(packages), 0 if self.windows else 1)
        for package in packages:
            unpacked = self.folder / "unpacked"
            run("dpkg-deb", "--extract", package, unpacked)
            names = {str(f.relative_to(unpacked)) for f in unpacked.rglob("*")}
            self.assert_complete(names, "opt/q7plugin")
            self.assertIn(VERSION, run("dpkg-deb", "--field", package, "Version"))
            self.assertIn("libc6", run("dpkg-deb", "--field", package, "Depends"))


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("cmake")
    parser.add_argument("compiler")
    parser.add_argument("--toolchain")
    parser.add_argument("--run")
    parser.add_argument("--zip-inside", action="store_true")
    parser.add_argument("--zip-bridge")
    parser.parse_args(namespace=arguments)
    unittest.main(argv=sys.argv[:1], verbosity=2)

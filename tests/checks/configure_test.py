"""Tests of what CMake says of a package that is missing. Nothing is built."""

import re
import subprocess
import tempfile
import unittest
from pathlib import Path

TOP = Path(__file__).parents[2]

# Each package, what is not built without it, and what makes CMake not find it.
PACKAGES = {
    "Assimp": ("q7-send", ["CMAKE_DISABLE_FIND_PACKAGE_assimp=ON"]),
    "CLI11": ("every tool", ["CMAKE_DISABLE_FIND_PACKAGE_CLI11=ON", "q7_cli11_ROOT="]),
    "stb": ("every tool", ["q7_stb_ROOT="]),
    "tinyobjloader": ("the example obj_host", ["q7_tinyobj_ROOT="]),
    "tinygltf": ("the comparison in q7bench_save", ["CMAKE_DISABLE_FIND_PACKAGE_TinyGLTF=ON"]),
    "Google Benchmark": ("q7bench_calls", ["CMAKE_DISABLE_FIND_PACKAGE_benchmark=ON"]),
    "doxygen": ("the test docs_api", ["Q7_DOXYGEN="]),
    "Python 3": ("the test of the Blender add-on", ["Q7_PYTHON="]),
}

# Without these nothing that the others are for is built either.
TOOLS = ("CLI11", "stb")


def configure(folder, *variables, source=TOP):
    result = subprocess.run(
        # No configure waits for the network: a source of minizip-ng that is there already is still used.
        ["cmake", "--preset", "linux-release", "-B", folder, "-DQ7_MINIZIP_URL=file:///missing"]
        + [f"-D{each}" for each in variables],
        cwd=source,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
    )
    # CMake breaks the lines of errors.
    return result.returncode, " ".join(result.stdout.split())


class ConfigureTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)

    def test_presets_refuse_to_leave_anything_out(self):
        for package, (what, variables) in PACKAGES.items():
            with self.subTest(package=package):
                code, output = configure(self.folder / package.replace(" ", ""), *variables)
                self.assertEqual(code, 1, output)
                self.assertIn(
                    f"{package} was not found, which {what} needs: scripts/setup.sh installs it",
                    output,
                )

    def test_builds_of_ones_own_leave_out_what_lacks_its_package(self):
        for tools in (True, False):
            missing = {name: PACKAGES[name] for name in PACKAGES if (name in TOOLS) == tools}
            variables = [each for _, each in missing.values()]
            code, output = configure(
                self.folder / str(tools), "Q7_REQUIRE_ALL=OFF", *sum(variables, [])
            )
            self.assertEqual(code, 0, output)
            for package, (what, _) in missing.items():
                self.assertIn(f"-- {what} is left out: it needs {package} ", output)

    def test_presets_switch_on_what_the_demo_left_out(self):
        off = [f"Q7_BUILD_{each}=OFF" for each in ("TESTS", "EXAMPLES", "BENCHMARKS")]
        self.assertEqual(configure(self.folder, *off)[0], 0)
        self.assertEqual(configure(self.folder)[0], 0)
        cache = (self.folder / "CMakeCache.txt").read_text()
        for each in ("TESTS", "EXAMPLES", "BENCHMARKS"):
            self.assertIn(f"Q7_BUILD_{each}:BOOL=ON", cache)

    def test_zlib_is_static_whatever_an_earlier_run_found(self):
        build = self.folder / "build"
        off = [f"Q7_BUILD_{each}=OFF" for each in ("TESTS", "EXAMPLES", "BENCHMARKS")]
        shared = subprocess.check_output(["cc", "-print-file-name=libz.so"], text=True).strip()
        self.assertTrue(Path(shared).is_absolute(), "there is no shared zlib")
        refused = "the static zlib cannot be linked into a library"
        # A static library that fits no library, then the one of the system.
        unfit = self.folder / "libz.a"
        unfit.write_text("not an archive")
        for library, fits in ((unfit, False), (shared, True)):
            _, output = configure(build, *off, f"ZLIB_LIBRARY_RELEASE={library}")
            self.assertEqual(refused not in output, fits, output)
            cache = (build / "CMakeCache.txt").read_text()
            self.assertRegex(cache, r"(?m)^ZLIB_LIBRARY_RELEASE:\w+=.*\.a$")
        rule = re.search(r"(?m)^build libQ7Plugin\.so.*$", (build / "build.ninja").read_text())[0]
        self.assertNotIn("libz.so", rule)

    def test_folder_of_tests_that_is_not_complete(self):
        source = self.folder / "source"
        for folder, skipped in ((TOP, "tests"), (TOP / "tests", "limits")):
            copy = source / folder.relative_to(TOP)
            copy.mkdir()
            for file in folder.iterdir():
                if file.name != skipped:
                    (copy / file.name).symlink_to(file)
        code, output = configure(self.folder / "build", source=source)
        self.assertEqual(code, 1, output)
        self.assertRegex(output, r"add_subdirectory given source \"limits\" which is not")


if __name__ == "__main__":
    unittest.main()

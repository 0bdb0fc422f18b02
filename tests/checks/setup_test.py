"""Tests of scripts/setup.sh, with stand-ins for the package tools."""

import hashlib
import re
import unittest

from script_folder import SCRIPTS, ScriptTest


def packages_of(name):
    return re.search(rf"^{name}=\((.*?)\)", (SCRIPTS / "setup.sh").read_text(), re.M | re.S)[
        1
    ].split()


class SetupTest(ScriptTest):
    def setUp(self):
        super().setUp()
        self.copy("setup.sh")
        self.stand_in("bin/apt-get")
        self.stand_in("bin/sudo", '"$@"')
        self.source(downloads=False)

    def source(self, downloads):
        """Whether the source of minizip-ng can be downloaded."""
        self.stand_in("bin/cmake", f"exit {0 if downloads else 1}")

    def installed(self, *packages, removed=(), minizip=True):
        lines = [f"installed {name}" for name in packages]
        lines += ["installed libminizip-ng-dev"] * minizip
        lines += [f"config-files {name}" for name in removed]
        self.stand_in("bin/dpkg-query", *(f"echo '{line}'" for line in lines))

    def downloads(self, hash):
        """The place of the source in a folder of downloads, for a release of that hash."""
        (self.top / "cmake").mkdir()
        (self.top / "cmake/Q7MinizipSource.cmake").write_text(f"set(Q7_MINIZIP_HASH {hash})\n")
        folder = self.top / "downloads"
        folder.mkdir()
        self.environment["Q7_DOWNLOADS"] = str(folder)
        return folder / "minizip-ng-4.0.10.tar.gz"

    def everything_installed(self, **more):
        names = ("both", "linux", "windows", "bridge")
        self.installed(*(package for name in names for package in packages_of(name)), **more)

    def newer_suites(self, *serving, here=False, source="http://mirror.invalid/debian/"):
        """Everything is installed but minizip-ng, which the system has or the suites serve."""
        self.everything_installed(minizip=False)
        self.stand_in(
            "bin/apt-cache",
            f'[[ "$*" != show* ]] || exit {0 if here else 100}',
            'echo "  Depends: libminizip-ng4"',
        )
        self.stand_in(
            "bin/apt-get",
            f'[[ "$*" != indextargets* ]] || echo "{source}"',
            'sources=$(sed -n "s/.*SourceList=\\([^ ]*\\).*/\\1/p" <<<"$*")',
            '[[ "$*" != *download* ]] || {',
            *(f'    ! grep -q " {suite} " "$sources" || serves=yes' for suite in serving),
            '    [[ -n ${serves-} ]] && touch dev.deb library.deb || exit 100',
            "}",
        )
        self.stand_in(
            "bin/dpkg-deb", 'mkdir -p "$3/usr/lib"', 'touch "$3/usr/lib/libminizip-ng.so.4"'
        )
        self.stand_in("bin/ldd", "echo 'libc.so.6 => /lib/libc.so.6'")

    def unpacked(self):
        """What the folder of packages holds."""
        return sorted(file.name for file in (self.top / "build" / "packages").iterdir())

    def wanted(self):
        """What apt-get was told to install."""
        calls = [call for call in self.calls() if " install " in call]
        self.assertTrue(calls)
        lists = [call.split("--no-install-recommends ")[1] for call in calls]
        return " ".join(lists).split()

    def test_nothing_is_missing(self):
        self.everything_installed()
        result = self.run_script("setup.sh")
        self.assertEqual(result.returncode, 0)
        self.assertEqual(result.stdout, "setup: nothing to install\n")
        self.assertFalse([call for call in self.calls() if call.startswith("apt-get")])

    def test_only_what_is_missing_is_installed(self):
        everything = [p for n in ("both", "linux", "windows", "bridge") for p in packages_of(n)]
        everything.remove("cmake")
        everything.remove("wine")
        self.installed(*everything, removed=["cmake"])
        self.assertEqual(self.run_script("setup.sh").returncode, 0)
        self.assertEqual(self.wanted(), ["cmake", "wine"])

    def test_linux_needs_no_cross_tools(self):
        self.installed("git")
        self.assertEqual(self.run_script("setup.sh", "--linux").returncode, 0)
        wanted = self.wanted()
        self.assertIn("g++", wanted)
        self.assertFalse(set(wanted) & set(packages_of("windows")))

    def test_demo_needs_neither_linters_nor_what_tests_need(self):
        self.installed("git")
        self.assertEqual(self.run_script("setup.sh", "--demo").returncode, 0)
        wanted = set(self.wanted())
        self.assertLess(wanted, {*packages_of("both"), *packages_of("linux")})
        self.assertLessEqual({"cmake", "g++", "libassimp-dev", "unzip"}, wanted)
        self.assertFalse(wanted & {"clang-tidy", "cppcheck", "doxygen", "googletest"})

    def test_windows_needs_no_tools_of_linux_only(self):
        self.installed("git")
        self.assertEqual(self.run_script("setup.sh", "--windows").returncode, 0)
        wanted = self.wanted()
        self.assertIn("wine64", wanted)
        self.assertFalse(set(wanted) & set(packages_of("linux")))

    def test_hosts_need_their_applications(self):
        self.installed("git")
        self.assertEqual(self.run_script("setup.sh", "--host").returncode, 0)
        wanted = set(self.wanted())
        self.assertLessEqual({"g++", "blender", "python3-numpy", *packages_of("host")}, wanted)
        self.assertFalse(wanted & set(packages_of("windows")))

    def test_benchmarks_need_what_they_compare_with(self):
        self.installed("git")
        self.assertEqual(self.run_script("setup.sh", "--bench").returncode, 0)
        wanted = set(self.wanted())
        self.assertLessEqual({"g++", "zip", *packages_of("bench")}, wanted)
        self.assertFalse(wanted & set(packages_of("windows")))

    def test_unreachable_source_is_no_failure_when_installing_works(self):
        self.installed("git")
        self.stand_in("bin/apt-get", '[[ "$*" != *update* ]]')
        self.assertEqual(self.run_script("setup.sh").returncode, 0)

    def test_failed_installation(self):
        self.installed("git")
        self.stand_in("bin/apt-get", "echo 'E: no such package'", '[[ "$*" != *install* ]]')
        result = self.run_script("setup.sh")
        self.assertEqual(result.returncode, 1)
        self.assertIn("E: no such package", result.stderr)
        self.assertIn("setup: apt-get could not install", result.stderr)

    def test_source_of_minizip_comes_before_its_package(self):
        self.newer_suites("forky", here=True)
        self.source(downloads=True)
        self.assertEqual(self.run_script("setup.sh").returncode, 0)
        self.assertIn("cmake -P cmake/Q7MinizipSource.cmake", self.calls())
        self.assertFalse([call for call in self.calls() if " install " in call])
        self.assertEqual(self.unpacked(), [])

    def test_downloaded_source_of_minizip_needs_nothing(self):
        names = ("both", "linux", "windows")
        self.installed(*(p for name in names for p in packages_of(name)), minizip=False)
        file = self.downloads(hashlib.sha256(b"release").hexdigest())
        result = self.run_script("setup.sh")
        self.assertEqual(result.stdout.splitlines()[0], f"setup: Q7_DOWNLOADS: {file.parent} has no {file.name}")
        self.assertIn("cmake -P cmake/Q7MinizipSource.cmake", self.calls())
        file.write_bytes(b"release")
        result = self.run_script("setup.sh")
        self.assertEqual(result.stdout, "setup: nothing to install\n", result.stderr)

    def test_downloaded_source_of_another_release_is_refused(self):
        self.everything_installed()
        file = self.downloads(hashlib.sha256(b"release").hexdigest())
        file.write_bytes(b"releas")
        result = self.run_script("setup.sh")
        self.assertEqual(result.returncode, 1)
        self.assertIn(f"setup: {file}: not the release that is wanted", result.stderr)
        self.assertEqual([call for call in self.calls() if "apt" in call], [])

    def test_kept_source_of_another_release_is_missing(self):
        names = ("both", "linux", "windows")
        self.installed(*(p for name in names for p in packages_of(name)), minizip=False)
        self.source(downloads=True)
        self.downloads(hashlib.sha256(b"release").hexdigest())
        del self.environment["Q7_DOWNLOADS"]
        kept = self.top / "build/packages/minizip-ng-4.0.10.tar.gz"
        kept.parent.mkdir(parents=True)
        kept.write_bytes(b"releas")
        result = self.run_script("setup.sh")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("cmake -P cmake/Q7MinizipSource.cmake", self.calls())
        kept.write_bytes(b"release")
        self.assertEqual(self.run_script("setup.sh").stdout, "setup: nothing to install\n")

    def test_given_source_is_enough_beside_a_kept_one_of_another_release(self):
        names = ("both", "linux", "windows")
        self.installed(*(p for name in names for p in packages_of(name)), minizip=False)
        file = self.downloads(hashlib.sha256(b"release").hexdigest())
        folder = file.parent.rename(self.top / "a\\b [c")
        self.environment["Q7_DOWNLOADS"] = str(folder)
        (folder / file.name).write_bytes(b"release")
        (self.top / "build/packages").mkdir(parents=True)
        (self.top / "build/packages" / file.name).write_bytes(b"releas")
        result = self.run_script("setup.sh")
        self.assertEqual(result.stdout, "setup: nothing to install\n", result.stderr)

    def test_folder_in_the_place_of_the_source_is_refused(self):
        self.everything_installed()
        file = self.downloads(hashlib.sha256(b"release").hexdigest())
        for place in (file, self.top / "build/packages" / file.name):
            place.mkdir(parents=True)
            result = self.run_script("setup.sh")
            self.assertEqual(result.returncode, 1)
            self.assertRegex(result.stderr, rf"^setup: \S*{place.parent.name}/{file.name} is a folder; .*\n$")
            place.rmdir()

    def test_semicolon_in_the_name_of_the_downloads_is_refused(self):
        (self.top / "a;b").mkdir()
        self.environment["Q7_DOWNLOADS"] = str(self.top / "a;b")
        result = self.run_script("setup.sh")
        self.assertEqual(result.returncode, 1)
        self.assertIn("a;b contains a semicolon", result.stderr)
        self.assertEqual(self.calls(), [])

    def test_downloads_that_are_not_a_folder_are_refused_before_anything_is_installed(self):
        self.installed("git")
        self.environment["Q7_DOWNLOADS"] = str(self.top / "missing")
        result = self.run_script("setup.sh")
        self.assertEqual(result.returncode, 1)
        self.assertIn(f"setup: Q7_DOWNLOADS: {self.top / 'missing'} is not a folder", result.stderr)
        self.assertEqual([call for call in self.calls() if "apt" in call], [])

    def test_package_of_minizip_needs_the_bridge_under_wine_only(self):
        names = ("both", "linux", "windows")
        self.installed(*(p for name in names for p in packages_of(name)))
        self.assertEqual(self.run_script("setup.sh", "--linux").stdout, "setup: nothing to install\n")
        self.assertEqual(self.run_script("setup.sh", "--windows").returncode, 0)
        self.assertEqual(self.wanted(), packages_of("bridge"))

    def test_minizip_of_this_system_comes_first(self):
        self.newer_suites("forky", here=True)
        self.assertEqual(self.run_script("setup.sh").returncode, 0)
        self.assertEqual(self.wanted(), ["libminizip-ng-dev"])
        self.assertEqual(self.unpacked(), [])

    def test_minizip_of_a_newer_suite(self):
        self.newer_suites("forky")
        result = self.run_script("setup.sh")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.unpacked(), ["minizip-ng"])
        self.assertTrue((self.top / "build/packages/minizip-ng/usr/lib/libminizip-ng.so.4").exists())
        (download,) = [call for call in self.calls() if " download " in call]
        self.assertTrue(download.endswith(" download libminizip-ng-dev libminizip-ng4"), download)
        self.assertIn("AllowInsecureRepositories=false", download)
        self.assertFalse([call for call in self.calls() if " install " in call])

        before = self.calls()
        self.assertEqual(self.run_script("setup.sh").stdout, "setup: nothing to install\n")
        self.assertEqual([call for call in self.calls()[len(before) :] if "apt" in call], [])

    def test_minizip_of_the_next_suite(self):
        self.newer_suites("sid")
        self.assertEqual(self.run_script("setup.sh").returncode, 0)
        self.assertEqual(self.unpacked(), ["minizip-ng"])

    def test_minizip_that_does_not_run_here(self):
        self.newer_suites("forky", "sid")
        self.stand_in("bin/ldd", 'echo "version GLIBC_9.9 not found (required by $1)"')
        result = self.run_script("setup.sh")
        self.assertEqual(result.returncode, 1)
        self.assertIn("GLIBC_9.9", result.stderr)
        self.assertIn("setup: libminizip-ng-dev: no package of this system, and", result.stderr)
        self.assertEqual(self.unpacked(), [])

    def test_minizip_is_nowhere(self):
        self.newer_suites()
        result = self.run_script("setup.sh")
        self.assertEqual(result.returncode, 1)
        self.assertIn("could not be fetched", result.stderr)
        self.assertEqual(self.unpacked(), [])

    def test_minizip_where_no_source_is_known(self):
        self.newer_suites("forky", source="cdrom://[disc]/")
        result = self.run_script("setup.sh")
        self.assertEqual(result.returncode, 1)
        self.assertIn("apt's sources name no Debian", result.stderr)

    def test_half_unpacked_minizip_is_replaced(self):
        self.newer_suites("forky")
        rest = self.top / "build/packages/minizip-ng/usr/rest"
        rest.mkdir(parents=True)
        self.assertEqual(self.run_script("setup.sh").returncode, 0)
        self.assertFalse(rest.exists())

    def test_unknown_option(self):
        result = self.run_script("setup.sh", "--mac")
        self.assertEqual(result.returncode, 1)
        self.assertIn("setup: unknown option --mac", result.stderr)
        self.assertEqual(self.calls(), [])


if __name__ == "__main__":
    unittest.main()

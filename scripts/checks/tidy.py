#!/usr/bin/env python3
"""Runs clang-tidy with the project's .clang-tidy over the sources of a build.

    tidy.py [-jN] BUILD_FOLDER [WORD...]

N runs at once, as many as there are processors when it is not told. BUILD_FOLDER holds the
compile_commands.json of a build by GCC or Clang. With words, only the files whose path has one of
them. Prints what is found; the exit code is 1 when anything is.

Most of the time goes into the system's headers, so sources are read in bundles. A bundle with a
finding, or one that does not compile as one, is read again file by file: what is printed always
comes from a file by itself.
"""

import json
import os
import re
import shlex
import shutil
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from itertools import groupby
from pathlib import Path

TOP = Path(__file__).parents[2]
FOLDERS = ("src", "tools", "examples")
FILES_IN_A_BUNDLE = 16
# Two of these make no program, nor a bundle.
MAIN = re.compile(r"^int main\(", re.MULTILINE)
# The sources in a bundle are headers to clang-tidy: the filter of .clang-tidy, with them.
AS_BUNDLE = [
    "--checks=-bugprone-suspicious-include",
    r"--header-filter=/(src|tools|examples)/(.*/)?(([^q/][^/]*|q7_[^/]*)\.h|[^/]*\.cpp)$",
]
# GCC's own warning options are not known to clang, which compiles here only to understand.
COMPILER_OPTIONS = ["-Wno-unknown-warning-option", "-Wno-unused-command-line-argument"]
# What is local in one source may have the name of something in another.
BUNDLE_COMPILER_OPTIONS = ["-Wno-shadow"]


def options(entry: dict) -> list[str]:
    """How a file is compiled, without its name and its output."""
    words = shlex.split(entry["command"])[1:]
    for option in ("-o", "-c"):
        at = words.index(option)
        del words[at : at + 2]
    return words + COMPILER_OPTIONS


def sources(build: Path, words: list[str]) -> dict[Path, list[str]]:
    """The files to check, with how each is compiled."""
    files = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        file = Path(entry["directory"], entry["file"]).resolve()
        ours = any(file.is_relative_to(TOP / name) for name in FOLDERS)
        if ours and (not words or any(word in str(file) for word in words)):
            files.setdefault(file, options(entry))
    return files


def bundles(files: dict[Path, list[str]]) -> list[list[Path]]:
    """Sources of the library, or of one folder of the others, that are compiled alike; the largest
    first, so that no core waits for a late one."""

    def kind(file: Path) -> tuple[bool, Path, Path, list[str]]:
        folders = [folder for folder in file.parents if folder.is_relative_to(TOP)]
        settings = next((each for each in folders if (each / ".clang-tidy").exists()), TOP)
        folder = TOP / "src" if TOP / "src" in folders else file.parent
        return bool(MAIN.search(file.read_text())), settings, folder, files[file]

    made = []
    ordered = sorted(files, key=lambda file: (kind(file), file))
    for (is_program, *_), group in groupby(ordered, key=kind):
        members = list(group)
        if is_program:
            made += [[file] for file in members]
            continue
        parts = -(-len(members) // FILES_IN_A_BUNDLE)
        made += [members[part::parts] for part in range(parts)]
    return sorted(made, key=lambda members: -sum(file.stat().st_size for file in members))


def run(file: Path, compiler_options: list[str], *arguments: str) -> tuple[int, str]:
    result = subprocess.run(
        ["clang-tidy", "--quiet", *arguments, file, "--", *compiler_options],
        capture_output=True,
        text=True,
    )
    # What goes to the other stream is only a count of findings, unless clang-tidy itself failed.
    failed_itself = result.returncode != 0 and not result.stdout.strip()
    return result.returncode, result.stdout + (result.stderr if failed_itself else "")


class Checker:
    def __init__(self, build: Path, files: dict[Path, list[str]]) -> None:
        self.files = files
        # The settings of the top and of each folder are put beside the bundles: a build may be elsewhere.
        self.folder = build / "tidy"
        shutil.rmtree(self.folder, ignore_errors=True)

    def bundle_file(self, members: list[Path]) -> Path:
        place = self.folder / members[0].parent.relative_to(TOP)
        place.mkdir(parents=True, exist_ok=True)
        for folder in members[0].relative_to(TOP).parents:
            settings = TOP / folder / ".clang-tidy"
            if settings.exists():
                shutil.copy(settings, self.folder / folder)
        file = place / f"bundle_{members[0].stem}.cpp"
        file.write_text("".join(f'#include "{member}"\n' for member in members))
        return file

    def check(self, members: list[Path]) -> list[tuple[int, str]]:
        if len(members) > 1:
            compiler_options = self.files[members[0]] + BUNDLE_COMPILER_OPTIONS
            code, _ = run(self.bundle_file(members), compiler_options, *AS_BUNDLE)
            if code == 0:
                return [(0, "")]
        return [run(file, self.files[file]) for file in members]


def main(arguments: list[str]) -> int:
    jobs = os.cpu_count()
    if arguments and re.fullmatch(r"-j\d+", arguments[0]):
        jobs = int(arguments.pop(0)[2:])
    if not arguments or not jobs:
        print("usage: tidy.py [-jN] BUILD_FOLDER [WORD...]", file=sys.stderr)
        return 2
    build = Path(arguments[0]).resolve()
    if not (build / "compile_commands.json").is_file():
        print(f"tidy: {build}/compile_commands.json is missing: configure the build first", file=sys.stderr)
        return 1
    files = sources(build, arguments[1:])
    if not files:
        print(f"tidy: {build}/compile_commands.json names no source to check", file=sys.stderr)
        return 1
    checker = Checker(build, files)
    with ThreadPoolExecutor(jobs) as pool:
        results = [each for some in pool.map(checker.check, bundles(files)) for each in some]
    # A header's finding comes with every file that includes it.
    findings = dict.fromkeys(text.strip() for _, text in results if text.strip())
    print(*findings, sep="\n")
    print(f"{len(files)} files")
    return 1 if any(code for code, _ in results) else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

#!/usr/bin/env python3
"""Runs clang-tidy with the project's .clang-tidy over the sources of a build.

    tidy.py BUILD_FOLDER [WORD...]

BUILD_FOLDER holds the compile_commands.json of a build by GCC or Clang. With words, only the files
whose path has one of them. Prints what is found; the exit code is 1 when anything is.
"""

import json
import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

TOP = Path(__file__).parents[2]
FOLDERS = ("src", "tools", "examples")
# GCC's own warning options are not known to clang, which compiles here only to understand.
COMPILER_OPTIONS = ("-Wno-unknown-warning-option", "-Wno-unused-command-line-argument")


def sources(build: Path, words: list[str]) -> list[Path]:
    commands = json.loads((build / "compile_commands.json").read_text())
    files = {Path(entry["directory"], entry["file"]).resolve() for entry in commands}
    ours = [file for file in files if any(file.is_relative_to(TOP / name) for name in FOLDERS)]
    # The long ones first, so that no core waits for a late one.
    ours.sort(key=lambda file: (file.parts[len(TOP.parts)] == "src", -file.stat().st_size))
    return [file for file in ours if not words or any(word in str(file) for word in words)]


def tidy(build: Path, file: Path) -> tuple[int, str]:
    result = subprocess.run(
        ["clang-tidy", "-p", build, "--quiet"]
        + [f"--extra-arg={option}" for option in COMPILER_OPTIONS]
        + [file],
        capture_output=True,
        text=True,
    )
    # What goes to the other stream is only a count of findings, unless clang-tidy itself failed.
    failed_itself = result.returncode != 0 and not result.stdout.strip()
    return result.returncode, result.stdout + (result.stderr if failed_itself else "")


def main(arguments: list[str]) -> int:
    if not arguments:
        print("usage: tidy.py BUILD_FOLDER [WORD...]", file=sys.stderr)
        return 2
    build = Path(arguments[0])
    files = sources(build, arguments[1:])
    if not files:
        print(f"tidy: {build}/compile_commands.json names no source to check", file=sys.stderr)
        return 1
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(lambda file: tidy(build, file), files))
    # A header's finding comes with every file that includes it.
    findings = dict.fromkeys(text.strip() for _, text in results if text.strip())
    print(*findings, sep="\n")
    print(f"{len(files)} files")
    return 1 if any(code for code, _ in results) else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

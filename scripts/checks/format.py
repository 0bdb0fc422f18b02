#!/usr/bin/env python3
"""Checks that every C and C++ file is laid out as .clang-format tells.

    format.py           names each place that is not, exit code 1
    format.py --fix     puts it right
"""

import subprocess
import sys
from pathlib import Path

TOP = Path(__file__).parents[2]
SUFFIXES = {".h", ".c", ".cpp"}


def sources() -> list[Path]:
    listing = subprocess.run(
        ["git", "ls-files", "--cached", "--others", "--exclude-standard"],
        cwd=TOP,
        capture_output=True,
        text=True,
    )
    if listing.returncode == 0:
        files = [TOP / line for line in listing.stdout.splitlines()]
    else:  # an unpacked archive, say
        files = [file for file in TOP.rglob("*") if "build" not in file.relative_to(TOP).parts]
    return sorted(file for file in files if file.suffix in SUFFIXES and file.is_file())


def main(arguments: list[str]) -> int:
    if arguments not in ([], ["--fix"]):
        print("usage: format.py [--fix]", file=sys.stderr)
        return 2
    files = sources()
    if not files:
        print(f"format: no sources found under {TOP}", file=sys.stderr)
        return 1
    options = ["-i"] if arguments else ["--dry-run", "-Werror"]
    code = subprocess.run(["clang-format", *options, *files]).returncode
    print(f"{len(files)} files")
    return code


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

"""Compares the export table of the built library with the committed list.

    exports.py LIST LIBRARY TOOL

TOOL is nm for an ELF library, objdump for a DLL.
"""

import re
import subprocess
import sys
from pathlib import Path


def listed(list_file: Path, windows: bool) -> set[str]:
    lines = [line.split() for line in list_file.read_text().splitlines()]
    rows = [columns for columns in lines if columns and not columns[0].startswith("#")]
    return {columns[0 if windows else -1] for columns in rows}


def output_of(*command: str) -> str:
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def exported_by_elf(library: str, nm: str) -> set[str]:
    text = output_of(nm, "--dynamic", "--defined-only", "--format=posix", library)
    return {line.split()[0] for line in text.splitlines()}


def exported_by_dll(library: str, objdump: str) -> set[str]:
    text = output_of(objdump, "--private-headers", library)
    table = text[text.index("[Ordinal/Name Pointer] Table") :]
    return set(re.findall(r"^\s*\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+\S+\s+)?(\S+)$", table, re.M))


def main() -> int:
    list_file, library, tool = sys.argv[1:]
    windows = library.lower().endswith(".dll")
    expected = listed(Path(list_file), windows)
    exported = (exported_by_dll if windows else exported_by_elf)(library, tool)
    for name in sorted(expected - exported):
        print(f"{library}: {name} is listed but not exported")
    for name in sorted(exported - expected):
        print(f"{library}: {name} is exported but not listed")
    print(f"{len(exported)} exports, {len(expected)} listed")
    return 0 if exported == expected and expected else 1


if __name__ == "__main__":
    sys.exit(main())

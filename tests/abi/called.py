"""Proves that no export goes without a test: the test programs' own import tables name all of them.

    called.py LIST TOOL PROGRAM...

The programs call the shared library as hosts do. TOOL is nm for ELF programs, objdump for Windows
programs.
"""

import re
import sys
from pathlib import Path

from exports import listed, output_of


def imported_by_elf(program: str, nm: str) -> set[str]:
    text = output_of(nm, "--dynamic", "--undefined-only", "--format=posix", program)
    return {line.split()[0].split("@")[0] for line in text.splitlines()}


def imported_by_exe(program: str, objdump: str) -> set[str]:
    text = output_of(objdump, "--private-headers", program)
    table = re.search(r"DLL Name: Q7Plugin\.dll\n(.*?)\n\n", text, re.S)
    if not table:
        raise SystemExit(f"{program}: it does not import from the library")
    row = r"^\s*[0-9a-f]+\s+(?:<none>\s+[0-9a-f]+|\d+)\s+(\S+)$"
    return set(re.findall(row, table[1], re.M))


def main() -> int:
    list_file, tool, *programs = sys.argv[1:]
    windows = programs[0].lower().endswith(".exe")
    imports_of = imported_by_exe if windows else imported_by_elf
    imported = set().union(*(imports_of(program, tool) for program in programs))
    expected = listed(Path(list_file), windows)
    for name in sorted(expected - imported):
        print(f"{name} is exported, and no test calls it through the library")
    print(f"{len(expected & imported)} of {len(expected)} exports are called by tests")
    return 0 if expected and expected <= imported else 1


if __name__ == "__main__":
    sys.exit(main())

"""Checks that no export is taken for a function that never throws, by a compiler in MSVC's usual mode.

    handlers.py HEADER LIST CLANG

Under /EHsc functions of C linkage never throw unless they say otherwise, and handlers around calls of
them are dropped. LIST names the exports; those with names of C++ are no functions of C linkage.
"""

import re
import subprocess
import sys
from pathlib import Path

from exports import listed

MODE = ("--driver-mode=cl", "--target=x86_64-pc-windows-msvc", "/EHsc", "/W4", "/WX", "/c")
TEXT = ("/clang:-S", "/clang:-emit-llvm", "/clang:-o-")


def main() -> int:
    header, list_file, clang = sys.argv[1:]
    names = sorted(name for name in listed(Path(list_file), windows=True) if name.isidentifier())
    addresses = ", ".join(f"reinterpret_cast<void*>(&{name})" for name in names)
    # The function of which it is known shows that the mode is on.
    source = (
        f'#include "{Path(header).name}"\nextern "C" void unmarked();\n'
        f"void* functions[] = {{{addresses}, reinterpret_cast<void*>(&unmarked)}};\n"
    )
    result = subprocess.run(
        [clang, *MODE, *TEXT, f"-I{Path(header).parent}", "/TP", "-"],
        input=source,
        capture_output=True,
        text=True,
    )
    if result.returncode:
        print(result.stderr)
        return 1
    groups = dict(re.findall(r"^attributes (#\d+) = \{(.*)\}$", result.stdout, re.M))
    declared = dict(re.findall(r"^declare .*@(\w+)\(.*\).* (#\d+)", result.stdout, re.M))
    silent = {name for name in declared if " nounwind " in groups[declared[name]]}
    for name in sorted(set(names) - declared.keys()):
        print(f"{name}: no declaration in the compiler's output")
    for name in sorted(silent - {"unmarked"}):
        print(f"{name}: handlers around calls of it are dropped under /EHsc")
    print(f"{len(declared.keys() & set(names) - silent)} of {len(names)} exports may throw")
    return 0 if names and set(names) <= declared.keys() and silent == {"unmarked"} else 1


if __name__ == "__main__":
    sys.exit(main())

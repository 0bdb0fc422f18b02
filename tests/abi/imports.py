"""Checks that the DLL needs nothing but system DLLs: the compiler's runtime and the zip library are linked
in, or the zip library is loaded for an archive.

    imports.py LIBRARY OBJDUMP
"""

import re
import subprocess
import sys

SYSTEM_DLLS = {
    "advapi32.dll",
    "kernel32.dll",
    "msvcrt.dll",
    "ole32.dll",
    "rpcrt4.dll",
    "shell32.dll",
    "shlwapi.dll",
    "user32.dll",
    "ws2_32.dll",
}


def main() -> int:
    library, objdump = sys.argv[1:]
    text = subprocess.run(
        [objdump, "--private-headers", library], check=True, capture_output=True, text=True
    ).stdout
    imported = {name.lower() for name in re.findall(r"DLL Name: (\S+)", text)}
    print("imports:", *sorted(imported))
    if "kernel32.dll" not in imported:
        print(f"{library}: no import table was read")
        return 1
    others = imported - SYSTEM_DLLS
    for name in sorted(others):
        print(f"{library}: {name} is not a system DLL")
    return 1 if others else 0


if __name__ == "__main__":
    sys.exit(main())

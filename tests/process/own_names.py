"""Checks that no name of a host can take the place of one of the library's own: it needs nothing but the
system's C and C++ libraries, takes nothing from elsewhere, and calls its own exports directly.

    own_names.py LIBRARY READELF
"""

import re
import subprocess
import sys

SYSTEM_LIBRARIES = re.compile(r"(libc|libm|libstdc\+\+|libgcc_s|ld-linux[-\w]*)\.so\.\d+")
SYSTEM_VERSIONS = re.compile(r"@+(GLIBC|GLIBCXX|CXXABI|GCC)_")
# The toolchain's own, weak and answered by nobody.
WEAK_NAMES = {"__gmon_start__", "_ITM_deregisterTMCloneTable", "_ITM_registerTMCloneTable"}


def read(readelf: str, library: str, *options: str) -> list[str]:
    command = [readelf, "--wide", *options, library]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()


def main() -> int:
    library, readelf = sys.argv[1:]
    errors = []
    needed = [
        found[1]
        for line in read(readelf, library, "--dynamic")
        if (found := re.search(r"\(NEEDED\).*\[(.*)\]", line))
    ]
    if not needed:
        errors.append("no list of needed libraries was read")
    errors += [
        f"needs {name}" for name in needed if not SYSTEM_LIBRARIES.fullmatch(name)
    ]
    for line in read(readelf, library, "--dyn-syms"):
        fields = line.split()
        if len(fields) < 8 or fields[6] != "UND":
            continue
        name = fields[7]
        if not SYSTEM_VERSIONS.search(name) and name not in WEAK_NAMES:
            errors.append(f"takes {name} from wherever it is")
    relocations = [line.split() for line in read(readelf, library, "--relocs")]
    named = [fields for fields in relocations if len(fields) > 4 and fields[2].startswith("R_")]
    if not named:
        errors.append("no relocation was read")
    for fields in named:
        # The value of a symbol that is elsewhere is 0.
        if re.fullmatch(r"[0-9a-f]{16}", fields[3]) and int(fields[3], 16) != 0:
            errors.append(f"reaches {fields[4]} of its own through the host's names")
    for error in errors:
        print(f"{library}: {error}")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())

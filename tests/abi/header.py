"""Checks that the public header compiles alone, as every C and C++ that it promises.

    header.py HEADER LANGUAGE=COMMAND...

LANGUAGE is c or c++, COMMAND a compiler with the options that it needs.
"""

import shlex
import subprocess
import sys
from pathlib import Path

STANDARDS = {"c": ("c11", "c17"), "c++": ("c++11", "c++14", "c++17", "c++20")}
# Twice: the second time adds nothing.
SOURCE = '#include "{0}"\n#include "{0}"\n'


def main() -> int:
    header, compilers = Path(sys.argv[1]), sys.argv[2:]
    failed = not compilers
    for compiler in compilers:
        language, command = compiler.split("=", 1)
        for standard in STANDARDS[language]:
            result = subprocess.run(
                [*shlex.split(command), "-x", language, f"-std={standard}", "-fsyntax-only"]
                + ["-Wall", "-Wextra", "-pedantic", "-Werror", f"-I{header.parent}", "-"],
                input=SOURCE.format(header.name),
                capture_output=True,
                text=True,
            )
            print(f"{command} -std={standard}:", "failed" if result.returncode else "compiles")
            if result.returncode:
                print(result.stderr)
                failed = True
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())

"""Looks in release binaries for what the compiler and the linker were told to protect.

    hardening.py BINARY_OR_FOLDER...

A binary is an ELF library or program, or a DLL or an EXE. Of the ELF files in a folder only the run paths are
checked. Prints what is missing; the exit code is 1 when anything is.
"""

import struct
import sys
from pathlib import Path


def run_path_problems(data: bytes) -> list[str]:
    """The elements of an ELF file's run path that depend on the current folder."""
    segments_at, size, count = struct.unpack_from("<32xQ14xHH", data)
    segments = [
        struct.unpack_from("<IIQQQQQQ", data, segments_at + size * i) for i in range(count)
    ]
    load, dynamic, string_table, run_paths = 1, 2, 5, (15, 29)
    entries = [
        struct.unpack_from("<QQ", data, s[2] + 16 * i)
        for s in segments
        if s[0] == dynamic
        for i in range(s[5] // 16)
    ]
    paths = [value for tag, value in entries if tag in run_paths]
    if not paths:
        return []
    address = dict(entries)[string_table]
    strings = next(address - s[3] + s[2] for s in segments if s[0] == load and s[3] <= address < s[3] + s[5])
    problems = []
    for path in paths:
        at = strings + path
        text = data[at : data.index(b"\0", at)].decode()
        if not all(element.startswith(("/", "$ORIGIN")) for element in text.split(":")):
            problems.append(f'looks for libraries in the current folder: "{text}"')
    return problems


def elf_problems(data: bytes) -> list[str]:
    kind, _, _, _, segments_at, _, _, _, size, count = struct.unpack_from("<HHIQQQIHHH", data, 16)
    segments = [
        struct.unpack_from("<IIQQQQQQ", data, segments_at + size * i) for i in range(count)
    ]
    load, dynamic, stack, relro = 1, 2, 0x6474E551, 0x6474E552
    executable, writable = 1, 2
    problems = run_path_problems(data)
    if kind != 3:
        problems.append("is not position independent")
    if any(s[0] == load and s[1] & writable and s[1] & executable for s in segments):
        problems.append("has memory that is writable and executable")
    if not any(s[0] == stack and not s[1] & executable for s in segments):
        problems.append("has an executable stack")
    if not any(s[0] == relro for s in segments):
        problems.append("has no read-only relocations")
    entries = {}
    for segment in segments:
        if segment[0] == dynamic:
            entries = dict(
                struct.unpack_from("<QQ", data, segment[2] + 16 * i)
                for i in range(segment[5] // 16)
            )
    flags, flags_1, bind_now, text_relocations = 30, 0x6FFFFFFB, 24, 22
    if not (bind_now in entries or entries.get(flags, 0) & 8 or entries.get(flags_1, 0) & 1):
        problems.append("binds its imports late")
    if text_relocations in entries or entries.get(flags, 0) & 4:
        problems.append("has relocations in its code")
    if b"\0__stack_chk_fail\0" not in data:
        problems.append("has no stack protector")
    if b"_chk\0" not in data:
        problems.append("has no checked copies")
    return problems


def pe_problems(data: bytes) -> list[str]:
    header = struct.unpack_from("<I", data, 0x3C)[0]
    sections, optional_size, traits = (
        struct.unpack_from("<H", data, header + offset)[0] for offset in (6, 20, 22)
    )
    characteristics = struct.unpack_from("<H", data, header + 24 + 70)[0]
    problems = [
        f"lacks {name}"
        for name, bit in {"HIGH_ENTROPY_VA": 0x20, "DYNAMIC_BASE": 0x40, "NX_COMPAT": 0x100}.items()
        if not characteristics & bit
    ]
    names = []
    for i in range(sections):
        at = header + 24 + optional_size + 40 * i
        names.append(data[at : at + 8].rstrip(b"\0"))
        rights = struct.unpack_from("<I", data, at + 36)[0]
        if rights & 0x20000000 and rights & 0x80000000:
            problems.append(f"has the section {names[-1].decode()} writable and executable")
    if b".reloc" not in names or traits & 1:
        problems.append("cannot be relocated")
    if b"stack smashing detected" not in data:
        problems.append("has no stack protector")
    return problems


def problems_in(folder: Path) -> list[str]:
    found = []
    for file in sorted(folder.iterdir()):
        data = file.read_bytes() if file.is_file() else b""
        if data.startswith(b"\x7fELF"):
            found += [f"{file.name} {problem}" for problem in run_path_problems(data)]
    return found


def problems_of(file: Path) -> list[str]:
    if file.is_dir():
        return problems_in(file)
    data = file.read_bytes()
    if data.startswith(b"\x7fELF"):
        return elf_problems(data)
    if data.startswith(b"MZ"):
        return pe_problems(data)
    return ["is no binary"]


def main(arguments: list[str]) -> int:
    found = [f"{name} {problem}" for name in arguments for problem in problems_of(Path(name))]
    print(*found, f"{len(arguments)} binaries", sep="\n")
    return 1 if found or not arguments else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

"""Checks that other programs accept what the library packs: Python's zipfile, and unzip.

    accepted.py [--large] PROGRAM...

PROGRAM packs the folder that is its next to last argument into the file that is its last. --large packs
one file of more than 4 GiB, which takes a minute and next to no disk.
"""

import os
import random
import shutil
import subprocess
import sys
import tempfile
import zipfile
import zlib
from pathlib import Path

UTF8 = 0x800
ENCRYPTED = 0x1
LEVEL = 0x6
HIGHEST = 0x2
# A text that level 8 packs less well than level 9.
CHOICE = random.Random(1)
PIECES = [CHOICE.choice(["ab", "abc", "bca", "cab", "a", "bb"]) for _ in range(60_000)]
LEVELS_DIFFER = "".join(PIECES).encode()
CONTENTS = {
    "levels differ": LEVELS_DIFFER,
    "1.q7mesh": bytes(range(256)) * 5000,
    "info.json": b'{"productID":"0"}',
    "empty": b"",
    "textures/材质 ä😀.png": os.urandom(300_000),
    "textures/deeper/wood.png": b"wood\r\n\x1a\x00",
}
FOLDERS = {"textures/", "textures/deeper/", "none/"}
LARGE = (4 << 30) + 12345


def packed_size(data: bytes, level: int) -> int:
    packer = zlib.compressobj(level, zlib.DEFLATED, -15)
    return len(packer.compress(data) + packer.flush())


def pack(program: list[str], folder: Path, archive: Path) -> None:
    subprocess.run([*program, folder, archive], check=True)


def check_contents(program: list[str], top: Path) -> None:
    folder, archive = top / "pack ü", top / "out ü.q7a"
    for name in FOLDERS:
        (folder / name).mkdir(parents=True, exist_ok=True)
    for name, data in CONTENTS.items():
        (folder / name).write_bytes(data)
    pack(program, folder, archive)
    with zipfile.ZipFile(archive) as opened:
        entries = opened.infolist()
        assert sorted(entry.filename for entry in entries) == sorted([*CONTENTS, *FOLDERS])
        assert packed_size(LEVELS_DIFFER, 9) < packed_size(LEVELS_DIFFER, 8)
        assert opened.getinfo("levels differ").compress_size == packed_size(LEVELS_DIFFER, 9)
        for entry in entries:
            assert entry.flag_bits & UTF8 and not entry.flag_bits & ENCRYPTED, entry
            if entry.is_dir():
                assert entry.file_size == 0, entry
                continue
            assert opened.read(entry) == CONTENTS[entry.filename], entry
            assert entry.compress_type == zipfile.ZIP_DEFLATED, entry
            assert entry.flag_bits & LEVEL == HIGHEST, entry
    check_with_unzip(archive, top / "unpacked")


def check_with_unzip(archive: Path, target: Path) -> None:
    unzip = shutil.which("unzip")
    if unzip is None:
        print("unzip is not installed: only zipfile has read the archive")
        return
    subprocess.run([unzip, "-q", archive, "-d", target], check=True, env={"LC_ALL": "C.UTF-8"})
    unpacked = {
        path.relative_to(target).as_posix(): path.read_bytes()
        for path in target.rglob("*")
        if path.is_file()
    }
    assert unpacked == CONTENTS, unpacked.keys()


def check_large(program: list[str], top: Path) -> None:
    folder, archive = top / "packed", top / "out.q7a"
    folder.mkdir()
    with open(folder / "large", "wb") as file:
        file.truncate(LARGE)
    pack(program, folder, archive)
    with zipfile.ZipFile(archive) as opened:
        (entry,) = opened.infolist()
        assert entry.file_size == LARGE, entry
        read = crc = 0
        with opened.open(entry) as data:
            while piece := data.read(1 << 20):
                read += len(piece)
                crc = zlib.crc32(piece, crc)
        assert (read, crc) == (LARGE, entry.CRC), (read, crc, entry)


def main() -> int:
    arguments = sys.argv[1:]
    check = check_contents
    if arguments[0] == "--large":
        check = check_large
        arguments = arguments[1:]
    with tempfile.TemporaryDirectory() as top:
        check(arguments, Path(top))
    print("accepted")
    return 0


if __name__ == "__main__":
    sys.exit(main())

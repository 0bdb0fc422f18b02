#!/usr/bin/env python3
"""Makes a zip file that Blender installs as an add-on, with the Python package and the library inside.

    package.py LIBRARY... ZIP

LIBRARY is libQ7Plugin.so or Q7Plugin.dll; a zip library that it loads is taken from beside it. With
both systems' libraries the add-on serves both.
"""

import sys
import zipfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
PACKAGE = HERE.parent.parent / "bindings" / "python" / "q7plugin"
BUNDLED = Path("q7_link") / "bundled" / "q7plugin"
NAMES = ("libQ7Plugin.so", "Q7Plugin.dll")
COMPANIONS = ("libminizip-ng.so*", "libminizip*.dll", "minizip*.dll")


class PackageError(Exception):
    pass


def libraries(paths):
    """The libraries and what lies beside them for them."""
    found = []
    for path in map(Path, paths):
        if path.name not in NAMES:
            raise PackageError(f"{path}: {' or '.join(NAMES)} is wanted")
        if not path.is_file():
            raise PackageError(f"{path}: there is no such file")
        found.append(path)
        for pattern in COMPANIONS:
            found += sorted(path.parent.glob(pattern))
    return list(dict.fromkeys(found))


def content(paths):
    """The files of the add-on, by their names in the zip file."""
    files = {Path("q7_link") / file.name: file for file in sorted((HERE / "q7_link").glob("*.py"))}
    for file in sorted(PACKAGE.glob("*.py")):
        files[BUNDLED / file.name] = file
    for file in libraries(paths):
        files[BUNDLED / file.name] = file
    return files


def write_zip(files, path):
    part = Path(f"{path}.part")
    try:
        with zipfile.ZipFile(part, "w", zipfile.ZIP_DEFLATED) as archive:
            for name, file in files.items():
                # Not with the time of the file: equal content makes equal archives.
                entry = zipfile.ZipInfo(name.as_posix())
                entry.compress_type = zipfile.ZIP_DEFLATED
                entry.external_attr = 0o644 << 16
                archive.writestr(entry, file.read_bytes())
        part.replace(path)
    finally:
        part.unlink(missing_ok=True)


def main(arguments):
    if len(arguments) < 2 or not arguments[-1].endswith(".zip"):
        print("usage: package.py LIBRARY... ZIP", file=sys.stderr)
        return 2
    try:
        files = content(arguments[:-1])
        write_zip(files, arguments[-1])
    except (PackageError, OSError) as error:
        print(f"package: {error}", file=sys.stderr)
        return 1
    print(f"{arguments[-1]}: {len(files)} files")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

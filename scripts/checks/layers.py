#!/usr/bin/env python3
"""Checks that the sources keep to the layers of the design, from their include lines and names.

    layers.py [TOP]

One line for each thing that is out of place, and exit code 1; nothing and 0 when all is well.
"""

import re
import sys
from collections.abc import Iterator
from pathlib import Path, PurePosixPath

# A folder of src/ includes from itself and from folders of a lower rank.
RANKS = {
    "support": 0,
    "entities": 1,
    "animation": 2,
    "model": 3,
    "materials": 4,
    "geometry": 4,
    "link": 4,
    "transport": 5,
    "messages": 5,
    "env": 5,
    "archive": 6,
    "api": 7,
}
# Any folder of src/ may include this one, which itself includes only from the folders named here.
PLATFORM = "platform"
BELOW_PLATFORM = {"support"}
# What a program may include beside its own folder.
FOR_TOOLS = {"common", "preview", "support", "platform"}
PUBLIC_HEADER = "q7plugin.h"

WINDOWS_HEADERS = re.compile(
    r"(windows|winsock2?|ws2tcpip|mswsock|winreg|winuser|winnt|winbase|shellapi|shlobj(_core)?|"
    r"shlwapi|knownfolders|objbase|combaseapi|tlhelp32|psapi|fileapi|handleapi|processthreadsapi|"
    r"libloaderapi|memoryapi|synchapi|io|direct|conio|process|share|tchar)\.h",
    re.IGNORECASE,
)
POSIX_HEADERS = re.compile(
    r"(unistd|dlfcn|pthread|spawn|poll|netdb|dirent|termios|pwd|grp|semaphore|sched|ftw|glob|"
    r"strings|sys/.*|netinet/.*|arpa/.*|net/.*|linux/.*|asm/.*)\.h"
)
# Both systems have these.
SHARED_OS_HEADERS = re.compile(r"(fcntl|sys/stat|sys/types)\.h")
ALL_OS_HEADERS = (WINDOWS_HEADERS, POSIX_HEADERS, SHARED_OS_HEADERS)
# The tests of the services, and of the text conversion, compare with what the system itself says.
OS_HEADER_FOLDERS = {
    "src/platform/windows": (WINDOWS_HEADERS, SHARED_OS_HEADERS),
    "src/platform/posix": (POSIX_HEADERS, SHARED_OS_HEADERS),
    "tests/platform": ALL_OS_HEADERS,
    # Disks and processes of hosts are as only the system can make them.
    "tests/faults": ALL_OS_HEADERS,
    "tests/process": ALL_OS_HEADERS,
    "tests/support/text.cpp": ALL_OS_HEADERS,
    "tests/abi": ALL_OS_HEADERS,
    # A system that starts no thread.
    "tests/tools/standin/previews.cpp": (POSIX_HEADERS,),
    "tests/archive/bridge": (WINDOWS_HEADERS,),
}

# Sources without a test of their own name, each with the reason.
TESTED_ELSEWHERE = {
    "src/api/unload.cpp": "shows in a process that unloads the library: tests/process/loading.cpp",
    "tools/*/main.cpp": "a command line: the tests of the tool run the program",
}

SOURCE_FOLDERS = ("src", "tools", "examples", "tests", "fuzz", "bench", "bindings")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def includes(file: Path) -> Iterator[tuple[int, str, str]]:
    """The line number, opening delimiter and path of each include line."""
    for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
        if match := INCLUDE.match(line):
            yield number, match[1], match[2]


def source_error(folder: str, target: str) -> str | None:
    """What is wrong when a file of src/FOLDER includes "TARGET", if anything is."""
    if target == PUBLIC_HEADER:
        target = f"api/{target}"
    parts = PurePosixPath(target).parts
    if len(parts) < 2:
        return f'"{target}" is not a path from src/'
    if parts[0] == folder:
        return None
    if folder == PLATFORM:
        if parts[0] in BELOW_PLATFORM:
            return None
        return f'"{target}": platform includes nothing above support'
    if parts[0] == PLATFORM:
        return None
    if parts[0] not in RANKS:
        return f'"{target}" is not a path from src/'
    if RANKS[parts[0]] >= RANKS[folder]:
        return f'"{target}": {folder} may not depend on {parts[0]}'
    return None


def program_error(folder: str, target: str, allowed: set[str]) -> str | None:
    parts = PurePosixPath(target).parts
    if target == PUBLIC_HEADER or (len(parts) > 1 and parts[0] in allowed | {folder}):
        return None
    places = ", ".join(sorted(allowed | {folder}))
    return f'"{target}": only {places} and {PUBLIC_HEADER} may be included here'


def direction_error(path: PurePosixPath, target: str) -> str | None:
    top, folder = path.parts[0], path.parts[1]
    if top in ("src", "tools") and len(path.parts) < 3:
        return f"a source lies in a folder of {top}, not in {top} itself"
    if top == "src":
        if folder != PLATFORM and folder not in RANKS:
            return f"the folder src/{folder} has no rank"
        return source_error(folder, target)
    if top == "tools":
        return program_error(folder, target, FOR_TOOLS)
    if top == "examples" and target != PUBLIC_HEADER:
        return f'"{target}": an example includes only {PUBLIC_HEADER}'
    return None


def os_header_error(path: PurePosixPath, target: str) -> str | None:
    if not any(kind.fullmatch(target) for kind in ALL_OS_HEADERS):
        return None
    for folder, allowed in OS_HEADER_FOLDERS.items():
        if path.is_relative_to(folder):
            if any(kind.fullmatch(target) for kind in allowed):
                return None
            return f"<{target}> belongs to the other system"
    return f"<{target}>: headers of the operating system stay in src/platform"


def check_includes(top: Path, files: list[PurePosixPath]) -> Iterator[str]:
    for path in files:
        for line, delimiter, target in includes(top / path):
            error = os_header_error(path, target)
            if error is None and delimiter == '"':
                error = direction_error(path, target)
            if error:
                yield f"{path}:{line}: {error}"


def check_platform_pairs(files: list[PurePosixPath]) -> Iterator[str]:
    names = {
        system: {path.name for path in files if path.match(f"src/platform/{system}/*.cpp")}
        for system in ("windows", "posix")
    }
    for system, other in (("windows", "posix"), ("posix", "windows")):
        for name in sorted(names[system] - names[other]):
            yield f"src/platform/{system}/{name}: src/platform/{other} has no file of that name"
    services = {path.stem for path in files if path.match("src/platform/*.h")}
    for name in sorted(names["windows"] | names["posix"]):
        if PurePosixPath(name).stem not in services:
            yield f"src/platform: {name} has no header {PurePosixPath(name).stem}.h"


def test_of(path: PurePosixPath) -> PurePosixPath:
    parts = list(path.parts)
    if parts[:2] == ["src", PLATFORM]:
        return PurePosixPath("tests", PLATFORM, path.name)
    return PurePosixPath("tests", *(parts[1:] if parts[0] == "src" else parts))


def check_tests(files: list[PurePosixPath], tested_elsewhere: dict[str, str]) -> Iterator[str]:
    present = set(files)
    unused = set(tested_elsewhere)
    for path in files:
        if path.parts[0] not in ("src", "tools") or path.suffix != ".cpp":
            continue
        test = test_of(path)
        if test in present or test.with_suffix(".py") in present:
            continue
        excuses = {pattern for pattern in tested_elsewhere if path.match(pattern)}
        unused -= excuses
        if not excuses:
            yield f"{path}: its test {test} is missing"
    for pattern in sorted(unused):
        yield f"{pattern}: is excused from having a test, but no file needs that"


def check(top: Path, tested_elsewhere: dict[str, str] = TESTED_ELSEWHERE) -> list[str]:
    files = sorted(
        PurePosixPath(file.relative_to(top).as_posix())
        for folder in SOURCE_FOLDERS
        for file in (top / folder).rglob("*")
        if file.suffix in (".h", ".c", ".cpp", ".py")
    )
    if not files:
        return [f"{top}: no sources found"]
    return [
        *check_includes(top, [path for path in files if path.suffix != ".py"]),
        *check_platform_pairs(files),
        *check_tests(files, tested_elsewhere),
    ]


if __name__ == "__main__":
    errors = check(Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parents[2]))
    print(*errors, sep="\n", end="\n" if errors else "")
    sys.exit(1 if errors else 0)

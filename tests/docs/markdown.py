"""The parts of the project's documents that other things have to agree with."""

import re
import subprocess
from dataclasses import dataclass, field
from pathlib import Path

TOP = Path(__file__).parents[2]
FENCE = re.compile(r"^( *)(`{3,})\s*(\S*)\s*$")
MARK = re.compile(r"^<!-- (file|part of): (\S+) -->$")
# What a line of commands begins with, where somebody forgot the fence.
COMMAND = re.compile(
    r"^ *(\$ |#!|(scripts|build)/\S|(cmake|ctest|ninja|git|g\+\+|clang\+\+|cc|c\+\+|python3?|pip|pip3|"
    r"apt|apt-get|sudo|wine|q7-\w+|blender|unzip|tar|cd|export)\s)"
)


@dataclass
class Block:
    """A fenced block: its language, its lines, and the file that it is said to show."""

    language: str
    line: int  # of the fence, from 1
    lines: list[str] = field(default_factory=list)
    mark: tuple[str, str] | None = None

    @property
    def text(self) -> str:
        return "".join(line + "\n" for line in self.lines)


@dataclass
class Document:
    path: Path
    blocks: list[Block]
    prose: list[tuple[int, str]]  # the lines that stand in no block, with their numbers

    @property
    def name(self) -> str:
        return self.path.as_posix()


def parse(path: Path, text: str) -> Document:
    document = Document(path, [], [])
    block = None
    indent = fence = mark = ""
    for number, line in enumerate(text.splitlines(), 1):
        match = FENCE.match(line)
        if block is None and match:
            indent, fence = match[1], match[2]
            block = Block(match[3], number, mark=mark or None)
            document.blocks.append(block)
        elif block is not None and match and match[2] == fence and not match[3]:
            block = None
        elif block is not None:
            block.lines.append(line.removeprefix(indent))
        else:
            document.prose.append((number, line))
        marked = MARK.match(line)
        mark = marked.groups() if marked and block is None else ""
    if block is not None:
        raise ValueError(f"{path}:{block.line}: the block does not end")
    return document


def tracked(*patterns: str) -> list[Path]:
    """Files of the repository, those that are not yet added included."""
    listing = subprocess.run(
        ["git", "ls-files", "--cached", "--others", "--exclude-standard", "-z", "--", *patterns],
        cwd=TOP,
        capture_output=True,
        text=True,
    )
    if listing.returncode == 0:
        names = {Path(name) for name in listing.stdout.split("\0") if name}
    else:  # an unpacked archive, say
        every = (file.relative_to(TOP) for file in TOP.rglob("*"))
        names = {name for name in every if name.parts[0] not in ("build", ".git")}
        names = {name for name in names if not patterns or any(map(name.match, patterns))}
    return sorted(name for name in names if (TOP / name).is_file())


def documents() -> list[Document]:
    return [parse(path, (TOP / path).read_text(encoding="utf-8")) for path in tracked("*.md")]

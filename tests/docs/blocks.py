"""Checks that blocks of code in the documents are what they say: files, or text of their language.

    blocks.py          names each that is not, exit code 1
    blocks.py --fix    puts the files' text into the documents first
"""

import json
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

from markdown import COMMAND, TOP, Block, documents

LANGUAGES = {
    "sh",
    "console",
    "text",
    "cpp",
    "c",
    "cmake",
    "python",
    "pycon",
    "json",
    "xml",
    "ini",
}


def file_fault(block: Block) -> str | None:
    """Of a block that shows a file, or lines of one."""
    kind, name = block.mark
    path = TOP / name
    if not path.is_file():
        return f"{name} is no file"
    text = path.read_text(encoding="utf-8")
    if kind == "file" and block.text != text:
        return f"the block is not {name}"
    if kind == "part of" and "\n" + block.text not in "\n" + text:
        return f"the block is no part of {name}"
    if path.suffix == ".cpp" and not is_built(path):
        return f"no CMakeLists.txt beside {name} names it"
    return None


def is_built(source: Path) -> bool:
    lists = source.parent / "CMakeLists.txt"
    return lists.is_file() and source.stem in lists.read_text(encoding="utf-8")


def syntax_fault(block: Block) -> str | None:
    try:
        if block.language == "python":
            compile(block.text, "block", "exec")
        elif block.language == "json":
            json.loads(block.text)
        elif block.language == "xml":
            ElementTree.fromstring(f"<block>{block.text}</block>")
    except (SyntaxError, ValueError, ElementTree.ParseError) as error:
        return f"no {block.language}: {error}"
    return None


def fault_of(block: Block) -> str | None:
    if block.language not in LANGUAGES:
        return f"a block needs one of the languages {', '.join(sorted(LANGUAGES))}"
    if block.language == "text" and any(COMMAND.match(line) for line in block.lines):
        return "a command in a block of text"
    if block.mark:
        return file_fault(block)
    if block.language in ("cpp", "c") and "int main" in block.text:
        return "a whole program needs the line <!-- file: PATH --> before its block"
    return syntax_fault(block)


def fix() -> None:
    for document in documents():
        path = TOP / document.path
        lines = path.read_text(encoding="utf-8").splitlines()
        for block in reversed(document.blocks):
            if block.mark and block.mark[0] == "file":
                shown = (TOP / block.mark[1]).read_text(encoding="utf-8").splitlines()
                lines[block.line : block.line + len(block.lines)] = shown
        text = "".join(line + "\n" for line in lines)
        if text != path.read_text(encoding="utf-8"):
            path.write_text(text, encoding="utf-8")


def main(arguments: list[str]) -> int:
    if arguments == ["--fix"]:
        fix()
    found, count = [], 0
    for document in documents():
        for block in document.blocks:
            count += 1
            if fault := fault_of(block):
                found.append(f"{document.name}:{block.line}: {fault}")
    print("\n".join(found) or f"{count} blocks")
    return 1 if found or not count else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

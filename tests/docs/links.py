"""Checks what the documents name: links and their anchors, files in `code`, and the length of lines."""

import re
import sys
from pathlib import Path

from markdown import COMMAND, TOP, Document, documents, tracked

LINK = re.compile(r"!?\[[^\]]*\]\(([^)\s]+)\)")
CODE = re.compile(r"`[^`]*`")
HEADING = re.compile(r"^#{1,6} +(.*?) *#*$")
FOLDERS = ("src", "tools", "tests", "scripts", "examples", "docs", "bench", "fuzz", "bindings", "cmake")
FILE = re.compile(rf"^(?:{'|'.join(FOLDERS)})/[\w.*/{{}},-]*$")
LONGEST_LINE = 120
WRITTEN_BY_PROGRAMS = {"docs/performance.md"}


def slug(heading: str) -> str:
    """The anchor that a heading gets."""
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).replace("`", "")
    return re.sub(r"[^\w\- ]", "", text.lower()).replace(" ", "-")


def anchors(document: Document) -> set[str]:
    found: set[str] = set()
    for _, line in document.prose:
        if match := HEADING.match(line):
            name, number = slug(match[1]), 0
            while (f"{name}-{number}" if number else name) in found:
                number += 1
            found.add(f"{name}-{number}" if number else name)
    return found


def link_fault(target: str, document: Document, known: dict[Path, Document]) -> str | None:
    if re.match(r"[a-z]+:", target):
        return None
    name, _, anchor = target.partition("#")
    file = (TOP / document.path).parent / name if name else TOP / document.path
    if not file.exists():
        return f"the link to {target} leads nowhere"
    if not anchor:
        return None
    led_to = known.get(file.resolve())
    if led_to is None or anchor not in anchors(led_to):
        return f"the link to {target}: there is no such heading"
    return None


def named_file_fault(code: str, document: Document, files: list[str]) -> str | None:
    """Of `code` that looks like a path of the repository, or of the document's own folder."""
    name = code.strip("`").split(" ")[0].split("(")[0]
    if not FILE.match(name):
        return None
    choices = re.sub(r"\{([^}]*)\}", lambda match: f"({match[1].replace(',', '|')})", name)
    pattern = choices.replace(".", r"\.").replace("*", "[^/]*").rstrip("/")
    folder = document.path.parent.as_posix() + "/"
    beside = [file.removeprefix(folder) for file in files if file.startswith(folder)]
    if any(re.match(rf"{pattern}(/|$)", file) for file in files + beside):
        return None
    return f"{code}: there is no such file"


def line_fault(line: str, document: Document) -> str | None:
    if line.startswith("    ") and COMMAND.match(line):
        return "a command outside of a block of sh or console"
    if re.search(r"@[A-Z]+@", line):
        return "something is still to be filled in"
    if document.name in WRITTEN_BY_PROGRAMS or line.lstrip().startswith(("|", "![")):
        return None
    if len(line) > LONGEST_LINE:
        return f"{len(line)} characters; at most {LONGEST_LINE}"
    return None


def faults(document: Document, known: dict[Path, Document], files: list[str]) -> list[str]:
    found = []
    for number, line in document.prose:
        bare = CODE.sub("``", line)
        said = [line_fault(line, document)]
        said += [link_fault(target, document, known) for target in LINK.findall(bare)]
        said += [named_file_fault(code, document, files) for code in CODE.findall(line)]
        found += [f"{document.name}:{number}: {fault}" for fault in said if fault]
    return found


def main() -> int:
    all_documents = documents()
    known = {(TOP / document.path).resolve(): document for document in all_documents}
    files = [path.as_posix() for path in tracked()]
    found = [fault for document in all_documents for fault in faults(document, known, files)]
    print("\n".join(found) or f"{len(all_documents)} documents")
    return 1 if found or not all_documents else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Compares docs/formats/inspect_json.md with what q7-inspect --json prints, both ways.

    json_fields.py [LAUNCHER...] PROGRAM

Of each object of the report: its members and their order, the types of their values, and whether they
are always there. Every member, type and absence that the document tells must come up in the samples.
"""

import json
import re
import struct
import subprocess
import sys
import tempfile
import unittest
import zipfile
from dataclasses import dataclass, field
from pathlib import Path

COMMAND: list[str] = []
DOCUMENT = Path(__file__).parents[3] / "docs/formats/inspect_json.md"
ROW = re.compile(r"^\| `(\w+)` \| ([\w ]+) \| ([^|]+) \| ([^|]*)\|$")
LINK = re.compile(r"\(#([\w-]+)\)")
TYPED = "<Material_2>\n    <id>Lamp</id>\n    <Type>/m.m</Type>\n{}</Material_2>\n"
TEXTURES = TYPED.format("    <A>x/in.png</A>\n    <B>out.png</B>\n    <C/>\n")


@dataclass
class Member:
    types: set[str]
    isAlways: bool
    section: str | None  # of the objects that it holds
    seen: set[str] = field(default_factory=set)
    isAbsent: bool = False


Sections = dict[str, dict[str, Member]]


def documented() -> Sections:
    sections: Sections = {}
    members: dict[str, Member] = {}
    for line in DOCUMENT.read_text("utf-8").splitlines():
        if line.startswith("#"):
            name = line.lstrip("#").strip().lower().replace(" ", "-")
            members = sections.setdefault(name, {})
        elif match := ROW.match(line):
            link = LINK.search(match[4])
            types = set(match[2].split(" or "))
            members[match[1]] = Member(types, match[3] == "always", link[1] if link else None)
    return {name: members for name, members in sections.items() if members}


def type_of(value: object) -> str:
    if value is None:
        return "null"
    if isinstance(value, bool):
        return "boolean"
    names = {int: "integer", float: "number", str: "string", list: "list", dict: "object"}
    return names[type(value)]


def wide(text: str) -> bytes:
    units = text.encode("utf-16-le", "surrogatepass")
    return struct.pack("<I", len(units) // 2) + units


def numbers(kind: str, *values: float) -> bytes:
    return struct.pack(f"<I{len(values)}{kind}", len(values), *values)


def stream(header: str, materials: list[tuple[str, str]], place: float | None) -> bytes:
    """A triangle with the first material, placed there, or nothing at all."""
    parts = [struct.pack("<I", 11), wide(header), struct.pack("<I", len(materials))]
    parts += [wide(name) + wide(xml) for name, xml in materials]
    if place is None:
        return b"".join([*parts, struct.pack("<2I", 0, 0)])
    transform = struct.pack("<16f", 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, place, 0, 0, 1)
    parts += [struct.pack("<I", 1), wide("m"), wide(materials[0][0]), transform]
    parts += [struct.pack("<I", 1), wide("m"), numbers("f", 0, 0, 0, 1, 0, 0, 0, 1, 0)]
    parts += [numbers("f"), numbers("f", *[0] * 6), numbers("B"), numbers("i", 0, 1, 2)]
    return b"".join(parts)


MATERIALS = [("Lamp", TEXTURES), ("Wall", "<Material/>"), ("Bad", "<Material_2>bad")]
INFO = '{"instanceIdArray":["a/Lamp"],"productID":"00"}'
STREAMS = {
    "0001-model.q7mesh": stream("{}", MATERIALS, 0),
    "header.q7mesh": stream("no JSON", MATERIALS, float("nan")),
    "empty.q7mesh": stream("{}", [], None),
}
PATHS = {"0001-instance-paths.json": '{"instance_paths":["a/Lamp"]}'}
ROOT = "<Q7Materials_2>\n{}</Q7Materials_2>\n"
ARCHIVES = {
    "model.q7a": {
        "1.q7mesh": STREAMS["0001-model.q7mesh"],
        "info.json": INFO,
        "q7material.xml": ROOT.format(TEXTURES + "text" + "<Material_2>bad"),
        "textures/in.png": "pixels",
    },
    "damaged.q7a": {"info.json": "{}", "q7material.xml": "text"},
    "external.q7a": {"1.obj": "v"},
}


class JsonFields(unittest.TestCase):
    def setUp(self) -> None:
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)
        for name, data in STREAMS.items():
            (self.folder / name).write_bytes(data)
        for name, text in PATHS.items():
            (self.folder / name).write_text(text, "utf-8")
        for name, entries in ARCHIVES.items():
            with zipfile.ZipFile(self.folder / name, "w", zipfile.ZIP_DEFLATED) as archive:
                for entry, data in entries.items():
                    archive.writestr(entry, data)

    def report(self, name: str) -> dict:
        run = subprocess.run(
            [*COMMAND, "--json", name], cwd=self.folder, capture_output=True, timeout=120
        )
        self.assertEqual((run.returncode, run.stderr), (0, b""), name)
        return json.loads(run.stdout)

    def compare(self, place: str, value: dict, section: str, sections: Sections) -> None:
        members = sections[section]
        self.assertEqual(list(value), [name for name in members if name in value], place)
        for name, member in members.items():
            here = f"{place}.{name}"
            if name not in value:
                self.assertFalse(member.isAlways, f"{here} is missing")
                member.isAbsent = True
                continue
            kind = type_of(value[name])
            self.assertIn(kind, member.types, here)
            member.seen.add(kind)
            if member.section is None:
                continue
            inner = value[name] if kind == "list" else [value[name]] if kind == "object" else []
            for element in inner:
                self.compare(here, element, member.section, sections)

    def test_document_and_reports_agree(self) -> None:
        sections = documented()
        for name in STREAMS:
            self.compare(name, self.report(name), "a-model-stream", sections)
        for name in ARCHIVES:
            self.compare(name, self.report(name), "an-archive", sections)
        for section, members in sections.items():
            for name, member in members.items():
                place = f"{section}, {name}"
                self.assertEqual(member.seen, member.types, f"{place}: types that came up")
                if not member.isAlways:
                    self.assertTrue(member.isAbsent, f"{place} was never missing")

    def test_kinds_of_notes_are_documented(self) -> None:
        header = Path(__file__).parents[3] / "tools/common/model_notes.h"
        told = re.search(r"// One of (.*?)\.\n", header.read_text("utf-8"), re.DOTALL)
        row = re.search(r"^\| `kind` \| string \| always \| one of (.*) \|$", DOCUMENT.read_text("utf-8"), re.M)
        self.assertEqual(re.findall(r"`(\w+)`", row[1]), re.findall(r'"(\w+)"', told[1]))


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    COMMAND = sys.argv[1:]
    unittest.main(argv=sys.argv[:1], verbosity=2)

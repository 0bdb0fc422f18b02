"""Builds the reference of the functions and checks that it tells of all exports.

    api.py FOLDER

FOLDER is where the reference goes.
"""

import subprocess
import sys
import xml.etree.ElementTree as ElementTree
from collections import Counter
from pathlib import Path

from markdown import TOP

# What the names of members begin with when they encode their types.
MEMBERS = {"??0": "constructor", "??4": "operator="}


def plain(symbol: str) -> str:
    """The name of a function in its source; a member's with its class."""
    for start, member in MEMBERS.items():
        if symbol.startswith(start):
            return f"{symbol[len(start):].split('@')[0]}::{member}"
    return symbol.lstrip("?").split("@")[0]


def exported() -> Counter[str]:
    """How many functions of each name src/api/exports.txt lists."""
    lines = (TOP / "src" / "api" / "exports.txt").read_text().splitlines()
    return Counter(plain(line.split()[0]) for line in lines if line and not line.startswith("#"))


def told(folder: Path) -> Counter[str]:
    """How many functions of each name the reference tells of."""
    said: dict[str, str] = {}  # by the reference's own ids: a function of a group is there twice
    for file in (folder / "xml").glob("*.xml"):
        for compound in ElementTree.parse(file).getroot().iter("compounddef"):
            owner = compound.findtext("compoundname", "")
            for member in compound.iter("memberdef"):
                name = member.findtext("name", "")
                if compound.get("kind") == "struct":
                    name = f"{owner}::{'constructor' if name == owner else name}"
                brief = "".join(member.find("briefdescription").itertext()).strip()
                if member.get("kind") == "function" and brief:
                    said[member.get("id")] = name
    return Counter(said.values())


def main() -> int:
    folder = Path(sys.argv[1])
    built = subprocess.run([TOP / "scripts" / "docs.sh", folder], capture_output=True, text=True)
    print(built.stdout + built.stderr, end="")
    if built.returncode != 0:
        return 1
    wanted = exported()
    missing = wanted - told(folder)
    for name in sorted(missing):
        print(f"{name} is not in the reference")
    print(f"{wanted.total() - missing.total()} of {wanted.total()} exports are told")
    return 1 if missing or not wanted else 0


if __name__ == "__main__":
    sys.exit(main())

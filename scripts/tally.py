#!/usr/bin/env python3
"""Counts the tests of one or more test runs and prints the sum as the last line.

    tally.py FOLDER...

Each folder holds what one run of ctest left:

    tests.json        the list of entries (ctest --show-only=json-v1)
    ctest.xml         how each entry ended (ctest --output-junit)
    gtest/*.xml       the cases of each GoogleTest program that an entry ran
    ctest-failed      present when ctest ended with an error
    failed-steps.txt  one line for each step before the tests that failed

An entry that left GoogleTest reports counts as its cases, any other entry as one test. An entry that
failed although its report shows no failure (it crashed, leaked or wrote no report) counts as one
failure. So does a failed step, and a run in which no test passed or failed at all.

The exit code is 0 when nothing failed, otherwise 1.
"""

import json
import re
import sys
import xml.etree.ElementTree as ET
from dataclasses import dataclass, field
from pathlib import Path, PurePosixPath


@dataclass
class Tally:
    passed: int = 0
    failed: list[str] = field(default_factory=list)
    skipped: list[str] = field(default_factory=list)

    def add(self, other: "Tally") -> None:
        self.passed += other.passed
        self.failed += other.failed
        self.skipped += other.skipped

    def __str__(self) -> str:
        text = f"{self.passed} passed, {len(self.failed)} failed"
        return f"{text}, {len(self.skipped)} skipped" if self.skipped else text


def first_line(text: str | None) -> str:
    lines = (text or "").strip().splitlines()
    return lines[0] if lines else "no reason given"


def count_gtest_report(report: Path) -> Tally:
    tally = Tally()
    try:
        root = ET.parse(report).getroot()
    except ET.ParseError as error:
        tally.failed.append(f"{report.name}: unreadable report ({error})")
        return tally
    for case in root.iter("testcase"):
        name = f"{case.get('classname')}.{case.get('name')}"
        skipped = case.find("skipped")
        if case.find("failure") is not None:
            tally.failed.append(name)
        elif skipped is not None:
            reason = skipped.text or skipped.get("message")
            # The first of several lines is the place in the source.
            lines = [line.strip() for line in (reason or "").splitlines() if line.strip()]
            tally.skipped.append(f"{name}: {' '.join(lines[1:] or lines) or 'no reason given'}")
        elif case.get("status") == "notrun":
            tally.skipped.append(f"{name}: disabled in the source")
        else:
            tally.passed += 1
    return tally


def programs_of_entries(list_file: Path) -> dict[str, set[str]]:
    """The entries' names, each with the base names in its command line."""
    try:
        entries = json.loads(list_file.read_text())["tests"]
    except (OSError, ValueError, KeyError):
        return {}
    return {
        entry["name"]: {
            PurePosixPath(word).name.removesuffix(".exe") for word in entry.get("command", [])
        }
        for entry in entries
    }


def reports_by_program(folder: Path, programs: set[str]) -> dict[str, list[Path]]:
    """GoogleTest numbers the reports of a program that runs more than once: NAME.xml, NAME_1.xml."""
    found: dict[str, list[Path]] = {}
    for report in sorted(folder.glob("*.xml")):
        program = report.stem
        if program not in programs:
            program = re.sub(r"_\d+$", "", program)
        found.setdefault(program, []).append(report)
    return found


def count_plain_entry(entry: ET.Element, tally: Tally) -> None:
    name, status, skipped = entry.get("name"), entry.get("status"), entry.find("skipped")
    output = first_line(entry.findtext("system-out"))
    if status == "run":
        tally.passed += 1
    elif status == "disabled":
        tally.skipped.append(f"{name}: disabled")
    elif skipped is not None and (skipped.get("message") or "").startswith("SKIP_"):
        tally.skipped.append(f"{name}: {output}")
    elif skipped is not None:
        tally.failed.append(f"{name}: {skipped.get('message')}")
    else:
        tally.failed.append(f"{name}: {output}")


def count_entries(folder: Path) -> Tally:
    tally = Tally()
    programs = programs_of_entries(folder / "tests.json")
    reports = reports_by_program(folder / "gtest", set().union(*programs.values()))
    failed_entries: dict[str, list[str]] = {}
    for entry in ET.parse(folder / "ctest.xml").getroot().iter("testcase"):
        name = entry.get("name") or ""
        reporting = programs.get(name, set()) & reports.keys()
        if not reporting:
            count_plain_entry(entry, tally)
            continue
        failed = failed_entries.setdefault(min(reporting), [])
        if entry.get("status") != "run":
            failed.append(name)
    for program, failed in failed_entries.items():
        cases = Tally()
        for report in reports[program]:
            cases.add(count_gtest_report(report))
        for name in failed[len(cases.failed) :]:
            cases.failed.append(f"{name}: ended with an error that is in no report")
        tally.add(cases)
    return tally


def count_run(folder: Path) -> Tally:
    tally = Tally()
    steps = folder / "failed-steps.txt"
    if steps.exists():
        tally.failed += steps.read_text().splitlines()
        return tally
    try:
        tally.add(count_entries(folder))
    except (OSError, ET.ParseError) as error:
        tally.failed.append(f"no readable report of ctest ({error})")
        return tally
    if not tally.failed and (folder / "ctest-failed").exists():
        tally.failed.append("ctest ended with an error that is in no report")
    if not tally.failed and not tally.passed:
        tally.failed.append("no test ran")
    return tally


def main(folders: list[str]) -> int:
    if not folders:
        print("usage: tally.py FOLDER...", file=sys.stderr)
        return 2
    total = Tally()
    for folder in map(Path, folders):
        tally = count_run(folder)
        print(f"{folder.name}: {tally}")
        for line in tally.failed:
            print(f"  failed: {line}")
        for line in tally.skipped:
            print(f"  skipped: {line}")
        total.add(tally)
    print(total)
    return 1 if total.failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

#!/usr/bin/env python3
"""Writes the report on the benchmarks from the rows that they printed.

    report.py [--smoke] [--partial] FOLDER FILE...

FOLDER gets performance.md and its plots, performance-goals.svg and performance-growth.svg. The rows of
each FILE are fields separated by tabs, of either kind:

    job  items  unit  milliseconds  peer  milliseconds of the peer  ratio
    job  items  unit  milliseconds  who took them

Of the second kind the library's times are compared with everybody else's for the same job and items.
In rows of memory and of file sizes, bytes stand in the place of the milliseconds. --smoke marks the
report of a quick test, whose figures mean nothing; --partial one with rows of an earlier run.
"""

import datetime
import html
import math
import os
import re
import subprocess
import sys
from collections.abc import Iterable
from dataclasses import dataclass
from pathlib import Path

LIBRARY = "library"
UNKNOWN = "unknown"
BUILD_CACHE = Path(__file__).resolve().parent.parent / "build/linux/CMakeCache.txt"
GROWTH_LIMIT = 1.3


@dataclass(frozen=True)
class Goal:
    """What is expected of the rows whose job and peer both match as a whole; the first match counts."""

    area: str
    job: str
    peer: str
    # The highest ratio that is good, or none where the row stands for comparison only.
    limit: float | None
    text: str
    # Printed when it is missed.
    reason: str = ""
    # Sizes have none, and where the whole of the time is held against a constant there is nothing more
    # to see.
    has_growth: bool = True


COMPARED = "for comparison"
GOALS = (
    Goal(
        "Triangles in",
        r"triangles in, .*, batches of 100000",
        "plain append",
        1.25,
        "at least 0.8 of its rate",
    ),
    Goal("Triangles in", r"triangles in, .*", "plain append", None, COMPARED),
    Goal("Triangles in", "single triangles", "150 ns a call", 1, "below 150 ns a call"),
    Goal(
        "Nodes",
        "node end.*",
        ".*",
        GROWTH_LIMIT,
        "independent of the geometry's size (1.3)",
        "nothing is copied; what is left is the processor's cache, which the triangles of a larger mesh"
        " have just emptied",
        has_growth=False,
    ),
    Goal("Nodes", "duplicate|delete|count", ".*", 1, "at most 1 microsecond each"),
    Goal("World space", "world-space .*", "copy .*", 1.43, "at least 0.7 of its bandwidth"),
    Goal("Merge", "merge.*", "copy .*", 1.5, "at most 1.5 of it"),
    Goal(
        "Merge",
        "merge.*",
        "Assimp.*",
        0.1,
        "10 times as fast",
        "copying the output alone takes about a third of Assimp's time on this machine: memory touched"
        " for the first time is the limit, and ten times is out of reach",
    ),
    Goal("Save", "raw save: extra memory", ".*", 1, "at most 1 MiB", has_growth=False),
    Goal(
        "Save",
        "raw save: meshes of 12 triangles",
        "plain write.*",
        1.1,
        "at most 1.1 of it",
        "each small mesh lies in memory of its own, six places a mesh that the processor has to fetch",
    ),
    Goal("Save", "raw save.*", "plain write.*", 1.1, "at most 1.1 of it"),
    Goal("Save", "raw save.*", ".*GLB.*", 0.33, "3 times as fast"),
    Goal("Save", "raw save.*", ".*", None, COMPARED),
    Goal(
        "Save",
        "processed save: extra memory",
        ".*",
        1.05,
        "at most the merged geometry once (1.05)",
        has_growth=False,
    ),
    Goal("Save", "processed save.*", "merge and plain write.*", 1.1, "at most 1.1 of both"),
    Goal("Save", "real assembly.*", ".*GLB.*", 0.33, "3 times as fast"),
    Goal("Save", "real assembly.*", ".*", None, COMPARED),
    Goal("Save", "export of .*", ".*GLB.*", 0.33, "3 times as fast"),
    Goal("Save", "export of .*", ".*", None, COMPARED),
    Goal("Live", "live, meshes of 12 triangles", ".*", 1.2, "at most 1.2 of them"),
    Goal("Live", "live, .*", "copies of the (instances|materials) alone", None, COMPARED),
    Goal("Live", "live, .*", ".*", 1.2, "at most 1.2 of them"),
    Goal("Archive", "archive of .*", "zip -9", 1, "no slower"),
    Goal("Archive", "archive size", "zip -9", 1.02, "within 2 percent", has_growth=False),
    Goal("Archive", "archive size", ".*", None, COMPARED, has_growth=False),
    Goal("Archive", "archive of .*", ".*", None, COMPARED),
    Goal("Library", "library load.*", "10 ms", 1, "below 10 ms"),
    Goal("Library", "library size", ".*", None, COMPARED, has_growth=False),
)
NO_GOAL = Goal("Other", ".*", ".*", None, COMPARED)
# By job: printed when its time for each item grows by more than the limit.
GROWTH_REASONS = dict.fromkeys(
    ("delete", "duplicate", "live, materials that each get an instance"),
    "the tables outgrow the processor's cache; each call then waits for memory",
)
# By area: what the comparisons in its table leave out or cannot make alike.
NOTES = {
    "Save": (
        "Assimp's GLB exporter is left out at 100,000 meshes, since it takes minutes.",
        "The real assembly is handed over within its time, Assimp's writers have theirs in memory.",
        "The exports do not write the same: Blender's GLB has the bytes of the texture, which are not"
        " in the library's stream file; neither has the light and the animation. The stream has three"
        " corners for each triangle, while Blender's GLB shares those vertices that are alike.",
    ),
    "Library": (
        "The Linux library is code and its unwinding tables; it takes the C++ runtime from the system. The"
        " Windows DLL is about three times as large, since the runtimes of C++ and of its threads are in it:"
        " of what is no part of Windows it needs nothing.",
    ),
    "Live": (
        "Copies of the instances or of the materials alone leave out what a send also has to make and"
        " copy: the paths, and the instances of the materials. They show the growth.",
    ),
    "Archive": (
        "7z packs the smaller content only, since the larger one takes it minutes.",
        "The larger content is packed once by each, so these times are of a single run.",
    ),
}

METHOD = """\
Each row is a job of the library and something that it is held against: a limit of the machine, which
is measured in the same run, or another program that does the same job. Both take turns, so that
whatever else the machine does meets both alike; the ratio is that of their median times, so 1 is as
fast and less is faster. Only the exports of whole scenes do not take turns: Blender's exporters run
inside of Blender by themselves, one after the other, and fetch their arrays from its scene, while the
library gets arrays that are ready, as a host hands them over. Where a goal is a number, the ratio is
that to the number. Rows of memory and of file sizes compare bytes in the same way. Files are written to
the system's own folder for temporary files and may still be in its cache when the time ends, for all
alike. What is left out, and where comparisons are not of the same, is named under the tables."""
PARTIAL_METHOD = """\
Only some of the programs were run this time: the rows of the others are from an earlier run, of the
library as it was then."""
SMOKE_METHOD = "This is a quick test of the programs with tiny inputs: the figures mean nothing."


class BadRow(Exception):
    pass


@dataclass(frozen=True)
class Row:
    job: str
    items: float
    unit: str
    milliseconds: float
    peer: str
    peer_milliseconds: float
    goal: Goal

    @property
    def ratio(self) -> float:
        return self.milliseconds / self.peer_milliseconds

    @property
    def is_met(self) -> bool | None:
        return None if self.goal.limit is None else self.ratio <= self.goal.limit


@dataclass(frozen=True)
class Growth:
    job: str
    unit: str
    smaller: float
    larger: float
    ratio: float
    peer: str
    peer_ratio: float

    @property
    def is_met(self) -> bool:
        return self.ratio <= GROWTH_LIMIT


def goal_of(job: str, peer: str) -> Goal:
    for goal in GOALS:
        if re.fullmatch(goal.job, job) and re.fullmatch(goal.peer, peer):
            return goal
    return NO_GOAL


# ---- Reading -------------------------------------------------------------------------------------


def number(text: str, name: str, may_be_zero: bool = False) -> float:
    try:
        value = float(text)
    except ValueError:
        raise BadRow(f"{name} is no number: {text!r}") from None
    if not math.isfinite(value) or value < 0 or (value == 0 and not may_be_zero):
        raise BadRow(f"{name} cannot be {text}")
    return value


def parse_row(line: str) -> Row | tuple[str, float, str, float, str]:
    """A comparison, or a time with who took it."""
    fields = line.split("\t")
    if len(fields) not in (5, 7):
        raise BadRow(f"{len(fields)} fields instead of 5 or 7")
    for name, text in zip(("job", "items", "unit", "milliseconds", "peer"), fields):
        if not text.strip():
            raise BadRow(f"{name} is empty")
    job, unit, peer = fields[0], fields[2], fields[4]
    # Nothing may be what a save needs of memory, and what the clock shows of a few calls.
    items, milliseconds = number(fields[1], "items"), number(fields[3], "milliseconds", True)
    if len(fields) == 5:
        return job, items, unit, milliseconds, peer
    of_peer = number(fields[5], "milliseconds of the peer")
    number(fields[6], "ratio", True)
    return Row(job, items, unit, milliseconds, peer, of_peer, goal_of(job, peer))


def compared_times(times: list[tuple[str, float, str, float, str]]) -> list[Row]:
    """Each time of the library beside each time of somebody else for the same."""
    rows = []
    for job, items, unit, milliseconds, who in times:
        if who != LIBRARY:
            continue
        for other_job, other_items, _, other_milliseconds, other in times:
            is_other = other != LIBRARY and other_milliseconds > 0
            if is_other and (other_job, other_items) == (job, items):
                goal = goal_of(job, other)
                rows.append(Row(job, items, unit, milliseconds, other, other_milliseconds, goal))
    return rows


def read_rows(files: list[Path]) -> list[Row]:
    rows, times = [], []
    for file in files:
        lines = file.read_text(encoding="utf-8").splitlines()
        for line_number, line in enumerate(lines, 1):
            try:
                parsed = parse_row(line)
            except BadRow as error:
                raise BadRow(f"{file}:{line_number}: {error}") from None
            (rows if isinstance(parsed, Row) else times).append(parsed)
    return rows + compared_times(times)


def growths_of(rows: list[Row]) -> list[Growth]:
    """Of each job with several sizes, from each one to the next. A job held against several peers
    counts once, with the first of them."""
    sizes: dict[str, dict[float, Row]] = {}
    for row in rows:
        if row.goal.has_growth:
            sizes.setdefault(row.job, {}).setdefault(row.items, row)
    growths = []
    for job, by_items in sizes.items():
        ordered = [by_items[items] for items in sorted(by_items)]
        for small, large in zip(ordered, ordered[1:]):
            if small.milliseconds == 0:
                continue
            items = large.items / small.items
            growths.append(
                Growth(
                    job,
                    small.unit,
                    small.items,
                    large.items,
                    large.milliseconds / small.milliseconds / items,
                    large.peer,
                    large.peer_milliseconds / small.peer_milliseconds / items,
                )
            )
    return growths


# ---- Writing -------------------------------------------------------------------------------------


def shown(ratio: float) -> str:
    return f"{ratio:,.0f}" if ratio >= 1000 else f"{ratio:#.3g}".rstrip(".")


def verdict(is_met: bool | None) -> str:
    return {None: "", True: "met", False: "**missed**"}[is_met]


def table(head: list[str], lines: list[list[str]]) -> str:
    rows = [head, ["---"] * len(head), *lines]
    return "\n".join("| " + " | ".join(cells) + " |" for cells in rows)


def bullets(texts: Iterable[str]) -> str:
    return "\n".join(f"- {text}" for text in texts)


def reasons(texts: list[tuple[str, str]]) -> str:
    """A list of why goals were missed; the jobs of one reason stand together."""
    jobs: dict[str, list[str]] = {}
    for job, reason in texts:
        if reason and job not in jobs.setdefault(reason, []):
            jobs[reason].append(job)
    return bullets(f"{'; '.join(names)}: {reason}" for reason, names in jobs.items())


def sections(parts: list[str]) -> str:
    return "\n\n".join(part for part in parts if part)


def area_text(area: str, rows: list[Row]) -> str:
    lines = [
        [
            row.job,
            f"{row.items:,.0f} {row.unit}",
            row.peer,
            shown(row.ratio),
            row.goal.text,
            verdict(row.is_met),
        ]
        for row in rows
    ]
    missed = [(row.job, row.goal.reason) for row in rows if row.is_met is False]
    head = ["job", "items", "held against", "ratio", "goal", ""]
    notes = bullets(NOTES.get(area, ()))
    return sections([f"## {area}", table(head, lines), notes, reasons(missed)])


def growth_text(growths: list[Growth]) -> str:
    if not growths:
        return ""
    lines = [
        [
            growth.job,
            f"{growth.smaller:,.0f} to {growth.larger:,.0f} {growth.unit}",
            shown(growth.ratio),
            verdict(growth.is_met),
            f"{growth.peer}: {shown(growth.peer_ratio)}",
        ]
        for growth in growths
    ]
    missed = [
        (growth.job, GROWTH_REASONS.get(growth.job, "")) for growth in growths if not growth.is_met
    ]
    return sections(
        [
            "## Growth",
            "The time for each item at the larger size, over that at the smaller one; the goal is at"
            f" most {GROWTH_LIMIT}. Beside it the same of what the job is held against.",
            table(["job", "sizes", "growth", "", "held against"], lines),
            reasons(missed),
            "![Growth](performance-growth.svg)",
        ]
    )


def first_match(pattern: str, file: str) -> str:
    try:
        match = re.search(pattern, Path(file).read_text(encoding="utf-8"), re.MULTILINE)
    except OSError:
        match = None
    return match[1].strip() if match else UNKNOWN


def compiler(cache: Path = BUILD_CACHE) -> str:
    command = first_match(r"^CMAKE_CXX_COMPILER:[^=]*=(.*)", str(cache))
    if command == UNKNOWN:
        command = "c++"
    try:
        run = subprocess.run([command, "--version"], capture_output=True, text=True)
    except OSError:
        return UNKNOWN
    return (run.stdout.splitlines() or [UNKNOWN])[0]


def machine() -> dict[str, str]:
    memory = first_match(r"^MemTotal:\s*(\d+) kB", "/proc/meminfo")
    return {
        "processor": first_match(r"^model name\s*:(.*)", "/proc/cpuinfo"),
        "cores": str(os.cpu_count()),
        "memory": f"{int(memory) / 2**20:.0f} GiB" if memory.isdigit() else memory,
        "system": first_match(r'^PRETTY_NAME="?([^"\n]*)', "/etc/os-release"),
        "compiler": compiler(),
        "date": datetime.datetime.now(datetime.timezone.utc).date().isoformat(),
    }


def report(rows: list[Row], growths: list[Growth], about: dict[str, str], method: str) -> str:
    areas = dict.fromkeys(goal.area for goal in (*GOALS, NO_GOAL))
    by_area = {area: [row for row in rows if row.goal.area == area] for area in areas}
    goals = [row.is_met for row in rows if row.is_met is not None]
    goals += [growth.is_met for growth in growths]
    parts = [
        "# Performance",
        "Written by `scripts/bench.sh`, which measures anew; do not edit it by hand.",
        table(["machine", ""], [[name, value] for name, value in about.items()]),
        method,
        f"{goals.count(True)} of {len(goals)} goals are met.",
        "![Goals](performance-goals.svg)",
        *(area_text(area, found) for area, found in by_area.items() if found),
        growth_text(growths),
    ]
    return sections(parts) + "\n"


@dataclass(frozen=True)
class Point:
    label: str
    value: float
    limit: float


def plot(title: str, points: list[Point]) -> str:
    """A line for each point, on a logarithmic axis; its limit is a bar, a point beyond it is hollow."""
    left, width, line, top = 530, 400, 20, 60
    values = [value for point in points for value in (point.value, point.limit)]
    values = [value for value in values if value > 0] or [1.0]
    low, high = math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))
    high = max(high, low + 1)
    bottom = top + line * len(points)

    def x(value: float) -> float:
        power = math.log10(value) if value > 0 else low
        return left + width * (power - low) / (high - low)

    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + width + 30}" height="{bottom + 30}"'
        ' font-family="sans-serif" font-size="12">',
        '<rect width="100%" height="100%" fill="white"/>',
        f'<text x="10" y="20" font-size="15">{html.escape(title)}</text>',
    ]
    for power in range(low, high + 1):
        at = x(10.0**power)
        parts.append(f'<path d="M{at:.1f} {top - 8}V{bottom}" stroke="#ccc"/>')
        parts.append(f'<text x="{at:.1f}" y="{top - 12}" text-anchor="middle">{10.0**power:g}</text>')
    for index, point in enumerate(points):
        y = top + line * index + line // 2
        is_met = point.value <= point.limit
        color, fill = ("#1a7f37", "#1a7f37") if is_met else ("#c93c37", "white")
        label = html.escape(point.label)
        parts.append(f'<text x="{left - 10}" y="{y + 4}" text-anchor="end">{label}</text>')
        parts.append(f'<path d="M{x(point.limit):.1f} {y - 7}v14" stroke="black" stroke-width="2"/>')
        parts.append(
            f'<circle cx="{x(point.value):.1f}" cy="{y}" r="4" fill="{fill}" stroke="{color}"'
            ' stroke-width="2"/>'
        )
    return "\n".join([*parts, "</svg>"]) + "\n"


def goal_points(rows: list[Row]) -> list[Point]:
    """The largest size of each pair of a job and a peer."""
    largest: dict[tuple[str, str], Row] = {}
    for row in rows:
        known = largest.setdefault((row.job, row.peer), row)
        if row.items > known.items:
            largest[row.job, row.peer] = row
    return [
        Point(f"{row.job} / {row.peer}", row.ratio, row.goal.limit)
        for row in largest.values()
        if row.goal.limit is not None
    ]


def growth_points(growths: list[Growth]) -> list[Point]:
    return [
        Point(f"{each.job}, {each.larger:,.0f} {each.unit}", each.ratio, GROWTH_LIMIT)
        for each in growths
    ]


def unexplained(rows: list[Row], growths: list[Growth]) -> list[str]:
    texts = [
        f"{row.job} / {row.peer}" for row in rows if row.is_met is False and not row.goal.reason
    ]
    texts += [
        f"growth of {each.job}"
        for each in growths
        if not each.is_met and each.job not in GROWTH_REASONS
    ]
    return list(dict.fromkeys(texts))


def method_of(options: list[str]) -> str:
    method = SMOKE_METHOD if "--smoke" in options else METHOD
    return sections([method, PARTIAL_METHOD if "--partial" in options else ""])


def main(arguments: list[str]) -> int:
    options = [argument for argument in arguments if argument in ("--smoke", "--partial")]
    folder, *files = map(Path, arguments[len(options) :] or [""])
    if not files:
        print("usage: report.py [--smoke] FOLDER FILE...", file=sys.stderr)
        return 2
    try:
        rows = read_rows(files)
        growths = growths_of(rows)
        texts = {
            "performance.md": report(rows, growths, machine(), method_of(options)),
            "performance-goals.svg": plot(
                "Ratio to what the job is held against; the bar is the goal", goal_points(rows)
            ),
            "performance-growth.svg": plot(
                "Time for each item at the larger size over that at the smaller; the bar is the goal",
                growth_points(growths),
            ),
        }
        for name, text in texts.items():
            (folder / name).write_text(text, encoding="utf-8")
    except (BadRow, OSError, UnicodeDecodeError) as error:
        print(f"report: {error}", file=sys.stderr)
        return 1
    if "--smoke" not in options:
        for text in unexplained(rows, growths):
            print(f"report: missed, and the report does not tell why: {text}", file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

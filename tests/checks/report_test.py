"""Tests of bench/report.py: rows, right and wrong, and what the report makes of them."""

import contextlib
import io
import re
import tempfile
import unittest
import xml.etree.ElementTree as ET
from pathlib import Path

import report


def row(job, items, milliseconds, peer, of_peer, unit="things"):
    ratio = milliseconds / of_peer
    return f"{job}\t{items}\t{unit}\t{milliseconds}\t{peer}\t{of_peer}\t{ratio}"


MERGE = "merge: meshes of 192 triangles"
COPY = "copy of the output's bytes into fresh memory, one core"


class ReportTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.top = Path(temporary.name)

    def write(self, *lines, name="rows.tsv"):
        file = self.top / name
        file.write_text("".join(f"{line}\n" for line in lines))
        return file

    def rows(self, *lines):
        return report.read_rows([self.write(*lines)])

    def run_main(self, *arguments):
        output, errors = io.StringIO(), io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(errors):
            code = report.main([str(argument) for argument in arguments])
        return code, errors.getvalue()

    def written(self, *lines, options=()):
        code, errors = self.run_main(*options, self.top, self.write(*lines))
        self.assertEqual(code, 0, errors)
        return (self.top / "performance.md").read_text()

    def assert_refused(self, line, reason):
        file = self.write(row("a", 1, 2, "b", 3), line)
        code, errors = self.run_main(self.top, file)
        self.assertEqual((code, errors), (1, f"report: {file}:2: {reason}\n"))
        self.assertFalse((self.top / "performance.md").exists())


class Reading(ReportTest):
    def test_row_is_found_with_its_goal(self):
        (found,) = self.rows(row(MERGE, 100, 3, COPY, 2))
        self.assertEqual((found.job, found.items, found.peer), (MERGE, 100, COPY))
        self.assertEqual((found.ratio, found.goal.limit, found.is_met), (1.5, 1.5, True))

    def test_the_peer_decides_on_the_goal(self):
        copy, assimp = self.rows(row(MERGE, 1, 1, COPY, 1), row(MERGE, 1, 1, "Assimp, x", 5))
        self.assertEqual((copy.goal.limit, assimp.goal.limit), (1.5, 0.1))
        self.assertEqual((copy.is_met, assimp.is_met), (True, False))

    def test_large_batches_alone_have_a_goal(self):
        large, small = self.rows(
            row("triangles in, XYZ, batches of 100000", 1, 1, "plain append", 1),
            row("triangles in, XYZ, batches of 100", 1, 9, "plain append", 1),
        )
        self.assertEqual((large.goal.limit, small.is_met), (1.25, None))

    def test_job_without_a_goal_is_there_for_comparison(self):
        (found,) = self.rows(row("something new", 1, 9, "something", 1))
        self.assertEqual((found.goal.area, found.is_met), ("Other", None))

    def test_times_of_one_job_are_compared(self):
        library = self.write("export of x\t5\tthings\t1\tlibrary", name="a.tsv")
        others = self.write(
            "export of x\t5\tthings\t10\tsome GLB exporter",
            "export of x\t5\tthings\t4\tanother",
            "export of y\t5\tthings\t4\tanother",
            "export of x\t6\tthings\t4\tanother",
            name="b.tsv",
        )
        found = report.read_rows([library, others])
        self.assertEqual(
            [(each.peer, each.ratio, each.is_met) for each in found],
            [("some GLB exporter", 0.1, True), ("another", 0.25, None)],
        )

    def test_too_few_fields(self):
        self.assert_refused("a\t1\tx\t2", "4 fields instead of 5 or 7")
        self.assert_refused("a\t1\tx\t2\tb\t3", "6 fields instead of 5 or 7")
        self.assert_refused("", "1 fields instead of 5 or 7")

    def test_no_number(self):
        self.assert_refused("a\tmany\tx\t2\tb\t3\t1", "items is no number: 'many'")
        self.assert_refused("a\t1\tx\t2,5\tb\t3\t1", "milliseconds is no number: '2,5'")
        self.assert_refused("a\t1\tx\t2\tb\t\t1", "milliseconds of the peer is no number: ''")
        self.assert_refused("a\t1\tx\t2\tb\t3\tfast", "ratio is no number: 'fast'")

    def test_number_that_cannot_be(self):
        self.assert_refused("a\t1\tx\t2\tb\t0\t1", "milliseconds of the peer cannot be 0")
        self.assert_refused("a\t1\tx\tnan\tb\t1\t1", "milliseconds cannot be nan")
        self.assert_refused("a\t1\tx\t-1\tlibrary", "milliseconds cannot be -1")

    def test_empty_name(self):
        self.assert_refused("\t1\tx\t2\tb\t3\t1", "job is empty")
        self.assert_refused("a\t1\tx\t2\t \t3\t1", "peer is empty")

    def test_file_that_is_missing(self):
        code, errors = self.run_main(self.top, self.top / "none.tsv")
        self.assertEqual(code, 1)
        self.assertIn("none.tsv", errors)

    def test_no_file_at_all(self):
        self.assertEqual(self.run_main(self.top)[0], 2)
        self.assertEqual(self.run_main()[0], 2)


class Growth(ReportTest):
    def growths(self, *lines):
        return report.growths_of(self.rows(*lines))

    def test_time_for_each_item(self):
        (found,) = self.growths(row("a", 1000, 40, "b", 10), row("a", 100, 2, "b", 1))
        self.assertEqual((found.smaller, found.larger, found.peer), (100, 1000, "b"))
        self.assertAlmostEqual(found.ratio, 2)
        self.assertAlmostEqual(found.peer_ratio, 1)
        self.assertFalse(found.is_met)

    def test_from_each_size_to_the_next(self):
        found = self.growths(*(row("a", items, items, "b", 1) for items in (1, 10, 100)))
        self.assertEqual([(each.smaller, each.larger) for each in found], [(1, 10), (10, 100)])

    def test_several_peers_count_once(self):
        lines = [row("a", items, items, peer, items) for items in (1, 10) for peer in ("b", "c")]
        (found,) = self.growths(*lines)
        self.assertEqual(found.peer, "b")

    def test_one_size_has_none(self):
        self.assertEqual(self.growths(row("a", 1, 1, "b", 1), row("c", 10, 1, "b", 1)), [])

    def test_too_short_to_be_measured(self):
        lines = [row("a", 1, 0, "b", 1), row("a", 10, 1, "b", 1)]
        self.assertEqual(self.growths(*lines), [])

    def test_reason_of_a_growth(self):
        reason = report.GROWTH_REASONS["delete"]
        smaller = row("delete", 100, 1, "b", 100)
        missed = report.growth_text(self.growths(smaller, row("delete", 1000, 15, "b", 1000)))
        self.assertIn(f"- delete: {reason}", missed)
        met = report.growth_text(self.growths(smaller, row("delete", 1000, 11, "b", 1000)))
        self.assertNotIn(reason, met)

    def test_ends_of_nodes_have_none(self):
        lines = [row("node end, indexed", items, 1, "100 triangles", 1) for items in (1, 10)]
        self.assertEqual(self.growths(*lines), [])

    def test_job_without_a_goal_has_one(self):
        job, peer = "live, one mesh in many places", "copies of the instances alone"
        lines = [row(job, items, 3 * items, peer, items) for items in (1, 10)]
        self.assertEqual([each.is_met for each in self.rows(*lines)], [None, None])
        self.assertEqual(len(self.growths(*lines)), 1)

    def test_sizes_of_files_have_none(self):
        lines = [row("archive size", items, items, "zip -9", 1) for items in (1, 10)]
        self.assertEqual(self.growths(*lines), [])


class Writing(ReportTest):
    def test_tables_show_ratios_and_no_times(self):
        text = self.written(
            row(MERGE, 1234567, 31234.5, COPY, 20000), row(MERGE, 1234567, 31234.5, "Assimp", 1e6)
        )
        self.assertIn(
            f"| {MERGE} | 1,234,567 things | {COPY} | 1.56 | at most 1.5 of it | **missed** |", text
        )
        self.assertIn("| Assimp | 0.0312 | 10 times as fast | met |", text)
        self.assertIn("1 of 2 goals are met.", text)
        self.assertNotIn("31234", text)

    def test_areas_stand_in_the_order_of_the_goals(self):
        text = self.written(
            row("else", 1, 1, "b", 1), row("library load", 1, 1, "10 ms", 10), row(MERGE, 1, 1, COPY, 1)
        )
        self.assertEqual(re.findall("^## (.*)", text, re.M), ["Merge", "Library", "Other"])

    def test_growth_is_shown_beside_that_of_the_peer(self):
        text = self.written(row("a", 10, 1, "b", 1), row("a", 100, 15, "b", 12))
        self.assertIn("| a | 10 to 100 things | 1.50 | **missed** | b: 1.20 |", text)

    def test_reason_of_a_missed_goal(self):
        peer = "node end of 100 triangles"
        (reason,) = [goal.reason for goal in report.GOALS if goal.job == "node end.*"]
        missed = self.written(row("node end", 100, 9, peer, 1))
        self.assertIn(f"- node end: {reason}", missed)
        self.assertNotIn(reason, self.written(row("node end", 100, 1, peer, 1)))

    def test_missed_goal_without_a_reason_is_told(self):
        file = self.write(row("library load", 1, 11, "10 ms", 10))
        code, errors = self.run_main(self.top, file)
        self.assertEqual(code, 0)
        self.assertIn("does not tell why: library load / 10 ms", errors)
        self.assertEqual(self.run_main("--smoke", self.top, file), (0, ""))

    def test_quick_test_is_marked(self):
        line = row(MERGE, 1, 1, COPY, 1)
        self.assertIn(report.SMOKE_METHOD, self.written(line, options=["--smoke"]))
        self.assertNotIn(report.SMOKE_METHOD, self.written(line))

    def test_rows_of_an_earlier_run_are_marked(self):
        line = row(MERGE, 1, 1, COPY, 1)
        text = self.written(line, options=["--partial"])
        self.assertIn(report.METHOD, text)
        self.assertIn(report.PARTIAL_METHOD, text)
        self.assertIn(report.PARTIAL_METHOD, self.written(line, options=["--smoke", "--partial"]))
        self.assertNotIn(report.PARTIAL_METHOD, self.written(line))

    def test_notes_stand_below_the_table_of_their_area(self):
        note, _ = report.NOTES["Archive"]
        text = self.written(row("archive of textures", 1, 2, "zip -9", 1), row(MERGE, 1, 1, COPY, 1))
        self.assertIn(f"| **missed** |\n\n- {note}\n", text)
        self.assertNotIn(report.NOTES["Save"][0], text)

    def test_notes_belong_to_areas(self):
        areas = {goal.area for goal in report.GOALS}
        self.assertEqual(set(report.NOTES) - areas, set())

    def test_machine_is_told(self):
        about = report.machine()
        self.assertEqual(
            list(about), ["processor", "cores", "memory", "system", "compiler", "date"]
        )
        self.assertNotIn("", about.values())
        text = self.written(row(MERGE, 1, 1, COPY, 1))
        for name, value in about.items():
            self.assertIn(f"| {name} | {value} |", text)

    def test_compiler_is_that_of_the_build(self):
        program = self.top / "compiler"
        program.write_text("#!/bin/sh\necho stand-in 1.2\necho more\n")
        program.chmod(0o755)
        cache = self.write(f"CMAKE_CXX_COMPILER:FILEPATH={program}", name="CMakeCache.txt")
        self.assertEqual(report.compiler(cache), "stand-in 1.2")
        self.assertNotIn("stand-in", report.compiler(self.top / "none"))

    def test_ratios_have_three_digits(self):
        shown = [report.shown(value) for value in (0.00123, 0.5, 1, 12.34, 123.4, 12345)]
        self.assertEqual(shown, ["0.00123", "0.500", "1.00", "12.3", "123", "12,345"])


class Plots(ReportTest):
    SVG = "{http://www.w3.org/2000/svg}"

    def circles(self, name):
        image = ET.parse(self.top / name).getroot()
        return list(image.iter(f"{self.SVG}circle"))

    def test_goals_at_the_largest_size(self):
        self.written(
            row(MERGE, 100, 1, COPY, 1),
            row(MERGE, 1000, 20, COPY, 10),
            row("no goal", 1, 1, "<b>", 1),
            row("library load", 1, 1, "10 ms", 10),
        )
        missed, met = self.circles("performance-goals.svg")
        self.assertEqual(missed.get("fill"), "white")
        self.assertNotEqual(met.get("fill"), "white")
        self.assertLess(float(met.get("cx")), float(missed.get("cx")))

    def test_growth(self):
        self.written(row("<a>", 10, 1, "b", 1), row("<a>", 100, 10, "b", 1))
        self.assertEqual(len(self.circles("performance-growth.svg")), 1)

    def test_nothing_is_needed(self):
        line = row("raw save: extra memory", 1, 0, "1 MiB", 1048576)
        self.assertIn("| 0.00 | at most 1 MiB | met |", self.written(line))
        self.assertEqual(len(self.circles("performance-goals.svg")), 1)

    def test_nothing_to_show(self):
        self.written(row("no goal", 1, 1, "b", 1))
        self.assertEqual(self.circles("performance-goals.svg"), [])


if __name__ == "__main__":
    unittest.main()

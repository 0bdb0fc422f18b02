"""Tests of the scripts that check the documents."""

import unittest
from pathlib import Path

import api
import blocks
import commands
import links
import markdown


def parse(*lines, name="a.md"):
    return markdown.parse(Path(name), "\n".join(lines))


class Parsing(unittest.TestCase):
    def test_blocks_and_prose(self):
        document = parse("one", "<!-- file: a/b.cpp -->", "```cpp", "int x;", "```", "two")
        self.assertEqual([line for _, line in document.prose][-1], "two")
        (block,) = document.blocks
        self.assertEqual((block.language, block.text, block.line), ("cpp", "int x;\n", 3))
        self.assertEqual(block.mark, ("file", "a/b.cpp"))

    def test_an_indented_fence_loses_its_indent(self):
        (block,) = parse("- x", "  ```sh", "  ls", "  ```").blocks
        self.assertEqual(block.lines, ["ls"])

    def test_a_block_without_end(self):
        with self.assertRaisesRegex(ValueError, "a.md:1"):
            parse("```sh", "ls")


class Commands(unittest.TestCase):
    def shown(self, *lines):
        (block,) = parse(*lines).blocks
        return [(command.text, command.output) for command in commands.commands_of(block)]

    def test_sh(self):
        self.assertEqual(
            self.shown("```sh", "# why", "a b", "", "c \\", "  d", "```"),
            [("a b", None), ("c d", None)],
        )

    def test_console(self):
        self.assertEqual(
            self.shown("```console", "$ a", "out", "$ b \\", "  c", "```"),
            [("a", ["out"]), ("b c", [])],
        )

    def test_a_program_that_shows_commands_has_its_whole_block(self):
        self.assertEqual(
            self.shown("```console", "$ scripts/demo.sh", "$ x", "```"),
            [("scripts/demo.sh", ["$ x"])],
        )

    def test_output(self):
        for expected, output in (
            ([], ""),
            (["a", "..."], "a\nb\nc\n"),
            (["a", "...", "c"], "a\nc\n"),
            (["a ... c"], "a b c\n"),
            (["in 0.002 s, 1.1 MB/s"], "in 10 ms, 2 kB/s\n"),
            (["  0.1 (x)"], "  0.1 (x)\n"),
        ):
            self.assertIsNone(commands.output_fault(expected, output), expected)
        for expected, output in ((["a"], "b\n"), ([], "b\n"), (["a", "..."], "b\n"), (["1 m"], "2 m\n")):
            self.assertIsNotNone(commands.output_fault(expected, output), expected)


class Links(unittest.TestCase):
    def faults(self, *lines):
        document = parse(*lines, name="docs/a.md")
        known = {(markdown.TOP / "docs" / "a.md").resolve(): document}
        return links.faults(document, known, ["src/x.cpp", "docs/part/y.h"])

    def test_lines(self):
        self.assertEqual(len(self.faults("    $ ls", "x" * 121, "|" + "x" * 200, "| @HERE@ |")), 3)
        self.assertEqual(self.faults("    indented, but no command"), [])

    def test_files_in_code(self):
        self.assertEqual(self.faults("`src/x.cpp`, `src/{x,y}.cpp`, `src/`, `part/y.h`, `src`"), [])
        self.assertEqual(len(self.faults("`src/z.cpp`", "`src/no*`")), 2)

    def test_slugs(self):
        self.assertEqual(links.slug("What `q7-send` does, and why"), "what-q7-send-does-and-why")
        document = parse("# A", "## A", "# `B` c")
        self.assertEqual(links.anchors(document), {"a", "a-1", "b-c"})

    def test_links(self):
        self.assertEqual(len(self.faults("[x](nowhere.md) [y](#no-heading)")), 2)
        self.assertEqual(self.faults("[x](../README.md) [y](https://example.org) `[z](none)`"), [])


class Blocks(unittest.TestCase):
    def fault(self, *lines):
        (block,) = parse(*lines).blocks
        return blocks.fault_of(block)

    def test_languages(self):
        self.assertIn("needs one of", self.fault("```", "x", "```"))
        self.assertIn("a command", self.fault("```text", "$ ls", "```"))
        self.assertIsNone(self.fault("```text", "x", "```"))

    def test_syntax(self):
        self.assertIn("no python", self.fault("```python", "def", "```"))
        self.assertIn("no json", self.fault("```json", "{", "```"))
        self.assertIn("no xml", self.fault("```xml", "<a>", "```"))
        self.assertIsNone(self.fault("```xml", "<a/><b/>", "```"))

    def test_programs_and_files(self):
        self.assertIn("whole program", self.fault("```cpp", "int main() {}", "```"))
        mark = "<!-- file: scripts/docs.sh -->"
        self.assertIn("is not scripts/docs.sh", self.fault(mark, "```sh", "x", "```"))
        part = "<!-- part of: scripts/docs.sh -->"
        self.assertIsNone(self.fault(part, "```sh", "set -euo pipefail", "```"))
        self.assertIn("no part", self.fault(part, "```sh", "et -euo pipefail", "```"))
        self.assertIn("no file", self.fault("<!-- file: a/b -->", "```sh", "x", "```"))


class Reference(unittest.TestCase):
    def test_names(self):
        for symbol, name in (
            ("CreateSession", "CreateSession"),
            ("?AddMesh@@YAXPEAX@Z", "AddMesh"),
            ("??0Q7AnimProperty@@QEAA@NNNNN@Z", "Q7AnimProperty::constructor"),
            ("??4Q7AnimProperty@@QEAAAEAU0@AEBU0@@Z", "Q7AnimProperty::operator="),
        ):
            self.assertEqual(api.plain(symbol), name)


if __name__ == "__main__":
    unittest.main()

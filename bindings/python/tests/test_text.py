import ctypes
import os
import struct
import sys
import unittest
from pathlib import Path

from support import LibraryTest, inspected

import q7plugin
from q7plugin import _text

TEXTS = [
    "plain",
    "",
    "Glas \u00e4 \u4e2d",
    "\U0001f600",
    "\ud800 alone",
    "\udc00\ud800",
    "a\tb\r\nc",
]


class Encoding(unittest.TestCase):
    def test_units_are_utf16_with_a_terminator(self):
        self.assertEqual(_text.encode("a\u4e2d", "x"), struct.pack("=3H", 0x61, 0x4E2D, 0))
        self.assertEqual(_text.encode("\U0001f600", "x"), struct.pack("=3H", 0xD83D, 0xDE00, 0))
        self.assertEqual(_text.encode("\ud800", "x"), struct.pack("=2H", 0xD800, 0))
        self.assertEqual(_text.encode("", "x"), b"\0\0")

    def test_a_unit_is_what_the_library_takes_on_each_system(self):
        # wchar_t on Windows; elsewhere wchar_t is another type, and the library takes char16_t.
        expected = _text.UNIT if sys.platform == "win32" else 4
        self.assertEqual(ctypes.sizeof(ctypes.c_wchar), expected)
        self.assertEqual(_text.UNIT, 2)

    def test_round_trip(self):
        for text in TEXTS:
            if text != "\udc00\ud800":
                self.assertEqual(_text.decode(_text.encode(text, "x")), text)

    def test_surrogates_that_make_a_pair_become_one(self):
        self.assertEqual(_text.encode("\ud83d\ude00", "x"), _text.encode("\U0001f600", "x"))

    def test_what_is_no_text(self):
        with self.assertRaisesRegex(ValueError, "^name: there is a zero character at index 1$"):
            _text.encode("a\0b", "name")
        with self.assertRaisesRegex(TypeError, "^name: str is wanted, not bytes$"):
            _text.encode(b"a", "name")
        with self.assertRaisesRegex(TypeError, "^name: str is wanted, not NoneType$"):
            _text.encode(None, "name")

    def test_text_of_raw_functions(self):
        self.assertEqual(_text.Text.from_param("a"), b"a\0\0\0")
        self.assertEqual(_text.Text.from_param(b"a\0\0\0"), b"a\0\0\0")
        for wrong in (b"a", b"ab", b"a\0\0", b""):
            with self.assertRaises(ValueError):
                _text.Text.from_param(wrong)
        with self.assertRaises(TypeError):
            _text.Text.from_param(None)
        self.assertIsNone(_text.OptionalText.from_param(None))
        self.assertEqual(_text.OptionalText.from_param("a"), b"a\0\0\0")

    def test_paths(self):
        self.assertEqual(_text.path_text(Path("a") / "b", "path"), os.path.join("a", "b"))
        with self.assertRaisesRegex(TypeError, "^path: a path as str is wanted, not bytes$"):
            _text.path_text(b"a", "path")
        if os.name != "nt":
            with self.assertRaisesRegex(ValueError, "no Unicode text"):
                _text.path_text(os.fsdecode(b"\xff"), "path")


class ThroughTheLibrary(LibraryTest):
    def test_names_and_values_come_back(self):
        for number, text in enumerate(TEXTS):
            self.session.add_text_material(f"{number}{text}", text)
        saved = self.saved()
        self.assertEqual(saved.materials, {f"{n}{text}": text for n, text in enumerate(TEXTS)})

    def test_the_inspector_reads_them(self):
        self.addCleanup(q7plugin.set_dcc_plugin_info, "")
        q7plugin.set_dcc_plugin_info("Host \u4e2d 1.0")
        self.session.set_texture_folder("C:\\Texturen \u00e4")
        self.session.add_text_material("\U0001f600", "<a>\u4e2d</a>")
        with self.session.node("N\u00f6de"):
            self.session.add_triangle("\u91d1", range(9))
        file = self.folder / "Datei \u4e2d.q7mesh"
        self.session.save_raw_to_file(file)
        stream = inspected(file)
        self.assertEqual(stream["header"]["dccPluginInfo"], "Host \u4e2d 1.0")
        self.assertEqual(stream["header"]["textureFolder"], "C:\\Texturen \u00e4")
        self.assertEqual(stream["materials"][0]["name"], "\U0001f600")
        self.assertEqual(stream["materials"][0]["xml"], "<a>\u4e2d</a>")
        self.assertEqual(stream["instances"][0]["mesh"], "N\u00f6de_\u91d1")

    def test_unpaired_surrogates_in_utf8(self):
        self.session.add_text_material("a", "<\ud800>")
        file = self.folder / "materials.xml"
        self.session.save_material_to_file(file)
        self.assertIn("<\ufffd>", file.read_text("utf-8"))


if __name__ == "__main__":
    unittest.main()

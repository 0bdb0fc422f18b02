"""Tests of scripts/wine.sh, with stand-ins for Wine and the display."""

import unittest

from script_folder import ScriptTest


class WineTest(ScriptTest):
    def setUp(self):
        super().setUp()
        self.copy("wine.sh")
        self.stand_in("bin/wine64-stable", 'mkdir -p "$WINEPREFIX/drive_c"')
        self.stand_in("bin/Xvfb", "echo 7 >&3")
        self.prefix = self.top / "build/wine"

    def test_prefix_is_made_once(self):
        self.assertEqual(self.run_script("wine.sh", "--prepare").returncode, 0)
        (self.prefix / "drive_c/kept").touch()
        self.assertEqual(self.run_script("wine.sh", "--prepare").returncode, 0)
        self.assertTrue((self.prefix / "drive_c/kept").exists())

    def test_prefix_that_was_there_before_is_never_removed(self):
        (self.prefix / "drive_c").mkdir(parents=True)
        self.stand_in("bin/wine64-stable", "exit 53")
        for _ in range(2):
            self.assertEqual(self.run_script("wine.sh", "--prepare").returncode, 53)
            self.assertTrue((self.prefix / "drive_c").exists())

    def test_prefix_whose_making_was_cut_off_is_made_anew(self):
        self.stand_in("bin/wine64-stable", 'mkdir "$WINEPREFIX/half"', "kill $PPID")
        self.run_script("wine.sh", "--prepare")
        self.assertTrue((self.prefix / "half").exists())
        self.stand_in("bin/wine64-stable", '[[ ! -e "$WINEPREFIX/half" ]]')
        self.assertEqual(self.run_script("wine.sh", "--prepare").returncode, 0)

    def test_display_that_is_not_on_record_ends_with_the_script(self):
        # The parent is the script, which waits for the number.
        self.stand_in("bin/Xvfb", f'echo $$ >"{self.top}/display"', "kill $PPID", "exec sleep 1000")
        self.run_script("wine.sh", "--prepare")
        self.wait_until_ended(*(self.top / "display").read_text().split())


if __name__ == "__main__":
    unittest.main()

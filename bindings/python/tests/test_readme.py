"""The examples of the package's README do what it says."""

import os
import re
import unittest

from support import PACKAGE, LibraryTest, Standin, inspect, inspected, numpy_or_skip

import q7plugin


class Examples(LibraryTest):
    def setUp(self):
        super().setUp()
        self.text = (PACKAGE / "README.md").read_text("utf-8")
        self.addCleanup(os.chdir, os.getcwd())
        self.addCleanup(q7plugin.set_dcc_plugin_info, "")
        os.chdir(self.folder)

    def test_the_start(self):
        lines = re.findall(r"^(?:>>>|\.\.\.) (.*)$", self.text.split("## ")[0], re.M)
        exec("\n".join(lines), {})
        self.assertEqual(inspect("--validate", "triangle.q7mesh")[0], 0)
        self.assertEqual(inspected("triangle.q7mesh")["instances"][0]["mesh"], "Node_Red")

    def test_the_host(self):
        numpy_or_skip()
        code = re.search(r"```python\n(.*?)```", self.text, re.S)[1]
        with Standin("--status", "4", "--connections", "4") as standin:
            exec(code, {})
            status, out = standin.finish()
            self.assertEqual(status, 0, out)
            model = next(file for file in standin.received() if file.suffix == ".q7mesh")
            self.assertEqual(len(inspected(model)["instances"]), 2)

    def test_the_messages(self):
        np = numpy_or_skip()
        calls = re.findall(r"^>>> (session\..*)\n(\w+): (.*)$", self.text, re.M)
        self.assertEqual(len(calls), 2)
        for call, kind, message in calls:
            with self.assertRaises((TypeError, ValueError)) as caught:
                eval(call, {"np": np, "session": self.session})
            self.assertEqual(
                (type(caught.exception).__name__, str(caught.exception)), (kind, message)
            )


if __name__ == "__main__":
    unittest.main()

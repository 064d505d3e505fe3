#!/usr/bin/env python3
"""Every script answers --help and rejects what it does not know, before it does anything."""

import os
import pathlib
import subprocess
import unittest

SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"


def run(script, *arguments):
    return subprocess.run([script, *arguments], capture_output=True, text=True, check=False,
                          timeout=60, cwd="/")


class Scripts(unittest.TestCase):
    def setUp(self):
        self.scripts = [path for path in sorted(SCRIPTS.glob("*.sh")) if os.access(path, os.X_OK)]
        self.assertGreater(len(self.scripts), 10)

    def testHelp(self):
        for script in self.scripts:
            result = run(script, "--help")
            self.assertEqual(result.returncode, 0, script)
            self.assertIn(f"Usage: scripts/{script.name}", result.stdout)
            self.assertEqual(result.stderr, "", script)

    def testUnknownArguments(self):
        for script in self.scripts:
            result = run(script, "--nonsense")
            self.assertEqual(result.returncode, 2, script)
            self.assertEqual(result.stdout, "", script)
            self.assertNotEqual(result.stderr, "", script)


if __name__ == "__main__":
    unittest.main()

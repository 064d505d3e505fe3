#!/usr/bin/env python3
"""The runner of the documents finds each kind of fault, and accepts what holds."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

RUNNER = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "run_docs.py"


def run(text, *options):
    with tempfile.TemporaryDirectory() as folder:
        document = pathlib.Path(folder) / "document.md"
        document.write_text(text)
        return subprocess.run([sys.executable, RUNNER, *options, document], capture_output=True,
                              text=True, check=False)


def sh(commands, shown=None, note=None):
    return ((f"<!-- {note} -->\n" if note else "") + f"```sh\n{commands}\n```\n"
            + (f"\n```text\n{shown}\n```\n" if shown is not None else ""))


class Runner(unittest.TestCase):
    def assertHolds(self, text, *options):
        result = run(text, *options)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def assertFault(self, text, *options):
        self.assertEqual(run(text, *options).returncode, 1)

    def testComparesOutput(self):
        self.assertHolds(sh("echo one; echo two", "one\ntwo"))
        self.assertFault(sh("echo one; echo two", "one"))
        self.assertFault(sh("echo one", "one\ntwo"))

    def testComparesEachBlock(self):
        self.assertFault(sh("echo one", "two") + sh("echo two", "two"))

    def testPointsStandForLines(self):
        self.assertHolds(sh("seq 5", "1\n...\n5"))
        self.assertFault(sh("seq 5", "1\n...\n6"))

    def testFindsFailedCommands(self):
        self.assertFault(sh("false"))
        self.assertFault(sh("true") + sh("nonexistent-command"))

    def testChecksNotes(self):
        self.assertHolds(sh("false", note="not run: a reason"))
        self.assertFault(sh("true", note="not run: "))
        self.assertFault(sh("true", note="unknown"))
        self.assertHolds(sh("scripts/test.sh", note="run by .ci/run"))
        self.assertHolds(sh("scripts/test.sh  # every test\nscripts/test.sh libcxx",
                            note="run by .ci/run"))
        for command in "scripts/nonexistent.sh", "scripts/test", "test.sh", "What CI runs":
            self.assertFault(sh(command, note="run by .ci/run"))

    def testRunsOnlyWanted(self):
        note = "run on a Mac"
        self.assertHolds(sh("false", note=note) + sh("true"))
        self.assertFault(sh("false", note=note), "--only", note)
        self.assertEqual(run(sh("false", note=note), "--only", "a Mac").returncode, 2)
        with tempfile.TemporaryDirectory() as folder:
            self.assertHolds(sh("touch made", note=note) + sh("false"),
                             "--only", note, "--folder", folder)
            self.assertTrue((pathlib.Path(folder) / "made").exists())


if __name__ == "__main__":
    unittest.main()

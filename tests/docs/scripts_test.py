#!/usr/bin/env python3
"""Every script answers --help and rejects what it does not know, before it does anything; the one
version of clang is found on systems of every kind."""

import os
import pathlib
import subprocess
import tempfile
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


class ClangVersion(unittest.TestCase):
    """On a system whose package tools are these shell commands."""

    def version(self, dpkg_query, apt_cache):
        with tempfile.TemporaryDirectory() as folder:
            for name, commands in (("dpkg-query", dpkg_query), ("apt-cache", apt_cache)):
                tool = pathlib.Path(folder) / name
                tool.write_text(f"#!/bin/sh\n{commands}\n")
                tool.chmod(0o755)
            environment = {**os.environ, "PATH": f"{folder}:{os.environ['PATH']}"}
            return subprocess.run([SCRIPTS / "llvm-version.sh"], capture_output=True, text=True,
                                  check=False, env=environment)

    def testNewestInstalled(self):
        result = self.version("echo installed clang-16; echo installed clang-19-doc; "
                              "echo installed clang-17; echo not-installed clang-18",
                              "echo clang-19")
        self.assertEqual((result.stdout, result.returncode), ("17\n", 0))

    def testNewestInstallable(self):
        for dpkg_query in ("exit 1", "echo installed clang-14", "echo unknown clang-16"):
            result = self.version(dpkg_query, "echo clang-9; echo clang-16; echo clang-15-doc")
            self.assertEqual((result.stdout, result.returncode), ("16\n", 0), dpkg_query)

    def testNone(self):
        result = self.version("exit 1", "echo clang-14")
        self.assertEqual((result.stdout, result.returncode), ("", 1))
        self.assertIn("run apt-get update first", result.stderr)


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""Every script answers --help and rejects what it does not know, before it does anything; the one
version of clang is found on systems of every kind."""

import os
import pathlib
import shutil
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


def compiler(version, runtime="libc++1", depends="libc6, {} (>= 1:1), libc++abi-N-dev"):
    """What apt-cache shows of a version of clang and libc++."""
    records = {f"{name}-{version}": f"Version: 1:{version}.1.7" for name in ("clang", "clang-tidy")}
    for name in "libc++", "libc++abi":
        records[f"{name}-{version}-dev"] = f"Depends: {depends.format(runtime)}"
    return records


class ClangVersion(unittest.TestCase):
    """On a system whose package tool knows these records."""

    def version(self, *records):
        with tempfile.TemporaryDirectory() as folder:
            tool = pathlib.Path(folder) / "apt-cache"
            tool.write_text(f'#!/bin/sh\nstatus=0\nfor name in "$@"; do case $name in -*|show) ;; '
                            f'*) cat "{folder}/$name.record" || status=100 ;; esac; done\n'
                            'exit $status\n')
            tool.chmod(0o755)
            for name, text in dict(item for each in records for item in each.items()).items():
                record = pathlib.Path(folder) / f"{name}.record"
                record.write_text(f"Package: {name}\n{text}\nMaintainer: x\n\n")
            environment = {**os.environ, "PATH": f"{folder}:{os.environ['PATH']}"}
            return subprocess.run([SCRIPTS / "llvm-version.sh"], capture_output=True, text=True,
                                  check=False, env=environment)

    def assertChosen(self, version, *records):
        result = self.version(*records)
        self.assertEqual((result.stdout, result.stderr, result.returncode), (f"{version}\n", "", 0))

    def testFirstKnown(self):
        runtimes = {"libc++1-19": "Version: 1:19.1.7-3", "libc++1": "Version: 1:22.1.8-1"}
        self.assertChosen(19, compiler(22), compiler(19, "libc++1-19"), compiler(16), runtimes)
        self.assertChosen(22, compiler(22), compiler(23), compiler(16), runtimes)
        self.assertChosen(22, compiler(22), compiler(19), runtimes)
        self.assertChosen(22, compiler(22, depends="{}"), runtimes)

    def testNone(self):
        runtimes = {"libc++1-19": "Version: 1:19.1.7-3", "libc++1": "Version: 1:21.22.8"}
        incomplete = compiler(19, "libc++1-19")
        del incomplete["libc++abi-19-dev"]
        for records in ((), (compiler(16), compiler(21)), (compiler(22), compiler(21)), (incomplete,),
                        (compiler(22, "libc++1-19"),), (compiler(22, "libc++1-22"),)):
            result = self.version(*records, runtimes)
            self.assertEqual((result.stdout, result.returncode), ("", 1), records)
            self.assertRegex(result.stderr, r"^llvm-version.sh: .* 19 22: run apt-get update.*\n$")


class TestPresets(unittest.TestCase):
    def testNoTestsIsAnError(self):
        with tempfile.TemporaryDirectory() as folder:
            shutil.copy(SCRIPTS.parent / "CMakePresets.json", folder)
            (pathlib.Path(folder) / "build/release").mkdir(parents=True)
            (pathlib.Path(folder) / "build/release/CTestTestfile.cmake").touch()
            result = subprocess.run(["ctest", "--preset", "release"], cwd=folder, check=False,
                                    capture_output=True, text=True)
            self.assertEqual(result.returncode, 8, result.stderr)


if __name__ == "__main__":
    unittest.main()

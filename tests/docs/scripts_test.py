#!/usr/bin/env python3
"""Every script answers --help and rejects what it does not know, before it does anything; the one
version of clang is found on systems of every kind."""

import collections
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
            tool.write_text(f'#!/bin/sh\nshift 2\ncd {folder} && exec cat "$@"\n')
            tool.chmod(0o755)
            for name, text in collections.ChainMap(*records).items():
                (pathlib.Path(folder) / name).write_text(
                    f"Package: {name}\n{text}\nMaintainer: x\n\n")
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


class WithoutTools(unittest.TestCase):
    """In a source archive, where every tool but these does nothing, succeeds or fails, and prints
    nothing. What removes files may do so in the archive and in the temporary folder alone."""

    TOOLS = ("awk basename bash cat chmod cmp cp cut date dirname env find getconf git grep head id "
             "install ln ls mkdir mktemp mv nproc sed sort stat tail tar tee touch tr uname wc xargs")
    STUBS = {"apt-get": "exit 1", "dpkg-query": "echo install ok installed",
             "clang-tidy": "", "shellcheck": 'printf "%s\\n" "$@"',
             "python3": 'while [ $# -gt 1 ]; do [ "$1" != --target ] || mkdir -p "$2"; shift; done',
             "rm": f'''for path; do case $(realpath -m -- "$path") in
                "$ROOT"/*|/dev/shm/launcher-fuzz.*) ;; *) [[ $path == -* ]] || {{ echo "rm: refused $path" >&2; exit 1; }}
                esac; done; {shutil.which("rm")} "$@"'''}
    ARGUMENTS = {"check-hardening.sh": ["/bin/true"], "fetch-arm64.sh": ["build/arm64"],
                 "run-machine-code.sh": ["none"], "install-packages.sh": ["build", "gnustep"],
                 "fetch-python.sh": ["scripts/mutants-requirements.txt", "build/python"]}

    def setUp(self):
        self.root = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.root)
        (self.root / "bin").mkdir()
        for name in self.TOOLS.split():
            (self.root / "bin" / name).symlink_to(shutil.which(name))
        for name, commands in self.STUBS.items():
            self.addTool(name, commands)
        self.project = self.root / "project"
        shutil.copytree(SCRIPTS.parent, self.project,
                        ignore=shutil.ignore_patterns(".git", "build"))
        (self.project / "scripts/llvm-version.sh").write_text("#!/bin/bash\necho none\n")
        self.files = [path for path in self.project.rglob("*") if path.is_file()]
        self.environment = {
            "PATH": str(self.root / "bin"), "ROOT": str(self.root), "HOME": str(self.root),
            "TMPDIR": str(self.root), "BASH_FUNC_command_not_found_handle%%": "() { true; }"}

    def addTool(self, name, commands):
        tool = self.root / "bin" / name
        tool.unlink(missing_ok=True)  # a link to the machine's own
        tool.write_text(f"#!/bin/bash\nPATH={os.environ['PATH']}\n{commands}\n")
        tool.chmod(0o755)

    def run_in_copy(self, name):
        with open(self.root / "output", "w+") as output:
            process = subprocess.run(
                [self.project / name, *self.ARGUMENTS.get(pathlib.Path(name).name, [])], check=False,
                stdin=subprocess.DEVNULL, stdout=output, stderr=output, timeout=60,
                env=self.environment, cwd=self.root)
            output.seek(0)
            said = output.read()
        self.assertEqual([path for path in self.files if not path.exists()], [], f"{name}: {said}")
        self.assertIn(process.returncode, (0, 1), f"{name}: {said}")
        self.assertNotRegex(said, "rm: refused|not a git repository|unbound variable", name)
        self.assertTrue(process.returncode == 0 or said, f"{name} says nothing")
        return process.returncode, said

    def run_all(self):
        names = [f"scripts/{path.name}" for path in SCRIPTS.glob("*.sh") if os.access(path, os.X_OK)]
        return {name: self.run_in_copy(name) for name in [*names, ".ci/run"]}

    def testNoTemporaryFolder(self):
        self.environment["TMPDIR"] = "/nonexistent"
        results = self.run_all()
        self.assertIn("set TMPDIR to a folder", results["scripts/demo.sh"][1])

    def testFailingTools(self):
        self.environment["BASH_FUNC_command_not_found_handle%%"] = (
            "() { echo failed: $1 >&2; return 77; }")
        for name in "clang-tidy", "python3", "shellcheck":
            (self.root / "bin" / name).unlink()
        results = self.run_all()
        self.assertEqual({name for name in results if results[name][0] == 0},
                         {"scripts/install-packages.sh", "scripts/llvm-version.sh"})

    def testShowsWhatAptSays(self):
        self.addTool("dpkg-query", "exit 1")
        self.addTool("id", "echo 0")
        self.addTool("flock", 'cat; [[ "$*" != *" install "* ]] || { echo "No $DISPLAY"; exit 100; }')
        self.environment["DISPLAY"] = "room on the disk"
        status, said = self.run_in_copy("scripts/install-packages.sh")
        self.assertEqual(status, 1, said)
        self.assertRegex(said, r"apt-get install failed:\nNo room on the disk\n$")

    def testFindsSourcesWithoutRepository(self):
        status, said = self.run_in_copy("scripts/check-shell.sh")
        self.assertEqual(status, 0, said)
        self.assertTrue({"./scripts/demo.sh", "./.ci/run"} <= set(said.splitlines()), said)


if __name__ == "__main__":
    unittest.main()

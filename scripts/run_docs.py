#!/usr/bin/env python3
"""Runs the command blocks of documents, in order, and compares the output that the documents show.

Usage: run_docs.py [--build FOLDER] [--only NOTE --folder FOLDER] DOCUMENT ...

Each document gets an empty folder and an empty home, and one shell for all of its blocks. A block of
the language "sh" is run; a block "text" after it shows its output, where a line "..." stands for any
lines. Times and the home's place are normalised. A comment before a block says what else happens:

  <!-- run by FILE -->                    FILE, of the project, has each of the commands
  <!-- run in the project's folder -->    run with --only "run in the project's folder"
  <!-- run on a Mac -->                   run with --only "run on a Mac"
  <!-- not run: REASON -->                skipped

--build installs this build first and lets the commands find it. --only runs the blocks with this note,
in FOLDER, and no others. Exit status: 0 everything holds, 1 something does not, 2 wrong usage.
"""

import argparse
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import types

PROJECT = pathlib.Path(__file__).resolve().parents[1]
BLOCK = re.compile(r"(?:^<!-- (?P<note>[^\n]*) -->\n)?^```(?P<language>\w*)\n(?P<body>.*?)^```$",
                   re.MULTILINE | re.DOTALL)
TIME = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} ")
NOTES = "", "run in the project's folder", "run on a Mac"
END_OF_BLOCK = "--- end of block"


def blocks_of(text):
    """Commands with their note, and the output that the document shows for them, if any."""
    blocks = []
    last = None
    for match in BLOCK.finditer(text):
        if match["language"] == "sh":
            last = types.SimpleNamespace(note=match["note"] or "", commands=match["body"], shown=None)
            blocks.append(last)
        elif match["language"] == "text" and last and last.shown is None:
            last.shown = match["body"]
        else:
            last = None
    return blocks


def commands_of(text):
    """The single commands of a script, without comments and redirections."""
    lines = (re.sub(r"(^|\s)#.*", "", line) for line in text.splitlines())
    parts = (part.strip() for line in lines for part in re.split(r"&&|[|;]|\d?>", line))
    return set(filter(None, parts))


def normalised(text, folder):
    """The lines without times, indentation and the place of the home."""
    text = TIME.sub("", text).replace(str(folder), "/home")
    return [line.strip() for line in text.splitlines() if line.strip()]


def matches(shown, lines):
    """Whether the lines are those shown, where "..." stands for any."""
    pattern = "".join(r"(?:.*\n)*?" if line == "..." else re.escape(line) + r"\n"
                      for line in shown)
    return re.fullmatch(pattern, "".join(line + "\n" for line in lines)) is not None


class Runner:
    def __init__(self, arguments, folder):
        self.wanted = arguments.only
        self.own_folder = arguments.folder
        self.folder = folder
        self.failures = 0
        self.environment = dict(os.environ, USER="alice", LC_ALL="C.UTF-8")
        if arguments.build:
            self.install(arguments.build)

    def install(self, build):
        prefix = self.folder / "prefix"
        subprocess.run(["cmake", "--install", build, "--prefix", prefix], check=True,
                       stdout=subprocess.DEVNULL)
        self.environment.update(
            CMAKE_PREFIX_PATH=str(prefix),
            LD_LIBRARY_PATH=str(next(prefix.rglob("libThinClientLauncher.dylib")).parent),
            PATH=f"{prefix}/bin:{os.environ['PATH']}",
            PKG_CONFIG_PATH=str(next(prefix.rglob("pkgconfig"))))

    def fail(self, document, block, reason):
        self.failures += 1
        print(f"{document}: FAILED: {reason}\n{block.commands}")

    def run_all(self, document):
        blocks = blocks_of(document.read_text())
        run = [block for block in blocks if block.note == self.wanted]
        for block in blocks:
            if block.note.startswith("run by "):
                self.check_run_elsewhere(document, block)
            elif block.note not in NOTES and not re.match("not run: .", block.note):
                self.fail(document, block, f"unknown note: {block.note}")
        folder = self.own_folder or tempfile.mkdtemp(dir=self.folder)
        self.run(document, run, folder)
        print(f"{document.name}: {len(run)} of {len(blocks)} blocks run")

    def check_run_elsewhere(self, document, block):
        other = PROJECT / block.note.split()[2]
        for command in commands_of(block.commands) - commands_of(other.read_text()):
            self.fail(document, block, f"{other.name} does not run: {command}")

    def run(self, document, blocks, folder):
        home = pathlib.Path(tempfile.mkdtemp(dir=self.folder)) / "alice"
        home.mkdir()
        script = "set -euo pipefail\n" + "".join(
            f"{block.commands}\necho '{END_OF_BLOCK}'\n" for block in blocks)
        result = subprocess.run(["bash", "-c", script], cwd=folder, text=True, check=False,
                                env=dict(self.environment, HOME=str(home)),
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        outputs = result.stdout.split(END_OF_BLOCK + "\n")
        for block, output in zip(blocks, outputs):
            lines = normalised(output, home.parent)
            if block.shown is not None and not matches(normalised(block.shown, "/home"), lines):
                self.fail(document, block, "another output than shown:\n" + "\n".join(lines))
        if result.returncode != 0:
            self.fail(document, blocks[min(len(outputs), len(blocks)) - 1],
                      f"status {result.returncode}:\n{outputs[-1]}")


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path)
    parser.add_argument("--only", choices=NOTES, default="")
    parser.add_argument("--folder", type=pathlib.Path)
    parser.add_argument("documents", nargs="+", type=pathlib.Path)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        runner = Runner(arguments, pathlib.Path(folder))
        for document in arguments.documents:
            runner.run_all(document.resolve())
    return 1 if runner.failures else 0


if __name__ == "__main__":
    sys.exit(main())

"""Builds random mutants of the product and runs the tests that should notice them.

Usage: mutate.py SOURCE BUILD SEED MUTANTS FILE ...

Prints one line per mutant that no test notices, and the score. A mutant counts if it compiles, to
other code than the original.
"""

import collections
import contextlib
import io
import os
import pathlib
import random
import signal
import subprocess
import sys
import time

RULES = ["universal.rules", "c_like.rules", "cpp.rules"]
# A suite may take this many times its time without a mutant, but no less than the seconds; a mutant
# that takes longer is noticed.
TIME_FACTOR, LEAST_LIMIT = 5, 30

# Where a suite lies in the build folder; the first one is the quickest.
SUITES = {"unit": "tests/unit/unit_tests", "macos": "tests/macos/macos_bridge_tests",
          "hostile": "tests/hostile/hostile_tests", "inspect": "tests/inspect/inspect_tests",
          "kits": "tests/kits/kits_tests", "e2e": "tests/e2e/e2e_tests"}

# --die-with-parent and the process namespace end what a mutant leaves.
SANDBOX = ["bwrap", "--ro-bind", "/", "/", "--dev", "/dev", "--proc", "/proc", "--unshare-pid",
           "--cap-add", "ALL", "--die-with-parent"]

Mutant = collections.namedtuple("Mutant", "file line text")


def suites_for(file):
    if file.startswith("tools/"):
        return ["inspect"]
    if "/macos/" in file:
        return ["macos"]
    return [suite for suite in SUITES if suite != "macos" or "/linux/" not in file]


def mutants_of(source, file):
    from universalmutator import mutator  # other programs use this one's sandbox without it

    lines = (source / file).read_text().splitlines(keepends=True)
    code = [line if not line.lstrip().startswith(("#", "//")) else "\n" for line in lines]
    with contextlib.redirect_stdout(io.StringIO()):  # it prints what it does
        found = mutator.mutants_regexp(code, ruleFiles=RULES, ignorePatterns=[])
    return {Mutant(file, line, text) for line, text, *_ in found if text != lines[line - 1]}


def run(command, limit=None):
    """The exit status; none after so many seconds. Nothing of the command is left."""
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, start_new_session=True)
    try:
        return process.wait(limit)
    except subprocess.TimeoutExpired:
        return None
    finally:
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, signal.SIGKILL)
        process.wait()


def objects(build):
    return {path: path.read_bytes() for folder in ("ThinClientLauncher", "tools", "tests/macos")
            for path in (build / folder).rglob("*.o")}


def is_changed(originals, suite):
    """Whether there is other code. The bridge's tests are built for their own suite alone."""
    return any(path.read_bytes() != code for path, code in originals.items()
               if ("/tests/macos/" in str(path)) == (suite == "macos"))


def builds(build, suite):
    return run(["ninja", "-C", str(build), os.path.basename(SUITES[suite])]) == 0


def notices(build, suite, limit=None):
    """Whether a test fails."""
    return run([*SANDBOX, str(build / SUITES[suite]), "--gtest_fail_fast"], limit) != 0


def limit_of(build, suite):
    """In seconds. Ends the program if the suite fails without a mutant."""
    if not builds(build, suite):
        sys.exit(f"mutate.py: the {suite} tests cannot be built")
    start = time.monotonic()
    if notices(build, suite):
        sys.exit(f"mutate.py: the {suite} tests fail without a mutant")
    return max(LEAST_LIMIT, TIME_FACTOR * (time.monotonic() - start))


def judge(source, build, mutant, originals, limits):
    """"noticed", "not noticed", or none if the mutant does not count."""
    file = source / mutant.file
    original = file.read_text()
    lines = original.splitlines(keepends=True)
    lines[mutant.line - 1] = mutant.text if mutant.text.endswith("\n") else mutant.text + "\n"
    file.write_text("".join(lines))
    suites = suites_for(mutant.file)
    try:
        if not builds(build, suites[0]) or not is_changed(originals, suites[0]):
            return None
        noticed = any(not builds(build, suite) or notices(build, suite, limits[suite])
                      for suite in suites)
        return "noticed" if noticed else "not noticed"
    finally:
        file.write_text(original)


def main(source, build, seed, wanted, files):
    candidates = sorted(set().union(*(mutants_of(source, file) for file in files)))
    random.Random(seed).shuffle(candidates)
    suites = {suite for file in files for suite in suites_for(file)}
    limits = {suite: limit_of(build, suite) for suite in suites}
    originals = objects(build)
    judged = collections.Counter()
    for mutant in candidates:
        if judged.total() == wanted:
            break
        verdict = judge(source, build, mutant, originals, limits)
        if verdict:
            judged[verdict] += 1
        if verdict == "not noticed":
            print(f"{mutant.file}:{mutant.line}: {' '.join(mutant.text.split())}", flush=True)
    print(f"seed {seed}: {judged['noticed']} of {judged.total()} mutants noticed")


if __name__ == "__main__":
    if len(sys.argv) < 6:
        sys.exit(__doc__)
    main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), int(sys.argv[3]), int(sys.argv[4]),
         sys.argv[5:])

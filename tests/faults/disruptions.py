#!/usr/bin/env python3
"""Launches that are killed at random moments, on a full disk, and two at once.

Usage: disruptions.py kill|full-disk|pairs HOST LIBRARY APPLICATION SCRATCH_FOLDER

full-disk expects the scratch folder to be a small file system of its own.
"""

import collections
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import time

from homes import BrokenPromise, Home, LAUNCHER_FOLDER, NEWEST, TIME_LIMIT, lay_out, promise
from sweep import Programs

KILLS = 100
PAIRS = 200
LAYOUTS = ("plain", "corrupt", "cleaning")


def fresh_home(programs, scratch, layout):
    # What an earlier launch started may still write into its home.
    for earlier in scratch.glob("home-*"):
        shutil.rmtree(earlier, ignore_errors=True)
    path = pathlib.Path(tempfile.mkdtemp(prefix="home-", dir=scratch))
    lay_out(layout, path, programs.application)
    return Home(path)


def read_count(home):
    text = (home.path / LAUNCHER_FOLDER / NEWEST / "launchCount.dat").read_text()
    promise(text.isdigit(), f"launchCount.dat is garbled: {text!r}")
    return int(text)


def finish(process):
    outcome = process.communicate(timeout=TIME_LIMIT)[0].strip()
    return process.returncode, outcome


def kill(programs, scratch):
    """SIGKILL at random moments between the start of the host and its end."""
    durations = []
    for _ in range(9):
        home = fresh_home(programs, scratch, "cleaning")
        start = time.monotonic()
        promise(finish(home.host(programs)) == (0, "started"), "an undisturbed launch")
        durations.append(time.monotonic() - start)
    ends = collections.Counter()
    while ends["killed"] < KILLS:
        home = fresh_home(programs, scratch, random.choice(LAYOUTS))
        process = home.host(programs)
        time.sleep(random.uniform(0, sorted(durations)[len(durations) // 2]))
        process.kill()
        status, _ = finish(process)
        ends["killed" if status < 0 else "over already"] += 1
        promise(home.await_starts("unknown") <= 1, "more than one start")
        home.check_surroundings()
        home.check_removals()
        home.check_next_launch(programs)
    print(f"SIGKILL: {ends['killed']} launches killed ({ends['over already']} were over already), "
          "the next launch worked each time")


def fill(scratch):
    with open(scratch / "filler", "wb", buffering=0) as filler:
        for size in (65536, 4096, 512, 1):
            try:
                while filler.write(b"x" * size) == size:
                    pass
            except OSError:
                pass


def full_disk(programs, scratch):
    ends = collections.Counter()
    for layout in LAYOUTS:
        home = fresh_home(programs, scratch, layout)
        fill(scratch)
        status, outcome = finish(home.host(programs))
        promise(status in (0, 3), f"layout {layout}: the host ended with {status}")
        home.await_starts("unknown")
        home.check_surroundings()
        home.check_removals()
        (scratch / "filler").unlink()
        home.check_next_launch(programs)
        ends["file-system error" if status == 3 else outcome] += 1
    print("full disk: " + ", ".join(f"{count} {end}" for end, count in ends.items())
          + "; with space again, the next launch worked")


def launch_pair(programs, scratch, layout):
    """How the two hosts ended, and what became of the launch count."""
    home = fresh_home(programs, scratch, layout)
    before = read_count(home)
    processes = [home.host(programs) for _ in range(2)]
    ends = [finish(process) for process in processes]
    deadline = time.monotonic() + TIME_LIMIT
    while home.count_starts() < 2:
        promise(time.monotonic() < deadline, f"one of two starts never ran: {ends}")
        time.sleep(0.001)
    home.check_surroundings()
    home.check_removals()
    after = read_count(home)
    time_record = home.path / LAUNCHER_FOLDER / NEWEST / "launch.dat"
    promise(time_record.read_text().isdigit(), "launch.dat is garbled")
    home.check_next_launch(programs, starts=2)
    # A record is emptied before it is written: who reads it in between counts from 0.
    promise(after in (before + 2, before + 1, 1), f"the count went from {before} to {after}")
    return ends, {before + 2: "both counted", before + 1: "one counted", 1: "counted anew"}[after]


def pairs(programs, scratch):
    """Two hosts at once. Where nothing is to be removed both return 0; where both remove the same
    folders, one may meet a record that is no more."""
    counts = collections.Counter()
    errors = 0
    for number in range(PAIRS):
        layout = "cleaning" if number % 2 else "plain"
        ends, count = launch_pair(programs, scratch, layout)
        allowed = (0, 3) if layout == "cleaning" else (0,)
        promise(all(status in allowed and outcome == "started" for status, outcome in ends),
                f"two launches at once, layout {layout}: {ends}")
        errors += sum(1 for status, _ in ends if status == 3)
        counts[count] += 1
    print(f"two hosts at once, {PAIRS} times: "
          + ", ".join(f"{count} {kind}" for kind, count in counts.items())
          + f"; {errors} file-system errors while both removed the same folders")


def main():
    if len(sys.argv) != 6:
        sys.exit(__doc__)
    action = {"kill": kill, "full-disk": full_disk, "pairs": pairs}[sys.argv[1]]
    try:
        action(Programs(*sys.argv[2:5]), pathlib.Path(sys.argv[5]))
    except BrokenPromise as broken:
        sys.exit(f"disruptions.py: broken promise: {broken}")


if __name__ == "__main__":
    main()

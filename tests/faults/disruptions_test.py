"""Launches that are killed at random moments, on a full disk, and two at once.

Usage: disruptions_test.py kill|full-disk|pairs HOST LIBRARY LAYOUTER

full-disk expects the temporary folder to be a small file system of its own.
"""

import collections
import pathlib
import random
import shutil
import sys
import tempfile
import time

from homes import (BrokenPromise, End, Home, LAUNCHER_DIRECTORY, NEWEST, Programs, finish, promise,
                   wait_until)

KILLS = 100
PAIRS = 200
LAYOUTS = ("plain", "corrupt", "cleaning")
SUCCESS = End("returned", "started")
SCRATCH = pathlib.Path(tempfile.gettempdir())


def fresh_home(programs, layout):
    # What an earlier launch started may still write into its home.
    for earlier in SCRATCH.glob("home-*"):
        shutil.rmtree(earlier, ignore_errors=True)
    return Home.lay_out(layout, pathlib.Path(tempfile.mkdtemp(prefix="home-")), programs)


def read_count(home):
    text = (home.path / LAUNCHER_DIRECTORY / NEWEST / "launchCount.dat").read_text()
    promise(text.isdigit(), f"launchCount.dat is garbled: {text!r}")
    return int(text)


def measure_launch(programs):
    home = fresh_home(programs, "cleaning")
    start = time.monotonic()
    promise(finish(home.host(programs)) == SUCCESS, "an undisturbed launch")
    return time.monotonic() - start


def kill(programs):
    """SIGKILL at random moments between the start of the host and its end."""
    duration = sorted(measure_launch(programs) for _ in range(9))[4]
    ends = collections.Counter()
    while ends["killed"] < KILLS:
        home = fresh_home(programs, random.choice(LAYOUTS))
        process = home.host(programs)
        time.sleep(random.uniform(0, duration))
        process.kill()
        ends[finish(process).launch] += 1
        promise(home.await_starts("unknown") <= 1, "more than one start")
        home.check_surroundings()
        home.check_removals()
        home.check_next_launch(programs)
    print(f"SIGKILL: {ends['killed']} launches killed ({ends['returned']} were over already), "
          "the next launch worked each time")


def fill_disk():
    with open(SCRATCH / "filler", "wb", buffering=0) as filler:
        for size in (65536, 4096, 512, 1):
            try:
                while filler.write(b"x" * size) == size:
                    pass
            except OSError:
                pass


def full_disk(programs):
    ends = collections.Counter()
    for layout in LAYOUTS:
        home = fresh_home(programs, layout)
        fill_disk()
        end = finish(home.host(programs))
        home.await_starts("unknown")
        home.check_surroundings()
        home.check_removals()
        (SCRATCH / "filler").unlink()
        home.check_next_launch(programs)
        ends[end.outcome if end.launch == "returned" else end.launch] += 1
    print("full disk: " + ", ".join(f"{count} {end}" for end, count in ends.items())
          + "; with space again, the next launch worked")


def launch_pair(programs, layout):
    """How the two hosts ended, and what became of the launch count."""
    home = fresh_home(programs, layout)
    before = read_count(home)
    ends = [finish(process) for process in [home.host(programs) for _ in range(2)]]
    wait_until(lambda: home.count_starts() >= 2, f"one of two starts never ran: {ends}")
    home.check_surroundings()
    home.check_removals()
    after = read_count(home)
    time_record = home.path / LAUNCHER_DIRECTORY / NEWEST / "launch.dat"
    promise(time_record.read_text().isdigit(), "launch.dat is garbled")
    home.check_next_launch(programs, starts=2)
    # A record is emptied before it is written: who reads it in between counts from 0.
    kinds = {before + 2: "both counted", before + 1: "one counted", 1: "counted anew"}
    promise(after in kinds, f"the count went from {before} to {after}")
    return ends, kinds[after]


def pairs(programs):
    """Two hosts at once. Where nothing is to be removed both return 0; where both remove the same
    folders, one may find that a record has vanished."""
    counts = collections.Counter()
    errors = 0
    for number in range(PAIRS):
        layout = "cleaning" if number % 2 else "plain"
        ends, count = launch_pair(programs, layout)
        allowed = {SUCCESS} | ({End("file-system error", "started")} if number % 2 else set())
        promise(set(ends) <= allowed, f"two launches at once, layout {layout}: {ends}")
        errors += sum(1 for end in ends if end != SUCCESS)
        counts[count] += 1
    print(f"two hosts at once, {PAIRS} times: "
          + ", ".join(f"{count} {kind}" for kind, count in counts.items())
          + f"; {errors} file-system errors while both removed the same folders")


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    action = {"kill": kill, "full-disk": full_disk, "pairs": pairs}[sys.argv[1]]
    try:
        action(Programs(*sys.argv[2:]))
    except BrokenPromise as broken:
        sys.exit(f"disruptions_test.py: broken promise: {broken}")

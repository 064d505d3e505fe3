"""Homes of the fault tests: launches in them, and checks of what every launch promises."""

import collections
import os
import pathlib
import re
import subprocess
import sys
import time

LAUNCHER_DIRECTORY = "Library/Application Support/VantuOrlixVDILauncher"
LOG_DIRECTORY = "Library/Logs"
LOG_FILE = LOG_DIRECTORY + "/VantuOrlixVDI/vdi-launch-launchmode-log.txt"
NEWEST = "45.12.0.900"
OTHER_FOLDERS_KEPT = 2
RECORDS_OF_NOTHING = ("work/launchCount.dat", "work/launch.dat")
KERNEL_THREAD = 0x00200000  # in the flags of /proc/PID/stat
# In seconds: how long a host awaits the outcome of its start, and how long anything else may take.
# Both are for hangs, not for slow machines.
PATIENCE, TIME_LIMIT = 60, 120

if not os.path.isdir("/launcher-test"):
    sys.exit("This deletes folders and starts what is installed: use scripts/fault-sweep.sh, "
             "which runs it in a sandbox.")

Programs = collections.namedtuple("Programs", "host library layouter")
End = collections.namedtuple("End", "launch outcome")


class BrokenPromise(Exception):
    pass


def promise(holds, text):
    if not holds:
        raise BrokenPromise(text)


def is_bare(home):
    """Whether the launcher has no launcher folder, and so records even a launch of nothing."""
    return not (home / LAUNCHER_DIRECTORY).parent.exists()


def snapshot(home):
    """All but what a launch may change: path, kind, content."""
    names = [LAUNCHER_DIRECTORY, LOG_DIRECTORY, "starts",
             *(RECORDS_OF_NOTHING if is_bare(home) else ())]
    excluded = {str(home / name) for name in names}
    found = {}
    for folder, folders, files in os.walk(home):
        folders[:] = [name for name in folders if os.path.join(folder, name) not in excluded]
        for path in {os.path.join(folder, name) for name in folders + files} - excluded:
            found[path] = (os.readlink(path) if os.path.islink(path)
                           else pathlib.Path(path).read_bytes() if os.path.isfile(path)
                           else "folder")
    return found


def may_be_removed(name, times, launched):
    """Whether enough folders, beside the launched one, were launched no earlier than this one."""
    later = [other for other in times
             if other not in (name, launched) and times[other] >= times[name]]
    return len(later) >= OTHER_FOLDERS_KEPT


def wait_until(condition, failure):
    """The first answer of the condition that is true, asked for ever less often: on a loaded machine,
    questions must not take the time that the answer needs."""
    deadline = time.monotonic() + TIME_LIMIT
    pause = 0.0005
    while not (answer := condition()):
        promise(time.monotonic() < deadline, failure)
        time.sleep(pause)
        pause = min(2 * pause, 0.05)
    return answer


def finish(process):
    """How the launch of a host ended, and what it says of the start."""
    try:
        answers = process.communicate(timeout=TIME_LIMIT)[0].splitlines()
    except subprocess.TimeoutExpired:
        process.kill()
        raise BrokenPromise("the launch hangs") from None
    if process.returncode == -9:
        return End("killed", "unknown")
    promise(process.returncode == 0 and re.match("returned 0$|filesystem_error ", answers[0]),
            f"the host ended with {process.returncode}: {answers}")
    return End("returned" if answers[0] == "returned 0" else "file-system error", answers[1])


class Home:
    def __init__(self, path):
        self.path = path
        self.outside = snapshot(path)
        self.times = self.launch_times()
        self.starts = self.count_starts()
        self.undisturbed = End("returned", "start failed" if is_bare(path) else "started")

    @staticmethod
    def lay_out(layout, path, programs):
        subprocess.run([programs.layouter, layout, path], check=True)
        return Home(path)

    def launch_times(self):
        """Of the folders of the launcher folder, by name; 0 for one without a launch record."""
        launcher = self.path / LAUNCHER_DIRECTORY
        records = {folder.name: folder / "launch.dat" for folder in launcher.iterdir()
                   if folder.is_dir()} if launcher.is_dir() else {}
        return {name: record.stat().st_mtime_ns if record.exists() else 0
                for name, record in records.items()}

    def count_starts(self):
        file = self.path / "starts"
        return len(file.read_bytes()) if file.exists() else 0

    def host(self, programs, stopped="", patience=PATIENCE):
        """A host that launches; stopped: where it stops for a tracer, "caller" or "worker"."""
        # A session of its own: a stopped host in the group of a shell that ends would hang it up.
        environment = {**os.environ, "HOME": str(self.path), "USER": "tester",
                       "HOST_STOPS": stopped, "HOST_PATIENCE": str(patience)}
        self.older_processes = set(os.listdir("/proc"))
        return subprocess.Popen([programs.host, programs.library, "launchermode", "45.12.0.1000"],
                                env=environment, cwd=self.path / "work", stdout=subprocess.PIPE,
                                text=True, start_new_session=True)

    def await_starts(self, outcome):
        """The number of starts of this launch, counted once the application has told of it or no
        process of this home is left."""
        if outcome == "started" and not is_bare(self.path):  # which has nothing to start
            wait_until(lambda: self.count_starts() > self.starts, "a reported start never ran")
        else:
            # A process may fork after it was listed and end before its environment was read, so two
            # looks must find nothing.
            wait_until(lambda: not self.has_process() and not self.has_process(),
                       "a start never ends")
        return self.count_starts() - self.starts

    def has_process(self):
        """Whether the launch left a process; a start that is reported as failed may go on."""
        mark = f"HOME={self.path}\0".encode()
        for entry in set(os.listdir("/proc")) - self.older_processes:
            process = pathlib.Path("/proc") / entry
            try:
                environment = (process / "environ").read_bytes()
                if mark in environment or (not environment and self.may_be_executing(process)):
                    return True
            except OSError:  # it ended, or is another user's
                pass
        return False

    @staticmethod
    def may_be_executing(process):
        """Whether a process without an environment may be one that executes a program at this
        moment: it is no zombie and no kernel thread."""
        state, *_, flags = (process / "stat").read_text().rpartition(")")[2].split()[:7]
        return state not in "ZX" and not int(flags) & KERNEL_THREAD

    def check_surroundings(self, added=frozenset()):
        """added: files beside the launcher's folders that may be new."""
        now = snapshot(self.path)
        for file in added:
            now.pop(str(self.path / file), None)
        promise(now == self.outside, "something outside the launcher and log folders changed")

    def launched(self):
        """The name of the folder that the log says was chosen; none when it does not tell."""
        log = self.path / LOG_FILE
        chosen = re.search(r"Best candidate: (.*) \(version", log.read_text() if log.exists() else "")
        return os.path.basename(chosen[1]) if chosen else None

    def check_removals(self, perhaps_never_launched=()):
        """By the launch times, or with one or all of the named folders taken for never launched."""
        launched = self.launched()
        removed = self.times.keys() - self.launch_times().keys()
        promise(launched not in removed, "the launched copy was removed")
        possible = [self.times] + [{**self.times, name: 0} for name in perhaps_never_launched]
        possible.append({**self.times, **dict.fromkeys(perhaps_never_launched, 0)})
        promise(any(all(may_be_removed(name, known, launched) for name in removed) for known in possible),
                f"removed against the rule: {', '.join(sorted(removed))}")

    def check_next_launch(self, programs, starts=1):
        """An undisturbed launch works, and no more starts have come up since the last one."""
        after = Home(self.path)
        promise(after.starts <= self.starts + starts, "more than one start")
        end = finish(after.host(programs))
        promise(end == self.undisturbed, f"the next launch: {end}")
        promise(after.await_starts(end.outcome) == (end.outcome == "started"),
                "the next launch did not start one copy")
        promise(all((self.path / record).exists() for record in RECORDS_OF_NOTHING)
                or not is_bare(self.path), "the next launch did not record that it started nothing")
        after.check_surroundings()
        after.check_removals()
        promise(after.launched() is not None, "the next launch left no complete log")

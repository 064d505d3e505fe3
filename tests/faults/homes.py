#!/usr/bin/env python3
"""Lays out the homes of the fault tests, launches in them and checks what every launch promises.

Usage: homes.py LAYOUT HOME APPLICATION
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import time

LAUNCHER_FOLDER = "Library/Application Support/VantuOrlixVDILauncher"
LOG_FOLDER = "Library/Logs"
LOG_FILE = LOG_FOLDER + "/VantuOrlixVDI/vdi-launch-launchmode-log.txt"
NEWEST = "45.12.0.900"
OTHER_FOLDERS_KEPT = 2
TIME_LIMIT = 60  # seconds; for hangs, not for slow machines

INFO_PLIST = """<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CFBundleExecutable</key><string>OrlixVDIPlugin</string>
<key>CFBundleShortVersionString</key><string>{}</string>
</dict></plist>
"""


class BrokenPromise(Exception):
    pass


def promise(holds, text):
    if not holds:
        raise BrokenPromise(text)


def add_copy(folder, version, application, launches=0, safe=True, hours_ago=None):
    contents = folder / "OrlixVDIPlugin.app" / "Contents"
    (contents / "MacOS").mkdir(parents=True)
    (contents / "Info.plist").write_text(INFO_PLIST.format(version))
    shutil.copy(application, contents / "MacOS" / "OrlixVDIPlugin")
    if launches:
        (folder / "launchCount.dat").write_text(str(launches))
    if safe:
        (folder / "started.dat").touch()
    if hours_ago is not None:
        record = folder / "launch.dat"
        record.write_text("1700000000")
        then = time.time() - 3600 * hours_ago
        os.utime(record, (then, then))


def lay_out_plain(launcher, work, application):
    add_copy(launcher / NEWEST, NEWEST, application, launches=2, hours_ago=3)
    add_copy(launcher / "45.11.0.1", "45.11.0.1", application, launches=5, hours_ago=30)


def lay_out_corrupt(launcher, work, application):
    lay_out_plain(launcher, work, application)
    add_copy(launcher / "45.12.0.901", "45.12.0.901", application, launches=3, safe=False,
             hours_ago=1)


def lay_out_cleaning(launcher, work, application):
    lay_out_plain(launcher, work, application)
    for number, hours_ago in enumerate((40, 20, 50, 10, None)):
        version = f"45.10.0.{number}"
        add_copy(launcher / version, version, application, hours_ago=hours_ago)
    (launcher / "45.10.0.2" / "link").symlink_to(work.parent / "precious")


def lay_out_first(launcher, work, application):
    shutil.rmtree(launcher)
    add_copy(work, NEWEST, application)


LAYOUTS = {"plain": lay_out_plain, "corrupt": lay_out_corrupt, "cleaning": lay_out_cleaning,
           "first": lay_out_first}


def lay_out(name, home, application):
    """A home of the named layout. Beside the launcher's folders it holds things to lose."""
    launcher = home / LAUNCHER_FOLDER
    work = home / "work"
    launcher.mkdir(parents=True)
    work.mkdir()
    for folder in (home / "precious", launcher.parent / "Other", home / "Library" / "Other"):
        folder.mkdir()
        (folder / "file").write_text("precious")
    LAYOUTS[name](launcher, work, application)


def snapshot(home):
    """All but what a launch may change: path, kind, content."""
    excluded = {home / LAUNCHER_FOLDER, home / LOG_FOLDER, home / "starts"}
    found = {}
    for folder, folders, files in os.walk(home):
        here = pathlib.Path(folder)
        folders[:] = [name for name in folders if here / name not in excluded]
        for name in folders + files:
            path = here / name
            if path in excluded:
                continue
            found[str(path)] = (os.readlink(path) if path.is_symlink()
                                else path.read_bytes() if path.is_file() else "folder")
    return found


def has_to_go(name, times, launched):
    """Whether enough folders, beside the launched one, were launched no earlier than this one."""
    later = [other for other in times
             if other not in (name, launched) and times[other] >= times[name]]
    return len(later) >= OTHER_FOLDERS_KEPT


class Folder:
    """A folder of the launcher folder before a launch."""

    def __init__(self, path):
        self.name = path.name
        record = path / "launch.dat"
        self.launch_time = record.stat().st_mtime_ns if record.exists() else 0


class Home:
    def __init__(self, path):
        self.path = path
        self.outside = snapshot(path)
        self.folders = self.list_folders()
        self.starts = self.count_starts()

    def list_folders(self):
        launcher = self.path / LAUNCHER_FOLDER
        return [Folder(entry) for entry in launcher.iterdir()
                if entry.is_dir()] if launcher.is_dir() else []

    def count_starts(self):
        file = self.path / "starts"
        return len(file.read_bytes()) if file.exists() else 0

    def host(self, programs, mode="undisturbed"):
        # A session of its own: a stopped host in the group of a shell that ends would hang it up.
        environment = {**os.environ, "HOME": str(self.path), "USER": "tester"}
        return subprocess.Popen([programs.host, programs.library, mode], env=environment,
                                cwd=self.path / "work", stdout=subprocess.PIPE, text=True,
                                start_new_session=True)

    def await_starts(self, outcome):
        """The number of starts of this launch, once what was started had its time to tell."""
        deadline = time.monotonic() + TIME_LIMIT
        while (self.count_starts() == self.starts if outcome == "started" else self.has_process()):
            promise(time.monotonic() < deadline, "a start that was reported never ran or never ends")
            time.sleep(0.001)
        return self.count_starts() - self.starts

    def has_process(self):
        """Whether a process of this home runs; a start that is reported as failed may go on."""
        mark = f"HOME={self.path}\0".encode()
        for environment in pathlib.Path("/proc").glob("[0-9]*/environ"):
            try:
                if mark in environment.read_bytes():
                    return True
            except OSError:  # it ended, or is another user's
                pass
        return False

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
        """By the launch times, or with one of the named folders taken for never launched."""
        remaining = {folder.name for folder in self.list_folders()}
        times = {folder.name: folder.launch_time for folder in self.folders}
        launched = self.launched()
        removed = times.keys() - remaining
        promise(launched not in removed, "the launched copy was removed")
        possible = [times] + [{**times, name: 0} for name in perhaps_never_launched]
        promise(any(all(has_to_go(name, known, launched) for name in removed) for known in possible),
                f"removed against the rule: {', '.join(sorted(removed))}")

    def check_next_launch(self, programs, starts=1):
        """An undisturbed launch works, and no more starts have come up since the last one."""
        after = Home(self.path)
        promise(after.starts <= self.starts + starts, "more than one start")
        process = after.host(programs)
        outcome = process.communicate(timeout=TIME_LIMIT)[0].strip()
        promise(process.returncode == 0, f"the next launch ended with {process.returncode}")
        promise(outcome == "started", f"the next launch: {outcome}")
        promise(after.await_starts(outcome) == 1, "the next launch did not start one copy")
        after.check_surroundings()
        after.check_removals()
        log = (self.path / LOG_FILE).read_text()
        promise("Best candidate: " in log, "the next launch left no complete log")


if __name__ == "__main__":
    if len(sys.argv) != 4 or sys.argv[1] not in LAYOUTS:
        sys.exit(__doc__)
    lay_out(sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3])

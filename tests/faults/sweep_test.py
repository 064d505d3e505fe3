"""Fails every file-related system call of a launch: once, with each error, and then together with
all later calls of its kind.

Usage: sweep_test.py HOST LIBRARY LAYOUTER

A launch has two actors: the thread that calls the entry point, and the thread (with the processes
it forks until the application runs) that starts the application. A tracer attaches to one of them
when the launch begins, so that the loader's calls are not among those that fail, and strace's
counters start with the launch.
"""

import collections
import concurrent.futures
import contextlib
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile

from homes import (BrokenPromise, Home, LOG_FILE, PATIENCE, Programs, RECORDS_OF_NOTHING, finish,
                   is_bare, promise, wait_until)

LAYOUTS = ("plain", "corrupt", "cleaning", "first", "bare")
ERRORS = ("EIO", "EACCES", "ENOSPC", "EMFILE", "ENOENT")
# What a launch writes to the working folder while there is no launcher folder.
FILES_WITHOUT_HOME = {"work/corrupt.dat", *RECORDS_OF_NOTHING}
ACTORS = ("caller", "worker")
# strace skips the close that it lets fail: the start may wait for the end of a pipe that stays open,
# so its host gives up soon. Where it gives up before the call came, the next one has all the time.
PATIENCES = collections.defaultdict(lambda: (PATIENCE,), close=(1, PATIENCE))
NOT_ABOUT_FILES = {"mmap", "poll"}
SHOWN_CALLS = 20  # of those that failed; an endless retry makes millions
CALL = re.compile(r"^(?P<thread>\d+)?\s*(?P<name>\w+)\(")

# when: as strace takes it, "3" for the third call alone, "3+" for all from the third on.
Fault = collections.namedtuple("Fault", "actor call when error")


def wait_until_stopped(process):
    """Whether the host stopped itself, rather than ended."""
    # The host's end is left for its Popen to collect.
    options = os.WEXITED | os.WSTOPPED | os.WNOWAIT | os.WNOHANG
    try:
        state = wait_until(lambda: os.waitid(os.P_PID, process.pid, options), "the launch hangs")
    except BrokenPromise:
        process.kill()
        raise
    if state.si_code != os.CLD_STOPPED:
        return False
    os.waitid(os.P_PID, process.pid, os.WSTOPPED | os.WNOHANG)
    return True


def is_traced(thread):
    status = pathlib.Path(f"/proc/{thread}/status").read_text()
    return "TracerPid:\t0\n" not in status


def worker_thread(process):
    return next(int(thread) for thread in os.listdir(f"/proc/{process.pid}/task")
                if int(thread) != process.pid)


def attach(process, actor, options):
    """A tracer on the actor of a stopped host."""
    # Without -f only the named thread is traced; with it, the worker's forks are as well, up to the
    # point where the application runs.
    target = ["-p", str(process.pid)] if actor == "caller" else [
        "-f", "-b", "execve", "-p", str(worker_thread(process))]
    tracer = subprocess.Popen(["strace", "-qq", *options, *target], stderr=subprocess.DEVNULL)
    wait_until(lambda: is_traced(target[-1]) or tracer.poll() is not None, "strace hangs")
    if not is_traced(target[-1]):
        sys.exit("sweep_test.py: strace cannot attach; it needs the right to trace processes.")
    return tracer


def open_files(process):
    """What the descriptors of a stopped host stand for."""
    folder = pathlib.Path(f"/proc/{process.pid}/fd")
    return {int(link.name): os.readlink(link) for link in folder.iterdir()}


def traced_launch(home, programs, actor, options, patience=PATIENCE):
    """One launch with one actor traced. Returns how it ended, and the open files before and after."""
    process = home.host(programs, actor, patience)
    before = after = {}
    if wait_until_stopped(process):
        before = open_files(process)
        tracer = attach(process, actor, options)
        os.kill(process.pid, signal.SIGCONT)
        if wait_until_stopped(process):
            after = open_files(process)
        tracer.send_signal(signal.SIGINT)  # detaches
        tracer.wait()
        os.kill(process.pid, signal.SIGCONT)
    return finish(process), before, after


def check_descriptors(home, end, before, after):
    """After an error the log stays open, and nothing else."""
    promise(before.items() <= after.items(), f"a descriptor was closed: {before}, then {after}")
    opened = dict(after.items() - before.items()).values()
    allowed = {str(home.path / LOG_FILE)} if end.launch != "returned" else set()
    promise(set(opened) <= allowed, f"a descriptor was left open: {opened}")


def read_trace(file):
    """The threads and names of the traced calls that concern files."""
    for line in file.read_text(errors="replace").splitlines():
        call = CALL.match(line)
        if call and call["name"] not in NOT_ABOUT_FILES:
            yield call["thread"], call["name"]


def read_failed_calls(file):
    return [line for line in file.read_text(errors="replace").splitlines() if "(INJECTED)" in line]


def without_application_support(failed):
    """By its rules the launcher has no launcher folder at a moment when the file system denies that
    Application Support is there. A list of corrupt versions due at that moment goes to the working
    folder, and the folder whose launch time is read counts as never launched."""
    return any("/Application Support\"" in line and "ENOENT" in line for line in failed)


def directories_without_record(failed, home):
    """The folders whose launch record the file system denied to have."""
    if without_application_support(failed):
        return list(home.times)
    matches = (re.search(r"/([^/]*)/launch\.dat\".*ENOENT", line) for line in failed)
    return [match[1] for match in matches if match]


class NeverCame(Exception):
    """The launch ended before the call that was to fail."""


class Sweep:
    def __init__(self, programs, scratch):
        self.programs = programs
        self.scratch = scratch

    def template(self, layout):
        return self.scratch / f"template-{layout}"

    def fresh_home(self, layout, name):
        home = self.scratch / name
        subprocess.run(["cp", "-a", self.template(layout), home], check=True)
        return Home(home)

    def faults_of(self, layout):
        """Every call of an undisturbed launch: failing once, with each error, and together with all
        later calls of its kind, with one of the errors."""
        for actor in ACTORS:
            home = self.fresh_home(layout, f"{layout}-calls-{actor}")
            trace = home.path / "trace"
            home.outside[str(trace)] = None
            options = ["-o", str(trace), "-e", "trace=%file,%desc"]
            end, before, after = traced_launch(home, self.programs, actor, options)
            promise(end == home.undisturbed, f"an undisturbed launch: {end}")
            check_descriptors(home, end, before, after)
            counts = collections.Counter()
            highest = {}
            for thread, name in read_trace(trace):
                counts[thread, name] += 1
                highest[name] = max(highest.get(name, 0), counts[thread, name])
            promise(sum(highest.values()) > 10, "the tracer saw no launch")
            shutil.rmtree(home.path, ignore_errors=True)  # the application may still write
            for name, count in sorted(highest.items()):
                for moment in range(1, count + 1):
                    yield from (Fault(actor, name, str(moment), error) for error in ERRORS)
                    yield Fault(actor, name, f"{moment}+", ERRORS[moment % len(ERRORS)])

    def run(self, layout, fault):
        """One disturbed launch and the next, undisturbed one. Returns how the first ended."""
        for patience in PATIENCES[fault.call]:
            with contextlib.suppress(NeverCame):
                return self.attempt(layout, fault, patience)
        raise BrokenPromise(f"layout {layout}, {fault}: the call to fail never came")

    def attempt(self, layout, fault, patience):
        home = self.fresh_home(layout, "-".join(map(str, (layout, *fault, patience))))
        trace = self.scratch / f"{home.path.name}.trace"
        injection = f"inject={fault.call}:error={fault.error}:when={fault.when}"
        options = ["-o", str(trace), "-e", f"trace={fault.call}", "-e", injection]
        try:
            return self.check(home, fault, trace, options, patience)
        except BrokenPromise as broken:
            failed = read_failed_calls(trace) if trace.exists() else []
            raise BrokenPromise(f"layout {layout}, {fault.call} number {fault.when} of the "
                                f"{fault.actor} with {fault.error}: {broken}\n"
                                + "\n".join(failed[:SHOWN_CALLS])) from None
        finally:
            shutil.rmtree(home.path, ignore_errors=True)
            trace.unlink(missing_ok=True)

    def check(self, home, fault, trace, options, patience):
        end, before, after = traced_launch(home, self.programs, fault.actor, options, patience)
        failed = read_failed_calls(trace)
        if not failed:
            raise NeverCame
        if fault.call != "close":
            promise(end.outcome != "start unreported", "the start was never reported")
            check_descriptors(home, end, before, after)
        # The process's second write tells why it cannot execute its program.
        is_reason_lost = fault.call == "write" and fault.when in ("2", "2+")
        promise(not is_bare(home.path) or end.outcome != "started" or is_reason_lost,
                "a start of nothing was reported")
        promise(home.await_starts(end.outcome) <= 1, "more than one start")
        home.check_surroundings(
            added=FILES_WITHOUT_HOME if without_application_support(failed) else set())
        home.check_removals(directories_without_record(failed, home))
        home.check_next_launch(self.programs)
        return end.outcome if end.launch == "returned" else end.launch

    def sweep(self, layout):
        Home.lay_out(layout, self.template(layout), self.programs)
        faults = list(self.faults_of(layout))
        outcomes = collections.Counter()
        # A launch mostly waits, for its tracer and for the report of its start.
        with concurrent.futures.ThreadPoolExecutor(max_workers=4 * os.cpu_count()) as pool:
            try:
                for outcome in pool.map(lambda fault: self.run(layout, fault), faults):
                    outcomes[outcome] += 1
            except BrokenPromise:
                pool.shutdown(wait=True, cancel_futures=True)
                raise
        ends = ", ".join(f"{count} {outcome}" for outcome, count in sorted(outcomes.items()))
        print(f"{layout}: {len(faults) // (len(ERRORS) + 1)} calls, {len(faults)} faults: {ends}",
              flush=True)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    sweep = Sweep(Programs(*sys.argv[1:]), pathlib.Path(tempfile.gettempdir()))
    try:
        for layout in LAYOUTS:
            sweep.sweep(layout)
    except BrokenPromise as broken:
        sys.exit(f"sweep_test.py: broken promise: {broken}")

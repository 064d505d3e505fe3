#!/usr/bin/env python3
"""Turns the results of the benchmarks into the figures of docs/performance.md and its plot.

Usage: bench/report.py RESULTS_FOLDER DOCS_FOLDER
Exit status 1 when a promise does not hold, or on wrong usage.
"""

import json
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys

SIZES = [1, 5, 100, 1000, 10000]
PROGRAMS = ["launcher", "baseline", "baseline-once", "script", "frugal-script"]
# From the highest line of the plot to the lowest: program, title, colour.
LINES = [("script", "shell script", "#888888"), ("frugal-script", "frugal script", "#bbbbbb"),
         ("launcher", "launch", "#c0392b"), ("baseline", "baseline in C", "#2c3e50"),
         ("baseline-once", "each file once", "#5dade2")]
REPORTS = {"inspect-text": "text report", "inspect-json": "JSON report"}
START, END = "<!-- figures -->", "<!-- end of figures -->"


def samples(file):
    """Per benchmark its single runs, without the aggregates."""
    runs = {}
    for run in json.loads(file.read_text())["benchmarks"]:
        if run["run_type"] == "iteration":
            name = re.sub(r"/(iterations|repeats|manual_time).*", "", run["name"])
            runs.setdefault(name, []).append(run)
    return runs


def median(runs, key):
    return statistics.median(run[key] for run in runs)


def cost(processes, program, size):
    """Microseconds of processor time: the launch alone where the program reports it, else all."""
    runs = processes[f"{program}/{size}"]
    return median(runs, "own_processor_us") or median(runs, "processor_us")


def duration(processes, program, size):
    """Microseconds on the clock, of the same."""
    runs = processes[f"{program}/{size}"]
    return median(runs, "own_us") or median(runs, "real_time")


def machine():
    info = pathlib.Path("/proc/cpuinfo").read_text()
    model = re.search(r"model name\s*: (.*)", info)
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    return (f"{model.group(1) if model else platform.machine()}, {os.cpu_count()} cores, "
            f"{memory:.0f} GiB of memory, Linux {'.'.join(platform.release().split('.')[:2])}")


def shown(microseconds):
    return f"{microseconds / 1000:.2f} ms" if microseconds >= 1000 else f"{microseconds:.0f} µs"


def table(header, rows):
    lines = [header, ["---"] + ["---:"] * (len(header) - 1), *rows]
    return ["| " + " | ".join(line) + " |" for line in lines] + [""]


def launch_table(processes):
    rows = []
    for size in SIZES:
        own = cost(processes, "launcher", size)
        rows.append([f"{size:,}", shown(own)]
                    + [f"{shown(cost(processes, other, size))} "
                       f"({own / cost(processes, other, size):.2f})" for other in PROGRAMS[1:3]]
                    + [f"{shown(cost(processes, other, size))} "
                       f"({cost(processes, other, size) / own:.0f} ×)" for other in PROGRAMS[3:]])
    return table(["copies", "launch", "baseline (ratio)", "each file once (ratio)",
                  "script (slower)", "frugal script (slower)"], rows)


def duration_table(processes):
    rows = [[f"{size:,}"] + [shown(duration(processes, program, size))
                            for program in PROGRAMS] for size in SIZES]
    return table(["copies", "launch", "baseline", "each file once", "script", "frugal script"], rows)


def inspect_table(processes):
    rows = []
    for size in SIZES:
        own = cost(processes, "launcher", size)
        reports = [cost(processes, report, size) for report in REPORTS]
        rows.append([f"{size:,}", shown(own)]
                    + [f"{shown(report)} ({report / own:.2f})" for report in reports])
    return table(["copies", "launch", *(f"{name} (ratio)" for name in REPORTS.values())], rows)


def costs_per_copy(processes, program):
    """Microseconds per copy in homes of 100 to 10,000 copies, and by how much they differ."""
    least = cost(processes, program, 1)
    costs = [(cost(processes, program, size) - least) / (size - 1) for size in (100, 1000, 10000)]
    return costs, max(costs) / min(costs) - 1


def library_facts(file):
    return dict(line.split() for line in file.read_text().splitlines())


def checks(processes, operations, library):
    """What is promised: text, measured value, whether it holds."""
    own = cost(processes, "launcher", 100)
    baseline = own / cost(processes, "baseline", 100)
    added = cost(processes, "launcher", 5) - cost(processes, "baseline", 5)
    script = cost(processes, "script", 100) / own
    held = {size: statistics.median(run["real_time"] for run in operations[f"startRequest/{size}"])
            / 1000 for size in (10, 1024)}
    size = int(library["size"])
    return [
        ("100 copies: at most twice the baseline", f"{baseline:.2f}", baseline <= 2),
        ("5 copies: at most 1 ms above the baseline", shown(added), added <= 1000),
        ("100 copies: at least 25 times faster than the script", f"{script:.0f}", script >= 25),
        constant_cost("cost", costs_per_copy(processes, "launcher")),
        ("a start request holds its caller under 1 ms, host of 10 MB", shown(held[10]),
         held[10] < 1000),
        ("the same, host of 1 GB", shown(held[1024]), held[1024] < 1000),
        ("stripped size under 250 KB", f"{size / 1000:.0f} KB", size < 250_000),
        *report_checks(processes, own),
    ]


def constant_cost(what, costs_and_spread):
    costs, spread = costs_and_spread
    return (f"{what} per copy within 20 % from 100 to 10,000 copies",
            f"{', '.join(f'{one:.0f}' for one in costs)} µs ({spread:.0%})", spread <= 0.2)


def report_checks(processes, launch):
    for report, name in REPORTS.items():
        ratio = cost(processes, report, 100) / launch
        yield (f"{name}, 100 copies: at most twice the launch", f"{ratio:.2f}", ratio <= 2)
        yield constant_cost(f"{name}: cost", costs_per_copy(processes, report))


def load_table(processes):
    launcher, empty = (median(processes[f"load/{name}"], "own_processor_us") for name in ("launcher", "empty"))
    return [f"dlopen, in a process that has none of the dependencies yet: {shown(launcher)}, an empty "
            f"C++ library with the same dependencies {shown(empty)} (ratio {launcher / empty:.2f}).", ""]


def figures(processes, operations, library):
    promised = checks(processes, operations, library)
    parts = [f"Machine: {machine()}.", ""]
    parts += table(["promise", "measured", "holds"],
                   [[text, value, "yes" if holds else "no"] for text, value, holds in promised])
    parts += ["Cost of a launch, processor time, medians:", ""] + launch_table(processes)
    parts += ["The same on the clock:", ""] + duration_table(processes)
    parts += ["Cost of a report of `launcher-inspect`, the whole process, processor time, medians:", ""]
    parts += inspect_table(processes) + load_table(processes)
    relocations = ", ".join(f"{count} {name}" for name, count in sorted(library.items())
                            if name != "size")
    parts += [f"Relocations: {relocations}.", ""]
    peak = max(run["peak_kb"] for run in processes["launcher/10000"])
    small = median(processes["launcher/1"], "peak_kb")
    parts += [f"Peak memory of the host: {small / 1024:.1f} MB with one copy, "
              f"{peak / 1024:.1f} MB with 10,000.", "", "Single operations, medians:", ""]
    parts += table(["operation", "time"],
                   [[name, f"{median(runs, 'real_time') / 1000:.2f} µs"]
                    for name, runs in sorted(operations.items())])
    return "\n".join(parts), all(holds for _, _, holds in promised)


def write_document(document, text):
    content = document.read_text()
    before, rest = content.split(START)
    document.write_text(f"{before}{START}\n{text}{END}{rest.split(END)[1]}")


def draw(processes, picture):
    blocks = "".join(
        f"${name.replace('-', '_')} << EOD\n"
        + "".join(f"{size} {cost(processes, name, size) / 1000}\n" for size in SIZES) + "EOD\n"
        for name, _, _ in LINES)
    plots = ", ".join(
        f"${name.replace('-', '_')} with linespoints lw 2 pt 7 lc rgb '{colour}' title '{title}'"
        for name, title, colour in LINES)
    subprocess.run(["gnuplot"], check=True, text=True, input=f"""
{blocks}
set terminal pngcairo size 900,560 font 'sans,12'
set output '{picture}'
set logscale xy
set format x '%.0f'
set format y '%g'
set xlabel 'installed copies'
set ylabel 'processor time of a launch (ms)'
set key top left reverse Left
set grid
set xrange [0.8:13000]
plot {plots}
""")


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    results, docs = map(pathlib.Path, sys.argv[1:])
    processes = samples(results / "processes.json")
    text, holds = figures(processes, samples(results / "operations.json"),
                          library_facts(results / "library.txt"))
    write_document(docs / "performance.md", text)
    draw(processes, docs / "performance.png")
    print(text)
    if not holds:
        sys.exit("bench/report.py: a promise does not hold; see the table above.")


if __name__ == "__main__":
    main()

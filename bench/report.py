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
# The lines of the plot, from the highest to the lowest.
COLOURS = {"script": "#888888", "launcher": "#c0392b", "baseline": "#2c3e50"}
REPORTS = {"inspect-text": "text report", "inspect-json": "JSON report"}
PROGRAMS = {"launcher": "launch", "baseline": "baseline", "script": "script", **REPORTS}
START, END = "<!-- figures -->", "<!-- end of figures -->"


def samples(file):
    """Per benchmark its single runs, without the aggregates."""
    runs = {}
    for run in json.loads(file.read_text())["benchmarks"]:
        if run["run_type"] == "iteration":
            name = re.sub(r"/(iterations|repeats|manual_time).*", "", run["name"])
            runs.setdefault(name, []).append(run)
    return runs


def median(runs):
    return statistics.median(run["real_time"] for run in runs)


def cost(processes, program, size):
    """Microseconds of processor time."""
    return median(processes[f"{program}/{size}"])


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


def cost_table(processes):
    rows = []
    for size in SIZES:
        own, *others = (cost(processes, program, size) for program in PROGRAMS)
        rows.append([f"{size:,}", shown(own),
                     *(f"{shown(other)} ({other / own:.3g})" for other in others)])
    return table(["copies", *PROGRAMS.values()], rows)


def costs_per_copy(processes, program):
    """Microseconds per copy in homes of 100 to 10,000 copies, and by how much they differ."""
    least = cost(processes, program, 1)
    costs = [(cost(processes, program, size) - least) / (size - 1) for size in (100, 1000, 10000)]
    return costs, max(costs) / min(costs) - 1


def checks(processes, operations, size):
    """What is promised: text, measured value, whether it holds."""
    own = cost(processes, "launcher", 100)
    baseline = own / cost(processes, "baseline", 100)
    added = cost(processes, "launcher", 5) - cost(processes, "baseline", 5)
    script = cost(processes, "script", 100) / own
    held = {memory: median(operations[f"startRequest/{memory}"]) / 1000 for memory in (10, 1024)}
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


def figures(processes, operations, size):
    promised = checks(processes, operations, size)
    parts = [f"Machine: {machine()}.", ""]
    parts += table(["promise", "measured", "holds"],
                   [[text, value, "yes" if holds else "no"] for text, value, holds in promised])
    parts += ["Processor time, medians; in brackets, how many times a launch's:", ""]
    parts += cost_table(processes)
    return "\n".join(parts), all(holds for _, _, holds in promised)


def write_document(document, text):
    content = document.read_text()
    before, rest = content.split(START)
    document.write_text(f"{before}{START}\n{text}{END}{rest.split(END)[1]}")


def draw(processes, picture):
    blocks = "".join(
        f"${name} << EOD\n"
        + "".join(f"{size} {cost(processes, name, size) / 1000}\n" for size in SIZES) + "EOD\n"
        for name in COLOURS)
    plots = ", ".join(
        f"${name} with linespoints lw 2 pt 7 lc rgb '{colour}' title '{PROGRAMS[name]}'"
        for name, colour in COLOURS.items())
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
                          (results / "stripped").stat().st_size)
    write_document(docs / "performance.md", text)
    draw(processes, docs / "performance.png")
    print(text)
    if not holds:
        sys.exit("bench/report.py: a promise does not hold; see the table above.")


if __name__ == "__main__":
    main()

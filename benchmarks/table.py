#!/usr/bin/env python3
"""Sets our time beside every other's, as a Markdown table, from the results of scripts/bench.sh.

Usage: table.py [--page <file>] <directory of results>
The directory holds JSON of Google Benchmark and text lines "<case> <time> <unit>". --page writes the
table into that file below a head with machine and versions, and keeps what the file holds from the
line KEPT on.
"""

import argparse
import datetime
import json
import pathlib
import platform
import re
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}

# Debian packages that the figures depend on, by regular expression of their names.
PACKAGES = (
    r"libopenblas0-pthread|liblapack3|libcminpack1|libbenchmark1debian|libceres-dev|libdlib-dev"
    r"|libeigen3-dev|libgsl27|libopen3d-dev|libopencv-core\d+|libpcl-dev|libqhull-r8.0|python3-scipy"
)

HEAD = """# Performance {{#performance}}

Medians of the processor time of seven repetitions in random order, everybody in one thread; a
ratio below 1 means that this library is faster. The goal, where there is one, is the ratio that a
change must keep below (benchmarks/goals.txt); a ratio above its goal stands in **bold**. Each case
checks its result; data are handed over, in the form that each library takes them in, before the
clock starts. `LAPACK`, `dgemm` and `cminpack` are the same routines called by hand, `Eigen` its
dynamic types and `Eigen fixed` those of compile-time size, `by hand` a loop over packed data.

- Machine: {cpu}, {cores} cores
- System: {system}; {compiler}; CMake's Release flags, baseline instructions of the architecture
- Versions: {versions}
- Command: `scripts/bench.sh`, {date}
"""

KEPT = "## Where a goal is missed, and why"


def read_results(directory):
    """Time in nanoseconds of every case that ran without an error, in the order of the sources."""
    times = {}
    for path in sorted(directory.glob("*.json")):
        cases = json.loads(path.read_text() or '{"benchmarks": []}')["benchmarks"]
        for case in sorted(cases, key=place):
            if case.get("error_occurred"):
                print(f"{case['name']}: {case['error_message']}", file=sys.stderr)
            elif case["aggregate_name"] == "median":
                times[split(case["run_name"])] = case["cpu_time"] * NANOSECONDS[case["time_unit"]]
    for path in sorted(directory.glob("*.txt")):
        for line in path.read_text().splitlines():
            name, time, unit = line.rsplit(maxsplit=2)
            times[split(name)] = float(time) * NANOSECONDS[unit]
    return times


def place(case):
    return case["family_index"], case["per_family_instance_index"]


def read_goals():
    goals = {}
    for line in (HERE / "goals.txt").read_text().splitlines():
        if line and not line.startswith("#"):
            name, ratio = line.rsplit(maxsplit=1)
            goals[split(name)] = float(ratio)
    return goals


def split(case):
    """Work, who and size of a case <work>/<who>[/<size>...]; argument names in the size fall away."""
    work, who, *sizes = case.split("/")
    return work, who, tuple(re.sub(r"^.*:", "", size) for size in sizes)


def with_unit(nanoseconds):
    for unit, factor in (("ns", 1.0), ("µs", 1e3), ("ms", 1e6)):
        if nanoseconds < 999.5 * factor:
            break
    return f"{nanoseconds / factor:#.3g}".rstrip(".") + f" {unit}"


def table(times, goals):
    yield "| Work | Size | Ours | Other | Time | Ratio | Goal |"
    yield "|---|---|--:|---|--:|--:|--:|"
    for (work, who, size), time in times.items():
        if who != "ours":
            continue
        ours = f"| {work} | {' x '.join(size)} | {with_unit(time)} |"
        others = [case for case in times if case[0::2] == (work, size) and case[1] != "ours"]
        for other in others:
            ratio = time / times[other]
            goal = goals.get(other, "")
            text = f"{ratio:.2f}" if ratio > 0.095 else f"{ratio:.1g}"
            if goal and ratio > goal:
                text = f"**{text}**"
            yield f"{ours} {other[1]} | {with_unit(times[other])} | {text} | {goal} |"
        if not others:
            yield f"{ours} | | | |"


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=False).stdout


def versions():
    listing = output_of("dpkg-query", "-W", "-f", "${Package} ${Version}\n")
    return ", ".join(line for line in listing.splitlines() if re.match(rf"({PACKAGES}) ", line))


def head():
    lscpu = output_of("lscpu")
    return HEAD.format(
        cpu=re.search(r"Model name:\s*(.*)", lscpu)[1],
        cores=re.search(r"CPU\(s\):\s*(\d+)", lscpu)[1],
        system=platform.freedesktop_os_release()["PRETTY_NAME"],
        compiler=output_of("c++", "--version").splitlines()[0],
        versions=versions(),
        date=datetime.date.today().isoformat(),
    )


def write_page(page, rows):
    old = page.read_text() if page.exists() else ""
    kept = KEPT + old.partition(KEPT)[2] if KEPT in old else ""
    page.write_text("\n".join([head(), *rows, "", kept]))
    print(f"Written: {page}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--page", type=pathlib.Path)
    parser.add_argument("results", type=pathlib.Path)
    arguments = parser.parse_args()

    times, goals = read_results(arguments.results), read_goals()
    rows = list(table(times, goals))
    if not arguments.page:
        print("\n".join(rows))
        return
    write_page(arguments.page, rows)
    for case in goals.keys() - times.keys():
        print(f"Not measured: {'/'.join([*case[:2], *case[2]])}", file=sys.stderr)


main()

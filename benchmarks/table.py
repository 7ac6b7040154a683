#!/usr/bin/env python3
"""Runs every row of tellar_bench in a separate process and prints the table.

scripts/bench.sh builds the program and starts this script; docs/performance.md explains the output.
The exit status is 0 if every row was measured, even if a row misses its target.
"""

import argparse
import json
import os
import platform
import re
import subprocess
import sys
from typing import NamedTuple, Optional

AIMED_AT_LEAVES = 1_000_000


class Row(NamedTuple):
    benchmark: str
    figure: str  # the counter of the benchmark; the yardstick's has "_tree" behind it
    label: str
    unit: str
    aim: Optional[float] = None
    higher_is_better: bool = False
    routes: Optional[tuple] = None  # None: whatever the benchmark is registered for
    aims: tuple = ()  # (route, aim) of routes that have an aim of their own

    def aim_of(self, route):
        return dict(self.aims).get(route, self.aim)

    def misses(self, value, route):
        aim = self.aim_of(route)
        if aim is None:
            return False
        return value < aim if self.higher_is_better else value > aim


ROWS = [
    Row("open", "root_ms", "open to the first location", "ms", 10),
    Row("open", "children_ms", "open to the children of /root/world", "ms", 10),
    Row("first_walk", "ns", "first walk, names and types", "ns/location", 350),
    Row("second_walk", "ns", "second walk, names and types", "ns/location", 90,
        aims=(("c_suite_4", 130),)),
    Row("read_first", "ns", "second walk, all attributes read first", "ns/location", 400),
    Row("read_attributes", "ns", "second walk, all attributes read", "ns/location", 320,
        aims=(("c_suite_4", 350),)),
    Row("world_of_leaves", "ns", "second walk, world matrix of each leaf", "ns/location", 300),
    Row("world_by_function", "ns", "the same by GetWorldMatrix", "ns/location", 300),
    Row("world_kept", "ns", "second walk, world matrices kept", "ns/location", 200),
    Row("jump", "ns", "getProducerByPath of random leaves", "ns/call", 1900),
    Row("child_by_name", "many_ns", "getChildByName among 100,000 children", "ns/call"),
    Row("child_of_few", "few_ns", "the same among 1,000", "ns/call"),
    Row("dotted_attribute", "ns", "getAttribute of a dotted path", "ns/call"),
    Row("global_attribute", "ns", "getGlobalAttribute five levels deep", "ns/call", 100),
    Row("points_to_ndc", "ns", "points of a mesh to NDC", "ns/point"),
    Row("points_to_ndc", "times", "the same, against a matrix product", "times", 3),
    Row("materials", "first_ns", "flattened materials of leaves, first", "ns/leaf", 600),
    Row("materials", "cached_ns", "flattened materials of leaves, again", "ns/leaf", 150),
    Row("own_materials", "own_ns", "flattened materials, each leaf its own", "ns/leaf"),
    Row("own_materials", "own_times", "the same, against building them by hand", "times", 2),
    Row("edit", "commit_us", "one transform edited, with change list", "us", 10_000),
    Row("edit", "read_us", "the changed location read", "us"),
    Row("edit_description", "commit_us", "one value edited in the description", "us", 10_000),
    Row("difference_files", "ms", "two op files compared, one edit", "ms"),
    Row("difference_files", "walks", "the same, in first walks", "walks", 2.5),
    Row("difference_shared", "ms", "two graphs with common ops compared, one edit", "ms"),
    Row("difference_shared", "walks", "the same, in first walks", "walks", 0.01),
    Row("two_threads", "first_times", "two threads, first walk", "times one", 1.8, True),
    Row("two_threads", "second_times", "two threads, second walk", "times one", 1.9, True),
    Row("two_threads", "cooks", "two threads, cooks", "cooks"),
    Row("visit_alone", "ns", "visit by one thread, names and types", "ns/location"),
    Row("visit_at_once", "ns", "visit by two threads at once", "ns/location"),
    Row("visit_in_order", "ns", "visit in order, one thread cooks ahead", "ns/location"),
    Row("gather", "one_ms", "leaves gathered into arrays by one thread", "ms"),
    Row("gather", "two_ms", "the same by two threads", "ms"),
    Row("memory", "open_bytes", "resident after open", "B/location"),
    Row("memory", "walked_bytes", "resident after the first walk", "B/location", 120),
    Row("memory", "dropped_bytes", "resident, all producers dropped", "B/location"),
    Row("memory", "thread_bytes", "resident for one more thread", "B/location", 100,
        routes=("thread_aware",)),
    Row("two_scenes", "two_bytes", "resident, two scenes one after the other", "B/location", 132),
    Row("array", "ns", "array scene, first walk", "ns/location"),
    Row("array", "bytes", "array scene, resident", "B/location"),
    Row("write_op_file", "mb_per_s", "write an op file", "MB/s", higher_is_better=True),
    Row("read_op_file", "mb_per_s", "read an op file", "MB/s", higher_is_better=True),
    Row("compressed_walk", "ns", "first walk of a compressed file", "ns/location"),
    Row("compressed_walk", "walks", "the same, in first walks of the plain file", "walks", 2),
    Row("compressed_walk", "plain_bytes", "size of the plain op file", "B/leaf", 420),
    Row("compressed_walk", "compressed_bytes", "size of the compressed op file", "B/leaf", 200),
    Row("primary_rays", "mrays", "primary rays of lantern", "M rays/s", higher_is_better=True),
    Row("primary_rays", "percent", "the same, of the bare loop", "%", 60, True),
    Row("path_rays", "mrays", "rays of whole paths of lantern", "M rays/s", higher_is_better=True),
    Row("path_rays", "percent", "the same, of the bare loop", "%", 40, True),
    Row("first_pixel", "read_ms", "scene read by lantern", "ms"),
    Row("first_pixel", "pixel_ms", "first pixel of lantern", "ms", 3000),
    Row("first_pixel", "processor_ms", "the same, processor time of two threads", "ms"),
    Row("first_pixel", "instance_bytes", "memory of an instance in lantern", "B"),
]


class BenchError(Exception):
    def __init__(self, message, exit_code=1):
        super().__init__(message)
        self.exit_code = exit_code


class Bench:
    """The program, at one size of the scene."""

    def __init__(self, program, scenes, leaves):
        self.command = [program, "--leaves", str(leaves), "--scenes", scenes]
        self.scenes = scenes
        self.leaves = leaves

    def run(self, what, *arguments):
        done = subprocess.run([*self.command, *arguments], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True, check=False)
        if done.returncode != 0:
            code = done.returncode if done.returncode > 0 else 1
            raise BenchError(f"{what} failed with status {done.returncode}\n{done.stderr.strip()}",
                             code)
        return done.stdout

    def prepare(self):
        self.run("making the scenes", "--prepare")

    def fill_cache(self):
        """Reads the files, so that they are in the system's cache."""
        for name in os.listdir(self.scenes):
            if f"_{self.leaves}_" not in name:
                continue
            with open(os.path.join(self.scenes, name), "rb", buffering=0) as file:
                while file.read(1 << 22):
                    pass

    def list_names(self):
        """(benchmark, route) in the program's order; the route is "" if there is none."""
        listed = self.run("listing the rows", "--benchmark_list_tests").split()
        parts = [name.split("/iterations:")[0].split("/") for name in listed]
        return [(part[0], part[1] if len(part) > 1 else "") for part in parts]

    def measure(self, benchmark, route):
        """The counters of one run and the program's description of its build."""
        name = f"{benchmark}/{route}" if route else benchmark
        self.fill_cache()
        output = self.run(name, f"--benchmark_filter=^{re.escape(name)}/iterations:",
                          "--benchmark_format=json")
        report = json.loads(output)
        if len(report["benchmarks"]) != 1 or report["benchmarks"][0].get("error_occurred"):
            raise BenchError(f"{name} was not measured\n{output}")
        return report["benchmarks"][0], report["context"]


def rows_of(benchmark, route):
    return [row for row in ROWS
            if row.benchmark == benchmark and (row.routes is None or route in row.routes)]


def take_figures(report, benchmark, route):
    """{row: (library, tree or None)} of one run's counters."""
    figures = {}
    for row in rows_of(benchmark, route):
        if row.figure not in report:
            raise BenchError(f"{benchmark}/{route} did not report {row.figure}")
        figures[row] = (report[row.figure], report.get(row.figure + "_tree"))
    if not figures:
        raise BenchError(f"{benchmark}/{route} is no row of the table")
    return figures


def printed_run(row, runs):
    """(library, tree) of one run: for times and rays, the run with the fastest tree, in which the
    machine had the least other load; for other figures, the run with the library's median."""
    if row.unit.startswith("ns/") and all(tree for _, tree in runs):
        return min(runs, key=lambda run: run[1])
    if row.unit == "M rays/s":
        return max(runs, key=lambda run: run[1])
    return sorted(runs, key=lambda run: run[0])[(len(runs) - 1) // 2]


def show_progress(text):
    if sys.stderr.isatty():
        print(f"\r\033[K{text}", end="", file=sys.stderr, flush=True)


def measure_all(bench, run_count, wanted):
    """{(row, route): (library, tree)} in the table's order, and the program's context."""
    bench.prepare()
    names = [name for name in bench.list_names() if wanted.search("/".join(name))]
    if not names:
        raise BenchError(f"no row matches {wanted.pattern!r}")
    runs = {}
    context = {}
    # All rows once, then all again, so that a slow minute of the machine does not affect one row only.
    for run in range(run_count):
        for benchmark, route in names:
            show_progress(f"run {run + 1} of {run_count}: {benchmark} {route}")
            report, context = bench.measure(benchmark, route)
            for row, figures in take_figures(report, benchmark, route).items():
                runs.setdefault((row, route), []).append(figures)
    show_progress("")
    table = {}
    for row in ROWS:
        for benchmark, route in names:
            if (row, route) in runs and benchmark == row.benchmark:
                table[row, route] = printed_run(row, runs[row, route])
    return table, context


def number(value):
    if value is None:
        return "-"
    digits = 2 if abs(value) < 10 else 1 if abs(value) < 100 else 0
    return f"{value:,.{digits}f}"


def aim_text(row, route):
    aim = row.aim_of(route)
    return "-" if aim is None else f"{aim:g}"


HEAD = ("work", "producers", "library", "bare tree", "ratio", "aim", "unit")
LEFT = (True, True, False, False, False, False, True)


def make_lines(table):
    lines = []
    for (row, route), (library, tree) in table.items():
        ratio = library / tree if tree else None
        lines.append((row.label, route.replace("_", "-") or "-", number(library), number(tree),
                      number(ratio), aim_text(row, route), row.unit))
    return lines


def print_plain(lines):
    widths = [max(len(line[i]) for line in [HEAD, *lines]) for i in range(len(HEAD))]

    def show(line):
        cells = (text.ljust(width) if left else text.rjust(width)
                 for text, width, left in zip(line, widths, LEFT))
        print("  ".join(cells).rstrip())

    show(HEAD)
    show(tuple("-" * width for width in widths))
    for line in lines:
        show(line)


def print_markdown(lines):
    print("| " + " | ".join(HEAD) + " |")
    print("|" + "|".join("---" if left else "--:" for left in LEFT) + "|")
    for line in lines:
        print("| " + " | ".join(line) + " |")


def print_missed(table, leaves):
    missed = [(row, route, library) for (row, route), (library, _) in table.items()
              if row.misses(library, route)]
    note = "" if leaves == AIMED_AT_LEAVES else f" (set for {AIMED_AT_LEAVES:,} leaves)"
    print()
    if not missed:
        print(f"All aims{note} are reached at {leaves:,} leaves.")
        return
    print(f"Aims{note} missed at {leaves:,} leaves:")
    print()
    for row, route, library in missed:
        side = "at least" if row.higher_is_better else "at most"
        where = f", {route.replace('_', '-')}" if route else ""
        print(f"- {row.label}{where}: {library:,.2f} {row.unit}, aim {side} {aim_text(row, route)}")


def ask_git(*arguments):
    try:
        done = subprocess.run(["git", *arguments], cwd=os.path.dirname(os.path.abspath(__file__)),
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                              check=False)
    except OSError:
        return None
    return done.stdout.strip() if done.returncode == 0 else None


def describe_commit():
    commit = ask_git("rev-parse", "--short=12", "HEAD")
    if commit is None:
        return "unknown"
    return commit + (" with local changes" if ask_git("status", "--porcelain") else "")


def describe_cpu():
    with open("/proc/cpuinfo", encoding="utf-8") as info:
        names = [line.split(":", 1)[1].strip() for line in info if line.startswith("model name")]
    return names[0] if names else platform.machine()


def print_head(context, run_count, load):
    print(f"commit {describe_commit()}; {context['compiler']}, release build; "
          f"{describe_cpu()}, {os.cpu_count()} cores, load {load:.1f} at the start; "
          f"of {run_count} runs")


def regular_expression(text):
    try:
        return re.compile(text)
    except re.error as error:
        raise argparse.ArgumentTypeError(f"{text!r} is no regular expression: {error}") from error


def parse_arguments():
    parser = argparse.ArgumentParser(prog="scripts/bench.sh",
                                     description="Measures the library and prints one table.")
    parser.add_argument("--bench", required=True, help=argparse.SUPPRESS)
    parser.add_argument("--scenes", required=True, metavar="DIR",
                        help="where the scene files are, or will be made")
    parser.add_argument("--leaves", type=int, action="append", metavar="N",
                        help="size of the scene; may be repeated (default: 100000 and 1000000)")
    parser.add_argument("--runs", type=int, default=5, metavar="K",
                        help="processes for every row; one of them is printed (default: 5)")
    parser.add_argument("--rows", type=regular_expression, default="", metavar="REGEX",
                        help="only these, by their names in tellar_bench, such as second_walk/sync")
    parser.add_argument("--markdown", action="store_true", help="print Markdown")
    arguments = parser.parse_args()
    if arguments.runs < 1:
        parser.error("--runs must be at least 1")
    return arguments


def main():
    arguments = parse_arguments()
    load = os.getloadavg()[0]
    for index, leaves in enumerate(arguments.leaves or [100_000, AIMED_AT_LEAVES]):
        bench = Bench(arguments.bench, arguments.scenes, leaves)
        table, context = measure_all(bench, arguments.runs, arguments.rows)
        if index == 0:
            print_head(context, arguments.runs, load)
        print(f"\n{'### ' if arguments.markdown else '== '}{leaves:,} leaves\n")
        (print_markdown if arguments.markdown else print_plain)(make_lines(table))
        print_missed(table, leaves)
        sys.stdout.flush()


if __name__ == "__main__":
    try:
        main()
    except BenchError as error:
        print(f"bench: {error}", file=sys.stderr)
        sys.exit(error.exit_code)

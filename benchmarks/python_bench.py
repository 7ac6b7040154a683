#!/usr/bin/env python3
"""Compares the Python module with C++ loops that do the same, in turn, and prints the ratios.

    PYTHONPATH=build/release/python build/python-environment/bin/python benchmarks/python_bench.py \\
        --bench build/release/bin/tellar_bench --scenes build/scenes [--leaves 1000000] [--rounds 5]

tellar_bench has to be built by the same build (-DTELLAR_BUILD_BENCHMARKS=ON). The scene is made if it
is not there. Both sides read a scene of which everything was computed before. Of every row, the
fastest of all rounds is printed. docs/performance.md says what was measured.
"""

from __future__ import annotations

import argparse
import json
import subprocess
import sys
import time
from collections.abc import Callable
from pathlib import Path
from typing import NamedTuple

import tellar

COLUMNS: dict[str, tellar.ColumnLike] = {
    "type": ...,
    "bound": "bound",
    "matrix": tellar.WORLD_MATRIX,
}
PASSES = 3  # of each row in a round


class Bench:
    """The program, at one size of the scene."""

    def __init__(self, program: Path, scenes: Path, leaves: int) -> None:
        self.command = [str(program), "--leaves", str(leaves), "--scenes", str(scenes)]
        subprocess.run([*self.command, "--prepare"], check=True)
        self.scene = next(scenes.glob(f"scene_{leaves}_v*.oxop"))

    def rows(self) -> dict[str, float]:
        """Times of the loops in C++, by the names of the rows."""
        rows = ("gather/thread_aware", "second_walk/thread_aware")
        arguments = ["--benchmark_filter=" + "|".join(rows), "--benchmark_format=json"]
        done = subprocess.run([*self.command, *arguments], check=True, stdout=subprocess.PIPE)
        found = {row["name"]: row for row in json.loads(done.stdout)["benchmarks"]}
        gather, walk = (next(found[name] for name in found if name.startswith(row))
                        for row in rows)
        return {
            "table, one thread": gather["one_ms"],
            "table, two threads": gather["two_ms"],
            "table, one thread, processor": gather["one_processor_ms"],
            "table, two threads, processor": gather["two_processor_ms"],
            "walk, names": walk["ns"],
        }


class Times(NamedTuple):
    """The least of all passes, in seconds; results are freed outside of them."""

    elapsed: float
    processor: float  # of all threads; it hardly depends on what else the machine does

    @staticmethod
    def of(work: Callable[[], object]) -> Times:
        best = Times(float("inf"), float("inf"))
        for _ in range(PASSES):
            begin = Times(time.perf_counter(), time.process_time())
            result = work()
            best = Times(min(best.elapsed, time.perf_counter() - begin.elapsed),
                         min(best.processor, time.process_time() - begin.processor))
            del result
        return best


def count_names(scene: tellar.Scene, threads: int) -> int:
    count = 0
    for location in scene.walk(threads=threads):
        location.name
        count += 1
    return count


def python_rows(scene: tellar.Scene, locations: int) -> dict[str, float]:
    def table(threads: int) -> Times:
        return Times.of(
            lambda: scene.table("/root/world/**", COLUMNS, types=["polymesh"], threads=threads))

    def walk(threads: int) -> Times:
        return Times.of(lambda: count_names(scene, threads))

    one, two = table(1), table(2)
    return {
        "table, one thread": 1e3 * one.elapsed,
        "table, two threads": 1e3 * two.elapsed,
        "table, one thread, processor": 1e3 * one.processor,
        "table, two threads, processor": 1e3 * two.processor,
        "walk, names": 1e9 / locations * walk(1).elapsed,
        "walk, names, two threads": 1e9 / locations * walk(2).elapsed,
    }


def keep_fastest(best: dict[str, float], rows: dict[str, float]) -> None:
    for name, figure in rows.items():
        best[name] = min(figure, best.get(name, figure))


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--bench", type=Path, required=True, help="the program tellar_bench")
    parser.add_argument("--scenes", type=Path, required=True, help="the folder of the scene files")
    parser.add_argument("--leaves", type=int, default=1_000_000)
    parser.add_argument("--rounds", type=int, default=5)
    options = parser.parse_args()
    bench = Bench(options.bench, options.scenes, options.leaves)
    scene = tellar.open(bench.scene)
    locations = len(scene.table("/root", {}))  # computes everything
    leaves = len(scene.table("/root", COLUMNS, types=["polymesh"]))
    if leaves != options.leaves:
        print(f"the table has {leaves} rows for {options.leaves} leaves", file=sys.stderr)
        return 1
    library: dict[str, float] = {}
    python: dict[str, float] = {}
    for _ in range(options.rounds):
        keep_fastest(library, bench.rows())
        keep_fastest(python, python_rows(scene, locations))
    print(f"{leaves:,} leaves, {locations:,} locations, the fastest of {options.rounds} rounds\n")
    print(f"{'':30} {'Python':>8} {'C++':>8} {'ratio':>6}")
    for name, figure in python.items():
        unit = "ms" if name.startswith("table") else "ns/location"
        loop = library.get(name, library["walk, names"])
        print(f"{name:30} {figure:8.0f} {loop:8.0f} {figure / loop:6.2f}  {unit}")
    return 0


if __name__ == "__main__":
    sys.exit(main())

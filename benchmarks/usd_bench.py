"""How many prims a second an import of USD reads, by one process and by several, and how that
compares with USD's own calls:

    PYTHONPATH=build/release/python build/python-environment/bin/python benchmarks/usd_bench.py \
        [--prims 20000] [--rounds 3] [--jobs N] [--profile]

The stage has groups of 100 meshes of one quad each, with a transform, an extent and a display color;
it is written as .usdc first, and opened again in each round. Times are those of processors, for
several processes that of the busiest one: on a machine that has nothing else to do, this is how long
one waits. Other programs keep the processes from sharing the work well.
"""

from __future__ import annotations

import argparse
import cProfile
import pstats
import resource
import tempfile
import time
from collections.abc import Callable
from pathlib import Path

from pxr import Gf, Usd, UsdGeom

import tellar
import tellar.usd
from tellar.usd.workers import processors

POINTS = [(-1, 0, -1), (1, 0, -1), (1, 0, 1), (-1, 0, 1)]
GROUP = 100  # meshes


def write_stage(path: Path, prims: int) -> None:
    stage = Usd.Stage.CreateNew(str(path))
    UsdGeom.SetStageUpAxis(stage, UsdGeom.Tokens.y)
    UsdGeom.SetStageMetersPerUnit(stage, 1)
    for index in range(prims):
        group = f"/world/group_{index // GROUP}"
        if index % GROUP == 0:
            UsdGeom.Xform.Define(stage, group)
            continue
        mesh = UsdGeom.Mesh.Define(stage, f"{group}/mesh_{index}")
        mesh.CreatePointsAttr(POINTS)
        mesh.CreateFaceVertexCountsAttr([4])
        mesh.CreateFaceVertexIndicesAttr([0, 1, 2, 3])
        mesh.CreateExtentAttr([(-1, 0, -1), (1, 0, 1)])
        mesh.CreateDisplayColorAttr([(1, 0, 0)])
        mesh.AddTransformOp().Set(Gf.Matrix4d().SetTranslate((index % 7, 0, index % 11)))
    stage.Save()


def read_with_usd(path: Path) -> int:
    """The least that an import has to ask USD for: every authored value and every transform."""
    stage = Usd.Stage.Open(str(path))
    count = 0
    for prim in stage.Traverse():
        count += 1
        for attribute in prim.GetAuthoredAttributes():
            attribute.Get()
            attribute.ValueMightBeTimeVarying()
        UsdGeom.Xformable(prim).GetLocalTransformation()
    return count


def best_seconds(work: Callable[[], object], rounds: int) -> float:
    """The least processor time of all rounds, which other programs disturb least."""
    seconds = []
    for _ in range(rounds):
        start = time.process_time()
        work()
        seconds.append(time.process_time() - start)
    return min(seconds)


def busiest_seconds(work: Callable[[], object], others: int, rounds: int) -> tuple[float, float]:
    """The least processor time of this process or of the mean other one, whichever took more; and
    the least time by the clock."""
    busiest, clock = [], []
    for _ in range(rounds):
        start, begin, before = time.process_time(), time.perf_counter(), seconds_of_children()
        work()
        clock.append(time.perf_counter() - begin)
        own = time.process_time() - start
        busiest.append(max(own, (seconds_of_children() - before) / others))
    return min(busiest), min(clock)


def seconds_of_children() -> float:
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--prims", type=int, default=20_000)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--jobs", type=int, default=min(processors(), 8))
    parser.add_argument("--profile", action="store_true")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "stage.usdc"
        write_stage(path, options.prims)
        usd = best_seconds(lambda: read_with_usd(path), options.rounds)
        whole = best_seconds(lambda: tellar.usd.import_usd(path, jobs=1), options.rounds)
        several = clock = 0.0
        if options.jobs > 1:
            several, clock = busiest_seconds(
                lambda: tellar.usd.import_usd(path, jobs=options.jobs),
                options.jobs - 1,
                options.rounds,
            )
        if options.profile:
            profiler = cProfile.Profile()
            profiler.runcall(tellar.usd.import_usd, path, jobs=1)
            pstats.Stats(profiler).sort_stats("tottime").print_stats(25)
    print(f"{usd / options.prims * 1e6:10.1f} us a prim for USD's own calls alone")
    report("one process", options.prims, whole, usd)
    if options.jobs > 1:
        report(f"{options.jobs} processes", options.prims, several, usd)
        print(f"{clock:10.2f} s by the clock")


def report(title: str, prims: int, seconds: float, usd: float) -> None:
    print(f"{title}:")
    print(f"{prims / seconds:10,.0f} prims a second")
    print(f"{seconds / prims * 1e6:10.1f} us a prim")
    print(f"{seconds / usd:10.2f} times USD's own calls")


if __name__ == "__main__":
    main()

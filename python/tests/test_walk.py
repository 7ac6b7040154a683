"""Scene.walk: locations one by one, computed ahead by other threads or when Python asks."""

from __future__ import annotations

import gc
import json
import threading
import time
from collections.abc import Callable
from pathlib import Path

import pytest

import tellar

THREADS = [1, 2, 5]
PATHS_OF_DAMAGED = ["/root", "/root/world", "/root/world/a", "/root/world/a/k", "/root/world/z"]
ERRORS_OF_DAMAGED = ["/root/world/bad", "/root/materials"]


def write(path: Path, *ops: dict[str, object]) -> Path:
    path.write_text(json.dumps({"ops": ops}))
    return path


@pytest.fixture
def wide(tmp_path: Path) -> tellar.Scene:
    """20,000 leaves, which is far more than threads compute ahead."""
    leaves = {f"k{j}": {"a": {"type": "leaf"}} for j in range(200)}
    groups = {f"g{i}": {"a": {"type": "group"}, "c": leaves} for i in range(100)}
    return tellar.open(write(tmp_path / "wide.json", {
        "name": "s", "type": "StaticScene", "args": {"location": "/root/world", "c": groups}}))


@pytest.fixture
def damaged(tmp_path: Path) -> tellar.Scene:
    return tellar.open(write(
        tmp_path / "damaged.json",
        {"name": "bad", "type": "SceneImport",
         "args": {"file": "missing.glb", "location": "/root/world/bad"}},
        {"name": "a", "type": "StaticScene",
         "args": {"location": "/root/world/a", "c": {"k": {"a": {"v": 1}}}}},
        {"name": "z", "type": "StaticScene", "args": {"location": "/root/world/z"}},
        {"name": "all", "type": "Merge", "inputs": ["bad", "a", "z"]}))


def count_threads() -> int:
    for line in Path("/proc/self/status").read_text().splitlines():
        if line.startswith("Threads:"):
            return int(line.split()[1])
    raise RuntimeError("the system tells no number of threads")


def assert_threads(expected: int) -> None:
    """Joined threads stay in the system's count for a moment."""
    end = time.monotonic() + 10
    while count_threads() != expected and time.monotonic() < end:
        time.sleep(0.005)
    assert count_threads() == expected


@pytest.mark.parametrize("threads", THREADS)
def test_all_locations_come_in_the_order_of_the_tree(wide: tellar.Scene, threads: int) -> None:
    expected = ["/root", "/root/world"]
    for i in range(100):
        expected.append(f"/root/world/g{i}")
        expected += [f"/root/world/g{i}/k{j}" for j in range(200)]
    for _ in range(2):  # the second time everything is computed already
        assert [location.path for location in wide.walk(threads=threads)] == expected
    leaves = [location.path for location in wide.walk(types=["leaf"], threads=threads)]
    assert leaves == [path for path in expected if "/k" in path]
    groups = [location.path for location in wide.walk("/root/world/g*", threads=threads)]
    assert groups == [f"/root/world/g{i}" for i in range(100)]


@pytest.mark.parametrize("threads", THREADS)
def test_an_error_is_raised_and_the_walk_goes_on(damaged: tellar.Scene, threads: int) -> None:
    walk = damaged.walk(threads=threads)
    paths = []
    errors = []
    while True:
        try:
            paths.append(next(walk).path)
        except StopIteration:
            break
        except tellar.FileError as error:
            errors.append(error.location)
    assert paths == PATHS_OF_DAMAGED
    assert errors == ERRORS_OF_DAMAGED
    with pytest.raises(StopIteration):
        next(walk)


@pytest.mark.parametrize("threads", THREADS)
def test_errors_may_go_to_a_function(damaged: tellar.Scene, threads: int) -> None:
    errors: list[tellar.Error] = []
    walk = damaged.walk(threads=threads, on_error=errors.append)
    assert [location.path for location in walk] == PATHS_OF_DAMAGED
    assert [error.location for error in errors] == ERRORS_OF_DAMAGED


def test_the_error_handler_may_end_the_walk(damaged: tellar.Scene) -> None:
    walk = damaged.walk(on_error=lambda error: walk.close())
    assert [location.path for location in walk] == ["/root", "/root/world"]


@pytest.mark.parametrize("threads", THREADS)
def test_threads_end_with_a_walk_that_is_abandoned(wide: tellar.Scene, threads: int) -> None:
    before = count_threads()
    walk = wide.walk(threads=threads)
    for _ in range(10):
        next(walk)
    if threads > 1:
        assert count_threads() > before
    del walk
    gc.collect()
    assert_threads(before)
    with wide.walk(threads=threads) as entered:
        next(entered)
    assert_threads(before)
    with pytest.raises(StopIteration):
        next(entered)


def test_threads_end_with_a_walk_that_was_not_begun(wide: tellar.Scene) -> None:
    before = count_threads()
    wide.walk(threads=4).close()
    assert_threads(before)


def test_locations_outlive_walk_and_scene(tmp_path: Path, wide: tellar.Scene) -> None:
    kept = [location for location in wide.walk(threads=2)]
    del wide
    gc.collect()
    assert kept[-1].path == "/root/world/g99/k199"
    parent = kept[-1].parent
    assert parent is not None and parent.type == "group"


def test_a_walk_is_for_one_thread_at_a_time(wide: tellar.Scene) -> None:
    """Whoever comes while another thread is inside gets an error, and nobody gets a wrong value."""
    walk = wide.walk(threads=2)
    paths: list[str] = []
    refused: list[tellar.Error] = []

    def take() -> None:
        while True:
            try:
                paths.append(next(walk).path)
            except StopIteration:
                return
            except tellar.BadCallError as error:
                refused.append(error)

    takers = [threading.Thread(target=take) for _ in range(4)]
    for taker in takers:
        taker.start()
    for taker in takers:
        taker.join()
    assert len(paths) == len(set(paths)) == 20102
    assert all("in use by another thread" in str(error) for error in refused)


def test_walks_leave_no_memory_behind(
    wide: tellar.Scene, damaged: tellar.Scene, resident_bytes: Callable[[], int]
) -> None:
    def walk() -> None:
        for threads in (1, 2):
            for location in wide.walk("/root/world/g1", threads=threads):
                location.name
            next(wide.walk(threads=threads))
            for location in damaged.walk(threads=threads, on_error=lambda error: None):
                location.name

    for _ in range(100):
        walk()
    before = resident_bytes()
    for _ in range(200):
        walk()
    assert resident_bytes() - before < 8 << 20

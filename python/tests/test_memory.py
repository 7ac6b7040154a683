"""The limit of what the process keeps in memory, and its statistics."""

from __future__ import annotations

import json
import threading
from collections.abc import Iterator
from pathlib import Path

import numpy as np
import pytest

import tellar


@pytest.fixture(autouse=True)
def _same_limit() -> Iterator[None]:
    limit = tellar.memory_limit()
    yield
    tellar.set_memory_limit(limit)


def test_the_limit_is_set_in_bytes_or_as_text() -> None:
    tellar.set_memory_limit(123 << 20)
    assert tellar.memory_limit() == 123 << 20
    tellar.set_memory_limit("1.5G")
    assert tellar.memory_limit() == 3 << 29
    tellar.set_memory_limit("unlimited")
    assert tellar.memory_limit() == 2**64 - 1


def test_what_is_no_size_is_refused() -> None:
    limit = tellar.memory_limit()
    with pytest.raises(tellar.InvalidValueError, match='"2X" is no size'):
        tellar.set_memory_limit("2X")
    with pytest.raises(TypeError):
        tellar.set_memory_limit(-1)
    assert tellar.memory_limit() == limit


def test_statistics_tell_the_limit_and_what_caches_keep() -> None:
    tellar.set_memory_limit("64M")
    tellar.reset_memory_statistics()
    statistics = tellar.memory_statistics()
    assert statistics["limit"] == 64 << 20
    assert statistics["reliefs"] == 0
    assert statistics["beyond_limit"] == 0
    assert statistics["bytes"] == sum(cache["bytes"] for cache in statistics["caches"].values())
    for cache in statistics["caches"].values():
        assert set(cache) == {"entries", "bytes", "peak", "hits", "misses", "drops"}
        assert cache["hits"] == cache["misses"] == cache["drops"] == 0


ROWS, LEAVES = 200, 40


@pytest.fixture
def scene(tmp_path: Path) -> tellar.Scene:
    """Leaves whose values take several times the least limit."""
    leaves = {f"k{j}": {"a": {"type": "leaf", "v": list(range(100))}} for j in range(LEAVES)}
    rows = {f"g{i}": {"a": {"type": "group"}, "c": leaves} for i in range(ROWS)}
    source = {"name": "s", "type": "StaticScene", "args": {"location": "/root/world", "c": rows}}
    move = {"name": "all", "type": "Transform", "inputs": ["s"],
            "args": {"paths": "/root/world/*/*", "translate": [1.0, 2.0, 3.0]}}
    file = tmp_path / "scene.json"
    file.write_text(json.dumps({"ops": [source, move]}))
    return tellar.open(file)


def all_values(scene: tellar.Scene, threads: int = 1) -> list[tuple[str, bytes]]:
    """The matrix of each location."""
    return [(location.path, location.local_matrix().tobytes())
            for location in scene.walk(threads=threads)]


def test_walks_of_several_threads_give_the_same_under_a_small_limit(scene: tellar.Scene) -> None:
    tellar.set_memory_limit("unlimited")
    expected = all_values(scene)
    assert len(expected) == 2 + ROWS * (LEAVES + 1)
    tellar.set_memory_limit(1)
    tellar.reset_memory_statistics()
    found: list[list[tuple[str, bytes]]] = []

    def walk() -> None:
        found.append(all_values(scene, threads=2))

    walkers = [threading.Thread(target=walk) for _ in range(4)]
    for walker in walkers:
        walker.start()
    while any(walker.is_alive() for walker in walkers):
        tellar.set_memory_limit("1M")  # beside the threads, and without waiting for them
        tellar.memory_statistics()
    assert found == [expected] * 4
    assert tellar.memory_statistics()["caches"]["results"]["drops"] > ROWS * LEAVES


def test_what_is_held_stays_when_memory_is_freed(scene: tellar.Scene) -> None:
    tellar.set_memory_limit("unlimited")
    held = list(scene.walk())
    values = [location["v"] for location in held if location.type == "leaf"]
    tellar.set_memory_limit(1)
    assert tellar.memory_statistics()["beyond_limit"] > 0
    assert all(list(value) == list(range(100)) for value in values)
    assert [location.path for location in held] == [path for path, _ in all_values(scene)]
    del held, values
    tellar.set_memory_limit(1)
    assert tellar.memory_statistics()["beyond_limit"] == 0


class RowsOfNumbers(tellar.OpType):
    """Two levels of rows, each with some numbers."""

    inputs = "none"

    def cook(self, location: tellar.CookContext) -> None:
        location.set_attributes({"type": "group", "user.numbers": np.arange(200.0),
                                 "user.path": location.path})
        if location.path.count("/") <= 2:
            location.set_children(f"row{i}" for i in range(30))


def test_op_types_in_python_compute_again_what_was_dropped() -> None:
    scene = tellar.ops.Transform(
        RowsOfNumbers(), paths="/root/**", translate=[1, 2, 3]).scene()
    expected = all_values(scene)
    tellar.set_memory_limit(1)
    tellar.reset_memory_statistics()
    found: list[bool] = []

    def walk() -> None:
        found.append(all(
            location["user.path"] == location.path and location["user.numbers"][199] == 199
            for location in scene.walk(threads=2)))

    walkers = [threading.Thread(target=walk) for _ in range(3)]
    for walker in walkers:
        walker.start()
    for walker in walkers:
        walker.join()
    assert found == [True] * 3
    assert tellar.memory_statistics()["caches"]["results"]["drops"] > 0
    assert all_values(scene) == expected

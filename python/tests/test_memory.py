"""The limit of what the process keeps in memory, and its statistics."""

from __future__ import annotations

import json
import threading
from collections.abc import Iterator
from pathlib import Path

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


ROWS, LEAVES = 100, 40


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
    return [(location.path, location.local_matrix().tobytes())
            for location in scene.walk("/root/world", types=["leaf"], threads=threads)]


def test_walks_of_several_threads_give_the_same_under_a_small_limit(scene: tellar.Scene) -> None:
    tellar.set_memory_limit("unlimited")
    expected = all_values(scene)
    assert len(expected) == ROWS * LEAVES
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
    held = list(scene.walk("/root/world", types=["leaf"]))
    values = [location["v"] for location in held]
    tellar.set_memory_limit(1)
    assert tellar.memory_statistics()["beyond_limit"] > 0
    assert all(list(value) == list(range(100)) for value in values)
    assert [location.path for location in held] == [path for path, _ in all_values(scene)]
    del held, values
    tellar.set_memory_limit(1)
    assert tellar.memory_statistics()["beyond_limit"] == 0

"""Attributes that Python makes, and their way back."""

from __future__ import annotations

import array
import gc
from collections.abc import Callable
from pathlib import PurePosixPath
from typing import Any

import numpy as np
import pytest

import tellar
from tellar import _tellar


def made(value: Any, **options: Any) -> tellar.Attribute:
    attribute = tellar.attribute(value, **options)
    assert isinstance(attribute, tellar.Attribute)
    return attribute


@pytest.mark.parametrize(
    ("value", "kind", "size"),
    [
        (True, "int", 1),
        (7, "int", 1),
        (2.5, "double", 1),
        (np.float32(2.5), "float", 1),
        ("text", "string", 1),
        (b"\xff\x00", "string", 1),
        (PurePosixPath("/a/b"), "string", 1),
        ([1, 2, 3], "int", 1),
        ([1, 2.5], "double", 1),
        ([[1.0, 2.0], [3.0, 4.0]], "double", 2),
        (["a", "b"], "string", 1),
        (np.zeros((5, 3), np.float32), "float", 3),
        (np.zeros((5, 3), np.float16), "float", 3),
        (np.zeros((2, 4, 4)), "double", 16),
        (np.arange(6, dtype=np.uint8), "int", 1),
        (np.arange(6, dtype=np.int64), "int", 1),
        (np.arange(6, dtype=">f8"), "double", 1),
        (np.array(["a", "bc"]), "string", 1),
        (np.array([True, False]), "int", 1),
        (array.array("d", [1, 2]), "double", 1),
        (None, "null", 0),
    ],
)
def test_values_become_attributes(value: Any, kind: str, size: int) -> None:
    attribute = made(value)
    assert (attribute.type, attribute.tuple_size) == (kind, size)


def test_values_come_back_as_they_were() -> None:
    points = np.arange(12, dtype=np.float32).reshape(4, 3)
    back = made(points).value
    assert isinstance(back, np.ndarray)
    assert back.dtype == points.dtype and np.array_equal(back, points)
    assert not back.flags.writeable
    strided = np.arange(24.0).reshape(4, 6)[:, ::2]
    assert np.array_equal(np.asarray(made(strided).value), strided)
    assert made("text").value == "text"
    assert made(["a", "b"]).value == ("a", "b")
    assert made([], type="string").value == ()
    assert made(b"\xff").value == "\udcff"
    assert made("\udcff") == made(b"\xff")
    assert made(None).value is None


def test_types_and_tuples_can_be_asked_for() -> None:
    assert made([1, 2, 3], type="float", tuple_size=3).value.shape == (1, 3)
    assert made([1.0, 2.0], type="int").type == "int"
    with pytest.raises(ValueError, match="fraction"):
        made(1.5, type="int")
    with pytest.raises(ValueError, match="tuples of 2"):
        made([1, 2, 3], tuple_size=2)
    with pytest.raises(ValueError, match="no type"):
        made(1, type="matrix")
    with pytest.raises(TypeError, match="strings"):
        made(1, type="string")
    with pytest.raises(TypeError, match="numbers"):
        made("a", type="float")
    with pytest.raises(ValueError, match="at least 1"):
        made(1, tuple_size=-1)


@pytest.mark.parametrize("value", [object(), 1j, [object()], np.array([1j]), [[1], [1, 2]]])
def test_other_values_are_refused(value: Any) -> None:
    with pytest.raises((TypeError, ValueError)):
        tellar.attribute(value)


@pytest.mark.parametrize(
    "value", [2**31, -(2**31) - 1, 2**80, [2**40], np.array([2**31], dtype=np.uint32)]
)
def test_integers_of_more_bits_are_refused(value: Any) -> None:
    with pytest.raises(OverflowError):
        tellar.attribute(value)


def test_time_samples() -> None:
    moving = tellar.samples({1: [2.0, 4.0, 6.0], 0: [0.0, 0.0, 0.0]}, tuple_size=3)
    assert moving.times == [0.0, 1.0]
    assert np.array_equal(np.asarray(moving.sample(0.9)), [[2, 4, 6]])
    assert np.array_equal(np.asarray(moving.interpolated(0.5)), [[1, 2, 3]])
    assert list(moving.samples) == [0.0, 1.0]
    assert "2 samples" in repr(moving)
    names = tellar.samples({0: "a", 1: "b"})
    assert names.interpolated(1) == "b"
    for wrong in ({}, {0: [1], 1: [1, 2]}, {0: 1, 1: 2.5}, {0: None}, {0: {"a": 1}}):
        with pytest.raises((TypeError, ValueError, tellar.Error)):
            tellar.samples(wrong)  # type: ignore[arg-type]


def test_groups_are_mappings() -> None:
    group = tellar.group({"a.b": 1, "c": {"d": "x"}, "e": np.zeros(2)})
    assert list(group) == group.keys() == ["a", "c", "e"]
    assert len(group) == 3
    assert group["c.d"] == "x" and group["a"]["b"] == [1]
    assert "a.b" in group and "z" not in group and 1 not in group
    assert group.get("z") is None and group.get("z", 5) == 5
    assert isinstance(group.attribute("c"), tellar.Group)
    assert group.attribute("z") is None
    assert group.to_dict()["c"] == {"d": "x"}
    assert [name for name, _ in group.items()] == list(group)
    assert len(group.values()) == 3
    assert group.inherits and not tellar.group({}, inherit=False).inherits
    assert repr(group) == "<Group {a, c, e}>"
    assert tellar.group(group.to_dict()) == group
    with pytest.raises(tellar.NotFoundError):
        group["z"]
    with pytest.raises(TypeError):
        tellar.group({1: 2})  # type: ignore[dict-item]
    with pytest.raises(TypeError):
        tellar.group([1])  # type: ignore[arg-type]


def test_equal_content_is_equal() -> None:
    assert made([1, 2]) == made(np.array([1, 2]))
    assert hash(made("a")) == hash(made("a"))
    assert made(1) != made(1.0)
    assert made(1) != 1
    assert len(made(1).hash) == 32
    assert made([1, 2]).to_json(indent=-1) == "[1, 2]"


def test_views_keep_their_memory() -> None:
    views = [made(np.full(1000, i, dtype=np.float64)).value for i in range(100)]
    gc.collect()
    assert all((np.asarray(view) == i).all() for i, view in enumerate(views))


def test_making_attributes_does_not_grow(resident_bytes: Callable[[], int]) -> None:
    array = np.zeros((100, 3), np.float32)

    def make(times: int) -> None:
        for _ in range(times):
            tellar.group({"a": array, "b.c": "text", "d": [1, 2]})["a"]

    make(2000)
    before = resident_bytes()
    make(100_000)
    assert resident_bytes() - before < 8 << 20


def test_streams_hold_groups() -> None:
    group = tellar.group({"a": 1, "b": {"c": [1.0, 2.0], "d": "text"}}, inherit=False)
    stream = _tellar.stream_of(group)
    assert _tellar.group_of_stream(stream) == group
    for damaged in (stream[:-1], stream[:10], stream + b"0", b"no stream"):
        with pytest.raises(tellar.FileError):
            _tellar.group_of_stream(damaged)
    with pytest.raises(ValueError, match="no group"):
        _tellar.group_of_stream(b"")

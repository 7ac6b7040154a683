"""Reads values back from the text that ``to_json`` writes."""

from __future__ import annotations

import json
from typing import Any

import numpy as np

import tellar

_KINDS = {"int": np.int32, "float": np.float32, "double": np.float64}


def value_from_json(text: str) -> tellar.Attribute | tellar.Group:
    """The attribute or group of a text by ``Attribute.to_json`` or ``Group.to_json``.

    Raises ValueError for any other text, and for strings that are not UTF-8.
    """
    try:
        return _made(json.loads(text, parse_int=_whole))
    except (KeyError, TypeError, OverflowError) as error:
        raise ValueError(f"this is no attribute in JSON: {error}") from error


def _whole(text: str) -> float:
    """An integer; floats are written without a fraction where they have none, also -0."""
    return -0.0 if text == "-0" else int(text)


def _made(value: Any) -> tellar.Attribute | tellar.Group:
    if not isinstance(value, dict):
        return _attribute(_array(value) if isinstance(value, list) else value)
    kind = value.get("$type")
    if kind is None:
        return tellar.group({name: _made(child) for name, child in value.items()})
    if kind == "group":
        return _group(value)
    if kind == "null":
        return _attribute(None)
    if kind == "string":
        return _strings(value)
    if "samples" in value:
        samples = {time: _numbers(kind, sample, value)
                   for time, sample in zip(value["times"], value["samples"])}
        return tellar.samples(samples)
    return _attribute(_numbers(kind, value["values"], value))


def _group(value: dict[str, Any]) -> tellar.Group:
    children = value["children"]
    if isinstance(children, list):
        raise ValueError("a group has names that are not UTF-8")
    # Names are taken as they are here, dots included.
    if any("." in name for name in children):
        raise ValueError("a group has names with dots")
    made = {name: _made(child) for name, child in children.items()}
    return tellar.group(made, inherit=value.get("inherit", True))


def _strings(value: dict[str, Any]) -> tellar.Attribute:
    if "samples" in value:
        return tellar.samples({time: tellar.attribute(sample, "string")
                               for time, sample in zip(value["times"], value["samples"])})
    return _attribute(value["values"], "string")


def _numbers(kind: str, values: list[Any], value: dict[str, Any]) -> Any:
    array = np.array(values, _KINDS[kind])  # takes "inf" and "nan" as well
    size = value.get("tuple", 1)
    return array.reshape(-1, size) if size > 1 and array.ndim == 1 else array


def _array(values: list[Any]) -> Any:
    if values and all(isinstance(one, str) for one in values):
        return values
    array = np.array(values)
    return array.astype(np.int32 if array.dtype.kind in "iu" else np.float64)


def _attribute(value: Any, kind: str = "") -> tellar.Attribute:
    attribute = tellar.attribute(value, kind)
    assert isinstance(attribute, tellar.Attribute)
    return attribute

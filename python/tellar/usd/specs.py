"""Writing prims into a layer, without a stage."""

from __future__ import annotations

from collections.abc import Callable
from typing import Any

import numpy as np
from pxr import Sdf, Vt

import tellar

Types = Sdf.ValueTypeNames
Convert = Callable[[Any], Any]


class PrimWriter:
    """Writes the properties of one prim."""

    def __init__(self, layer: Any, spec: Any) -> None:
        self.layer = layer
        self.spec = spec

    def put(self, name: str, kind: Any, value: Any) -> Any:
        """Writes a property that has a default value only."""
        prop = Sdf.AttributeSpec(self.spec, name, kind)
        prop.default = value
        return prop

    def uniform(self, name: str, kind: Any, value: Any, is_custom: bool = False) -> None:
        """Writes a property that cannot change with time."""
        prop = Sdf.AttributeSpec(self.spec, name, kind, Sdf.VariabilityUniform, is_custom)
        prop.default = value

    def sampled(self, name: str, kind: Any, values: dict[float, Any]) -> Any:
        """Writes values by time: a default value if there is only one at time 0."""
        prop = Sdf.AttributeSpec(self.spec, name, kind)
        if list(values) == [0.0]:
            prop.default = values[0.0]
            return prop
        for time, value in values.items():
            self.layer.SetTimeSample(prop.path, time, value)
        return prop

    def attribute(self, name: str, kind: Any, item: tellar.Attribute, convert: Convert) -> Any:
        """Writes an attribute with its time samples."""
        return self.sampled(name, kind, converted(item, convert))


def converted(item: tellar.Attribute, convert: Convert) -> dict[float, Any]:
    return {float(time): convert(value) for time, value in item.samples.items()}


def vectors(value: Any) -> Any:
    return Vt.Vec3fArray.FromNumpy(np.ascontiguousarray(value, np.float32).reshape(-1, 3))


def floats(value: Any) -> Any:
    return Vt.FloatArray.FromNumpy(np.ascontiguousarray(value, np.float32).reshape(-1))


def ints(value: Any) -> Any:
    return Vt.IntArray.FromNumpy(np.ascontiguousarray(value, np.int32).reshape(-1))


def numbers(group: Any, name: str) -> tellar.Attribute | None:
    """An attribute of numbers at a dotted name; None if it is anything else."""
    item = group.attribute(name)
    if isinstance(item, tellar.Attribute) and item.type in ("int", "float", "double"):
        return item
    return None


def array(group: Any, name: str) -> Any:
    """The numbers of an attribute in one row; None if there are none."""
    item = numbers(group, name)
    return None if item is None else np.asarray(item.value).reshape(-1)


def text(group: Any, name: str) -> str:
    """The text of an attribute; empty if there is none."""
    value = group.get(name)
    return value if isinstance(value, str) else ""

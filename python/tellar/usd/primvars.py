"""Primvars as attributes "geometry.arbitrary"."""

from __future__ import annotations

from collections.abc import Iterable
from dataclasses import dataclass
from functools import lru_cache
from typing import TYPE_CHECKING, Any

import numpy as np
from pxr import Vt

import tellar

from .calls import attribute_of, metadata_of, value_of, value_type_of
from .plain import keep_property, plain_value

if TYPE_CHECKING:
    from .context import ImportContext
    from .properties import Primvar

_SCOPES = {
    "constant": "primitive",
    "uniform": "face",
    "varying": "point",
    "vertex": "point",
    "faceVarying": "vertex",
}
_ROLES = {
    "texCoord": "point",
    "float": "vector",
    "double": "vector",
    "half": "vector",
    "int": "vector",
    "color": "color",
    "point": "point",
    "vector": "vector",
    "normal": "normal",
    "quat": "vector",
}
_SCALARS = {
    "float": "float",
    "double": "float",
    "half": "float",
    "int": "int",
    "uint": "int",
    "int64": "int",
    "uint64": "int",
    "uchar": "int",
    "bool": "int",
    "string": "string",
    "token": "string",
    "asset": "string",
}


def arbitrary_name(primvar: str) -> str:
    """The name below "geometry.arbitrary" of a primvar, given without "primvars:".

    `displayColor` is `color`, the name under which renderers look for the colours of shapes.
    """
    return "color" if primvar == "displayColor" else primvar


@lru_cache
def input_type_of(kind: Any) -> str:
    return input_type(str(kind))


def input_type(usd_type: str) -> str:
    """The "inputType" of a type such as "color3f": what the values are."""
    usd_type = usd_type.removesuffix("[]")
    if usd_type in _SCALARS:
        return _SCALARS[usd_type]
    if usd_type.startswith(("matrix", "frame")):
        return f"matrix{4 if usd_type.startswith('frame') else usd_type[6]}"
    name = usd_type.rstrip("hfdi")
    kind, size = name.rstrip("234"), name[-1]
    if kind == "quat" or size not in "234":
        size = "4"
    return _ROLES.get(kind, "vector") + size


# Arrays that are attributes as they are.
_ARRAYS = frozenset(
    (Vt.IntArray, Vt.FloatArray, Vt.Vec2fArray, Vt.Vec3fArray, Vt.Vec4fArray, Vt.DoubleArray)
)


class Elements:
    """How many elements of each scope a shape has, and what is done to values for them."""

    order: Any = None
    """The corners of faces in another order than the stage's; None for the same one."""
    varying_to_points: Any = None
    """For curves, a function from one value for each segment's end to one for each point."""
    pinned: Any = None
    """For curves, a function that adds values for the points that were added."""

    def __init__(self, faces: int, points: int, corners: int) -> None:
        self.faces = faces
        self.points = points
        self.corners = corners

    def count(self, scope: str) -> int:
        if scope == "face":
            return self.faces
        return self.points if scope == "point" else self.corners


def read_primvar(
    context: ImportContext,
    prim: Any,
    name: str,
    has_indices: bool,
    elements: Elements | None,
    interpolation: str | None = None,
) -> dict[str, Any] | None:
    """The entry of a primvar ("primvars:st") in "geometry.arbitrary".

    An attribute that is no primvar ("normals") needs its `interpolation`. None if there is no
    value, or not as many values as the shape has elements.
    """
    attribute = attribute_of(prim, name)
    kind = "vector3"
    if interpolation is None:
        interpolation = metadata_of(attribute, "interpolation") or "constant"
        kind = input_type_of(value_type_of(attribute))
    indices = attribute_of(prim, name + ":indices") if has_indices else None
    reading = Reading(attribute, indices, elements, interpolation)
    entry = {"scope": _SCOPES.get(interpolation, "primitive"), "inputType": kind}
    filled = reading.entry(context, entry, 1)
    if filled is None:
        size = metadata_of(attribute, "elementSize")  # how many values belong to one element
        if size and size > 1:
            filled = reading.entry(context, entry, size)
    return filled


@dataclass(slots=True)
class Reading:
    """A primvar that is being read."""

    attribute: Any
    indices: Any
    elements: Elements | None
    interpolation: str

    def entry(
        self, context: ImportContext, entry: dict[str, Any], size: int
    ) -> dict[str, Any] | None:
        """The entry with the values of all times; None if these do not fit."""
        if context.is_animated:
            codes = set(context.array_codes(self.attribute))
            if self.indices is not None:
                codes.update(context.array_codes(self.indices))
            if codes:
                return read_animated(context, self, sorted(codes), size, entry)
        return self.fill(entry, context.time_code, size)

    def fill(self, entry: dict[str, Any], time: Any, size: int) -> dict[str, Any] | None:
        value = values_of(value_of(self.attribute, time), size)
        if value is None:
            return None
        index = None if self.indices is None else value_of(self.indices, time)
        return fill(entry, value, index, self.elements, self.interpolation)

    def fill_flat(self, entry: dict[str, Any], time: Any, size: int) -> dict[str, Any] | None:
        """The same without an index."""
        value = values_of(value_of(self.attribute, time), size)
        index = None if self.indices is None else value_of(self.indices, time)
        if value is not None and index is not None:
            value = flat(value, index)
        if value is None:
            return None
        return fill({**entry}, value, None, self.elements, self.interpolation)


def read_animated(
    context: ImportContext, reading: Reading, codes: list[float], size: int, entry: dict[str, Any]
) -> dict[str, Any] | None:
    """An entry with time samples, for which the values are no longer indexed."""
    samples: dict[float, Any] = {}
    for code in codes:
        one = reading.fill_flat(entry, code, size)
        if one is None:
            return None
        samples[code] = one["value"]
    if len({np.shape(value) for value in samples.values()}) > 1:
        context.lose("attributes with a changing number of values", reading.attribute.GetPath())
        return reading.fill(entry, context.time_code, size)
    is_numeric = np.asarray(samples[codes[0]]).dtype.kind == "f"
    value = context.samples(samples, context.is_held or not is_numeric)
    return {**entry, "value": value}


def values_of(value: Any, size: int) -> Any:
    """Values in rows, one row an element; None where USD has none."""
    if value is None or (size <= 1 and type(value) in _ARRAYS):
        return value
    plain = plain_value(value)
    if isinstance(plain, str):
        return [plain]
    if isinstance(plain, (bool, int, float)):
        return np.array([plain], dtype=np.float32 if isinstance(plain, float) else np.int32)
    if isinstance(plain, tellar.Attribute):
        plain = plain.value
        plain = [plain] if isinstance(plain, str) else list(plain)
    if isinstance(plain, dict):
        return None
    array = plain
    if size > 1 and not isinstance(array, list):
        array = array.reshape(-1, size * (array.shape[1] if array.ndim > 1 else 1))
    return array


def flat(values: Any, index: Any) -> Any:
    """The values by their indices; None if one is out of range."""
    index = np.asarray(index)
    if index.size and (index.min() < 0 or index.max() >= len(values)):
        return None
    if isinstance(values, list):
        return [values[i] for i in index.tolist()]
    return np.asarray(values)[index]


def fill(
    entry: dict[str, Any], value: Any, index: Any, elements: Elements | None, interpolation: str
) -> dict[str, Any] | None:
    """Puts values into an entry if there are as many as there are elements.

    Leaves the entry as it is if not.
    """
    if index is not None and not len(index):
        index = None
    if elements is None:
        if entry["scope"] != "primitive":
            return None
        elements = Elements(0, 0, 0)
    if interpolation == "varying" and elements.varying_to_points is not None:
        value = flat(value, index) if index is not None else value
        value = None if value is None else elements.varying_to_points(value)
        index = None
        if value is None:
            return None
    count = len(value) if index is None else len(index)
    is_constant = entry["scope"] == "primitive"  # which may be an array of any length
    if not is_constant and count != elements.count(entry["scope"]):
        return None
    is_turned = elements.order is not None and entry["scope"] == "vertex"
    if elements.pinned is not None and entry["scope"] == "point":
        value = flat(value, index) if index is not None else value
        index = None
        value = None if value is None or isinstance(value, list) else elements.pinned(value)
        if value is None:
            return None
    if index is None:
        if is_turned:
            value = flat(value, elements.order)
        entry["value"] = texts(value)
        return entry
    index = np.asarray(index)
    if index.min() < 0 or index.max() >= len(value):
        return None
    entry["indexedValue"] = texts(value)
    entry["index"] = index[elements.order] if is_turned else index
    return entry


def texts(value: Any) -> Any:
    return tellar.attribute(value, "string") if isinstance(value, list) else value


def read_primvars(
    context: ImportContext,
    prim: Any,
    primvars: Iterable[Primvar],
    elements: Elements | None,
    usd: dict[str, Any],
) -> dict[str, Any]:
    """Reads primvars into entries by name, and keeps those that do not fit."""
    arbitrary: dict[str, Any] = {}
    for name, called, has_indices in primvars:
        entry = read_primvar(context, prim, name, has_indices, elements)
        if entry is not None:
            arbitrary[called] = entry
            context.count("primvars")
            continue
        if prim.GetAttribute(name).HasAuthoredValue():
            context.lose("primvars whose size does not fit the shape", name_of(prim, name))
        keep_property(context, prim, name, usd)
        if has_indices:
            keep_property(context, prim, name + ":indices", usd)
    return arbitrary


def name_of(prim: Any, name: str) -> str:
    return f"{prim.GetPath()}.{name}"

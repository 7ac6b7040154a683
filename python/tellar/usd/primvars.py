"""Primvars as attributes "geometry.arbitrary"."""

from __future__ import annotations

from functools import lru_cache
from typing import TYPE_CHECKING, Any

import numpy as np
from pxr import Vt

import tellar

from .plain import keep_property, plain_value

if TYPE_CHECKING:
    from .context import ImportContext

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
    """How many elements of each scope a shape has, for primvars and what is done to them.

    `order` lists the corners of faces in another order than the stage's; None for the same one.
    """

    __slots__ = ("corners", "faces", "order", "pinned", "points", "varying_to_points")

    def __init__(self, faces: int, points: int, corners: int) -> None:
        self.faces = faces
        self.points = points
        self.corners = corners
        self.order: Any = None
        self.varying_to_points: Any = None
        """For curves, a function from one value for each segment's end to one for each point."""
        self.pinned: Any = None
        """For curves, a function that adds values for the points that were added."""

    def count(self, scope: str) -> int:
        if scope == "primitive":
            return 1
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
    attribute = prim.GetAttribute(name)
    if interpolation is None:
        interpolation = attribute.GetMetadata("interpolation") or "constant"
    size = attribute.GetMetadata("elementSize") or 1 if name.startswith("primvars:") else 1
    entry: dict[str, Any] = {"scope": _SCOPES.get(interpolation, "primitive")}
    entry["inputType"] = input_type_of(attribute.GetTypeName())
    indices = prim.GetAttribute(name + ":indices") if has_indices else None
    if context.array_codes(attribute) or (indices and context.array_codes(indices)):
        return read_animated(context, attribute, indices, size, elements, interpolation, entry)
    value = values_of(attribute.Get(context.time_code), size)
    index = None if indices is None else indices.Get(context.time_code)
    if value is None:
        return None
    return fill(entry, value, index, elements, interpolation)


def read_animated(
    context: ImportContext,
    attribute: Any,
    indices: Any,
    size: int,
    elements: Elements | None,
    interpolation: str,
    entry: dict[str, Any],
) -> dict[str, Any] | None:
    """The same with time samples, for which the values are no longer indexed."""
    codes = {*context.array_codes(attribute), *(context.array_codes(indices) if indices else ())}
    samples: dict[float, Any] = {}
    for code in sorted(codes):
        value = values_of(attribute.Get(code), size)
        if value is None:
            continue
        if indices:
            index = indices.Get(code)
            if index is not None:
                value = flat(value, index)
        one = None if value is None else fill({**entry}, value, None, elements, interpolation)
        if one is None:
            return None
        samples[code] = one["value"]
    if not samples:
        return None
    if len({np.shape(value) for value in samples.values()}) > 1:
        context.lose("attributes with a changing number of values", attribute.GetPath())
        nearest = min(samples, key=lambda code: abs(code - context.time_code.GetValue()))
        entry["value"] = samples[nearest]
        return entry
    is_numeric = np.asarray(next(iter(samples.values()))).dtype.kind == "f"
    entry["value"] = context.samples(samples, context.is_held or not is_numeric)
    return entry


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
    """Puts values into an entry if there are as many as there are elements."""
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
    if count != elements.count(entry["scope"]):
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
    names: set[str],
    elements: Elements | None,
    arbitrary: dict[str, Any],
    usd: dict[str, Any],
) -> None:
    """Reads the primvars among the names of properties, and keeps those that do not fit."""
    for name in sorted(names):
        if name.endswith(":indices") and name[:-8] in names:
            continue
        has_indices = name + ":indices" in names
        entry = read_primvar(context, prim, name, has_indices, elements)
        own = name[9:]
        called = arbitrary_name(own)
        if called != own and "primvars:" + called in names:
            called = own
        if entry is not None:
            arbitrary[called] = entry
            context.count("primvars")
            continue
        if prim.GetAttribute(name).HasAuthoredValue():
            context.lose("primvars whose size does not fit the shape", name_of(prim, name))
        keep_property(context, prim, name, usd)
        if has_indices:
            keep_property(context, prim, name + ":indices", usd)


def name_of(prim: Any, name: str) -> str:
    return f"{prim.GetPath()}.{name}"

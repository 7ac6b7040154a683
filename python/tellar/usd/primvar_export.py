"""Attributes "geometry.arbitrary" as primvars."""

from __future__ import annotations

from typing import Any

import numpy as np
from pxr import Sdf, Vt

import tellar

from .own_values import is_plain, texts
from .primvars import Elements, arbitrary_name, input_type
from .specs import PrimWriter, Types, array, converted, ints, text

_INTERPOLATIONS = {
    "primitive": "constant",
    "face": "uniform",
    "point": "vertex",
    "vertex": "faceVarying",
}
_ROLES = {
    "point2": "texCoord2",
    "point3": "point3",
    "color3": "color3",
    "color4": "color4",
    "vector3": "vector3",
    "normal3": "normal3",
}
_LETTERS = {"float": "f", "double": "d", "int": "i"}


def write_primvars(writer: PrimWriter, geometry: tellar.Group, elements: Elements) -> None:
    """Writes those attributes that fit the shape. The others are left to what keeps attributes."""
    arbitrary = geometry.attribute("arbitrary")
    if not isinstance(arbitrary, tellar.Group):
        return
    for name in arbitrary.keys():
        entry = arbitrary.attribute(name)
        if isinstance(entry, tellar.Group):
            write_primvar(writer, primvar_name(name, entry), entry, elements)


def primvar_name(name: str, entry: tellar.Group) -> str:
    is_color = name == "color" and text(entry, "inputType") == "color3"
    return "displayColor" if is_color else name


def write_primvar(
    writer: PrimWriter, name: str, entry: tellar.Group, elements: Elements
) -> None:
    scope = text(entry, "scope")
    interpolation = _INTERPOLATIONS.get(scope)
    values = entry.attribute("indexedValue") or entry.attribute("value")
    if interpolation is None or not isinstance(values, tellar.Attribute) or not is_name(name):
        return
    found = form_of(text(entry, "inputType"), values)
    if found is None:
        return
    kind, convert = found
    samples = converted(values, convert)
    index = array(entry, "index")
    count = len(next(iter(samples.values())))
    if index is not None and len(index) and (index.min() < 0 or index.max() >= count):
        return
    if (count if index is None else len(index)) != elements.count(scope):
        return
    prop = writer.sampled(f"primvars:{name}", kind, samples)
    prop.SetInfo("interpolation", interpolation)
    if index is not None:
        writer.put(f"primvars:{name}:indices", Types.IntArray, ints(index))


def is_name(name: str) -> bool:
    """Whether a primvar may have a name. Indices and normals are something else."""
    if name.endswith(":indices") or name in ("indices", "normals"):
        return False
    return bool(Sdf.Path.IsValidNamespacedIdentifier(name)) and arbitrary_name(name) in (
        name, "color"
    )


def form_of(kind: str, values: tellar.Attribute) -> tuple[Any, Any] | None:
    """The type of the primvar and what makes its values; None if there is no such type."""
    if values.type == "string":
        if not all(is_plain(text) for value in values.samples.values() for text in texts(value)):
            return None
        return Types.StringArray, lambda value: Vt.StringArray(texts(value))
    if values.type not in _LETTERS:
        return None
    if kind in ("matrix3", "matrix4") and values.type == "double":
        side = int(kind[-1])
        return matrix_form(side) if np.size(values.value) % (side * side) == 0 else None
    size = int(kind[-1]) if kind[-1:] in ("2", "3", "4") else 1
    if np.size(values.value) % size:
        return None
    if size == 1:
        sdf = Sdf.ValueTypeNames.Find(f"{values.type}[]")
        array_type = getattr(Vt, f"{values.type.capitalize()}Array")
        return sdf, lambda value: array_type.FromNumpy(np.ascontiguousarray(value).reshape(-1))
    letter = _LETTERS[values.type]
    role = _ROLES.get(kind) if letter != "i" else None
    name = f"{role}{letter}[]" if role else f"{values.type}{size}[]"
    if input_type(name) != kind:
        return None
    vector_type = getattr(Vt, f"Vec{size}{letter}Array")
    return Sdf.ValueTypeNames.Find(name), lambda value: vector_type.FromNumpy(
        np.ascontiguousarray(value).reshape(-1, size)
    )


def matrix_form(side: int) -> tuple[Any, Any]:
    array_type = getattr(Vt, f"Matrix{side}dArray")
    return Sdf.ValueTypeNames.Find(f"matrix{side}d[]"), lambda value: array_type.FromNumpy(
        np.ascontiguousarray(value).reshape(-1, side, side)
    )

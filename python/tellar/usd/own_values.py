"""Attributes of locations as properties of prims, of any type, and back without a change."""

from __future__ import annotations

from functools import lru_cache
from typing import TYPE_CHECKING, Any

import numpy as np
from pxr import Gf, Sdf, Vt

import tellar

from .identifiers import valid_identifier

if TYPE_CHECKING:
    from .context import ImportContext

PREFIX = "tellar:"
_NAME, _TUPLE, _NULL, _BYTES = "name", "tupleSize", "null", "bytes"

_BASES = {"int": "int", "float": "float", "double": "double"}
_LETTERS = {"int": "i", "float": "f", "double": "d"}
_TYPES = {"int": np.int32, "float": np.float32, "double": np.float64}
_TUPLES = {
    (kind, size): (
        getattr(Sdf.ValueTypeNames, f"{kind.capitalize()}{size}"),
        getattr(Sdf.ValueTypeNames, f"{kind.capitalize()}{size}Array"),
        getattr(Vt, f"Vec{size}{letter}Array"),
        (size,),
    )
    for kind, letter in _LETTERS.items()
    for size in (2, 3, 4)
} | {
    ("double", size * size): (
        getattr(Sdf.ValueTypeNames, f"Matrix{size}d"),
        getattr(Sdf.ValueTypeNames, f"Matrix{size}dArray"),
        getattr(Vt, f"Matrix{size}dArray"),
        (size, size),
    )
    for size in (3, 4)
}
# Four doubles are a vector and no 2 by 2 matrix, and nine of them a matrix.
_SINGLES = {
    kind: (
        getattr(Sdf.ValueTypeNames, kind.capitalize()),
        getattr(Sdf.ValueTypeNames, f"{kind.capitalize()}Array"),
        getattr(Vt, f"{kind.capitalize()}Array"),
        (),
    )
    for kind in _BASES
}


def property_name(path: str) -> str:
    """The name of the property for an attribute: "tellar:geometry:fov"."""
    return PREFIX + ":".join(valid_identifier(part) for part in path.split("."))


def write_value(layer: Any, spec: Any, path: str, attribute: tellar.Attribute, name: str) -> None:
    """Writes an attribute with its time samples as the property of a name."""
    kind, convert, data = form_of(attribute)
    prop = Sdf.AttributeSpec(spec, name, kind, declaresCustom=True)
    if name != PREFIX + path.replace(".", ":"):
        data[_NAME] = path
    if data:
        prop.customData = data
    times = attribute.times
    if times == [0.0] or attribute.type == "null":
        prop.default = convert(attribute.value)
        return
    for time, value in attribute.samples.items():
        layer.SetTimeSample(prop.path, float(time), convert(value))


def form_of(attribute: tellar.Attribute) -> tuple[Any, Any, dict[str, Any]]:
    """The type of the property, what makes its values, and what it says besides."""
    data: dict[str, Any] = {}
    size = attribute.tuple_size
    if attribute.type == "null":
        return Sdf.ValueTypeNames.Token, lambda value: "", {_NULL: True}
    if attribute.type == "string":
        if size != 1:
            data[_TUPLE] = size
        if not all(is_plain(text) for value in attribute.samples.values() for text in texts(value)):
            data[_BYTES] = True
        encode = escaped if _BYTES in data else str
        if isinstance(attribute.value, str):
            return Sdf.ValueTypeNames.String, encode, data
        return Sdf.ValueTypeNames.StringArray, lambda value: Vt.StringArray(
            [encode(text) for text in value]
        ), data
    known: Any = _TUPLES.get((attribute.type, size))
    if known is None:
        known = _SINGLES[attribute.type]
        if size != 1:
            data[_TUPLE] = size
    single, several, array, shape = known

    def values(value: Any) -> Any:
        rows = np.ascontiguousarray(value).reshape(-1, *shape)
        return array.FromNumpy(rows) if len(rows) else array()

    if np.size(attribute.value) == size and not data:
        return single, lambda value: values(value)[0], data
    return several, values, data


def value_of(context: ImportContext, prop: Any) -> tuple[str, Any] | None:
    """The dotted name and the attribute of such a property; None for one without a value."""
    data = prop.GetCustomData() if prop.HasAuthoredMetadata("customData") else {}
    path = data.get(_NAME) or prop.GetName()[len(PREFIX):].replace(":", ".")
    codes = prop.GetTimeSamples() if context.is_animated else ()
    if codes:
        pairs = [(context.time(code), prop.Get(code)) for code in codes]
        samples = {time: value for time, value in pairs if value is not None}
    else:
        value = prop.Get()
        samples = {} if value is None else {0.0: value}
    if not samples:
        return None
    if data.get(_NULL):
        return path, tellar.attribute(None)
    name = scalar_name(prop.GetTypeName())
    size = int(data.get(_TUPLE, 0))
    if name in ("string", "token"):
        decode = unescaped if data.get(_BYTES) else str
        found = {time: [decode(text) for text in texts(value)] for time, value in samples.items()}
        return path, one_or_more(found, "string", size or 1)
    kind = next((base for base in _BASES if name.startswith(base)), "double")
    if name not in _BASES and not size:
        size = 16 if name == "matrix4d" else 9 if name == "matrix3d" else int(name[-1])
    numbers = {time: plain_numbers(value, kind) for time, value in samples.items()}
    return path, one_or_more(numbers, kind, size or 1)


@lru_cache
def scalar_name(kind: Any) -> str:
    return str(kind.scalarType)


def one_or_more(samples: dict[float, Any], kind: str, size: int) -> Any:
    if list(samples) == [0.0]:
        return tellar.attribute(samples[0.0], kind, size)
    return tellar.samples(samples, kind, size)


def texts(value: Any) -> list[str]:
    return [value] if isinstance(value, str) else list(value)


def is_plain(text: str) -> bool:
    """Whether USD keeps a text as it is: UTF-8 without control characters but line feeds."""
    if any(character < " " and character not in "\n\t" for character in text):
        return False
    return not any("\ud800" <= character <= "\udfff" for character in text)


def escaped(text: str) -> str:
    """The bytes of a text that is not plain, as hexadecimal digits."""
    return text.encode("utf-8", "surrogateescape").hex()


def unescaped(digits: str) -> str:
    try:
        return bytes.fromhex(digits).decode("utf-8", "surrogateescape")
    except ValueError:
        return digits


def plain_numbers(value: Any, kind: str) -> Any:
    if isinstance(value, (Gf.Matrix3d, Gf.Matrix4d)):
        value = np.array(value)
    return np.asarray(value, _TYPES[kind]).reshape(-1)

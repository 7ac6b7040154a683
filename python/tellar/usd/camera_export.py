"""Cameras of scenes as prims: a field of view and a window become apertures and offsets."""

from __future__ import annotations

import math
from typing import Any

import numpy as np
from pxr import Gf

import tellar

from .roundtrip import leaves
from .specs import PrimWriter, Types, numbers, text

_FOCAL_LENGTH = 50.0
# Apertures, their offsets and the focal length are in tenths of a scene unit.
_TENTHS = 10.0
_DEFAULTS = {"fov": 70.0, "near": 0.1, "far": 100000.0, "left": -1.0, "right": 1.0,
             "bottom": -1.0, "top": 1.0, "orthographicWidth": 2.0, "apertureRadius": 0.0,
             "focusDistance": 0.0}
_TYPES = {
    "horizontalAperture": Types.Float,
    "verticalAperture": Types.Float,
    "horizontalApertureOffset": Types.Float,
    "verticalApertureOffset": Types.Float,
    "focalLength": Types.Float,
    "clippingRange": Types.Float2,
    "fStop": Types.Float,
    "focusDistance": Types.Float,
}


def write_camera(writer: PrimWriter, attributes: tellar.Group) -> None:
    """Writes the lens of a camera, with its time samples."""
    geometry = attributes.attribute("geometry")
    if not isinstance(geometry, tellar.Group):
        geometry = tellar.group({})
    is_orthographic = text(geometry, "projection") == "orthographic"
    writer.put("projection", Types.Token,
               "orthographic" if is_orthographic else "perspective")
    times = sorted({time for _, item in leaves(geometry, "") for time in item.times} or {0.0})
    lenses = {time: lens(values_at(geometry, time), is_orthographic) for time in times}
    for name in lenses[times[0]]:
        values = {float(time): item[name] for time, item in lenses.items()}
        if len(set(map(str, values.values()))) == 1:
            values = {0.0: values[times[0]]}
        writer.sampled(name, _TYPES[name], values)


def values_at(geometry: tellar.Group, time: float) -> dict[str, float]:
    found = dict(_DEFAULTS)
    for name in found:
        item = numbers(geometry, name)
        if item is not None and np.size(item.value):
            found[name] = float(item.interpolated(time)[0])
    return found


def lens(values: dict[str, float], is_orthographic: bool) -> dict[str, Any]:
    """The inverse of what an import does (cameras.py)."""
    half = math.tan(math.radians(values["fov"]) / 2) * _FOCAL_LENGTH
    if is_orthographic:
        half = values["orthographicWidth"] / 2 * _TENTHS
    # An orthographic window moves the picture the other way.
    sign = -1 if is_orthographic else 1
    result: dict[str, Any] = {
        "horizontalAperture": half * (values["right"] - values["left"]),
        "verticalAperture": half * (values["top"] - values["bottom"]),
        "horizontalApertureOffset": sign * half * (values["right"] + values["left"]) / 2,
        "verticalApertureOffset": sign * half * (values["top"] + values["bottom"]) / 2,
        "focalLength": _FOCAL_LENGTH,
        "clippingRange": Gf.Vec2f(values["near"], values["far"]),
    }
    if values["apertureRadius"] > 0:
        result["fStop"] = _FOCAL_LENGTH / _TENTHS / (2 * values["apertureRadius"])
        result["focusDistance"] = values["focusDistance"]
    return result

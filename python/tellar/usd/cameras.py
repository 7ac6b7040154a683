"""Cameras: apertures and offsets become a field of view and a screen window (docs/cameras.md)."""

from __future__ import annotations

import math
from typing import TYPE_CHECKING, Any

from pxr import UsdGeom

if TYPE_CHECKING:
    from .context import ImportContext

_LENS = (
    "projection",
    "horizontalAperture",
    "verticalAperture",
    "horizontalApertureOffset",
    "verticalApertureOffset",
    "focalLength",
    "clippingRange",
    "fStop",
    "focusDistance",
)
KNOWN = frozenset(_LENS)
# Apertures, their offsets and the focal length are in tenths of a scene unit.
_UNITS_PER_TENTH = 0.1


def camera_geometry(context: ImportContext, prim: Any) -> dict[str, Any]:
    """The group "geometry" of a camera's location."""
    attributes = {name: prim.GetAttribute(name) for name in _LENS}
    codes = sorted({code for item in attributes.values() for code in context.codes(item)})
    if not codes:
        return lens(attributes, context.time_code)
    lenses = {code: lens(attributes, code) for code in codes}
    first = lenses[codes[0]]
    geometry: dict[str, Any] = {}
    for name, value in first.items():
        values = {code: lenses[code].get(name, value) for code in codes}
        if isinstance(value, str) or all(item == value for item in values.values()):
            geometry[name] = value
        else:
            geometry[name] = context.samples(values, context.is_held)
    return geometry


def lens(attributes: dict[str, Any], time: Any) -> dict[str, Any]:
    """The numbers of a camera at one time."""
    values = {name: attribute.Get(time) for name, attribute in attributes.items()}
    width, height = float(values["horizontalAperture"]), float(values["verticalAperture"])
    focal = float(values["focalLength"])
    is_orthographic = values["projection"] == UsdGeom.Tokens.orthographic
    near, far = values["clippingRange"]
    half = width / 2 or 1.0
    right, top = values["horizontalApertureOffset"] / half, values["verticalApertureOffset"] / half
    aspect = height / 2 / half  # of the height to the width
    geometry: dict[str, Any] = {
        "projection": "orthographic" if is_orthographic else "perspective",
        "fov": math.degrees(2 * math.atan2(half, focal)) if focal > 0 else 90.0,
        "near": float(near),
        "far": float(far),
    }
    # An orthographic window moves the picture the other way (docs/cameras.md).
    sign = -1 if is_orthographic else 1
    geometry["left"], geometry["right"] = sign * right - 1, sign * right + 1
    geometry["bottom"], geometry["top"] = sign * top - aspect, sign * top + aspect
    if is_orthographic:
        geometry["orthographicWidth"] = width * _UNITS_PER_TENTH
    if values["fStop"] > 0:
        geometry["apertureRadius"] = focal * _UNITS_PER_TENTH / (2 * values["fStop"])
        geometry["focusDistance"] = float(values["focusDistance"])
    return geometry

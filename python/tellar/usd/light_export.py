"""Lights of scenes as lights of UsdLux."""

from __future__ import annotations

import math
from collections.abc import Callable
from typing import TYPE_CHECKING, Any

import numpy as np
from pxr import Gf, Sdf, Usd, UsdGeom, UsdLux

import tellar

from .exporting import code_of

if TYPE_CHECKING:
    from .context import ImportContext

Numbers = tuple[float, ...]
Convert = Callable[[Numbers], Any]

_SCHEMAS = {
    "directional": UsdLux.DistantLight,
    "area": UsdLux.RectLight,
    "point": UsdLux.SphereLight,
    "spot": UsdLux.SphereLight,
    "environment": UsdLux.DomeLight,
    "ambient": UsdLux.DomeLight,
}
_CONE_INNER, _CONE_OUTER = 30.0, 40.0  # what a spot has by itself, in degrees


def write_light(
    light: tellar.Group,
    stage: Usd.Stage,
    path: Sdf.Path | str,
    texture_of: Callable[[str], str],
    context: ImportContext,
) -> Usd.Prim | None:
    """Defines a light prim for a "light" group; None for a type that UsdLux has no light for."""
    schema = _SCHEMAS.get(str(light.get("type", "")))
    if schema is None:
        return None
    prim = schema.Define(stage, path).GetPrim()
    _Writer(light, prim, texture_of, context).write()
    return prim


class _Writer:
    """Writes one light."""

    def __init__(self, light: tellar.Group, prim: Usd.Prim, texture_of: Callable[[str], str],
                 context: ImportContext) -> None:
        self.light = light
        self.prim = prim
        self.texture_of = texture_of
        self.context = context
        self.type = str(light["type"])

    def write(self) -> None:
        self._write("color", "inputs:color", lambda color: Gf.Vec3f(*_three(color)))
        self._write("exposure", "inputs:exposure", _first)
        if self.type == "directional":
            self._write_directional()
        elif self.type == "area":
            self._write_area()
        elif self.type in ("point", "spot"):
            self._write_ball()
        else:
            self._write_dome()

    def _write(
        self, name: str, target: str, convert: Convert, default: float | None = None
    ) -> None:
        """Sets an attribute of the prim from one of the light, with its time samples."""
        value = self.light.attribute(name)
        attribute = self.prim.GetAttribute(target)
        if not isinstance(value, tellar.Attribute) or value.type in ("string", "null"):
            if default is not None:
                attribute.Set(convert((default,)))
            return
        if len(value.times) == 1:
            attribute.Set(convert(_numbers(value.value)))
            return
        for time in value.times:
            attribute.Set(convert(_numbers(value.sample(time))), code_of(self.context, time))

    def _write_directional(self) -> None:
        self.prim.GetAttribute("inputs:normalize").Set(True)
        self._write("intensity", "inputs:intensity", _first, 1.0)
        self._write("angle", "inputs:angle", _first, 0.0)

    def _write_area(self) -> None:
        self._write("intensity", "inputs:intensity", _first, 1.0)
        self._write("size", "inputs:width", lambda size: size[0])
        self._write("size", "inputs:height", lambda size: size[-1])

    def _write_ball(self) -> None:
        """A normalized sphere has the same intensity for every radius."""
        unit = _length(self.context.root_matrix)
        self.prim.GetAttribute("inputs:normalize").Set(True)
        factor = 4 / (unit * unit)
        self._write("intensity", "inputs:intensity", lambda value: value[0] * factor, 1.0)
        if _first(_numbers(self.light.get("radius", 0.0))) > 0:
            world = UsdGeom.Xformable(self.prim).ComputeLocalToWorldTransform(
                self.context.time_code)
            stretch = sum(Gf.Vec3d(*world.GetRow3(axis)).GetLength() for axis in range(3)) / 3
            per_unit = 1 / (unit * stretch) if stretch > 0 else 1.0
            self._write("radius", "inputs:radius", lambda value: value[0] * per_unit)
        else:
            self.prim.GetAttribute("treatAsPoint").Set(True)
        if self.type == "spot":
            self._write_cone()

    def _write_cone(self) -> None:
        UsdLux.ShapingAPI.Apply(self.prim)
        self._write("coneOuter", "inputs:shaping:cone:angle", lambda angle: angle[0] / 2,
                    _CONE_OUTER)
        outer = _first(_numbers(self.light.get("coneOuter", _CONE_OUTER)))
        inner = min(_first(_numbers(self.light.get("coneInner", _CONE_INNER))), outer)
        softness = 1 - inner / outer if outer > 0 else 0.0
        self.prim.GetAttribute("inputs:shaping:cone:softness").Set(softness)

    def _write_dome(self) -> None:
        self._write("intensity", "inputs:intensity", _first, 1.0)
        texture = self.light.get("texture")
        if isinstance(texture, str) and texture:
            file = Sdf.AssetPath(self.texture_of(texture))
            self.prim.GetAttribute("inputs:texture:file").Set(file)
            self.prim.GetAttribute("inputs:texture:format").Set("latlong")
            return
        if self.type == "environment":
            self._write_mean_color()

    def _write_mean_color(self) -> None:
        """A sky without a texture has the mean of its colors: half of the sphere is above the
        horizon, and the mean of a gradient over the heights is in its middle."""
        parts = [_three(_numbers(self.light.get(name, 1.0)))
                 for name in ("horizon", "zenith", "ground")]
        own = _three(_numbers(self.light.get("color", 1.0)))
        mean = [c * (2 * h + z + g) / 4 for c, h, z, g in zip(own, *parts)]
        self.prim.GetAttribute("inputs:color").Set(Gf.Vec3f(*mean))


def _numbers(value: Any) -> Numbers:
    return tuple(np.ravel(np.asarray(value, np.float64)).tolist())


def _first(numbers: Numbers) -> float:
    return numbers[0] if numbers and math.isfinite(numbers[0]) else 0.0


def _three(numbers: Numbers) -> tuple[float, float, float]:
    if len(numbers) >= 3:
        return numbers[0], numbers[1], numbers[2]
    return (numbers[0],) * 3 if numbers else (1.0, 1.0, 1.0)


def _length(matrix: Gf.Matrix4d) -> float:
    length: float = Gf.Vec3d(*matrix.GetRow3(0)).GetLength()
    return length

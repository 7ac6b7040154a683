"""Lights of USD stages as lights of scenes.

UsdLux gives lights with a size a radiance, which is divided by the area for those that are
normalized. Areas and environments of scenes have a radiance, too; points and spots have the
intensity of a sphere of that radiance, and directional lights the irradiance of a disk.
"""

from __future__ import annotations

import math
from collections.abc import Callable
from typing import TYPE_CHECKING, Any

import numpy as np
from pxr import Gf, Sdf, Usd, UsdGeom, UsdLux

import tellar

from .exporting import export_context
from .light_export import write_light
from .networks import Constant, combined, constant, is_constant
from .plain import keep_property
from .remembered import CUSTOM_DATA, recalled, remember
from .shader_values import constant_of
from .textures import texture_path

if TYPE_CHECKING:
    from .context import ImportContext

# The whole matrix of a turn by half around +Y: what is in the middle of a picture around the world
# is at -Z in scenes, and at +Z in UsdLux.
_HALF_TURN = np.array([[-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1]], np.float64)
# The same after a turn that leads +Y to +Z, for domes whose pole is the axis Z.
_HALF_TURN_TO_Z = np.array([[-1, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1]], np.float64)

_WIDEST_CONE = 90.0  # degrees off the axis: the default of UsdLux, which restricts nothing

# Inputs without a counterpart, and the values by which they change nothing.
_NEUTRAL: dict[str, Any] = {
    "inputs:diffuse": 1.0, "inputs:specular": 1.0, "inputs:shadow:enable": True,
    "inputs:shadow:color": Gf.Vec3f(0), "inputs:shadow:distance": -1.0,
    "inputs:shadow:falloff": -1.0, "inputs:shadow:falloffGamma": 1.0,
    "inputs:shaping:focus": 0.0, "inputs:shaping:focusTint": Gf.Vec3f(0),
}
# Properties of which an import takes care for prims of all types, or that concern viewers.
_STRUCTURE = ("xformOp", "visibility", "purpose", "extent", "guideRadius", "light:shaderId",
              "light:materialSyncMode", "primvars:", "userProperties:", "material:binding",
              CUSTOM_DATA)


def is_light_property(name: str) -> bool:
    """Whether a property of a light is read or kept by :func:`import_light`."""
    return not name.startswith(_STRUCTURE)


def import_light(prim: Usd.Prim, context: ImportContext) -> dict[str, Any] | None:
    """The attributes of the location of a light: "type", "light", and "usd" for the rest.

    A dome has "xform.matrixAim" besides, a rotation to apply before the prim's own matrix. Returns
    None for prims that are no lights, and for lights of types that no scene has, such as
    portals; those are counted.
    """
    make = next((make for kind, make in _TYPES if prim.IsA(kind)), None)
    if make is None:
        if prim.HasAPI(UsdLux.LightAPI) or prim.IsA(UsdLux.PortalLight):
            context.lose(f"lights of type {prim.GetTypeName()}", prim.GetPath())
        return None
    light = _Light(prim, context)
    make(light)
    attributes: dict[str, Any] = {"type": "light"}
    if prim.HasCustomDataKey(CUSTOM_DATA):
        found = recalled(prim, "light", tellar.group({"light": light.values}))
        attributes |= {name: found[name] for name in found}
    else:
        attributes["light"] = light.values
    if light.aim is not None:
        attributes["xform"] = {"matrixAim": light.aim}
    if usd := light.rest():
        attributes["usd"] = usd
    return attributes


def export_light(
    attributes: tellar.Group,
    stage: Usd.Stage,
    path: Sdf.Path | str,
    *,
    context: ImportContext | None = None,
    texture_of: Callable[[str], str] | None = None,
) -> Usd.Prim | None:
    """Defines a light prim for the attributes of a light's location, and returns it.

    Returns None for a light of an unknown type. The transforms of the prim and its ancestors have
    to be there already, because the radius of a point is one in the world; that of a dome is
    :func:`dome_matrix`. The custom data of the prim have the groups "light" and "material" of the
    location, unless an import makes equal ones anyway: as long as nobody edits the prim,
    :func:`import_light` gives them back. The arguments are those of ``export_material``.
    """
    light = attributes.get("light")
    if not isinstance(light, tellar.Group):
        return None
    own = context or export_context(stage)
    prim = write_light(light, stage, path, texture_of or str, own)
    if prim is None:
        return None
    kept = {name: attributes.attribute(name) for name in ("light", "material")}
    group = tellar.group({name: value for name, value in kept.items() if value is not None})
    remember(prim, "light", group, _imported_group(prim, own))
    return prim


def dome_matrix(matrix: Gf.Matrix4d) -> Gf.Matrix4d:
    """The matrix of a DomeLight for that of an environment light's location, and the other way
    around: both show the same in the same direction, with pictures that are half a turn apart."""
    return Gf.Matrix4d(*_HALF_TURN.ravel().tolist()) * matrix


def _imported_group(prim: Usd.Prim, context: ImportContext) -> tellar.Group:
    light = _Light(prim, context)
    next(make for kind, make in _TYPES if prim.IsA(kind))(light)
    return tellar.group({"light": light.values})


class _Light:
    """One light and the values that are made of it."""

    def __init__(self, prim: Usd.Prim, context: ImportContext) -> None:
        self.prim = prim
        self.context = context
        self.values: dict[str, Any] = {}
        self.aim: Any = None
        self.understood: set[str] = set()

    def constant(self, name: str, default: float) -> Constant:
        """An input with its time samples."""
        attribute = self.prim.GetAttribute(name)
        self.understood.add(name)
        found = constant_of(self.context, attribute) if attribute else None
        return found or constant(default)

    def number(self, name: str, default: float) -> float:
        """An input at the frame of the import."""
        attribute = self.prim.GetAttribute(name)
        self.understood.add(name)
        value = self.context.value(attribute) if attribute else None
        return default if value is None else float(value)

    def is_set(self, name: str) -> bool:
        """A flag."""
        return self.number(name, 0) != 0

    def set(self, name: str, value: Constant, default: float | None = None) -> None:
        """Sets a value, unless it is what a light has by itself."""
        if default is None or not is_constant(value, default):
            self.values[name] = value.attribute()

    def shine(self, type_name: str, factor: Constant) -> None:
        """Sets the type and what all lights have; the intensity is multiplied by the factor."""
        self.values["type"] = type_name
        color = self.constant("inputs:color", 1)
        if self.is_set("inputs:enableColorTemperature"):
            color = combined(lambda a, b: a * b, color, self._temperature_color())
        self.understood.add("inputs:colorTemperature")
        self.set("color", color, 1)
        intensity = self.constant("inputs:intensity", 1)
        self.set("intensity", combined(lambda a, b: a * b, intensity, factor))
        self.set("exposure", self.constant("inputs:exposure", 0), 0)

    def _temperature_color(self) -> Constant:
        kelvins = self.constant("inputs:colorTemperature", 6500)
        return Constant({time: _color_of_temperature(numbers[0])
                         for time, numbers in kelvins.samples.items()})

    @property
    def is_normalized(self) -> bool:
        """Whether the intensity is divided by the light's area."""
        return self.is_set("inputs:normalize")

    def stretches(self) -> tuple[float, float, float]:
        """By how much the light's axes are stretched from its own space to the world of USD."""
        matrix = UsdGeom.Xformable(self.prim).ComputeLocalToWorldTransform(self.context.time_code)
        rows = [Gf.Vec3d(*matrix.GetRow3(axis)) for axis in range(3)]
        return rows[0].GetLength(), rows[1].GetLength(), rows[2].GetLength()

    def unit(self) -> float:
        """The scene's units that a unit of the stage takes."""
        row: float = Gf.Vec3d(*self.context.root_matrix.GetRow3(0)).GetLength()
        return row

    def lose(self, kind: str) -> None:
        """Takes note of something that the light's values do not show."""
        self.context.lose(kind, self.prim.GetPath())

    def rest(self) -> dict[str, Any]:
        """What is authored and was not understood."""
        usd: dict[str, Any] = {}
        for prop in self.prim.GetAuthoredProperties():
            name = prop.GetName()
            if name in self.understood or not is_light_property(name):
                continue
            if name in _NEUTRAL and prop.Get() == _NEUTRAL[name]:
                continue
            keep_property(self.context, self.prim, name, usd)
        return usd


def _color_of_temperature(kelvins: float) -> tuple[float, ...]:
    # USD does not survive a temperature that is not a number.
    return tuple(UsdLux.BlackbodyTemperatureAsRgb(kelvins)) if math.isfinite(kelvins) else (1.0,)


# Types -------------------------------------------------------------------------------------------


def _distant(light: _Light) -> None:
    angle = light.constant("inputs:angle", 0.53)
    factor = constant(1) if light.is_normalized else combined(_irradiance_of_disk, angle)
    light.shine("directional", factor)
    light.set("angle", angle, 0)


def _irradiance_of_disk(degrees: float) -> float:
    """What a disk of radiance 1 with an apparent diameter gives; 1 for no diameter."""
    half = math.radians(min(max(degrees, 0.0), 180.0)) / 2
    return math.pi * math.sin(half) ** 2 if half > 0 else 1.0


def _dome(light: _Light) -> None:
    light.shine("environment", constant(1))
    file = light.prim.GetAttribute("inputs:texture:file")
    light.understood.update(("inputs:texture:file", "inputs:texture:format", "poleAxis"))
    asset = light.context.value(file) if file else None
    if isinstance(asset, Sdf.AssetPath) and asset.path:
        light.values["texture"] = texture_path(file, asset)
    layout = str(light.prim.GetAttribute("inputs:texture:format").Get() or "automatic")
    if layout not in ("automatic", "latlong"):
        light.lose(f"dome textures of format {layout}")
        light.understood.discard("inputs:texture:format")
    light.aim = _HALF_TURN_TO_Z if _is_pole_z(light) else _HALF_TURN


def _is_pole_z(light: _Light) -> bool:
    if not light.prim.IsA(UsdLux.DomeLight_1):
        return False
    axis = str(light.prim.GetAttribute("poleAxis").Get() or "scene")
    if axis == "scene":
        return bool(UsdGeom.GetStageUpAxis(light.context.stage) == UsdGeom.Tokens.z)
    return axis == "Z"


def _rect(light: _Light) -> None:
    width = light.constant("inputs:width", 1)
    height = light.constant("inputs:height", 1)
    x, y, _ = light.stretches()
    area = combined(lambda a, b: a * x * b * y, width, height)
    if light.prim.GetAttribute("inputs:texture:file").HasAuthoredValue():
        light.lose("textures of area lights")
    _flat(light, width, height, area)


def _disk(light: _Light) -> None:
    """A square of the same area, because areas are rectangles."""
    radius = light.constant("inputs:radius", 0.5)
    x, y, _ = light.stretches()
    side = combined(lambda r: math.sqrt(math.pi) * r, radius)
    area = combined(lambda r: math.pi * r * x * r * y, radius)
    if not _is_cone(light):
        light.lose("disk lights, which became squares of the same area")
    _flat(light, side, side, area)


def _flat(light: _Light, width: Constant, height: Constant, area: Constant) -> None:
    per_area = light.is_normalized
    if _is_cone(light):
        # A spot with the same radiance along its axis.
        light.lose("flat lights with a cone, which became spots")
        unit = light.unit()
        factor = constant(unit * unit) if per_area else combined(lambda a: a * unit * unit, area)
        light.shine("spot", factor)
        light.set("radius", combined(lambda a: math.sqrt(max(a, 0.0) / math.pi) * unit, area))
        _cone(light)
        return
    light.shine("area", combined(lambda a: 1 / a if a > 0 else 0.0, area) if per_area
                else constant(1))
    times = sorted({*width.samples, *height.samples})
    size = Constant({time: (*width.at(time), *height.at(time)) for time in times})
    light.set("size", size)


def _sphere(light: _Light) -> None:
    radius = light.constant("inputs:radius", 0.5)
    is_point = bool(light.is_set("treatAsPoint"))
    stretches = light.stretches()
    stretch = sum(stretches) / 3
    if max(stretches) - min(stretches) > 1e-3 * stretch:
        light.lose("stretched sphere lights, which became spheres")
    world = combined(lambda r: r * stretch, radius)
    _ball(light, world, is_point)


def _cylinder(light: _Light) -> None:
    """A sphere of the same area."""
    radius = light.constant("inputs:radius", 0.5)
    length = light.constant("inputs:length", 1)
    light.understood.add("treatAsLine")
    x, y, z = light.stretches()
    across = math.sqrt(y * z)
    light.lose("cylinder lights, which became spheres of the same area")
    world = combined(lambda r, l: math.sqrt(max(r * across * l * x / 2, 0.0)), radius, length)
    _ball(light, world, False)


def _ball(light: _Light, radius: Constant, is_point: bool) -> None:
    """`radius` is in the units of USD's world. A sphere of radiance 1 has the intensity pi r^2; of
    a normalized one that is a quarter of its power per area."""
    unit = light.unit()
    squared = unit * unit
    if light.is_normalized:
        factor = constant(squared / 4)
    else:
        factor = combined(lambda r: math.pi * r * r * squared, radius)
    is_spot = _is_cone(light)
    light.shine("spot" if is_spot else "point", factor)
    if not is_point:
        light.set("radius", combined(lambda r: r * unit, radius), 0)
    if is_spot:
        _cone(light)


# Shaping -----------------------------------------------------------------------------------------


def _is_cone(light: _Light) -> bool:
    attribute = light.prim.GetAttribute("inputs:shaping:cone:angle")
    light.understood.update(("inputs:shaping:cone:angle", "inputs:shaping:cone:softness"))
    angle = light.context.value(attribute) if attribute else None
    if not attribute or not attribute.HasAuthoredValue() or angle is None:
        return False
    # Flat lights shine no wider anyway; a sphere with a cone of 180 degrees is whole.
    widest = 180.0 if light.prim.IsA(UsdLux.SphereLight) else _WIDEST_CONE
    return bool(angle < widest)


def _cone(light: _Light) -> None:
    """Angles of USD are off the axis; those of spots are whole."""
    angle = light.constant("inputs:shaping:cone:angle", _WIDEST_CONE)
    softness = light.constant("inputs:shaping:cone:softness", 0)
    light.set("coneOuter", combined(lambda a: 2 * a, angle))
    light.set("coneInner",
              combined(lambda a, s: 2 * a * (1 - min(max(s, 0.0), 1.0)), angle, softness))


_TYPES: tuple[tuple[Any, Callable[[_Light], None]], ...] = (
    (UsdLux.DistantLight, _distant),
    (UsdLux.DomeLight, _dome),
    (UsdLux.DomeLight_1, _dome),
    (UsdLux.RectLight, _rect),
    (UsdLux.DiskLight, _disk),
    (UsdLux.SphereLight, _sphere),
    (UsdLux.CylinderLight, _cylinder),
)

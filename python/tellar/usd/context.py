"""What all parts of an import share: the stage, the times, the options and the summary."""

from __future__ import annotations

import math
import mmap
from collections.abc import Callable, Iterable, Mapping
from typing import Any

import numpy as np
from pxr import Gf, Usd, UsdGeom

import tellar

from .calls import has_spline, may_vary, value_of
from .plain import plain_value
from .remembered import CUSTOM_DATA as OWN
from .remembered import NAME_KEY
from .summary import ImportSummary

Convert = Callable[[Any], Any]


class ImportContext:
    """The state of one import. Not for several threads."""

    def __init__(
        self,
        stage: Any,
        *,
        location: str | None = None,
        frame: float = 0.0,
        frames_per_second: float | None = None,
        purposes: Iterable[str] = ("default", "render"),
        convert_units: bool = True,
    ) -> None:
        self.stage = stage
        """The Usd.Stage."""
        own = stage.GetRootLayer().customLayerData.get(OWN)
        self.is_own = isinstance(own, Mapping) and stage.HasDefaultPrim()
        """Whether an export has written the stage."""
        self.top = ""
        """The path of the prim that is the root of an exported scene; empty for the pseudo-root."""
        if self.is_own and location is None:
            self.top = str(stage.GetDefaultPrim().GetPath())
            location = str(own.get("location", f"/root{self.top}"))
        self.location = location or "/root/world"
        """The location of the pseudo-root, or of the top prim."""
        self.prototypes = free_location(stage, self.location, self.top)
        """The location below which the prototypes of scene-graph instances are."""
        self.frame = frame
        self.purposes = frozenset(purposes)
        self.summary = ImportSummary()
        self.frames_per_code = (
            frames_per_second / stage.GetTimeCodesPerSecond() if frames_per_second else 1.0
        )
        """Time codes times this are frames."""
        self.time_code = Usd.TimeCode(frame / self.frames_per_code)
        """The frame of the import. Values without time samples are those of this time code."""
        self.is_animated = has_time_samples(stage)
        """Whether any layer has time samples. If not, only single numbers move, by splines."""
        self.has_splines = any(map(may_have_splines, stage.GetUsedLayers()))
        """False if certainly no attribute has a spline."""
        self.xforms = UsdGeom.XformCache(self.time_code)
        """Local transforms at the frame."""
        self.is_held = stage.GetInterpolationType() == Usd.InterpolationTypeHeld
        self.root_matrix: Any = root_matrix(stage) if convert_units else Gf.Matrix4d(1)
        """From the stage's axes and units to +Y up and metres."""
        self.schemas_of_types: dict[str, list[str]] = {}
        """The API schemas without a meaning here that come with a type of prim, where known."""
        self._prototype_names: dict[str, str] = {}
        self._own_places: dict[str, str] = {}

    # Paths

    def location_of(self, prim_path: Any) -> str:
        """The path of the location of a prim, also of one in a prototype."""
        path = str(prim_path)
        if path == "/":
            return self.location
        if path.startswith("/__Prototype_"):
            head, _, rest = path[1:].partition("/")
            name = self.prototype_name(head)
            return f"{self.prototypes}/{name}/{rest}" if rest else f"{self.prototypes}/{name}"
        return self._own_place(path) if self.is_own else self.location + path

    def _own_place(self, path: str) -> str:
        """The location of a prim of an exported scene, which has the true names of locations."""
        if path == self.top:
            return self.location
        known = self._own_places.get(path)
        if known is None:
            parent, _, name = path.rpartition("/")
            prim = self.stage.GetPrimAtPath(path)
            true_name = prim.GetCustomDataByKey(NAME_KEY) if prim else None
            above = self._own_place(parent) if parent else self.location
            known = self._own_places[path] = f"{above}/{true_name or name}"
        return known

    def prototype_name(self, name: str) -> str:
        """The name of the location of a prototype, which does not depend on USD's numbers."""
        return self._prototype_names.setdefault(name, f"prototype_{len(self._prototype_names) + 1}")

    # Summary

    def count(self, kind: str, path: object = "") -> None:
        """Counts something that was understood."""
        self.summary.imported[kind] += 1

    def keep(self, kind: str, path: object) -> None:
        """Counts something that was not understood and is kept as plain attributes."""
        self.summary.kept[kind] += 1
        self.summary.add_example(kind, path)

    def lose(self, kind: str, path: object) -> None:
        """Counts something that was left out or changed."""
        self.summary.lost[kind] += 1
        self.summary.add_example(kind, path)

    # Times

    def time(self, code: float) -> float:
        """The time of a time code: in frames, relative to the frame of the import."""
        return code * self.frames_per_code - self.frame

    def codes(self, attribute: Any) -> list[float]:
        """The time codes of the samples of an attribute; none if its value does not change."""
        if self.is_animated:
            if not may_vary(attribute):
                return []
        elif not self.has_splines or not has_spline(attribute):
            return []
        codes: list[float] = attribute.GetTimeSamples()
        if has_spline(attribute):
            codes = spline_codes(attribute.GetSpline())
        return codes if len(codes) > 1 else []

    def array_codes(self, attribute: Any) -> list[float]:
        """The same for an array, which no spline moves: quick in a stage without time samples."""
        return self.codes(attribute) if self.is_animated else []

    def value(self, attribute: Any) -> Any:
        """The value at the frame of the import; None if there is none."""
        return value_of(attribute, self.time_code)

    def sampled(self, attribute: Any, convert: Convert = plain_value) -> Any:
        """The converted value, with all of its time samples; None if there is none."""
        codes = self.codes(attribute)
        if not codes:
            value = value_of(attribute, self.time_code)
            return None if value is None else convert(value)
        return self.samples_of(attribute, codes, convert)

    def samples_of(self, attribute: Any, codes: list[float], convert: Convert) -> Any:
        found = [(code, value_of(attribute, code)) for code in codes]
        values = {code: convert(value) for code, value in found if value is not None}
        if not values:
            return None
        try:
            return self.samples(values, self.is_held or not is_interpolated(attribute))
        except (TypeError, ValueError):  # for samples that differ in type or size
            self.lose("attributes with a changing number of values", attribute.GetPath())
            value = value_of(attribute, self.time_code)
            return None if value is None else convert(value)

    def samples(self, values: dict[float, Any], is_held: bool = False) -> Any:
        """An attribute with samples from values by time codes.

        Held values get a second sample just before the next one, because readers interpolate.
        """
        samples: dict[float, Any] = {}
        before: Any = None
        for code in sorted(values):
            time = self.time(code)
            if is_held and samples:
                samples[float(np.nextafter(np.float32(time), np.float32(-np.inf)))] = before
            before = samples[time] = values[code]
        return tellar.samples(samples)


def free_location(stage: Any, location: str, top: str) -> str:
    """/root/prototypes, or that with a number if a prim or `location` is there."""
    place, number = "/root/prototypes", 1
    while location.startswith(place) or (
        location == "/root" and stage.GetPrimAtPath(top + place.removeprefix("/root"))
    ):
        number += 1
        place = f"/root/prototypes_{number}"
    return place


def has_time_samples(stage: Any) -> bool:
    """Whether a layer has time samples, also as a value clip. Splines are found one by one."""
    return any(layer.ListAllTimeSamples() for layer in stage.GetUsedLayers())


def may_have_splines(layer: Any) -> bool:
    """False for a file of which the first bytes, or all of a text, tell that it has no spline.

    Asking each attribute would take a tenth of an import's time.
    """
    if layer.dirty or not layer.realPath:
        return not layer.empty
    try:
        with open(layer.realPath, "rb") as file:
            head = file.read(16)
            if head.startswith(b"PXR-USDC"):
                return (head[8], head[9]) >= _SPLINE_VERSION
            if head.startswith(b"#usda"):
                with mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ) as text:
                    return text.find(b".spline") >= 0
    except OSError:
        pass  # a file in a package, or one that is gone
    return True


def spline_codes(spline: Any) -> list[float]:
    """The knots of a spline and every time code between the first and the last one."""
    knots = [float(knot) for knot in spline.GetKnots()]
    if not knots:
        return []
    steps = np.arange(math.ceil(knots[0]), math.floor(knots[-1]) + 1, dtype=float)
    return sorted({*knots, *steps.tolist()})


def is_interpolated(attribute: Any) -> bool:
    """Whether USD interpolates the values of an attribute linearly."""
    return str(attribute.GetTypeName().scalarType) in _INTERPOLATED


def root_matrix(stage: Any) -> Any:
    """Turns +Z up to +Y up, and scales to metres."""
    scale = UsdGeom.GetStageMetersPerUnit(stage)
    matrix = Gf.Matrix4d(1).SetScale(scale)
    if UsdGeom.GetStageUpAxis(stage) == UsdGeom.Tokens.z:
        # Rows are where x, y and z go. No angles, so that the entries are exact.
        matrix = Gf.Matrix4d(scale, 0, 0, 0, 0, 0, -scale, 0, 0, scale, 0, 0, 0, 0, 0, 1)
    return matrix


def _interpolated_types() -> frozenset[str]:
    names = ["float", "double", "half", "timecode", "frame4d"]
    names += [f"matrix{size}d" for size in (2, 3, 4)] + [f"quat{letter}" for letter in "hfd"]
    names += [f"{kind}{size}" for size in (2, 3, 4) for kind in ("float", "double", "half")]
    roles = ("point3", "vector3", "normal3", "color3", "color4", "texCoord2", "texCoord3")
    names += [role + letter for role in roles for letter in "hfd"]
    return frozenset(names)


_SPLINE_VERSION = (0, 12)  # of the first binary files with splines
_INTERPOLATED = _interpolated_types()

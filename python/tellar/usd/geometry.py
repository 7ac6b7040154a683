"""Meshes, curves and points. The attributes are those of docs/c-suites.md."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np
from pxr import UsdGeom

import tellar

from .calls import attribute_of, value_of
from .curves import read_curves
from .primvars import Elements, read_primvar
from .shapes import SHAPES, read_shape

if TYPE_CHECKING:
    from .context import ImportContext
    from .nodes import Node

_SCHEMES = {"catmullClark": "catmull-clark", "loop": "loop", "bilinear": "bilinear"}
_BOUNDARIES = {"none": "none", "edgeOnly": "edges", "edgeAndCorner": "edgesAndCorners"}
_TAGS = {
    "creaseIndices": "creaseIndices",
    "creaseLengths": "creaseLengths",
    "creaseSharpnesses": "creaseSharpness",
    "cornerIndices": "cornerIndices",
    "cornerSharpnesses": "cornerSharpness",
    "holeIndices": "holeFaces",
}
_TAG_NAMES = frozenset(_TAGS)
_OF_POINTS = frozenset(("velocities", "accelerations"))
_MESH = frozenset(
    """points faceVertexCounts faceVertexIndices subdivisionScheme orientation normals
    primvars:normals primvars:normals:indices interpolateBoundary
    faceVaryingLinearInterpolation""".split()
) | frozenset(_TAGS) | _OF_POINTS
_POINTS = frozenset(("points", "widths", "normals")) | _OF_POINTS
_CURVES = frozenset(
    "points widths normals curveVertexCounts type basis wrap".split()
) | _OF_POINTS

KNOWN = {"Mesh": _MESH, "Points": _POINTS, "BasisCurves": _CURVES} | {
    name: frozenset((*shape.parameters, "axis")) for name, shape in SHAPES.items()
}
"""The properties that are read of each type of shape, besides those of any prim."""


def read_geometry(
    context: ImportContext, prim: Any, kind: str, names: frozenset[str], node: Node
) -> Elements | None:
    """Fills the location of a shape. Returns its elements, or None if primvars do not apply."""
    geometry: dict[str, Any] = {}
    node.attributes["geometry"] = geometry
    if kind == "Mesh":
        elements = read_mesh(context, prim, names, node, geometry)
    elif kind == "Points":
        elements = read_points(context, prim, names, node, geometry)
    elif kind == "BasisCurves":
        elements = read_curves(context, prim, names, node, geometry)
    else:
        read_shape(context, prim, kind, node, geometry)
        return None
    if elements is not None and not names.isdisjoint(_OF_POINTS):
        read_motion(context, prim, names, elements, geometry)
    return elements


def read_extent(context: ImportContext, prim: Any, names: frozenset[str], node: Node) -> None:
    """The box around a shape: the authored one, or else the one that USD computes."""
    if "extent" not in names or not read_authored_extent(context, prim, node):
        compute_extent(context, prim, names, node)


def read_authored_extent(context: ImportContext, prim: Any, node: Node) -> bool:
    """Returns false if there is no valid one."""
    attribute = attribute_of(prim, "extent")
    codes = context.array_codes(attribute) if context.is_animated else []
    if codes:
        extents = {code: value_of(attribute, code) for code in codes}
        if all(item is not None and len(item) == 2 for item in extents.values()):
            node.extents = extents
            return True
    extent = value_of(attribute, context.time_code)
    if extent is None or len(extent) != 2:
        return False
    node.extent = extent
    return True


def compute_extent(context: ImportContext, prim: Any, names: frozenset[str], node: Node) -> None:
    boundable = UsdGeom.Boundable(prim)
    if not boundable:
        return
    codes = shape_codes(context, prim, names)
    if codes:
        found = {code: computed_extent(boundable, code) for code in codes}
        if all(item is not None for item in found.values()):
            node.extents = found
            return
    node.extent = computed_extent(boundable, context.time_code)


def computed_extent(boundable: Any, time: Any) -> Any:
    extent = UsdGeom.Boundable.ComputeExtentFromPlugins(boundable, time)
    return extent if extent is not None and len(extent) == 2 else None


def shape_codes(context: ImportContext, prim: Any, names: frozenset[str]) -> list[float]:
    """The time codes at which the attributes that make the box change."""
    if not context.is_animated:
        return []
    codes: set[float] = set()
    for name in names:
        if ":" not in name and name not in ("visibility", "purpose"):
            attribute = attribute_of(prim, name)
            if attribute:
                codes.update(context.codes(attribute))
    return sorted(codes)


# Meshes


def read_mesh(
    context: ImportContext, prim: Any, names: frozenset[str], node: Node, geometry: dict[str, Any]
) -> Elements | None:
    code = context.time_code
    scheme = None
    if "subdivisionScheme" in names:
        scheme = value_of(attribute_of(prim, "subdivisionScheme"))
    is_subdivided = scheme != "none"
    node.attributes["type"] = "subdmesh" if is_subdivided else "polymesh"
    counts = value_of(attribute_of(prim, "faceVertexCounts"), code)
    indices = value_of(attribute_of(prim, "faceVertexIndices"), code)
    if counts is None or indices is None:
        context.lose("meshes without faces", prim.GetPath())
        counts = indices = np.empty(0, np.int32)
    counts = np.asarray(counts)
    starts = np.zeros(len(counts) + 1, np.int32)
    np.add.accumulate(counts, out=starts[1:])
    corners = len(indices)
    is_valid = int(starts[-1]) == corners
    if not is_valid:
        context.lose("meshes whose faces do not fit their corners", prim.GetPath())
    points = read_positions(context, prim, geometry, has_topology_samples(context, prim))
    elements = Elements(len(counts), points, corners)
    orientation = value_of(attribute_of(prim, "orientation")) if "orientation" in names else None
    if is_valid and orientation == "leftHanded" and np.all(counts >= 0):
        elements.order = turned_order(starts)
        indices = np.asarray(indices)[elements.order]
    geometry["poly"] = {"vertexList": indices, "startIndex": starts}
    if is_subdivided:
        geometry["subdivisionScheme"] = _SCHEMES.get(scheme or "catmullClark", "catmull-clark")
        read_rules(prim, names, geometry)
    for name in names & _TAG_NAMES if not names.isdisjoint(_TAG_NAMES) else ():
        value = context.value(attribute_of(prim, name))
        if value is not None and len(value):
            geometry[_TAGS[name]] = value
    if is_valid and ("normals" in names or "primvars:normals" in names):
        read_mesh_normals(context, prim, names, elements, counts, geometry)
    return elements


def turned_order(starts: Any) -> Any:
    """The corners in the order that turns all faces round, each with its first corner first."""
    counts = np.diff(starts)
    first = np.repeat(starts[:-1], counts)
    local = np.arange(len(first), dtype=np.int32) - first
    return first + (np.repeat(counts, counts) - local) % np.repeat(counts, counts)


def has_topology_samples(context: ImportContext, prim: Any) -> bool:
    """Whether faces change with time. Locations have the faces of one frame."""
    if not context.is_animated:
        return False
    names = ("faceVertexCounts", "faceVertexIndices")
    if not any(context.codes(attribute_of(prim, name)) for name in names):
        return False
    context.lose("meshes whose faces change, imported as they are at the frame", prim.GetPath())
    return True


def read_positions(
    context: ImportContext, prim: Any, geometry: dict[str, Any], is_still: bool = False
) -> int:
    """Reads the points with their time samples. Returns how many there are."""
    attribute = attribute_of(prim, "points")
    points = value_of(attribute, context.time_code)
    count = 0 if points is None else len(points)
    value = np.empty((0, 3), np.float32) if points is None else points
    if context.is_animated and not is_still and context.array_codes(attribute):
        value = context.sampled(attribute, np.asarray)
    geometry["point"] = {"P": value}
    return count


def read_rules(prim: Any, names: frozenset[str], geometry: dict[str, Any]) -> None:
    """The rules of subdivision that are not those of USD's defaults, which are ours too."""
    if "interpolateBoundary" in names:
        value = value_of(attribute_of(prim, "interpolateBoundary"))
        geometry["interpolateBoundary"] = _BOUNDARIES.get(value, "edgesAndCorners")
    if "faceVaryingLinearInterpolation" in names:
        value = value_of(attribute_of(prim, "faceVaryingLinearInterpolation"))
        geometry["interpolateFaceVarying"] = value or "cornersPlus1"


def read_mesh_normals(
    context: ImportContext,
    prim: Any,
    names: frozenset[str],
    elements: Elements,
    counts: Any,
    geometry: dict[str, Any],
) -> None:
    """Normals by point or by corner. Other interpolations are spread over the corners."""
    scope, values = normals_of(context, prim, names, elements)
    if values is None:
        return
    if scope == "point":
        geometry["point"]["N"] = values
        return
    if scope != "vertex":
        repeats = counts if scope == "face" else np.array([elements.corners])
        values = spread(values, repeats)
    geometry["vertex"] = {"N": values}


def spread(values: Any, repeats: Any) -> Any:
    repeats = np.maximum(repeats, 0)
    if isinstance(values, tellar.Attribute):
        samples = values.samples.items()
        return tellar.samples({time: np.repeat(v, repeats, axis=0) for time, v in samples})
    return np.repeat(np.asarray(values), repeats, axis=0)


def normals_of(
    context: ImportContext, prim: Any, names: frozenset[str], elements: Elements
) -> tuple[str, Any]:
    """The scope and the values of the normals; None as values if they do not fit the mesh."""
    is_primvar = "primvars:normals" in names
    name = "primvars:normals" if is_primvar else "normals"
    attribute = attribute_of(prim, name)
    has_indices = is_primvar and "primvars:normals:indices" in names
    if is_primvar:
        interpolation = UsdGeom.Primvar(attribute).GetInterpolation()
    else:
        interpolation = attribute.GetMetadata("interpolation") or "vertex"
    entry = read_primvar(context, prim, name, has_indices, elements, interpolation)
    if entry is None:
        if attribute.HasAuthoredValue():
            context.lose("normals whose number does not fit the shape", prim.GetPath())
        return "", None
    if "index" in entry:
        return entry["scope"], np.asarray(entry["indexedValue"])[entry["index"]]
    return entry["scope"], entry["value"]


# Points


def read_points(
    context: ImportContext, prim: Any, names: frozenset[str], node: Node, geometry: dict[str, Any]
) -> Elements:
    node.attributes["type"] = "pointcloud"
    count = read_positions(context, prim, geometry)
    if "widths" in names:
        read_widths(context, prim, count, geometry)
    if "normals" in names:
        geometry["point"]["N"] = context.sampled(attribute_of(prim, "normals"), np.asarray)
    return Elements(1, count, count)


def read_widths(context: ImportContext, prim: Any, count: int, geometry: dict[str, Any]) -> None:
    widths = context.sampled(attribute_of(prim, "widths"), np.asarray)
    if widths is None:
        return
    size = len(value_of(attribute_of(prim, "widths"), context.time_code) or ())
    if size == count and count != 1:
        geometry["point"]["width"] = widths
    elif size == 1:
        geometry["constantWidth"] = widths
    else:
        context.lose("widths whose number does not fit the shape", prim.GetPath())


def read_motion(
    context: ImportContext,
    prim: Any,
    names: frozenset[str],
    elements: Elements,
    geometry: dict[str, Any],
) -> None:
    """Velocities and accelerations, in units a second, by point."""
    for name in _OF_POINTS & names:
        value = context.sampled(attribute_of(prim, name), np.asarray)
        if value is not None:
            arbitrary = geometry.setdefault("arbitrary", {})
            arbitrary[name] = {"scope": "point", "inputType": "vector3", "value": value}

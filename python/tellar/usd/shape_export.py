"""Meshes, curves, points and spheres of scenes as prims."""

from __future__ import annotations

from typing import Any

import numpy as np
from pxr import Sdf

import tellar

from .primvar_export import write_primvars
from .primvars import Elements
from .specs import PrimWriter, Types, array, floats, ints, numbers, text, vectors

SHAPES = {
    "polymesh": "Mesh",
    "subdmesh": "Mesh",
    "curves": "BasisCurves",
    "pointcloud": "Points",
    "sphere": "Sphere",
}
_SCHEMES = {"catmull-clark": "catmullClark", "loop": "loop", "bilinear": "bilinear"}
_BOUNDARIES = {"none": "none", "edges": "edgeOnly", "edgesAndCorners": "edgeAndCorner"}
_LINEAR = ("none", "cornersOnly", "cornersPlus1", "cornersPlus2", "boundaries", "all")
_INT_TAGS = {
    "creaseIndices": "creaseIndices",
    "creaseLengths": "creaseLengths",
    "cornerIndices": "cornerIndices",
    "holeFaces": "holeIndices",
}
_FLOAT_TAGS = {
    "creaseSharpness": "creaseSharpnesses",
    "cornerSharpness": "cornerSharpnesses",
}
_BASES = {"bezier": "bezier", "bspline": "bspline", "catmull-rom": "catmullRom"}
_BASIS_OF_DEGREE_3 = "bspline"


def shape_type(kind: str, attributes: tellar.Group) -> str:
    """The type of the prim for a location that is a shape; empty if it is not sound or none."""
    name = SHAPES.get(kind, "")
    if name == "Mesh" and not is_sound_mesh(attributes):
        return ""
    if name in ("BasisCurves", "Points") and point_count(attributes) is None:
        return ""
    if name == "BasisCurves" and int(curve_counts(attributes).sum()) != point_count(attributes):
        return ""
    return name


def point_count(attributes: tellar.Group) -> int | None:
    points = array(attributes, "geometry.point.P")
    return None if points is None or len(points) % 3 else len(points) // 3


def is_sound_mesh(attributes: tellar.Group) -> bool:
    count = point_count(attributes)
    starts = array(attributes, "geometry.poly.startIndex")
    corners = array(attributes, "geometry.poly.vertexList")
    if count is None or starts is None or corners is None or not len(starts):
        return False
    if starts[0] != 0 or starts[-1] != len(corners) or np.any(np.diff(starts) < 0):
        return False
    return not len(corners) or (corners.min() >= 0 and corners.max() < count)


def curve_counts(attributes: tellar.Group) -> Any:
    counts = array(attributes, "geometry.numVertices")
    return np.array([point_count(attributes) or 0]) if counts is None else counts


def write_shape(writer: PrimWriter, kind: str, attributes: tellar.Group) -> None:
    """Writes the properties of a shape that :func:`shape_type` knows."""
    geometry = attributes.attribute("geometry")
    if not isinstance(geometry, tellar.Group):
        return
    if kind == "sphere":
        write_sphere(writer, geometry)
    elif kind == "pointcloud":
        write_points(writer, geometry)
    elif kind == "curves":
        write_curves(writer, geometry, curve_counts(attributes))
    else:
        write_mesh(writer, kind, geometry)


def write_positions(writer: PrimWriter, geometry: tellar.Group) -> int:
    """Writes the points. Returns how many there are."""
    points = numbers(geometry, "point.P")
    if points is None:
        return 0
    writer.attribute("points", Types.Point3fArray, points, vectors)
    return int(np.size(points.value)) // 3


def write_sphere(writer: PrimWriter, geometry: tellar.Group) -> None:
    radius = numbers(geometry, "radius")
    if radius is not None and np.size(radius.value):
        writer.attribute("radius", Types.Double, radius, lambda value: float(value[0]))


def write_points(writer: PrimWriter, geometry: tellar.Group) -> None:
    count = write_positions(writer, geometry)
    write_widths(writer, geometry, count)
    normals = numbers(geometry, "point.N")
    if normals is not None and np.size(normals.value) == count * 3:
        writer.attribute("normals", Types.Normal3fArray, normals, vectors)
    write_primvars(writer, geometry, Elements(1, count, count))


def write_widths(writer: PrimWriter, geometry: tellar.Group, count: int) -> None:
    for name, size, interpolation in (("point.width", count, "vertex"),
                                      ("constantWidth", 1, "constant")):
        widths = numbers(geometry, name)
        if widths is not None and np.size(widths.value) == size:
            prop = writer.attribute("widths", Types.FloatArray, widths, floats)
            prop.SetInfo("interpolation", interpolation)
            return


def write_curves(writer: PrimWriter, geometry: tellar.Group, counts: Any) -> None:
    count = write_positions(writer, geometry)
    writer.put("curveVertexCounts", Types.IntArray, ints(counts))
    basis, degree = text(geometry, "basis"), array(geometry, "degree")
    if degree is not None and len(degree):
        basis = "linear" if degree[0] == 1 else basis or _BASIS_OF_DEGREE_3
    curve = _BASES.get(basis)
    writer.uniform("type", Types.Token, "cubic" if curve else "linear")
    if curve:
        writer.uniform("basis", Types.Token, curve)
    closed = array(geometry, "closed")
    is_closed = closed is not None and len(closed) and closed[0]
    writer.uniform("wrap", Types.Token, "periodic" if is_closed else "nonperiodic")
    write_widths(writer, geometry, count)
    write_primvars(writer, geometry, Elements(len(counts), count, count))


def write_mesh(writer: PrimWriter, kind: str, geometry: tellar.Group) -> None:
    starts, corners = array(geometry, "poly.startIndex"), array(geometry, "poly.vertexList")
    count = write_positions(writer, geometry)
    writer.put("faceVertexCounts", Types.IntArray, ints(np.diff(starts)))
    writer.put("faceVertexIndices", Types.IntArray, ints(corners))
    scheme = text(geometry, "subdivisionScheme")
    if not scheme and kind == "subdmesh":
        scheme = "catmull-clark"
    token = _SCHEMES.get(scheme, "none")
    writer.uniform("subdivisionScheme", Types.Token, token)
    if token != "none":
        write_rules(writer, geometry)
    sided = array(geometry, "doubleSided")
    if sided is not None and len(sided):
        writer.uniform("doubleSided", Types.Bool, bool(sided[0]))
    elements = Elements(len(starts) - 1, count, len(corners))
    write_normals(writer, geometry, elements)
    write_primvars(writer, geometry, elements)


def write_rules(writer: PrimWriter, geometry: tellar.Group) -> None:
    for name, target in _INT_TAGS.items():
        values = array(geometry, name)
        if values is not None:
            writer.put(target, Types.IntArray, ints(values))
    for name, target in _FLOAT_TAGS.items():
        values = array(geometry, name)
        if values is not None:
            writer.put(target, Types.FloatArray, floats(values))
    boundary = _BOUNDARIES.get(text(geometry, "interpolateBoundary"))
    if boundary:
        writer.put("interpolateBoundary", Types.Token, boundary)
    linear = text(geometry, "interpolateFaceVarying")
    if linear in _LINEAR:
        writer.put("faceVaryingLinearInterpolation", Types.Token, linear)


def write_normals(writer: PrimWriter, geometry: tellar.Group, elements: Elements) -> None:
    for name, size, interpolation in (("vertex.N", elements.corners, "faceVarying"),
                                      ("point.N", elements.points, "vertex")):
        normals = numbers(geometry, name)
        if normals is not None and np.size(normals.value) == 3 * size:
            prop = writer.attribute("normals", Types.Normal3fArray, normals, vectors)
            prop.SetInfo("interpolation", interpolation)
            return


def write_extent(writer: PrimWriter, attributes: tellar.Group) -> bool:
    """Writes the box of a shape. Returns whether it has one."""
    bound = numbers(attributes, "bound")
    if bound is None or np.size(bound.value) != 6:
        return False
    writer.attribute(
        "extent", Types.Float3Array, bound, lambda box: vectors(np.reshape(box, (3, 2)).T)
    )
    return True


def write_subset(writer: PrimWriter, attributes: tellar.Group, is_bound: bool) -> None:
    """Writes a faceset."""
    faces = array(attributes, "geometry.faces")
    writer.uniform("elementType", Types.Token, "face")
    writer.put("indices", Types.IntArray, ints([] if faces is None else faces))
    writer.uniform("familyName", Types.Token, "materialBind" if is_bound else "")
    if is_bound:
        path = writer.spec.path.GetParentPath()
        parent = writer.layer.GetPrimAtPath(path)
        name = "subsetFamily:materialBind:familyType"
        if name not in parent.attributes:
            prop = Sdf.AttributeSpec(parent, name, Types.Token, Sdf.VariabilityUniform)
            prop.default = "nonOverlapping"

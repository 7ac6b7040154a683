"""Cubes, cylinders, cones, capsules and planes as meshes; spheres as spheres."""

from __future__ import annotations

from collections.abc import Callable, Mapping
from dataclasses import dataclass
from functools import lru_cache
from typing import TYPE_CHECKING, Any

import numpy as np

if TYPE_CHECKING:
    from .context import ImportContext
    from .nodes import Node

SIDES = 48
"""Round shapes have so many sides: a multiple of 4, so that the box around them is exact."""
_RINGS = 12  # of each half of a sphere

Parameters = Mapping[str, float]


@dataclass(frozen=True)
class Topology:
    """Faces of a mesh: the points of their corners, and where each begins."""

    vertex_list: Any
    start_index: Any


@dataclass(frozen=True)
class Profile:
    """What turns about the z axis: radius and height of each ring, and the slope of its normals.

    The first and the last ring are discs, or a single point where that is said.
    """

    radii: Any
    heights: Any
    normals: Any  # (rings, 2): outwards and along z
    has_bottom_pole: bool
    has_top_pole: bool


@dataclass(frozen=True)
class Shape:
    """A type of prim: its parameters, and what makes points and corner normals of them."""

    parameters: tuple[str, ...]
    make: Callable[[Parameters, str], tuple[Any, Any, Topology]] | None


def cyclic(points: Any, axis: str) -> Any:
    """Points around the z axis, turned so that they are around another one."""
    if axis == "X":
        return points[:, (2, 0, 1)]
    return points[:, (1, 2, 0)] if axis == "Y" else points


@lru_cache
def revolved_topology(rings: int, has_bottom_pole: bool, has_top_pole: bool) -> Topology:
    faces: list[list[int]] = []
    starts, next_point = [], 0
    for ring in range(rings):
        starts.append(next_point)
        is_pole = (ring == 0 and has_bottom_pole) or (ring == rings - 1 and has_top_pole)
        next_point += 1 if is_pole else SIDES
    if not has_bottom_pole:
        faces.append([starts[0] + side for side in reversed(range(SIDES))])
    for ring in range(rings - 1):
        low, high = starts[ring], starts[ring + 1]
        for side in range(SIDES):
            after = (side + 1) % SIDES
            if ring == 0 and has_bottom_pole:
                faces.append([low, high + after, high + side])
            elif ring == rings - 2 and has_top_pole:
                faces.append([low + side, low + after, high])
            else:
                faces.append([low + side, low + after, high + after, high + side])
    if not has_top_pole:
        faces.append([starts[-1] + side for side in range(SIDES)])
    return topology_of(faces)


def topology_of(faces: list[list[int]]) -> Topology:
    starts = np.cumsum([0, *map(len, faces)], dtype=np.int32)
    return Topology(np.array([point for face in faces for point in face], np.int32), starts)


def revolve(profile: Profile, axis: str) -> tuple[Any, Any, Topology]:
    rings = len(profile.radii)
    topology = revolved_topology(rings, profile.has_bottom_pole, profile.has_top_pole)
    circle = unit_circle()
    points, normals = [], []
    for ring in range(rings):
        is_pole = (ring == 0 and profile.has_bottom_pole) or (
            ring == rings - 1 and profile.has_top_pole
        )
        around = circle[:1] if is_pole else circle
        height = np.full((len(around), 1), profile.heights[ring])
        points.append(np.hstack([around * profile.radii[ring], height]))
        outwards, along = profile.normals[ring]
        slope = np.full((len(around), 1), along)
        normals.append(np.hstack([around * outwards, slope]))
    corners = np.concatenate(normals)[topology.vertex_list]
    smooth_poles(profile, corners, topology)
    if not profile.has_bottom_pole:
        corners[:SIDES] = (0, 0, -1)
    if not profile.has_top_pole:
        corners[-SIDES:] = (0, 0, 1)
    return (
        cyclic(np.concatenate(points), axis).astype(np.float32),
        cyclic(corners, axis).astype(np.float32),
        topology,
    )


def smooth_poles(profile: Profile, corners: Any, topology: Topology) -> None:
    """The tip of a cone has the normal of each side's middle; that of a sphere points along z."""
    outwards, along = profile.normals[-1]
    if not profile.has_top_pole or outwards == 0:
        return
    middle = (np.arange(SIDES) + 0.5) * (2 * np.pi / SIDES)
    tips = topology.start_index[-SIDES - 1 : -1] + 2
    corners[tips] = np.column_stack(
        [np.cos(middle) * outwards, np.sin(middle) * outwards, np.full(SIDES, along)]
    )


@lru_cache
def unit_circle() -> Any:
    angles = np.arange(SIDES) * (2 * np.pi / SIDES)
    circle = np.column_stack([np.cos(angles), np.sin(angles)])
    circle[np.abs(circle) < 1e-15] = 0  # so that the box around it is exact
    return circle


def cylinder(parameters: Parameters, axis: str) -> tuple[Any, Any, Topology]:
    bottom = parameters.get("radiusBottom", parameters.get("radius", 1.0))
    top = parameters.get("radiusTop", parameters.get("radius", 1.0))
    half = parameters["height"] / 2
    slope = unit(2 * half, bottom - top)
    return revolve(
        Profile((bottom, top), (-half, half), (slope, slope), False, False), axis
    )


def cone(parameters: Parameters, axis: str) -> tuple[Any, Any, Topology]:
    half = parameters["height"] / 2
    slope = unit(2 * half, parameters["radius"])
    radii = (parameters["radius"], 0.0)
    return revolve(Profile(radii, (-half, half), (slope, slope), False, True), axis)


def unit(outwards: float, along: float) -> tuple[float, float]:
    length = float(np.hypot(outwards, along))
    return (outwards / length, along / length) if length > 0 else (1.0, 0.0)


def capsule(parameters: Parameters, axis: str) -> tuple[Any, Any, Topology]:
    bottom = parameters.get("radiusBottom", parameters.get("radius", 0.5))
    top = parameters.get("radiusTop", parameters.get("radius", 0.5))
    half = parameters["height"] / 2
    angles = np.linspace(0, np.pi / 2, _RINGS + 1)
    sines, cosines = np.sin(angles), np.cos(angles)
    cosines[-1] = 0
    low = np.column_stack([cosines, -sines])[::-1]
    high = np.column_stack([cosines, sines])
    normals = np.concatenate([low, high])
    radii = np.concatenate([low[:, 0] * bottom, high[:, 0] * top])
    heights = np.concatenate([low[:, 1] * bottom - half, high[:, 1] * top + half])
    return revolve(Profile(radii, heights, normals, True, True), axis)


_CUBE_FACES = (
    ((0, 2, 6, 4), (-1, 0, 0)),
    ((1, 5, 7, 3), (1, 0, 0)),
    ((0, 4, 5, 1), (0, -1, 0)),
    ((2, 3, 7, 6), (0, 1, 0)),
    ((0, 1, 3, 2), (0, 0, -1)),
    ((4, 6, 7, 5), (0, 0, 1)),
)


@lru_cache
def unit_cube() -> tuple[Any, Any, Topology]:
    points = np.array([[i & 1, i >> 1 & 1, i >> 2] for i in range(8)], np.float64) - 0.5
    corners, faces = [], []
    for face, normal in _CUBE_FACES:
        cycle = list(face) if is_outwards(points, face, normal) else list(reversed(face))
        faces.append(cycle)
        corners.append(np.tile(normal, (4, 1)))
    return points, np.concatenate(corners).astype(np.float32), topology_of(faces)


def is_outwards(points: Any, face: tuple[int, ...], normal: tuple[int, ...]) -> bool:
    a, b, c = (points[i] for i in face[:3])
    return float(np.cross(b - a, c - b) @ np.array(normal)) > 0


def cube(parameters: Parameters, axis: str) -> tuple[Any, Any, Topology]:
    points, corners, topology = unit_cube()
    return (points * parameters["size"]).astype(np.float32), corners, topology


def plane(parameters: Parameters, axis: str) -> tuple[Any, Any, Topology]:
    half_width, half_length = parameters["width"] / 2, parameters["length"] / 2
    corners = np.array([[-1, -1, 0], [1, -1, 0], [1, 1, 0], [-1, 1, 0]], np.float64)
    # The width is along x, or along z for a plane that faces x; the length along y, or z.
    sizes = {"X": (half_length, half_width), "Y": (half_length, half_width)}
    first, second = sizes.get(axis, (half_width, half_length))
    points = cyclic(corners * (first, second, 1), axis)
    normals = cyclic(np.tile((0.0, 0.0, 1.0), (4, 1)), axis)
    return points.astype(np.float32), normals.astype(np.float32), topology_of([[0, 1, 2, 3]])


SHAPES = {
    "Cube": Shape(("size",), cube),
    "Sphere": Shape(("radius",), None),
    "Cylinder": Shape(("height", "radius"), cylinder),
    "Cylinder_1": Shape(("height", "radiusTop", "radiusBottom"), cylinder),
    "Cone": Shape(("height", "radius"), cone),
    "Capsule": Shape(("height", "radius"), capsule),
    "Capsule_1": Shape(("height", "radiusTop", "radiusBottom"), capsule),
    "Plane": Shape(("width", "length"), plane),
}


def read_shape(
    context: ImportContext, prim: Any, kind: str, node: Node, geometry: dict[str, Any]
) -> None:
    """Fills the location of one of SHAPES. Only constant primvars fit the mesh."""
    shape = SHAPES[kind]
    if shape.make is None:
        node.attributes["type"] = "sphere"
        geometry["radius"] = context.sampled(prim.GetAttribute("radius"), float)
        return
    node.attributes["type"] = "polymesh"
    attributes = {name: prim.GetAttribute(name) for name in shape.parameters}
    axis_attribute = prim.GetAttribute("axis")
    axis = str(axis_attribute.Get()) if axis_attribute else "Z"
    codes = sorted({code for item in attributes.values() for code in context.codes(item)})

    def made(time: Any) -> tuple[Any, Any, Topology]:
        assert shape.make is not None
        values = {name: float(item.Get(time) or 0) for name, item in attributes.items()}
        return shape.make(values, axis)

    points, normals, topology = made(context.time_code)
    if codes:
        points = context.samples({code: made(code)[0] for code in codes}, context.is_held)
    geometry["point"] = {"P": points}
    geometry["vertex"] = {"N": normals}
    geometry["poly"] = {"vertexList": topology.vertex_list, "startIndex": topology.start_index}
    usd = node.attributes.setdefault("usd", {})
    usd["typeName"] = kind
    usd["parameters"] = {name: context.sampled(item) for name, item in attributes.items()}
    if axis_attribute:
        usd["parameters"]["axis"] = axis

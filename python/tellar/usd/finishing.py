"""Completes the nodes of a stage with what is known once all of them are there."""

from __future__ import annotations

from collections.abc import Callable
from typing import Any

import numpy as np
from pxr import Vt

from . import geometry, roundtrip
from .bindings import bound_materials
from .bounds import BoundsPass
from .context import ImportContext
from .findings import Findings
from .instances import InstanceOps
from .nodes import Node


def finish_nodes(context: ImportContext, found: Findings) -> None:
    """Sets what depends on other locations: materials, prototypes, bounds and restored values."""
    assign_materials(context, found, found.materials.get)
    for index, place in found.prototype_of.items():
        found.nodes[index].prototype = found.index_of[place]
    set_transforms(context, found.nodes)
    drop_endless_instancers(context, found)
    remove_excluded(context, found)
    hide_sources(found)
    BoundsPass(context, found.nodes).run()
    for index, place, own in found.own:
        roundtrip.restore(context, found.nodes[index].attributes, own, place)
    drop_empty_children(found)


def drop_empty_children(found: Findings) -> None:
    for node, entry in zip(found.nodes, found.entries):
        if not node.children:
            del entry["c"]


def assign_materials(
    context: ImportContext, found: Findings, material_at: Callable[[str], Any]
) -> None:
    """Sets the material of each location that is bound to one, and of which location it is.

    `material_at` returns the network of the material at a location, or None.
    """
    paths = bound_materials(context, [prim for _, prim in found.bindable])
    places: dict[Any, str] = {}
    for (index, _), path in zip(found.bindable, paths):
        if path is None:
            continue
        place = places.get(path)
        if place is None:
            place = places[path] = context.location_of(path)
        attributes = found.nodes[index].attributes
        if place not in found.helpers:
            attributes["materialAssign"] = place
        group = material_at(place)
        if group is not None:
            attributes["material"] = group
        else:
            context.lose("materials that are not part of the scene", place)


def drop_endless_instancers(context: ImportContext, found: Findings) -> None:
    """Drops instancers that repeat themselves, and reads the extents of all others.

    USD would not come to an end with the extent of an endless one.
    """
    endless = InstanceOps(found.shares, found.instancers).endless()
    for item in found.instancers:
        if item.target in endless:
            context.lose("point instancers that repeat themselves", item.prim.GetPath())
    found.instancers = [
        item for item in found.instancers if item.count and item.target not in endless
    ]
    for item in found.instancers:
        node = found.nodes[found.index_of[item.place]]
        if not endless and node.extent is None and node.extents is None:
            names = frozenset(item.prim.GetAuthoredPropertyNames())
            geometry.compute_extent(context, item.prim, names, node)


def set_transforms(context: ImportContext, nodes: list[Node]) -> None:
    """Makes the attributes "xform" of the matrices of nodes."""
    still = [node for node in nodes if node.matrix is not None]
    rows = np.asarray(Vt.Matrix4dArray([node.matrix for node in still])).reshape(-1, 1, 16)
    for node, row in zip(still, rows):
        node.attributes["xform"] = {"matrix": row} | node.attributes.get("xform", {})
    for node in nodes:
        if node.samples is not None:
            values = {
                code: np.asarray(matrix).reshape(1, 16) for code, matrix in node.samples.items()
            }
            matrices = context.samples(values, context.is_held)
            aim = node.attributes.get("xform", {})
            node.attributes["xform"] = {"matrix": matrices} | aim
        if node.resets:
            node.attributes["xform"] = {"origin": 1} | node.attributes["xform"]


def remove_excluded(context: ImportContext, found: Findings) -> None:
    """Removes the locations of other purposes that have nothing below them."""
    for place, index in reversed(list(found.index_of.items())):
        node = found.nodes[index]
        if node.is_excluded and not node.children:
            del found.nodes[node.parent].children[node.name]
            del found.index_of[place]
            context.lose("prims of other purposes", place)


def hide_sources(found: Findings) -> None:
    """What lies below a PointInstancer is drawn by its instances only."""
    sources = {source for item in found.instancers for source in item.sources}
    for item in found.instancers:
        for name in found.nodes[found.index_of[item.place]].children:
            place = f"{item.place}/{name}"
            if place not in sources:
                found.nodes[found.index_of[place]].attributes["visible"] = 0

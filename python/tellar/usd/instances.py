"""Instances: of PointInstancers by the op type Instances, of scene-graph instances by Share."""

from __future__ import annotations

from bisect import bisect_left
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any

import numpy as np
from pxr import UsdGeom

import tellar

if TYPE_CHECKING:
    from .context import ImportContext

KNOWN = frozenset(
    """prototypes protoIndices positions orientations orientationsf scales ids invisibleIds
    extent""".split()
)


@dataclass
class Instancer:
    """A PointInstancer: what the op Instances needs."""

    place: str
    """The location of the instancer."""
    target: str
    """The location below it under which the instances are, because its prototypes may be there."""
    sources: list[str]
    count: int
    arguments: dict[str, Any]
    prim: Any


@dataclass
class Ops:
    """The ops of a description in order, each with the one before as its input."""

    entries: list[tuple[str, str, dict[str, Any]]] = field(default_factory=list)

    def add(self, kind: str, arguments: dict[str, Any], name: str = "") -> None:
        number = 1 + sum(other == kind for _, other, _ in self.entries)
        self.entries.append((name or f"{kind.lower()}{number}", kind, arguments))

    def description(self) -> dict[str, Any]:
        """The group that describes the op tree. The last op presents the scene."""
        group: dict[str, Any] = {}
        before: list[str] = []
        for name, kind, arguments in self.entries:
            group[name] = {"opType": kind, "opArgs": arguments}
            if before:
                group[name]["opInputs"] = tellar.attribute(before, "string")
            before = [name]
        return group


def read_instancer(
    context: ImportContext, prim: Any, names: frozenset[str], location: str
) -> Instancer | None:
    """A PointInstancer, with a count of 0 if it has no instances that can be shown.

    None if it has no prototypes.
    """
    instancer = UsdGeom.PointInstancer(prim)
    targets = instancer.GetPrototypesRel().GetForwardedTargets()
    if not targets:
        context.lose("point instancers without prototypes or instances", prim.GetPath())
        return None
    sources = [context.location_of(path) for path in targets]
    target = f"{location}/{free_name(prim)}"
    found = Instancer(location, target, sources, 0, {}, prim)
    indices = instancer.GetProtoIndicesAttr().Get(context.time_code)
    if indices is None or not len(indices):
        context.lose("point instancers without prototypes or instances", prim.GetPath())
        return found
    indices = np.asarray(indices)
    count = len(indices)
    arguments = read_places(context, prim, names, count)
    if arguments is None:
        context.lose("point instancers whose positions do not fit their indices", prim.GetPath())
        return found
    hidden = hidden_instances(context, instancer, prim, names, count)
    wrong = (indices < 0) | (indices >= len(targets))
    if wrong.any():
        context.lose("point instancers with indices that no prototype has", prim.GetPath())
        indices = np.where(wrong, 0, indices)
        hidden = np.union1d(hidden, np.flatnonzero(wrong))
    if "protoIndices" in names and context.codes(instancer.GetProtoIndicesAttr()):
        context.lose("prototype indices that change, as they are at the frame", prim.GetPath())
    if indices.any():
        arguments["indices"] = indices.astype(np.int32)
    if len(hidden):
        arguments["hidden"] = hidden.astype(np.int32)
    context.summary.imported["point instances"] += count
    found.count, found.arguments = count, arguments
    return found


def free_name(prim: Any) -> str:
    """"instances", or that with a number if a prim below the instancer has this name."""
    name, number = "instances", 1
    while name in prim.GetAllChildrenNames():
        number += 1
        name = f"instances_{number}"
    return name


def read_places(
    context: ImportContext, prim: Any, names: frozenset[str], count: int
) -> dict[str, Any] | None:
    """The arguments "translates", "rotates" and "scales"; None if their sizes differ."""
    turns = "orientationsf" if has_values(context, prim, names, "orientationsf") else "orientations"
    arguments: dict[str, Any] = {}
    for name, argument in (("positions", "translates"), (turns, "rotates"), ("scales", "scales")):
        if not has_values(context, prim, names, name):
            continue
        convert = quaternions if argument == "rotates" else np.asarray
        if len(prim.GetAttribute(name).Get(context.time_code)) != count:
            return None
        arguments[argument] = context.sampled(prim.GetAttribute(name), convert)
    return arguments if "translates" in arguments else None


def has_values(context: ImportContext, prim: Any, names: frozenset[str], name: str) -> bool:
    return name in names and bool(prim.GetAttribute(name).Get(context.time_code))


def quaternions(values: Any) -> Any:
    """Floats in tuples x, y, z, w. One of length 0 is no rotation."""
    array = np.array(values, dtype=np.float32)
    array[~array.any(axis=1), 3] = 1
    return array


def hidden_instances(
    context: ImportContext, instancer: Any, prim: Any, names: frozenset[str], count: int
) -> Any:
    """The indices of the instances that are inactive or invisible at the frame."""
    if "invisibleIds" not in names and not prim.HasAuthoredMetadata("inactiveIds"):
        return np.array([], np.int32)
    if "invisibleIds" in names and context.codes(instancer.GetInvisibleIdsAttr()):
        context.lose("visibility of instances that changes, as it is at the frame", prim.GetPath())
    mask = np.asarray(instancer.ComputeMaskAtTime(context.time_code), dtype=bool)
    return np.flatnonzero(~mask) if len(mask) == count else np.array([], np.int32)


# The order of ops


class InstanceOps:
    """Orders the ops so that each finds its sources complete: with the instances below them."""

    def __init__(self, shares: dict[str, str], instancers: list[Instancer]) -> None:
        self.shares = shares
        """The location of the prototype of each location that is an instance."""
        self.instancers = instancers
        sources: dict[str, list[str]] = {place: [source] for place, source in shares.items()}
        sources.update({item.target: item.sources for item in instancers})
        self.sources = sources
        self.places = sorted(sources)
        self.levels: dict[str, int] = {}

    def add_to(self, ops: Ops) -> None:
        shares: dict[int, list[str]] = {}
        for place, source in self.shares.items():
            shares.setdefault(self.level_of(source), []).append(place)
        instancers: dict[int, list[Instancer]] = {}
        for item in self.instancers:
            level = max(map(self.level_of, item.sources))
            instancers.setdefault(level, []).append(item)
        ordered = [item for level in sorted(instancers) for item in instancers[level]]
        removers = self.removers(ordered)
        for level in sorted({*shares, *instancers}):
            if level in shares:
                ops.add("Share", self.share_arguments(shares[level]))
            for item in instancers.get(level, []):
                keeps = {"keepSource": 1} if item.target not in removers else {}
                fixed = {"sources": texts(item.sources), "target": item.target}
                ops.add("Instances", fixed | item.arguments | keeps)
        left = self.left_sources(ordered, removers)
        if left:
            ops.add("Prune", {"paths": texts(left)})

    def level_of(self, source: str) -> int:
        """How many ops Instances, one after the other, it takes to complete a source.

        Share needs no order: it follows its locations from source to source.
        """
        if source in self.levels:
            return self.levels[source]
        self.levels[source] = 0  # for sources that hold themselves
        level = 0
        for place in self.places_at(source):
            own = 0 if place in self.shares else 1
            level = max(level, own + max(map(self.level_of, self.sources[place])))
        self.levels[source] = level
        return level

    def places_at(self, source: str) -> list[str]:
        """The instances at a location and below it."""
        found = [source] if source in self.sources else []
        begin = bisect_left(self.places, source + "/")
        end = bisect_left(self.places, source + "0")  # the character after "/"
        return found + self.places[begin:end]

    def endless(self) -> set[str]:
        """The targets of the instancers that repeat themselves, also by way of others."""
        found: set[str] = set()
        done: set[str] = set()
        path: list[str] = []  # sources, each below the one before

        def visit(source: str, by: list[str]) -> None:
            if source in path:
                found.update(by[path.index(source) :])
            if source in path or source in done:
                return
            path.append(source)
            for place in self.places_at(source):
                for inner in self.sources[place]:
                    visit(inner, [*by, place])
            path.pop()
            done.add(source)

        for item in self.instancers:
            for source in item.sources:
                visit(source, [])
        return found

    def share_arguments(self, places: list[str]) -> dict[str, Any]:
        index: dict[str, int] = {}
        indices = [index.setdefault(self.shares[place], len(index)) for place in places]
        return {
            "locations": texts(places),
            "sources": texts(list(index)),
            "indices": np.array(indices, np.int32),
            "keepSources": 1,
        }

    def is_below_instancer(self, source: str) -> bool:
        return any(source.startswith(item.place + "/") for item in self.instancers)

    def removers(self, ordered: list[Instancer]) -> set[str]:
        """The instancers after which nobody needs their sources, which only served them."""
        later: list[str] = []
        found = set()
        for item in reversed(ordered):
            is_last = not any(overlap(a, b) for a in item.sources for b in later)
            if is_last and all(map(self.is_below_instancer, item.sources)):
                found.add(item.target)
            later.extend(item.sources)
        return found

    def left_sources(self, ordered: list[Instancer], removers: set[str]) -> list[str]:
        removed = {source for item in ordered if item.target in removers for source in item.sources}
        used = {source for item in ordered for source in item.sources}
        return sorted(source for source in used - removed if self.is_below_instancer(source))


def overlap(a: str, b: str) -> bool:
    return a == b or a.startswith(b + "/") or b.startswith(a + "/")


def texts(values: list[str]) -> Any:
    return tellar.attribute(values, "string")

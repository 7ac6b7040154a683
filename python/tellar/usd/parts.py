"""Parts of a stage, which several processes can read, and the scene that is joined of them.

A part is either a run of children of one prim, with all that is below them, or a single prim that
has too much below it for one run. Single prims are read by every process, because what is below
inherits from them, and count once.
"""

from __future__ import annotations

from collections.abc import Iterator, Mapping
from itertools import islice
from typing import Any, NamedTuple

import numpy as np
from pxr import Usd

import tellar

from .bounds import BoundsPass
from .calls import filtered_children, name_of
from .context import ImportContext
from .findings import Findings
from .finishing import (
    assign_materials,
    drop_empty_children,
    remove_excluded,
    set_transforms,
)
from .materials import import_material
from .nodes import Node
from .stage_reader import PREDICATE, StageReader
from .summary import ImportSummary


class Declined(Exception):
    """A stage has something that only one process can read."""


class Part(NamedTuple):
    """A run of children, or a single prim."""

    parent: int
    """The index of the part of the prim above; -1 for the pseudo-root."""
    path: str
    """The path of a single prim; empty for a run."""
    begin: int = 0
    end: int = 0
    """The run is of the children from `begin` to before `end`."""
    first: str = ""
    last: str = ""
    """The names of the first and the last one."""


class Place(NamedTuple):
    """Where the children of a prim are read, and what they inherit."""

    prim: Any
    node: int
    """The index of its node."""
    location: str
    purpose: str
    primvars: dict[str, Any]


class Run(NamedTuple):
    """What has been read of a run."""

    children: tellar.Group
    """The descriptions of the locations by their names."""
    box: list[float]
    """The box around them in the space of the prim above, infinite if there is none."""
    prims: int
    used: list[str]
    """The locations of the materials that are assigned."""
    materials: list[str]
    """The locations that are materials."""
    summaries: list[ImportSummary]
    """Of the reading, of the assignment of materials, and of the prims of other purposes."""


def count_of(prim: Any, most: int) -> int:
    """The number of prims at and below a prim, or `most` if there are more."""
    return len(list(islice(Usd.PrimRange(prim, PREDICATE), most)))


def plan_parts(stage: Any, size: int) -> list[Part]:
    """Divides a stage into parts in the order of its prims. Runs have about `size` prims."""
    root = stage.GetPseudoRoot()
    parts = [Part(-1, "/")]
    stack = [pieces(root, 0, size)]
    while stack:
        piece = next(stack[-1], None)
        if piece is None:
            stack.pop()
            continue
        part, prim = piece
        parts.append(part)
        if prim is not None:
            stack.append(pieces(prim, len(parts) - 1, size))
    return parts


def pieces(prim: Any, index: int, size: int) -> Iterator[tuple[Part, Any]]:
    """The parts of the children of a prim. Those that are too large come with their prims."""
    children = filtered_children(prim, PREDICATE)

    def run(begin: int, end: int) -> tuple[Part, Any]:
        first, last = name_of(children[begin]), name_of(children[end - 1])
        return Part(index, "", begin, end, first, last), None

    begin, total = 0, 0
    for number, child in enumerate(children):
        own = count_of(child, size + 1)
        if own > size:
            if number > begin:
                yield run(begin, number)
            yield Part(index, str(child.GetPath())), child
            begin, total = number + 1, 0
            continue
        total += own
        if total >= size:
            yield run(begin, number + 1)
            begin, total = number + 1, 0
    if begin < len(children):
        yield run(begin, len(children))


class PartReader:
    """Reads the single prims of a stage and any of the runs."""

    def __init__(self, context: ImportContext, parts: list[Part]) -> None:
        self.context = context
        self.parts = parts
        self.found = Findings()
        """What was found of the single prims."""
        self.indices: dict[int, int] = {}
        """The indices of their nodes by those of their parts."""
        self.places: dict[int, Place] = {}
        """By the indices of their parts. Prims that have no locations below them are missing."""
        self.summaries: dict[int, ImportSummary] = {}
        self.networks: dict[str, Any] = {}
        """The materials that were asked for, by their locations."""

    def read_single_prims(self) -> None:
        """Comes before all else. Raises Declined."""
        reader = StageReader(self.context)
        self.found = reader.found
        for number, part in enumerate(self.parts):
            if part.path:
                self.summaries[number] = self.context.summary = ImportSummary()
                self._read_single(reader, number, part)
        check(self.found)

    def _read_single(self, reader: StageReader, number: int, part: Part) -> None:
        stage = self.context.stage
        if part.parent < 0:
            self.indices[number] = index = reader.add_root()
            root = stage.GetPseudoRoot()
            self.places[number] = Place(root, index, self.context.location, "default", {})
            return
        above = self.places.get(part.parent)
        if above is None:
            return
        prim = stage.GetPrimAtPath(part.path)
        if not prim:
            raise Declined
        name = name_of(prim)
        where = f"{above.location}/{name}"
        self.indices[number] = index = self.found.add_node(name, above.node, where)
        reading = reader.prims.read_valid(prim, index, where, above.purpose, above.primvars)
        if reading is not None:
            self.places[number] = Place(prim, index, where, *reading)

    def read_run(self, number: int) -> Run | None:
        """Reads a run and completes its nodes; None if it makes no locations.

        Raises Declined.
        """
        part, context = self.parts[number], self.context
        above = self.places.get(part.parent)
        if above is None:
            return None
        children = filtered_children(above.prim, PREDICATE)[part.begin : part.end]
        if not children or (name_of(children[0]), name_of(children[-1])) != part[4:]:
            raise Declined
        summaries = [ImportSummary() for _ in range(3)]
        context.summary = summaries[0]
        reader = StageReader(context)
        found = reader.found
        top = self._copy_above(found, above.node)
        found.may_bind = self.found.may_bind
        reader.read_children(children, top, above.location, above.purpose, above.primvars)
        check(found)
        context.summary = summaries[1]
        used: list[str] = []
        assign_materials(context, found, lambda place: self._material_at(place, used))
        context.summary = summaries[2]
        set_transforms(context, found.nodes)
        remove_excluded(context, found)
        bounds = BoundsPass(context, found.nodes)
        bounds.run()
        drop_empty_children(found)
        prims = len(found.nodes) - top - 1
        group = tellar.group(found.nodes[top].children)
        box = bounds.boxes[top].tolist()
        return Run(group, box, prims, used, list(found.materials), summaries)

    def _copy_above(self, found: Findings, index: int) -> int:
        """Copies the prim above a run, and those above it, without what is not inherited.

        Returns its index.
        """
        above: list[Node] = []
        while index >= 0:
            above.append(self.found.nodes[index])
            index = above[-1].parent
        for number, node in enumerate(reversed(above)):
            copy = Node(node.name, number - 1)
            copy.matrix, copy.resets = node.matrix, node.resets
            found.nodes.append(copy)
            found.entries.append({"a": copy.attributes, "c": copy.children})
        return len(above) - 1

    def _material_at(self, place: str, used: list[str]) -> Any:
        """The network of a material, which may be in another part; None if it has none."""
        if place not in self.networks:
            context, summary = self.context, self.context.summary
            context.summary = ImportSummary()  # its own part counts
            prim = context.stage.GetPrimAtPath(place.removeprefix(context.location))
            self.networks[place] = import_material(prim, context)
            context.summary = summary
        if self.networks[place] is not None:
            used.append(place)
        return self.networks[place]

    def join(self, runs: Mapping[int, Run | None]) -> Findings:
        """Completes the nodes of the single prims, with the runs below them.

        The summary of the context becomes that of the whole stage. Raises Declined.
        """
        context, found = self.context, self.found
        context.summary = ImportSummary()
        for number in range(len(self.parts)):
            self._merge(runs, number, 0)
        used: list[str] = []
        assign_materials(context, found, lambda place: self._material_at(place, used))
        there = {*found.materials}
        boxes = []
        for node in found.nodes:
            node.children.clear()
        for number, part in enumerate(self.parts):
            run = runs.get(number)
            if run is not None:
                self._merge(runs, number, 1)
                used.extend(run.used)
                there.update(run.materials)
                above = self.indices[part.parent]
                found.nodes[above].children.update(run.children.items())
                boxes.append((above, np.array(run.box)))
                context.summary.prims += run.prims
            elif number in self.indices and part.parent >= 0:
                index = self.indices[number]
                node = found.nodes[index]
                found.nodes[node.parent].children[node.name] = found.entries[index]
        if not there.issuperset(used):
            raise Declined
        context.summary.prims += len(found.nodes) - 1
        set_transforms(context, found.nodes)
        self._remove_excluded(runs)
        BoundsPass(context, found.nodes).run(boxes)
        drop_empty_children(found)
        return found

    def _remove_excluded(self, runs: Mapping[int, Run | None]) -> None:
        for number in reversed(range(len(self.parts))):
            self._merge(runs, number, 2)
            index = self.indices.get(number)
            node = self.found.nodes[index] if index is not None else None
            if node is not None and node.is_excluded and not node.children:
                del self.found.nodes[node.parent].children[node.name]
                self.context.lose("prims of other purposes", self.places[number].location)

    def _merge(self, runs: Mapping[int, Run | None], number: int, phase: int) -> None:
        run = runs.get(number)
        if run is not None:
            self.context.summary.add(run.summaries[phase])
        elif number in self.summaries and phase == 0:
            self.context.summary.add(self.summaries[number])


def check(found: Findings) -> None:
    """Raises Declined for what refers to other locations."""
    if found.prototypes or found.shares or found.instancers or found.own or found.helpers:
        raise Declined

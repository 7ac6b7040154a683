"""Walks over the prims of a stage, and over those of its prototypes."""

from __future__ import annotations

from typing import Any

import numpy as np
from pxr import Gf, Usd

from . import roundtrip
from .calls import filtered_children, name_of
from .collecting import no_collection
from .context import ImportContext
from .findings import Findings
from .finishing import finish_nodes
from .materials import import_material
from .nodes import Node
from .plain import encoded, plain_value
from .prim_reader import PrimReader
from .remembered import HELPER_KEY, NAME_KEY

PREDICATE = Usd.PrimIsActive & Usd.PrimIsDefined & ~Usd.PrimIsAbstract
_STAGE_METADATA = (
    "customLayerData",
    "startTimeCode",
    "endTimeCode",
    "timeCodesPerSecond",
    "framesPerSecond",
    "upAxis",
    "metersPerUnit",
    "defaultPrim",
    "comment",
)


def read_stage(context: ImportContext) -> Findings:
    """Reads the stage of a context, and completes the nodes of all its locations."""
    with no_collection(), np.errstate(all="ignore"):  # a stage may hold infinities
        found = StageReader(context).read()
        context.summary.prims = len(found.nodes) - 1
        finish_nodes(context, found)
        return found


class StageReader:
    """Makes a node of each prim, parents before their children."""

    def __init__(self, context: ImportContext) -> None:
        self.context = context
        self.found = Findings()
        self.prims = PrimReader(context, self.found)

    def read(self) -> Findings:
        """Reads the stage, the prototypes that it uses, and those that only instancers name."""
        self._read_top(self.add_root())
        done: set[str] = set()
        while len(done) < len(self.found.prototypes):
            for name, prim in list(self.found.prototypes.items()):
                if name not in done:
                    done.add(name)
                    place = f"{self.context.prototypes}/{name}"
                    self._read_tree(prim, self.found.add_node(name, -1, place), place)
        self._read_missing_sources()
        return self.found

    def add_root(self) -> int:
        """Adds the location of the pseudo-root, with the metadata of the stage."""
        root = self.found.add_node("", -1, self.context.location)
        if self.context.root_matrix != Gf.Matrix4d(1) and not self.context.top:
            self.found.nodes[root].matrix = self.context.root_matrix
        layer = self.context.stage.GetRootLayer()
        metadata = {
            name: plain_value(self.context.stage.GetMetadata(name))
            for name in _STAGE_METADATA
            if layer.pseudoRoot.HasInfo(name)
        }
        if metadata:
            self.found.nodes[root].attributes["usd"] = {"stage": metadata}
        return root

    def _read_top(self, root: int) -> None:
        """Reads the stage. The top prim of an exported scene is the root itself."""
        context, location = self.context, self.context.location
        top = context.stage.GetPseudoRoot()
        primvars: dict[str, Any] = {}
        if context.top:
            for prim in top.GetFilteredChildren(PREDICATE):
                if str(prim.GetPath()) != context.top:
                    context.lose("prims beside those of an exported scene", prim.GetPath())
            top = context.stage.GetPrimAtPath(context.top)
            del self.found.nodes[root].attributes["usd"]
            self.found.may_bind = True  # by prims above the top that are not read
            reading = self.prims.read_valid(top, root, location, "default", primvars)
            convert_root(context, self.found.nodes[root])
            if reading is None:
                return
            primvars = reading[1]
        self._read_tree(top, root, location, primvars)

    def _read_tree(
        self, top: Any, root: int, place: str, inherited: dict[str, Any] | None = None
    ) -> None:
        """Reads everything below a prim, of which the location is there already."""
        children = filtered_children(top, PREDICATE)
        self.read_children(children, root, place, "default", inherited or {})

    def read_children(
        self, prims: list[Any], parent: int, place: str, purpose: str, inherited: dict[str, Any]
    ) -> None:
        """Reads children of a location with all that is below them."""
        is_own = self.context.is_own
        stack: list[tuple[Any, int, str, str, dict[str, Any]]] = []

        def push(
            children: list[Any], index: int, path: str, purpose: str, primvars: dict[str, Any]
        ) -> None:
            for child in reversed(children):
                stack.append((child, index, path, purpose, primvars))

        push(prims, parent, place, purpose, inherited)
        while stack:
            prim, parent, where, purpose, primvars = stack.pop()
            name = name_of(prim)
            if is_own and prim.HasAuthoredCustomDataKey(roundtrip.OWN):
                if prim.GetCustomDataByKey(HELPER_KEY):
                    self._read_helpers(prim)
                    continue
                true_name = prim.GetCustomDataByKey(NAME_KEY) or name
                where, name = f"{where}/{true_name}", encoded(true_name)
            else:
                where = f"{where}/{name}"
            index = self.found.add_node(name, parent, where)
            reading = self.prims.read_valid(prim, index, where, purpose, primvars)
            if reading is not None:
                push(filtered_children(prim, PREDICATE), index, where, *reading)

    def _read_helpers(self, scope: Any) -> None:
        """Reads the materials of locations that have them without a location of the material."""
        for prim in scope.GetFilteredChildren(PREDICATE):
            group = import_material(prim, self.context)
            if group is not None:
                place = self.context.location_of(prim.GetPath())
                self.found.materials[place] = group
                self.found.helpers.add(place)

    def _read_missing_sources(self) -> None:
        """Reads prototypes of instancers that are no part of the scene, such as overs."""
        for item in list(self.found.instancers):
            targets = [source for source in item.sources if source not in self.found.index_of]
            for source in targets:
                prim = self._prim_at(source)
                if not prim:
                    continue
                self.found.may_bind = True  # by prims above that are not read
                name = f"source_{len(self.found.roots)}"
                place = f"{self.context.prototypes}/{name}"
                root = self.found.add_node(name, -1, place)
                self.prims.read_valid(prim, root, place, "default", {})
                self._read_tree(prim, root, place)
                item.sources = [place if other == source else other for other in item.sources]

    def _prim_at(self, location: str) -> Any:
        own = self.context.location + "/"
        if not location.startswith(own):
            return None
        return self.context.stage.GetPrimAtPath(self.context.top + location[len(own) - 1 :])


def convert_root(context: ImportContext, node: Node) -> None:
    """Applies the stage's axes and units to a root that has a matrix of its own."""
    after = context.root_matrix
    if after == Gf.Matrix4d(1) or node.resets:
        return
    if node.samples is not None:
        node.samples = {code: matrix * after for code, matrix in node.samples.items()}
    else:
        node.matrix = after if node.matrix is None else node.matrix * after

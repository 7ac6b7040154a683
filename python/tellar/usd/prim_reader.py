"""Reads one prim after the other into the location that it becomes."""

from __future__ import annotations

from typing import Any

import numpy as np
from pxr import Tf, Usd, UsdGeom

import tellar

from . import cameras, geometry, instances, roundtrip
from .calls import (
    attribute_of,
    authored_metadata,
    authored_property_names,
    type_of,
    value_of,
)
from .context import ImportContext
from .findings import Findings
from .lights import import_light, is_light_property
from .materials import import_material
from .nodes import Node
from .plain import STRUCTURE, keep_metadata, keep_property, keep_schemas, user_property
from .primvars import Elements, read_primvars
from .properties import Rest, properties_of, rest_of
from .transforms import local_transform

_SUBSET = frozenset(("elementType", "indices", "familyName"))
_LIGHTS = frozenset(
    """DistantLight DomeLight DomeLight_1 RectLight SphereLight DiskLight CylinderLight
    GeometryLight PortalLight PluginLight""".split()
)
_GROUPS = frozenset(("Xform", "", "Scope", "SkelRoot"))


class PrimReader:
    """Fills the nodes of prims, and notes in the findings what is left to do for them."""

    def __init__(self, context: ImportContext, found: Findings) -> None:
        self.context = context
        self.found = found

    def read_valid(
        self, prim: Any, index: int, where: str, purpose: str, primvars: dict[str, Any]
    ) -> tuple[str, dict[str, Any]] | None:
        """As _read_prim, but a prim that USD refuses keeps what has been read of it."""
        try:
            return self._read_prim(prim, index, where, purpose, primvars)
        except Tf.ErrorException:
            self.context.lose("prims that USD finds invalid", prim.GetPath())
            self.found.may_bind = True
            return purpose, primvars

    def _read_prim(
        self, prim: Any, index: int, where: str, purpose: str, primvars: dict[str, Any]
    ) -> tuple[str, dict[str, Any]] | None:
        """Fills the location of a prim.

        Returns the purpose and the primvars that its children inherit, or None if they are no
        locations.
        """
        context, node = self.context, self.found.nodes[index]
        properties = properties_of(tuple(authored_property_names(prim)))
        names = properties.names
        if properties.may_bind:
            self.found.may_bind = True
        if "purpose" in names:
            purpose = value_of(attribute_of(prim, "purpose")) or purpose
        if "xformOpOrder" in names:
            self._read_transform(prim, node)
        if "visibility" in names:
            read_visibility(context, prim, node)
        if purpose not in context.purposes and type_of(prim) != "Material":
            node.is_excluded = True
            return purpose, primvars
        metadata = authored_metadata(prim)
        kind: str = metadata.get("typeName") or type_of(prim)
        context.count(kind or "prims without a type")
        usd: dict[str, Any] = {}
        if not STRUCTURE.issuperset(metadata):
            keep_metadata(context, prim, metadata, usd)
        known, elements = self._read_kind(prim, kind, names, index, where)
        rest = rest_of(properties, known)
        if rest is not None:
            self._read_rest(prim, index, rest, elements, usd)
        keep_schemas(context, prim, kind, metadata, usd)
        if "doubleSided" in names and "geometry" in node.attributes:
            sided = bool(value_of(attribute_of(prim, "doubleSided")))
            node.attributes["geometry"]["doubleSided"] = int(sided)
        if primvars or "geometry" in node.attributes:
            primvars = self._inherit_primvars(node, kind, primvars)
        is_instance = "instanceable" in metadata and prim.IsInstance()
        self._note_binding(prim, kind, index, is_instance)
        if is_instance:
            self._share(prim, index, where, primvars)
            node.attributes.setdefault("usd", {}).update(usd) if usd else None
            return None
        if usd:
            node.attributes.setdefault("usd", {}).update(usd)
        if kind not in geometry.KNOWN and not prim.IsLoaded():
            context.lose("payloads that are not loaded", prim.GetPath())
            read_extents_hint(prim, node)
        return None if kind == "Material" else (purpose, primvars)

    def _read_transform(self, prim: Any, node: Node) -> None:
        """Notes the local matrix of a prim, or its samples."""
        try:
            local = local_transform(self.context, prim)
        except Tf.ErrorException:
            self.context.lose("transforms that USD finds invalid", prim.GetPath())
            return
        if local is None:
            return
        node.resets = local.resets
        after = self.context.root_matrix if local.resets else None
        if local.samples is not None:
            node.samples = {
                code: matrix if after is None else matrix * after
                for code, matrix in local.samples.items()
            }
        else:
            node.matrix = local.matrix if after is None else local.matrix * after

    def _read_kind(
        self, prim: Any, kind: str, names: frozenset[str], index: int, where: str
    ) -> tuple[frozenset[str], Elements | None]:
        """Reads what the type of a prim means. Returns the properties that it has read."""
        context, node = self.context, self.found.nodes[index]
        nothing: frozenset[str] = frozenset()
        if kind in geometry.KNOWN:
            elements = geometry.read_geometry(context, prim, kind, names, node)
            geometry.read_extent(context, prim, names, node)
            return geometry.KNOWN[kind], elements
        if kind == "Xform":
            return nothing, None
        if kind == "GeomSubset":
            return self._read_subset(prim, node), None
        if kind == "Camera":
            node.attributes["type"] = "camera"
            node.attributes["geometry"] = cameras.camera_geometry(context, prim)
            return cameras.KNOWN, None
        if kind == "PointInstancer":
            return self._read_instancer(prim, names, node, where)
        if kind == "Material":
            return self._read_material(prim, names, node, where), None
        if kind in _LIGHTS:
            return self._read_light(prim, names, node), None
        node.attributes.setdefault("usd", {})["typeName"] = kind
        if kind not in _GROUPS:
            context.keep(f"prims of the type {kind}", prim.GetPath())
            if "extent" in names or prim.IsA(UsdGeom.Boundable):
                geometry.read_extent(context, prim, names, node)
        if kind == "SkelRoot":
            context.lose("skeletons, which do not move their meshes", prim.GetPath())
        return nothing, None

    def _read_subset(self, prim: Any, node: Node) -> frozenset[str]:
        context = self.context
        element = prim.GetAttribute("elementType").Get() or "face"
        node.attributes["usd"] = {"familyName": prim.GetAttribute("familyName").Get() or ""}
        if element != "face":
            node.attributes["usd"]["typeName"] = "GeomSubset"
            context.keep(f"subsets of elements {element}", prim.GetPath())
            return frozenset()
        node.attributes["type"] = "faceset"
        attribute = prim.GetAttribute("indices")
        if context.codes(attribute):
            context.lose("subsets that change, as they are at the frame", prim.GetPath())
        faces = attribute.Get(context.time_code) or ()
        node.attributes["geometry"] = {"faces": np.asarray(faces, np.int32)}
        return _SUBSET

    def _read_instancer(
        self, prim: Any, names: frozenset[str], node: Node, where: str
    ) -> tuple[frozenset[str], Elements | None]:
        context = self.context
        node.attributes["usd"] = {"typeName": "PointInstancer"}
        node.hides_children_bounds = True
        if "extent" in names:
            geometry.read_authored_extent(context, prim, node)
        instancer = instances.read_instancer(context, prim, names, where)
        if instancer is None:
            return frozenset(), None
        self.found.instancers.append(instancer)
        for name in names:
            if name.startswith("primvars:"):
                context.lose("primvars of point instances", prim.GetPath())
        if not instancer.count:
            return frozenset(), None
        known = instances.KNOWN - {"ids", "invisibleIds"}
        return known, Elements(instancer.count, instancer.count, instancer.count)

    def _read_material(
        self, prim: Any, names: frozenset[str], node: Node, where: str
    ) -> frozenset[str]:
        network = import_material(prim, self.context)
        node.attributes["type"] = "material"
        if network is None:
            return frozenset()
        group = network if isinstance(network, tellar.Group) else tellar.group(network)
        node.attributes["material"] = self.found.materials[where] = group
        return frozenset(
            name for name in names if name.startswith(("inputs:", "outputs:", "info:"))
        )

    def _read_light(self, prim: Any, names: frozenset[str], node: Node) -> frozenset[str]:
        attributes = import_light(prim, self.context)
        if prim.IsA(UsdGeom.Boundable):
            geometry.read_extent(self.context, prim, names, node)
        if attributes is None:
            node.attributes["usd"] = {"typeName": prim.GetTypeName()}
            self.context.keep(f"lights of the type {prim.GetTypeName()}", prim.GetPath())
            return frozenset()
        node.attributes.update(attributes)
        return frozenset(name for name in names if is_light_property(name))

    def _read_rest(
        self,
        prim: Any,
        index: int,
        rest: Rest,
        elements: Elements | None,
        usd: dict[str, Any],
    ) -> None:
        """Reads the properties that any prim may have, and keeps those that mean nothing here."""
        context, node = self.context, self.found.nodes[index]
        for name in rest.user:
            user_property(context, prim, name, node.attributes.setdefault("user", {}))
        for name in rest.kept:
            keep_property(context, prim, name, usd)
        if rest.own:
            own_values = roundtrip.read_own(context, prim, rest.own)
            self.found.own.append((index, str(prim.GetPath()), own_values))
        if rest.primvars:
            arbitrary = read_primvars(context, prim, rest.primvars, elements, usd)
            if arbitrary:
                own = node.attributes.setdefault("geometry", {}).setdefault("arbitrary", {})
                own.update(arbitrary)

    def _inherit_primvars(
        self, node: Node, kind: str, inherited: dict[str, Any]
    ) -> dict[str, Any]:
        """Constant primvars hold for all shapes below. Returns those that children inherit."""
        own = node.attributes.get("geometry", {}).get("arbitrary", {})
        if kind in geometry.KNOWN:
            if inherited:
                node.attributes["geometry"]["arbitrary"] = inherited | own
            return {}
        constant = {name: entry for name, entry in own.items() if entry["scope"] == "primitive"}
        return inherited | constant if constant else inherited

    def _note_binding(self, prim: Any, kind: str, index: int, is_instance: bool) -> None:
        """Notes a shape, a subset or an instance, which may be bound to a material."""
        if not self.found.may_bind:
            return
        is_bound = kind in geometry.KNOWN or kind in ("GeomSubset", "PointInstancer")
        if not (is_bound or is_instance):
            return
        if kind == "GeomSubset" and not is_material_subset(self.found.nodes[index]):
            return
        self.found.bindable.append((index, prim))

    def _share(self, prim: Any, index: int, where: str, primvars: dict[str, Any]) -> None:
        """Lets an instance show the locations of its prototype."""
        source = self._shared_location(prim) if self.context.is_own else None
        if source is not None:
            self.found.shares[where] = self.found.prototype_of[index] = source
            self.context.count("scene-graph instances")
            return
        prototype = prim.GetPrototype()
        name = self.context.prototype_name(prototype.GetName())
        self.found.prototypes.setdefault(name, prototype)
        self.found.shares[where] = f"{self.context.prototypes}/{name}"
        self.found.prototype_of[index] = self.found.shares[where]
        self.context.count("scene-graph instances")
        if primvars:
            self.context.lose("primvars that instances inherit", prim.GetPath())

    def _shared_location(self, prim: Any) -> str | None:
        """The location that an instance in an exported scene shows; None if it was edited."""
        spec = self.context.stage.GetRootLayer().GetPrimAtPath(prim.GetPath())
        found: list[Any] = list(spec.referenceList.GetAddedOrExplicitItems()) if spec else []
        if len(found) != 1 or found[0].assetPath:
            return None
        place = self.context.location_of(found[0].primPath)
        return place if place in self.found.index_of else None


def read_visibility(context: ImportContext, prim: Any, node: Node) -> None:
    value = context.sampled(
        prim.GetAttribute("visibility"), lambda token: int(token != UsdGeom.Tokens.invisible)
    )
    if value is not None and not (isinstance(value, int) and value == 1):
        node.attributes["visible"] = value


def is_material_subset(node: Node) -> bool:
    """Whether a subset is one of those that USD binds materials to."""
    is_faceset: bool = node.attributes["type"] == "faceset"
    return is_faceset and node.attributes["usd"]["familyName"] == "materialBind"


def read_extents_hint(prim: Any, node: Node) -> None:
    """The box of a model whose payload is not loaded."""
    hint = UsdGeom.ModelAPI(prim).GetExtentsHint(Usd.TimeCode.EarliestTime())
    if hint is not None and len(hint) >= 2:
        node.extent = hint[:2]

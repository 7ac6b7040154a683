"""Reads a composed USD stage as a scene."""

from __future__ import annotations

import os
import re
from collections.abc import Iterable, Mapping
from pathlib import Path
from typing import Any

import numpy as np
from pxr import Gf, Sdf, Tf, Usd, UsdGeom, Vt

import tellar

from .. import _ops
from . import cameras, geometry, instances, roundtrip
from .bindings import BindingResolver
from .bounds import BoundsPass
from .collecting import no_collection
from .context import ImportContext
from .instances import InstanceOps, Instancer, Ops
from .lights import import_light, is_light_property
from .materials import import_material
from .nodes import Node
from .plain import encoded, keep_metadata, keep_property, keep_schemas, plain_value, user_property
from .primvars import Elements, arbitrary_name, read_primvars
from .remembered import HELPER_KEY, NAME_KEY
from .summary import ImportSummary
from .transforms import local_transform

Variants = Mapping[str, Mapping[str, str]] | Iterable[str]

_LOCATION = re.compile(r"/root(/[^/.%]+)*")
_PREDICATE = Usd.PrimIsActive & Usd.PrimIsDefined & ~Usd.PrimIsAbstract
_COMMON = frozenset(("visibility", "purpose", "xformOpOrder", "extent", "doubleSided"))
_SUBSET = frozenset(("elementType", "indices", "familyName"))
_LIGHTS = frozenset(
    """DistantLight DomeLight DomeLight_1 RectLight SphereLight DiskLight CylinderLight
    GeometryLight PortalLight PluginLight""".split()
)
_GROUPS = frozenset(("Xform", "", "Scope", "SkelRoot"))
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


class ImportResult:
    """What :func:`import_usd` returns."""

    def __init__(self, description: tellar.Group, summary: ImportSummary) -> None:
        self.description = description
        """The group that describes the op tree."""
        self.summary = summary
        """What was found, kept as plain attributes, and lost."""

    @property
    def op(self) -> tellar.Op:
        """The last op of the tree, for more ops."""
        return _ops.op_of(self.description, None)

    def scene(self) -> tellar.Scene:
        """Opens the scene. Nothing of it is computed yet."""
        return tellar.scene(self.description)

    def write(self, path: str | os.PathLike[str], compress: bool = False) -> None:
        """Writes an op file, which opens in milliseconds, or JSON by the extension ".json".

        Raises FileError.
        """
        if Path(os.fspath(path)).suffix.lower() == ".json":
            tellar.write_json(self.description, path)
        else:
            tellar.write_op_file(self.description, path, compress)

    def __repr__(self) -> str:
        return f"<ImportResult of {self.summary.prims} prims>"


def import_usd(
    path: str | os.PathLike[str] | Any,
    *,
    location: str | None = None,
    variants: Variants | None = None,
    population_mask: Iterable[str] | None = None,
    purposes: Iterable[str] = ("default", "render"),
    load: str = "all",
    frame: float = 0.0,
    frames_per_second: float | None = None,
    convert_units: bool = True,
) -> ImportResult:
    """Reads a USD file, or an open Usd.Stage, as a scene.

    ``location`` is the path of the stage's pseudo-root: "/root/world", unless given. What
    :func:`export_usd` has written goes where it was, unless given. Prototypes of scene-graph
    instances go below ``/root/prototypes``, hidden.

    ``variants`` selects variants: ``{"/car": {"paint": "red"}}`` or ``["/car{paint=red}"]``;
    ``population_mask`` are the paths of the prims to compose, with all below them;
    ``load="none"`` leaves payloads out. The three apply to files only: a stage has its own.

    ``purposes`` are those of the shapes that are imported. The times of samples are frames
    relative to ``frame``; a time code is a frame unless ``frames_per_second`` says how many of
    them a second has. ``convert_units`` turns the scene to +Y up and scales it to metres at
    ``location``.

    Raises FileError for a file that cannot be read, and BadCallError for a variant that does not
    exist and other wrong arguments.
    """
    if load not in ("all", "none"):
        raise tellar.BadCallError(f'load is "all" or "none", not "{load}"')
    if location is not None and not _LOCATION.fullmatch(location):
        raise tellar.BadCallError(f'"{location}" is no path of a location, such as "/root/world"')
    wanted = list(purposes)
    for purpose in wanted:
        if purpose not in ("default", "render", "proxy", "guide"):
            raise tellar.BadCallError(f'"{purpose}" is no purpose')
    stage = path
    if not isinstance(path, Usd.Stage):
        stage = open_stage(Path(os.fspath(path)), population_mask, load)
        select_variants(stage, variants)
    elif variants is not None or population_mask is not None or load != "all":
        raise tellar.BadCallError("an open stage has its variants, mask and payloads already")
    context = ImportContext(
        stage,
        location=location,
        frame=frame,
        frames_per_second=frames_per_second,
        purposes=wanted,
        convert_units=convert_units,
    )
    return StageReader(context).read()


def open_stage(path: Path, mask: Iterable[str] | None, load: str) -> Any:
    rule = Usd.Stage.LoadAll if load == "all" else Usd.Stage.LoadNone
    if not path.is_file():
        raise tellar.FileError(f'There is no file "{path}"', file=str(path))
    try:
        if mask is None:
            return Usd.Stage.Open(str(path), rule)
        paths = [checked_path(text) for text in mask]
        return Usd.Stage.OpenMasked(str(path), Usd.StagePopulationMask(paths), rule)
    except Tf.ErrorException as error:
        reason = "; ".join(str(item.commentary) for item in error.args) or "unknown error"
        raise tellar.FileError(f'Cannot read USD file "{path}": {reason}', file=str(path)) from None


def checked_path(text: str) -> Any:
    if not Sdf.Path.IsValidPathString(text) or not Sdf.Path(text).IsAbsoluteRootOrPrimPath():
        raise tellar.BadCallError(f'"{text}" is no path of a prim')
    return Sdf.Path(text)


def select_variants(stage: Any, variants: Variants | None) -> None:
    """Selects variants in the session layer."""
    if variants is None:
        return
    with Usd.EditContext(stage, stage.GetSessionLayer()):
        for path, name, variant in variant_choices(variants):
            prim = stage.GetPrimAtPath(path)
            if not prim:
                raise tellar.BadCallError(f'there is no prim "{path}" for the variant "{variant}"')
            sets = prim.GetVariantSets()
            if name not in sets.GetNames():
                raise tellar.BadCallError(f'"{path}" has no variant set "{name}"')
            if variant not in sets.GetVariantSet(name).GetVariantNames():
                raise tellar.BadCallError(f'"{path}" has no variant "{variant}" of "{name}"')
            sets.GetVariantSet(name).SetVariantSelection(variant)


def variant_choices(variants: Variants) -> list[tuple[Any, str, str]]:
    if isinstance(variants, Mapping):
        return [
            (checked_path(path), name, variant)
            for path, choices in variants.items()
            for name, variant in choices.items()
        ]
    found = []
    for text in variants:
        valid = Sdf.Path.IsValidPathString(text) and Sdf.Path(text).IsPrimVariantSelectionPath()
        if not valid:
            raise tellar.BadCallError(f'"{text}" is no variant, such as "/car{{paint=red}}"')
        chosen = Sdf.Path(text)
        found.append((chosen.GetPrimPath(), *chosen.GetVariantSelection()))
    return found


class StageReader:
    """Reads the prims of a stage, one after the other, into nodes and then into ops."""

    def __init__(self, context: ImportContext) -> None:
        self.context = context
        self.nodes: list[Node] = []
        self.entries: list[dict[str, Any]] = []
        self.index_of: dict[str, int] = {}
        self.shares: dict[str, str] = {}
        self.prototype_of: dict[int, str] = {}
        self.instancers: list[Instancer] = []
        self.prototypes: dict[str, Any] = {}
        self.materials: dict[str, Any] = {}
        self.bound_materials: list[tuple[int, str]] = []
        self.resolver = BindingResolver(context.stage, context)
        self.own: list[tuple[int, str, roundtrip.Own]] = []
        self.helpers: set[str] = set()

    def read(self) -> ImportResult:
        with no_collection(), np.errstate(all="ignore"):  # a stage may hold infinities
            return self._read_all()

    def _read_all(self) -> ImportResult:
        root = self._root()
        self._read_top(root)
        roots = {self.context.location: root}
        done: set[str] = set()
        while len(done) < len(self.prototypes):
            for name, prim in list(self.prototypes.items()):
                if name not in done:
                    done.add(name)
                    place = f"{self.context.prototypes}/{name}"
                    roots[place] = self._add_node(name, -1, place)
                    self._read_tree(prim, roots[place], place)
        self._read_missing_sources(roots)
        self._finish_nodes()
        self.context.summary.prims = len(self.nodes) - 1
        return self._result(roots)

    # Trees

    def _root(self) -> int:
        root = self._add_node("", -1, self.context.location)
        if self.context.root_matrix != Gf.Matrix4d(1) and not self.context.top:
            self.nodes[root].matrix = self.context.root_matrix
        layer = self.context.stage.GetRootLayer()
        found = {
            name: plain_value(self.context.stage.GetMetadata(name))
            for name in _STAGE_METADATA
            if layer.pseudoRoot.HasInfo(name)
        }
        if found:
            self.nodes[root].attributes["usd"] = {"stage": found}
        return root

    def _read_top(self, root: int) -> None:
        """Reads the stage. The top prim of an exported scene is the root itself."""
        context, location = self.context, self.context.location
        top = context.stage.GetPseudoRoot()
        primvars: dict[str, Any] = {}
        if context.top:
            for prim in top.GetFilteredChildren(_PREDICATE):
                if str(prim.GetPath()) != context.top:
                    context.lose("prims beside those of an exported scene", prim.GetPath())
            top = context.stage.GetPrimAtPath(context.top)
            del self.nodes[root].attributes["usd"]
            reading = self._read_valid(top, root, location, "default", primvars)
            convert_root(context, self.nodes[root])
            if reading is None:
                return
            primvars = reading[1]
        self._read_tree(top, root, location, primvars)

    def _add_node(self, name: str, parent: int, place: str) -> int:
        index = len(self.nodes)
        node = Node(name, parent)
        entry = {"a": node.attributes, "c": node.children}
        if parent >= 0:
            self.nodes[parent].children[name] = entry
        self.nodes.append(node)
        self.entries.append(entry)
        self.index_of[place] = index
        return index

    def _read_tree(
        self, top: Any, root: int, place: str, inherited: dict[str, Any] | None = None
    ) -> None:
        """Reads everything below a prim, of which the location is there already."""
        is_own = self.context.is_own
        stack: list[tuple[Any, int, str, str, dict[str, Any]]] = []

        def push(prim: Any, index: int, path: str, purpose: str, primvars: dict[str, Any]) -> None:
            for child in reversed(prim.GetFilteredChildren(_PREDICATE)):
                stack.append((child, index, path, purpose, primvars))

        push(top, root, place, "default", inherited or {})
        while stack:
            prim, parent, where, purpose, primvars = stack.pop()
            name = prim.GetName()
            if is_own and prim.HasAuthoredCustomDataKey(roundtrip.OWN):
                if prim.GetCustomDataByKey(HELPER_KEY):
                    self._read_helpers(prim)
                    continue
                true_name = prim.GetCustomDataByKey(NAME_KEY) or name
                where, name = f"{where}/{true_name}", encoded(true_name)
            else:
                where = f"{where}/{name}"
            index = self._add_node(name, parent, where)
            reading = self._read_valid(prim, index, where, purpose, primvars)
            if reading is not None:
                push(prim, index, where, *reading)

    def _read_helpers(self, scope: Any) -> None:
        """Reads the materials of locations that have them without a location of the material."""
        for prim in scope.GetFilteredChildren(_PREDICATE):
            group = import_material(prim, self.context)
            if group is not None:
                place = self.context.location_of(prim.GetPath())
                self.materials[place] = group
                self.helpers.add(place)

    def _read_valid(
        self, prim: Any, index: int, where: str, purpose: str, primvars: dict[str, Any]
    ) -> tuple[str, dict[str, Any]] | None:
        """As _read_prim, but a prim that USD refuses keeps what has been read of it."""
        try:
            return self._read_prim(prim, index, where, purpose, primvars)
        except Tf.ErrorException:
            self.context.lose("prims that USD finds invalid", prim.GetPath())
            return purpose, primvars

    def _read_prim(
        self, prim: Any, index: int, where: str, purpose: str, primvars: dict[str, Any]
    ) -> tuple[str, dict[str, Any]] | None:
        """Fills the location of a prim.

        Returns the purpose and the primvars that its children inherit, or None if they are no
        locations.
        """
        context, node = self.context, self.nodes[index]
        kind = prim.GetTypeName()
        names = set(prim.GetAuthoredPropertyNames())
        if "purpose" in names:
            purpose = prim.GetAttribute("purpose").Get() or purpose
        if "xformOpOrder" in names:
            self._read_transform(prim, node)
        if "visibility" in names:
            read_visibility(context, prim, node)
        node.is_excluded = purpose not in context.purposes and kind != "Material"
        if node.is_excluded:
            return purpose, primvars
        context.count(kind or "prims without a type")
        usd: dict[str, Any] = {}
        keep_metadata(context, prim, usd)
        known, elements = self._read_kind(prim, kind, names, index, where)
        rest = names - _COMMON - known
        if rest:
            self._read_rest(prim, index, rest, elements, usd)
        keep_schemas(context, prim, usd)
        if "doubleSided" in names and "geometry" in node.attributes:
            sided = bool(prim.GetAttribute("doubleSided").Get())
            node.attributes["geometry"]["doubleSided"] = int(sided)
        if primvars or "geometry" in node.attributes:
            primvars = self._inherit_primvars(node, kind, primvars)
        is_instance = prim.IsInstance()
        self._bind_material(prim, kind, index, is_instance)
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
        self, prim: Any, kind: str, names: set[str], index: int, where: str
    ) -> tuple[frozenset[str], Elements | None]:
        """Reads what the type of a prim means. Returns the properties that it has read."""
        context, node = self.context, self.nodes[index]
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
        self, prim: Any, names: set[str], node: Node, where: str
    ) -> tuple[frozenset[str], Elements | None]:
        context = self.context
        node.attributes["usd"] = {"typeName": "PointInstancer"}
        node.hides_children_bounds = True
        if "extent" in names:
            geometry.read_authored_extent(context, prim, node)
        instancer = instances.read_instancer(context, prim, names, where)
        if instancer is None:
            return frozenset(), None
        self.instancers.append(instancer)
        for name in names:
            if name.startswith("primvars:"):
                context.lose("primvars of point instances", prim.GetPath())
        if not instancer.count:
            return frozenset(), None
        known = instances.KNOWN - {"ids", "invisibleIds"}
        return known, Elements(instancer.count, instancer.count, instancer.count)

    def _read_material(
        self, prim: Any, names: set[str], node: Node, where: str
    ) -> frozenset[str]:
        network = import_material(prim, self.context)
        node.attributes["type"] = "material"
        if network is None:
            return frozenset()
        group = network if isinstance(network, tellar.Group) else tellar.group(network)
        node.attributes["material"] = self.materials[where] = group
        return frozenset(
            name for name in names if name.startswith(("inputs:", "outputs:", "info:"))
        )

    def _read_light(self, prim: Any, names: set[str], node: Node) -> frozenset[str]:
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
        names: set[str],
        elements: Elements | None,
        usd: dict[str, Any],
    ) -> None:
        """Reads the properties that any prim may have, and keeps those that mean nothing here."""
        context, node = self.context, self.nodes[index]
        primvars: set[str] = set()
        own_names: list[str] = []
        for name in names:
            if name.startswith("xformOp:"):
                continue
            if name.startswith("primvars:"):
                primvars.add(name)
            elif name.startswith("material:binding"):
                continue
            elif name.startswith(roundtrip.OWN):
                own_names.append(name)
            elif name.startswith("userProperties:"):
                user_property(context, prim, name, node.attributes.setdefault("user", {}))
            else:
                keep_property(context, prim, name, usd)
        if own_names:
            own_values = roundtrip.read_own(context, prim, own_names)
            self.own.append((index, str(prim.GetPath()), own_values))
        if primvars:
            arbitrary: dict[str, Any] = {}
            read_primvars(context, prim, primvars, elements, arbitrary, usd)
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

    def _bind_material(self, prim: Any, kind: str, index: int, is_instance: bool) -> None:
        is_bound = kind in geometry.KNOWN or kind in ("GeomSubset", "PointInstancer")
        if not (is_bound or is_instance):
            return
        if kind == "GeomSubset" and not is_material_subset(self.nodes[index]):
            return
        path = self.resolver.material_path(prim)
        if path is not None:
            if path not in self.helpers:
                self.nodes[index].attributes["materialAssign"] = path
            self.bound_materials.append((index, path))

    # Instances

    def _share(self, prim: Any, index: int, where: str, primvars: dict[str, Any]) -> None:
        source = self._shared_location(prim) if self.context.is_own else None
        if source is not None:
            self.shares[where] = self.prototype_of[index] = source
            self.context.count("scene-graph instances")
            return
        prototype = prim.GetPrototype()
        name = self.context.prototype_name(prototype.GetName())
        self.prototypes.setdefault(name, prototype)
        self.shares[where] = f"{self.context.prototypes}/{name}"
        self.prototype_of[index] = self.shares[where]
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
        return place if place in self.index_of else None

    def _read_missing_sources(self, roots: dict[str, int]) -> None:
        """Reads prototypes of instancers that are no part of the scene, such as overs."""
        for item in list(self.instancers):
            targets = [source for source in item.sources if source not in self.index_of]
            for source in targets:
                prim = self._prim_at(source)
                if not prim:
                    continue
                name = f"source_{len(roots)}"
                place = f"{self.context.prototypes}/{name}"
                root = roots[place] = self._add_node(name, -1, place)
                self._read_valid(prim, root, place, "default", {})
                self._read_tree(prim, root, place)
                item.sources = [place if other == source else other for other in item.sources]

    def _prim_at(self, location: str) -> Any:
        own = self.context.location + "/"
        if not location.startswith(own):
            return None
        return self.context.stage.GetPrimAtPath(self.context.top + location[len(own) - 1 :])

    # The result

    def _finish_nodes(self) -> None:
        context = self.context
        for index, place in self.prototype_of.items():
            self.nodes[index].prototype = self.index_of[place]
        self._set_transforms()
        self._drop_endless_instancers()
        for index, path in self.bound_materials:
            group = self.materials.get(path)
            if group is not None:
                self.nodes[index].attributes["material"] = group
            else:
                context.lose("materials that are not part of the scene", path)
        self._remove_excluded()
        self._hide_sources()
        BoundsPass(context, self.nodes).run()
        for index, place, own in self.own:
            roundtrip.restore(context, self.nodes[index].attributes, own, place)
        for node, entry in zip(self.nodes, self.entries):
            if not node.children:
                del entry["c"]

    def _drop_endless_instancers(self) -> None:
        """Removes instancers that repeat themselves, and reads the extents of all others.

        USD would not come to an end with the extent of an endless one.
        """
        endless = InstanceOps(self.shares, self.instancers).endless()
        for item in self.instancers:
            if item.target in endless:
                self.context.lose("point instancers that repeat themselves", item.prim.GetPath())
        self.instancers = [
            item for item in self.instancers if item.count and item.target not in endless
        ]
        for item in self.instancers:
            node = self.nodes[self.index_of[item.place]]
            if not endless and node.extent is None and node.extents is None:
                names = set(item.prim.GetAuthoredPropertyNames())
                geometry.compute_extent(self.context, item.prim, names, node)

    def _set_transforms(self) -> None:
        still = [node for node in self.nodes if node.matrix is not None]
        rows = np.asarray(Vt.Matrix4dArray([node.matrix for node in still])).reshape(-1, 1, 16)
        for node, row in zip(still, rows):
            node.attributes["xform"] = {"matrix": row} | node.attributes.get("xform", {})
        for node in self.nodes:
            if node.samples is not None:
                values = {
                    code: np.asarray(matrix).reshape(1, 16) for code, matrix in node.samples.items()
                }
                matrices = self.context.samples(values, self.context.is_held)
                aim = node.attributes.get("xform", {})
                node.attributes["xform"] = {"matrix": matrices} | aim
            if node.resets:
                node.attributes["xform"] = {"origin": 1} | node.attributes["xform"]

    def _remove_excluded(self) -> None:
        """Removes the locations of other purposes that have nothing below them."""
        for place, index in reversed(list(self.index_of.items())):
            node = self.nodes[index]
            if node.is_excluded and not node.children:
                del self.nodes[node.parent].children[node.name]
                del self.index_of[place]
                self.context.lose("prims of other purposes", place)

    def _hide_sources(self) -> None:
        """What lies below a PointInstancer is drawn by its instances only."""
        sources = {source for item in self.instancers for source in item.sources}
        for item in self.instancers:
            for name in self.nodes[self.index_of[item.place]].children:
                place = f"{item.place}/{name}"
                if place not in sources:
                    self.nodes[self.index_of[place]].attributes["visible"] = 0

    def _result(self, roots: dict[str, int]) -> ImportResult:
        ops = Ops()
        ops.add("StaticScene", self._static_arguments(roots), "stage")
        InstanceOps(self.shares, self.instancers).add_to(ops)
        return ImportResult(tellar.group(ops.description()), self.context.summary)

    def _static_arguments(self, roots: dict[str, int]) -> dict[str, Any]:
        location = self.context.location
        own = self.entries[roots[location]]
        prototypes = {
            place.rpartition("/")[2]: self.entries[index]
            for place, index in roots.items()
            if place != location
        }
        if not prototypes:
            return {"location": location, **own}
        tree = own
        for name in reversed(location.split("/")[2:]):
            tree = {"a": {"type": "group"}, "c": {name: tree}}
        name = self.context.prototypes.rpartition("/")[2]
        tree.setdefault("c", {})[name] = hidden_group(prototypes)
        return {"location": "/root", **tree}


def convert_root(context: ImportContext, node: Node) -> None:
    """Applies the stage's axes and units to a root that has a matrix of its own."""
    after = context.root_matrix
    if after == Gf.Matrix4d(1) or node.resets:
        return
    if node.samples is not None:
        node.samples = {code: matrix * after for code, matrix in node.samples.items()}
    else:
        node.matrix = after if node.matrix is None else node.matrix * after


def hidden_group(children: dict[str, Any]) -> dict[str, Any]:
    return {"a": {"type": "group", "visible": 0}, "c": children}


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

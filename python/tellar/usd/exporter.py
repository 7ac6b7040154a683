"""Writes scenes as USD."""

from __future__ import annotations

import math
import os
import tempfile
from pathlib import Path
from typing import Any

import numpy as np
from pxr import Gf, Sdf, Tf, Usd, UsdGeom, UsdShade, UsdUtils, Vt

import tellar

from .camera_export import write_camera
from .collecting import no_collection
from .context import ImportContext
from .exporting import export_context
from .identifiers import unique_identifier
from .lights import dome_matrix, export_light
from .materials import export_material
from .own_values import property_name, write_value
from .reasons import reason_of
from .remembered import CUSTOM_DATA
from .roundtrip import LAYOUT, UNITS, Own, leaves, own_of
from .shape_export import SHAPES, shape_type, write_extent, write_shape, write_subset
from .specs import PrimWriter, Types, array
from .stage_reader import read_stage
from .subtrees import Record, find_equal, read_records
from .summary import ExportSummary

EXTENSIONS = (".usd", ".usda", ".usdc", ".usdz")
_GROUPS = frozenset(("", "group"))
_DOMES = frozenset(("environment", "ambient"))
_BOUND_SCHEMA = "MaterialBindingAPI"
_MATRIX = "xformOp:transform"
_RESET = "!resetXformStack!"


def export_usd(
    scene: tellar.Scene,
    path: str | os.PathLike[str],
    *,
    at: str = "/root",
    frames: tuple[float, float] | None = None,
    threads: int = 0,
) -> ExportSummary:
    """Writes a scene, or the location ``at`` with all below it, as a USD file.

    The extension of ``path`` chooses the format: .usd, .usda, .usdc or .usdz. The file appears
    when it is complete, or not at all. ``frames`` are the first and the last time code of the
    stage; the range of all time samples unless given. ``threads`` compute the scene (0: one for
    each processor).

    What USD has no place for is written as properties "tellar:...", so that :func:`import_usd`
    gives the scene back. Subtrees that repeat others become instances.

    Raises NotFoundError when there is no location ``at``, CookError for a location that cannot be
    computed, FileError for a file that cannot be written, and BadCallError for another extension
    or frames that are no range.
    """
    target = Path(os.fspath(path))
    if target.suffix.lower() not in EXTENSIONS:
        raise tellar.BadCallError(
            f'"{target}" is no name of a USD file, which ends with .usd, .usda, .usdc or .usdz'
        )
    if frames is not None and not is_range(frames):
        raise tellar.BadCallError(f"{frames!r} are no first and last frame")
    check_folder(target)
    with no_collection():
        exporter = SceneWriter(scene, at, threads)
        exporter.write(frames)
        save(exporter.layer, target)
    return exporter.summary


def is_range(frames: tuple[float, float]) -> bool:
    return len(frames) == 2 and all(map(math.isfinite, frames)) and frames[0] <= frames[1]


class SceneWriter:
    """Writes one scene into a layer."""

    def __init__(self, scene: tellar.Scene, at: str, threads: int) -> None:
        self.summary = ExportSummary()
        self.at = scene[at].path
        self.records = find_equal(read_records(scene.walk(self.at, threads=threads)))
        self.by_place = {record.place: record for record in self.records}
        self.layer: Any = Sdf.Layer.CreateAnonymous(".usda")
        self.helpers: dict[str, Any] = {}
        """The paths of Material prims that are no locations, by the hash of the material."""
        self.scope = ""
        self.bindings: list[tuple[str, str]] = []
        self.bound: set[str] = set()
        """The places of the locations that are bound to a material."""
        self.without_extent: list[str] = []
        self.own_names: dict[str, set[str]] = {}

    def write(self, frames: tuple[float, float] | None) -> None:
        self._choose_bindings()
        with Sdf.ChangeBlock():
            for record in self.records:
                self._write_prim(record)
        self._write_metadata()
        stage = Usd.Stage.Open(self.layer)
        self._write_shading(stage)
        self._compute_extents(stage)
        own = self._compare(stage)
        del stage
        with Sdf.ChangeBlock():
            for record, found in own:
                self._write_own(record, found)
        self._write_times(frames)
        self.summary.prims = len(self.records)

    # Prims

    def _choose_bindings(self) -> None:
        """Decides which material each location is bound to."""
        top = self.records[0]
        taken = {child.name for child in top.children}
        name = unique_identifier("materials_of_shapes", taken)
        self.scope = f"/{prim_name(top, ())}/{name}"
        for record in self.records:
            material = record.attribute("material")
            target = self.by_place.get(record.text("materialAssign"))
            if record.type in ("material", "light", "camera"):
                continue
            if target is not None and self._kind(target) == "Material":
                if material is None or material == target.attribute("material"):
                    self.bound.add(record.place)
                    continue
            if isinstance(material, tellar.Group) and len(material):
                self.helpers.setdefault(
                    material.hash, (f"{self.scope}/material_{len(self.helpers) + 1}", material)
                )
                self.bound.add(record.place)

        for record in self.records:
            self._unbind_common_faces(record)

    def _unbind_common_faces(self, mesh: Record) -> None:
        """USD wants that no face is in two of the subsets that are bound."""
        subsets = [child for child in mesh.children
                   if child.type == "faceset" and child.place in self.bound]
        faces = [array(subset.attributes, "geometry.faces") for subset in subsets]
        every = np.concatenate([[], *(item for item in faces if item is not None)])
        if len(np.unique(every)) == len(every):
            return
        for subset in subsets:
            self.bound.discard(subset.place)
            self._lose("materials of facesets with common faces, kept as attributes", subset.place)

    def _material_path(self, record: Record) -> str:
        material = record.attribute("material")
        if isinstance(material, tellar.Group) and material.hash in self.helpers:
            path: str = self.helpers[material.hash][0]
            return path
        return self.by_place[record.text("materialAssign")].path

    def _kind(self, record: Record) -> str:
        """The type of the prim of a location; "light" for lights of any type."""
        if record.kind is None:
            record.kind = self._new_kind(record)
        return record.kind

    def _new_kind(self, record: Record) -> str:
        attributes, kind = record.attributes, record.type
        if kind in SHAPES:
            name = shape_type(kind, attributes)
            if name and not is_below_shape(record):
                return name
            return "Xform"
        if kind == "camera":
            return "Camera"
        if kind == "light":
            return "light"
        is_network = isinstance(record.attribute("material"), tellar.Group)
        if kind == "material" and is_network and not record.children:
            return "Material"
        if kind == "faceset" and record.parent is not None:
            return "GeomSubset" if self._kind(record.parent) == "Mesh" else ""
        if kind in _GROUPS or record.attribute("xform") or record.attribute("visible"):
            return "Xform"
        return ""

    def _write_prim(self, record: Record) -> None:
        parent: Any = self.layer.pseudoRoot
        if record.parent is not None:
            parent = self.layer.GetPrimAtPath(record.parent.path)
        name = prim_name(record, parent.nameChildren)
        kind = self._kind(record)
        spec = Sdf.PrimSpec(parent, name, Sdf.SpecifierDef, "" if kind == "light" else kind)
        record.path = str(spec.path)
        if name != record.name:
            spec.customData = {CUSTOM_DATA: {"name": record.name}}
        writer = PrimWriter(self.layer, spec)
        if kind not in ("GeomSubset", "Material", ""):
            self._write_matrix(writer, record)
        if record.parent is None and self.helpers:
            scope = Sdf.PrimSpec(spec, self.scope.rpartition("/")[2], Sdf.SpecifierDef, "Scope")
            scope.customData = {CUSTOM_DATA: {"helper": True}}
        if record.source is not None:
            self._write_instance(spec, record)
            return
        if kind != "light":
            self.summary.exported[kind or "prims without a type"] += 1
        self._write_contents(writer, record, kind)
        if record.place in self.bound and kind not in ("", "light", "Camera", "Material"):
            spec.SetInfo("apiSchemas", Sdf.TokenListOp.Create([_BOUND_SCHEMA]))
            self.bindings.append((record.path, record.place))

    def _write_contents(self, writer: PrimWriter, record: Record, kind: str) -> None:
        attributes = record.attributes
        if kind not in ("GeomSubset", "Material", ""):
            write_visibility(writer, attributes)
        if kind == "GeomSubset":
            write_subset(writer, attributes, record.place in self.bound)
        elif kind == "Camera":
            write_camera(writer, attributes)
        elif record.type in SHAPES:
            if kind == "Xform":
                why = "below shapes" if is_below_shape(record) else "that are not sound"
                self._lose(f"shapes {why}, kept as attributes", record.place)
                return
            write_shape(writer, record.type, attributes)
            if not write_extent(writer, attributes):
                self.without_extent.append(record.path)

    def _write_instance(self, spec: Any, record: Record) -> None:
        source = record.source
        assert source is not None
        spec.referenceList.prependedItems.append(Sdf.Reference("", source.path))
        spec.instanceable = True
        if spec.name == record.name and source.path.rpartition("/")[2] != source.name:
            spec.customData = {CUSTOM_DATA: {"name": record.name}}
        source_spec = self.layer.GetPrimAtPath(source.path)
        if "xformOpOrder" in source_spec.attributes and "xformOpOrder" not in spec.attributes:
            PrimWriter(self.layer, spec).uniform("xformOpOrder", Types.TokenArray, [])
        self.summary.exported["instances"] += 1

    def _write_matrix(self, writer: PrimWriter, record: Record) -> None:
        """Writes the transform as one matrix, with its time samples."""
        group = record.attribute("xform")
        is_dome = record.type == "light" and record.text("light.type") in _DOMES
        if not isinstance(group, tellar.Group) and not is_dome:
            return
        order = [_MATRIX]
        times = {0.0}
        if isinstance(group, tellar.Group):
            if group.get("origin") is not None:
                order.insert(0, _RESET)
            times = matrix_times(group)
        matrices = {
            time: Gf.Matrix4d(record.location.local_matrix(time).tolist()) for time in sorted(times)
        }
        if is_dome:
            matrices = {time: dome_matrix(matrix) for time, matrix in matrices.items()}
        writer.sampled(_MATRIX, Types.Matrix4d, matrices)
        writer.uniform("xformOpOrder", Types.TokenArray, order)

    # The rest of a stage

    def _write_metadata(self) -> None:
        root = self.layer.pseudoRoot
        for name, value in (("upAxis", "Y"), ("metersPerUnit", 1.0), ("timeCodesPerSecond", 24.0),
                            ("framesPerSecond", 24.0)):
            root.SetInfo(name, value)
        self.layer.defaultPrim = self.records[0].path[1:]
        self.layer.customLayerData = {CUSTOM_DATA: {"location": self.at}}

    def _write_times(self, frames: tuple[float, float] | None) -> None:
        codes = self.layer.ListAllTimeSamples()
        if frames is None and codes:
            frames = (min(codes), max(codes))
        if frames is not None:
            self.layer.startTimeCode, self.layer.endTimeCode = map(float, frames)

    def _write_shading(self, stage: Any) -> None:
        """Writes lights, materials and what is bound to these."""
        context = export_context(stage)
        for path, group in self.helpers.values():
            export_material(group, stage, path, context=context)
        for record in self.records:
            kind = self._kind(record)
            if kind == "Material":
                export_material(record.attribute("material"), stage, record.path, context=context)
            elif kind == "light":
                self._write_light(stage, record, context)
        for path, place in self.bindings:
            prim = stage.GetPrimAtPath(path)
            material = UsdShade.Material(
                stage.GetPrimAtPath(self._material_path(self.by_place[place]))
            )
            UsdShade.MaterialBindingAPI(prim).Bind(material)

    def _write_light(self, stage: Any, record: Record, context: ImportContext) -> None:
        prim = export_light(record.attributes, stage, record.path, context=context)
        if prim is None:
            stage.GetPrimAtPath(record.path).SetTypeName("Xform")
            self._lose("lights of unknown types, kept as attributes", record.place)
            return
        self.summary.exported[prim.GetTypeName()] += 1

    def _compute_extents(self, stage: Any) -> None:
        for path in self.without_extent:
            shape = UsdGeom.Boundable(stage.GetPrimAtPath(path))
            extent = UsdGeom.Boundable.ComputeExtentFromPlugins(shape, Usd.TimeCode.EarliestTime())
            if extent is not None:
                shape.CreateExtentAttr(extent)

    # What USD has no place for

    def _compare(self, stage: Any) -> list[tuple[Record, Own]]:
        """What an import of the stage so far does not give back."""
        imported = read_stage(ImportContext(stage))
        found = []
        for record in self.records:
            index = imported.index_of.get(record.place)
            if index is None:
                self._lose("locations that an import does not find", record.place)
                continue
            own = own_of(record.attributes, imported.nodes[index].attributes)
            if own or (record.source is not None and self._has_own(record.source)):
                found.append((record, own))
                self.own_names[record.path] = set()
        return found

    def _has_own(self, record: Record) -> bool:
        return record.path in self.own_names

    def _write_own(self, record: Record, own: Own) -> None:
        spec = self.layer.GetPrimAtPath(record.path)
        writer = PrimWriter(self.layer, spec)
        names = self.own_names[record.path]
        for path, item in own.values.items():
            name = property_name(path)
            number = 1
            while name in names:
                number += 1
                name = f"{property_name(path)}_{number}"
            names.add(name)
            write_value(self.layer, spec, path, item, name)
        self.summary.kept.update({path.partition(".")[0] for path in own.values})
        texts = [f"{stamp} {unit}" for unit, stamp in own.units.items()]
        for name, values in ((UNITS, texts), (LAYOUT, own.layout)):
            if values or record.source is not None:  # the source may have some
                writer.uniform(name, Types.StringArray, Vt.StringArray(values), is_custom=True)
        if record.source is not None:
            self._block(spec, self.own_names.get(record.source.path, set()) - names)

    def _block(self, spec: Any, names: set[str]) -> None:
        """Hides properties of the source of an instance."""
        source = self.layer.GetPrimAtPath(spec.referenceList.prependedItems[0].primPath)
        for name in sorted(names):
            prop = Sdf.AttributeSpec(spec, name, source.attributes[name].typeName)
            prop.custom = True
            prop.default = Sdf.ValueBlock()

    def _lose(self, kind: str, place: str) -> None:
        self.summary.lost[kind] += 1
        self.summary.add_example(kind, place)


def prim_name(record: Record, taken: Any) -> str:
    return unique_identifier(record.name, taken)


def is_below_shape(record: Record) -> bool:
    """Whether a location is below a shape, where USD has no shapes."""
    above = record.parent
    while above is not None:
        if above.type in SHAPES and shape_type(above.type, above.attributes):
            return True
        above = above.parent
    return False


def write_visibility(writer: PrimWriter, attributes: tellar.Group) -> None:
    item = attributes.attribute("visible")
    if not isinstance(item, tellar.Attribute) or item.type not in ("int", "float", "double"):
        return
    tokens = {
        float(time): "inherited" if len(value) and value[0] else "invisible"
        for time, value in item.samples.items()
    }
    if set(tokens.values()) != {"inherited"}:
        writer.sampled("visibility", Types.Token, tokens)


def matrix_times(group: tellar.Group) -> set[float]:
    """The times of the samples of a transform, and whole frames between those of rotations."""
    times: set[float] = set()
    turns = False
    for path, item in leaves(group, ""):
        times.update(float(time) for time in item.times)
        turns = turns or (len(item.times) > 1 and not path.rpartition(".")[2].startswith(
            ("translate", "scale", "matrix", "origin")))
    if turns and len(times) > 1:
        first, last = min(times), max(times)
        times.update(float(code) for code in np.arange(math.ceil(first), last))
    return times or {0.0}


# Files


def check_folder(target: Path) -> None:
    folder = target.parent
    if not folder.is_dir():
        raise tellar.FileError(f'There is no folder "{folder}"', file=str(target))
    if not os.access(folder, os.W_OK):
        raise tellar.FileError(f'Cannot write in the folder "{folder}"', file=str(target))
    if target.is_dir():
        raise tellar.FileError(f'"{target}" is a folder', file=str(target))


def save(layer: Any, target: Path) -> None:
    """Writes a layer beside its target and then renames it."""
    suffix = target.suffix.lower()
    try:
        with tempfile.TemporaryDirectory(prefix=f".{target.stem}", dir=target.parent) as folder:
            inner = Path(folder) / f"{target.stem}{'.usdc' if suffix == '.usdz' else suffix}"
            if not layer.Export(str(inner)):
                raise tellar.FileError(f'Cannot write "{target}"', file=str(target))
            if suffix == ".usdz":
                package = inner.with_suffix(".usdz")
                if not UsdUtils.CreateNewUsdzPackage(str(inner), str(package)):
                    raise tellar.FileError(f'Cannot pack "{target}"', file=str(target))
                inner = package
            inner.replace(target)
    except (OSError, Tf.ErrorException) as error:
        if isinstance(error, tellar.FileError):
            raise
        reason = reason_of(error)
        raise tellar.FileError(f'Cannot write "{target}": {reason}', file=str(target)) from None

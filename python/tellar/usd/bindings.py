"""The materials that prims are bound to."""

from __future__ import annotations

from typing import TYPE_CHECKING

from pxr import Sdf, Usd, UsdShade

if TYPE_CHECKING:
    from .context import ImportContext


_UNKNOWN = Sdf.Path()


class BindingResolver:
    """The bound material of each prim, as ``UsdShade.MaterialBindingAPI.ComputeBoundMaterial``
    tells it: with purposes, strengths and collections.

    The prims of a stage are asked for together, because USD then looks at each binding and each
    collection once. Not for several threads.
    """

    def __init__(
        self, stage: Usd.Stage, context: ImportContext, purpose: str = UsdShade.Tokens.full
    ) -> None:
        """`purpose` is "full", "preview" or "" for bindings of all purposes alone."""
        self._stage = stage
        self._context = context
        self._purpose = purpose
        self._materials: dict[Sdf.Path, Sdf.Path | None] = {}
        self._asked: set[Sdf.Path] = set()
        self._locations: dict[Sdf.Path, str] = {}

    def material_path(self, prim: Usd.Prim) -> str | None:
        """The location of the material of a prim or a GeomSubset; None if there is none."""
        material = self.material_prim_path(prim)
        if material is None:
            return None
        location = self._locations.get(material)
        if location is None:
            location = self._locations[material] = self._context.location_of(material)
        return location

    def material_prim_path(self, prim: Usd.Prim) -> Sdf.Path | None:
        """The same as the path of the Material prim."""
        path = prim.GetPath()
        found = self._materials.get(path, _UNKNOWN)
        if found is not _UNKNOWN:
            return found
        self._ask_around(prim, path)
        return self._materials[path]

    def prepare(self, prims: list[Usd.Prim]) -> None:
        """Asks for many prims at once."""
        materials, _ = UsdShade.MaterialBindingAPI.ComputeBoundMaterials(prims, self._purpose)
        self._materials.update(
            (prim.GetPath(), material.GetPath() if material else None)
            for prim, material in zip(prims, materials)
        )

    def _ask_around(self, prim: Usd.Prim, path: Sdf.Path) -> None:
        """Asks for all prims of the stage, or of the prototype or instance of the prim."""
        root = self._root_around(prim)
        if root.GetPath() in self._asked:
            self.prepare([prim])
            return
        self._asked.add(root.GetPath())
        predicate = Usd.PrimDefaultPredicate
        if prim.IsInstanceProxy():
            predicate = Usd.TraverseInstanceProxies(predicate)
        prims = list(Usd.PrimRange(root, predicate))
        self.prepare(prims[1:] if root.IsPseudoRoot() else prims)
        if path not in self._materials:
            self.prepare([prim])

    def _root_around(self, prim: Usd.Prim) -> Usd.Prim:
        if prim.IsInstanceProxy():
            while not prim.IsInstance():
                prim = prim.GetParent()
            return prim
        if prim.IsInPrototype():
            while not prim.IsPrototype():
                prim = prim.GetParent()
            return prim
        return self._stage.GetPseudoRoot()

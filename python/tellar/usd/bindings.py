"""The materials that prims are bound to."""

from __future__ import annotations

from typing import TYPE_CHECKING

from pxr import Sdf, Tf, Usd, UsdShade

if TYPE_CHECKING:
    from .context import ImportContext


def bound_materials(
    context: ImportContext, prims: list[Usd.Prim], purpose: str = UsdShade.Tokens.full
) -> list[Sdf.Path | None]:
    """The path of the Material that each prim or GeomSubset is bound to; None if there is none.

    It is that of ``UsdShade.MaterialBindingAPI.ComputeBoundMaterial``, with purposes, strengths
    and collections. `purpose` is "full", "preview" or "" for bindings of all purposes alone. USD
    looks at each binding and each collection once for all of the prims.
    """
    if not prims:
        return []
    try:
        found, _ = UsdShade.MaterialBindingAPI.ComputeBoundMaterials(prims, purpose)
    except Tf.ErrorException:
        if len(prims) == 1:
            context.lose("bindings that USD finds invalid", prims[0].GetPath())
            return [None]
        return [path for prim in prims for path in bound_materials(context, [prim], purpose)]
    return [material.GetPath() if material else None for material in found]

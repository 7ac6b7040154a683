"""Opens the stage of a file: what of it is composed, and with which variants."""

from __future__ import annotations

from collections.abc import Iterable, Mapping
from pathlib import Path
from typing import Any

from pxr import Sdf, Tf, Usd

import tellar

from .reasons import reason_of

Variants = Mapping[str, Mapping[str, str]] | Iterable[str]


def open_stage(path: Path, mask: Iterable[str] | None, load: str) -> Any:
    """Opens a file, with the prims of a population mask alone if there is one. Raises FileError."""
    rule = Usd.Stage.LoadAll if load == "all" else Usd.Stage.LoadNone
    if not path.is_file():
        raise tellar.FileError(f'There is no file "{path}"', file=str(path))
    try:
        if mask is None:
            return Usd.Stage.Open(str(path), rule)
        paths = [checked_path(text) for text in mask]
        return Usd.Stage.OpenMasked(str(path), Usd.StagePopulationMask(paths), rule)
    except Tf.ErrorException as error:
        reason = reason_of(error)
        raise tellar.FileError(f'Cannot read USD file "{path}": {reason}', file=str(path)) from None


def checked_path(text: str) -> Any:
    """The path of a prim. Raises BadCallError for a text that is none."""
    if not Sdf.Path.IsValidPathString(text) or not Sdf.Path(text).IsAbsoluteRootOrPrimPath():
        raise tellar.BadCallError(f'"{text}" is no path of a prim')
    return Sdf.Path(text)


def select_variants(stage: Any, choices: Iterable[tuple[Any, str, str]]) -> None:
    """Selects variants in the session layer. Raises BadCallError for one that does not exist."""
    with Usd.EditContext(stage, stage.GetSessionLayer()):
        for path, name, variant in choices:
            prim = stage.GetPrimAtPath(path)
            if not prim:
                raise tellar.BadCallError(f'there is no prim "{path}" for the variant "{variant}"')
            sets = prim.GetVariantSets()
            if name not in sets.GetNames():
                raise tellar.BadCallError(f'"{path}" has no variant set "{name}"')
            if variant not in sets.GetVariantSet(name).GetVariantNames():
                raise tellar.BadCallError(f'"{path}" has no variant "{variant}" of "{name}"')
            sets.GetVariantSet(name).SetVariantSelection(variant)


def variant_choices(variants: Variants | None) -> list[tuple[Any, str, str]]:
    """The path of the prim, the variant set and the variant of each choice."""
    if variants is None:
        return []
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

"""What a scene has beyond what USD can say, remembered in the custom data of exported prims.

A prim that an export writes gets the original group as JSON, with the hash of what an import makes
of the prim otherwise. Where that is still the same, nobody has edited the prim since, and the
original group is what the import gives.
"""

from __future__ import annotations

from typing import Any

from pxr import Usd

import tellar

from .attribute_json import value_from_json

CUSTOM_DATA = "tellar"
"""The key in customData."""
NAME_KEY = f"{CUSTOM_DATA}:name"
"""The name of the location of a prim that has another one, since USD does not allow it."""
HELPER_KEY = f"{CUSTOM_DATA}:helper"
"""Tells that a prim of an exported scene is no location."""


def remember(prim: Usd.Prim, name: str, group: tellar.Group, imported: tellar.Group) -> None:
    """Stores the group under a name, unless an import makes an equal one."""
    if imported == group:
        return
    prim.SetCustomDataByKey(f"{CUSTOM_DATA}:{name}", group.to_json(-1))
    prim.SetCustomDataByKey(f"{CUSTOM_DATA}:{name}Of", imported.hash)


def recalled(prim: Usd.Prim, name: str, imported: tellar.Group) -> tellar.Group:
    """The remembered group; or else what was imported, which is also the answer for a prim that
    has been edited since."""
    stored: Any = prim.GetCustomDataByKey(f"{CUSTOM_DATA}:{name}")
    if not isinstance(stored, str):
        return imported
    if prim.GetCustomDataByKey(f"{CUSTOM_DATA}:{name}Of") != imported.hash:
        return imported
    try:
        group = value_from_json(stored)
    except ValueError:
        return imported
    return group if isinstance(group, tellar.Group) else imported

"""The names of the properties of a prim, sorted by what is done with them."""

from __future__ import annotations

from functools import lru_cache
from typing import NamedTuple

from . import roundtrip
from .primvars import arbitrary_name

_COMMON = frozenset(("visibility", "purpose", "xformOpOrder", "extent", "doubleSided"))
_MOST = 4096  # of the stages that there are, few have prims with so many different names


class Primvar(NamedTuple):
    """A primvar of a prim."""

    name: str
    """As it is in USD: "primvars:displayColor"."""
    called: str
    """The name below "geometry.arbitrary"."""
    has_indices: bool


class Properties:
    """The names of the authored properties of a prim. Prims with the same names share them."""

    __slots__ = ("in_order", "may_bind", "names")

    def __init__(self, names: tuple[str, ...]) -> None:
        self.in_order = names
        self.names = frozenset(names)
        self.may_bind = any(name.startswith("material:binding") for name in names)
        """Whether the prim may bind itself, or what is below, to a material."""


class Rest(NamedTuple):
    """The properties that any prim may have, and those that mean nothing here."""

    primvars: tuple[Primvar, ...]
    own: tuple[str, ...]
    user: tuple[str, ...]
    kept: tuple[str, ...]


@lru_cache(_MOST)
def properties_of(names: tuple[str, ...]) -> Properties:
    return Properties(names)


@lru_cache(_MOST)
def rest_of(properties: Properties, known: frozenset[str]) -> Rest | None:
    """The properties besides those that are common to all prims and those already known."""
    primvars: list[str] = []
    own: list[str] = []
    user: list[str] = []
    kept: list[str] = []
    for name in properties.in_order:
        if name in _COMMON or name in known or name.startswith(("xformOp:", "material:binding")):
            continue
        if name.startswith("primvars:"):
            primvars.append(name)
        elif name.startswith(roundtrip.OWN):
            own.append(name)
        elif name.startswith("userProperties:"):
            user.append(name)
        else:
            kept.append(name)
    if not (primvars or own or user or kept):
        return None
    return Rest(sorted_primvars(primvars), tuple(own), tuple(user), tuple(kept))


def sorted_primvars(names: list[str]) -> tuple[Primvar, ...]:
    """The primvars of a prim by name. Their indices are none of their own."""
    found = []
    for name in sorted(names):
        if name.endswith(":indices") and name[:-8] in names:
            continue
        own = name[9:]
        called = arbitrary_name(own)
        if called != own and "primvars:" + called in names:
            called = own
        found.append(Primvar(name, called, name + ":indices" in names))
    return tuple(found)

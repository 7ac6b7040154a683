"""What a scene has beyond what USD can say, as properties "tellar:..." of exported prims.

The attributes of a location fall into units, such as "xform" or "geometry.point.P". An export
compares the units that an import makes of a prim with those of the location. Where they differ, the
location's are written as properties, with the hash of what the import made. An import puts them
back as long as it still makes the same; if not, somebody has edited the prim since, and the edit
holds.
"""

from __future__ import annotations

from collections.abc import Iterator, Mapping, Sequence
from typing import TYPE_CHECKING, Any

import tellar

from .own_values import PREFIX, value_of
from .remembered import CUSTOM_DATA

if TYPE_CHECKING:
    from .context import ImportContext

UNITS = "tellarInfo:units"
"""Texts "hash unit" for the units that are not those which an import makes by itself."""
LAYOUT = "tellarInfo:layout"
"""The names of the attributes in the order of the location. A name that ends with a dot is an empty
group, and one that starts with "!" a group that does not inherit."""
OWN = CUSTOM_DATA
"""The prefix of the names of all these properties."""
NOTHING = "-"
"""The hash of a unit that an import does not make."""

# Groups whose members are units of their own.
_SPLIT = frozenset(
    ("geometry", "geometry.point", "geometry.poly", "geometry.vertex", "geometry.arbitrary")
)

Item = tellar.Attribute | tellar.Group


def units(group: tellar.Group, prefix: str = "") -> Iterator[tuple[str, Item]]:
    """The units of the attributes of a location by their dotted names."""
    for name in group.keys():
        item = group.attribute(name)
        path = prefix + name
        if isinstance(item, tellar.Group) and path in _SPLIT and len(item):
            yield from units(item, path + ".")
        elif item is not None:
            yield path, item


def leaves(item: Item, path: str) -> Iterator[tuple[str, tellar.Attribute]]:
    """The attributes in a group, or an attribute itself, by dotted names."""
    if isinstance(item, tellar.Attribute):
        yield path, item
        return
    for name in item.keys():
        inner = item.attribute(name)
        if inner is not None:
            yield from leaves(inner, f"{path}.{name}")


def layout_of(group: tellar.Group, path: str = "") -> list[str]:
    """The names of all attributes in order, and what there is to say about their groups."""
    names: list[str] = []
    if path and not group.inherits:
        names.append("!" + path)
    if path and not len(group):
        names.append(path + ".")
    for name in group.keys():
        item, inner = group.attribute(name), f"{path}.{name}" if path else name
        if isinstance(item, tellar.Group):
            names += layout_of(item, inner)
        else:
            names.append(inner)
    return names


class Own:
    """What the location of a prim has of its own."""

    def __init__(self) -> None:
        self.units: dict[str, str] = {}
        """The hash of what an import makes instead, by unit."""
        self.values: dict[str, Any] = {}
        """Attributes of these units, by dotted name."""
        self.layout: list[str] = []

    def __bool__(self) -> bool:
        return bool(self.units or self.layout)


def own_of(attributes: tellar.Group, imported: Mapping[str, Any]) -> Own:
    """What an import cannot know of the attributes of a location."""
    own = Own()
    attributes = tellar.group(members(attributes))  # that of a location need not inherit
    made = tellar.group(imported)
    if made == attributes:
        return own
    by_import = dict(units(made))
    wanted = dict(units(attributes))
    for path, item in wanted.items():
        other = by_import.pop(path, None)
        if other is None or other != item:
            own.units[path] = NOTHING if other is None else other.hash
            own.values.update(leaves(item, path))
    own.units.update({path: item.hash for path, item in by_import.items()})
    own.values = dict(sorted(own.values.items()))  # the order in which they will be read
    if tellar.group(merged(imported, own)[0]) != attributes:
        own.layout = layout_of(attributes)
    return own


def read_own(context: ImportContext, prim: Any, names: Sequence[str]) -> Own:
    """What an export has written, by the names of the properties that start with "tellar"."""
    own = Own()
    for text in prim.GetAttribute(UNITS).Get() or () if UNITS in names else ():
        stamp, _, unit = text.partition(" ")
        own.units[unit] = stamp
    if LAYOUT in names:
        own.layout = list(prim.GetAttribute(LAYOUT).Get() or ())
    for name in names:
        if name.startswith(PREFIX):
            found = value_of(context, prim.GetAttribute(name))
            if found is not None:
                own.values[found[0]] = found[1]
    own.values = dict(sorted(own.values.items()))
    return own


def restore(context: ImportContext, attributes: dict[str, Any], own: Own, where: str) -> None:
    """Puts back, in place, what the location had of its own."""
    result, edited = merged(attributes, own)
    for unit in edited:
        context.keep(f'values "{unit.partition(".")[0]}" that were edited after an export', where)
    attributes.clear()
    attributes.update(result)


def merged(imported: Mapping[str, Any], own: Own) -> tuple[dict[str, Any], list[str]]:
    """Attributes as nested dicts, and the units that are not put back since they were edited."""
    edited: list[str] = []
    made = tellar.group(imported)
    result: dict[str, Any] = dict(units(made))
    values = by_unit(own)
    for unit, stamp in own.units.items():
        item = made.attribute(unit)
        if stamp != (NOTHING if item is None or unit not in result else item.hash):
            edited.append(unit)
            continue
        result.pop(unit, None)
        result.update(values.get(unit, {}))
    return arranged(result, own.layout), edited


def by_unit(own: Own) -> dict[str, dict[str, Any]]:
    """The values of each unit. Values outside of all units are those of an instance's source."""
    found: dict[str, dict[str, Any]] = {}
    for path, value in own.values.items():
        unit = path
        while unit and unit not in own.units:
            unit = unit.rpartition(".")[0]
        found.setdefault(unit, {})[path] = value
    return found


def arranged(values: Mapping[str, Any], layout: list[str]) -> dict[str, Any]:
    """Nested dicts of values by dotted names, in the order of a layout."""
    ranks: dict[str, int] = {}
    alone: list[str] = []
    empty: list[str] = []
    for text in layout:
        path = text.strip("!.")
        if text.startswith("!"):
            alone.append(path)
        if text.endswith("."):
            empty.append(path)
        while path:
            ranks.setdefault(path, len(ranks))
            path = path.rpartition(".")[0]
    last = len(ranks)
    tree: dict[str, Any] = {}
    parts = [*values, *(path for path in empty if path not in values)]
    for path in sorted(parts, key=lambda one: ranks.get(one, last)) if layout else parts:
        *groups, leaf = path.split(".")
        inner = tree
        for name in groups:
            below = inner.get(name)
            if not isinstance(below, dict):
                below = inner[name] = {}
            inner = below
        inner[leaf] = values.get(path, {})
    for path in reversed(alone):
        isolate(tree, path)
    return tree


def isolate(tree: dict[str, Any], path: str) -> None:
    """Makes the group at a dotted name one that does not inherit."""
    *groups, leaf = path.split(".")
    for name in groups:
        tree = tree.get(name, {})
        if not isinstance(tree, dict):
            return
    if isinstance(tree.get(leaf), (dict, tellar.Group)):
        tree[leaf] = tellar.group(members(tree[leaf]), inherit=False)


def members(group: Any) -> dict[str, Any]:
    if isinstance(group, tellar.Group):
        return {name: group.attribute(name) for name in group.keys()}
    return dict(group)

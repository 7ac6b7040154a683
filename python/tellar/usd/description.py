"""The op tree of an import, from its finished nodes."""

from __future__ import annotations

from typing import Any

from .context import ImportContext
from .findings import Findings
from .instances import InstanceOps, Ops


def op_tree(context: ImportContext, found: Findings) -> dict[str, Any]:
    """The group that describes the op tree: all locations, and the instances that they make."""
    ops = Ops()
    ops.add("StaticScene", static_arguments(context, found), "stage")
    InstanceOps(found.shares, found.instancers).add_to(ops)
    return ops.description()


def static_arguments(context: ImportContext, found: Findings) -> dict[str, Any]:
    """The arguments of a StaticScene. Prototypes are below a hidden location of their own."""
    location = context.location
    own = found.entries[found.roots[location]]
    prototypes = {
        place.rpartition("/")[2]: found.entries[index]
        for place, index in found.roots.items()
        if place != location
    }
    if not prototypes:
        return {"location": location, **own}
    tree = own
    for name in reversed(location.split("/")[2:]):
        tree = {"a": {"type": "group"}, "c": {name: tree}}
    name = context.prototypes.rpartition("/")[2]
    tree.setdefault("c", {})[name] = hidden_group(prototypes)
    return {"location": "/root", **tree}


def hidden_group(children: dict[str, Any]) -> dict[str, Any]:
    return {"a": {"type": "group", "visible": 0}, "c": children}

"""What an import has found of a stage, before one description is made of it."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any

from .instances import Instancer
from .nodes import Node
from .roundtrip import Own


@dataclass
class Findings:
    """The locations of a stage and what they refer to. Locations are named by their paths."""

    nodes: list[Node] = field(default_factory=list)
    """Parents come before their children."""
    entries: list[dict[str, Any]] = field(default_factory=list)
    """The entry of each node in the description."""
    index_of: dict[str, int] = field(default_factory=dict)
    """The index of the node of each location."""
    roots: dict[str, int] = field(default_factory=dict)
    """The nodes without a parent: that of the stage first, then those of prototypes."""
    prototypes: dict[str, Any] = field(default_factory=dict)
    """The prims of the prototypes of scene-graph instances, by the names of their locations."""
    shares: dict[str, str] = field(default_factory=dict)
    """The location of the prototype of each scene-graph instance."""
    prototype_of: dict[int, str] = field(default_factory=dict)
    """The same by the index of the instance's node."""
    instancers: list[Instancer] = field(default_factory=list)
    materials: dict[str, Any] = field(default_factory=dict)
    """The network of each material, by its location."""
    bindable: list[tuple[int, Any]] = field(default_factory=list)
    """The indices of nodes, and their prims, that may be bound to materials."""
    may_bind: bool = False
    """Whether any prim so far may bind itself or prims below it, which come later, to materials."""
    helpers: set[str] = field(default_factory=set)
    """The places of materials that are no locations of the scene."""
    own: list[tuple[int, str, Own]] = field(default_factory=list)
    """The indices of nodes, the paths of their prims, and what an export wrote for them."""

    def add_node(self, name: str, parent: int, place: str) -> int:
        """Adds a location below that of a parent, or a root if `parent` is -1."""
        index = len(self.nodes)
        node = Node(name, parent)
        entry = {"a": node.attributes, "c": node.children}
        if parent >= 0:
            self.nodes[parent].children[name] = entry
        else:
            self.roots[place] = index
        self.nodes.append(node)
        self.entries.append(entry)
        self.index_of[place] = index
        return index

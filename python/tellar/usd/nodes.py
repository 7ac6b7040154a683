"""The locations that an import makes, before they become one description."""

from __future__ import annotations

from typing import Any


class Node:
    """A location in the making."""

    # What few nodes have is that of the class for all others, which is quickest to make.
    matrix: Any = None
    """The local matrix, a Gf.Matrix4d, if it is not the identity and does not move."""
    samples: dict[float, Any] | None = None
    """The local matrix by time codes if it moves."""
    resets = False
    """Whether the matrix leads to the world, whatever is above."""
    extent: Any = None
    """The corners of the shape's own box, an array (2, 3)."""
    extents: dict[float, Any] | None = None
    """The same by time codes if it moves."""
    prototype: int | None = None
    """The index of the root whose children this location shows."""
    hides_children_bounds = False
    """Whether the children are not drawn here, so that the bound does not enclose them."""
    is_excluded = False
    """Whether the location only stays for its children."""

    def __init__(self, name: str, parent: int, kind: str = "group") -> None:
        self.name = name
        self.parent = parent
        """The index of the parent; -1 for a root."""
        self.attributes: dict[str, Any] = {"type": kind}
        self.children: dict[str, Any] = {}
        """The entries of the children in the description, by name."""

    def entry(self) -> dict[str, Any]:
        """The location in the arguments of a StaticScene."""
        if self.children:
            return {"a": self.attributes, "c": self.children}
        return {"a": self.attributes}

"""The locations of a scene in order, and which of them are equal with all that is below them."""

from __future__ import annotations

from collections.abc import Iterable
from typing import Any

import tellar

_UNSHAREABLE = frozenset(("material", "light", "camera"))


class Record:
    """A location that is going to be a prim."""

    __slots__ = (
        "attributes", "children", "content", "is_shareable", "kind", "location", "name", "parent",
        "path", "place", "source", "type"
    )

    def __init__(self, location: tellar.Location, parent: Record | None) -> None:
        self.location = location
        self.place = location.path
        self.name = location.name
        self.type = location.type
        self.parent = parent
        self.attributes = location.attributes
        self.children: list[Record] = []
        self.kind: str | None = None
        """The type of the prim."""
        self.path = ""
        """The path of the prim."""
        self.source: Record | None = None
        """The location that has the same below it and was met before."""
        self.content = -1
        """Equal for equal locations with equal ones below them, their own transforms apart."""
        self.is_shareable = True

    def attribute(self, name: str) -> Any:
        return self.attributes.attribute(name)

    def text(self, name: str) -> str:
        value = self.attributes.get(name)
        return value if isinstance(value, str) else ""


def read_records(locations: Iterable[tellar.Location]) -> list[Record]:
    """The locations of a walk."""
    records: list[Record] = []
    stack: list[Record] = []
    for location in locations:
        place = location.path
        while stack and not place.startswith(stack[-1].place + "/"):
            stack.pop()
        record = Record(location, stack[-1] if stack else None)
        if stack:
            stack[-1].children.append(record)
        stack.append(record)
        records.append(record)
    return records


def find_equal(records: list[Record]) -> list[Record]:
    """Sets the sources of locations that repeat others. Returns those that are not below one."""
    number_contents(records)
    first: dict[int, Record] = {}
    inner: dict[int, bool] = {}
    written: list[Record] = []
    stack = records[:1]
    while stack:
        record = stack.pop()
        written.append(record)
        if record.children and record.is_shareable:
            source = first.setdefault(record.content, record)
            if source is not record and not uses_itself(source, inner):
                record.source = source
                record.children = []  # there may be a million locations below instances
                continue
        stack.extend(reversed(record.children))
    return written


def number_contents(records: list[Record]) -> None:
    """Numbers the contents, children before their parents."""
    numbers: dict[Any, int] = {}
    transforms: dict[int, str] = {}
    for record in reversed(records):
        own = []
        for name in record.attributes.keys():
            item = record.attribute(name)
            if name == "xform":
                transforms[id(record)] = item.hash
            else:
                own.append(name + item.hash)
        below = tuple(
            (child.name, transforms.get(id(child)), child.content) for child in record.children
        )
        record.content = numbers.setdefault((tuple(own), below), len(numbers))
        record.is_shareable = record.type not in _UNSHAREABLE and all(
            child.is_shareable for child in record.children
        )


def uses_itself(source: Record, known: dict[int, bool]) -> bool:
    """Whether something below is bound to a material below, of which instances have their own."""
    found = known.get(source.content)
    if found is None:
        stack = [source]
        found = False
        while stack and not found:
            record = stack.pop()
            found = record.text("materialAssign").startswith(source.place + "/")
            stack.extend(record.children)
        known[source.content] = found
    return found

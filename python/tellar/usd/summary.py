"""What an import or an export found, kept and lost."""

from __future__ import annotations

from collections import Counter
from typing import Any

_MOST_EXAMPLES = 3


class _Summary:
    _done = ""
    _kept = ""

    def __init__(self) -> None:
        self.prims: int = 0
        self.kept: Counter[str] = Counter()
        self.lost: Counter[str] = Counter()
        """What was left out or changed."""
        self.examples: dict[str, list[str]] = {}
        """Paths of the first ones of each kind that was kept or lost."""

    def _counts(self) -> Counter[str]:
        raise NotImplementedError

    def add_example(self, kind: str, path: object) -> None:
        paths = self.examples.setdefault(kind, [])
        if len(paths) < _MOST_EXAMPLES:
            paths.append(str(path))

    def lines(self) -> list[str]:
        """The report, line by line."""
        lines = [f"{self.prims} prims"]
        for title, counts in (
            (self._done, self._counts()),
            (self._kept, self.kept),
            ("lost", self.lost),
        ):
            if not counts:
                continue
            lines.append(f"{title}:")
            for kind, count in counts.most_common():
                examples = ", ".join(self.examples.get(kind, []))
                lines.append(f"  {count} {kind}" + (f" ({examples})" if examples else ""))
        return lines

    def __str__(self) -> str:
        return "\n".join(self.lines())

    def __repr__(self) -> str:
        return (
            f"<{type(self).__name__} {self.prims} prims, {self.kept.total()} {self._kept}, "
            f"{self.lost.total()} lost>"
        )


class ImportSummary(_Summary):
    """Counts of what became of the parts of a stage. ``str(summary)`` is a report."""

    _done = "imported"
    _kept = "kept as plain attributes"

    def __init__(self) -> None:
        super().__init__()
        self.prims: int = 0
        """How many prims were read, those of prototypes once."""
        self.imported: Counter[str] = Counter()
        """What was understood, by kind, such as "Mesh"."""
        self.kept: Counter[str] = Counter()
        """What was not understood and is kept as plain attributes below "usd"."""

    def _counts(self) -> Counter[str]:
        return self.imported

    def add(self, later: ImportSummary) -> None:
        """Adds the counts of what was read after all that this one counts."""
        self.imported.update(later.imported)
        self.kept.update(later.kept)
        self.lost.update(later.lost)
        for kind, paths in later.examples.items():
            for path in paths:
                self.add_example(kind, path)

    def to_data(self) -> list[dict[str, Any]]:
        """The counts and the examples, for another process."""
        return [dict(self.imported), dict(self.kept), dict(self.lost), self.examples]

    @classmethod
    def from_data(cls, data: list[dict[str, Any]]) -> ImportSummary:
        summary = cls()
        summary.imported, summary.kept, summary.lost = map(Counter, data[:3])
        summary.examples = data[3]
        return summary


class ExportSummary(_Summary):
    """Counts of what became of the locations of a scene. ``str(summary)`` is a report."""

    _done = "exported"
    _kept = 'kept as properties "tellar:"'

    def __init__(self) -> None:
        super().__init__()
        self.prims: int = 0
        """How many locations were written as prims of their own."""
        self.exported: Counter[str] = Counter()
        """The prims by type, such as "Mesh", and the locations that instances show."""
        self.kept: Counter[str] = Counter()
        """Attributes that USD has no place for and that an import puts back, by group."""

    def _counts(self) -> Counter[str]:
        return self.exported

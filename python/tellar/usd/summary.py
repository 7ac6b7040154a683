"""What an import found, kept and lost."""

from __future__ import annotations

from collections import Counter

_MOST_EXAMPLES = 3


class ImportSummary:
    """Counts of what became of the parts of a stage. ``str(summary)`` is a report."""

    def __init__(self) -> None:
        self.prims: int = 0
        """How many prims were read, those of prototypes once."""
        self.imported: Counter[str] = Counter()
        """What was understood, by kind, such as "Mesh"."""
        self.kept: Counter[str] = Counter()
        """What was not understood and is kept as plain attributes below "usd"."""
        self.lost: Counter[str] = Counter()
        """What was left out or changed."""
        self.examples: dict[str, list[str]] = {}
        """Paths of the first prims or properties of each kind that was kept or lost."""

    def add_example(self, kind: str, path: object) -> None:
        paths = self.examples.setdefault(kind, [])
        if len(paths) < _MOST_EXAMPLES:
            paths.append(str(path))

    def __str__(self) -> str:
        lines = [f"{self.prims} prims"]
        for title, counts in (
            ("imported", self.imported),
            ("kept as plain attributes", self.kept),
            ("lost", self.lost),
        ):
            if not counts:
                continue
            lines.append(f"{title}:")
            for kind, count in counts.most_common():
                examples = ", ".join(self.examples.get(kind, []))
                lines.append(f"  {count} {kind}" + (f" ({examples})" if examples else ""))
        return "\n".join(lines)

    def __repr__(self) -> str:
        return (
            f"<ImportSummary {self.prims} prims, {self.kept.total()} kept as plain attributes, "
            f"{self.lost.total()} lost>"
        )

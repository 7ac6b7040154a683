"""Curves. Those that reach their first and last point ("pinned") get a point more at each end."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np

from .primvars import Elements

if TYPE_CHECKING:
    from .context import ImportContext
    from .nodes import Node

_BASES = {"bezier": "bezier", "bspline": "bspline", "catmullRom": "catmull-rom"}


class Layout:
    """The control points of all curves of a prim, and how values are brought to them."""

    def __init__(self, kind: str, basis: str, wrap: str, counts: Any) -> None:
        self.is_linear = kind == "linear"
        self.basis = "linear" if self.is_linear else _BASES.get(basis, "bezier")
        self.is_closed = wrap == "periodic"
        self.is_pinned = wrap == "pinned" and self.basis in ("bspline", "catmull-rom")
        self.counts = counts
        self.total = int(counts.sum())

    def varying_counts(self) -> Any:
        """How many values each curve has of a primvar that varies from segment to segment."""
        if self.is_linear:
            return self.counts
        if self.basis == "bezier":
            segments = self.counts // 3 if self.is_closed else (self.counts - 4) // 3 + 1
        elif self.is_closed:
            segments = self.counts
        else:
            segments = self.counts - 1 if self.is_pinned else self.counts - 3
        return segments if self.is_closed else segments + 1

    def varying_to_points(self, values: Any) -> Any:
        """From one value for each end of a segment to one for each control point."""
        counts = self.varying_counts()
        if len(values) == self.total and not np.array_equal(counts, self.counts):
            return values  # some writers give one for each point
        if len(values) != int(counts.sum()) or np.any(counts < 1):
            return None
        if isinstance(values, list):
            return None
        values = np.asarray(values)
        first = np.repeat(np.cumsum(counts) - counts, self.counts)
        last = first + np.repeat(counts, self.counts) - 1
        local = np.arange(self.total) - np.repeat(np.cumsum(self.counts) - self.counts, self.counts)
        if self.basis == "bezier":
            return self._between(values, first, last, local / 3.0)
        # The segments of an open B-spline begin at its second point.
        shift = 0 if self.is_linear or self.is_closed or self.is_pinned else 1
        return values[np.clip(first + local - shift, first, last)]

    def _between(self, values: Any, first: Any, last: Any, at: Any) -> Any:
        low = np.minimum(first + np.floor(at).astype(int), last)
        high = np.where(low < last, low + 1, first if self.is_closed else last)
        part = (at - np.floor(at)).reshape(-1, *[1] * (values.ndim - 1))
        return (values[low] * (1 - part) + values[high] * part).astype(values.dtype)

    def pinned(self, values: Any) -> Any:
        """Values at control points, with one more at both ends of each pinned curve."""
        if not self.is_pinned or not self.total:
            return values
        values = np.asarray(values)
        ends = np.cumsum(self.counts)
        starts = ends - self.counts
        inner_first = np.minimum(starts + 1, ends - 1)
        inner_last = np.maximum(ends - 2, starts)
        before = 2 * values[starts] - values[inner_first]
        after = 2 * values[ends - 1] - values[inner_last]
        # The end of a curve and the start of the next one are inserted at one place, in this order.
        places = np.column_stack([starts, ends]).ravel()
        added = np.stack([before, after], axis=1).reshape(-1, *values.shape[1:])
        return np.insert(values, places, added, axis=0)

    def final_counts(self) -> Any:
        return self.counts + 2 if self.is_pinned else self.counts


def read_curves(
    context: ImportContext, prim: Any, names: frozenset[str], node: Node, geometry: dict[str, Any]
) -> Elements | None:
    node.attributes["type"] = "curves"
    counts = prim.GetAttribute("curveVertexCounts").Get(context.time_code)
    points = prim.GetAttribute("points").Get(context.time_code)
    if counts is None or points is None:
        context.lose("curves without points", prim.GetPath())
        return None
    kind, basis, wrap = (prim.GetAttribute(name).Get() for name in ("type", "basis", "wrap"))
    layout = Layout(kind, basis, wrap, np.asarray(counts, np.int32))
    is_valid = layout.total == len(points) and not np.any(layout.counts < 2)
    if not is_valid:
        context.lose("curves whose points do not fit their counts", prim.GetPath())
        layout.is_pinned = False
    geometry["point"] = {"P": context.sampled(prim.GetAttribute("points"), layout.pinned)}
    geometry["numVertices"] = layout.final_counts()
    geometry["basis"] = layout.basis
    if layout.is_closed:
        geometry["closed"] = 1
    if "normals" in names:
        read_ribbons(context, prim, geometry)
    if not is_valid:
        return None
    if "widths" in names:
        read_curve_widths(context, prim, layout, geometry)
    elements = Elements(len(counts), len(points), len(points))
    if not layout.is_linear:
        elements.varying_to_points = layout.varying_to_points
    if layout.is_pinned:
        elements.pinned = layout.pinned
    return elements


def read_ribbons(context: ImportContext, prim: Any, geometry: dict[str, Any]) -> None:
    """Curves with normals are ribbons. They face each ray here, whatever their normals."""
    geometry["crossSection"] = "flat"
    normals = context.sampled(prim.GetAttribute("normals"), np.asarray)
    if normals is not None:
        context.lose("directions of ribbons, which face the camera instead", prim.GetPath())
        geometry["ribbonNormals"] = normals


def read_curve_widths(
    context: ImportContext, prim: Any, layout: Layout, geometry: dict[str, Any]
) -> None:
    attribute = prim.GetAttribute("widths")
    interpolation = attribute.GetMetadata("interpolation") or "vertex"

    def by_point(widths: Any) -> Any:
        widths = np.asarray(widths)
        if len(widths) == 1:
            return widths
        if interpolation == "uniform" and len(widths) == len(layout.counts):
            return layout.pinned(np.repeat(widths, layout.counts))
        if interpolation == "varying" or len(widths) != layout.total:
            widths = layout.varying_to_points(widths)
        return np.empty(0) if widths is None else layout.pinned(widths)

    now = attribute.Get(context.time_code)
    size = 0 if now is None else len(by_point(now))
    if size == 1:
        geometry["constantWidth"] = context.sampled(attribute, by_point)
    elif size:
        geometry["point"]["width"] = context.sampled(attribute, by_point)
    elif now is not None and len(now):
        context.lose("widths whose number does not fit the shape", prim.GetPath())

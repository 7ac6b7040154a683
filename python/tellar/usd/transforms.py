"""Transforms: each prim's local transformation as one matrix with time samples.

USD interpolates each op by itself, and readers of a matrix interpolate its entries. Between two
samples of USD there are therefore more where the two would differ: at all whole time codes, which
then have exactly USD's matrices, and between these where interpolation would not be close.
"""

from __future__ import annotations

import math
from typing import TYPE_CHECKING, Any

import numpy as np
from pxr import Gf, UsdGeom

if TYPE_CHECKING:
    from .context import ImportContext

MOST_DEGREES = 5.0
"""A rotation turns by no more from one sample to the next."""
TOLERANCE = 1e-3
"""How far interpolated entries may be from the right ones, relative to the matrix."""
_DEEPEST = 8
_MOST_STEPS = 4096

_IDENTITY = Gf.Matrix4d(1)
_TURNS = {
    UsdGeom.XformOp.TypeRotateX,
    UsdGeom.XformOp.TypeRotateY,
    UsdGeom.XformOp.TypeRotateZ,
    UsdGeom.XformOp.TypeRotateXYZ,
    UsdGeom.XformOp.TypeRotateXZY,
    UsdGeom.XformOp.TypeRotateYXZ,
    UsdGeom.XformOp.TypeRotateYZX,
    UsdGeom.XformOp.TypeRotateZXY,
    UsdGeom.XformOp.TypeRotateZYX,
    UsdGeom.XformOp.TypeOrient,
}


class LocalTransform:
    """A local transformation: `matrix` if it does not move, otherwise `samples` by time code.

    `resets` tells that the transforms of all ancestors are ignored.
    """

    __slots__ = ("matrix", "resets", "samples")

    def __init__(self, matrix: Any, samples: dict[float, Any] | None, resets: bool) -> None:
        self.matrix = matrix
        self.samples = samples
        self.resets = resets


def local_transform(context: ImportContext, prim: Any) -> LocalTransform | None:
    """The transform of a prim with an xformOpOrder; None for the identity."""
    matrix, resets = context.xforms.GetLocalTransformation(prim)
    if context.is_animated or context.has_splines:
        xformable = UsdGeom.Xformable(prim)
        codes = sample_codes(context, xformable)
        if len(codes) > 1:
            return LocalTransform(None, sampled_matrices(context, xformable, codes), resets)
    return LocalTransform(matrix, None, resets) if resets or matrix != _IDENTITY else None


def sample_codes(context: ImportContext, xformable: Any) -> list[float]:
    if not xformable.TransformMightBeTimeVarying():
        return []
    codes: set[float] = set(xformable.GetTimeSamples())
    for op in xformable.GetOrderedXformOps():
        attribute = op.GetAttr()
        if attribute.HasSpline():
            codes.update(context.codes(attribute))
    return sorted(codes)


def sampled_matrices(
    context: ImportContext, xformable: Any, codes: list[float]
) -> dict[float, Any]:
    matrices = {code: xformable.GetLocalTransformation(code) for code in codes}
    if context.is_held:
        return matrices
    moving = [op for op in xformable.GetOrderedXformOps() if op.MightBeTimeVarying()]
    turning = [op for op in moving if op.GetOpType() in _TURNS]
    if not turning and len(moving) < 2:
        return matrices  # USD interpolates the entries, too
    added: dict[float, Any] = {}
    for start, end in zip(codes, codes[1:]):
        inner = stops_between(turning, start, end)
        added.update({code: xformable.GetLocalTransformation(code) for code in inner})
        known = matrices | added
        bounds = [start, *inner, end]
        for low, high in zip(bounds, bounds[1:]):
            refine(xformable, low, high, known[low], known[high], added, _DEEPEST)
    return matrices | added


def stops_between(turning: list[Any], start: float, end: float) -> list[float]:
    """The whole time codes between two samples, and as many more as rotations need."""
    whole = np.arange(math.floor(start) + 1, math.ceil(end), dtype=float)
    stops = {*whole.tolist()} if len(whole) <= _MOST_STEPS else set()
    steps = steps_between(turning, start, end)
    if steps > len(stops):
        stops.update(np.linspace(start, end, steps + 1)[1:-1].tolist())
    return sorted(stops)


def steps_between(ops: list[Any], start: float, end: float) -> int:
    degrees = sum(turned_degrees(op, start, end) for op in ops)
    if not math.isfinite(degrees):
        return 1
    return min(max(1, math.ceil(degrees / MOST_DEGREES - 1e-9)), _MOST_STEPS)


def turned_degrees(op: Any, start: float, end: float) -> float:
    first, last = op.Get(start), op.Get(end)
    if first is None or last is None:
        return 0.0
    if op.GetOpType() == UsdGeom.XformOp.TypeOrient:
        return degrees_between(first, last)
    return float(np.sum(np.abs(np.asarray(last, dtype=float) - np.asarray(first, dtype=float))))


def degrees_between(first: Any, last: Any) -> float:
    """The angle by which a slerp from one quaternion to another turns."""
    a = np.array([*first.imaginary, first.real], dtype=float)
    b = np.array([*last.imaginary, last.real], dtype=float)
    length = float(np.linalg.norm(a) * np.linalg.norm(b))
    if length == 0 or not math.isfinite(length):
        return 0.0
    return math.degrees(2 * math.acos(min(1.0, abs(float(a @ b)) / length)))


def refine(
    xformable: Any,
    low: float,
    high: float,
    at_low: Any,
    at_high: Any,
    added: dict[float, Any],
    depth: int,
) -> None:
    """Adds samples between two times until linear interpolation is close at the middle."""
    middle = (low + high) / 2
    right = xformable.GetLocalTransformation(middle)
    if depth == 0 or is_close((at_low + at_high) * 0.5, right, at_high - at_low):
        return
    added[middle] = right
    refine(xformable, low, middle, at_low, right, added, depth - 1)
    refine(xformable, middle, high, right, at_high, added, depth - 1)


def is_close(guess: Any, right: Any, change: Any) -> bool:
    difference = np.abs(np.asarray(guess) - np.asarray(right))
    if not np.all(np.isfinite(difference)):
        return True  # more samples would not help
    size = float(np.abs(np.asarray(right)[:3, :3]).max())
    moved = float(np.abs(np.asarray(change)[3]).max())
    return bool(
        difference[:3].max() <= TOLERANCE * size
        and difference[3].max() <= TOLERANCE * size + 10 * TOLERANCE * moved
    )

"""Bounds of all locations, from those of the shapes upwards."""

from __future__ import annotations

from collections.abc import Iterable, Sequence
from typing import TYPE_CHECKING, Any

import numpy as np

if TYPE_CHECKING:
    from .context import ImportContext
    from .nodes import Node

MOST_TIMES = 256
"""What moves at more times than these has one bound around all of its motion."""

Array = Any


class Motion:
    """Boxes (k, 6) at k ascending time codes."""

    __slots__ = ("boxes", "codes")

    def __init__(self, codes: Array, boxes: Array) -> None:
        self.codes = codes
        self.boxes = boxes


def interpolated(codes: Array, values: Array, at: Array) -> Array:
    """Rows of values at times, linear between samples and held outside."""
    if len(codes) == 1:
        return np.broadcast_to(values[0], (len(at), *values.shape[1:]))
    high = np.clip(np.searchsorted(codes, at), 1, len(codes) - 1)
    part = np.clip((at - codes[high - 1]) / (codes[high] - codes[high - 1]), 0, 1)
    part = part.reshape(-1, *[1] * (values.ndim - 1))
    return values[high - 1] * (1 - part) + values[high] * part


def moved_boxes(boxes: Array, matrices: Array) -> Array:
    """Boxes (n, 6) moved by matrices (n, 4, 4): the smallest boxes around the moved ones."""
    low, high = boxes[:, 0::2], boxes[:, 1::2]
    linear = matrices[:, :3, :3]
    with np.errstate(invalid="ignore", over="ignore"):
        a, b = linear * low[:, :, None], linear * high[:, :, None]
        result = np.empty_like(boxes)
        result[:, 0::2] = np.minimum(a, b).sum(axis=1) + matrices[:, 3, :3]
        result[:, 1::2] = np.maximum(a, b).sum(axis=1) + matrices[:, 3, :3]
    return result


def with_whole_codes(codes: Array) -> Array:
    """Time codes and the whole ones between them, because a bound is not linear between samples."""
    if len(codes) < 2 or codes[-1] - codes[0] > MOST_TIMES:
        return codes
    every = np.union1d(codes, np.arange(np.ceil(codes[0]), codes[-1]))
    return every if len(every) <= MOST_TIMES else codes


def joined(a: Array, b: Array) -> Array:
    result = np.empty(np.broadcast_shapes(a.shape, b.shape))
    result[..., 0::2] = np.minimum(a[..., 0::2], b[..., 0::2])
    result[..., 1::2] = np.maximum(a[..., 1::2], b[..., 1::2])
    return result


EMPTY = np.array([np.inf, -np.inf] * 3)


def is_box(box: Array) -> bool:
    return bool(np.all(np.isfinite(box)))


def boxes_of(extents: Array) -> Array:
    """Boxes (n, 6) of corners (n, 2, 3); infinite where the corners make none."""
    boxes = extents.transpose(0, 2, 1).reshape(len(extents), 6)
    with np.errstate(invalid="ignore"):
        is_empty = ~(boxes[:, 0::2] <= boxes[:, 1::2]).all(axis=1)
    boxes[is_empty] = EMPTY
    return boxes


class BoundsPass:
    """Computes the bounds of nodes. Children come after their parents in the list."""

    def __init__(self, context: ImportContext, nodes: Sequence[Node]) -> None:
        self.context = context
        self.nodes = nodes
        self.boxes = np.tile(EMPTY, (len(nodes), 1))
        self.matrices = np.tile(np.eye(4), (len(nodes), 1, 1))
        self.motions: dict[int, Motion] = {}
        self.worlds: dict[int, Any] = {}

    def run(self, boxes: Iterable[tuple[int, Array]] = ()) -> None:
        """Sets the attribute "bound" of all nodes that have one.

        `boxes` are those of what is below nodes, but not in the list, with the nodes' indices.
        """
        self._read()
        for i, box in boxes:
            self._add(i, box, None)
        ranks = self._ranks()
        order = np.argsort(ranks, kind="stable")
        starts = np.flatnonzero(np.diff(ranks[order], prepend=-1))
        for group in np.split(order, starts[1:]):
            self._finish(group)
        self._write()

    def _read(self) -> None:
        """Takes in the boxes and matrices of the nodes themselves."""
        with_matrix = [i for i, node in enumerate(self.nodes) if node.matrix is not None]
        if with_matrix:
            from pxr import Vt

            matrices = Vt.Matrix4dArray([self.nodes[i].matrix for i in with_matrix])
            self.matrices[with_matrix] = np.asarray(matrices)
        with_extent = [i for i, node in enumerate(self.nodes) if node.extent is not None]
        if with_extent:
            # Joined as bytes, because an array in numpy for each would take longer.
            joint = b"".join([self.nodes[i].extent for i in with_extent])
            extents = np.frombuffer(joint, np.float32).astype(float)
            self.boxes[with_extent] = boxes_of(extents.reshape(-1, 2, 3))
        for i, node in enumerate(self.nodes):
            if node.extents is not None:
                codes = np.array(sorted(node.extents), dtype=float)
                extents = np.array([np.asarray(node.extents[code]) for code in codes.tolist()])
                boxes = boxes_of(extents.astype(float))
                full = np.isfinite(boxes).all(axis=1)
                if full.any():
                    self.motions[i] = Motion(codes[full], boxes[full])

    def _ranks(self) -> Array:
        """For each node a number above those of its children and of its prototype's root."""
        ranks = np.zeros(len(self.nodes), dtype=np.int64)
        values = [0] * len(self.nodes)
        has_prototypes = any(node.prototype is not None for node in self.nodes)
        order = range(len(self.nodes))[::-1]
        for i in dependency_order(self.nodes) if has_prototypes else order:
            node = self.nodes[i]
            if node.prototype is not None:
                values[i] = max(values[i], values[node.prototype] + 1)
            if node.parent >= 0 and values[node.parent] <= values[i]:
                values[node.parent] = values[i] + 1
        ranks[:] = values
        return ranks

    def _finish(self, group: Array) -> None:
        """Passes the boxes of nodes, to which nothing will be added, to their parents."""
        nodes = self.nodes
        for i in [i for i in group.tolist() if nodes[i].prototype is not None]:
            self._add(i, self.boxes[nodes[i].prototype], self.motions.get(nodes[i].prototype))
        moving: list[int] = []
        still: list[int] = []
        for i in group.tolist():
            node = nodes[i]
            if node.parent < 0 or nodes[node.parent].hides_children_bounds:
                continue
            is_moving = i in self.motions or node.samples is not None or node.resets
            (moving if is_moving else still).append(i)
        if still:
            parents = np.array([nodes[i].parent for i in still])
            moved = moved_boxes(self.boxes[still], self.matrices[still])
            full = np.isfinite(moved).all(axis=1)
            for side, combine in ((0, np.minimum), (1, np.maximum)):
                whole = self.boxes[:, side::2]
                combine.at(whole, parents[full], moved[full, side::2])
        for i in moving:
            self._pass_motion(i)

    def _pass_motion(self, i: int) -> None:
        node = self.nodes[i]
        motion = self.motions.get(i)
        if motion is None and not is_box(self.boxes[i]):
            return
        codes, matrices = self._matrices_to_parent(i)
        at = with_whole_codes(codes if motion is None else np.union1d(codes, motion.codes))
        boxes = np.broadcast_to(self.boxes[i], (max(len(at), 1), 6))
        if motion is not None:
            boxes = joined(interpolated(motion.codes, motion.boxes, at), self.boxes[i])
        if len(at) <= 1:
            self._add(node.parent, moved_boxes(boxes, matrices[:1])[0], None)
            return
        moved = moved_boxes(boxes, interpolated(codes, matrices, at) if len(codes) else matrices)
        self._add(node.parent, EMPTY, Motion(at, moved))

    def _matrices_to_parent(self, i: int) -> tuple[Array, Array]:
        """The samples of a node's matrix to its parent's space: codes (k), matrices (k, 4, 4)."""
        node = self.nodes[i]
        if not node.resets:
            if node.samples is None:
                return np.array([]), self.matrices[i : i + 1]
            return sampled(node)
        codes, local = (np.array([]), self.matrices[i : i + 1])
        if node.samples is not None:
            codes, local = sampled(node)
        own_world = self._codes_of_world(node.parent)
        at = np.union1d(codes, own_world)
        if not len(at):
            inverse = inverse_or_nan(self._world(node.parent, 0.0))
            return at, local @ inverse
        locals_at = interpolated(codes, local, at) if len(codes) else np.repeat(local, len(at), 0)
        inverses = np.array([inverse_or_nan(self._world(node.parent, code)) for code in at])
        return at, locals_at @ inverses

    def _codes_of_world(self, i: int) -> Array:
        codes: set[float] = set()
        while i >= 0:
            codes.update(self.nodes[i].samples or ())
            if self.nodes[i].resets:
                break
            i = self.nodes[i].parent
        return np.array(sorted(codes))

    def _world(self, i: int, code: float) -> Array:
        """The world matrix of a node, in which a prototype stands at the origin."""
        world = np.eye(4)
        while i >= 0:
            node = self.nodes[i]
            local = self.matrices[i]
            if node.samples is not None:
                local = interpolated(*sampled(node), np.array([code]))[0]
            world = world @ local
            if node.resets:
                break
            i = node.parent
        return world

    def _add(self, i: int, box: Array, motion: Motion | None) -> None:
        """Adds a box, or one that moves, to those of a node."""
        self.boxes[i] = joined(self.boxes[i], box) if is_box(box) else self.boxes[i]
        if motion is None:
            return
        own = self.motions.get(i)
        codes = motion.codes if own is None else np.union1d(own.codes, motion.codes)
        if len(codes) > MOST_TIMES:
            for each in (motion, own):
                if each is not None and np.all(np.isfinite(each.boxes)):
                    around = np.empty(6)
                    around[0::2] = each.boxes[:, 0::2].min(axis=0)
                    around[1::2] = each.boxes[:, 1::2].max(axis=0)
                    self.boxes[i] = joined(self.boxes[i], around)
            self.motions.pop(i, None)
            return
        boxes = interpolated(motion.codes, motion.boxes, codes)
        if own is not None:
            boxes = joined(interpolated(own.codes, own.boxes, codes), boxes)
        self.motions[i] = Motion(codes, boxes)

    def _write(self) -> None:
        full = np.isfinite(self.boxes).all(axis=1)
        # A zero added makes zeros positive, whatever the order was in which boxes were joined.
        for i, box in zip(np.flatnonzero(full).tolist(), self.boxes[full] + 0.0):
            self.nodes[i].attributes["bound"] = box
        for i, motion in self.motions.items():
            boxes = joined(motion.boxes, self.boxes[i])
            if not np.all(np.isfinite(boxes)):
                continue
            rows = dict(zip(motion.codes.tolist(), boxes))
            self.nodes[i].attributes["bound"] = self.context.samples(rows)


def sampled(node: Node) -> tuple[Array, Array]:
    """The time codes (k) and matrices (k, 4, 4) of a node that moves."""
    assert node.samples is not None
    codes = sorted(node.samples)
    return np.array(codes), np.array([np.asarray(node.samples[code]) for code in codes])


def inverse_or_nan(matrix: Array) -> Array:
    try:
        return np.linalg.inv(matrix)
    except np.linalg.LinAlgError:
        return np.full((4, 4), np.nan)


def dependency_order(nodes: Sequence[Node]) -> list[int]:
    """The indices so that children come before parents, and prototypes before their instances."""
    waits_for = [0] * len(nodes)
    instances: dict[int, list[int]] = {}
    for i, node in enumerate(nodes):
        if node.parent >= 0:
            waits_for[node.parent] += 1
        if node.prototype is not None:
            waits_for[i] += 1
            instances.setdefault(node.prototype, []).append(i)
    order = [i for i, number in enumerate(waits_for) if not number]
    for i in order:  # which grows
        for other in (nodes[i].parent, *instances.get(i, ())):
            if other >= 0:
                waits_for[other] -= 1
                if not waits_for[other]:
                    order.append(other)
    # Prototypes that hold themselves are left; USD has refused them already.
    order.extend(i for i in reversed(range(len(nodes))) if waits_for[i] > 0)
    return order

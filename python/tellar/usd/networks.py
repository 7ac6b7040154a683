"""Values and nodes of shading networks while they are put together."""

from __future__ import annotations

import math
from collections.abc import Callable, Mapping
from dataclasses import dataclass, field
from typing import Any

import numpy as np

import tellar

Numbers = tuple[float, ...]


@dataclass(frozen=True)
class Constant:
    """Numbers at one or more times."""

    samples: Mapping[float, Numbers]
    """By time, in frames relative to the frame; with a single entry the time means nothing."""
    exposed: str = ""
    """The input of the material that the numbers come from, unchanged; empty for none."""

    @property
    def numbers(self) -> Numbers:
        """The sample nearest to time 0."""
        return self.samples[min(self.samples, key=abs)]

    def at(self, time: float) -> Numbers:
        """The numbers at a time, linearly interpolated."""
        times = sorted(self.samples)
        if len(times) == 1 or time <= times[0]:
            return self.samples[times[0]]
        for before, after in zip(times, times[1:]):
            if time <= after:
                share = (time - before) / (after - before)
                pairs = zip(self.samples[before], self.samples[after])
                return tuple(a + (b - a) * share for a, b in pairs)
        return self.samples[times[-1]]

    def channel(self, index: int) -> Constant:
        """One component; a single number stands for all of them, and a missing alpha is 1."""

        def component(numbers: Numbers) -> Numbers:
            if index < len(numbers):
                return (numbers[index],)
            return (1.0,) if index == 3 else (numbers[0],)

        return Constant({time: component(numbers) for time, numbers in self.samples.items()})

    def attribute(self) -> tellar.Attribute:
        """Floats, in one tuple."""
        if len(self.samples) == 1:
            return float_attribute(self.numbers)
        values = {time: _tuple_of(numbers) for time, numbers in self.samples.items()}
        return tellar.samples(values)


@dataclass(frozen=True)
class Source:
    """An output of a node."""

    node: str
    port: str = "out"
    fallback: Constant | None = None
    """What is used where the node has no result, such as an image that cannot be read."""

    @property
    def connection(self) -> str:
        """The text that stands among a node's connections."""
        return f"{self.port}@{self.node}"


Value = Constant | Source


def _tuple_of(numbers: Numbers) -> np.ndarray[Any, Any]:
    with np.errstate(over="ignore"):  # too large a number becomes infinite
        return np.array([numbers], np.float64).astype(np.float32)


def float_attribute(numbers: Numbers) -> tellar.Attribute:
    """An attribute with one tuple of floats."""
    attribute = tellar.attribute(_tuple_of(numbers))
    assert isinstance(attribute, tellar.Attribute)
    return attribute


def constant(*numbers: float) -> Constant:
    """A constant without samples."""
    return Constant({0.0: numbers})


def is_constant(value: Value, *numbers: float) -> bool:
    """Whether the value is this number, or these numbers, at all times, as floats."""
    if not isinstance(value, Constant):
        return False
    return all(
        math.isclose(one, numbers[min(i, len(numbers) - 1)], rel_tol=1e-6, abs_tol=1e-9)
        for sample in value.samples.values()
        for i, one in enumerate(sample)
    )


def combined(operation: Callable[..., float], *values: Constant) -> Constant:
    """The operation on each component, at all times of all values. Single numbers are repeated."""
    times = sorted({time for value in values if len(value.samples) > 1 for time in value.samples})
    size = max(len(value.numbers) for value in values)

    def at(time: float) -> Numbers:
        samples = [value.at(time) for value in values]
        wide = [sample * size if len(sample) == 1 else sample for sample in samples]
        return tuple(operation(*components) for components in zip(*wide))

    return Constant({time: at(time) for time in times or [0.0]})


@dataclass
class Node:
    """A node that is being described."""

    key: str
    type: str
    parameters: dict[str, Any] = field(default_factory=dict)
    connections: dict[str, str] = field(default_factory=dict)
    kept: dict[str, Any] = field(default_factory=dict)
    """Values that have no parameter, for the group "usd"."""
    exposed: dict[str, str] = field(default_factory=dict)
    """Inputs of the material, and the parameters that are equal to them."""

    def feed(self, name: str, value: Value) -> None:
        """Sets a parameter, or connects it; the source's fallback becomes the parameter."""
        if isinstance(value, Source):
            self.connections[name] = value.connection
            if value.fallback is not None:
                self.parameters[name] = value.fallback.attribute()
            return
        self.parameters[name] = value.attribute()
        if value.exposed:
            self.exposed[value.exposed] = name

    def group(self) -> dict[str, Any]:
        """The node as a material's group has it."""
        result: dict[str, Any] = {"name": self.key, "type": self.type}
        for name in ("parameters", "connections"):
            if children := getattr(self, name):
                result[name] = tellar.group(children)
        if self.kept:
            result["usd"] = tellar.group(self.kept)
        return result


class Network:
    """The nodes of a material. Operations on constants make no node."""

    def __init__(self) -> None:
        self.nodes: dict[str, Node] = {}

    def add(self, name: str, type_name: str) -> Node:
        """A new node; its key is the name, with a number where that is taken."""
        key, number = name, 1
        while key in self.nodes:
            number += 1
            key = f"{name}_{number}"
        node = Node(key, type_name)
        self.nodes[key] = node
        return node

    def _operation(self, type_name: str, **inputs: Value) -> Source:
        node = self.add(type_name, type_name)
        for name, value in inputs.items():
            node.feed(name, value)
        return Source(node.key)

    def _fallback(
        self, operation: Callable[..., float], *values: Value
    ) -> Constant | None:
        known = [v if isinstance(v, Constant) else v.fallback for v in values]
        constants = [one for one in known if one is not None]
        return combined(operation, *constants) if len(constants) == len(known) else None

    def multiply(self, a: Value, b: Value) -> Value:
        """The product."""
        for one, other in ((a, b), (b, a)):
            if is_constant(one, 1) and not (isinstance(one, Constant) and len(one.numbers) > 1
                                            and isinstance(other, Constant)):
                return other
        if isinstance(a, Constant) and isinstance(b, Constant):
            return combined(lambda x, y: x * y, a, b)
        source = self._operation("multiply", a=a, b=b)
        return Source(source.node, "out", self._fallback(lambda x, y: x * y, a, b))

    def add_values(self, a: Value, b: Value) -> Value:
        """The sum."""
        for one, other in ((a, b), (b, a)):
            if is_constant(one, 0) and isinstance(other, Source):
                return other
        if isinstance(a, Constant) and isinstance(b, Constant):
            return combined(lambda x, y: x + y, a, b)
        source = self._operation("add", a=a, b=b)
        return Source(source.node, "out", self._fallback(lambda x, y: x + y, a, b))

    def mix(self, a: Value, b: Value, amount: Value) -> Value:
        """The mix in which `amount` is the share of `b`."""
        if is_constant(amount, 0):
            return a
        if is_constant(amount, 1):
            return b
        if isinstance(a, Constant) and isinstance(b, Constant) and isinstance(amount, Constant):
            return combined(lambda x, y, t: x + (y - x) * t, a, b, amount)
        source = self._operation("mix", a=a, b=b, amount=amount)
        fallback = self._fallback(lambda x, y, t: x + (y - x) * t, a, b, amount)
        return Source(source.node, "out", fallback)

    def invert(self, a: Value) -> Value:
        """1 - a."""
        if isinstance(a, Constant):
            return combined(lambda x: 1 - x, a)
        source = self._operation("invert", a=a)
        return Source(source.node, "out", self._fallback(lambda x: 1 - x, a))

    def channel(self, value: Value, index: int) -> Value:
        """A component from 0 to 3."""
        if isinstance(value, Constant):
            return value.channel(index)
        if value.port != "out":
            return value
        fallback = value.fallback.channel(index) if value.fallback else None
        return Source(value.node, "rgba"[index], fallback)

"""Nodes of shading networks that compute with numbers, without images and texture coordinates."""

from __future__ import annotations

from collections.abc import Callable
from typing import TYPE_CHECKING

from pxr import UsdShade

from .networks import Constant, Node, Source, Value, constant, float_attribute

if TYPE_CHECKING:
    from .patterns import Translator

CHANNELS = {"r": 0, "g": 1, "b": 2, "a": 3, "outr": 0, "outg": 1, "outb": 2, "outa": 3,
            "outx": 0, "outy": 1, "outz": 2, "x": 0, "y": 1, "z": 2, "w": 3}
"""What outputs that are a part of a value are called, and its place."""


def _constant(translator: Translator, shader: UsdShade.Shader, _: str) -> Value:
    value: Value = translator.value(shader, "value", constant(0))
    return value


def _pass(translator: Translator, shader: UsdShade.Shader, _: str) -> Value:
    value: Value = translator.value(shader, "in", constant(0))
    return value


def _multiply(translator: Translator, shader: UsdShade.Shader, _: str) -> Value:
    return translator.network.multiply(translator.value(shader, "in1", constant(0)),
                                       translator.value(shader, "in2", constant(1)))


def _add(translator: Translator, shader: UsdShade.Shader, _: str) -> Value:
    return translator.network.add_values(translator.value(shader, "in1", constant(0)),
                                         translator.value(shader, "in2", constant(0)))


def _subtract(translator: Translator, shader: UsdShade.Shader, _: str) -> Value:
    taken = translator.value(shader, "in2", constant(0))
    return translator.network.add_values(translator.value(shader, "in1", constant(0)),
                                         translator.network.multiply(taken, constant(-1)))


def _mix(translator: Translator, shader: UsdShade.Shader, _: str) -> Value:
    return translator.network.mix(translator.value(shader, "bg", constant(0)),
                                  translator.value(shader, "fg", constant(0)),
                                  translator.value(shader, "mix", constant(0)))


def _invert(translator: Translator, shader: UsdShade.Shader, _: str) -> Value:
    amount = translator.value(shader, "amount", constant(1))
    value = translator.value(shader, "in", constant(0))
    if isinstance(amount, Constant) and all(one == 1 for one in amount.numbers):
        return translator.network.invert(value)
    return translator.network.add_values(amount, translator.network.multiply(value, constant(-1)))


def _extract(translator: Translator, shader: UsdShade.Shader, _: str) -> Value:
    index = int(translator.number(shader, "index", 0))
    value = translator.value(shader, "in", constant(0))
    return translator.network.channel(value, min(max(index, 0), 3))


def _separate(translator: Translator, shader: UsdShade.Shader, output: str) -> Value:
    value = translator.value(shader, "in", constant(0))
    return translator.network.channel(value, CHANNELS.get(output, 0))


def _combine(translator: Translator, shader: UsdShade.Shader, _: str) -> Value | None:
    values = [translator.value(shader, f"in{i}", constant(0)) for i in (1, 2, 3)]
    if all(isinstance(value, Constant) and len(value.numbers) == 1 for value in values):
        times = sorted({t for value in values for t in value.samples})
        return Constant({t: tuple(v.at(t)[0] for v in values) for t in times})
    if any(isinstance(value, Constant) and len(value.numbers) > 1 for value in values):
        return None  # a color and an alpha
    node = translator.network.add(shader.GetPrim().GetName(), "multiply")
    node.parameters["a"] = float_attribute((0.0, 0.0, 0.0))
    for channel, value in zip("rgb", values):
        _feed_component(translator, node, channel, value)
    return Source(node.key)


def _feed_component(translator: Translator, node: Node, channel: str, value: Value) -> None:
    if isinstance(value, Constant):
        held = translator.network.add(f"{node.key}_{channel}", "constant")
        held.feed("value", value)
        value = Source(held.key)
    node.connections[f"a:{channel}"] = value.connection


Handler = Callable[["Translator", UsdShade.Shader, str], Value | None]
"""Translates a shader, as far as one of its outputs needs it. Returns the value of that output, or
None for a shader that is kept as it is."""

ARITHMETIC: dict[str, Handler] = {
    "constant": _constant,
    "dot": _pass,
    "convert": _pass,
    "multiply": _multiply,
    "add": _add,
    "subtract": _subtract,
    "mix": _mix,
    "invert": _invert,
    "extract": _extract,
    "separate3": _separate,
    "separate4": _separate,
    "combine3": _combine,
    "normalmap": _pass,
}
"""Handlers by the categories of their shaders."""

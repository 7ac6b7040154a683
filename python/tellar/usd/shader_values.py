"""Values of shaders' inputs."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np
from pxr import Gf, Sdf, Usd

import tellar

from .networks import Constant, Numbers
from .plain import plain_value
from .textures import texture_path

if TYPE_CHECKING:
    from .context import ImportContext


def numbers_of(value: Any) -> Numbers | None:
    """The components of a number, a vector or a matrix; None for anything else."""
    if isinstance(value, (bool, int, float)):
        return (float(value),)
    if isinstance(value, (str, Sdf.AssetPath)) or type(value).__module__ != Gf.Vec3f.__module__:
        return None
    try:
        return tuple(np.asarray(value, np.float64).ravel().tolist())
    except (TypeError, ValueError):
        return None


def constant_of(
    context: ImportContext, attribute: Usd.Attribute, exposed: str = ""
) -> Constant | None:
    """The numbers of an attribute with its time samples; None if it holds no numbers."""
    numbers = numbers_of(context.value(attribute))
    if numbers is None or not context.codes(attribute):
        return None if numbers is None else Constant({0.0: numbers}, exposed)
    sampled = context.sampled(attribute, lambda value: np.array([numbers_of(value)], np.float64))
    if not isinstance(sampled, tellar.Attribute):
        return Constant({0.0: numbers}, exposed)
    samples = {time: tuple(np.ravel(value).tolist()) for time, value in sampled.samples.items()}
    return Constant(samples, exposed)


def kept_value(context: ImportContext, attribute: Usd.Attribute) -> Any:
    """The value as a plain attribute, with its time samples; None if there is none."""

    def convert(value: Any) -> Any:
        if isinstance(value, Sdf.AssetPath):
            return texture_path(attribute, value)
        return plain_value(value)

    return context.sampled(attribute, convert)

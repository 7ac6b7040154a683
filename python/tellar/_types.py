"""Types that the signatures of the package name."""

from __future__ import annotations

import os
from collections.abc import Iterable, Mapping
from typing import TYPE_CHECKING, Any, TypeAlias, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

if TYPE_CHECKING:
    from ._tellar import Attribute, Group

__all__ = [
    "ArrayLike",
    "AttributeLike",
    "AttributeValue",
    "DoubleArgument",
    "DoubleArray",
    "DoublesArgument",
    "GroupArgument",
    "IntArgument",
    "IntsArgument",
    "NumberArray",
    "Resolution",
    "StringArgument",
    "StringsArgument",
    "Value",
]

DoubleArray: TypeAlias = NDArray[np.float64]
NumberArray: TypeAlias = NDArray[np.int32] | NDArray[np.float32] | NDArray[np.float64]

# The type of a value is known when the scene is read, and not before. A union would have every
# caller of loc["geometry.point.P"] tell the type checker what it knows already.
AttributeValue: TypeAlias = Any
"""A NumberArray, a str, a tuple of str, or None."""
Value: TypeAlias = Any
"""An AttributeValue or a Group."""

AttributeLike: TypeAlias = Union[
    "Attribute", "Group", ArrayLike, Mapping[str, Any], "os.PathLike[str]", None
]
"""What `attribute` takes. A mapping makes a group."""

Resolution: TypeAlias = str | tuple[int, int]
"""The name of a resolution, or width and height in pixels."""

# The values that arguments of ops take, by their types in the descriptions of op types. An
# Attribute may have time samples.
StringArgument: TypeAlias = Union[str, "os.PathLike[str]", "Attribute"]
StringsArgument: TypeAlias = Union[
    str, "os.PathLike[str]", Iterable[Union[str, "os.PathLike[str]"]], "Attribute"
]
IntArgument: TypeAlias = Union[int, "np.integer[Any]", "Attribute"]
IntsArgument: TypeAlias = Union[ArrayLike, "Attribute"]
DoubleArgument: TypeAlias = Union[float, "np.floating[Any]", Mapping[float, float], "Attribute"]
DoublesArgument: TypeAlias = Union[ArrayLike, Mapping[float, ArrayLike], "Attribute"]
GroupArgument: TypeAlias = Union[Mapping[str, Any], "Group"]

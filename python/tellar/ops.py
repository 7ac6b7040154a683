"""The op types, each as a function that makes an op.

    tellar.ops.Transform(scene, paths=["/root/world/car"], translate=[0, 2, 0])

Every op type that the process knows is here: the built-in ones, those of plug-ins, and those that
are written in Python. A function takes the inputs of the op, a name, and the arguments of the type
under their own names, which are in camelCase. ``help(tellar.ops.Transform)`` tells them.
"""

from __future__ import annotations

from typing import TYPE_CHECKING

from ._ops import function, names

if TYPE_CHECKING:
    from collections.abc import Callable

    from ._ops import Op

__all__ = ["names"]


def __getattr__(name: str) -> Callable[..., Op]:
    if name.startswith("__"):
        raise AttributeError(name)
    return function(name)


def __dir__() -> list[str]:
    return sorted([*names(), "names"])

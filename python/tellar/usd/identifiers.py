"""Names that USD allows."""

from __future__ import annotations

from collections.abc import Iterable

from pxr import Sdf, Tf


def valid_identifier(name: str) -> str:
    """The name itself, or one that is like it and that USD allows."""
    if Sdf.Path.IsValidIdentifier(name):
        return name
    valid: str = Tf.MakeValidIdentifier(name)
    return valid


def unique_identifier(name: str, taken: Iterable[str]) -> str:
    """The same, with a number if the name is taken."""
    valid = valid_identifier(name)
    number, unique = 1, valid
    while unique in taken:
        number += 1
        unique = f"{valid}_{number}"
    return unique

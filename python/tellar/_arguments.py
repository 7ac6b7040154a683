"""The arguments of op types: what their types say, and values converted to them."""

from __future__ import annotations

import os
import re
from collections.abc import Iterable, Mapping, Sequence
from dataclasses import dataclass
from typing import Any, NoReturn

import numpy as np

from ._errors import InvalidValueError
from ._tellar import Attribute, Group, attribute, group, samples

# A base type, then nothing, "[]" for any number, "[3]" for three, or "[3][]" for any number of
# threes.
_TYPE = re.compile(r"(string|int|float|double)(?:\[(\d*)\](\[\])?)?")


@dataclass(frozen=True)
class _Form:
    """What the type of an argument says."""

    base: str
    count: int | None
    """The number of values, or of those in a tuple; None for any number."""
    is_list: bool
    """Whether there may be any number of tuples."""
    is_single: bool
    """Whether it is one value, which is no list."""

    @classmethod
    def of(cls, argument_type: str) -> _Form | None:
        """None for a group, and for a type that only the op type knows."""
        match = _TYPE.fullmatch(argument_type)
        if not match:
            return None
        base, count, tuples = match.groups()
        size = 1 if count is None else int(count) if count else None
        return cls(base, size, tuples is not None, count is None)

    @property
    def words(self) -> str:
        """What the argument takes, for messages."""
        kind = {"string": "str", "int": "int"}.get(self.base, "float")
        if self.is_single:
            return "a path or a str" if self.base == "string" else f"one {kind}"
        if self.is_list:
            return f"any number of {self.count} {kind}s"
        return f"a list of {kind}" if self.count is None else f"{self.count} {kind}s"

    def takes(self, count: int) -> bool:
        """Whether a number of values is right."""
        if self.count is None:
            return True
        return count % self.count == 0 if self.is_list else count == self.count


def _strings(value: object) -> Attribute | None:
    """Strings or paths as an attribute; None for anything else."""
    if isinstance(value, (str, bytes, os.PathLike)):
        value = [value]
    if isinstance(value, Mapping) or not isinstance(value, Iterable):
        return None
    texts = [os.fspath(text) if isinstance(text, os.PathLike) else text for text in value]
    if not all(isinstance(text, (str, bytes)) for text in texts):
        return None
    made = attribute(texts, "string")
    return made if isinstance(made, Attribute) else None


def _numbers(value: object, form: _Form) -> Attribute | None:
    """Numbers as an attribute: flat where their number is given, otherwise in the tuples that the
    type or the shape of an array makes. None for no numbers.
    """
    if isinstance(value, (str, bytes, os.PathLike)) or value is None:
        return None
    if isinstance(value, Mapping):
        return samples({time: np.ravel(numbers) for time, numbers in value.items()}, form.base)
    array = np.asarray(value)
    if array.dtype.kind not in "biuf":
        return None
    made = attribute(array.ravel() if form.count else array, form.base)
    if form.is_list and form.takes(array.size):
        made = attribute(made, form.base, form.count or 1)
    return made if isinstance(made, Attribute) else None


# The types of attributes that op types take for a type of argument.
_KINDS = {
    "string": ("string",),
    "int": ("int",),
    "float": ("int", "float", "double"),
    "double": ("int", "float", "double"),
}


def _of_form(value: object, form: _Form) -> Attribute | None:
    """The value as an attribute of a form, whatever its number of values; None if it is none."""
    if isinstance(value, Attribute):
        return value if value.type in _KINDS[form.base] else None
    try:
        return _strings(value) if form.base == "string" else _numbers(value, form)
    except (TypeError, ValueError, OverflowError):
        return None


def _number_of_values(value: Attribute) -> int:
    shown = value.value
    return len(shown) if isinstance(shown, tuple) else 1 if isinstance(shown, str) else shown.size


@dataclass(frozen=True)
class Argument:
    """One argument of an op type."""

    name: str
    type: str
    summary: str

    @property
    def is_required(self) -> bool:
        return self.summary.endswith("Required.")

    def converted(self, value: object, op_type: str) -> Attribute | Group:
        """The value as an attribute. Raises TypeError, or InvalidValueError for a wrong number of
        values, naming the argument.
        """
        form = _Form.of(self.type)
        if form is None:
            return self._as_group(value, op_type)
        made = _of_form(value, form)
        if made is None:
            self._refuse(value, op_type, form.words)
        found = _number_of_values(made)
        if not form.takes(found):
            raise InvalidValueError(
                f'{op_type}: argument "{self.name}" takes {form.words}, not {found}',
                op_type=op_type,
                attribute=self.name,
            )
        return made

    def _as_group(self, value: object, op_type: str) -> Attribute | Group:
        if self.type != "group":  # a type that only the op type knows
            return attribute(value)  # type: ignore[arg-type]
        if isinstance(value, Group):
            return value
        if not isinstance(value, Mapping):
            self._refuse(value, op_type, "a mapping")
        return group(value)

    def _refuse(self, value: object, op_type: str, wanted: str) -> NoReturn:
        shown = repr(value)
        shown = shown if len(shown) <= 60 else shown[:57] + "..."
        raise TypeError(
            f'{op_type}: argument "{self.name}" ({self.type}) takes {wanted}, not {shown}'
        )

    @property
    def annotation(self) -> Any:
        """What the argument takes, as a type that is short to read."""
        form = _Form.of(self.type)
        if form is None:
            return Mapping[str, Any] if self.type == "group" else Any
        if form.is_single:
            return {"string": str | os.PathLike[str], "int": int}.get(form.base, float)
        item: Any = {"string": str, "int": int}.get(form.base, float)
        return Sequence[Sequence[item]] if form.is_list else Sequence[item]

    @property
    def annotation_name(self) -> str:
        """All that the argument takes: an alias of tellar._types."""
        form = _Form.of(self.type)
        if form is None:
            return "GroupArgument" if self.type == "group" else "AttributeLike"
        kind = {"string": "String", "int": "Int"}.get(form.base, "Double")
        return f"{kind}Argument" if form.is_single else f"{kind}sArgument"

"""Ops, and their descriptions."""

from __future__ import annotations

import difflib
from collections.abc import Callable, Iterable, Iterator, Mapping
from dataclasses import dataclass
from functools import lru_cache
from inspect import Parameter, Signature
from keyword import iskeyword
from textwrap import fill
from typing import TYPE_CHECKING, Any, NoReturn

from . import _tellar
from ._arguments import Argument
from ._errors import BadCallError, NotFoundError
from ._tellar import Attribute, Group, Scene, attribute, group

if TYPE_CHECKING:
    from ._op_types import OpType
    from ._types import AttributeLike

# Op types ---------------------------------------------------------------------------------------


_DOCUMENTED_WIDTH = 92  # of a docstring, which the stub indents


@dataclass(frozen=True)
class TypeDescription:
    """What an op type says of itself."""

    name: str
    summary: str
    inputs: str
    arguments: tuple[Argument, ...]
    takes_any: bool = False
    """Whether arguments that are not listed are taken as they are."""

    @classmethod
    def of(cls, name: str) -> TypeDescription | None:
        """The description of an op type; None for an unknown one."""
        found = _tellar.op_type(name)
        if found is None:
            return None
        name, summary, inputs, arguments = found
        return cls(name, summary, inputs, tuple(Argument(*parts) for parts in arguments))

    def argument(self, name: str) -> Argument | None:
        return next((argument for argument in self.arguments if argument.name == name), None)

    @property
    def most_inputs(self) -> int | None:
        """None for any number."""
        return {"none": 0, "one": 1}.get(self.inputs)

    def keywords(self) -> Iterator[Argument]:
        """The arguments that Python can name, the required ones first."""
        named = [
            argument
            for argument in self.arguments
            if argument.name.isidentifier()
            and not iskeyword(argument.name)
            and argument.name != "name"
        ]
        yield from (argument for argument in named if argument.is_required)
        yield from (argument for argument in named if not argument.is_required)

    @property
    def has_unnamed(self) -> bool:
        """Whether there are arguments that the signature does not name."""
        return self.takes_any or len(list(self.keywords())) < len(self.arguments)

    def signature(self) -> Signature:
        """The signature of the function that makes ops of the type."""
        parameters = []
        if self.most_inputs == 1:
            parameters.append(
                Parameter("input", Parameter.POSITIONAL_ONLY, default=None, annotation=Op | None)
            )
        elif self.most_inputs is None:
            parameters.append(Parameter("inputs", Parameter.VAR_POSITIONAL, annotation=Op | None))
        parameters.append(
            Parameter("name", Parameter.KEYWORD_ONLY, default=None, annotation=str | None)
        )
        for argument in self.keywords():
            required = argument.is_required
            parameters.append(
                Parameter(
                    argument.name,
                    Parameter.KEYWORD_ONLY,
                    default=Parameter.empty if required else None,
                    annotation=argument.annotation if required else argument.annotation | None,
                )
            )
        if self.has_unnamed:
            parameters.append(Parameter("arguments", Parameter.VAR_KEYWORD, annotation=Any))
        return Signature(parameters, return_annotation=Op)

    def docstring(self) -> str:
        lines = [fill(self.summary, _DOCUMENTED_WIDTH), "", f"Inputs: {self.inputs}."]
        if self.arguments:
            lines += ["", "Arguments:"]
        for item in self.arguments:
            text = f"{item.name} ({item.type}): {item.summary}"
            lines.append(
                fill(text, _DOCUMENTED_WIDTH, initial_indent=" " * 4, subsequent_indent=" " * 8)
            )
        return "\n".join(lines)

    def convert(self, arguments: Mapping[str, object]) -> dict[str, Attribute | Group]:
        """The arguments as attributes, without those that are None. Raises TypeError for an unknown
        one.
        """
        converted = {}
        for name, value in arguments.items():
            if value is not None:
                converted[name] = self.convert_one(name, value)
        return converted

    def convert_one(self, name: str, value: object) -> Attribute | Group:
        found = self.argument(name)
        if found:
            return found.converted(value, self.name)
        # A part of an argument, by its dotted name.
        if self.takes_any or "." in name:
            return attribute(value)  # type: ignore[arg-type]
        known = [argument.name for argument in self.arguments]
        raise TypeError(f'{self.name} takes no argument "{name}"{did_you_mean(name, known)}')

    def missing(self, arguments: Iterable[str]) -> list[str]:
        given = set(arguments)
        return [item.name for item in self.arguments if item.is_required and item.name not in given]

    def make(self, registered: str, inputs: tuple[Op | None, ...], values: dict[str, Any]) -> Op:
        """An op of the type, from what its function was called with."""
        name = values.pop("name", None)
        if self.most_inputs is not None and len(inputs) > self.most_inputs:
            most = "no inputs" if self.most_inputs == 0 else "one input"
            raise TypeError(f"{self.name} takes {most}, not {len(inputs)}")
        converted = self.convert(values)
        missing = self.missing(converted)
        if missing:
            raise TypeError(f'{self.name} needs the argument "{missing[0]}"')
        return Op(registered, *inputs, arguments=converted, name=name)


def did_you_mean(name: str, known: Iterable[str]) -> str:
    """A hint at the most similar name; empty if none is."""
    by_folded = {other.lower(): other for other in known}
    close = difflib.get_close_matches(name.lower(), by_folded, n=1)
    return f"; did you mean {by_folded[close[0]]}?" if close else ""


# Ops --------------------------------------------------------------------------------------------


class Op:
    """One op of a graph: a type, inputs and arguments. Immutable; compared by identity.

    Made by the functions of :mod:`tellar.ops`, which check the arguments. This class itself takes
    any type, also one that this process does not know, and any arguments.
    """

    __slots__ = ("__weakref__", "_arguments", "_inputs", "_name", "_type")
    _type: str
    _inputs: tuple[Op | None, ...]
    _arguments: Group
    _name: str | None

    def __init__(
        self,
        type: str,
        *inputs: Op | None,
        arguments: Mapping[str, AttributeLike] | Group | None = None,
        name: str | None = None,
    ) -> None:
        for place, given in enumerate(inputs):
            if given is not None and not isinstance(given, Op):
                raise TypeError(f"{type}: input {place} is {_article(given)}, not an Op")
        if name is not None and not isinstance(name, str):
            raise TypeError(f"{type}: the name of an op is a str, not {_article(name)}")
        if name == "":
            raise BadCallError(f"{type}: the name of an op must not be empty", op_type=type)
        made = arguments if isinstance(arguments, Group) else group(arguments or {})
        for slot, value in (
            ("_type", type),
            ("_inputs", inputs),
            ("_arguments", made),
            ("_name", name),
        ):
            object.__setattr__(self, slot, value)

    def __setattr__(self, name: str, value: object) -> NoReturn:
        raise AttributeError(f"an Op is immutable: {name} cannot be set")

    def __delattr__(self, name: str) -> NoReturn:
        raise AttributeError(f"an Op is immutable: {name} cannot be deleted")

    @property
    def type(self) -> str:
        """The op type. That of a class that was defined again ends in "#2" and so on."""
        return self._type

    @property
    def name(self) -> str | None:
        """The name that the op was given; None if it gets one in the description."""
        return self._name

    @property
    def inputs(self) -> tuple[Op | None, ...]:
        """The ops that it reads. None has no locations."""
        return self._inputs

    @property
    def arguments(self) -> Group:
        """The arguments, as attributes."""
        return self._arguments

    def description(self) -> Group:
        """The op-tree description of this op and all its inputs, direct and indirect.

        One child an op, which is a group of "opType", "opArgs" and "opInputs"; inputs come first
        and this op last. An op that several others have as input is there once. Ops without a name
        are called after their types, "merge1", "merge2", in this order. Raises BadCallError when
        two ops have the same name.
        """
        return describe(self)

    def scene(self) -> Scene:
        """Opens the scene of this op, as :func:`tellar.scene` does."""
        return _tellar.open_description(self.description())

    def __repr__(self) -> str:
        parts = [_shown_input(item) for item in self._inputs]
        if self._name is not None:
            parts.append(f"name={self._name!r}")
        parts += self._arguments.keys()
        return f"<Op {self._type}({', '.join(parts)})>"


def _shown_input(op: Op | None) -> str:
    return "None" if op is None else op.name or op.type


def _article(value: object) -> str:
    kind = type(value).__name__
    return f"an {kind}" if kind[:1].lower() in "aeiou" else f"a {kind}"


def _in_order(op: Op) -> list[Op]:
    """The op and all its inputs, once each, inputs first. Does not recurse: graphs may be deep."""
    order: dict[Op, None] = {}
    stack = [(op, iter(op.inputs))]
    while stack:
        current, inputs = stack[-1]
        following = next((item for item in inputs if item and item not in order), None)
        if following:
            stack.append((following, iter(following.inputs)))
        else:
            order[current] = None
            stack.pop()
    return list(order)


def _names_for(ops: list[Op]) -> dict[Op, str]:
    taken: dict[str, Op] = {}
    for op in ops:
        if op.name is not None and taken.setdefault(op.name, op) is not op:
            raise BadCallError(
                f'two ops have the name "{op.name}": {taken[op.name]} and {op}', op=op.name
            )
    names = {}
    counts: dict[str, int] = {}
    for op in ops:
        name = op.name
        while name is None:
            base = op.type[:1].lower() + op.type[1:].partition("#")[0]
            counts[base] = counts.get(base, 0) + 1
            candidate = f"{base}{counts[base]}"
            name = None if candidate in taken else candidate
        names[op] = name
    return names


def describe(op: Op) -> Group:
    """See Op.description."""
    ops = _in_order(op)
    names = _names_for(ops)
    described = {}
    for item in ops:
        inputs = [names[given] if given else "" for given in item.inputs]
        described[names[item]] = (item.type, item.arguments, inputs)
    return _tellar.describe_ops(described)


def description_from(ops: Group | Mapping[str, Any]) -> Group:
    """The op-tree description that a mapping of mappings stands for, with the newest op types in
    Python. A Group is one already.
    """
    if isinstance(ops, Group):
        return ops
    described = {}
    for name, op in ops.items():
        if not isinstance(op, Mapping | Group) or "opType" not in op:
            raise BadCallError(
                f'op "{name}": an op is a mapping with "opType", and with "opArgs" and "opInputs" '
                "where it has them",
                op=name,
            )
        inputs = op.get("opInputs")
        inputs = [inputs] if isinstance(inputs, str) else list(inputs if inputs is not None else ())
        arguments = op.get("opArgs")
        made = arguments if isinstance(arguments, Group) else group(arguments or {})
        described[name] = (registered_name(op["opType"]), made, [item or "" for item in inputs])
    return _tellar.describe_ops(described)


def op_of(description: Group, name: str | None) -> Op:
    """The op of a description with all its inputs; the terminal op for None."""
    ops = _tellar.described_ops(description)
    wanted = list(ops)[-1] if name is None and ops else name
    if wanted is None or wanted not in ops:
        raise NotFoundError(f'there is no op "{wanted}"{did_you_mean(wanted or "", ops)}')
    made: dict[str, Op] = {}
    stack = [wanted]
    while stack:
        current = stack[-1]
        kind, arguments, inputs = ops[current]
        following = next((item for item in inputs if item in ops and item not in made), None)
        if following is None:
            given = [made.get(item) for item in inputs]
            made[stack.pop()] = Op(kind, *given, arguments=arguments, name=current)
        elif following in stack:
            raise BadCallError(f'the op "{following}" depends on itself', op=following)
        else:
            stack.append(following)
    return made[wanted]


# Names of types ---------------------------------------------------------------------------------

# The classes of op types in Python by their names: the newest of each name.
classes: dict[str, type[OpType]] = {}
# The descriptions of all of them, also of those that were defined again, by their registered names.
described_types: dict[str, TypeDescription] = {}


def registered_name(op_type: str | type[OpType]) -> str:
    """The name of an op type in a description, from the name or the class."""
    if isinstance(op_type, str):
        return classes[op_type].registered_name if op_type in classes else op_type
    found = getattr(op_type, "registered_name", None)
    if not isinstance(found, str) or not found:
        raise TypeError(f"an op type is a name or a class with cook, not {op_type!r}")
    return found


def description_of_type(name: str) -> TypeDescription | None:
    """The description of a registered type or of a class; None for an unknown name."""
    try:
        return described_types.get(name) or _known_description(name)
    except LookupError:
        return None


@lru_cache(maxsize=None)
def _known_description(name: str) -> TypeDescription:
    found = TypeDescription.of(name)
    if found is None:
        raise LookupError(name)  # not kept: it may be known later
    return found


def converted_argument(op_type: str, name: str, value: object) -> Attribute | Group:
    """One argument as an attribute, for an op of a type that may be unknown."""
    described = description_of_type(op_type)
    if described is None:
        return attribute(value)  # type: ignore[arg-type]
    return described.convert_one(name, value)


def converted_arguments(op_type: str, values: Mapping[str, object]) -> Group:
    """All arguments as attributes, for an op of a type that may be unknown."""
    described = description_of_type(op_type)
    if described is None or isinstance(values, Group):
        return values if isinstance(values, Group) else group(values)  # type: ignore[arg-type]
    return group(described.convert(values))


def names() -> list[str]:
    """The names of all op types, sorted."""
    known = {name for name in _tellar.op_type_names() if name not in described_types}
    return sorted(known | set(classes))


@lru_cache(maxsize=None)
def _function(name: str) -> Callable[..., Op]:
    described = _known_description(name)
    signature = described.signature()

    def make(*inputs: Op | None, **arguments: Any) -> Op:
        return described.make(name, inputs, arguments)

    make.__name__ = name
    make.__qualname__ = name
    make.__module__ = "tellar.ops"
    make.__doc__ = described.docstring()
    make.__signature__ = signature  # type: ignore[attr-defined]
    make.__annotations__ = {
        parameter.name: parameter.annotation for parameter in signature.parameters.values()
    } | {"return": Op}
    return make


def function(name: str) -> Callable[..., Op]:
    """The function that makes ops of a type. Raises AttributeError for an unknown type."""
    if name in classes:
        return classes[name]
    try:
        return _function(name)
    except LookupError:
        hint = did_you_mean(name, names())
        raise AttributeError(f"there is no op type {name}{hint}", name=name) from None

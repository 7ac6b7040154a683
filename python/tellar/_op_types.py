"""Op types that are written in Python."""

from __future__ import annotations

import inspect
import traceback
from pathlib import Path
from types import TracebackType
from typing import TYPE_CHECKING, Any, ClassVar

from . import _ops, _tellar
from ._arguments import Argument
from ._errors import BadCallError, CancelledError, CookError, FileError, InvalidValueError
from ._ops import Op, TypeDescription, did_you_mean
from ._tellar import CookContext, Group

if TYPE_CHECKING:
    from ._types import AttributeLike


class _OpTypeClass(type):
    """The class of op types: calling one makes an op."""

    registered_name: str
    described: TypeDescription

    def __call__(cls, *inputs: Op | None, **arguments: AttributeLike) -> Op:
        if not cls.registered_name:
            raise TypeError(f"{cls.__name__} is no op type: it has no cook")
        return cls.described.make(cls.registered_name, inputs, arguments)


if TYPE_CHECKING:
    # Type checkers take the object that a call gives for one of the class, whatever its metaclass
    # says. So that it has the type of an Op, which it is, they get this base.
    class _MakesOps(Op):
        def __init__(
            self, *inputs: Op | None, name: str | None = None, **arguments: AttributeLike
        ) -> None: ...

else:

    class _MakesOps(metaclass=_OpTypeClass):
        pass


class OpType(_MakesOps):
    """The base of op types in Python: a class with `cook` is an op type as soon as it is defined.

        class Tint(tellar.OpType):
            '''Gives locations a colour.'''

            arguments = {"colour": "double[3]  Red, green and blue. Required."}
            inputs = "one"

            def cook(self, location):
                if location.pass_input():
                    location.set_attribute("user.colour", location.args["colour"])

        op = Tint(scene, colour=[1, 0, 0])  # the same as tellar.ops.Tint

    The name of the class is that of the op type. Many threads call `cook` at once, for one object
    that is made with the class; nothing should be kept in it. The same arguments and inputs have to
    give the same result at all times, because all ops that are equal share it.

    Defining a class of the same name again makes a new op type, for ops that are made or opened
    from then on. Ops that are there keep the old one. A name of a type that is no class is taken.
    """

    version: ClassVar[int] = 1
    """Part of the identity of ops. Increase it when the results change."""

    arguments: Any = None
    """A dict of the arguments by name: the type, as in ``"double[3]"``, and then, if there is more
    to tell, a sentence. One that ends in "Required." makes the argument required. Types are string,
    int, float and double, each alone, with "[]" for any number, with "[3]" for three, and with
    "[3][]" for any number of threes; and group.

    None takes any arguments, as :func:`tellar.attribute` does.
    """

    inputs: Any = "any number"
    """How many inputs an op has: "none", "one", or other words, which allow any number."""

    registered_name: ClassVar[str] = ""
    """The name of the type in descriptions: that of the class, with "#2" and so on if the class was
    defined again. Empty for classes without `cook`.
    """

    described: ClassVar[TypeDescription]
    """The description, from which the signature is made."""

    def cook(self, location: CookContext) -> None:
        """Makes one location, from its path, the arguments and the inputs.

        Called without notice by any thread, and by several at once. What it raises is an error of
        this location, with the traceback in its text. `location` is valid during the call only.
        """
        raise NotImplementedError

    def prepare(self, args: Group) -> object:
        """Checks the arguments and returns what cooks need of them: `CookContext.prepared`.

        Called once for all ops with equal arguments and inputs, by any thread. Should raise
        InvalidValueError with the name of the argument at fault.
        """
        return None

    def __init_subclass__(cls, **options: Any) -> None:
        super().__init_subclass__(**options)
        cls.registered_name = ""
        if cls.cook is not OpType.cook:
            _register(cls)


def _argument_from(name: str, text: str) -> Argument:
    if name in ("name", "inputs", "input"):
        raise BadCallError(f'an argument cannot have the name "{name}"', attribute=name)
    kind, _, summary = text.strip().partition(" ")
    return Argument(name, kind, summary.strip())


def _described(cls: type[OpType]) -> TypeDescription:
    return TypeDescription(
        cls.__name__,
        inspect.cleandoc(cls.__doc__ or ""),
        cls.inputs,
        tuple(_argument_from(name, text) for name, text in (cls.arguments or {}).items()),
        takes_any=cls.arguments is None,
    )


def _next_name(name: str) -> str:
    """The name to register a class under: its own the first time."""
    count = 1 + sum(1 for known in _ops.described_types if known.partition("#")[0] == name)
    return name if count == 1 else f"{name}#{count}"


def _register(cls: type[OpType]) -> None:
    if isinstance(cls.version, bool) or not isinstance(cls.version, int):
        raise TypeError(f"{cls.__name__}.version is an int, not {cls.version!r}")
    described = _described(cls)
    name = _next_name(cls.__name__)
    # Not cls(), which makes an op.
    instance = type.__call__(cls)
    _tellar.register_op_type(
        name,
        cls.__name__,
        cls.version,
        described.summary,
        described.inputs,
        [(item.name, item.type, item.summary) for item in described.arguments],
        _Prepare(instance, described),
        instance.cook,
    )
    cls.registered_name = name
    cls.described = described
    cls.__signature__ = described.signature()  # type: ignore[attr-defined]
    _ops.described_types[name] = described
    _ops.classes[cls.__name__] = cls


class _Prepare:
    """Checks arguments against the description before the type itself sees them: those of files
    were not checked by a function of tellar.ops.
    """

    def __init__(self, instance: OpType, described: TypeDescription) -> None:
        self.instance = instance
        self.described = described

    def __call__(self, args: Group) -> object:
        if not self.described.takes_any:
            self.check(args)
        return self.instance.prepare(args)

    def check(self, args: Group) -> None:
        known = {item.name.partition(".")[0] for item in self.described.arguments}
        for name in args:
            if name not in known:
                self.refuse(name, f"is unknown{did_you_mean(name, known)}")
        for item in self.described.arguments:
            value = args.attribute(item.name)
            if value is None and item.is_required:
                self.refuse(item.name, "is required")
            if value is None:
                continue
            try:
                item.converted(value, self.described.name)
            except TypeError:
                self.refuse(item.name, f"has a wrong type; it is of the type {item.type}")

    def refuse(self, name: str, complaint: str) -> None:
        raise InvalidValueError(f'Argument "{name}" {complaint}.', attribute=name)


# Failures ---------------------------------------------------------------------------------------

_PACKAGE = Path(__file__).parent


def _own_frames(found: TracebackType | None) -> traceback.StackSummary:
    """The frames of the user: those of this package at the start are left out."""
    frames = traceback.extract_tb(found)
    while len(frames) > 1 and Path(frames[0].filename).parent == _PACKAGE:
        del frames[0]
    return frames


def failure_text(error: BaseException) -> str:
    """The text of a cook's exception: its type and message, the place, and the traceback.

    The package's own errors about values and files say what is wrong as they are. Frees what the
    frames hold, because the exception may be kept for long.
    """
    if type(error) in (InvalidValueError, FileError, CookError, CancelledError):
        traceback.clear_frames(error.__traceback__)
        return str(error)
    message = "".join(traceback.format_exception_only(error)).strip()
    frames = _own_frames(error.__traceback__)
    traceback.clear_frames(error.__traceback__)
    if not frames:
        return message
    last = frames[-1]
    listed = "".join(frames.format()).rstrip()
    return (
        f"{message} ({last.filename}:{last.lineno}, in {last.name})\n"
        f"Traceback (most recent call last):\n{listed}\n{message}"
    )

"""The exceptions of the package."""

from __future__ import annotations


class Error(Exception):
    """Something that the library could not do.

    ``str(error)`` is the whole message. The fields hold its parts, and are empty strings where a
    part does not apply.
    """

    op: str
    """The name of the op that failed."""
    op_type: str
    """The type of that op."""
    op_place: str
    """Where the text stands that describes the op, such as ``"scene.json:14:5"``."""
    location: str
    """The path of the location that was cooked."""
    attribute: str
    """The attribute or argument at fault."""
    file: str
    """The file at fault."""

    def __init__(
        self,
        message: str,
        *,
        op: str = "",
        op_type: str = "",
        op_place: str = "",
        location: str = "",
        attribute: str = "",
        file: str = "",
    ) -> None:
        super().__init__(message)
        self.op = op
        self.op_type = op_type
        self.op_place = op_place
        self.location = location
        self.attribute = attribute
        self.file = file

    def __reduce__(self) -> tuple[object, ...]:
        # Keyword arguments are not among the args that pickle passes to the class.
        return (_again, (type(self), str(self.args[0]), dict(self.__dict__)))


def _again(kind: type[Error], message: str, fields: dict[str, str]) -> Error:
    return kind(message, **fields)


class CookError(Error):
    """A location could not be cooked."""


class FileError(Error, OSError):
    """A file is missing, cannot be read or written, or does not hold what it should."""


class InvalidValueError(Error, ValueError):
    """An attribute or argument is missing or has a wrong type or value."""


class BadCallError(Error, ValueError):
    """A function was given what it does not take."""


class CancelledError(Error):
    """The work was cancelled."""


class NotFoundError(Error, KeyError):
    """There is no such location or attribute."""

    # KeyError shows its message in quotes.
    __str__ = Exception.__str__

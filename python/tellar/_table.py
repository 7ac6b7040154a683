"""Tables: values of many locations as arrays."""

from __future__ import annotations

import html
import math
from collections.abc import Iterator, Mapping, Sequence
from types import EllipsisType
from typing import TYPE_CHECKING, Any, TypeAlias, overload

import numpy as np
from numpy.typing import NDArray

from ._errors import BadCallError

if TYPE_CHECKING:
    import pandas

__all__ = [
    "Categorical",
    "Column",
    "ColumnLike",
    "ColumnSubject",
    "DEPTH",
    "LOCAL_MATRIX",
    "NAME",
    "PARENT",
    "PATH",
    "Ragged",
    "Strings",
    "TYPE",
    "Table",
    "WORLD_MATRIX",
    "global_attribute",
]


class ColumnSubject:
    """What a column of a table is about. See `Scene.table`."""

    __slots__ = ("_attribute", "_number", "_text")

    def __init__(self, text: str, number: int, attribute: str = "") -> None:
        self._text = text
        self._number = number  # as the extension has it
        self._attribute = attribute

    def __repr__(self) -> str:
        return f"tellar.{self._text}"


PATH = ColumnSubject("PATH", 0)
"""The absolute path: `Strings`."""
NAME = ColumnSubject("NAME", 1)
"""The last part of the path: `Strings`."""
TYPE = ColumnSubject("TYPE", 2)
"""The attribute "type", an empty text where there is none: `Categorical`."""
DEPTH = ColumnSubject("DEPTH", 3)
"""The number of levels below the root: int32 (rows,)."""
PARENT = ColumnSubject("PARENT", 4)
"""The row of the parent, -1 where the table has none: int64 (rows,)."""
WORLD_MATRIX = ColumnSubject("WORLD_MATRIX", 5)
"""`Location.world_matrix` at the time 0: float64 (rows, 4, 4)."""
LOCAL_MATRIX = ColumnSubject("LOCAL_MATRIX", 6)
"""`Location.local_matrix` at the time 0: float64 (rows, 4, 4)."""

_ATTRIBUTE = 7
_GLOBAL_ATTRIBUTE = 8
_BY_NAME = {"path": PATH, "name": NAME, "type": TYPE, "depth": DEPTH, "parent": PARENT}

ColumnLike: TypeAlias = ColumnSubject | str | EllipsisType
"""What `Scene.table` takes for a column."""


def global_attribute(name: str) -> ColumnSubject:
    """A column of the values that locations inherit, as `Location.global_attribute` gives them."""
    if not isinstance(name, str) or not name:
        raise BadCallError(f"global_attribute: {name!r} is no name of an attribute")
    return ColumnSubject(f"global_attribute({name!r})", _GLOBAL_ATTRIBUTE, name)


def requests_of(columns: Mapping[str, ColumnLike]) -> list[tuple[str, int, str]]:
    """The columns as the extension takes them: name, subject, attribute."""
    if not isinstance(columns, Mapping):
        raise BadCallError(
            f"columns: a mapping of names is needed, not {type(columns).__name__}"
        )
    requests = []
    for name, value in columns.items():
        if not isinstance(name, str):
            raise BadCallError(f"columns: the name {name!r} is no str")
        subject = _BY_NAME.get(name, name) if value is ... else value
        if isinstance(subject, str):
            if not subject:
                raise BadCallError(f'column "{name}": the name of the attribute is empty')
            subject = ColumnSubject("attribute", _ATTRIBUTE, subject)
        if not isinstance(subject, ColumnSubject):
            raise BadCallError(
                f'column "{name}": {value!r} is neither the name of an attribute nor one of'
                " tellar.PATH, NAME, TYPE, DEPTH, PARENT, WORLD_MATRIX, LOCAL_MATRIX,"
                " tellar.global_attribute(...) and ..."
            )
        requests.append((name, subject._number, subject._attribute))
    return requests


class Strings(Sequence[str]):
    """A sequence of texts in two arrays.

    Bytes that are not UTF-8 become lone surrogates, as elsewhere in the package.
    """

    __slots__ = ("bytes", "offsets")

    bytes: NDArray[np.uint8]
    """The UTF-8 bytes of all texts."""
    offsets: NDArray[np.int64]
    """Where each text begins in `bytes`, and behind the last one its end: (texts + 1,)."""

    def __init__(self, bytes: NDArray[np.uint8], offsets: NDArray[np.int64]) -> None:
        self.bytes = bytes
        self.offsets = offsets

    def __len__(self) -> int:
        return len(self.offsets) - 1

    @overload
    def __getitem__(self, index: int) -> str: ...
    @overload
    def __getitem__(self, index: slice) -> Strings: ...
    def __getitem__(self, index: int | slice) -> str | Strings:
        """One text. A slice shares the bytes, unless it has a step."""
        if isinstance(index, slice):
            start, stop, step = index.indices(len(self))
            if step == 1:
                return Strings(self.bytes, self.offsets[start : max(start, stop) + 1])
            return _strings_of([self[i] for i in range(start, stop, step)])
        row = _row(index, len(self))
        text = self.bytes[self.offsets[row] : self.offsets[row + 1]].tobytes()
        return text.decode("utf-8", "surrogateescape")

    def __iter__(self) -> Iterator[str]:
        return iter(self.to_list())

    def __repr__(self) -> str:
        return f"<Strings {_shortened(self)}>"

    def to_list(self) -> list[str]:
        """All texts, decoded at once."""
        offsets = self.offsets.tolist()
        begin = offsets[0]
        data = self.bytes[begin : offsets[-1]].tobytes()
        pairs = zip(offsets, offsets[1:])
        if data.isascii():
            text = data.decode("ascii")
            return [text[a - begin : b - begin] for a, b in pairs]
        return [data[a - begin : b - begin].decode("utf-8", "surrogateescape") for a, b in pairs]

    def to_numpy(self) -> NDArray[Any]:
        """A new array (texts,) of numpy's StringDType, or of objects if a text is no UTF-8."""
        texts = self.to_list()
        try:
            return np.array(texts, dtype=np.dtypes.StringDType())
        except UnicodeEncodeError:
            return np.array(texts, dtype=object)


class Categorical(Sequence[str]):
    """A sequence of texts of which many are equal: each row has the number of its category."""

    __slots__ = ("categories", "codes")

    codes: NDArray[np.int32]
    """Indices of `categories`: (rows,)."""
    categories: tuple[str, ...]
    """The texts that occur, sorted by their bytes."""

    def __init__(self, codes: NDArray[np.int32], categories: Sequence[str]) -> None:
        self.codes = codes
        self.categories = tuple(categories)

    def __len__(self) -> int:
        return len(self.codes)

    @overload
    def __getitem__(self, index: int) -> str: ...
    @overload
    def __getitem__(self, index: slice) -> Categorical: ...
    def __getitem__(self, index: int | slice) -> str | Categorical:
        """One text. A slice shares the codes."""
        if isinstance(index, slice):
            return Categorical(self.codes[index], self.categories)
        return self.categories[int(self.codes[_row(index, len(self))])]

    def __iter__(self) -> Iterator[str]:
        categories = self.categories
        return (categories[code] for code in self.codes.tolist())

    def __repr__(self) -> str:
        return f"<Categorical {_shortened(self)} of {len(self.categories)} categories>"

    def equals(self, text: str) -> NDArray[np.bool_]:
        """For each row, whether it has this text: (rows,)."""
        if text not in self.categories:
            return np.zeros(len(self), dtype=np.bool_)
        return np.equal(self.codes, self.categories.index(text))

    def to_numpy(self) -> NDArray[Any]:
        """A new array (rows,) of str objects."""
        return np.array(self.categories, dtype=object)[self.codes]


class Ragged(Sequence[Any]):
    """Rows of different lengths, one behind the other."""

    __slots__ = ("offsets", "values")

    values: NDArray[Any] | Strings
    """The values of all rows: (values,), or (tuples, tuple size) where all rows have tuples of the
    same size above 1."""
    offsets: NDArray[np.int64]
    """Where each row begins in `values`, and behind the last one its end: (rows + 1,)."""

    def __init__(self, values: NDArray[Any] | Strings, offsets: NDArray[np.int64]) -> None:
        self.values = values
        self.offsets = offsets

    def __len__(self) -> int:
        return len(self.offsets) - 1

    @overload
    def __getitem__(self, index: int) -> Any: ...
    @overload
    def __getitem__(self, index: slice) -> Ragged: ...
    def __getitem__(self, index: int | slice) -> Any:
        """The values of one row, which share the memory. A slice shares it too.

        Raises BadCallError for a slice with a step.
        """
        if isinstance(index, slice):
            start, stop, step = index.indices(len(self))
            if step != 1:
                raise BadCallError("a slice of a Ragged cannot have a step")
            return Ragged(self.values, self.offsets[start : max(start, stop) + 1])
        row = _row(index, len(self))
        return self.values[self.offsets[row] : self.offsets[row + 1]]

    def __repr__(self) -> str:
        kind = "texts" if isinstance(self.values, Strings) else str(self.values.dtype)
        return f"<Ragged of {len(self)} rows, {len(self.values)} values of {kind}>"

    @property
    def lengths(self) -> NDArray[np.int64]:
        """The number of values, or of tuples, in each row: (rows,)."""
        return np.diff(self.offsets)


Column: TypeAlias = Any
"""A numpy array, a `Strings`, a `Categorical` or a `Ragged`."""

# The extension gives this for a column: values, the ends of texts, the ends of rows, which rows
# miss a value; and the categories.
_Parts: TypeAlias = tuple[
    tuple[
        NDArray[Any],
        NDArray[np.int64] | None,
        NDArray[np.int64] | None,
        NDArray[np.bool_] | None,
    ],
    Sequence[str] | None,
]


class _Missing(Mapping[str, "NDArray[np.bool_]"]):
    """Which rows of a column have no value. An array is made when it is asked for."""

    def __init__(self, rows: int, arrays: dict[str, NDArray[np.bool_] | None]) -> None:
        self._rows = rows
        self._arrays = arrays

    def __getitem__(self, name: str) -> NDArray[np.bool_]:
        array = self._arrays[name]
        return np.zeros(self._rows, dtype=np.bool_) if array is None else array

    def __iter__(self) -> Iterator[str]:
        return iter(self._arrays)

    def __len__(self) -> int:
        return len(self._arrays)


class Table:
    """Values of locations, one row a location, in the order of the tree. Made by `Scene.table`.

    Columns own their memory: they live on without the table and the scene, and may be written to.
    """

    def __init__(self, rows: int, parts: dict[str, _Parts]) -> None:
        self._rows = rows
        self._columns = {name: _column_of(part) for name, part in parts.items()}
        self._missing = _Missing(rows, {name: part[0][3] for name, part in parts.items()})

    def __len__(self) -> int:
        return self._rows

    @property
    def columns(self) -> list[str]:
        """The names of the columns, in the order in which they were asked for."""
        return list(self._columns)

    @property
    def missing(self) -> Mapping[str, NDArray[np.bool_]]:
        """For each column, which rows have no value: (rows,).

        In the column, such a row is NaN, 0, an empty text or, in a `Ragged`, empty.
        """
        return self._missing

    def __getitem__(self, name: str) -> Column:
        """A column. Raises KeyError naming those there are."""
        if name not in self._columns:
            raise KeyError(f"there is no column {name!r}, only {', '.join(self._columns)}")
        return self._columns[name]

    def __contains__(self, name: object) -> bool:
        return name in self._columns

    def __iter__(self) -> Iterator[str]:
        return iter(self._columns)

    def to_pandas(self) -> pandas.DataFrame:
        """A new data frame.

        A column of k values a row becomes k columns, "bound.0" to "bound.5". Rows of a `Ragged`
        become objects: arrays of numbers or lists of texts. Texts that are missing become None;
        whole numbers that are missing stay 0. Raises ImportError without pandas.
        """
        try:
            import pandas
        except ImportError as error:
            raise ImportError(
                'to_pandas needs pandas; install it with: pip install "tellar[pandas]"'
            ) from error
        series: dict[str, Any] = {}
        for name, column in self._columns.items():
            if isinstance(column, np.ndarray) and column.ndim > 1:
                flat = column.reshape(self._rows, math.prod(column.shape[1:]))
                series.update((f"{name}.{i}", flat[:, i]) for i in range(flat.shape[1]))
            elif isinstance(column, Categorical):
                categories = list(column.categories)
                series[name] = pandas.Categorical.from_codes(column.codes, categories)
            elif isinstance(column, np.ndarray):
                series[name] = column
            else:
                series[name] = _objects_of(column, self._missing._arrays[name])
        return pandas.DataFrame(series, index=pandas.RangeIndex(self._rows))

    def __repr__(self) -> str:
        head = f"<Table of {_counted(self._rows, 'row')}: {', '.join(self._columns)}>"
        if not self._columns or not self._rows:
            return head
        lines = [list(self._columns), *self._first_rows(8)]
        widths = [max(len(line[i]) for line in lines) for i in range(len(self._columns))]
        texts = ("  ".join(cell.ljust(w) for cell, w in zip(line, widths)).rstrip()
                 for line in lines)
        rest = ["..."] if self._rows > 8 else []
        return "\n".join([head, *texts, *rest])

    def _repr_html_(self) -> str:
        def cells(kind: str, texts: Sequence[str]) -> str:
            inner = "".join(f"<{kind}>{html.escape(text)}</{kind}>" for text in texts)
            return f"<tr>{inner}</tr>"

        body = "".join(cells("td", row) for row in self._first_rows(10))
        return (
            f"<table><thead>{cells('th', self.columns)}</thead><tbody>{body}</tbody></table>"
            f"<p>{_counted(self._rows, 'row')}</p>"
        )

    def _first_rows(self, count: int) -> list[list[str]]:
        return [
            [self._cell(name, row) for name in self._columns]
            for row in range(min(count, self._rows))
        ]

    def _cell(self, name: str, row: int) -> str:
        missing = self._missing._arrays[name]
        if missing is not None and missing[row]:
            return "-"
        value = self._columns[name][row]
        if isinstance(value, Strings):
            return _shortened(value)
        if not isinstance(value, np.ndarray):
            return str(value)
        numbers = " ".join(f"{number:g}" for number in value.reshape(-1)[:6].tolist())
        return f"{numbers} ..." if value.size > 6 else numbers


def _column_of(parts: _Parts) -> Column:
    (values, text_ends, row_ends, _), categories = parts
    if categories is not None:
        return Categorical(values, categories)
    flat = values if text_ends is None else Strings(values, text_ends)
    return flat if row_ends is None else Ragged(flat, row_ends)


def _objects_of(column: Strings | Ragged, missing: NDArray[np.bool_] | None) -> NDArray[Any]:
    objects = np.empty(len(column), dtype=object)
    if isinstance(column, Strings):
        objects[:] = column.to_list()
        if missing is not None:
            objects[missing] = None
        return objects
    for row, value in enumerate(column):
        objects[row] = value.to_list() if isinstance(value, Strings) else value
    return objects


def _strings_of(texts: Sequence[str]) -> Strings:
    encoded = [text.encode("utf-8", "surrogateescape") for text in texts]
    offsets = np.zeros(len(encoded) + 1, dtype=np.int64)
    np.cumsum([len(text) for text in encoded], out=offsets[1:])
    return Strings(np.frombuffer(b"".join(encoded), dtype=np.uint8), offsets)


def _row(index: int, rows: int) -> int:
    if not -rows <= index < rows:
        raise IndexError(f"row {index} of {rows}")
    return index % rows


def _shortened(texts: Sequence[str]) -> str:
    first = ", ".join(repr(texts[i]) for i in range(min(4, len(texts))))
    return f"[{first}, ... {len(texts)} in all]" if len(texts) > 4 else f"[{first}]"


def _counted(number: int, what: str) -> str:
    return f"{number:,} {what}" if number == 1 else f"{number:,} {what}s"

"""The compiled part of the package tellar. Import that instead."""

from collections.abc import Callable, Iterable, Iterator, Mapping, Sequence
from typing import Any
from ._errors import Error
from ._op_types import OpType
from ._ops import Op
from ._table import ColumnLike, Table
from ._types import ArrayLike, AttributeLike, AttributeValue, DoubleArray, NumberArray, Resolution, Value

import os
from typing import overload


class Attribute:
    """
    Numbers or strings of one type, in tuples, at one or more times; or null.

    Immutable, and shared by any number of threads. Made by :func:`attribute` and
    :func:`samples`.
    """

    @property
    def type(self) -> str:
        """"int", "float", "double", "string" or "null"."""

    @property
    def tuple_size(self) -> int:
        """How many values belong together, such as 3 for a point; 0 for null."""

    @property
    def times(self) -> list[float]:
        """The times of the samples, in frames, ascending."""

    @property
    def value(self) -> AttributeValue:
        """
        The sample nearest to time 0. Numbers are a read-only array that shares the memory
        of the attribute, of the shape (values,) or (tuples, tuple size); one string is a
        str, and any other number of them a tuple; null is None.
        """

    def sample(self, time: float) -> AttributeValue:
        """The sample nearest to a time, in the form of `value`."""

    def interpolated(self, time: float) -> AttributeValue:
        """
        The value at a time, linearly interpolated between samples and held beyond the first
        and the last. Floats and doubles give a new array; others are not interpolated.
        """

    @property
    def samples(self) -> dict[float, AttributeValue]:
        """All samples by their times, in the form of `value`."""

    def __repr__(self) -> str: ...

    @property
    def hash(self) -> str:
        """
        The content hash: 32 hexadecimal digits, equal for equal values on every machine.
        """

    def to_json(self, indent: int = 2) -> str:
        """The value as JSON text, in one line with an `indent` of -1."""

    def __eq__(self, other: object, /) -> bool: ...

    def __hash__(self) -> int: ...

class Group:
    """
    Named values in a fixed order, a mapping of names to values.

    A name may be a dotted path into groups: group["geometry.point.P"]. Immutable, and
    shared by any number of threads. Made by :func:`group`.
    """

    def __len__(self) -> int: ...

    def __contains__(self, name: object, /) -> bool: ...

    def __getitem__(self, name: str, /) -> Value:
        """
        The value of this name or at this dotted path. Raises NotFoundError, which is a
        KeyError.
        """

    def get(self, name: str, default: object = None) -> Value:
        """The value of this name or at this dotted path, or the default."""

    def attribute(self, name: str) -> Attribute | Group | None:
        """
        The attribute itself, with its type and its time samples; None if there is none.
        """

    def __iter__(self) -> Iterator[str]: ...

    def keys(self) -> list[str]:
        """The names, in order."""

    def values(self) -> list[Value]:
        """The values, in order."""

    def items(self) -> list[tuple[str, Value]]:
        """The names with their values, in order."""

    def to_dict(self) -> dict[str, Any]:
        """A dict of the values, with dicts for groups."""

    @property
    def inherits(self) -> bool:
        """
        Whether the group shows the children of the same group of the parent
        location, too, when it is read as a global attribute.
        """

    def __repr__(self) -> str: ...

    @property
    def hash(self) -> str:
        """
        The content hash: 32 hexadecimal digits, equal for equal values on every machine.
        """

    def to_json(self, indent: int = 2) -> str:
        """The value as JSON text, in one line with an `indent` of -1."""

    def __eq__(self, other: object, /) -> bool: ...

    def __hash__(self) -> int: ...

def stream_of(group: Group) -> bytes:
    """The attribute stream of a group, for another process."""

def group_of_stream(stream: bytes) -> Group:
    """
    The group of an attribute stream. Raises FileError for a damaged one, and
    ValueError for one of something else.
    """

def attribute(value: AttributeLike, type: str = "", tuple_size: int = 0) -> Attribute | Group:
    """
    Makes an attribute.

    None is null; bool and int are an int; float is a double; str and bytes a string; a
    mapping a group. Arrays keep their type if it is int32, float32 or float64; other
    integers become int32, and float16 float32. Axes after the first make the tuple: an
    array of the shape (8, 3) has tuples of 3. Any other sequence is taken as numpy does.

    `type` ("int", "float", "double" or "string") converts the values, and
    `tuple_size` puts them into tuples. Raises TypeError for values that no attribute holds,
    OverflowError for integers of more than 32 bits, and ValueError for values that do not
    make whole tuples.
    """

def samples(samples: Mapping[float, AttributeLike], type: str = "", tuple_size: int = 0) -> Attribute:
    """
    Makes an attribute with several time samples, from a mapping of times, in frames, to
    values of one type and size. The arguments are those of :func:`attribute`. Raises
    TypeError and ValueError as it does, and when the samples differ in type or size.
    """

def group(values: Mapping[str, AttributeLike], inherit: bool = True) -> Group:
    """
    Makes a group of named values, each as :func:`attribute` takes it. A name with dots is a
    path into groups. `inherit` says whether the group inherits from the same group of the
    parent location.
    """

class Location:
    """
    One location of a scene: a snapshot of its attributes and the way to all others.

    It keeps the scene alive, and stays as it is when the scene is edited. Any thread may use
    it.
    """

    @property
    def name(self) -> str:
        """The last part of the path."""

    @property
    def path(self) -> str:
        """The absolute path, "/root/world/geo"."""

    @property
    def type(self) -> str:
        """The attribute "type"; an empty text when there is none."""

    @property
    def parent(self) -> Location | None:
        """None for the root."""

    @property
    def root(self) -> Location:
        """The topmost location."""

    @property
    def children(self) -> Children:
        """The locations below, computed when they are asked for."""

    def find(self, path: str) -> Location | None:
        """
        The location at a path, absolute or relative to this one ("leaf", "../other").
        None if it does not exist.
        """

    def __getitem__(self, name: str, /) -> Value:
        """
        The value of an attribute by its dotted name, as Attribute.value has it; a Group for
        a group. Raises NotFoundError, which is a KeyError.
        """

    def __contains__(self, name: object, /) -> bool: ...

    def get(self, name: str, default: object = None) -> Value:
        """The value of an attribute by its dotted name, or the default."""

    def attribute(self, name: str) -> Attribute | Group | None:
        """
        The attribute itself, with its type and its time samples; None if there is none.
        """

    def global_attribute(self, name: str) -> Attribute | Group | None:
        """The attribute as inherited from the ancestors; None if there is none."""

    @property
    def attributes(self) -> Group:
        """All attributes of the location."""

    @property
    def attribute_names(self) -> list[str]:
        """The names of the attributes, sorted."""

    @property
    def hash(self) -> str:
        """Hexadecimal text of the content's hash."""

    def world_matrix(self, time: float = 0.0) -> DoubleArray:
        """
        The location's local space to the world at a time in frames: an array (4, 4) for row
        vectors, with the translation in the last row.
        """

    def local_matrix(self, time: float = 0.0) -> DoubleArray:
        """
        The location's local space to that of its parent, or to the world if its "xform" has
        an "origin". See `world_matrix`.
        """

    @property
    def transform_times(self) -> list[float]:
        """
        The times at which a transform from the root to the location has samples.
        """

    @property
    def bound(self) -> NumberArray | None:
        """
        The attribute "bound": x min, x max, y min, y max, z min, z max in local
        space. None if there is none.
        """

    def material(self) -> Material | None:
        """
        The effective material, from the location and its ancestors; None if there is none.
        """

    def __eq__(self, other: object, /) -> bool: ...

    def __hash__(self) -> int: ...

    def __repr__(self) -> str: ...

class ChildIterator:
    """The children of a location, one by one."""

    def __iter__(self) -> ChildIterator: ...

    def __next__(self) -> Location: ...

class Children:
    """
    The children of a location. Nothing is computed before it is asked for.

    Iterating gives those that exist, in order.
    """

    def __iter__(self) -> ChildIterator: ...

    def __getitem__(self, name: str, /) -> Location:
        """The child of this name. Raises NotFoundError, which is a KeyError."""

    def get(self, name: str) -> Location | None:
        """The child of this name; None if it does not exist."""

    def __contains__(self, name: object, /) -> bool:
        """Whether the child exists, which computes it."""

    @property
    def names(self) -> list[str]:
        """
        The names that the location tells, without computing the children. Some may
        not exist.
        """

    def __repr__(self) -> str: ...

class Walk:
    """
    The locations of a walk, one by one, in the order of the tree.

    A context manager: leaving it, or `close`, ends the walk and its threads early. For one
    thread.
    """

    def __iter__(self) -> Walk: ...

    def __next__(self) -> Location: ...

    def close(self) -> None:
        """Ends the walk and waits for its threads."""

    def __enter__(self) -> Walk: ...

    def __exit__(self, *exception: object) -> None: ...

class Camera:
    """
    A camera of a scene at time 0: its lens and its transform. It looks along
    its own -z with +y up.
    """

    @property
    def path(self) -> str:
        """The path of its location."""

    @property
    def fov(self) -> float:
        """The field of view across a screen window from -1 to 1, in degrees."""

    @property
    def near(self) -> float:
        """The distance of the near clipping plane."""

    @property
    def far(self) -> float:
        """The distance of the far clipping plane."""

    @property
    def window(self) -> tuple[float, float, float, float]:
        """
        The screen window: left, right, bottom, top, where 1 is half the field of
        view.
        """

    @property
    def is_orthographic(self) -> bool:
        """Whether the camera has parallel rays."""

    @property
    def orthographic_width(self) -> float:
        """
        Twice the length, in the scene, of one unit of the screen window of an
        orthographic camera; 0 when it is not given.
        """

    @property
    def world_matrix(self) -> DoubleArray:
        """Camera space to the world: an array (4, 4) for row vectors."""

    def projection_matrix(self, aspect: float) -> DoubleArray:
        """
        Camera space to clip space: an array (4, 4) for row vectors; divide by w. `aspect` is
        the width of the picture divided by its height.
        """

    def resolution(self, resolution: Resolution | None = None) -> tuple[int, int]:
        """
        Width and height in pixels of a resolution; of the scene's unless given.
        """

    def project(self, points: ArrayLike, resolution: Resolution | None = None) -> DoubleArray:
        """
        Points of the world, an array (n, 3), on the picture: an array (n, 3) of x and y in
        pixels from the left and the bottom edge, and the depth from 0 at the near plane to 1
        at the far one. Points that are not in front of the camera become NaN. `resolution`
        is a name or (width, height); the scene's unless given.
        """

    def __repr__(self) -> str: ...

class Material:
    """
    The effective material of a location, from its own attribute "material"
    and those of its ancestors.
    """

    @property
    def layers(self) -> list[Group]:
        """The materials that it is made from, the nearest first."""

    def flattened(self, *terminals: str) -> Group:
        """
        The layers combined into one material. A network has the nodes that the named terminals
        ("surface", "displacement") need, each from the nearest layer that has it.
        """

    def __repr__(self) -> str: ...

def memory_limit() -> int:
    """
    The limit, in bytes, of the memory for all that the process keeps although it could be
    made again, such as results of cooks. 2**64 - 1 if there is none.
    """

@overload
def set_memory_limit(limit: int) -> None:
    """
    Sets memory_limit(), in bytes or as a text such as "2G" or "unlimited", and drops
    what exceeds it. What is in use stays. Less than 1 MiB counts as 1 MiB.
    """

@overload
def set_memory_limit(limit: str) -> None: ...

def memory_statistics() -> dict[str, Any]:
    """
    What caches keep: "limit", "bytes", "peak" and "beyond_limit" in bytes,
    "reliefs", which is how often memory was freed, and "caches", a dict from names
    to "entries", "bytes", "peak", "hits", "misses" and "drops".
    """

def reset_memory_statistics() -> None:
    """
    Counts hits, misses, drops and reliefs from 0 again, and peaks from now on.
    """

class SceneChange:
    """A location that differs between two revisions of a scene. Immutable."""

    @property
    def path(self) -> str: ...

    @property
    def kind(self) -> str:
        """
        "added" and "removed" stand for the location and all below it;
        "changed" for the location itself.
        """

    @property
    def parts(self) -> list[str]:
        """
        What differs: "transform", "geometry", "topology", "material",
        "visibility", "settings", "type", "children" (their order) and
        "other". All of them for a location that was added or removed.
        """

    @property
    def attributes(self) -> list[str]:
        """The names of the attributes behind "other"."""

    @property
    def old_error(self) -> Error | None:
        """Why the location could not be computed before."""

    @property
    def new_error(self) -> Error | None:
        """Why the location cannot be computed now."""

    def __repr__(self) -> str: ...

class SceneEdit:
    """
    Changes to the ops of a scene, which are applied all at once.

    A context manager: leaving it commits, unless with an exception. For one thread at a
    time; several threads may have an edit each.
    """

    def set_argument(self, op: str, name: str, value: AttributeLike) -> None:
        """
        Replaces one argument of an op, or a part of it by a dotted name. Raises TypeError
        and InvalidValueError as the op type's function does.
        """

    def set_arguments(self, op: str, arguments: Mapping[str, AttributeLike]) -> None:
        """Replaces all arguments of an op."""

    def remove_argument(self, op: str, name: str) -> None:
        """Removes one argument of an op."""

    def set_type(self, op: str, type: str | type[OpType]) -> None:
        """Replaces the type of an op."""

    def set_inputs(self, op: str, inputs: Iterable[str | None]) -> None:
        """
        Replaces the inputs of an op by the ops of these names; None is a missing input.
        """

    def add_op(self, op: str, type: str | type[OpType], inputs: Iterable[str | None] = (), arguments: Mapping[str, AttributeLike] = {}) -> None:
        """
        Adds an op. It has no effect before another op has it as input, or it is made the
        terminal op.
        """

    def remove_op(self, op: str) -> None:
        """
        Removes an op. Those that have it as input have to get other inputs in the same edit.
        """

    def set_terminal(self, op: str) -> None:
        """Chooses the op whose locations are the scene's."""

    def commit(self) -> list[SceneChange]:
        """
        Makes a new revision of the scene and returns what differs. Parents come before
        children. Raises BadCallError for an unknown op or a name that is taken, and what
        the op type raises for its arguments; then nothing is changed.
        """

    @property
    def changes(self) -> list[SceneChange]:
        """What the last commit returned; empty before the first."""

    def __enter__(self) -> SceneEdit: ...

    def __exit__(self, kind: object, error: object, traceback: object) -> None: ...

class Scene:
    """
    A scene that was opened once. Any thread may use it.

    Locations are computed when they are asked for, and kept.
    """

    @property
    def root(self) -> Location:
        """The location "/root". Raises NotFoundError when the scene has none."""

    def __getitem__(self, path: str, /) -> Location:
        """
        The location at an absolute path. Raises NotFoundError, which is a KeyError, when it
        does not exist, and CookError when it could not be computed.
        """

    def get(self, path: str) -> Location | None:
        """The location at an absolute path; None if it does not exist."""

    def __contains__(self, path: object, /) -> bool: ...

    def walk(self, at: str = "/root", types: Iterable[str] | None = None, max_depth: int | None = None, threads: int = 1, on_error: Callable[[Error], object] | None = None) -> Walk:
        """
        The locations from a path on, that one first, in the order of the tree.

        `at` may be a glob pattern: "/root/**/wheel_*". `types` leaves out locations of other
        types, but not what is below them. `max_depth` counts levels below the start. With one
        thread, locations are computed when Python comes to them; more (0: one for each processor)
        compute up to a thousand ahead while Python works. The order is the same.
        The error of a location that cannot be computed is raised, and the next step goes on
        behind it; with `on_error` it is passed to that function instead. Raises NotFoundError
        when the start does not exist, unless it is a pattern.
        """

    def table(self, at: str, columns: Mapping[str, ColumnLike], types: Iterable[str] | None = None, max_depth: int | None = None, threads: int = 0, on_error: Callable[[Error], object] | None = None) -> Table:
        """
        Values of many locations as arrays, one row a location, in the order of the tree.

        `columns` says by name what to gather: PATH, NAME, TYPE, DEPTH, PARENT, WORLD_MATRIX,
        LOCAL_MATRIX, `global_attribute(name)`, the dotted name of an attribute, or `...` for what
        the column's own name says. `at`, `types` and `max_depth` are as in `walk`. That many
        threads (0: one for each processor) gather without the interpreter's lock. The first
        error of a location is raised; with `on_error`, locations that cannot be computed are
        left out with all below them, and their errors are passed to that function at the end.
        Raises InvalidValueError where an attribute is a number at one location and a string at
        another, and NotFoundError as `walk` does.
        """

    def camera(self, path: str | None = None) -> Camera:
        """
        The camera at a path; the render camera unless given. Raises NotFoundError when there
        is none.
        """

    @property
    def revision(self) -> int:
        """The number of the newest revision: 0, and one more with every edit."""

    @property
    def identity(self) -> str:
        """The hash of the ops: equal for scenes with equal op trees."""

    @property
    def description(self) -> Group:
        """
        The op tree of the newest revision: a group with one child an op, each a group
        of "opType", "opArgs" and "opInputs". The last op is the terminal one.
        """

    def op(self, name: str | None = None) -> Op:
        """
        The op of a name with all its inputs; the terminal op unless given. Raises
        NotFoundError.
        """

    def edit(self) -> SceneEdit:
        """
        An empty list of changes to the ops, which a commit applies to the newest revision.
        """

    def __repr__(self) -> str: ...

def open(path: str | os.PathLike[str]) -> Scene:
    """
    Opens an op file, a description as JSON or as an attribute stream, a capture, or a
    model that SceneImport reads.

    Nothing of the scene is computed yet. Raises FileError naming the file and what is
    wrong with it.
    """

class InputLocation:
    """
    A location of an input of an op, as the input makes it. Immutable; it may be kept.
    """

    @property
    def attributes(self) -> Group:
        """The attributes of the location."""

    @property
    def child_names(self) -> list[str]:
        """
        The names that the location tells for its children. Some may not exist.
        """

class CookContext:
    """
    The location that an op makes, which is asked for and answered in `OpType.cook`.

    Without a call of `pass_input`, `set_attributes`, `set_attribute` or `set_children`, the
    location does not exist. Valid during the call and in its thread only: later, and in
    another thread, everything raises BadCallError.
    """

    @property
    def path(self) -> str:
        """The absolute path of the location."""

    @property
    def args(self) -> Group:
        """The arguments of the op."""

    @property
    def prepared(self) -> Any:
        """What `OpType.prepare` returned for the op."""

    @property
    def number_of_inputs(self) -> int:
        """How many inputs the op has."""

    @property
    def is_fresh(self) -> bool:
        """
        Whether the location was evicted, so that what comes from outside, such as a
        file, has to be read again.
        """

    def input(self, path: str | None = None, index: int = 0) -> InputLocation | None:
        """
        A location of an input, which is computed if need be; the one of the same path
        unless given. None if it does not exist there, or there is no such input. Raises
        CookError when it cannot be computed; passing that on is usually right.
        """

    def pass_input(self, path: str | None = None, index: int = 0) -> bool:
        """
        Makes a location of an input the result, without a copy. Returns whether it exists.
        """

    def set_attributes(self, attributes: Mapping[str, AttributeLike] | Group) -> None:
        """Makes the location exist, with these attributes and no others."""

    def set_attribute(self, name: str, value: AttributeLike) -> None:
        """
        Makes the location exist, and sets one attribute by its dotted name. Those that
        were passed or set before stay.
        """

    def remove_attribute(self, name: str) -> None:
        """Removes one of the attributes that were passed or set before."""

    def set_children(self, names: Iterable[str]) -> None:
        """Makes the location exist, and names the children that it may have."""

def register_op_type(name: str, class_name: str, version: int, summary: str, inputs: str, arguments: Sequence[tuple[str, str, str]], prepare: Callable[[Group], object], cook: Callable[[CookContext], object]) -> None:
    """
    Makes an op type of two functions, until the process ends. Raises BadCallError
    when the name is taken. In descriptions that are opened, the name of the class is
    that of the type that was registered for it last.
    """

def op_type_names() -> list[str]:
    """The names of all op types known to the process, sorted."""

def op_type(name: str) -> tuple[str, str, str, list[tuple[str, str, str]]] | None:
    """
    Name, summary, inputs, and the arguments of an op type, each with name, type and
    summary. None for an unknown type.
    """

def describe_ops(ops: dict[str, tuple[str, Group, list[str]]]) -> Group:
    """
    The op-tree description of ops: their types, arguments and names of inputs. The
    last one is the terminal op.
    """

def described_ops(description: Group) -> dict[str, tuple[str, Group, list[str]]]:
    """The ops of an op-tree description, as `describe_ops` takes them."""

def open_description(description: Group) -> Scene:
    """
    The scene of an op-tree description. Raises BadCallError when it is none.
    """

def write_op_file(path: str | os.PathLike[str], description: Group, compress: bool) -> None:
    """Writes an op-tree description as an op file."""

def portable_description(description: Group, folder: str | os.PathLike[str], form: str) -> Group:
    """
    The description for a file in a folder, whose files are relative to it. The form
    is "json" or "ops".
    """

def description_json(description: Group) -> str:
    """An op-tree description as JSON text."""

def render(scene: Scene, picture: str | os.PathLike[str], renderer: str, settings: Mapping[str, AttributeLike], light: str, frame: float, samples: int, threads: int, strict: bool, on_progress: Callable[[float, str], object] | None, on_warning: Callable[[str], object]) -> tuple[str, int]:
    """
    The engine of :func:`tellar.render`. Returns the path that was written and the
    number of locations that could not be computed.
    """

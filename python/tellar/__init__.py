"""Walk scenes, gather them into arrays, and build op graphs.

    scene = tellar.open("examples/garden.json")
    for location in scene.walk("/root/world", types=["polymesh"]):
        points = location["geometry.point.P"]
"""

from . import ops
from ._errors import (
    BadCallError,
    CancelledError,
    CookError,
    Error,
    FileError,
    InvalidValueError,
    NotFoundError,
)
from ._op_types import OpType
from ._ops import Op
from ._render import RenderWarning, render
from ._table import (
    DEPTH,
    LOCAL_MATRIX,
    NAME,
    PARENT,
    PATH,
    TYPE,
    WORLD_MATRIX,
    Categorical,
    ColumnLike,
    Ragged,
    Strings,
    Table,
    global_attribute,
)
from ._tellar import (
    Attribute,
    Camera,
    Children,
    CookContext,
    Group,
    InputLocation,
    Location,
    Material,
    Scene,
    SceneChange,
    SceneEdit,
    Walk,
    attribute,
    group,
    open,
    samples,
)
from ._writing import scene, write_json, write_op_file

__all__ = [
    "Attribute",
    "BadCallError",
    "Camera",
    "CancelledError",
    "Categorical",
    "Children",
    "ColumnLike",
    "CookContext",
    "CookError",
    "DEPTH",
    "Error",
    "FileError",
    "Group",
    "InputLocation",
    "InvalidValueError",
    "LOCAL_MATRIX",
    "Location",
    "Material",
    "NAME",
    "NotFoundError",
    "Op",
    "OpType",
    "PARENT",
    "PATH",
    "Ragged",
    "RenderWarning",
    "RenderWarning",
    "Scene",
    "Scene",
    "SceneChange",
    "SceneEdit",
    "Strings",
    "TYPE",
    "Table",
    "WORLD_MATRIX",
    "Walk",
    "attribute",
    "global_attribute",
    "group",
    "open",
    "ops",
    "render",
    "samples",
    "scene",
    "write_json",
    "write_op_file",
]

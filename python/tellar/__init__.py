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
    "Children",
    "CookContext",
    "CookError",
    "Error",
    "FileError",
    "Group",
    "InputLocation",
    "InvalidValueError",
    "Location",
    "Material",
    "NotFoundError",
    "Op",
    "OpType",
    "RenderWarning",
    "Scene",
    "SceneChange",
    "SceneEdit",
    "Walk",
    "attribute",
    "group",
    "open",
    "ops",
    "render",
    "samples",
    "scene",
    "write_json",
    "write_op_file",
]

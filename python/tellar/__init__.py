"""Walk scenes, gather them into arrays, and build op graphs.

    scene = tellar.open("examples/garden.json")
    for location in scene.walk("/root/world", types=["polymesh"]):
        points = location["geometry.point.P"]
"""

from ._errors import (
    BadCallError,
    CancelledError,
    CookError,
    Error,
    FileError,
    InvalidValueError,
    NotFoundError,
)
from ._render import RenderWarning, render
from ._tellar import (
    Attribute,
    Camera,
    Children,
    Group,
    Location,
    Material,
    Scene,
    Walk,
    attribute,
    group,
    open,
    samples,
)

__all__ = [
    "Attribute",
    "BadCallError",
    "Camera",
    "CancelledError",
    "Children",
    "CookError",
    "Error",
    "FileError",
    "Group",
    "InvalidValueError",
    "Location",
    "Material",
    "NotFoundError",
    "RenderWarning",
    "Scene",
    "Walk",
    "attribute",
    "group",
    "open",
    "render",
    "samples",
]

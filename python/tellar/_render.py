"""Drawing pictures."""

from __future__ import annotations

import os
import sys
import tempfile
import warnings
from collections.abc import Callable, Mapping
from pathlib import Path
from typing import TYPE_CHECKING

from . import _tellar

if TYPE_CHECKING:
    from ._types import AttributeLike, Resolution


class RenderWarning(UserWarning):
    """Something that a renderer has to say about a scene."""


def render(
    scene: _tellar.Scene,
    path: str | os.PathLike[str],
    *,
    samples: int | None = None,
    resolution: Resolution | None = None,
    camera: str | None = None,
    settings: Mapping[str, AttributeLike] | None = None,
    frame: float = 0.0,
    threads: int = 0,
    light: str = "auto",
    renderer: str = "lantern",
    progress: bool | Callable[[float, str], object] = False,
    strict: bool = False,
) -> Path:
    """Draws a picture of a scene and returns its path.

    The extension of ``path`` tells the format: ``.png``, ``.jpg``, ``.tif`` or ``.exr``. The file is
    written when the picture is complete; if anything fails, an existing one stays as it was.

    ``samples`` are paths a pixel. ``resolution`` is a name or a width and a height in pixels,
    ``camera`` the path of a location, and ``settings`` are any other render settings by dotted name;
    all of them are the scene's own unless given. A scene without a camera is framed, and a model
    without lights is lit by a studio: ``light`` is ``"auto"``, ``"studio"`` (always) or ``"scene"``
    (never). ``threads`` draw, one for each processor if 0.

    ``progress`` shows the progress on ``sys.stderr``, or is called with the part that is done, from
    0 to 1, and the present step, on the thread of the caller. What the renderer warns of becomes a
    :class:`RenderWarning`. Locations that cannot be computed are left out and counted in such a
    warning, or with ``strict`` raise :class:`CookError`. Ctrl-C, like any exception of the progress
    function, ends the render without a picture.

    Raises :class:`BadCallError` for an unknown renderer, and :class:`Error` with what the renderer
    tells when it fails.
    """
    chosen: dict[str, AttributeLike] = dict(settings or {})
    if resolution is not None:
        is_name = isinstance(resolution, str)
        chosen["resolution"] = resolution if is_name else "{}x{}".format(*resolution)
    if camera is not None:
        chosen["cameraName"] = camera
    show = _ProgressLine() if progress is True else progress or None

    def draw(picture: Path) -> tuple[str, int]:
        return _tellar.render(
            scene, picture, renderer, chosen, light, frame, samples or 0, threads, strict, show,
            _warn,
        )

    try:
        written, failed = _draw_aside(draw, Path(path)) if strict else draw(Path(path))
    finally:
        if isinstance(show, _ProgressLine):
            show.end()
    if failed:
        what = "one location" if failed == 1 else f"{failed} locations"
        _warn(f"{what} could not be computed")
    return Path(written or path)


def _draw_aside(draw: Callable[[Path], tuple[str, int]], path: Path) -> tuple[str, int]:
    """Draws into a folder beside the picture, which is replaced when nothing has failed."""
    if not path.parent.is_dir():
        return draw(path)  # which tells that there is no such folder
    with tempfile.TemporaryDirectory(prefix=".tellar-", dir=path.parent) as folder:
        written, failed = draw(Path(folder) / path.name)
        picture = path.parent / Path(written).name
        os.replace(written, picture)
        return str(picture), failed


def _warn(text: str) -> None:
    warnings.warn(text, RenderWarning, stacklevel=_depth_of_caller())


def _depth_of_caller() -> int:
    """The level of warnings.warn for the code that called into this package."""
    folder = os.path.dirname(__file__)
    frame, depth = sys._getframe(1), 1
    while frame.f_back and os.path.dirname(frame.f_code.co_filename) == folder:
        frame, depth = frame.f_back, depth + 1
    return depth


class _ProgressLine:
    """One line of sys.stderr, which is written again with each step."""

    def __init__(self) -> None:
        self._width = 0

    def __call__(self, fraction: float, step: str) -> None:
        self._write(f"{100 * fraction:3.0f} % {step}")

    def end(self) -> None:
        if self._width:
            self._write("")

    def _write(self, text: str) -> None:
        sys.stderr.write("\r" + text.ljust(self._width) + ("" if text else "\r"))
        sys.stderr.flush()
        self._width = len(text)

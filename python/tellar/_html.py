"""Locations as notebooks show them."""

from __future__ import annotations

import base64
import html
import itertools
import tempfile
import warnings
from functools import lru_cache
from pathlib import Path

from . import _tellar
from ._errors import Error

_MOST_CHILDREN = 12
_THUMBNAIL = 96  # pixels


def location_html(location: _tellar.Location) -> str:
    """A location as HTML: its children, its attributes, and a picture of its material."""
    rows = "".join(_row(name, location) for name in location.attribute_names)
    parts = [
        f"<code>{html.escape(location.path)}</code> {html.escape(location.type)}",
        _tree(location),
        f"<table>{rows}</table>" if rows else "",
        _thumbnail(location),
    ]
    return "<div>" + "".join(part for part in parts if part) + "</div>"


def _tree(location: _tellar.Location) -> str:
    children = location.children
    shown = [
        f"<li><code>{html.escape(child.name)}</code> {html.escape(child.type)}</li>"
        for child in itertools.islice(children, _MOST_CHILDREN)
    ]
    more = len(children.names) - len(shown)
    if more > 0 and len(shown) == _MOST_CHILDREN:
        shown.append(f"<li>… {more} more</li>")
    return f"<ul>{''.join(shown)}</ul>" if shown else ""


def _row(name: str, location: _tellar.Location) -> str:
    value = location.attribute(name)
    if isinstance(value, _tellar.Attribute) and value.type == "string":
        text = repr(value.value)
    else:
        text = repr(value)
    return f"<tr><th>{html.escape(name)}</th><td><code>{html.escape(text)}</code></td></tr>"


def _thumbnail(location: _tellar.Location) -> str:
    material = location.material()
    if material is None:
        return ""
    group = material.flattened("surface", "displacement")
    encoded = _material_png(group)
    if not encoded:
        return ""
    source = f"data:image/png;base64,{encoded}"
    return f'<img alt="material" width="{_THUMBNAIL}" height="{_THUMBNAIL}" src="{source}">'


@lru_cache(maxsize=256)
def _material_png(material: _tellar.Group) -> str:
    """A ball of a material as PNG in base64; empty when it cannot be drawn."""
    from . import scene
    from ._render import render

    ball = {"type": "sphere", "geometry": {"radius": 1.0}, "material": material}
    description = {
        "ball": {
            "opType": "StaticScene",
            "opArgs": {"location": "/root/world", "c": {"ball": {"a": ball}}},
        }
    }
    with tempfile.TemporaryDirectory() as folder, warnings.catch_warnings():
        warnings.simplefilter("ignore")
        path = Path(folder) / "ball.png"
        try:
            render(scene(description), path, samples=16, resolution=(_THUMBNAIL, _THUMBNAIL),
                   light="studio")
        except Error:
            return ""
        return base64.b64encode(path.read_bytes()).decode("ascii")

"""Files of textures: where USD finds them, as paths that renderers can open."""

from __future__ import annotations

import hashlib
import os
import tempfile
from pathlib import Path

from pxr import Ar, Sdf, Usd, UsdShade


def texture_path(attribute: Usd.Attribute, value: Sdf.AssetPath) -> str:
    """The file that an asset-valued attribute names, as an absolute path.

    "<UDIM>" is kept. A file inside a package is copied to the folder of embedded images. A path
    that leads nowhere is anchored at the layer that names it; "" if the attribute names none.
    """
    if not value.path:
        return ""
    layer = _layer_of(attribute)
    if UsdShade.UdimUtils.IsUdimIdentifier(value.path):
        resolved = UsdShade.UdimUtils.ResolveUdimPath(value.path, layer) if layer else ""
        return resolved or _anchored(value.path, layer)
    resolved = str(value.resolvedPath)
    if not resolved:
        return _anchored(value.path, layer)
    return unpacked(resolved) if Ar.IsPackageRelativePath(resolved) else resolved


def unpacked(path: str) -> str:
    """A copy of a file inside a package, such as "scene.usdz[wood.png]"; the path if it has none.

    The copy is named after a hash of its content, so that it is made once.
    """
    asset = Ar.GetResolver().OpenAsset(Ar.ResolvedPath(path))
    if not asset:
        return path
    with asset:
        content = bytes(asset.GetBuffer())
    name = hashlib.sha256(content).hexdigest()[:32] + Path(path.rstrip("]")).suffix
    folder = image_folder()
    copy = folder / name
    if not copy.is_file():
        folder.mkdir(parents=True, exist_ok=True)
        with tempfile.NamedTemporaryFile(dir=folder, delete=False) as file:
            file.write(content)
        os.replace(file.name, copy)
    return str(copy)


def image_folder() -> Path:
    """The folder for embedded images that scene import uses as well, unless one is configured."""
    cache = os.environ.get("XDG_CACHE_HOME") or str(Path.home() / ".cache")
    return Path(cache) / "tellar" / "images"


def _layer_of(attribute: Usd.Attribute) -> Sdf.Layer | None:
    """The layer with the strongest opinion."""
    for spec in attribute.GetPropertyStack(Usd.TimeCode.Default()):
        if spec.HasInfo("default") or spec.HasInfo("timeSamples"):
            return spec.layer
    return None


def _anchored(path: str, layer: Sdf.Layer | None) -> str:
    """A relative path counted from the layer's folder."""
    if layer is None or layer.anonymous or os.path.isabs(path) or "://" in path:
        return path
    if Ar.IsPackageRelativePath(layer.identifier):
        return path
    return os.path.normpath(os.path.join(os.path.dirname(str(layer.realPath)), path))

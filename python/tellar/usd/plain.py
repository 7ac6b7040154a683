"""Values of USD as attributes, for what has no meaning of its own here."""

from __future__ import annotations

from collections.abc import Mapping
from typing import TYPE_CHECKING, Any

import numpy as np
from pxr import Gf, Sdf

import tellar

from .remembered import CUSTOM_DATA

if TYPE_CHECKING:
    from .context import ImportContext

_QUATERNIONS = (Gf.Quatd, Gf.Quatf, Gf.Quath)
_INT_MIN, _INT_MAX = -(2**31), 2**31 - 1

# Metadata of prims that composition has used up, or that the location shows in another way.
STRUCTURE = frozenset(
    """specifier typeName apiSchemas active instanceable references payload inheritPaths specializes
    variantSets variantSetNames variantSelection clips clipSets primOrder propertyOrder hidden
    inactiveIds relocates fallbackPrimTypes""".split()
)
# API schemas of which the import reads all there is, or which only mark a prim.
_KNOWN_SCHEMAS = frozenset(
    """MaterialBindingAPI CollectionAPI GeomModelAPI MotionAPI PrimvarsAPI VisibilityAPI
    XformCommonAPI LightAPI ShapingAPI ShadowAPI MeshLightAPI""".split()
)


def plain_value(value: Any) -> Any:
    """What makes an attribute of the value of an attribute or of metadata."""
    if isinstance(value, (bool, float, str)):
        return value
    if isinstance(value, int):
        return whole_number(value)
    if isinstance(value, Sdf.AssetPath):
        return value.resolvedPath or value.path
    if isinstance(value, Mapping):
        return {encoded(str(key)): plain_value(item) for key, item in value.items()}
    if isinstance(value, _QUATERNIONS):
        return np.array([[*value.imaginary, value.real]], dtype=np.float64)
    if isinstance(value, Sdf.TimeCode):
        return float(value.GetValue())
    if isinstance(value, (list, tuple)):
        return plain_sequence(list(value))
    return plain_object(value)


def plain_sequence(values: list[Any]) -> Any:
    plain = [plain_value(value) for value in values]
    if all(isinstance(item, str) for item in plain):
        return tellar.attribute(plain, "string")
    if all(isinstance(item, (bool, int, float)) for item in plain):
        return np.asarray(plain)
    return tellar.attribute([str(item) for item in values], "string")


def plain_object(value: Any) -> Any:
    """A vector, a matrix, an array of any type; anything else as text."""
    try:
        array = np.asarray(value)
    except (TypeError, ValueError):
        return str(value)
    if array.ndim == 0 or array.dtype.kind not in "bifuUSO":
        return str(value)
    if array.dtype.kind in "USO":
        return plain_sequence(list(value))
    if array.dtype.kind in "iu" and array.dtype.itemsize > 2:
        return whole_numbers(array)
    return tuples(array, is_single=is_tuple(value))


def is_tuple(value: Any) -> bool:
    return type(value).__module__ == "pxr.Gf"


def tuples(array: Any, is_single: bool) -> Any:
    """Rows of numbers that belong together: a vector or matrix is one of them."""
    if is_single:
        return array.reshape(1, -1)
    return array.reshape(len(array), -1) if array.ndim > 2 else array


def whole_number(value: int) -> Any:
    if _INT_MIN <= value <= _INT_MAX:
        return value
    return float(value) if int(float(value)) == value else str(value)


def whole_numbers(array: Any) -> Any:
    """Ints where they fit, or else doubles where these are exact, or else texts."""
    if not array.size or (array.min() >= _INT_MIN and array.max() <= _INT_MAX):
        return array.astype(np.int32, copy=False)
    doubles = array.astype(np.float64)
    if np.all(np.abs(doubles) <= 2.0**53):
        return doubles
    return [str(item) for item in array.ravel().tolist()]


def encoded(name: str) -> str:
    """A name that is no path of groups."""
    return name.replace("%", "%25").replace(".", "%2E")


def keep_property(context: ImportContext, prim: Any, name: str, usd: dict[str, Any]) -> None:
    """Puts a property that has no meaning here into the group "usd" of a location."""
    prop = prim.GetProperty(name)
    kind = name.partition(":")[0] if ":" in name else name
    relationship = prim.GetRelationship(name)
    if relationship:
        targets = [str(target) for target in relationship.GetTargets()]
        usd.setdefault("relationships", {})[name] = tellar.attribute(targets, "string")
        context.keep(f'relationships "{kind}"', prop.GetPath())
        return
    attribute = prim.GetAttribute(name)
    connections = attribute.GetConnections() if attribute.HasAuthoredConnections() else []
    if connections:
        targets = [str(target) for target in connections]
        usd.setdefault("connections", {})[name] = tellar.attribute(targets, "string")
    value = context.sampled(attribute)
    if value is None and connections:
        return
    usd.setdefault("types", {})[name] = str(attribute.GetTypeName())
    usd.setdefault("attributes", {})[name] = value
    context.keep(f'attributes "{kind}"', prop.GetPath())


def user_property(context: ImportContext, prim: Any, name: str, user: dict[str, Any]) -> None:
    """Puts the property userProperties:a:b at a.b of the group "user"."""
    value = context.sampled(prim.GetAttribute(name))
    if value is None:
        return
    *groups, leaf = name.split(":")[1:]
    for group in groups:
        inner = user.setdefault(group, {})
        if not isinstance(inner, dict):  # there is a value of this name
            context.lose("user properties below a property of the same name", prim.GetPath())
            return
        user = inner
    if leaf in user:
        context.lose("user properties below a property of the same name", prim.GetPath())
        return
    user[leaf] = value


def keep_metadata(
    context: ImportContext, prim: Any, metadata: dict[str, Any], usd: dict[str, Any]
) -> None:
    """Puts customData, assetInfo, kind and other metadata of a prim into the group "usd"."""
    for name, value in metadata.items():
        if name in STRUCTURE:
            continue
        if name == "customData":
            value = {key: one for key, one in value.items() if key != CUSTOM_DATA}
            if not value:
                continue
        usd[name] = plain_value(value)
        if name not in ("customData", "assetInfo", "kind"):
            context.keep(f'metadata "{name}"', prim.GetPath())


def keep_schemas(
    context: ImportContext, prim: Any, kind: str, metadata: dict[str, Any], usd: dict[str, Any]
) -> None:
    """Keeps the names of the API schemas that have no meaning here."""
    unknown = None if "apiSchemas" in metadata else context.schemas_of_types.get(kind)
    if unknown is None:
        unknown = unknown_schemas(prim)
        if "apiSchemas" not in metadata:
            context.schemas_of_types[kind] = unknown
    if unknown:
        usd["apiSchemas"] = tellar.attribute(unknown, "string")
        for name in unknown:
            context.keep(f"API schemas {name}", prim.GetPath())


def unknown_schemas(prim: Any) -> list[str]:
    schemas = prim.GetAppliedSchemas()
    return [name for name in schemas if name.partition(":")[0] not in _KNOWN_SCHEMAS]

"""Network materials of scenes as UsdPreviewSurface materials."""

from __future__ import annotations

import math
from collections.abc import Callable, Iterator
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any

import numpy as np
from pxr import Gf, Sdf, Tf, Usd, UsdShade

import tellar

from .exporting import code_of

if TYPE_CHECKING:
    from .context import ImportContext

Numbers = tuple[float, ...]
PathOf = Callable[[str], str]

_TYPES = Sdf.ValueTypeNames
_WRAPS = {"repeat": "repeat", "clamp": "clamp", "mirror": "mirror", "decal": "black",
          "black": "black"}
_COLOR_SPACES = {"srgb": "sRGB", "linear": "raw"}
_BASE_NAMES = ("baseColor", "color", "Kd", "diffuse")
# The defaults of shaders where that differs from a standard surface.
_SHADER_DEFAULTS: dict[str, dict[str, Numbers]] = {
    "matte": {"specular": (0.0,)},
    "metal": {"metalness": (1.0,)},
    "glass": {"transmission": (1.0,), "roughness": (0.0,)},
    "emitter": {"baseColor": (0.0,), "emission": (1.0,), "specular": (0.0,)},
}
_MOST_NODES = 64


@dataclass
class _Image:
    """A channel of a texture, or its color, multiplied and moved."""

    node: str
    port: str
    scale: Numbers = (1.0, 1.0, 1.0, 1.0)
    bias: Numbers = (0.0, 0.0, 0.0, 0.0)

    def changed(self, scale: Numbers, bias: Numbers) -> _Image:
        """The same, multiplied and then moved once more."""
        return _Image(self.node, self.port,
                      tuple(a * b for a, b in zip(self.scale, scale)),
                      tuple(a * b + c for a, b, c in zip(self.bias, scale, bias)))


def write_material(
    group: tellar.Group,
    stage: Usd.Stage,
    path: Sdf.Path | str,
    texture_of: PathOf,
    context: ImportContext,
) -> UsdShade.Material:
    """Defines a Material prim with a UsdPreviewSurface that looks like the group's surface."""
    material = UsdShade.Material.Define(stage, path)
    _Writer(group, material, texture_of, context).write()
    return material


class _Writer:
    """Writes one material."""

    def __init__(self, group: tellar.Group, material: UsdShade.Material, texture_of: PathOf,
                 context: ImportContext) -> None:
        self.group = group
        self.material = material
        self.stage = material.GetPrim().GetStage()
        self.texture_of = texture_of
        self.context = context
        self.names: set[str] = set()
        self.node, self.type = self._surface_node()
        self.overrides = dict(_exposed(group))

    def _surface_node(self) -> tuple[str, str]:
        """The key of the surface's node and its type, below any layers; "" for a legacy one."""
        if self.group.get("style") != "network":
            return "", str(self.group.get("surfaceShader", ""))
        key = str(self.group.get("terminals.surface", ""))
        for _ in range(_MOST_NODES):
            if self.text(key, "type") != "layer":
                break
            key = self._connection(key, "base").partition("@")[2]
        return key, self.text(key, "type")

    # Reading the group

    def text(self, node: str, name: str) -> str:
        """A text of a node; "" if there is none."""
        value = self.group.get(f"nodes.{node}.{name}") if node else None
        return value if isinstance(value, str) else ""

    def parameter(self, node: str, name: str) -> tellar.Attribute | None:
        """A parameter of a node, or of a legacy shader."""
        if (node, name) in self.overrides:
            return self.overrides[node, name]
        if node:
            place = f"nodes.{node}.parameters.{name}"
        else:
            place = f"surfaceParams.{name}"
        found = self.group.attribute(place)
        return found if isinstance(found, tellar.Attribute) else None

    def numbers(self, node: str, name: str, *default: float) -> Numbers:
        """The numbers of a parameter at time 0."""
        attribute = self.parameter(node, name)
        if attribute is None or attribute.type in ("string", "null"):
            return default
        return tuple(np.ravel(np.asarray(attribute.value, np.float64)).tolist()) or default

    def _connection(self, node: str, name: str) -> str:
        return self.text(node, f"connections.{name}")

    # Writing

    def write(self) -> None:
        name = self._new_name(self.node or "surface")
        shader = UsdShade.Shader.Define(self.stage, self.material.GetPath().AppendChild(name))
        shader.CreateIdAttr("UsdPreviewSurface")
        self.material.CreateSurfaceOutput().ConnectToSource(shader.ConnectableAPI(), "surface")
        base = next((one for one in _BASE_NAMES if self._has(one)), "baseColor")
        self._write_base(shader, base)
        self._feed(shader, "roughness", _TYPES.Float, "roughness", 0.5)
        self._feed(shader, "clearcoat", _TYPES.Float, "coat", 0.0)
        self._feed(shader, "clearcoatRoughness", _TYPES.Float, "coatRoughness", 0.1)
        self._write_emission(shader)
        self._write_specular(shader)
        if self._has("occlusion"):
            self._feed(shader, "occlusion", _TYPES.Float, "occlusion", 1.0)
        self._write_normal(shader)

    def _has(self, name: str) -> bool:
        is_fed = bool(self._connection(self.node, name))
        return is_fed or self.parameter(self.node, name) is not None

    def _own(self, name: str, *default: float) -> Numbers:
        """A parameter of the surface, or what its shader has by itself."""
        known = _SHADER_DEFAULTS.get(self.type, {})
        return self.numbers(self.node, name, *known.get(name, default))

    def _write_base(self, shader: UsdShade.Shader, base: str) -> None:
        """The color and how much light passes; the inverse of what an import does."""
        passing = self._own("transmission", 0.0)[0]
        color = _three(self._own(base, 0.8, 0.8, 0.8))
        mean = sum(color) / 3
        if 0 < passing < 1 and not self._connection(self.node, base):
            through = min(passing * mean, 1.0)
            opacity = 1 - through
            if opacity > 0:
                color = _three(tuple(min(max((c - through) / opacity, 0.0), 1.0) for c in color))
            self._set(shader, "diffuseColor", _TYPES.Color3f, color)
        else:
            opacity = 1 - passing
            self._feed(shader, "diffuseColor", _TYPES.Color3f, base, *color)
        if passing > 0:
            self._set(shader, "opacity", _TYPES.Float, (opacity,))
        elif self._has("opacity"):
            self._feed(shader, "opacity", _TYPES.Float, "opacity", 1.0)
            self._set_token(shader, "opacityMode", "presence")
            if self.parameter(self.node, "alphaCutoff") is not None:
                threshold = self._own("alphaCutoff", 0.0)
                self._set(shader, "opacityThreshold", _TYPES.Float, threshold)

    def _write_emission(self, shader: UsdShade.Shader) -> None:
        strength = self._own("emissionStrength", 1.0)[0]
        if strength == 1:
            self._feed(shader, "emissiveColor", _TYPES.Color3f, "emission", 0.0, 0.0, 0.0)
            return
        color = tuple(strength * one for one in _three(self._own("emission", 0.0)))
        self._set(shader, "emissiveColor", _TYPES.Color3f, color)

    def _write_specular(self, shader: UsdShade.Shader) -> None:
        """The specular workflow where the reflection of a dielectric is tinted or weakened."""
        weight = self._own("specular", 1.0)[0]
        tint = _three(self._own("specularColor", 1.0))
        ior = self._own("ior", 1.5)[0]
        is_metal = self._connection(self.node, "metalness") or self._own("metalness", 0.0)[0] > 0
        if is_metal or (weight == 1 and tint == (1, 1, 1)):
            self._feed(shader, "metallic", _TYPES.Float, "metalness", 0.0)
            self._feed(shader, "ior", _TYPES.Float, "ior", 1.5)
            return
        facing = ((ior - 1) / (ior + 1)) ** 2
        color = tuple(min(weight * one * facing, 1.0) for one in tint)
        self._set(shader, "useSpecularWorkflow", _TYPES.Int, (1,))
        self._set(shader, "specularColor", _TYPES.Color3f, color)

    def _write_normal(self, shader: UsdShade.Shader) -> None:
        image = self._image_at(self._connection(self.node, "normal"))
        if image is None:
            return
        strength = self._own("normalScale", 1.0)[0]
        scale = (2 * strength, 2 * strength, 2.0, 1.0)
        decoded = image.changed(scale, (-strength, -strength, -1.0, 0.0))
        self._connect(shader, "normal", _TYPES.Normal3f, decoded, ())

    def _feed(self, shader: UsdShade.Shader, target: str, kind: Sdf.ValueTypeName, name: str,
              *default: float) -> None:
        """Connects an input to a texture or a primvar, or sets the parameter's own value."""
        own = self._own(name, *default)
        connection = self._connection(self.node, name)
        if (image := self._image_at(connection)) is not None:
            self._connect(shader, target, kind, image, own)
            return
        node = connection.partition("@")[2]
        if node and self.text(node, "type") == "vertexColor":
            self._connect_primvar(shader, target, kind, node, own)
            return
        attribute = self.parameter(self.node, name)
        if attribute is None and own == default and target != "diffuseColor":
            if name not in ("roughness", "coatRoughness"):
                return  # the default of the preview surface
        if attribute is not None and len(attribute.times) > 1 and attribute.type != "string":
            for time in attribute.times:
                value = tuple(np.ravel(np.asarray(attribute.sample(time), np.float64)).tolist())
                self._set(shader, target, kind, value, code_of(self.context, time))
            return
        self._set(shader, target, kind, own)

    def _set(self, shader: UsdShade.Shader, name: str, kind: Sdf.ValueTypeName, numbers: Numbers,
             time: float | None = None) -> None:
        value: Any = numbers[0] if numbers else 0.0
        if kind in (_TYPES.Color3f, _TYPES.Normal3f):
            value = Gf.Vec3f(*_three(numbers))
        elif kind == _TYPES.Int:
            value = int(value)
        elif len(numbers) > 1:
            value = sum(numbers) / len(numbers)
        target = shader.CreateInput(name, kind)
        target.Set(value) if time is None else target.Set(value, time)

    def _set_token(self, shader: UsdShade.Shader, name: str, value: str) -> None:
        shader.CreateInput(name, _TYPES.Token).Set(value)

    # Textures

    def _image_at(self, connection: str, depth: int = 0) -> _Image | None:
        """The image behind a connection, if there is nothing but constants in between."""
        port, _, node = connection.partition("@")
        kind = self.text(node, "type")
        if kind == "image":
            channel = port.rpartition(":")[2]
            return _Image(node, channel if channel in "rgba" and channel else "rgb")
        if kind not in ("multiply", "add", "invert") or depth > _MOST_NODES:
            return None
        for fed, other in (("a", "b"), ("b", "a")):
            if not self._connection(node, fed) or self._connection(node, other):
                continue
            image = self._image_at(self._connection(node, fed), depth + 1)
            if image is None:
                continue
            if kind == "invert":
                return image.changed((-1.0,) * 4, (1.0,) * 4)
            if kind == "multiply":
                return image.changed(_four(self.numbers(node, other, 1.0), 1.0), (0.0,) * 4)
            return image.changed((1.0,) * 4, _four(self.numbers(node, other, 0.0), 0.0))
        return None

    def _connect(self, shader: UsdShade.Shader, target: str, kind: Sdf.ValueTypeName, image: _Image,
                 fallback: Numbers) -> None:
        texture = self._define(image.node, "UsdUVTexture")
        file = self._file_of(image.node)
        texture.CreateInput("file", _TYPES.Asset).Set(Sdf.AssetPath(self.texture_of(file)))
        for name, parameter in (("wrapS", "wrapU"), ("wrapT", "wrapV")):
            wrap = self.text(image.node, f"parameters.{parameter}")
            self._set_token(texture, name, _WRAPS.get(wrap, "repeat"))
        space = _COLOR_SPACES.get(self.text(image.node, "parameters.colorSpace"), "auto")
        self._set_token(texture, "sourceColorSpace", "raw" if target == "normal" else space)
        own = _four(self.numbers(image.node, "multiply", 1.0), 1.0)
        scale = tuple(a * b for a, b in zip(own, image.scale))
        for name, numbers, neutral in (("scale", scale, 1.0), ("bias", image.bias, 0.0)):
            if any(one != neutral for one in numbers):
                texture.CreateInput(name, _TYPES.Float4).Set(Gf.Vec4f(*numbers))
        if fallback:
            alpha = fallback[0] if image.port == "a" else 1.0
            texture.CreateInput("fallback", _TYPES.Float4).Set(Gf.Vec4f(*_three(fallback), alpha))
        self._place(texture, image.node)
        kinds = {"rgb": _TYPES.Float3}
        output = texture.CreateOutput(image.port, kinds.get(image.port, _TYPES.Float))
        shader.CreateInput(target, kind).ConnectToSource(output)

    def _file_of(self, node: str) -> str:
        return self.text(node, "parameters.file")

    def _place(self, texture: UsdShade.Shader, node: str) -> None:
        """The coordinates: a primvar, then transforms from the farthest one on."""
        transforms: list[tuple[Numbers, Numbers, float]] = []
        own = self.numbers(node, "uvTransform")
        if len(own) >= 5:
            transforms.append((own[2:4], own[:2], own[4]))
        name = self.text(node, "parameters.uvSet") or "st"
        source = self._connection(node, "uv").partition("@")[2]
        visited: set[str] = set()
        while source not in visited and self.text(source, "type") == "uvTransform":
            visited.add(source)
            transforms.append((_pair(self.numbers(source, "scale", 1.0)),
                               _pair(self.numbers(source, "offset", 0.0)),
                               self.numbers(source, "rotation", 0.0)[0]))
            name = self.text(source, "parameters.uvSet") or name
            source = self._connection(source, "uv").partition("@")[2]
        reader = self._define(f"{texture.GetPrim().GetName()}_uv", "UsdPrimvarReader_float2")
        reader.CreateInput("varname", _TYPES.String).Set(name)
        output = reader.CreateOutput("result", _TYPES.Float2)
        for scale, offset, turn in reversed(transforms):
            output = self._transformed(texture, output, scale, offset, turn)
        texture.CreateInput("st", _TYPES.Float2).ConnectToSource(output)

    def _transformed(self, texture: UsdShade.Shader, source: UsdShade.Output, scale: Numbers,
                     offset: Numbers, turn: float) -> UsdShade.Output:
        shader = self._define(f"{texture.GetPrim().GetName()}_transform", "UsdTransform2d")
        shader.CreateInput("in", _TYPES.Float2).ConnectToSource(source)
        shader.CreateInput("scale", _TYPES.Float2).Set(Gf.Vec2f(*scale))
        shader.CreateInput("translation", _TYPES.Float2).Set(Gf.Vec2f(*offset))
        shader.CreateInput("rotation", _TYPES.Float).Set(math.degrees(turn))
        return shader.CreateOutput("result", _TYPES.Float2)

    def _connect_primvar(self, shader: UsdShade.Shader, target: str, kind: Sdf.ValueTypeName,
                         node: str, fallback: Numbers) -> None:
        is_color = kind == _TYPES.Color3f
        reader = self._define(node, f"UsdPrimvarReader_float{3 if is_color else ''}")
        name = self.text(node, "parameters.name") or "color"
        primvar = "displayColor" if name == "color" else name
        reader.CreateInput("varname", _TYPES.String).Set(primvar)
        result = _TYPES.Float3 if is_color else _TYPES.Float
        self._set(reader, "fallback", _TYPES.Color3f if is_color else result, fallback)
        output = reader.CreateOutput("result", result)
        shader.CreateInput(target, kind).ConnectToSource(output)

    def _define(self, name: str, identifier: str) -> UsdShade.Shader:
        path = self.material.GetPath().AppendChild(self._new_name(name))
        shader = UsdShade.Shader.Define(self.stage, path)
        shader.CreateIdAttr(identifier)
        return shader

    def _new_name(self, name: str) -> str:
        valid = plain = Tf.MakeValidIdentifier(name)
        number = 1
        while valid in self.names:
            number += 1
            valid = f"{plain}_{number}"
        self.names.add(valid)
        return str(valid)


def _exposed(group: tellar.Group) -> Iterator[tuple[tuple[str, str], tellar.Attribute]]:
    """The node and parameter of each exposed value, which replaces the node's own."""
    parameters = group.get("parameters")
    if not isinstance(parameters, tellar.Group):
        return
    for name in parameters:
        source = group.get(f"interface.{name}.src")
        value = parameters.attribute(name)
        if isinstance(source, str) and isinstance(value, tellar.Attribute):
            node, _, parameter = source.partition(".")
            yield (node, parameter), value


def _three(numbers: Numbers) -> tuple[float, float, float]:
    if len(numbers) >= 3:
        return numbers[0], numbers[1], numbers[2]
    return (numbers[0],) * 3 if numbers else (0.0, 0.0, 0.0)


def _four(numbers: Numbers, alpha: float) -> Numbers:
    return numbers[:4] if len(numbers) >= 4 else (*_three(numbers), alpha)


def _pair(numbers: Numbers) -> Numbers:
    return numbers[:2] if len(numbers) > 1 else (numbers[0], numbers[0])

"""Nodes of USD's and MaterialX's shading networks as nodes that renderers know."""

from __future__ import annotations

import math
from typing import TYPE_CHECKING, Any

from pxr import Sdf, Usd, UsdShade

from .arithmetic import ARITHMETIC, CHANNELS, Handler
from .networks import Constant, Network, Node, Source, Value, combined, constant, float_attribute
from .primvars import arbitrary_name
from .shader_values import constant_of, kept_value
from .textures import texture_path

if TYPE_CHECKING:
    from .context import ImportContext


_WRAPS = {
    "black": "decal", "clamp": "clamp", "mirror": "mirror", "repeat": "repeat",
    # A file without metadata of its own is black outside.
    "useMetadata": "decal",
    "periodic": "repeat", "constant": "decal",
}
_DEEPEST = 64
_SRGB = {"sRGB", "srgb_texture", "srgb_rec709_scene", "srgb_rec709_display"}


def shader_id(shader: UsdShade.Shader) -> str:
    """The identifier of a shader, or what it has instead of one."""
    identifier = shader.GetIdAttr().Get()
    if identifier:
        return str(identifier)
    source = shader.GetPrim().GetAttribute("info:implementationSource").Get()
    return f"unknown:{source}" if source else "unknown"


def category_of(identifier: str) -> str:
    """The kind of a node, without types and versions: "image" for "ND_image_color3"."""
    if not identifier.startswith("ND_"):
        return identifier.split("_")[0]
    name = identifier[3:]
    if name.endswith("_surfaceshader"):
        return name.removesuffix("_surfaceshader")
    return name.split("_")[0]


class Translator:
    """Makes the nodes of one material's network."""

    def __init__(self, material: UsdShade.Material, context: ImportContext) -> None:
        self.material = material.GetPrim()
        self.context = context
        self.network = Network()
        self.uses: dict[str, int] = {}
        """How many inputs each input of the material feeds."""
        self.surfaces: dict[Sdf.Path, Node] = {}
        """The nodes of surfaces by their shaders."""
        self._inputs: dict[Sdf.Path, dict[str, Usd.Attribute | None]] = {}
        self._images: dict[Sdf.Path, Node] = {}
        self._transforms: dict[Sdf.Path, Node] = {}
        self._outputs: dict[Sdf.Path, Value | None] = {}
        self._kept: dict[Sdf.Path, Node] = {}
        self._open: set[Sdf.Path] = set()

    def lose(self, kind: str, shader: UsdShade.Shader) -> None:
        """Takes note of something about a shader that the network does not show."""
        self.context.lose(kind, shader.GetPath())

    # Inputs ------------------------------------------------------------------------------------

    def producer(self, shader: UsdShade.Shader, name: str) -> Usd.Attribute | None:
        """The attribute that an input's value comes from, through node graphs and interfaces."""
        path = shader.GetPath()
        inputs = self._inputs.get(path)
        if inputs is None:
            # Asking for each input that a shader might have would take most of the time.
            inputs = {str(one.GetBaseName()): _producer(one) for one in shader.GetInputs()}
            self._inputs[path] = inputs
        return inputs.get(name)

    def source_shader(
        self, shader: UsdShade.Shader, name: str
    ) -> tuple[UsdShade.Shader, str] | None:
        """The shader that feeds an input, and its output's name; None if none does."""
        attribute = self.producer(shader, name)
        if attribute is None or not UsdShade.Output.IsOutput(attribute):
            return None
        source = UsdShade.Shader(attribute.GetPrim())
        return (source, UsdShade.Output(attribute).GetBaseName()) if source else None

    def value(self, shader: UsdShade.Shader, name: str, default: Value | None = None) -> Any:
        """The numbers that an input has, or what feeds it. Returns the default if neither is."""
        attribute = self.producer(shader, name)
        if attribute is None:
            return default
        if UsdShade.Output.IsOutput(attribute) and attribute.GetPrim().IsA(UsdShade.Shader):
            value = self.output(attribute)
        else:
            value = constant_of(self.context, attribute, self._exposed_by(attribute))
        return default if value is None else value

    def _exposed_by(self, attribute: Usd.Attribute) -> str:
        if attribute.GetPrim() != self.material:
            return ""
        name = str(UsdShade.Input(attribute).GetBaseName())
        self.uses[name] = self.uses.get(name, 0) + 1
        return name

    def text(self, shader: UsdShade.Shader, name: str, default: str = "") -> str:
        """An input that is a text."""
        attribute = self.producer(shader, name)
        value = self.context.value(attribute) if attribute is not None else None
        return str(value) if isinstance(value, str) and value else default

    def numbers(self, shader: UsdShade.Shader, name: str, *default: float) -> tuple[float, ...]:
        """An input that must be numbers, as many as the default. One that is fed by nodes, or has
        another number of them, is counted."""
        value = self.value(shader, name)
        if value is None:
            return default
        numbers = value.numbers if isinstance(value, Constant) else ()
        if len(numbers) != len(default) or not all(map(math.isfinite, numbers)):
            self.lose(f"unusual values of the shader input {name}", shader)
            return default
        return numbers

    def number(self, shader: UsdShade.Shader, name: str, default: float) -> float:
        """The same for a single number."""
        return self.numbers(shader, name, default)[0]

    # Outputs -----------------------------------------------------------------------------------

    def output(self, attribute: Usd.Attribute) -> Value | None:
        """The value of a shader's output; None if it has none that could be used."""
        path = attribute.GetPath()
        if path in self._outputs:
            return self._outputs[path]
        shader = UsdShade.Shader(attribute.GetPrim())
        if not self.enter(shader, path):
            return None
        name = UsdShade.Output(attribute).GetBaseName()
        handler = _HANDLERS.get(category_of(shader_id(shader)))
        value = handler(self, shader, name) if handler else None
        if value is None:
            value = Source(self.keep(shader).key, name)
        self.leave(path)
        self._outputs[path] = value
        return value

    def enter(self, shader: UsdShade.Shader, path: Sdf.Path) -> bool:
        """Whether the walk through the network may go on to a shader. It may not where the network
        feeds itself, or is too deep for any renderer."""
        if path in self._open:
            self.lose("shading networks that feed themselves", shader)
            return False
        if len(self._open) >= _DEEPEST:
            self.lose(f"shading networks of more than {_DEEPEST} levels", shader)
            return False
        self._open.add(path)
        return True

    def leave(self, path: Sdf.Path) -> None:
        """Ends what `enter` has begun."""
        self._open.discard(path)

    def keep(self, shader: UsdShade.Shader) -> Node:
        """A node as it is, with its type, parameters and connections."""
        path = shader.GetPath()
        if path in self._kept:
            return self._kept[path]
        identifier = shader_id(shader)
        self.context.keep(f"shaders of type {identifier}", path)
        node = self.network.add(shader.GetPrim().GetName(), identifier)
        self._kept[path] = node
        for shader_input in shader.GetInputs():
            self.keep_input(node, shader, shader_input)
        return node

    def keep_input(
        self, node: Node, shader: UsdShade.Shader, shader_input: UsdShade.Input
    ) -> None:
        """Gives the node an input's connection, or its value as it is."""
        name = shader_input.GetBaseName()
        attribute = self.producer(shader, name)
        if attribute is None:
            return
        if self.source_shader(shader, name):
            if (value := self.output(attribute)) is not None:
                node.feed(name, value)
            return
        if (kept := kept_value(self.context, attribute)) is not None:
            node.parameters[name] = kept

    # Images ------------------------------------------------------------------------------------

    def image_node(self, shader: UsdShade.Shader, coordinates: str, wraps: tuple[str, str],
                   default_wrap: str) -> Node:
        """The node "image" of a texture."""
        path = shader.GetPath()
        if path in self._images:
            return self._images[path]
        node = self.network.add(shader.GetPrim().GetName(), "image")
        self._images[path] = node
        file = self.producer(shader, "file")
        asset = self.context.value(file) if file is not None else None
        node.parameters["file"] = (
            texture_path(file, asset) if isinstance(asset, Sdf.AssetPath) else str(asset or "")
        )
        self.place(node, shader, coordinates)
        for parameter, name in zip(("wrapU", "wrapV"), wraps):
            wrap = self.text(shader, name, default_wrap)
            node.parameters[parameter] = _WRAPS.get(wrap, "repeat")
            if wrap not in _WRAPS:
                self.lose(f'wrap modes "{wrap}"', shader)
        if space := self._color_space(shader, file):
            node.parameters["colorSpace"] = space
        return node

    def _color_space(self, shader: UsdShade.Shader, file: Usd.Attribute | None) -> str:
        """"srgb", "linear", or "" to let the renderer choose by what the image is used for."""
        space = self.text(shader, "sourceColorSpace", "auto")
        if space == "auto" and file is not None:
            space = str(file.GetColorSpace() or "auto")
        if space == "auto":
            return ""
        return "srgb" if space in _SRGB else "linear"

    def place(self, node: Node, shader: UsdShade.Shader, name: str) -> None:
        """Gives a node the texture coordinates that feed an input of the shader."""
        found = self.source_shader(shader, name)
        node.parameters["uvSet"] = "st"
        if not found:
            return
        source = found[0]
        category = category_of(shader_id(source))
        if category == "UsdPrimvarReader":
            node.parameters["uvSet"] = self.text(source, "varname", "st")
        elif category == "geompropvalue":
            node.parameters["uvSet"] = self.text(source, "geomprop", "st")
        elif category == "texcoord":
            index = int(self.number(source, "index", 0))
            node.parameters["uvSet"] = f"st{index}" if index else "st"
        elif category in ("UsdTransform2d", "place2d"):
            transform = self._transform(source, category)
            node.connections["uv"] = f"out@{transform.key}"
            node.parameters["uvSet"] = transform.parameters["uvSet"]
        elif category in ("dot", "convert"):
            if self.enter(source, source.GetPath()):
                self.place(node, source, "in")
                self.leave(source.GetPath())
        else:
            node.connections["uv"] = f"{found[1]}@{self.keep(source).key}"

    def _transform(self, shader: UsdShade.Shader, category: str) -> Node:
        path = shader.GetPath()
        if path in self._transforms:
            return self._transforms[path]
        node = self.network.add(shader.GetPrim().GetName(), "uvTransform")
        self._transforms[path] = node
        node.parameters["uvSet"] = "st"
        if not self.enter(shader, path):
            return node
        if category == "place2d":
            self.place(node, shader, "texcoord")
            scale, turn, offset = self._placed(shader)
        else:
            self.place(node, shader, "in")
            scale = self.numbers(shader, "scale", 1, 1)
            turn = self.number(shader, "rotation", 0)
            offset = self.numbers(shader, "translation", 0, 0)
        self.leave(path)
        node.parameters["offset"] = float_attribute(offset)
        node.parameters["scale"] = float_attribute(scale)
        node.parameters["rotation"] = float_attribute((math.radians(turn),))
        return node

    def _placed(
        self, shader: UsdShade.Shader
    ) -> tuple[tuple[float, ...], float, tuple[float, ...]]:
        """The scale, turn and offset of "place2d", which divides by its scale, turns coordinates
        clockwise and subtracts its offset, around a pivot."""
        divisor = self.numbers(shader, "scale", 1, 1)
        scale = tuple(1 / one if one else 1.0 for one in divisor)
        degrees = self.number(shader, "rotate", 0)
        moved = self.numbers(shader, "offset", 0, 0)
        pivot = self.numbers(shader, "pivot", 0, 0)
        if self.number(shader, "operationorder", 0) != 0 and (degrees or any(moved)):
            self.lose("order of operations of place2d", shader)
        c, s = math.cos(math.radians(-degrees)), math.sin(math.radians(-degrees))
        x, y = pivot[0] * scale[0], pivot[1] * scale[1]
        offset = (pivot[0] - (c * x - s * y) - moved[0], pivot[1] - (s * x + c * y) - moved[1])
        return scale, -degrees, offset

    # Handlers ----------------------------------------------------------------------------------

    def plain_image(self, shader: UsdShade.Shader) -> Node:
        """The image of a UsdUVTexture without its scale and bias."""
        return self.image_node(shader, "st", ("wrapS", "wrapT"), "useMetadata")

    def _uv_texture(self, shader: UsdShade.Shader, output: str) -> Value:
        node = self.plain_image(shader)
        scale = self.numbers(shader, "scale", 1, 1, 1, 1)
        bias = constant(*self.numbers(shader, "bias", 0, 0, 0, 0))
        fallback: Value = self.value(shader, "fallback", constant(0, 0, 0, 1))
        if not isinstance(fallback, Constant):
            fallback = constant(0, 0, 0, 1)
        if any(one != 1 for one in scale):
            node.parameters["multiply"] = float_attribute(scale)
        index = CHANNELS.get(output)
        if index is not None:
            fallback, bias = fallback.channel(index), bias.channel(index)
        else:
            fallback, bias = _first_three(fallback), _first_three(bias)
        # The bias is not added to the fallback.
        before = combined(lambda a, b: a - b, fallback, bias)
        port = "out" if index is None else "rgba"[index]
        return self.network.add_values(Source(node.key, port, before), bias)

    def _image(self, shader: UsdShade.Shader, _: str) -> Value:
        node = self.image_node(shader, "texcoord", ("uaddressmode", "vaddressmode"), "periodic")
        default = self.value(shader, "default")
        return Source(node.key, "out", default if isinstance(default, Constant) else constant(0))

    def _tiled_image(self, shader: UsdShade.Shader, output: str) -> Value:
        value = self._image(shader, output)
        node = self._images[shader.GetPath()]
        tiling = self.numbers(shader, "uvtiling", 1, 1)
        offset = self.numbers(shader, "uvoffset", 0, 0)
        real = self.numbers(shader, "realworldimagesize", 1, 1)
        tile = self.numbers(shader, "realworldtilesize", 1, 1)
        size = [b / a if a else 1.0 for a, b in zip(real, tile)]
        node.parameters["uvTransform"] = float_attribute(
            (-offset[0] * size[0], -offset[1] * size[1],
             tiling[0] * size[0], tiling[1] * size[1], 0.0))
        return value

    def _primvar(self, shader: UsdShade.Shader, _: str) -> Value | None:
        return self._primvar_named(shader, self.text(shader, "varname"), "fallback")

    def _geomprop(self, shader: UsdShade.Shader, _: str) -> Value | None:
        return self._primvar_named(shader, self.text(shader, "geomprop"), "default")

    def _geomcolor(self, shader: UsdShade.Shader, _: str) -> Value | None:
        return self._primvar_named(shader, "displayColor", "")

    def _primvar_named(
        self, shader: UsdShade.Shader, name: str, fallback_input: str
    ) -> Value | None:
        if not name:
            return None
        node = self.network.add(shader.GetPrim().GetName(), "vertexColor")
        node.parameters["name"] = arbitrary_name(name)
        fallback = self.value(shader, fallback_input) if fallback_input else None
        return Source(node.key, "out", fallback if isinstance(fallback, Constant) else constant(0))

    def _checkerboard(self, shader: UsdShade.Shader, _: str) -> Value:
        node = self.network.add(shader.GetPrim().GetName(), "checker")
        node.feed("color1", self.value(shader, "color1", constant(1, 1, 1)))
        node.feed("color2", self.value(shader, "color2", constant(0, 0, 0)))
        tiling = self.numbers(shader, "uvtiling", 8, 8)
        node.parameters["scale"] = float_attribute(tiling)
        offset = self.numbers(shader, "uvoffset", 0, 0)
        if any(offset):
            moved = tuple(-one / (by or 1) for one, by in zip(offset, tiling))
            node.parameters["uvTransform"] = float_attribute((*moved, 1.0, 1.0, 0.0))
        self.place(node, shader, "texcoord")
        return Source(node.key)


def _producer(shader_input: UsdShade.Input) -> Usd.Attribute | None:
    producers = shader_input.GetValueProducingAttributes()
    return producers[0] if producers else None


def _first_three(value: Constant) -> Constant:
    return Constant({time: numbers[:3] for time, numbers in value.samples.items()})


_HANDLERS: dict[str, Handler] = {
    **ARITHMETIC,
    "UsdUVTexture": Translator._uv_texture,
    "UsdPrimvarReader": Translator._primvar,
    "image": Translator._image,
    "tiledimage": Translator._tiled_image,
    "geompropvalue": Translator._geomprop,
    "geomcolor": Translator._geomcolor,
    "checkerboard": Translator._checkerboard,
}

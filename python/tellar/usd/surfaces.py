"""Surface shaders of USD and MaterialX as the standard surface that renderers know."""

from __future__ import annotations

import math
from collections.abc import Callable

from pxr import UsdShade

from .networks import Constant, Node, Source, Value, combined, constant, is_constant
from .patterns import Translator, category_of, shader_id
from .shader_values import kept_value

_WHITE = constant(1, 1, 1)
_BLACK = constant(0, 0, 0)
_ZERO = constant(0)
_ONE = constant(1)

# The defaults of a standard surface. Without a base color it would have the colors of vertices.
_DEFAULTS: dict[str, float] = {
    "metalness": 0, "roughness": 0.5, "anisotropy": 0, "anisotropyRotation": 0, "specular": 1,
    "specularColor": 1, "ior": 1.5, "transmission": 0, "coat": 0, "coatRoughness": 0.1,
    "sheenColor": 0, "sheenRoughness": 0.3, "emission": 0, "emissionStrength": 1, "opacity": 1,
    "normalScale": 1, "coatNormalScale": 1, "attenuationColor": 1,
}

# Reflectance at normal incidence of the standard surface with the index of refraction 1.5.
_FACING = 0.04

# Inputs without a parameter that change nothing by these values; None for those that only refine
# such an input.
_NEUTRAL: dict[str, float | None] = {
    "displacement": 0, "diffuse_roughness": 0, "base_diffuse_roughness": 0,
    "transmission_scatter": 0, "transmission_scatter_anisotropy": None,
    "transmission_dispersion": 0, "transmission_dispersion_abbe_number": None,
    "transmission_dispersion_scale": 0, "transmission_extra_roughness": 0,
    "subsurface_radius": None, "subsurface_radius_scale": None, "subsurface_scale": None,
    "subsurface_anisotropy": None, "subsurface_scatter_anisotropy": None,
    "coat_color": 1, "coat_anisotropy": 0, "coat_roughness_anisotropy": 0, "coat_rotation": None,
    "coat_IOR": None, "coat_ior": None, "coat_affect_color": 0, "coat_affect_roughness": 0,
    "coat_darkening": None, "thin_film_thickness": 0, "thin_film_weight": 0, "thin_film_IOR": None,
    "thin_film_ior": None, "iridescence": 0, "iridescence_ior": None,
    "iridescence_thickness": None, "dispersion": 0, "tangent": None, "geometry_tangent": None,
    "geometry_coat_tangent": None,
}


def import_surface(translator: Translator, shader: UsdShade.Shader) -> Node:
    """The node for a surface shader; one that is not known is kept as it is."""
    path = shader.GetPath()
    if path not in translator.surfaces:
        translator.surfaces[path] = _import(translator, shader)
    return translator.surfaces[path]


def _import(translator: Translator, shader: UsdShade.Shader) -> Node:
    category = category_of(shader_id(shader))
    if category == "mix":
        return _import_layer(translator, shader)
    translate = _SURFACES.get(category)
    if not translate:
        return translator.keep(shader)
    surface = _Surface(translator, shader)
    translate(surface)
    surface.keep_the_rest()
    return surface.node


def _import_layer(translator: Translator, shader: UsdShade.Shader) -> Node:
    """A mix of two surfaces."""
    node = translator.network.add(shader.GetPrim().GetName(), "layer")
    if translator.enter(shader, shader.GetPath()):
        for name, parameter in (("bg", "base"), ("fg", "top")):
            if found := translator.source_shader(shader, name):
                node.connections[parameter] = f"out@{import_surface(translator, found[0]).key}"
        translator.leave(shader.GetPath())
    node.feed("mask", translator.value(shader, "mix", _ZERO))
    return node


class _Surface:
    """One shader and the node that is made of it."""

    def __init__(self, translator: Translator, shader: UsdShade.Shader) -> None:
        self.translator = translator
        self.network = translator.network
        self.shader = shader
        self.node = self.network.add(shader.GetPrim().GetName(), "standard_surface")
        self._understood: set[str] = set()

    def value(self, name: str, default: Value) -> Value:
        """An input, which counts as understood."""
        self._understood.add(name)
        value: Value = self.translator.value(self.shader, name, default)
        return value

    def number(self, name: str, default: float) -> float:
        """An input that can only be a number."""
        self._understood.add(name)
        return self.translator.number(self.shader, name, default)

    def text(self, name: str, default: str) -> str:
        """An input that is a text."""
        self._understood.add(name)
        return self.translator.text(self.shader, name, default)

    def set(self, parameter: str, value: Value) -> None:
        """Feeds a parameter of the node, unless it has that value by itself."""
        is_exposed = isinstance(value, Constant) and value.exposed
        default = _DEFAULTS.get(parameter)
        if default is None or is_exposed or not is_constant(value, default):
            self.node.feed(parameter, value)

    def take(self, parameter: str, name: str, default: Value) -> None:
        """Feeds a parameter with an input."""
        self.set(parameter, self.value(name, default))

    def set_through(self, base: Value, transmission: Value, tint: Value) -> None:
        """Sets the base color, and the share of light that passes with a color of its own.

        The standard surface has one color for both: it is mixed, and the share changed such that
        as much light is scattered and as much passes, over all colors together.
        """
        color = self.network.mix(base, tint, transmission)
        self.set("baseColor", color)
        if all(isinstance(one, Constant) for one in (color, transmission, tint)):
            passing = combined(_passing, *map(_mean_of, (transmission, tint, color)))
            if not is_constant(transmission, 1):
                transmission = passing
        self.set("transmission", transmission)

    def set_normal(self, parameter: str, name: str) -> None:
        """Connects a normal map, whose values are from 0 to 1."""
        self._understood.add(name)
        found = self.translator.source_shader(self.shader, name)
        if not found:
            if self.translator.producer(self.shader, name) is not None:
                self._understood.discard(name)
            return
        category = category_of(shader_id(found[0]))
        value: Value | None = None
        strength = 1.0
        if category == "normalmap":
            value = self.translator.value(found[0], "in")
            strength = self.translator.number(found[0], "scale", 1)
        elif category == "UsdUVTexture":
            value, strength = self._decoded_texture(found[0])
        if value is None:
            half = constant(0.5)
            value = self.network.multiply(self.translator.value(self.shader, name, _BLACK), half)
            value = self.network.add_values(value, half)
        if isinstance(value, Source):
            self.set(parameter, Source(value.node, value.port))
            self.set(parameter + "Scale", constant(strength))

    def _decoded_texture(self, shader: UsdShade.Shader) -> tuple[Value | None, float]:
        """An image whose scale and bias make a direction of its colors, and its strength."""
        scale = self.translator.numbers(shader, "scale", 1, 1, 1, 1)
        bias = self.translator.numbers(shader, "bias", 0, 0, 0, 0)
        strength = scale[0] / 2
        expected = (2 * strength, 2 * strength, 2, -strength, -strength, -1)
        found = (*scale[:3], *bias[:3])
        if not all(math.isclose(a, b, abs_tol=1e-6) for a, b in zip(found, expected)):
            return None, 1.0
        return Source(self.translator.plain_image(shader).key), strength

    def keep_the_rest(self) -> None:
        """Keeps inputs that have no parameter, and counts those that would show."""
        identifier = shader_id(self.shader)
        for shader_input in self.shader.GetInputs():
            name = shader_input.GetBaseName()
            if name in self._understood:
                continue
            attribute = self.translator.producer(self.shader, name)
            if attribute is None:
                continue
            value = self.translator.value(self.shader, name)
            if isinstance(value, Source):
                self.node.feed(name, value)
            elif (kept := kept_value(self.translator.context, attribute)) is not None:
                self.node.kept[name] = kept
            neutral = _NEUTRAL.get(name, math.nan)
            is_neutral = neutral is not None and value is not None and is_constant(value, neutral)
            if neutral is not None and not is_neutral:
                self.translator.lose(f"inputs {name} of {identifier}", self.shader)


def _mean_of(value: Value) -> Constant:
    assert isinstance(value, Constant)
    return Constant({time: (sum(numbers) / len(numbers),)
                     for time, numbers in value.samples.items()})


def _passing(share: float, tint: float, color: float) -> float:
    return min(share * tint / color, 1.0) if color > 0 else share


# UsdPreviewSurface -------------------------------------------------------------------------------


def _preview(surface: _Surface) -> None:
    base = surface.value("diffuseColor", constant(0.18, 0.18, 0.18))
    metalness = surface.value("metallic", _ZERO)
    _preview_opacity(surface, base, metalness)
    surface.take("roughness", "roughness", constant(0.5))
    surface.take("emission", "emissiveColor", _BLACK)
    surface.take("coat", "clearcoat", _ZERO)
    surface.take("coatRoughness", "clearcoatRoughness", constant(0.01))
    surface.take("occlusion", "occlusion", _ONE)
    if is_constant(surface.value("occlusion", _ONE), 1):
        surface.node.parameters.pop("occlusion", None)
    ior = surface.value("ior", constant(1.5))
    if surface.number("useSpecularWorkflow", 0) != 0:
        color = surface.value("specularColor", _BLACK)
        surface.set("specularColor", surface.network.multiply(color, constant(1 / _FACING)))
        surface._understood.add("metallic")
    else:
        surface.set("metalness", metalness)
        surface.set("ior", ior)
    surface.set_normal("normal", "normal")


def _preview_opacity(surface: _Surface, base: Value, metalness: Value) -> None:
    """A constant opacity makes glass; a texture, a threshold or the mode "presence" holes."""
    opacity = surface.value("opacity", _ONE)
    threshold = surface.number("opacityThreshold", 0)
    mode = surface.text("opacityMode", "transparent")
    is_glass = (isinstance(opacity, Constant) and threshold <= 0 and mode == "transparent"
                and is_constant(metalness, 0))
    if is_glass:
        surface.set_through(base, surface.network.invert(opacity), _WHITE)
        return
    surface.set("baseColor", base)
    surface.set("opacity", opacity)
    if threshold > 0:
        surface.set("alphaCutoff", constant(threshold))


# MaterialX ---------------------------------------------------------------------------------------


def _scattered(surface: _Surface, base: Value, weight: str, color: str) -> Value:
    """The base color with that of subsurface scattering, which is not drawn as such."""
    share = surface.value(weight, _ZERO)
    subsurface = surface.value(color, constant(0.8, 0.8, 0.8))
    if not is_constant(share, 0):
        surface.translator.lose("subsurface scattering", surface.shader)
    return surface.network.mix(base, subsurface, share)


def _set_transmission(surface: _Surface, base: Value, weight: str, color: str, depth: str) -> None:
    """With a depth, the color is that of the inside; without one, that of what passes."""
    transmission = surface.value(weight, _ZERO)
    tint = surface.value(color, _WHITE)
    distance = surface.value(depth, _ZERO)
    if is_constant(distance, 0):
        surface.set_through(base, transmission, tint)
        return
    surface.set_through(base, transmission, _WHITE)
    surface.set("attenuationColor", tint)
    surface.set("attenuationDistance", distance)


def _set_product(surface: _Surface, parameter: str, weight: Value, color: Value) -> None:
    surface.set(parameter, surface.network.multiply(weight, color))


def _set_emission(surface: _Surface, strength: Value, color: Value) -> None:
    if is_constant(strength, 0):
        return
    surface.set("emission", color)
    surface.set("emissionStrength", strength)


def _standard_surface(surface: _Surface) -> None:
    base = surface.network.multiply(surface.value("base", _ONE),
                                    surface.value("base_color", constant(0.8, 0.8, 0.8)))
    base = _scattered(surface, base, "subsurface", "subsurface_color")
    _set_transmission(surface, base, "transmission", "transmission_color", "transmission_depth")
    surface.take("metalness", "metalness", _ZERO)
    surface.take("specular", "specular", _ONE)
    surface.take("specularColor", "specular_color", _WHITE)
    surface.take("roughness", "specular_roughness", constant(0.2))
    surface.take("ior", "specular_IOR", constant(1.5))
    surface.take("anisotropy", "specular_anisotropy", _ZERO)
    turns = surface.value("specular_rotation", _ZERO)
    _set_product(surface, "anisotropyRotation", turns, constant(2 * math.pi))
    surface.take("coat", "coat", _ZERO)
    surface.take("coatRoughness", "coat_roughness", constant(0.1))
    _set_product(surface, "sheenColor", surface.value("sheen", _ZERO),
                 surface.value("sheen_color", _WHITE))
    surface.take("sheenRoughness", "sheen_roughness", constant(0.3))
    _set_emission(surface, surface.value("emission", _ZERO),
                  surface.value("emission_color", _WHITE))
    surface.take("opacity", "opacity", _WHITE)
    if surface.number("thin_walled", 0) != 0:
        surface.set("thickness", _ZERO)
    surface.set_normal("normal", "normal")
    surface.set_normal("coatNormal", "coat_normal")


def _open_pbr(surface: _Surface) -> None:
    base = surface.network.multiply(surface.value("base_weight", _ONE),
                                    surface.value("base_color", constant(0.8, 0.8, 0.8)))
    base = _scattered(surface, base, "subsurface_weight", "subsurface_color")
    _set_transmission(surface, base, "transmission_weight", "transmission_color",
                      "transmission_depth")
    surface.take("metalness", "base_metalness", _ZERO)
    surface.take("specular", "specular_weight", _ONE)
    surface.take("specularColor", "specular_color", _WHITE)
    surface.take("roughness", "specular_roughness", constant(0.3))
    surface.take("ior", "specular_ior", constant(1.5))
    surface.take("anisotropy", "specular_roughness_anisotropy", _ZERO)
    surface.take("coat", "coat_weight", _ZERO)
    surface.take("coatRoughness", "coat_roughness", _ZERO)
    _set_product(surface, "sheenColor", surface.value("fuzz_weight", _ZERO),
                 surface.value("fuzz_color", _WHITE))
    surface.take("sheenRoughness", "fuzz_roughness", constant(0.5))
    _set_emission(surface, surface.value("emission_luminance", _ZERO),
                  surface.value("emission_color", _WHITE))
    surface.take("opacity", "geometry_opacity", _ONE)
    if surface.number("geometry_thin_walled", 0) != 0:
        surface.set("thickness", _ZERO)
    surface.set_normal("normal", "geometry_normal")
    surface.set_normal("coatNormal", "geometry_coat_normal")


def _gltf_pbr(surface: _Surface) -> None:
    surface.take("baseColor", "base_color", _WHITE)
    surface.take("metalness", "metallic", _ONE)
    surface.take("roughness", "roughness", _ONE)
    surface.take("specular", "specular", _ONE)
    surface.take("specularColor", "specular_color", _WHITE)
    surface.take("ior", "ior", constant(1.5))
    surface.take("coat", "clearcoat", _ZERO)
    surface.take("coatRoughness", "clearcoat_roughness", _ZERO)
    surface.take("sheenColor", "sheen_color", _BLACK)
    surface.take("sheenRoughness", "sheen_roughness", _ZERO)
    surface.take("anisotropy", "anisotropy_strength", _ZERO)
    surface.take("anisotropyRotation", "anisotropy_rotation", _ZERO)
    _set_emission(surface, surface.value("emissive_strength", _ONE),
                  surface.value("emissive", _BLACK))
    _gltf_inside(surface)
    _gltf_alpha(surface)
    surface.value("occlusion", _ONE)
    surface.set_normal("normal", "normal")
    surface.set_normal("coatNormal", "clearcoat_normal")


def _gltf_inside(surface: _Surface) -> None:
    transmission = surface.value("transmission", _ZERO)
    thickness = surface.value("thickness", _ZERO)
    color = surface.value("attenuation_color", _WHITE)
    distance = surface.value("attenuation_distance", _ZERO)
    if is_constant(transmission, 0):
        return
    surface.set("transmission", transmission)
    surface.set("thickness", thickness)
    if not is_constant(distance, 0):
        surface.set("attenuationColor", color)
        surface.set("attenuationDistance", distance)


def _gltf_alpha(surface: _Surface) -> None:
    """The alpha counts in the modes 1, with a cutoff, and 2."""
    mode = int(surface.number("alpha_mode", 0))
    alpha = surface.value("alpha", _ONE)
    cutoff = surface.number("alpha_cutoff", 0.5)
    if mode in (1, 2):
        surface.set("opacity", alpha)
    if mode == 1:
        surface.set("alphaCutoff", constant(cutoff))


_SURFACES: dict[str, Callable[[_Surface], None]] = {
    "UsdPreviewSurface": _preview,
    "standard_surface": _standard_surface,
    "open_pbr_surface": _open_pbr,
    "gltf_pbr": _gltf_pbr,
}

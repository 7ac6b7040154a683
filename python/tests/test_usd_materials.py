"""Materials of USD stages as networks: surfaces, textures, coordinates and what is kept."""

from __future__ import annotations

import math
import zipfile
from pathlib import Path
from typing import Any

import numpy as np
import pytest

pytest.importorskip("pxr", reason="the USD bridge needs usd-core")

from pxr import Gf, Sdf, Usd, UsdGeom, UsdShade, UsdUtils

import tellar
import tellar.usd
from tellar.usd.context import ImportContext
from tellar.usd.materials import import_material

Types = Sdf.ValueTypeNames


class Look:
    """A material in the making, and what an import makes of it."""

    def __init__(self, stage: Any = None, **inputs: Any) -> None:
        self.stage = stage or Usd.Stage.CreateInMemory()
        self.material = UsdShade.Material.Define(self.stage, "/Looks/look")
        self.context: Any = None
        if inputs:
            self.surface = self.shader("surface", "UsdPreviewSurface", **inputs)
            self.terminal(self.surface)

    def shader(self, name: str, identifier: str, **inputs: Any) -> Any:
        """A shader. Inputs are values, or pairs of a shader and the name of its output."""
        shader = UsdShade.Shader.Define(self.stage, f"/Looks/look/{name}")
        shader.CreateIdAttr(identifier)
        for key, value in inputs.items():
            feed(shader, key, value)
        return shader

    def terminal(self, shader: Any, output: str = "surface") -> None:
        target = self.material.CreateOutput(output, Types.Token)
        target.ConnectToSource(shader.ConnectableAPI(), "out")

    def imported(self, frame: float = 0.0) -> tellar.Group:
        self.context = ImportContext(self.stage, frame=frame)
        group = import_material(self.material.GetPrim(), self.context)
        assert group is not None
        return group

    def node(self, name: str = "surface") -> dict[str, Any]:
        """A node as plain Python values."""
        group = self.imported()["nodes"]
        assert isinstance(group, tellar.Group)
        found: dict[str, Any] = plain(group[name])
        return found

    def parameters(self, name: str = "surface") -> dict[str, Any]:
        found: dict[str, Any] = self.node(name)["parameters"]
        return found

    def lost(self) -> list[str]:
        self.imported()
        return sorted(self.context.summary.lost)

    def kept(self) -> list[str]:
        self.imported()
        return sorted(self.context.summary.kept)


def feed(shader: Any, name: str, value: Any) -> None:
    target = shader.CreateInput(name, type_of(name, value))
    if isinstance(value, tuple) and len(value) == 2 and isinstance(value[1], str):
        target.ConnectToSource(value[0].ConnectableAPI(), value[1])
    else:
        target.Set(value)


def type_of(name: str, value: Any) -> Any:
    if name == "file":
        return Types.Asset
    kinds: dict[Any, Any] = {
        bool: Types.Bool, int: Types.Int, float: Types.Float, str: Types.String,
        Gf.Vec2f: Types.Float2, Gf.Vec3f: Types.Color3f, Gf.Vec4f: Types.Float4,
    }
    return kinds.get(type(value), Types.Float3)


def plain(value: Any) -> Any:
    if isinstance(value, tellar.Group):
        return {key: plain(value[key]) for key in value}
    if isinstance(value, np.ndarray):
        return pytest.approx(value.ravel().tolist(), rel=1e-5, abs=1e-6)
    return value


def color(*numbers: float) -> Gf.Vec3f:
    return Gf.Vec3f(*numbers)


# UsdPreviewSurface


def test_a_plastic_has_its_color_and_the_defaults_of_the_preview_surface() -> None:
    look = Look(diffuseColor=color(0.7, 0.1, 0), roughness=0.25)
    assert look.node() == {
        "name": "surface",
        "type": "standard_surface",
        "parameters": {"baseColor": [0.7, 0.1, 0], "roughness": [0.25], "coatRoughness": [0.01]},
    }
    assert look.imported()["terminals.surface"] == "surface"
    assert look.imported()["style"] == "network"
    assert not look.lost()


def test_what_is_not_authored_is_that_of_the_preview_surface() -> None:
    look = Look(roughness=0.5)
    assert look.parameters() == {"baseColor": [0.18] * 3, "coatRoughness": [0.01]}


def test_a_metal_a_coat_and_emission() -> None:
    look = Look(metallic=1.0, clearcoat=0.5, clearcoatRoughness=0.2, ior=2.0,
                emissiveColor=color(1, 2, 3))
    expected = {"baseColor": [0.18] * 3, "metalness": [1], "coat": [0.5], "coatRoughness": [0.2],
                "ior": [2], "emission": [1, 2, 3]}
    assert look.parameters() == expected


def test_the_specular_workflow_has_its_reflectance_and_no_metal() -> None:
    look = Look(useSpecularWorkflow=1, specularColor=color(0.04, 0.2, 1), metallic=1.0)
    assert look.parameters()["specularColor"] == [1, 5, 25]
    assert "metalness" not in look.parameters()


def test_a_clear_opacity_makes_glass() -> None:
    look = Look(diffuseColor=color(0.2, 0.2, 0.2), opacity=0.0, ior=1.4, roughness=0.0)
    expected = {"baseColor": [1, 1, 1], "transmission": [1], "ior": [1.4], "roughness": [0],
                "coatRoughness": [0.01]}
    assert look.parameters() == expected


def test_half_an_opacity_scatters_and_passes_half_of_the_light() -> None:
    look = Look(diffuseColor=color(0.2, 0.2, 0.2), opacity=0.5)
    base, share = 0.5 * 0.2 + 0.5, 0.5 / (0.5 * 0.2 + 0.5)
    parameters = look.parameters()
    assert parameters["baseColor"] == [base] * 3
    assert parameters["transmission"] == [share]
    assert base * share == pytest.approx(0.5)
    assert base * (1 - share) == pytest.approx(0.5 * 0.2)


def test_a_threshold_and_the_mode_presence_make_holes() -> None:
    cut = Look(opacity=0.5, opacityThreshold=0.25).parameters()
    assert (cut["opacity"], cut["alphaCutoff"]) == ([0.5], [0.25])
    look = Look(opacity=0.5, opacityMode="presence")
    assert look.parameters()["opacity"] == [0.5]
    assert "transmission" not in look.parameters()


def test_inputs_without_a_parameter_are_kept_and_counted() -> None:
    look = Look(displacement=0.5)
    assert look.node()["usd"] == {"displacement": [0.5]}
    assert look.lost() == ["inputs displacement of UsdPreviewSurface"]
    assert not Look(displacement=0.0).lost()


# Textures


def textured(
    tmp_path: Path, port: str = "rgb", target: str = "diffuseColor", **inputs: Any
) -> Look:
    look = Look(Usd.Stage.CreateNew(str(tmp_path / "look.usda")), roughness=0.5)
    texture = look.shader("wood", "UsdUVTexture", file="./wood.png", **inputs)
    feed(look.surface, target, (texture, port))
    return look


def test_a_texture_is_an_image_beside_its_layer(tmp_path: Path) -> None:
    look = textured(tmp_path, wrapS="repeat", wrapT="mirror", sourceColorSpace="sRGB")
    assert look.node("wood") == {
        "name": "wood",
        "type": "image",
        "parameters": {"file": str(tmp_path / "wood.png"), "uvSet": "st", "wrapU": "repeat",
                       "wrapV": "mirror", "colorSpace": "srgb"},
    }
    assert look.node()["connections"] == {"baseColor": "out@wood"}


def test_wraps_are_black_and_color_spaces_open_where_nothing_is_authored(tmp_path: Path) -> None:
    parameters = textured(tmp_path).parameters("wood")
    assert (parameters["wrapU"], parameters["wrapV"]) == ("decal", "decal")
    assert "colorSpace" not in parameters


def test_channels_feed_numbers(tmp_path: Path) -> None:
    look = textured(tmp_path, port="g", target="roughness", sourceColorSpace="raw")
    assert look.node()["connections"] == {"roughness": "g@wood"}
    assert look.parameters("wood")["colorSpace"] == "linear"


def test_scale_multiplies_and_bias_is_added(tmp_path: Path) -> None:
    look = textured(tmp_path, scale=Gf.Vec4f(2, 3, 4, 1), bias=Gf.Vec4f(0.1, 0.2, 0.3, 0))
    assert look.parameters("wood")["multiply"] == [2, 3, 4, 1]
    assert look.node("add")["connections"] == {"a": "out@wood"}
    assert look.parameters("add")["b"] == [0.1, 0.2, 0.3]
    assert look.node()["connections"] == {"baseColor": "out@add"}


def test_a_fallback_is_the_value_where_the_image_is_missing(tmp_path: Path) -> None:
    look = textured(tmp_path, fallback=Gf.Vec4f(0.1, 0.2, 0.3, 1))
    assert look.parameters()["baseColor"] == [0.1, 0.2, 0.3]


def test_a_texture_of_opacity_makes_holes(tmp_path: Path) -> None:
    look = textured(tmp_path, port="a", target="opacity")
    assert look.node()["connections"] == {"opacity": "a@wood"}
    assert "transmission" not in look.parameters()


def test_a_normal_map_loses_its_scale_and_bias(tmp_path: Path) -> None:
    look = textured(tmp_path, target="normal", scale=Gf.Vec4f(2, 2, 2, 1),
                    bias=Gf.Vec4f(-1, -1, -1, 0))
    assert look.node()["connections"] == {"normal": "out@wood"}
    assert "multiply" not in look.parameters("wood")
    assert "normalScale" not in look.parameters()


def test_a_weak_normal_map_has_a_scale(tmp_path: Path) -> None:
    look = textured(tmp_path, target="normal", scale=Gf.Vec4f(1, 1, 2, 1),
                    bias=Gf.Vec4f(-0.5, -0.5, -1, 0))
    assert look.parameters()["normalScale"] == [0.5]


def test_directions_without_a_bias_are_moved_to_colors(tmp_path: Path) -> None:
    look = textured(tmp_path, target="normal")
    assert look.node()["connections"] == {"normal": "out@add"}
    assert look.parameters("add")["b"] == [0.5]
    assert look.parameters("multiply")["b"] == [0.5]


def test_udims_are_kept(tmp_path: Path) -> None:
    (tmp_path / "skin.1001.png").write_bytes(b"")
    look = Look(Usd.Stage.CreateNew(str(tmp_path / "look.usda")), roughness=0.5)
    texture = look.shader("skin", "UsdUVTexture", file="./skin.<UDIM>.png")
    feed(look.surface, "diffuseColor", (texture, "rgb"))
    assert look.parameters("skin")["file"] == str(tmp_path / "skin.<UDIM>.png")


def test_a_texture_in_a_package_is_copied(tmp_path: Path, monkeypatch: Any) -> None:
    monkeypatch.setenv("XDG_CACHE_HOME", str(tmp_path / "cache"))
    look = textured(tmp_path)
    (tmp_path / "wood.png").write_bytes(b"picture")
    look.stage.GetRootLayer().Save()
    package = str(tmp_path / "look.usdz")
    assert UsdUtils.CreateNewUsdzPackage(str(tmp_path / "look.usda"), package)
    assert zipfile.is_zipfile(package)
    stage = Usd.Stage.Open(package)
    group = import_material(stage.GetPrimAtPath("/Looks/look"), ImportContext(stage))
    assert group is not None
    file = Path(str(group["nodes.wood.parameters.file"]))
    assert file.parent == tmp_path / "cache" / "tellar" / "images"
    assert file.suffix == ".png"
    assert file.read_bytes() == b"picture"


def test_coordinates_come_from_primvars_and_transforms(tmp_path: Path) -> None:
    look = textured(tmp_path)
    reader = look.shader("reader", "UsdPrimvarReader_float2", varname="UVMap")
    turned = look.shader("turned", "UsdTransform2d", rotation=90.0, scale=Gf.Vec2f(2, 3),
                         translation=Gf.Vec2f(0.5, 0.25))
    feed(turned, "in", (reader, "result"))
    wood = UsdShade.Shader(look.stage.GetPrimAtPath("/Looks/look/wood"))
    feed(wood, "st", (turned, "result"))
    assert look.node("wood")["connections"] == {"uv": "out@turned"}
    assert look.parameters("wood")["uvSet"] == "UVMap"
    assert look.node("turned")["type"] == "uvTransform"
    assert look.parameters("turned") == {"uvSet": "UVMap", "offset": [0.5, 0.25], "scale": [2, 3],
                                         "rotation": [math.pi / 2]}


def test_colors_of_primvars_have_their_fallback() -> None:
    look = Look(roughness=0.5)
    reader = look.shader("tint", "UsdPrimvarReader_float3", varname="displayColor",
                         fallback=color(0.1, 0.2, 0.3))
    feed(look.surface, "diffuseColor", (reader, "result"))
    assert look.node("tint") == {"name": "tint", "type": "vertexColor",
                                 "parameters": {"name": "color"}}
    assert look.node()["connections"] == {"baseColor": "out@tint"}
    assert look.parameters()["baseColor"] == [0.1, 0.2, 0.3]


# Interfaces and node graphs


def test_values_come_through_the_interface_of_the_material() -> None:
    look = Look(metallic=0.0)
    exposed = look.material.CreateInput("wear", Types.Float)
    exposed.Set(0.75)
    look.surface.CreateInput("roughness", Types.Float).ConnectToSource(exposed)
    group = look.imported()
    assert look.parameters()["roughness"] == [0.75]
    assert plain(group["parameters"]) == {"wear": [0.75]}
    assert plain(group["interface"]) == {"wear": {"src": "surface.roughness"}}


def test_a_value_for_several_inputs_is_not_exposed() -> None:
    look = Look(metallic=0.0)
    exposed = look.material.CreateInput("wear", Types.Float)
    exposed.Set(0.75)
    for name in ("roughness", "clearcoat"):
        look.surface.CreateInput(name, Types.Float).ConnectToSource(exposed)
    assert "interface" not in look.imported()
    assert (look.parameters()["roughness"], look.parameters()["coat"]) == ([0.75], [0.75])


def test_connections_go_through_nested_node_graphs(tmp_path: Path) -> None:
    look = Look(Usd.Stage.CreateNew(str(tmp_path / "look.usda")), roughness=0.5)
    graph = UsdShade.NodeGraph.Define(look.stage, "/Looks/look/graph")
    inner = UsdShade.NodeGraph.Define(look.stage, "/Looks/look/graph/inner")
    texture = look.shader("graph/inner/wood", "UsdUVTexture")
    file = look.material.CreateInput("file", Types.Asset)
    file.Set("./wood.png")
    for owner, above in ((graph, look.material), (inner, graph), (texture, inner)):
        owner.CreateInput("file", Types.Asset).ConnectToSource(above.GetInput("file"))
    output = texture.CreateOutput("rgb", Types.Float3)
    for owner in (inner, graph):
        outer = owner.CreateOutput("color", Types.Color3f)
        outer.ConnectToSource(output)
        output = outer
    look.surface.CreateInput("diffuseColor", Types.Color3f).ConnectToSource(output)
    assert look.node()["connections"] == {"baseColor": "out@wood"}
    assert look.parameters("wood")["file"] == str(tmp_path / "wood.png")


def test_equal_names_in_different_graphs_are_numbered() -> None:
    look = Look(roughness=0.5)
    for graph, target in (("a", "diffuseColor"), ("b", "emissiveColor")):
        UsdShade.NodeGraph.Define(look.stage, f"/Looks/look/{graph}")
        texture = look.shader(f"{graph}/wood", "UsdUVTexture", file=f"/{graph}.png")
        feed(look.surface, target, (texture, "rgb"))
    assert look.parameters("wood")["file"] == "/a.png"
    assert look.parameters("wood_2")["file"] == "/b.png"


def test_a_network_that_feeds_itself_ends() -> None:
    look = Look(roughness=0.5)
    one = look.shader("one", "ND_add_color3", in2=color(1, 1, 1))
    two = look.shader("two", "ND_add_color3", in2=color(1, 1, 1))
    feed(one, "in1", (two, "out"))
    feed(two, "in1", (one, "out"))
    feed(look.surface, "diffuseColor", (one, "out"))
    assert look.lost() == ["shading networks that feed themselves"]


def test_a_network_that_is_too_deep_for_renderers_ends() -> None:
    look = Look(roughness=0.5)
    before = look.shader("n0", "ND_add_color3", in2=color(1, 1, 1))
    for index in range(1, 300):
        shader = look.shader(f"n{index}", "ND_add_color3", in2=color(1, 1, 1))
        feed(shader, "in1", (before, "out"))
        before = shader
    feed(look.surface, "diffuseColor", (before, "out"))
    assert look.lost() == ["shading networks of more than 64 levels"]


def test_layers_that_share_their_parts_are_read_once() -> None:
    look = Look()
    below = look.shader("n0", "ND_standard_surface_surfaceshader", metalness=1.0)
    for index in range(1, 40):
        layer = look.shader(f"n{index}", "ND_mix_surfaceshader", mix=0.5)
        feed(layer, "bg", (below, "out"))
        feed(layer, "fg", (below, "out"))
        below = layer
    look.terminal(below)
    assert len(list(look.imported()["nodes"])) == 40


def test_values_of_unusual_types_and_sizes_are_counted() -> None:
    look = Look(roughness=0.5)
    texture = look.shader("wood", "UsdUVTexture", file="/wood.png", scale=math.nan, bias=0.5)
    feed(look.surface, "diffuseColor", (texture, "rgb"))
    assert "multiply" not in look.parameters("wood")
    assert look.lost() == ["unusual values of the shader input bias",
                           "unusual values of the shader input scale"]


# MaterialX


def standard(**inputs: Any) -> Look:
    look = Look()
    look.surface = look.shader("surface", "ND_standard_surface_surfaceshader", **inputs)
    look.terminal(look.surface, "mtlx:surface")
    return look


def test_a_standard_surface_has_its_own_defaults() -> None:
    assert standard(metalness=0.0).parameters() == {"baseColor": [0.8] * 3, "roughness": [0.2]}


def test_weights_multiply_colors() -> None:
    look = standard(base=0.5, base_color=color(1, 0.5, 0), sheen=0.5, sheen_color=color(1, 1, 0),
                    emission=4.0, emission_color=color(1, 0.5, 0.25), specular_rotation=0.25)
    parameters = look.parameters()
    assert parameters["baseColor"] == [0.5, 0.25, 0]
    assert parameters["sheenColor"] == [0.5, 0.5, 0]
    assert parameters["emission"] == [1, 0.5, 0.25]
    assert parameters["emissionStrength"] == [4]
    assert parameters["anisotropyRotation"] == [math.pi / 2]


def test_a_glass_of_the_standard_surface() -> None:
    thin = standard(transmission=1.0, transmission_color=color(0.5, 1, 1), thin_walled=True)
    assert thin.parameters()["baseColor"] == [0.5, 1, 1]
    assert thin.parameters()["thickness"] == [0]
    deep = standard(transmission=1.0, transmission_color=color(0.5, 1, 1), transmission_depth=2.0)
    parameters = deep.parameters()
    assert parameters["baseColor"] == [1, 1, 1]
    assert parameters["attenuationColor"] == [0.5, 1, 1]
    assert parameters["attenuationDistance"] == [2]


def test_what_the_standard_surface_has_more_is_kept_and_counted() -> None:
    look = standard(coat_color=color(1, 0, 0), thin_film_thickness=0.0, coat_IOR=1.6)
    assert sorted(look.node()["usd"]) == ["coat_IOR", "coat_color", "thin_film_thickness"]
    assert look.lost() == ["inputs coat_color of ND_standard_surface_surfaceshader"]


def test_images_and_patterns_of_materialx() -> None:
    look = standard(roughness=0.5)
    place = look.shader("place", "ND_place2d_vector2", scale=Gf.Vec2f(0.5, 0.25), rotate=90.0,
                        offset=Gf.Vec2f(0.1, 0.2))
    coordinates = look.shader("uv", "ND_geompropvalue_vector2", geomprop="UVMap")
    feed(place, "texcoord", (coordinates, "out"))
    image = look.shader("image", "ND_image_color3", file="/wood.png", uaddressmode="clamp",
                        default=color(1, 0, 0))
    feed(image, "texcoord", (place, "out"))
    checks = look.shader("checks", "ND_checkerboard_color3", color1=color(1, 1, 0))
    mixed = look.shader("mixed", "ND_mix_color3", mix=0.25)
    feed(mixed, "bg", (image, "out"))
    feed(mixed, "fg", (checks, "out"))
    feed(look.surface, "base_color", (mixed, "out"))
    assert look.node()["connections"] == {"baseColor": "out@mix"}
    assert look.node("mix")["connections"] == {"a": "out@image", "b": "out@checks"}
    assert look.parameters("mix")["amount"] == [0.25]
    assert look.parameters("mix")["a"] == [1, 0, 0]
    assert look.parameters("image")["wrapU"] == "clamp"
    assert look.parameters("image")["wrapV"] == "repeat"
    assert look.parameters("place") == {"uvSet": "UVMap", "offset": [-0.1, -0.2], "scale": [2, 4],
                                        "rotation": [-math.pi / 2]}
    assert look.parameters("checks")["color1"] == [1, 1, 0]


def test_constants_are_folded() -> None:
    look = standard(roughness=0.5)
    product = look.shader("product", "ND_multiply_color3", in1=color(0.5, 0.5, 1),
                          in2=color(0.5, 1, 1))
    inverse = look.shader("inverse", "ND_invert_color3")
    feed(inverse, "in", (product, "out"))
    red = look.shader("red", "ND_extract_color3", index=0)
    feed(red, "in", (inverse, "out"))
    feed(look.surface, "base_color", (inverse, "out"))
    feed(look.surface, "metalness", (red, "out"))
    assert look.parameters()["baseColor"] == [0.75, 0.5, 0]
    assert look.parameters()["metalness"] == [0.75]
    assert list(look.imported()["nodes"]) == ["surface"]


def test_a_normal_map_of_materialx_has_a_scale() -> None:
    look = standard(roughness=0.5)
    image = look.shader("bumps", "ND_image_vector3", file="/bumps.png")
    bumps = look.shader("map", "ND_normalmap", scale=0.5)
    feed(bumps, "in", (image, "out"))
    feed(look.surface, "normal", (bumps, "out"))
    assert look.node()["connections"] == {"normal": "out@bumps"}
    assert look.parameters()["normalScale"] == [0.5]


def test_a_mix_of_surfaces_is_a_layer() -> None:
    look = Look()
    base = look.shader("base", "ND_standard_surface_surfaceshader", metalness=1.0)
    top = look.shader("top", "ND_UsdPreviewSurface_surfaceshader", roughness=0.9)
    layer = look.shader("layer", "ND_mix_surfaceshader", mix=0.25)
    feed(layer, "bg", (base, "out"))
    feed(layer, "fg", (top, "out"))
    look.terminal(layer, "mtlx:surface")
    assert look.node("layer")["connections"] == {"base": "out@base", "top": "out@top"}
    assert look.parameters("layer") == {"mask": [0.25]}
    assert look.node("base")["type"] == look.node("top")["type"] == "standard_surface"


@pytest.mark.parametrize(
    ("identifier", "inputs", "expected"),
    [
        ("ND_open_pbr_surface_surfaceshader", {"base_metalness": 1.0, "coat_weight": 0.5},
         {"baseColor": [0.8] * 3, "metalness": [1], "roughness": [0.3], "coat": [0.5],
          "coatRoughness": [0], "sheenRoughness": [0.5]}),
        ("ND_gltf_pbr_surfaceshader", {"alpha_mode": 1, "alpha": 0.5, "metallic": 0.0},
         {"baseColor": [1] * 3, "roughness": [1], "coatRoughness": [0], "sheenRoughness": [0],
          "opacity": [0.5], "alphaCutoff": [0.5]}),
    ],
)
def test_other_surfaces(identifier: str, inputs: Any, expected: Any) -> None:
    look = Look()
    look.terminal(look.shader("surface", identifier, **inputs))
    assert look.parameters() == expected


# What is kept


def test_unknown_nodes_keep_their_type_parameters_and_connections() -> None:
    look = standard(roughness=0.5)
    image = look.shader("image", "ND_image_color3", file="/wood.png")
    strange = look.shader("strange", "ND_hsvadjust_color3", amount=color(0.5, 1, 1), label="x")
    feed(strange, "in", (image, "out"))
    feed(look.surface, "base_color", (strange, "out"))
    found = look.node("strange")
    assert found["type"] == "ND_hsvadjust_color3"
    assert found["parameters"]["amount"] == [0.5, 1, 1]
    assert found["parameters"]["label"] == "x"
    assert found["connections"] == {"in": "out@image"}
    assert look.node()["connections"] == {"baseColor": "out@strange"}
    assert look.kept() == ["shaders of type ND_hsvadjust_color3"]


def test_an_unknown_surface_is_kept() -> None:
    look = Look()
    look.terminal(look.shader("skin", "acme_skin", depth=2.0), "acme:surface")
    expected = {"name": "skin", "type": "acme_skin", "parameters": {"depth": [2]}}
    assert look.node("skin") == expected
    assert look.imported()["terminals.surface"] == "skin"


def test_all_terminals_are_kept_and_materialx_is_preferred() -> None:
    look = standard(metalness=1.0)
    look.terminal(look.shader("preview", "UsdPreviewSurface", roughness=0.5))
    look.terminal(look.shader("waves", "ND_displacement_float", scale=2.0), "displacement")
    look.terminal(look.shader("smoke", "ND_volume", density=2.0), "volume")
    terminals = plain(look.imported()["terminals"])
    assert terminals["surface"] == "surface"
    assert terminals["universal:surface"] == "preview"
    assert terminals["displacement"] == "waves"
    assert terminals["volume"] == "smoke"


def test_a_material_without_shaders_is_counted() -> None:
    look = Look()
    context = ImportContext(look.stage)
    assert import_material(look.material.GetPrim(), context) is None
    assert list(context.summary.lost) == ["materials without shaders"]
    assert import_material(look.stage.GetPrimAtPath("/Looks"), context) is None


def test_animated_inputs_keep_their_samples() -> None:
    look = Look(metallic=0.0)
    roughness = look.surface.CreateInput("roughness", Types.Float)
    roughness.Set(0.25, 1)
    roughness.Set(0.75, 11)
    group = look.imported(frame=1.0)
    parameters = group["nodes.surface.parameters"]
    assert isinstance(parameters, tellar.Group)
    found = parameters.attribute("roughness")
    assert isinstance(found, tellar.Attribute)
    assert found.times == [0, 10]
    assert plain(found.interpolated(5)) == [0.5]


def test_importing_twice_gives_the_same_group() -> None:
    look = Look(diffuseColor=color(0.7, 0.1, 0), opacity=0.5, displacement=1.0)
    assert look.imported() == look.imported()


def test_an_import_gives_shapes_their_material() -> None:
    look = Look(diffuseColor=color(0.7, 0.1, 0))
    ball = UsdGeom.Sphere.Define(look.stage, "/ball").GetPrim()
    UsdShade.MaterialBindingAPI.Apply(ball).Bind(look.material)
    scene = tellar.usd.import_usd(look.stage).description
    shapes = scene["stage.opArgs.c"]
    assert isinstance(shapes, tellar.Group)
    assert shapes["ball.a.materialAssign"] == "/root/world/Looks/look"
    assert shapes["ball.a.material"] == shapes["Looks.c.look.a.material"] == look.imported()

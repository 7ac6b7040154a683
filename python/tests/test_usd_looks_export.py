"""Materials and lights that go to USD and come back."""

from __future__ import annotations

import json
import math
from pathlib import Path
from typing import Any

import pytest

pytest.importorskip("pxr", reason="the USD bridge needs usd-core")

from pxr import Gf, Sdf, Usd, UsdGeom, UsdShade, UsdValidation

import tellar
from tellar.usd.attribute_json import value_from_json
from tellar.usd.context import ImportContext
from tellar.usd.lights import dome_matrix, export_light, import_light
from tellar.usd.materials import export_material, import_material


@pytest.fixture
def stage() -> Any:
    stage = Usd.Stage.CreateInMemory()
    UsdGeom.SetStageMetersPerUnit(stage, 1.0)
    return stage


def group_of(text: str) -> tellar.Group:
    group = value_from_json(text)
    assert isinstance(group, tellar.Group)
    return group


def network(parameters: str, rest: str = "", connections: str = "") -> tellar.Group:
    """A material with a surface, and perhaps other nodes."""
    links = f', "connections": {{{connections}}}' if connections else ""
    return group_of(f"""{{"style": "network", "nodes": {{"surface": {{"name": "surface",
        "type": "standard_surface", "parameters": {{{parameters}}}{links}}}{rest}}},
        "terminals": {{"surface": "surface"}}}}""")


def exported(stage: Any, group: tellar.Group, **options: Any) -> Any:
    return export_material(group, stage, "/Looks/look", **options).GetPrim()


def again(prim: Any) -> tellar.Group:
    """What an import of a copy of the stage, by way of its text, gives."""
    stage = Usd.Stage.CreateInMemory()
    stage.GetRootLayer().ImportFromString(prim.GetStage().GetRootLayer().ExportToString())
    group = import_material(stage.GetPrimAtPath(prim.GetPath()), ImportContext(stage))
    assert group is not None
    return group


def surface_inputs(prim: Any, name: str = "surface") -> dict[str, Any]:
    shader = UsdShade.Shader(prim.GetChild(name))
    return {one.GetBaseName(): one.Get() for one in shader.GetInputs()}


MATERIALS = [
    network('"baseColor": [[0.5, 0.25, 0.125]], "roughness": 0.25'),
    network('"Kd": [[0.5, 0.25, 0.125]], "sheenColor": [[1.0, 0.0, 0.5]], "thickness": 0.0'),
    network('"transmission": 1.0, "ior": 1.25, "attenuationColor": [[0.5, 1.0, 1.0]]'),
    network('"opacity": 0.5, "alphaCutoff": 0.25, "specular": 0.5, "metalness": 0.0'),
    network(
        '"baseColor": [[0.5, 0.5, 0.5]]',
        """, "dots": {"name": "dots", "type": "checker", "parameters": {"scale": [4.0, 8.0]}}""",
        '"baseColor": "out@dots"',
    ),
    group_of('{"surfaceShader": "plastic", "surfaceParams": {"color": [[1.0, 0.0, 0.5]]}}'),
    network('"roughness": {"$type": "float", "times": [0, 10], "samples": [[0.25], [0.75]]}'),
]


@pytest.mark.parametrize("group", MATERIALS)
def test_a_material_comes_back_as_it_was(stage: Any, group: tellar.Group) -> None:
    assert again(exported(stage, group)) == group


def test_an_edited_prim_is_imported_anew(stage: Any) -> None:
    prim = exported(stage, MATERIALS[1])
    UsdShade.Shader(prim.GetChild("surface")).GetInput("roughness").Set(0.9)
    found = again(prim)
    assert found != MATERIALS[1]
    assert found["nodes.surface.parameters.roughness"] == pytest.approx(0.9)


def test_what_usd_says_completely_is_not_remembered(stage: Any) -> None:
    prim = exported(stage, MATERIALS[1])
    prim.ClearCustomData()
    imported = again(prim)
    other = export_material(imported, stage, "/Looks/other").GetPrim()
    assert not other.HasCustomDataKey("tellar")
    assert again(other) == imported


def test_a_preview_surface_looks_like_the_material(stage: Any) -> None:
    inputs = surface_inputs(exported(stage, network(
        '"baseColor": [[0.5, 0.25, 0.125]], "metalness": 1.0, "coat": 0.5, "emission": '
        '[[1.0, 2.0, 4.0]], "emissionStrength": 2.0')))
    assert inputs["diffuseColor"] == Gf.Vec3f(0.5, 0.25, 0.125)
    assert inputs["metallic"] == 1
    assert inputs["clearcoat"] == 0.5
    assert inputs["emissiveColor"] == Gf.Vec3f(2, 4, 8)


def test_what_is_exposed_replaces_the_nodes_values(stage: Any) -> None:
    group = tellar.group({
        **{name: MATERIALS[0][name] for name in MATERIALS[0]},
        "parameters": {"wear": 0.75},
        "interface": {"wear": {"src": "surface.roughness"}},
    })
    prim = exported(stage, group)
    assert surface_inputs(prim)["roughness"] == 0.75
    assert again(prim) == group


def test_glass_and_half_of_it_have_an_opacity(stage: Any) -> None:
    assert surface_inputs(exported(stage, MATERIALS[2]))["opacity"] == 0
    half = UsdShade.Material.Define(stage, "/half")
    shader = UsdShade.Shader.Define(stage, "/half/surface")
    shader.CreateIdAttr("UsdPreviewSurface")
    shader.CreateInput("diffuseColor", Sdf.ValueTypeNames.Color3f).Set(Gf.Vec3f(0.8, 0.4, 0.2))
    shader.CreateInput("opacity", Sdf.ValueTypeNames.Float).Set(0.25)
    half.CreateSurfaceOutput().ConnectToSource(shader.ConnectableAPI(), "surface")
    inputs = surface_inputs(exported(stage, again(half.GetPrim())))
    assert inputs["opacity"] == pytest.approx(0.25, abs=1e-5)
    assert tuple(inputs["diffuseColor"]) == pytest.approx((0.8, 0.4, 0.2), abs=1e-5)


IMAGE = """, "wood": {"name": "wood", "type": "image", "parameters": {"file": "/wood.png",
    "uvSet": "UVMap", "wrapU": "mirror", "wrapV": "decal", "colorSpace": "srgb",
    "multiply": [[0.5, 0.25, 1.0, 1.0]]}, "connections": {"uv": "out@move"}},
    "move": {"name": "move", "type": "uvTransform", "parameters": {"uvSet": "UVMap",
    "offset": [[0.5, 0.25]], "scale": [[2.0, 4.0]], "rotation": 0.5}}"""


def test_textures_and_their_coordinates_are_written(stage: Any) -> None:
    group = network('"roughness": 0.5', IMAGE, '"baseColor": "out@wood", "roughness": "g@wood"')
    prim = exported(stage, group, texture_of=beside)
    inputs = surface_inputs(prim, "wood")
    assert inputs["file"].path == "./wood.png"
    assert (inputs["wrapS"], inputs["wrapT"]) == ("mirror", "black")
    assert inputs["sourceColorSpace"] == "sRGB"
    assert inputs["scale"] == Gf.Vec4f(0.5, 0.25, 1, 1)
    moved = surface_inputs(prim, "wood_transform")
    assert moved["scale"] == Gf.Vec2f(2, 4)
    assert moved["rotation"] == pytest.approx(math.degrees(0.5))
    assert surface_inputs(prim, "wood_uv")["varname"] == "UVMap"
    surface = UsdShade.Shader(prim.GetChild("surface"))
    producer = surface.GetInput("roughness").GetValueProducingAttributes()[0]
    assert producer.GetName() == "outputs:g"
    assert again(prim) == group


def test_a_normal_map_gets_the_scale_and_bias_of_directions(stage: Any) -> None:
    group = network('"normalScale": 0.5', IMAGE.replace("[[0.5, 0.25, 1.0, 1.0]]", "1.0"),
                    '"normal": "out@wood"')
    inputs = surface_inputs(exported(stage, group), "wood")
    assert inputs["scale"] == Gf.Vec4f(1, 1, 2, 1)
    assert inputs["bias"] == Gf.Vec4f(-0.5, -0.5, -1, 0)
    assert inputs["sourceColorSpace"] == "raw"


def test_the_materials_of_the_examples_come_back(examples: Path) -> None:
    count = 0
    for name in ("materials.json", "garden.json"):
        for location in tellar.open(examples / name).walk("/root"):
            group = location.get("material")
            if isinstance(group, tellar.Group) and location.type == "material":
                count += 1
                assert again(exported(Usd.Stage.CreateInMemory(), group)) == group
    assert count > 10


# Lights

LIGHTS = [
    '{"type": "directional", "color": [[1.0, 0.5, 0.25]], "intensity": 3.0, "angle": 1.5}',
    '{"type": "directional", "intensity": 3.0, "decay": [[1.0, 0.0, 0.0]]}',
    '{"type": "area", "intensity": 2.0, "exposure": 1.0, "size": [[2.0, 3.0]]}',
    '{"type": "point", "intensity": 40.0, "range": 15.0}',
    '{"type": "point", "intensity": 40.0, "radius": 0.5}',
    '{"type": "spot", "intensity": 40.0, "radius": 0.5, "coneInner": 20.0, "coneOuter": 50.0}',
    '{"type": "environment", "texture": "/sky.exr", "intensity": 2.0}',
    '{"type": "environment", "horizon": [[0.5, 0.5, 1.0]], "ground": [[0.25, 0.5, 0.25]]}',
    '{"type": "ambient", "intensity": 0.5}',
    '{"type": "area", "intensity": {"$type": "float", "times": [0, 10], "samples": [[1], [3]]}}',
]


def light_again(prim: Any) -> tellar.Group:
    stage = Usd.Stage.CreateInMemory()
    stage.GetRootLayer().ImportFromString(prim.GetStage().GetRootLayer().ExportToString())
    found = import_light(stage.GetPrimAtPath(prim.GetPath()), ImportContext(stage))
    assert found is not None
    return tellar.group({name: found[name] for name in ("light", "material") if name in found})


@pytest.mark.parametrize("text", LIGHTS)
def test_a_light_comes_back_as_it_was(stage: Any, text: str) -> None:
    attributes = group_of(f'{{"light": {text}, "material": {{"style": "network"}}}}')
    prim = export_light(attributes, stage, "/light")
    assert prim is not None
    assert light_again(prim) == attributes


@pytest.mark.parametrize("text", [LIGHTS[index] for index in (0, 2, 4, 5, 6)])
def test_a_light_shines_the_same_for_those_who_know_only_usd(stage: Any, text: str) -> None:
    light = group_of(f'{{"light": {text}}}')
    UsdGeom.Xform.Define(stage, "/light").AddScaleOp().Set(Gf.Vec3f(2, 2, 2))
    prim = export_light(light, stage, "/light")
    assert prim is not None
    prim.ClearCustomData()
    found = light_again(prim)["light"]
    assert isinstance(found, tellar.Group)
    expected = json.loads(text)
    assert sorted(found) == sorted(expected)
    for name, value in expected.items():
        actual: Any = found[name]
        if isinstance(value, str):
            assert actual == value
        else:
            flat = value[0] if isinstance(value, list) else [value]
            assert actual.ravel().tolist() == pytest.approx(flat, rel=1e-5)


def test_a_dome_shows_a_picture_where_the_environment_does(stage: Any) -> None:
    location = Gf.Matrix4d().SetRotate(Gf.Rotation(Gf.Vec3d(1, 2, 3), 40))
    assert Gf.IsClose(dome_matrix(dome_matrix(location)), location, 1e-12)
    assert dome_matrix(location).TransformDir(Gf.Vec3d(0, 0, 1)) == location.TransformDir(
        Gf.Vec3d(0, 0, -1))


def test_unknown_lights_are_not_written(stage: Any) -> None:
    assert export_light(group_of('{"light": {"type": "laser"}}'), stage, "/light") is None
    assert export_light(group_of('{"type": "light"}'), stage, "/light") is None
    assert not stage.GetPrimAtPath("/light")


def test_usd_finds_nothing_wrong(stage: Any, tmp_path: Path) -> None:
    (tmp_path / "wood.png").write_bytes(b"")
    (tmp_path / "sky.exr").write_bytes(b"")
    UsdGeom.SetStageUpAxis(stage, UsdGeom.Tokens.y)
    stage.SetDefaultPrim(UsdGeom.Xform.Define(stage, "/all").GetPrim())
    image = IMAGE.replace("[[0.5, 0.25, 1.0, 1.0]]", "1.0")
    textured = network('"roughness": 0.5', image, '"baseColor": "out@wood", "normal": "out@wood"')
    for index, group in enumerate([*MATERIALS, textured]):
        export_material(group, stage, f"/all/look{index}", texture_of=beside)
    for index, text in enumerate(LIGHTS):
        light = group_of(f'{{"light": {text}}}')
        assert export_light(light, stage, f"/all/light{index}", texture_of=beside)
    file = str(tmp_path / "looks.usda")
    stage.GetRootLayer().Export(file)
    validators = UsdValidation.ValidationRegistry().GetOrLoadAllValidators()
    found = UsdValidation.ValidationContext(validators).Validate(Usd.Stage.Open(file))
    assert [error.GetMessage() for error in found] == []


def beside(file: str) -> str:
    """A file in the root folder as one in the layer's folder."""
    return "." + file


# Values as text


@pytest.mark.parametrize(
    "value",
    [
        1, 2.5, "text", None, [1, 2], [[1.5, 2], [3, 4]], ["a", "b"], [math.inf, -math.inf],
        {"a": {"b": 1, "c": [0.5]}, "d": "x"},
        tellar.attribute([0.1, 0.2], "float"), tellar.attribute([], "double"),
        tellar.samples({-0.5: [1.0, 2], 0.5: [3.0, 4]}), tellar.samples({0: "a", 1: "b"}),
        tellar.group({"a": 1}, inherit=False),
    ],
)
def test_values_come_back_from_their_text(value: Any) -> None:
    known = (tellar.Attribute, tellar.Group)
    attribute = value if isinstance(value, known) else tellar.attribute(value)
    assert value_from_json(attribute.to_json(-1)) == attribute


@pytest.mark.parametrize("text", ["", "{", '{"$type": "float"}', '{"$type": "x", "values": [1]}'])
def test_other_texts_are_refused(text: str) -> None:
    with pytest.raises(ValueError):
        value_from_json(text)

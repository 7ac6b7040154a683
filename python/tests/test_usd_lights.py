"""Lights of USD stages: values, units and what is kept."""

from __future__ import annotations

import math
from typing import Any

import numpy as np
import pytest

pytest.importorskip("pxr", reason="the USD bridge needs usd-core")

from pxr import Gf, Sdf, Usd, UsdGeom, UsdLux

import tellar
import tellar.usd
from tellar.usd.context import ImportContext
from tellar.usd.lights import import_light


@pytest.fixture
def stage() -> Any:
    stage = Usd.Stage.CreateInMemory()
    UsdGeom.SetStageMetersPerUnit(stage, 1.0)
    return stage


def imported(light: Any, context: ImportContext | None = None) -> dict[str, Any]:
    prim = light.GetPrim()
    attributes = import_light(prim, context or ImportContext(prim.GetStage()))
    assert attributes is not None
    assert attributes["type"] == "light"
    return attributes


def numbers(value: Any) -> list[float]:
    array = value.value if isinstance(value, tellar.Attribute) else value
    found: list[float] = np.ravel(array).tolist()
    return found


def light_of(light: Any, context: ImportContext | None = None) -> dict[str, Any]:
    found = imported(light, context)["light"]
    return {k: v if isinstance(v, str) else pytest.approx(numbers(v), rel=1e-5)
            for k, v in found.items()}


def test_a_distant_light_has_the_irradiance_of_its_disk(stage: Any) -> None:
    light = UsdLux.DistantLight.Define(stage, "/sun")
    light.CreateAngleAttr(10.0)
    light.CreateIntensityAttr(100.0)
    expected = 100 * math.pi * math.sin(math.radians(5)) ** 2
    assert light_of(light) == {"type": "directional", "intensity": [expected], "angle": [10]}


def test_a_normalized_distant_light_has_its_intensity_as_irradiance(stage: Any) -> None:
    light = UsdLux.DistantLight.Define(stage, "/sun")
    light.CreateNormalizeAttr(True)
    light.CreateIntensityAttr(3.0)
    light.CreateExposureAttr(2.0)
    light.CreateColorAttr(Gf.Vec3f(1, 0.5, 0.25))
    expected = {"type": "directional", "intensity": [3], "exposure": [2], "angle": [0.53],
                "color": [1, 0.5, 0.25]}
    assert light_of(light) == expected


def test_a_rect_light_is_an_area_of_the_same_radiance(stage: Any) -> None:
    light = UsdLux.RectLight.Define(stage, "/panel")
    light.CreateWidthAttr(4.0)
    light.CreateHeightAttr(2.0)
    light.CreateIntensityAttr(5.0)
    assert light_of(light) == {"type": "area", "intensity": [5], "size": [4, 2]}


def test_a_normalized_rect_light_is_divided_by_its_area_in_the_world(stage: Any) -> None:
    light = UsdLux.RectLight.Define(stage, "/panel")
    light.AddScaleOp().Set(Gf.Vec3f(3, 2, 7))
    light.CreateWidthAttr(4.0)
    light.CreateHeightAttr(2.0)
    light.CreateNormalizeAttr(True)
    assert light_of(light) == {"type": "area", "intensity": [1 / 48], "size": [4, 2]}


def test_a_disk_light_is_a_square_of_its_area_and_counted(stage: Any) -> None:
    light = UsdLux.DiskLight.Define(stage, "/disk")
    light.CreateRadiusAttr(2.0)
    context = ImportContext(stage)
    side = 2 * math.sqrt(math.pi)
    assert light_of(light, context) == {"type": "area", "intensity": [1], "size": [side, side]}
    assert context.summary.lost.total() == 1


def test_a_sphere_light_is_a_point_with_a_radius_in_the_units_of_the_scene(stage: Any) -> None:
    UsdGeom.SetStageMetersPerUnit(stage, 0.01)
    light = UsdLux.SphereLight.Define(stage, "/bulb")
    light.AddScaleOp().Set(Gf.Vec3f(2, 2, 2))
    light.CreateRadiusAttr(50.0)
    light.CreateIntensityAttr(10.0)
    expected = {"type": "point", "intensity": [10 * math.pi], "radius": [1]}
    assert light_of(light) == expected


def test_a_normalized_sphere_light_shines_the_same_for_every_radius(stage: Any) -> None:
    for radius in (0.5, 3.0):
        light = UsdLux.SphereLight.Define(stage, "/bulb")
        light.CreateRadiusAttr(radius)
        light.CreateNormalizeAttr(True)
        light.CreateIntensityAttr(8.0)
        assert light_of(light) == {"type": "point", "intensity": [2], "radius": [radius]}


def test_a_sphere_light_that_is_treated_as_a_point_has_no_radius(stage: Any) -> None:
    light = UsdLux.SphereLight.Define(stage, "/bulb")
    light.CreateTreatAsPointAttr(True)
    assert light_of(light) == {"type": "point", "intensity": [math.pi / 4]}


def test_a_cylinder_light_is_a_sphere_of_its_area_and_counted(stage: Any) -> None:
    light = UsdLux.CylinderLight.Define(stage, "/tube")
    light.CreateRadiusAttr(0.5)
    light.CreateLengthAttr(4.0)
    context = ImportContext(stage)
    assert light_of(light, context) == {"type": "point", "intensity": [math.pi], "radius": [1]}
    assert context.summary.lost.total() == 1


def test_a_cone_makes_a_spot_whose_angles_are_whole(stage: Any) -> None:
    light = UsdLux.SphereLight.Define(stage, "/spot")
    shaping = UsdLux.ShapingAPI.Apply(light.GetPrim())
    shaping.CreateShapingConeAngleAttr(20.0)
    shaping.CreateShapingConeSoftnessAttr(0.25)
    expected = {"type": "spot", "intensity": [math.pi / 4], "radius": [0.5],
                "coneOuter": [40], "coneInner": [30]}
    assert light_of(light) == expected


def test_a_color_temperature_tints_the_color_only_when_it_is_enabled(stage: Any) -> None:
    light = UsdLux.RectLight.Define(stage, "/panel")
    light.CreateColorTemperatureAttr(3000.0)
    assert "color" not in light_of(light)
    light.CreateEnableColorTemperatureAttr(True)
    light.CreateColorAttr(Gf.Vec3f(1, 0.5, 1))
    tint = UsdLux.BlackbodyTemperatureAsRgb(3000)
    assert light_of(light)["color"] == [tint[0], tint[1] / 2, tint[2]]


def direction_in_the_middle(light: Any) -> Any:
    """Where a scene's environment shows the middle of its picture: what -Z becomes."""
    matrix = Gf.Matrix4d(*numbers(imported(light)["xform"]["matrixAim"]))
    assert matrix.GetDeterminant() == 1
    return matrix.TransformDir(Gf.Vec3d(0, 0, -1)), matrix.TransformDir(Gf.Vec3d(0, 1, 0))


def test_a_dome_shows_the_middle_of_its_texture_along_z(stage: Any, tmp_path: Any) -> None:
    stage = Usd.Stage.CreateNew(str(tmp_path / "dome.usda"))
    light = UsdLux.DomeLight.Define(stage, "/sky")
    light.CreateTextureFileAttr("./sky.exr")
    found = imported(light)["light"]
    assert found["type"] == "environment"
    assert found["texture"] == str(tmp_path / "sky.exr")
    middle, pole = direction_in_the_middle(light)
    assert middle == Gf.Vec3d(0, 0, 1)
    assert pole == Gf.Vec3d(0, 1, 0)


def test_a_dome_with_the_pole_of_the_scene_follows_the_up_axis(stage: Any) -> None:
    light = UsdLux.DomeLight_1.Define(stage, "/sky")
    UsdGeom.SetStageUpAxis(stage, UsdGeom.Tokens.y)
    assert direction_in_the_middle(light)[1] == Gf.Vec3d(0, 1, 0)
    UsdGeom.SetStageUpAxis(stage, UsdGeom.Tokens.z)
    middle, pole = direction_in_the_middle(light)
    assert (middle, pole) == (Gf.Vec3d(0, -1, 0), Gf.Vec3d(0, 0, 1))
    light.CreatePoleAxisAttr("Y")
    assert direction_in_the_middle(light)[1] == Gf.Vec3d(0, 1, 0)


def test_an_animated_intensity_keeps_its_samples(stage: Any) -> None:
    light = UsdLux.RectLight.Define(stage, "/panel")
    light.CreateIntensityAttr().Set(1.0, 1)
    light.GetIntensityAttr().Set(3.0, 11)
    intensity = imported(light, ImportContext(stage, frame=1.0))["light"]["intensity"]
    assert intensity.times == [0, 10]
    assert numbers(intensity.interpolated(5)) == [2]


def test_what_is_not_understood_is_kept_and_counted(stage: Any) -> None:
    light = UsdLux.RectLight.Define(stage, "/panel")
    light.CreateDiffuseAttr(0.5)
    light.CreateSpecularAttr(1.0)
    links = UsdLux.LightAPI(light).GetLightLinkCollectionAPI()
    links.CreateIncludesRel().SetTargets(["/ball"])
    context = ImportContext(stage)
    usd = imported(light, context)["usd"]
    assert numbers(usd["attributes"]["inputs:diffuse"]) == [0.5]
    assert "inputs:specular" not in usd["attributes"]
    assert usd["relationships"]["collection:lightLink:includes"].value == "/ball"
    assert context.summary.kept.total() == 2


def test_lights_that_no_scene_has_are_counted(stage: Any) -> None:
    context = ImportContext(stage)
    assert import_light(UsdLux.PortalLight.Define(stage, "/portal").GetPrim(), context) is None
    assert context.summary.lost.total() == 1
    assert import_light(UsdGeom.Xform.Define(stage, "/group").GetPrim(), context) is None
    assert context.summary.lost.total() == 1


def test_textures_are_relative_to_the_layer_that_names_them(tmp_path: Any) -> None:
    (tmp_path / "sub").mkdir()
    (tmp_path / "sub" / "sky.png").write_bytes(b"")
    layer = Usd.Stage.CreateNew(str(tmp_path / "sub" / "sky.usda"))
    light = UsdLux.DomeLight.Define(layer, "/sky")
    light.CreateTextureFileAttr(Sdf.AssetPath("sky.png"))
    layer.SetDefaultPrim(light.GetPrim())
    layer.Save()
    stage = Usd.Stage.CreateNew(str(tmp_path / "shot.usda"))
    prim = stage.DefinePrim("/dome")
    prim.GetReferences().AddReference("./sub/sky.usda")
    found = import_light(prim, ImportContext(stage))
    assert found is not None
    assert found["light"]["texture"] == str(tmp_path / "sub" / "sky.png")


def test_an_import_turns_a_dome_before_its_own_matrix(stage: Any) -> None:
    light = UsdLux.DomeLight.Define(stage, "/sky")
    light.AddTranslateOp().Set(Gf.Vec3d(1, 2, 3))
    light.CreateDiffuseAttr(0.5)
    UsdLux.LightAPI(light).GetLightLinkCollectionAPI().CreateIncludesRel().SetTargets(["/ball"])
    result = tellar.usd.import_usd(stage)
    attributes = result.description["stage.opArgs.c.sky.a"]
    assert isinstance(attributes, tellar.Group)
    xform = attributes["xform"]
    assert isinstance(xform, tellar.Group)
    # The last transform acts first.
    assert list(xform) == ["matrix", "matrixAim"]
    assert numbers(xform["matrix"])[12:15] == [1, 2, 3]
    assert attributes["usd.attributes.inputs:diffuse"] is not None
    assert attributes["usd.relationships.collection:lightLink:includes"] == "/ball"
    assert result.summary.kept.total() == 2


def test_values_that_are_no_numbers_do_no_harm(stage: Any) -> None:
    light = UsdLux.CylinderLight.Define(stage, "/tube")
    light.CreateEnableColorTemperatureAttr(True)
    light.CreateColorTemperatureAttr(math.nan)
    light.CreateRadiusAttr(-1.0)
    assert light_of(light) == {"type": "point", "intensity": [0]}

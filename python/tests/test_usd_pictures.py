"""Pictures of imported stages: brightness that follows from the values, colors and places."""

from __future__ import annotations

import math
import struct
import zlib
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pytest

pytest.importorskip("pxr", reason="the USD bridge needs usd-core")

from pxr import Gf, Sdf, Usd, UsdGeom, UsdLux, UsdShade

import tellar
import tellar.usd

Types = Sdf.ValueTypeNames
SIZE = 8  # pixels


def new_stage(looks_down: bool, width: float = 2.0) -> Any:
    """A stage with a camera without perspective that looks at the origin, along -Y or -Z."""
    stage = Usd.Stage.CreateInMemory()
    UsdGeom.SetStageMetersPerUnit(stage, 1.0)
    UsdGeom.SetStageUpAxis(stage, UsdGeom.Tokens.y)
    camera = UsdGeom.Camera.Define(stage, "/camera")
    camera.CreateProjectionAttr(UsdGeom.Tokens.orthographic)
    camera.CreateHorizontalApertureAttr(10 * width)  # in tenths of units
    camera.CreateVerticalApertureAttr(10 * width)
    camera.AddTranslateOp().Set(Gf.Vec3d(0, 20, 0) if looks_down else Gf.Vec3d(0, 0, 20))
    if looks_down:
        camera.AddRotateXOp().Set(-90.0)
    return stage


def square(stage: Any, half: float, is_flat: bool, **inputs: Any) -> Any:
    """A square with a UsdPreviewSurface, in the plane XZ or XY. Returns its shader."""
    shape = UsdGeom.Mesh.Define(stage, "/square")
    corners = [(-half, -half), (half, -half), (half, half), (-half, half)]
    shape.CreatePointsAttr([(x, 0, -y) if is_flat else (x, y, 0) for x, y in corners])
    shape.CreateFaceVertexCountsAttr([4])
    shape.CreateFaceVertexIndicesAttr([0, 1, 2, 3])
    shape.CreateSubdivisionSchemeAttr("none")
    UsdGeom.PrimvarsAPI(shape).CreatePrimvar("map1", Types.TexCoord2fArray, "vertex").Set(
        [(0, 0), (1, 0), (1, 1), (0, 1)])
    material = UsdShade.Material.Define(stage, "/look")
    shader = UsdShade.Shader.Define(stage, "/look/surface")
    shader.CreateIdAttr("UsdPreviewSurface")
    for name, value in inputs.items():
        kind = Types.Float if isinstance(value, float) else Types.Color3f
        shader.CreateInput(name, kind).Set(value)
    material.CreateSurfaceOutput().ConnectToSource(shader.ConnectableAPI(), "surface")
    UsdShade.MaterialBindingAPI.Apply(shape.GetPrim()).Bind(material)
    return shader


def picture(stage: Any, folder: Path, samples: int = 64) -> Any:
    """The linear colors of a render, as (row, column, 3)."""
    op_file = folder / "stage.oxop"
    tellar.write_op_file(tellar.usd.import_usd(stage).description, op_file)
    file = tellar.render(tellar.open(op_file), folder / "picture.png", samples=samples,
                         camera="/root/world/camera", resolution=f"{SIZE}x{SIZE}", light="scene")
    coded = read_png(file)[:, :, :3] / 255.0
    return np.where(coded < 0.04045, coded / 12.92, ((coded + 0.055) / 1.055) ** 2.4)


def read_png(path: Path) -> Any:
    """The values of a PNG file with 8 bits a channel, as (row, column, channel)."""
    data, place, packed = path.read_bytes(), 8, b""
    width, height, depth, kind = struct.unpack(">IIBB", data[16:26])
    assert depth == 8
    while place < len(data):
        (size,) = struct.unpack(">I", data[place:place + 4])
        if data[place + 4:place + 8] == b"IDAT":
            packed += data[place + 8:place + 8 + size]
        place += size + 12
    channels = {2: 3, 6: 4}[kind]
    rows = np.frombuffer(zlib.decompress(packed), np.uint8).reshape(height, -1)
    above = np.zeros(width * channels, int)
    result = []
    for row in rows:
        above = unfiltered(int(row[0]), row[1:].astype(int), above, channels)
        result.append(above)
    return np.array(result, float).reshape(height, width, channels)


def unfiltered(kind: int, row: Any, above: Any, step: int) -> Any:
    """A row of a PNG file whose values are told by their difference from neighbours."""
    for i in range(len(row)):
        left = row[i - step] if i >= step else 0
        corner = above[i - step] if i >= step else 0
        up = above[i]
        guess = left + up - corner
        nearest = min((left, up, corner), key=lambda one: abs(guess - one))
        row[i] = (row[i] + (0, left, up, (left + up) // 2, nearest)[kind]) % 256
    return row


def write_png(path: Path, rows: list[list[tuple[int, int, int]]]) -> None:
    data = b"".join(b"\0" + bytes(value for texel in row for value in texel) for row in rows)

    def chunk(kind: bytes, body: bytes) -> bytes:
        return struct.pack(">I", len(body)) + kind + body + struct.pack(
            ">I", zlib.crc32(kind + body))

    header = struct.pack(">IIBBBBB", len(rows[0]), len(rows), 8, 2, 0, 0, 0)
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header)
                     + chunk(b"IDAT", zlib.compress(data)) + chunk(b"IEND", b""))


# Lights: each gives the irradiance pi, so that a surface of the albedo 1/2 has the radiance 1/2.


def sun(stage: Any) -> Any:
    light = UsdLux.DistantLight.Define(stage, "/light")
    light.CreateNormalizeAttr(True)
    light.CreateIntensityAttr(math.pi)
    light.AddRotateXOp().Set(-90.0)
    return light


def wide_sun(stage: Any) -> Any:
    light = UsdLux.DistantLight.Define(stage, "/light")
    light.CreateAngleAttr(20.0)
    light.CreateIntensityAttr(1 / math.sin(math.radians(10)) ** 2)
    light.AddRotateXOp().Set(-90.0)
    return light


def dome(stage: Any) -> Any:
    light = UsdLux.DomeLight.Define(stage, "/light")
    light.CreateIntensityAttr(0.25)
    light.CreateExposureAttr(2.0)
    return light


def bulb(stage: Any) -> Any:
    """A sphere gives L pi (radius / distance)^2; this one is twice as large as it says."""
    light = UsdLux.SphereLight.Define(stage, "/light")
    light.CreateRadiusAttr(0.25)
    light.CreateIntensityAttr((10 / 0.5) ** 2)
    light.AddTranslateOp().Set(Gf.Vec3d(0, 10, 0))
    light.AddScaleOp().Set(Gf.Vec3f(2))
    return light


def panel(stage: Any) -> Any:
    """A small area gives L area / distance^2; normalized, the intensity is L times the area."""
    light = UsdLux.RectLight.Define(stage, "/light")
    light.CreateWidthAttr(0.2)
    light.CreateHeightAttr(0.3)
    light.CreateNormalizeAttr(True)
    light.CreateIntensityAttr(100 * math.pi)
    light.AddTranslateOp().Set(Gf.Vec3d(0, 10, 0))
    light.AddRotateXOp().Set(-90.0)
    light.AddScaleOp().Set(Gf.Vec3f(0.5))
    return light


def disk(stage: Any) -> Any:
    light = UsdLux.DiskLight.Define(stage, "/light")
    light.CreateRadiusAttr(0.2)
    light.CreateIntensityAttr(100 / 0.2 ** 2)
    light.AddTranslateOp().Set(Gf.Vec3d(0, 10, 0))
    light.AddRotateXOp().Set(-90.0)
    return light


def spot(stage: Any) -> Any:
    light = bulb(stage)
    light.AddRotateXOp().Set(-90.0)
    UsdLux.ShapingAPI.Apply(light.GetPrim()).CreateShapingConeAngleAttr(30.0)
    return light


@pytest.mark.parametrize("make", [sun, wide_sun, dome, bulb, panel, disk, spot])
def test_a_light_gives_the_irradiance_that_usdlux_defines(
    make: Callable[[Any], Any], tmp_path: Path
) -> None:
    stage = new_stage(looks_down=True, width=0.2)
    make(stage)
    half = Gf.Vec3f(0.5, 0.5, 0.5)
    square(stage, 50.0, True, diffuseColor=half, roughness=1.0, ior=1.0)
    assert picture(stage, tmp_path).mean() == pytest.approx(0.5, rel=0.02)


def test_a_unit_of_centimetres_changes_no_brightness(tmp_path: Path) -> None:
    stage = new_stage(looks_down=True, width=0.2)
    UsdGeom.SetStageMetersPerUnit(stage, 0.01)
    bulb(stage)
    half = Gf.Vec3f(0.5, 0.5, 0.5)
    square(stage, 50.0, True, diffuseColor=half, roughness=1.0, ior=1.0)
    assert picture(stage, tmp_path).mean() == pytest.approx(0.5, rel=0.02)


# Materials


def test_emission_is_a_radiance(tmp_path: Path) -> None:
    stage = new_stage(looks_down=False)
    square(stage, 5.0, False, diffuseColor=Gf.Vec3f(0), emissiveColor=Gf.Vec3f(0.5, 0.25, 0.125))
    found = picture(stage, tmp_path, samples=4)
    assert found.mean(axis=(0, 1)) == pytest.approx([0.5, 0.25, 0.125], rel=0.02)


def test_a_texture_stands_upright_on_the_primvar_that_its_reader_names(tmp_path: Path) -> None:
    red, green, blue, white = (188, 0, 0), (0, 188, 0), (0, 0, 188), (188, 188, 188)
    file = tmp_path / "quarters.png"
    write_png(file, [[red] * 8 + [green] * 8] * 8 + [[blue] * 8 + [white] * 8] * 8)
    stage = new_stage(looks_down=False)
    surface = square(stage, 1.0, False, diffuseColor=Gf.Vec3f(0))
    reader = UsdShade.Shader.Define(stage, "/look/reader")
    reader.CreateIdAttr("UsdPrimvarReader_float2")
    reader.CreateInput("varname", Types.String).Set("map1")
    texture = UsdShade.Shader.Define(stage, "/look/texture")
    texture.CreateIdAttr("UsdUVTexture")
    texture.CreateInput("file", Types.Asset).Set(str(file))
    texture.CreateInput("sourceColorSpace", Types.Token).Set("sRGB")
    texture.CreateInput("st", Types.Float2).ConnectToSource(reader.ConnectableAPI(), "result")
    emission = surface.CreateInput("emissiveColor", Types.Color3f)
    emission.ConnectToSource(texture.ConnectableAPI(), "rgb")
    found = picture(stage, tmp_path, samples=4)
    light = ((188 / 255 + 0.055) / 1.055) ** 2.4
    for row, column, color in ((1, 1, (1, 0, 0)), (1, 6, (0, 1, 0)), (6, 1, (0, 0, 1)),
                               (6, 6, (1, 1, 1))):
        expected = [light * one for one in color]
        assert found[row, column] == pytest.approx(expected, rel=0.03, abs=0.01)


def test_the_mode_presence_shows_what_is_behind(tmp_path: Path) -> None:
    stage = new_stage(looks_down=False)
    dome(stage)
    surface = square(stage, 5.0, False, diffuseColor=Gf.Vec3f(0), opacity=0.25, ior=1.0)
    surface.CreateInput("opacityMode", Types.Token).Set("presence")
    assert picture(stage, tmp_path).mean() == pytest.approx(0.75, rel=0.05)


def test_clear_glass_shows_the_sky(tmp_path: Path) -> None:
    stage = new_stage(looks_down=False)
    light = UsdLux.DomeLight.Define(stage, "/light")
    light.CreateIntensityAttr(0.5)
    square(stage, 5.0, False, diffuseColor=Gf.Vec3f(0), opacity=0.0, roughness=0.0)
    assert picture(stage, tmp_path).mean() == pytest.approx(0.5, rel=0.05)

#!/usr/bin/env python3
"""Writes pier.usda, a pier with lanterns at dusk, and the picture of its sky, pier_sky.png.

    python3 examples/make_usd_scene.py [folder]

Needs usd-core (pip install usd-core). The output depends only on this file and on the version of
usd-core. Units are metres, +Y is up, and the pier leads along -Z.
"""

import math
import random
import struct
import sys
import zlib
from pathlib import Path

from pxr import Gf, Kind, Sdf, Usd, UsdGeom, UsdLux, UsdShade

TYPES = Sdf.ValueTypeNames
FIRST, LAST = 1, 48
DECK = 0.9  # height of the planks above the water
SUN = -158  # where the sun is, in degrees around +Y from +Z
SIDE = 1.1  # from the middle of the pier to its posts


# Materials ---------------------------------------------------------------------------------------


def preview(stage, name, **inputs):
    """A material of one UsdPreviewSurface."""
    material = UsdShade.Material.Define(stage, f"/Pier/Looks/{name}")
    shader = UsdShade.Shader.Define(stage, f"/Pier/Looks/{name}/surface")
    shader.CreateIdAttr("UsdPreviewSurface")
    for key, value in inputs.items():
        kind = TYPES.Color3f if isinstance(value, tuple) else TYPES.Float
        shader.CreateInput(key, kind).Set(value)
    material.CreateSurfaceOutput().ConnectToSource(shader.ConnectableAPI(), "surface")
    return material


def node(stage, name, identifier, kind, **inputs):
    """A shader of MaterialX with its output."""
    shader = UsdShade.Shader.Define(stage, f"/Pier/Looks/{name}")
    shader.CreateIdAttr(identifier)
    for key, value in inputs.items():
        types = {tuple: TYPES.Color3f, bool: TYPES.Bool, float: TYPES.Float, str: TYPES.String,
                 Gf.Vec2f: TYPES.Float2}
        if isinstance(value, UsdShade.Output):
            shader.CreateInput(key, value.GetTypeName()).ConnectToSource(value)
        else:
            shader.CreateInput(key, types[type(value)]).Set(value)
    return shader.CreateOutput("out", kind)


def standard(stage, name, **inputs):
    """A material of one standard surface of MaterialX."""
    material = UsdShade.Material.Define(stage, f"/Pier/Looks/{name}")
    output = node(stage, f"{name}/surface", "ND_standard_surface_surfaceshader", TYPES.Token,
                  **inputs)
    material.CreateSurfaceOutput("mtlx").ConnectToSource(output)
    return material


def make_looks(stage):
    UsdGeom.Scope.Define(stage, "/Pier/Looks")
    looks = {
        "plank": preview(stage, "plank", diffuseColor=(0.32, 0.2, 0.11), roughness=0.7),
        "grey_plank": preview(stage, "grey_plank", diffuseColor=(0.24, 0.2, 0.16), roughness=0.8),
        "post": preview(stage, "post", diffuseColor=(0.16, 0.1, 0.06), roughness=0.6),
        "glow": preview(stage, "glow", diffuseColor=(0.0, 0.0, 0.0),
                        emissiveColor=(9.0, 4.4, 1.5)),
        "brass": preview(stage, "brass", diffuseColor=(0.88, 0.66, 0.3), metallic=1.0,
                         roughness=0.28),
        "iron": preview(stage, "iron", diffuseColor=(0.3, 0.3, 0.32), metallic=1.0, roughness=0.5),
        "red": preview(stage, "red", diffuseColor=(0.62, 0.04, 0.03), roughness=0.5,
                       clearcoat=1.0, clearcoatRoughness=0.08),
        "white": preview(stage, "white", diffuseColor=(0.8, 0.8, 0.76), roughness=0.45),
        "stone": preview(stage, "stone", diffuseColor=(0.3, 0.29, 0.28), roughness=0.9),
        "water": preview(stage, "water", diffuseColor=(0.006, 0.02, 0.028), roughness=0.06,
                         ior=1.33),
        "green_glass": standard(stage, "green_glass", transmission=1.0, specular_roughness=0.0,
                                transmission_color=(0.25, 0.8, 0.45), transmission_depth=0.3),
        "amber_glass": standard(stage, "amber_glass", transmission=1.0, specular_roughness=0.0,
                                transmission_color=(0.95, 0.5, 0.12), transmission_depth=0.3),
    }
    coordinates = node(stage, "cloth/coordinates", "ND_geompropvalue_vector2", TYPES.Float2,
                       geomprop="st")
    checks = node(stage, "cloth/checks", "ND_checkerboard_color3", TYPES.Color3f,
                  color1=(0.7, 0.68, 0.6), color2=(0.1, 0.17, 0.36), uvtiling=Gf.Vec2f(8, 8),
                  texcoord=coordinates)
    looks["cloth"] = standard(stage, "cloth", base_color=checks, specular_roughness=0.9, sheen=0.4)
    return looks


def bind(prim, material):
    UsdShade.MaterialBindingAPI.Apply(prim.GetPrim()).Bind(material)


# Shapes ------------------------------------------------------------------------------------------


def box(stage, path, size, center, material):
    cube = UsdGeom.Cube.Define(stage, path)
    cube.CreateSizeAttr(1.0)
    cube.AddTranslateOp().Set(Gf.Vec3d(*center))
    cube.AddScaleOp().Set(Gf.Vec3f(*size))
    bind(cube, material)
    return cube


def mesh(stage, path, points, counts, indices, scheme="catmullClark"):
    shape = UsdGeom.Mesh.Define(stage, path)
    shape.CreatePointsAttr([tuple(round(one, 4) for one in point) for point in points])
    shape.CreateFaceVertexCountsAttr(counts)
    shape.CreateFaceVertexIndicesAttr(indices)
    shape.CreateSubdivisionSchemeAttr(scheme)
    shape.CreateExtentAttr(UsdGeom.PointBased.ComputeExtent(shape.GetPointsAttr().Get()))
    return shape


def lathe(stage, path, profile, sides=12):
    """The profile, pairs of a radius and a height from the bottom up, turned around +Y."""
    points = [(r * math.cos(2 * math.pi * i / sides), y, r * math.sin(2 * math.pi * i / sides))
              for r, y in profile for i in range(sides)]
    indices = []
    for row in range(len(profile) - 1):
        for i in range(sides):
            here, there = row * sides + i, row * sides + (i + 1) % sides
            indices += [here, here + sides, there + sides, there]
    return mesh(stage, path, points, [4] * (len(indices) // 4), indices)


def waves(stage, path, half, cells):
    """A square of water; the waves are finest around the pier."""
    def place(i):
        t = 2 * i / cells - 1
        return half * t * (0.03 + 0.97 * t * t)

    chance = random.Random(5)
    points = [(place(i), 0.03 * chance.uniform(-1, 1), place(j) - 6)
              for j in range(cells + 1) for i in range(cells + 1)]
    row = cells + 1
    indices = [one for j in range(cells) for i in range(cells)
               for one in (j * row + i, (j + 1) * row + i, (j + 1) * row + i + 1, j * row + i + 1)]
    return mesh(stage, path, points, [4] * cells * cells, indices)


def subset(shape, name, faces, material):
    part = UsdGeom.Subset.CreateGeomSubset(shape, name, UsdGeom.Tokens.face, faces,
                                           UsdShade.Tokens.materialBind)
    bind(part, material)


# The pier ----------------------------------------------------------------------------------------


def make_planks(stage, looks):
    """A point instancer with two kinds of planks."""
    instancer = UsdGeom.PointInstancer.Define(stage, "/Pier/planks")
    for name, look in (("new", "plank"), ("old", "grey_plank")):
        box(stage, f"/Pier/planks/{name}", (2.5, 0.07, 0.3), (0, 0, 0), looks[look])
        instancer.GetPrototypesRel().AddTarget(f"/Pier/planks/{name}")
    chance = random.Random(3)
    count = 48
    instancer.CreateProtoIndicesAttr([int(chance.random() < 0.35) for _ in range(count)])
    instancer.CreatePositionsAttr(
        [(round(chance.uniform(-0.04, 0.04), 3), DECK, round(3 - 0.34 * i, 3))
         for i in range(count)])
    turns = [math.radians(chance.uniform(-0.8, 0.8)) / 2 for _ in range(count)]
    instancer.CreateOrientationsAttr([Gf.Quath(math.cos(t), 0, math.sin(t), 0) for t in turns])


def make_posts(stage, looks):
    """Scene-graph instances of one post."""
    stage.CreateClassPrim("/post")
    pole = UsdGeom.Cylinder.Define(stage, "/post/pole")
    pole.CreateAxisAttr(UsdGeom.Tokens.y)
    pole.CreateRadiusAttr(0.09)
    pole.CreateHeightAttr(3.0)
    pole.AddTranslateOp().Set(Gf.Vec3d(0, 0.3, 0))
    bind(pole, looks["post"])
    band = UsdGeom.Cylinder.Define(stage, "/post/band")
    band.CreateAxisAttr(UsdGeom.Tokens.y)
    band.CreateRadiusAttr(0.1)
    band.CreateHeightAttr(0.09)
    band.AddTranslateOp().Set(Gf.Vec3d(0, 1.62, 0))
    bind(band, looks["iron"])
    for row in range(6):
        for name, side in (("left", -SIDE), ("right", SIDE)):
            instance(stage, f"/Pier/posts/{name}{row}", "/post", (side, 0, 1.8 - 2.6 * row))


def instance(stage, path, source, place):
    xform = UsdGeom.Xform.Define(stage, path)
    xform.AddTranslateOp().Set(Gf.Vec3d(*place))
    xform.GetPrim().GetReferences().AddInternalReference(source)
    xform.GetPrim().SetInstanceable(True)
    return xform


def make_lanterns(stage, looks):
    """Lanterns on every second post, and one that swings from a gallows at the end."""
    stage.CreateClassPrim("/lantern")
    globe = UsdGeom.Sphere.Define(stage, "/lantern/globe")
    globe.CreateRadiusAttr(0.13)
    bind(globe, looks["glow"])
    for name, profile in (
        ("cap", [(0.15, 0.08), (0.15, 0.1), (0.05, 0.19), (0.03, 0.26), (0.0, 0.26)]),
        ("foot", [(0.0, -0.2), (0.08, -0.2), (0.09, -0.16), (0.06, -0.12), (0.05, -0.1)]),
    ):
        bind(lathe(stage, f"/lantern/{name}", profile), looks["brass"])
    for row in range(0, 6, 2):
        for name, side in (("left", -SIDE), ("right", SIDE)):
            instance(stage, f"/Pier/lanterns/{name}{row}", "/lantern",
                     (side, 2.0, 1.8 - 2.6 * row))
    box(stage, "/Pier/gallows/upright", (0.14, 3.4, 0.14), (0, DECK + 1.6, -12.4), looks["post"])
    box(stage, "/Pier/gallows/arm", (0.12, 0.12, 1.3), (0, DECK + 3.2, -11.8), looks["post"])
    swing = UsdGeom.Xform.Define(stage, "/Pier/gallows/swing")
    swing.AddTranslateOp().Set(Gf.Vec3d(0, DECK + 3.14, -11.3))
    turn = swing.AddRotateZOp()
    for frame in range(FIRST, LAST + 1, 6):
        angle = 14 * math.sin(2 * math.pi * (frame - FIRST) / (LAST - FIRST + 1))
        turn.Set(round(angle, 3), frame)
    box(stage, "/Pier/gallows/swing/rope", (0.02, 0.8, 0.02), (0, -0.4, 0), looks["stone"])
    instance(stage, "/Pier/gallows/swing/lantern", "/lantern", (0, -1.0, 0))


def make_barrel(stage, looks):
    """Staves and hoops are subsets of one mesh."""
    profile = [(0.0, 0.0), (0.26, 0.0), (0.28, 0.02), (0.31, 0.14), (0.33, 0.2), (0.345, 0.36),
               (0.345, 0.52), (0.33, 0.68), (0.31, 0.74), (0.28, 0.86), (0.26, 0.88), (0.24, 0.84),
               (0.0, 0.84)]
    sides = 16
    barrel = lathe(stage, "/Pier/barrel", profile, sides)
    barrel.AddTranslateOp().Set(Gf.Vec3d(0.72, DECK + 0.035, 0.4))
    bind(barrel, looks["plank"])
    hoops = [row * sides + i for row in (3, 7) for i in range(sides)]
    subset(barrel, "hoops", hoops, looks["iron"])


def make_floats(stage, looks):
    """Glass balls for nets, on a checkered cloth."""
    points = [(-1.05, DECK + 0.05, 0.0), (-0.15, DECK + 0.05, 0.0), (-0.15, DECK + 0.05, -0.9),
              (-1.05, DECK + 0.05, -0.9)]
    cloth = mesh(stage, "/Pier/cloth", points, [4], [0, 1, 2, 3], "none")
    UsdGeom.PrimvarsAPI(cloth).CreatePrimvar("st", TYPES.TexCoord2fArray, "varying").Set(
        [(0, 0), (1, 0), (1, 1), (0, 1)])
    bind(cloth, looks["cloth"])
    for name, look, radius, x, z in (("big", "green_glass", 0.2, -0.78, -0.4),
                                     ("small", "amber_glass", 0.14, -0.42, -0.24),
                                     ("float", "red", 0.11, -0.44, -0.62)):
        ball = UsdGeom.Sphere.Define(stage, f"/Pier/floats/{name}")
        ball.CreateRadiusAttr(radius)
        ball.AddTranslateOp().Set(Gf.Vec3d(x, DECK + 0.052 + radius, z))
        bind(ball, looks[look])


def make_buoy(stage, looks):
    """A buoy that bobs; its white stripe is a subset."""
    profile = [(0.0, -0.35), (0.3, -0.35), (0.45, -0.2), (0.46, 0.1), (0.4, 0.22), (0.18, 0.7),
               (0.14, 0.95), (0.1, 1.25), (0.0, 1.25)]
    xform = UsdGeom.Xform.Define(stage, "/Pier/buoy")
    move, tilt = xform.AddTranslateOp(), xform.AddRotateXYZOp()
    for frame in range(FIRST, LAST + 1, 6):
        turn = 2 * math.pi * (frame - FIRST) / (LAST - FIRST + 1)
        move.Set(Gf.Vec3d(-5.2, round(0.08 * math.sin(turn), 4), -9.5), frame)
        tilt.Set(Gf.Vec3f(round(6 * math.cos(turn), 3), 0, round(8 * math.sin(turn), 3)), frame)
    body = lathe(stage, "/Pier/buoy/body", profile)
    bind(body, looks["red"])
    subset(body, "stripe", list(range(5 * 12, 6 * 12)), looks["white"])
    light = UsdGeom.Sphere.Define(stage, "/Pier/buoy/lamp")
    light.CreateRadiusAttr(0.09)
    light.AddTranslateOp().Set(Gf.Vec3d(0, 1.3, 0))
    bind(light, looks["glow"])


def make_hut(stage, looks):
    """A hut on stones behind the pier, with a window that shines."""
    box(stage, "/Pier/hut/base", (5.0, 1.2, 4.0), (3.4, 0.2, -16), looks["stone"])
    box(stage, "/Pier/hut/walls", (3.6, 2.2, 2.8), (3.4, 1.9, -16), looks["grey_plank"])
    points = [(1.3, 2.9, -14.3), (5.5, 2.9, -14.3), (5.5, 2.9, -17.7), (1.3, 2.9, -17.7),
              (1.3, 4.5, -16), (5.5, 4.5, -16)]
    roof = mesh(stage, "/Pier/hut/roof", points, [4, 4, 3, 3, 4],
                [0, 1, 5, 4, 2, 3, 4, 5, 1, 2, 5, 3, 0, 4, 3, 2, 1, 0], "none")
    bind(roof, looks["red"])
    box(stage, "/Pier/hut/window", (0.9, 0.8, 0.05), (2.6, 2.1, -14.6), looks["glow"])
    # It lights the base and the water, which the emission of the box alone would light dimly.
    light = UsdLux.RectLight.Define(stage, "/Pier/hut/shine")
    light.CreateWidthAttr(0.9)
    light.CreateHeightAttr(0.8)
    light.CreateIntensityAttr(10.0)
    light.CreateEnableColorTemperatureAttr(True)
    light.CreateColorTemperatureAttr(2400.0)
    light.AddTranslateOp().Set(Gf.Vec3d(2.6, 2.1, -14.5))
    light.AddRotateYOp().Set(180.0)


# Sky, camera and files ---------------------------------------------------------------------------


def make_sky(stage):
    """A dome with a picture, and a sun whose strength is a variant."""
    dome = UsdLux.DomeLight.Define(stage, "/Pier/sky")
    dome.CreateTextureFileAttr("./pier_sky.png")
    dome.CreateTextureFormatAttr(UsdLux.Tokens.latlong)
    dome.CreateIntensityAttr(0.9)
    sun = UsdLux.DistantLight.Define(stage, "/Pier/sun")
    sun.CreateAngleAttr(3.0)
    sun.CreateNormalizeAttr(True)
    sun.AddRotateXYZOp().Set(Gf.Vec3f(-6, SUN, 0))
    variants = stage.GetPrimAtPath("/Pier").GetVariantSets().AddVariantSet("time")
    for name, irradiance, color in (("day", 3.0, (1.0, 0.95, 0.88)),
                                    ("dusk", 0.8, (1.0, 0.5, 0.26))):
        variants.AddVariant(name)
        variants.SetVariantSelection(name)
        with variants.GetVariantEditContext():
            sun.CreateIntensityAttr(irradiance)
            sun.CreateColorAttr(Gf.Vec3f(*color))


def make_camera(stage):
    camera = UsdGeom.Camera.Define(stage, "/Pier/camera")
    camera.CreateFocalLengthAttr(30.0)
    camera.CreateHorizontalApertureAttr(36.0)
    camera.CreateVerticalApertureAttr(20.25)
    camera.CreateClippingRangeAttr(Gf.Vec2f(0.1, 1000))
    move = camera.AddTranslateOp()
    move.Set(Gf.Vec3d(0.1, 2.45, 4.3), FIRST)
    move.Set(Gf.Vec3d(0.0, 2.3, 3.2), LAST)
    camera.AddRotateYXZOp().Set(Gf.Vec3f(-11, 5, 0))


def sky_color(longitude, latitude):
    """Linear light: warm around the sun, and blue above."""
    if latitude < 0:
        return 0.03, 0.035, 0.045
    high = math.sqrt(latitude)
    towards = max(0.0, math.cos(longitude - math.radians(SUN)))
    glow = math.exp(-5 * latitude) * (0.35 + 0.65 * towards ** 2)
    zenith, horizon = (0.05, 0.1, 0.27), (1.0, 0.47, 0.22)
    return tuple(z * (1 - 0.55 * high) + (h - 0.3 * z) * glow for z, h in zip(zenith, horizon))


def write_sky(path, width=256, height=128):
    """An 8-bit picture by longitude and latitude, +Z in the middle and +X left of it."""
    def texel(x, y):
        longitude = (0.5 - (x + 0.5) / width) * 2 * math.pi
        latitude = 0.5 - (y + 0.5) / height
        for light in sky_color(longitude, 2 * latitude):
            light = min(light, 1.0)
            coded = 12.92 * light if light < 0.0031308 else 1.055 * light ** (1 / 2.4) - 0.055
            yield round(255 * coded)

    rows = b"".join(b"\0" + bytes(one for x in range(width) for one in texel(x, y))
                    for y in range(height))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(
            ">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header)
                     + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


def make_stage(path):
    path.unlink(missing_ok=True)
    stage = Usd.Stage.CreateNew(str(path))
    UsdGeom.SetStageUpAxis(stage, UsdGeom.Tokens.y)
    UsdGeom.SetStageMetersPerUnit(stage, 1.0)
    stage.SetStartTimeCode(FIRST)
    stage.SetEndTimeCode(LAST)
    stage.SetTimeCodesPerSecond(24)
    root = UsdGeom.Xform.Define(stage, "/Pier").GetPrim()
    stage.SetDefaultPrim(root)
    Usd.ModelAPI(root).SetKind(Kind.Tokens.assembly)
    Usd.ModelAPI(root).SetAssetName("pier")
    looks = make_looks(stage)
    for name in ("posts", "lanterns", "gallows", "floats", "hut"):
        UsdGeom.Xform.Define(stage, f"/Pier/{name}")
    bind(waves(stage, "/Pier/water", 400.0, 24), looks["water"])
    make_planks(stage, looks)
    for side in (-SIDE, SIDE):
        name = "left" if side < 0 else "right"
        box(stage, f"/Pier/beam_{name}", (0.14, 0.2, 16.4), (side * 0.95, DECK - 0.14, -5),
            looks["post"])
    make_posts(stage, looks)
    make_lanterns(stage, looks)
    make_barrel(stage, looks)
    make_floats(stage, looks)
    make_buoy(stage, looks)
    make_hut(stage, looks)
    make_sky(stage)
    make_camera(stage)
    stage.GetRootLayer().Save()


def main():
    folder = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).parent
    write_sky(folder / "pier_sky.png")
    make_stage(folder / "pier.usda")


if __name__ == "__main__":
    main()

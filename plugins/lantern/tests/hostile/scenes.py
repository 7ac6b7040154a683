"""Scenes that no sensible program writes, as op-tree descriptions for `tellar render`."""

import math
import re

INF, NAN = float("inf"), float("nan")


def numbers(values, tuple_size=3, kind="float"):
    """A typed attribute. JSON cannot express inf and nan as numbers, so they are texts."""
    texts = [value if abs(value) < INF else "nan" if value != value else f"{value}"
             for value in values]
    return {"$type": kind, "values": texts, "tuple": tuple_size}


def quad(points=(-1, -1, 0, 1, -1, 0, 1, 1, 0, -1, 1, 0), **geometry):
    return {"type": "polymesh",
            "geometry": {"point.P": numbers(points),
                         "poly": {"vertexList": [0, 1, 2, 3], "startIndex": [0, 4]},
                         "arbitrary": {"st": {"scope": "point",
                                              "value": numbers([0, 0, 1, 0, 1, 1, 0, 1], 2)}},
                         **geometry}}


def scene(things, camera=None, settings=None):
    """A scene that shows things, (name, attributes) pairs, side by side in full view."""
    side = max(1, math.ceil(math.sqrt(len(things))))
    own = {"type": "camera", "geometry": {"fov": 50.0, "near": 0.1, "far": 1000.0, "left": -1.0,
                                          "right": 1.0, "top": 1.0, "bottom": -1.0},
           "xform": {"translate": [0.0, 0.0, 3.0 * side]}}
    own.update(camera or {})
    world = {"cam": {"c": {"camera": {"a": own}}}}
    for i, (name, attributes) in enumerate(things):
        place = [2.5 * (i % side - (side - 1) / 2), 2.5 * (i // side - (side - 1) / 2), 0.0]
        world[re.sub("[^A-Za-z0-9]", "_", name)] = {
            "a": {"xform": {"translate": place}},
            "c": {"thing": {"a": attributes}, "quad": {"a": quad()}}}
    return {"ops": [{"name": "scene", "type": "StaticScene",
                     "args": {"a": {"renderSettings": settings or {}},
                              "c": {"world": {"c": world}}}}]}


def placed(matrix):
    return {**quad(), "xform": {"matrix": numbers(matrix, 16, "double")}}


def moving(first, second):
    samples = [numbers(matrix)["values"] for matrix in (first, second)]
    return {**quad(), "xform": {"matrix": {"$type": "double", "times": [0, 1],
                                           "samples": samples, "tuple": 16}}}


def scaled(x, y, z):
    return [x, 0, 0, 0, 0, y, 0, 0, 0, 0, z, 0, 0, 0, 0, 1]


def moved(x, y, z):
    return [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1]


def seen_from(matrix, **lens):
    camera = {"xform": {"matrix": numbers(matrix, 16, "double")}}
    geometry = {"fov": 50.0, "near": 0.1, "far": 1000.0, "left": -1.0, "right": 1.0, "top": 1.0,
                "bottom": -1.0}
    geometry.update({name: numbers([value], 1, "double") for name, value in lens.items()})
    return scene([("quad", quad())], {**camera, "geometry": geometry})


def lit_by(**light):
    typed = {name: numbers(value, len(value)) if isinstance(value, list) else value
             for name, value in light.items()}
    return {"type": "light", "light": typed, "xform": {"translate": [0.0, 0.0, 2.0]}}


def network(nodes, surface="s"):
    return ({**quad(), "material": {
        "style": "network", "terminals": {"surface": surface},
        "nodes": {name: {"name": name, **node} for name, node in nodes.items()}}})


def surface(**parameters):
    return ({**quad(), "material": {
        "surfaceShader": "standard_surface",
        "surfaceParams": {name: numbers(values, len(values))
                          for name, values in parameters.items()}}})


def textured(file):
    return network({"s": {"type": "standard_surface", "connections": {
        "baseColor": "out@i", "opacity": "a@i", "normal": "out@i"}},
        "i": {"type": "image", "parameters": {"file": file}}})


def cage(**geometry):
    """A cube with edges of length 1."""
    points = [x for i in range(8) for x in (i & 1, i >> 1 & 1, i >> 2)]
    faces = [0, 2, 3, 1, 4, 5, 7, 6, 0, 1, 5, 4, 2, 6, 7, 3, 0, 4, 6, 2, 1, 3, 7, 5]
    own = {"point.P": numbers(points),
           "poly": {"vertexList": faces, "startIndex": [0, 4, 8, 12, 16, 20, 24]}}
    own.update(geometry)
    return ({"type": "subdmesh", "geometry": own})


def polygons(vertices, starts, points, **geometry):
    return cage(**{"point.P": numbers(points), "poly": {
        "vertexList": numbers(vertices, 1, "int"), "startIndex": numbers(starts, 1, "int")},
        **geometry})


def curves(points, counts, **geometry):
    return ({"type": "curves", "geometry": {
        "point.P": numbers(points), "numVertices": numbers(counts, 1, "int"), **geometry}})


def cloud(points, **geometry):
    return ({"type": "pointcloud", "geometry": {"point.P": numbers(points), **geometry}})


def chain(length):
    nodes = {f"n{i}": {"type": "invert", "connections": {"a": f"out@n{i + 1}"}}
             for i in range(length)}
    nodes["s"] = {"type": "standard_surface", "connections": {"baseColor": "out@n0"}}
    nodes[f"n{length}"] = {"type": "constant", "parameters": {"value": 0.5}}
    return network(nodes)


def shapes():
    yield from {
        "points far": (quad([1e30, 0, 0, 0, 1e30, 0, 0, 0, 1e30, 1, 1, 1])),
        "points farthest": (quad([3e38, 0, 0, 0, 3e38, 0, -3e38, 0, 3e38, 0, -3e38, 0])),
        "points inf": (quad([INF] * 12)),
        "points nan": (quad([NAN] * 12)),
        "points tiny": (quad([1e-40 * i for i in range(12)])),
        "points equal": (quad([0] * 12)),
        "normals nan": (quad(**{"point.N": numbers([NAN] * 12)})),
        "normals huge": (quad(**{"point.N": numbers([3e38] * 12)})),
        "uvs huge": (quad(**{"arbitrary": {"st": {"scope": "point", "value": numbers(
            [-3e38, 3e38] * 4, 2)}}})),
        "sphere nan": ({"type": "sphere", "geometry": {"radius": numbers([NAN], 1)}}),
        "sphere inf": ({"type": "sphere", "geometry": {"radius": numbers([INF], 1)}}),
        "sphere huge": ({"type": "sphere", "geometry": {"radius": 3e38}}),
        "sphere large": ({"type": "sphere", "geometry": {"radius": 1e19}}),
        "sphere negative": ({"type": "sphere", "geometry": {"radius": -1.0}}),
        "sphere zero": ({"type": "sphere", "geometry": {"radius": 0.0}}),
        "cloud far": cloud([1e30, 0, 0, -1e30, 0, 0, 0, 1e30, 0]),
        "cloud farthest": cloud([3e38, 3e38, 3e38, -3e38, -3e38, -3e38]),
        "cloud nan": cloud([NAN] * 6),
        "cloud of equal points": cloud([1, 2, 3] * 10000),
        "cloud widths negative": cloud([0] * 6, **{"point.width": numbers([-1, -1], 1)}),
        "cloud width huge": cloud([0] * 6, constantWidth=3e38),
        "cloud widths inf": cloud([0] * 6, constantWidth=numbers([INF], 1)),
        "curves of one point": curves([0, 0, 0] * 200000, [1] * 200000),
        "curves far": curves([-1e30, 0, 0, 1e30, 0, 0], [2]),
        "curves farthest": curves([-3e38, 0, 0, 3e38, 0, 0] * 2, [4], basis="bspline"),
        "curves of equal points": curves([0, 0, 0] * 8, [8], basis="catmull-rom"),
        "curves of large radius": curves([0, 0, 0, 1, 1, 1], [2], constantWidth=1e30),
        "curves of negative radius": curves([0, 0, 0, 1, 1, 1], [2], constantWidth=-1.0),
        "curves of nan radius": curves([0, 0, 0, 1, 1, 1], [2], constantWidth=numbers([NAN], 1)),
        "curves counts too large": curves([0, 0, 0, 1, 1, 1], [2147483647, 2147483647]),
        "curves counts negative": curves([0, 0, 0, 1, 1, 1], [-1, 3]),
        "curves closed": curves([0, 0, 0, 1, 1, 1], [2], closed=1, basis="bezier"),
        "curves flat": curves([0, 0, 0, 0, 0, 1], [2], crossSection="flat", constantWidth=1e20),
        "faces out of range": polygons([0, 1, 2147483647], [0, 3], [0] * 9),
        "faces negative": polygons([0, 1, -1], [0, 3], [0] * 9),
        "faces backwards": polygons([0, 1, 2], [3, 0], [0] * 9),
        "faces start beyond": polygons([0, 1, 2], [0, 2147483647], [0] * 9),
    }.items()


def subdivision():
    fan = [x for i in range(200) for x in (0, 1 + 2 * i, 2 + 2 * i)]
    yield from {
        "cage creases out of range": cage(creaseIndices=numbers([0, 99, -1, 2147483647], 1, "int"),
                                          creaseLengths=[2, 2], creaseSharpness=[3.0, 3.0]),
        "cage crease lengths": cage(creaseIndices=[0, 1], creaseLengths=[-1, 2147483647],
                                    creaseSharpness=[3.0]),
        "cage crease of no edge": cage(creaseIndices=[0, 7, 0, 0], creaseLengths=[2, 2],
                                       creaseSharpness=numbers([NAN, INF], 1)),
        "cage crease sharpness huge": cage(creaseIndices=[0, 1], creaseLengths=[2],
                                           creaseSharpness=numbers([3e38], 1)),
        "cage corners out of range": cage(cornerIndices=numbers([99, -1], 1, "int"),
                                          cornerSharpness=[3.0, 3.0]),
        "cage holes out of range": cage(holeFaces=numbers([99, -1], 1, "int")),
        "cage all holes": cage(holeFaces=[0, 1, 2, 3, 4, 5]),
        "cage huge": cage(**{"point.P": numbers([1e30 * (i % 5) for i in range(24)])}),
        "cage farthest": cage(**{"point.P": numbers([3e38 * (-1) ** i for i in range(24)])}),
        "cage of one place": cage(**{"point.P": numbers([0] * 24)}),
        "cage not manifold": polygons(fan, list(range(0, 601, 3)),
                                      [x % 7 for x in range(3 * 401)]),
        "cage of repeated corners": polygons([0, 0, 0, 0, 1, 1, 0, 1], [0, 4, 8], [0, 1, 2, 3, 4, 5]),
        "cage of flipped faces": polygons([0, 1, 2, 0, 1, 2, 2, 1, 0], [0, 3, 6, 9],
                                          [0, 0, 0, 1, 0, 0, 0, 1, 0]),
        "cage loop of quads": cage(subdivisionScheme="loop"),
        "cage of one huge face": polygons(list(range(3000)), [0, 3000],
                                          [i * i % 97 / 97 for i in range(9000)]),
    }.items()


def places():
    for size in (0.0, 1e13, 1e19, 1e38, 1e300, INF, NAN, 1e-13, 1e-40, -1e19):
        yield f"scaled by {size}", placed(scaled(size, size, size))
        yield f"moved by {size}", placed(moved(size, size, size))
    yield "flat", placed(scaled(1, 1, 0))
    yield "a line", placed(scaled(1, 0, 0))
    yield "flat and turned", placed([0.6, 0.8, 0, 0, 0.64, -0.48, 0.6, 0, 0, 0, 0, 0,
                                     0, 0, 0, 1])
    yield "sheared", placed([1, 1e19, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1])
    yield "projective", placed([1, 0, 0, 1e30, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0])
    yield "half a turn", moving(scaled(1, 1, 1), scaled(-1, -1, 1))
    yield "mirrored", moving(scaled(1, 1, 1), scaled(-1, 1, 1))
    yield "vanishing", moving(scaled(1, 1, 1), scaled(0, 0, 0))


def cameras():
    for size in (0.0, 1e17, 1e18, 1e19, 1e38, 1e300, INF, NAN, 1e-40):
        yield f"camera scaled by {size}", seen_from(scaled(size, size, size))
        yield f"camera moved by {size}", seen_from(moved(size, size, size))
    for lens in ("fov", "near", "far", "left", "top"):
        for value in (0.0, 3e38, NAN):
            yield f"camera {lens} {value}", seen_from(moved(0, 0, 4), **{lens: value})


def lights():
    for value in (0.0, -1.0, 1e19, 3e38, INF, NAN):
        for kind in ("directional", "point", "spot", "area", "ambient", "environment"):
            yield f"{kind} intensity {value}", lit_by(type=kind, intensity=[value])
        yield f"point radius {value}", lit_by(type="point", radius=[value])
        yield f"point decay {value}", lit_by(type="point", decay=[value] * 3)
        yield f"spot cone {value}", lit_by(type="spot", coneInner=[value], coneOuter=[-value])
        yield f"directional angle {value}", lit_by(type="directional", angle=[value])
        yield f"area size {value}", lit_by(type="area", size=[value, value])
        yield f"exposure {value}", lit_by(type="point", exposure=[value])
    yield "light unknown", lit_by(type="candle")


def materials():
    for value in (-1.0, 3e38, INF, NAN):
        yield f"surface of {value}", surface(**{name: [value] for name in (
            "metalness", "roughness", "specular", "ior", "opacity", "transmission", "thickness",
            "attenuationDistance", "coat", "coatRoughness", "anisotropy", "anisotropyRotation",
            "sheenRoughness", "emissionStrength", "normalScale", "alphaCutoff")})
        yield f"colors of {value}", surface(**{name: [value] * 3 for name in (
            "baseColor", "emission", "specularColor", "sheenColor", "attenuationColor")})
    yield "dense glass", surface(transmission=[1], attenuationDistance=[1e-38],
                                 attenuationColor=[0, 0, 0])
    yield "network feeds itself", network({"s": {"type": "standard_surface", "connections": {
        "baseColor": "out@a"}}, "a": {"type": "mix", "connections": {"a": "out@b"}},
        "b": {"type": "add", "connections": {"a": "out@a", "b": "out@b", "uv": "out@a"}}})
    yield "surface feeds itself", network({"s": {"type": "standard_surface", "connections": {
        "baseColor": "out@s", "roughness:r": "r@s"}}})
    yield "layer holds itself", network({"s": {"type": "layer", "connections": {
        "base": "out@s", "top": "out@s", "mask": "out@s"}}})
    yield "transform feeds itself", network({"s": {"type": "standard_surface", "connections": {
        "baseColor": "out@n"}}, "n": {"type": "noise", "connections": {"uv": "out@t"}},
        "t": {"type": "uvTransform", "connections": {"uv": "out@t"}}})
    yield "surface missing", network({}, "nothing")
    yield "chain long", chain(60)
    yield "chain too long", chain(5000)
    yield "layers in layers", network({
        **{f"l{i}": {"type": "layer", "connections": {"base": f"out@l{i + 1}",
                                                      "top": f"out@l{i + 1}"}}
           for i in range(60)}, "l60": {"type": "standard_surface"}}, "l0")
    yield "ramp of nothing", network({"s": {"type": "standard_surface", "connections": {
        "baseColor": "out@r"}}, "r": {"type": "ramp", "parameters": {
            "positions": numbers([NAN, 1], 1), "colors": numbers([INF] * 6, 3)}}})
    yield "ramp of equal places", network({"s": {"type": "standard_surface", "connections": {
        "baseColor": "out@r"}}, "r": {"type": "ramp", "parameters": {
            "positions": [0.5] * 3, "colors": [0.1] * 9, "value": numbers([NAN], 1)}}})
    yield "noise of many octaves", network({"s": {"type": "standard_surface", "connections": {
        "baseColor": "out@r"}}, "r": {"type": "noise", "parameters": {
            "octaves": 2147483647, "scale": 1e38}}})


def textures(files):
    for file in files:
        yield f"texture {file}", textured(file)


def environments(files):
    for file in files:
        yield f"environment {file}", lit_by(type="environment", texture=file)


def pictures():
    small = {"resolution": "8x8"}
    for settings in ({"resolution": "0x0"}, {"resolution": "-5x5"},
                     {"resolution": "2147483647x2147483647"}, {"resolution": "99999x99999"},
                     {**small, "lantern.samples": 1000000, "minutes": 0.002},
                     {**small, "lantern.samples": 1000000000, "minutes": 0.002},
                     {**small, "lantern.samples": 0}, {**small, "lantern.maxDepth": 2147483647},
                     {**small, "lantern.exposure": numbers([NAN], 1)},
                     {**small, "lantern.subdivisionEdge": 0.0},
                     {**small, "noise": numbers([NAN], 1)},
                     {**small, "minutes": numbers([INF], 1)},
                     {**small, "cropWindow": numbers([NAN] * 4, 1)},
                     {**small, "cropWindow": [0.9, 0.1, 0.9, 0.1]},
                     {**small, "tileRender": [5, 5, 0, 0]},
                     {**small, "shutterOpen": numbers([-INF], 1), "shutterClose": 0.0},
                     {"resolution": "1x1"}):
        yield f"settings {settings}", scene([("quad", quad())], settings=settings)

"""Scenes in JSON: features that model files lack, and arguments of SceneImport."""

import json
import math

from model_files import crate, quarters, stripes


def floats(values):
    return {"$type": "float", "values": [float(x) if not isinstance(x, (tuple, list))
                                         else [float(v) for v in x] for x in values]}


def surface(nodes=None, connections=None, **parameters):
    network = {"surface": {"name": "surface", "type": "standard_surface", "parameters": parameters,
                           **({"connections": connections} if connections else {})},
               **(nodes or {})}
    return {"style": "network", "terminals": {"surface": "surface"}, "nodes": network}


def node(name, kind, connections=None, **parameters):
    made = {"name": name, "type": kind, "parameters": parameters}
    if connections:
        made["connections"] = connections
    return {name: made}


def scene(**locations):
    return {"ops": [{"name": "scene", "type": "StaticScene", "args": {
        "location": "/root/world", "c": {name: {"a": value} for name, value in
                                         locations.items()}}}]}


CUBE = {"point.P": floats([(x, y, z) for z in (-1, 1) for y in (0, 2) for x in (-1, 1)]),
        "poly": {"vertexList": [0, 2, 3, 1, 4, 5, 7, 6, 0, 1, 5, 4, 2, 6, 7, 3, 0, 4, 6, 2, 1, 3, 7,
                                5], "startIndex": [0, 4, 8, 12, 16, 20, 24]}}
RED = surface(baseColor=[0.75, 0.25, 0.15], roughness=0.3)


def subdivision():
    """A cage, its limit surface, and creases of two sharpnesses."""
    crease = {"creaseIndices": [2, 6, 7, 3, 2], "creaseLengths": [5]}
    return {"cage": scene(cube={"type": "polymesh", "geometry": CUBE, "material": RED}),
            "smooth": scene(cube={"type": "subdmesh", "geometry": CUBE, "material": RED}),
            "soft crease": scene(cube={"type": "subdmesh", "material": RED, "geometry": {
                **CUBE, **crease, "creaseSharpness": [1.0]}}),
            "sharp crease": scene(cube={"type": "subdmesh", "material": RED, "geometry": {
                **CUBE, **crease, "creaseSharpness": [10.0]}})}


def curves():
    """The same control points as tubes and as ribbons, with different bases."""
    points = [(0.8 * math.sin(0.9 * i), 0.25 * i, 0.8 * math.cos(0.9 * i)) for i in range(10)]

    def curve(**more):
        return scene(curve={"type": "curves", "material": RED, "geometry": {
            "point.P": floats(points), "constantWidth": 0.3, **more}})
    return {"linear": curve(), "round": curve(basis="bspline"),
            "flat": curve(basis="bspline", crossSection="flat"),
            "catmull": curve(basis="catmull-rom"), "bezier": curve(basis="bezier"),
            "thin": curve(basis="bspline", constantWidth=0.1)}


def clouds():
    """Points with and without widths."""
    points = []
    for i in range(700):
        y = 1 - 2 * (i + 0.5) / 700
        angle = 2.399963 * i
        radius = math.sqrt(1 - y * y)
        points.append((radius * math.cos(angle), y + 1, radius * math.sin(angle)))

    def cloud(**more):
        return scene(cloud={"type": "pointcloud", "material": RED,
                            "geometry": {"point.P": floats(points), **more}})
    return {"by density": cloud(), "of one width": cloud(constantWidth=0.05),
            "of widths": cloud(**{"point.width": floats([0.15 * y for _, y, _ in points])})}


def nodes():
    """A crate for each type of node in materials."""
    shape = crate()
    faces = len(shape.points) // 4
    geometry = {"point.P": floats(shape.points),
                "poly": {"vertexList": list(range(len(shape.points))),
                         "startIndex": [4 * i for i in range(faces + 1)]},
                "arbitrary.st": {"scope": "point", "inputType": "point2",
                                 "value": floats([(u, 1 - v) for u, v in shape.uvs])},
                "arbitrary.color": {"scope": "point", "inputType": "color4", "value": floats(
                    [(x + 0.5, y, 0.5 - x / 2, 1) for x, y, _ in shape.points])}}

    def made(network, connections=None, terminal=None):
        material = surface(network, connections or {"baseColor": "out@last"})
        if terminal:
            material["terminals"] = {"surface": terminal}
        return scene(crate={"type": "polymesh", "geometry": geometry, "material": material})

    image = node("image", "image", file="quarters.png", colorSpace="srgb")
    check = node("check", "checker", scale=[4.0, 4.0], color1=[0.9, 0.8, 0.2],
                 color2=[0.1, 0.1, 0.3])
    gold = {"gold": surface(baseColor=[1.0, 0.7, 0.2], metalness=1.0, roughness=0.2)["nodes"][
        "surface"] | {"name": "gold"}}
    rubber = {"rubber": surface(baseColor=[0.05, 0.05, 0.05], roughness=0.9)["nodes"]["surface"]
              | {"name": "rubber"}}
    return {
        "image": made(node("last", "image", file="quarters.png", colorSpace="srgb")),
        "checker": made(node("last", "checker", scale=[4.0, 4.0], color1=[0.9, 0.8, 0.2],
                             color2=[0.1, 0.1, 0.3])),
        "noise": made(node("last", "noise", scale=[6.0, 6.0], color1=[0.9, 0.9, 0.8],
                           color2=[0.0, 0.1, 0.2], octaves=4)),
        "ramp": made(node("last", "ramp", positions=[0.0, 0.5, 1.0],
                          colors=[[0.9, 0.1, 0.0], [0.0, 0.8, 0.1], [0.0, 0.1, 0.9]])),
        "mix": made({**image, **check, **node("last", "mix", {"a": "out@image", "b": "out@check"},
                                              amount=0.5)}),
        "add": made({**image, **check, **node("last", "add",
                                              {"a": "out@image", "b": "out@check"})}),
        "multiply": made({**image, **check, **node("last", "multiply",
                                                   {"a": "out@image", "b": "out@check"})}),
        "invert": made({**image, **node("last", "invert", {"a": "out@image"})}),
        "moved": made({**node("place", "uvTransform", scale=[3.0, 2.0], rotation=0.5),
                       **node("last", "image", {"uv": "out@place"}, file="quarters.png",
                              colorSpace="srgb")}),
        "vertex color": made(node("last", "vertexColor")),
        "component": made(image, {"baseColor:r": "g@image", "baseColor:g": "out:r@image"}),
        "layer": made({**gold, **rubber, **node("mask", "checker", scale=[4.0, 4.0]),
                       **node("both", "layer", {"base": "out@rubber", "top": "out@gold",
                                                "mask": "out@mask"})}, terminal="both")}


def imports():
    """Models imported with different arguments of SceneImport."""
    def imported(**arguments):
        return {"ops": [{"name": "model", "type": "SceneImport", "args": arguments}]}
    return {"day": imported(file="variants.glb"), "night": imported(file="variants.glb",
                                                                     variant="night"),
            "lift": imported(file="animations.glb", animation="lift", frame=8.0),
            "turn": imported(file="animations.glb", animation="turn", frame=8.0),
            "pose": imported(file="animations.glb", animation="none"),
            "second scene": imported(file="scenes.glb", scene="other")}


def write(folder, scenes):
    (folder / "quarters.png").write_bytes(quarters())
    (folder / "stripes.png").write_bytes(stripes((0, 0, 0), (255, 255, 255)))
    for name, content in scenes.items():
        (folder / f"{name}.json").write_text(json.dumps(content))
    return [f"{name}.json" for name in scenes]

#!/usr/bin/env python3
"""Writes chess.json and the picture of wood that it uses, chess_wood.png.

    python3 examples/make_chess.py [folder]

Needs nothing but Python 3.8 or newer, and always writes the same scene. A square of the board is
one unit wide, +Y is up, and the top of the board is at a height of 0.
"""

import json
import math
import random
import struct
import sys
import zlib
from pathlib import Path

sys.dont_write_bytecode = True  # no __pycache__ beside the examples
from chess_pieces import PIECES, lathe  # noqa: E402

CHESS = "/root/world/chess"
POSITION = {"white": {"queen": "d4", "king": "b1", "rook": "c1", "bishop": "b3 f5",
                      "pawn": "a2 b2 c2 g4 h2"},
            "black": {"rook": "a8 f8", "queen": "c7", "bishop": "c6 g7",
                      "pawn": "a7 b6 e6 g6 h5"}}
BLACK_KING = (0.1, 1.15)  # where it fell


# ---- attributes -----------------------------------------------------------------------------


def rounded(values):
    return [[round(x, 4) + 0.0 for x in value] for value in values]


def floats(values):
    return {"$type": "float", "values": rounded(values)}


def moved(x, y, z, turn=0.0):
    return {"translate": [float(x), float(y), float(z)],
            "rotateY": [float(turn), 0.0, 1.0, 0.0]}


def location(kind, children=None, **attributes):
    made = {"a": {"type": kind, **attributes}}
    if children:
        made["c"] = children
    return made


def cage_attributes(cage):
    starts = [0]
    for face in cage.faces:
        starts.append(starts[-1] + len(face))
    made = {"point.P": floats(cage.points),
            "poly": {"vertexList": [i for face in cage.faces for i in face], "startIndex": starts}}
    if cage.creases:
        made["creaseIndices"] = [i for crease, _ in cage.creases for i in crease]
        made["creaseLengths"] = [len(crease) for crease, _ in cage.creases]
        made["creaseSharpness"] = [float(sharpness) for _, sharpness in cage.creases]
    return made


def plane(x, y, z, width, depth):
    """A horizontal rectangle around a point, with texture coordinates from 0 to 1."""
    a, b = width / 2, depth / 2
    return {"point.P": floats([(x - a, y, z + b), (x + a, y, z + b), (x + a, y, z - b),
                               (x - a, y, z - b)]),
            "poly": {"vertexList": [0, 1, 2, 3], "startIndex": [0, 4]},
            "arbitrary.st": {"scope": "point", "inputType": "point2",
                             "value": floats([(0, 0), (1, 0), (1, 1), (0, 1)])}}


# ---- materials ------------------------------------------------------------------------------


def surface(connections=None, nodes=None, **parameters):
    network = {"surface": {"name": "surface", "type": "standard_surface", "parameters": parameters}}
    if connections:
        network["surface"]["connections"] = connections
    return {"style": "network", "terminals": {"surface": "surface"},
            "nodes": {**network, **(nodes or {})}}


def node(name, kind, connections=None, **parameters):
    made = {"name": name, "type": kind, "parameters": parameters}
    if connections:
        made["connections"] = connections
    return {name: made}


def wood(name, *transform):
    return node(name, "image", file="chess_wood.png", colorSpace="srgb", wrapU="mirror",
                wrapV="mirror", uvTransform=[float(x) for x in transform])


def materials():
    """Ivory and ebony with coats, amber glass, and wood of three colors."""
    board = {**wood("along", 0, 0, 2, 2, 0), **wood("across", 0, 0, 3, 3, math.pi / 2),
             **node("maple", "multiply", {"a": "out@along"}, b=[0.95, 0.72, 0.46]),
             **node("walnut", "multiply", {"a": "out@across"}, b=[0.26, 0.125, 0.06]),
             **node("squares", "checker", scale=[8.0, 8.0]),
             **node("inlay", "mix", {"a": "out@walnut", "b": "out@maple", "amount": "out@squares"})}
    table = {**wood("planks", 0, 0, 5, 7, 0.0),
             **node("stain", "multiply", {"a": "out@planks"}, b=[0.23, 0.12, 0.065])}
    frame = {**wood("grain", 0, 0, 1, 1, 0.0),
             **node("stain", "multiply", {"a": "out@grain"}, b=[0.16, 0.07, 0.035])}
    return {
        "ivory": surface(baseColor=[0.88, 0.76, 0.58], roughness=0.35, coat=1.0,
                         coatRoughness=0.06, sheenColor=[0.1, 0.08, 0.06]),
        "ebony": surface(baseColor=[0.035, 0.022, 0.016], roughness=0.3, coat=1.0,
                         coatRoughness=0.08),
        "amber": surface(baseColor=[1.0, 1.0, 1.0], roughness=0.0, transmission=1.0, ior=1.52,
                         thickness=1.0, attenuationColor=[0.95, 0.42, 0.1],
                         attenuationDistance=0.55),
        "board": surface({"baseColor": "out@inlay"}, board, roughness=0.32, coat=0.6,
                         coatRoughness=0.12),
        "table": surface({"baseColor": "out@stain"}, table, roughness=0.5, specular=0.6),
        "frame": surface({"baseColor": "out@stain"}, frame, roughness=0.4, coat=0.5,
                         coatRoughness=0.15),
        "clay": surface(baseColor=[0.55, 0.23, 0.12], roughness=0.9, specular=0.3),
        "grass": surface(baseColor=[0.16, 0.34, 0.07], roughness=0.5),
        "cable": surface(baseColor=[0.02, 0.02, 0.02], roughness=0.6),
        "bulb": surface(baseColor=[0.0, 0.0, 0.0], emission=[1.0, 0.62, 0.3],
                        emissionStrength=26.0)}


# ---- the scene ------------------------------------------------------------------------------


def place(square):
    return "abcdefgh".index(square[0]) - 3.5, 4.5 - int(square[1])


def army(pieces, facing, seed):
    source = random.Random(seed)
    made = {}
    for kind, squares in pieces.items():
        for square in squares.split():
            x, z = place(square)
            made[f"{kind}_{square}"] = location("group", xform=moved(
                x + source.uniform(-0.04, 0.04), 0, z + source.uniform(-0.04, 0.04),
                facing + source.uniform(-12, 12)))
    return made


def fallen_king():
    x, z = BLACK_KING
    return location("group", xform={"translate": [x, 0.385, z], "rotateY": [-28.0, 0.0, 1.0, 0.0],
                                    "rotateZ": [-86.5, 0.0, 0.0, 1.0]})


def grass(count=420):
    """Blades that bend outwards, each a curve of four control points."""
    source = random.Random(5)
    points, widths = [], []
    for _ in range(count):
        angle, radius = source.uniform(0, 2 * math.pi), 0.75 * math.sqrt(source.random())
        x, z = radius * math.cos(angle), radius * math.sin(angle)
        bend = source.uniform(0.5, 1.8) * (0.3 + radius)
        height = source.uniform(1.2, 2.4)
        for share, width in ((0, 0.07), (0.4, 0.08), (0.75, 0.06), (1, 0.01)):
            points.append((x + bend * share ** 2.2 * math.cos(angle),
                           height * (share - 0.25 * share ** 3 * min(bend, 1.4)),
                           z + bend * share ** 2.2 * math.sin(angle)))
            widths.append((width,))
    return {"point.P": floats(points), "point.width": floats(widths), "numVertices": [4] * count,
            "basis": "bezier", "crossSection": "flat"}


def pot():
    profile = [(0.0, 0.0), (0.72, 0.0, 4), (1.0, 1.15), (1.06, 1.3), (1.22, 1.3, 4),
               (1.24, 1.62, 4), (1.02, 1.62, 4), (0.96, 1.3), (0.0, 1.28)]
    return cage_attributes(lathe(profile, 10))


def cable_point(share):
    """A cable that hangs from three nails."""
    sag = abs(math.sin(2 * math.pi * share))
    return -13 + 26 * share, 3.9 - 1.6 * sag + 0.4 * share, -11 + 1.2 * math.sin(7 * share)


def lights_on_a_cable():
    points = [cable_point(i / 60) for i in range(61)]
    made = {"cable": location("curves", geometry={
        "point.P": floats(points), "basis": "catmull-rom", "constantWidth": 0.06})}
    for i in range(19):
        x, y, z = cable_point((i + 0.5) / 19)
        made[f"bulb_{i:02}"] = location("sphere", geometry={"radius": 0.11},
                                        xform=moved(round(x, 3), round(y - 0.2, 3), round(z, 3)))
    return made


def world():
    board = {"squares": location("polymesh", geometry=plane(0, 0, 0, 8, 8)),
             "frame": location("subdmesh", geometry=frame_attributes())}
    return {"chess": location("group", {
                "white": location("group", army(POSITION["white"], 0, 1)),
                "black": location("group", {**army(POSITION["black"], 180, 2),
                                            "king": fallen_king()})}),
            "board": location("group", board),
            "table": location("polymesh", geometry=plane(0, -0.5, -6, 60, 44)),
            "plant": location("group", {
                "pot": location("subdmesh", geometry=pot()),
                "grass": location("curves", geometry=grass(), xform=moved(0, 1.28, 0))},
                xform=moved(-5.6, -0.5, -6.2)),
            "garland": location("group", lights_on_a_cable()),
            "lights": location("group", lights())}


def frame_attributes():
    """A rim with rounded edges around the squares: the section of a beam, carried around them."""
    section = [(4.0, -0.02), (4.0, 0.03), (4.55, 0.03), (4.62, -0.04), (4.62, -0.5), (4.0, -0.5)]
    corners = ((1, 1), (1, -1), (-1, -1), (-1, 1))
    points = [(x * out, y, z * out) for x, z in corners for out, y in section]
    count = len(section)
    faces, st = [], []
    for side in range(4):
        for i in range(count):
            j = (i + 1) % count
            a, b = side * count, (side + 1) % 4 * count
            faces.append((a + i, a + j, b + j, b + i))
            v0, v1 = 0.08 * i + 0.2 * side, 0.08 * (i + 1) + 0.2 * side
            st += [(0, v0), (0, v1), (1, v1), (1, v0)]
    made = {"point.P": floats(points),
            "poly": {"vertexList": [i for face in faces for i in face],
                     "startIndex": [4 * i for i in range(len(faces) + 1)]},
            "arbitrary.st": {"scope": "vertex", "inputType": "point2", "value": floats(st)}}
    rings = [[side * count + i for side in range(4)] + [i] for i in range(count)]
    miters = [[side * count + i for i in range(count)] + [side * count] for side in range(4)]
    creases = [(ring, 2.5) for ring in rings] + [(miter, 6.0) for miter in miters]
    made["creaseIndices"] = [i for crease, _ in creases for i in crease]
    made["creaseLengths"] = [len(crease) for crease, _ in creases]
    made["creaseSharpness"] = [sharpness for _, sharpness in creases]
    return made


def area(color, intensity, size, x, y, z, turn, down):
    return location("light", light={"type": "area", "color": color, "intensity": intensity,
                                    "size": size},
                    xform={"translate": [float(x), float(y), float(z)],
                           "rotateY": [float(turn), 0.0, 1.0, 0.0],
                           "rotateX": [float(down), 1.0, 0.0, 0.0]})


def lights():
    return {"window": area([1.0, 0.93, 0.82], 9.0, [6.0, 5.0], -9, 7.5, -4, -115, -35),
            "rim": area([0.75, 0.85, 1.0], 5.0, [7.0, 2.5], 7, 6, -8, 140, -32),
            "room": location("light", light={
                "type": "environment", "horizon": [0.10, 0.085, 0.075],
                "zenith": [0.16, 0.17, 0.2], "ground": [0.05, 0.04, 0.03]})}


CAMERA = {"eye": (3.3, 2.25, 8.6), "target": (0.1, 0.98, 0.0), "fov": 33.0, "aperture": 0.1}


def camera():
    eye, target = CAMERA["eye"], CAMERA["target"]
    x, y, z = (b - a for a, b in zip(eye, target))
    turn = math.degrees(math.atan2(-x, -z))
    down = math.degrees(math.atan2(y, math.hypot(x, z)))
    focus = BLACK_KING[0] + 0.5, 0.5, BLACK_KING[1]
    forward = [v / math.dist(eye, target) for v in (x, y, z)]
    distance = sum((b - a) * c for a, b, c in zip(eye, focus, forward))
    lens = {"projection": "perspective", "fov": CAMERA["fov"], "near": 0.1, "far": 1000.0,
            "left": -1.0, "right": 1.0, "bottom": -0.5625, "top": 0.5625,
            "apertureRadius": CAMERA["aperture"], "focusDistance": round(distance, 3)}
    return location("camera", geometry=lens, xform={
        "translate": list(eye), "rotateY": [round(turn, 3), 0.0, 1.0, 0.0],
        "rotateX": [round(down, 3), 1.0, 0.0, 0.0]})


def description():
    named = {name: location("material", material=value) for name, value in materials().items()}
    ops = [{"name": "room", "type": "StaticScene", "args": {"c": {
        "materials": location("group", named),
        "world": location("group", {**world(), "cam": location("group", {"camera": camera()})})}}}]

    def add(name, kind, comment, **arguments):
        ops.append({"name": name, "type": kind, "comment": comment, "inputs": [ops[-1]["name"]],
                    "args": arguments})

    for name, cage in PIECES.items():
        add(name, "AttributeEdit", f"The cage of every {name} of both sides.",
            paths=[f"{CHESS}/*/{name}*"],
            set={"type": "subdmesh", "geometry": cage_attributes(cage)})
    places = {"ivory": "chess/white", "ebony": "chess/black", "amber": "chess/black/king",
              "board": "board/squares", "frame": "board/frame", "table": "table",
              "clay": "plant/pot", "grass": "plant/grass", "cable": "garland/cable",
              "bulb": "garland/bulb_*"}
    for name, path in places.items():
        add(f"{name} assigned", "MaterialAssign", f"Things of the material {name}.",
            paths=[f"/root/world/{path}"], material=f"/root/materials/{name}")
    add("settings", "RenderSettings", "Glass needs long paths.", settings={
        "cameraName": "/root/world/cam/camera", "resolution": "768x432",
        "lantern": {"maxDepth": 10, "exposure": 0.8, "clampIndirect": 0.7}})
    return {"$schema": "../docs/description.schema.json",
            "comment": "A game of chess that is over, written by make_chess.py", "ops": ops}


# ---- the picture of wood --------------------------------------------------------------------


def smooth_noise(source, width, height):
    """A function of a place in a grid of random values, which repeats."""
    grid = [[source.random() for _ in range(width)] for _ in range(height)]

    def at(x, y):
        i, j = math.floor(x), math.floor(y)
        s, t = x - i, y - j
        s, t = s * s * (3 - 2 * s), t * t * (3 - 2 * t)
        row, below = grid[j % height], grid[(j + 1) % height]
        above = row[i % width] * (1 - s) + row[(i + 1) % width] * s
        under = below[i % width] * (1 - s) + below[(i + 1) % width] * s
        return above * (1 - t) + under * t

    return at


def wood_rows(size=256):
    source = random.Random(12)
    warp, fibers, pores = (smooth_noise(source, 4, 6), smooth_noise(source, 4, 90),
                           smooth_noise(source, 20, 128))
    rows = []
    for j in range(size):
        v = j / size
        row = []
        for i in range(size):
            u = i / size
            rings = 9 * v + 2.4 * warp(4 * u, 6 * v)
            ring = (rings - math.floor(rings)) ** 1.6
            shade = 1 - 0.34 * ring - 0.2 * fibers(4 * u, 90 * v)
            shade -= 0.3 * max(0.0, pores(20 * u, 128 * v) - 0.72)
            row.append(int(max(0, min(255, 255 * shade))) // 4 * 4)
        rows.append(row)
    return rows


def write_gray_png(path, rows):
    def chunk(kind, content):
        return (struct.pack(">I", len(content)) + kind + content
                + struct.pack(">I", zlib.crc32(kind + content)))
    header = struct.pack(">IIBBBBB", len(rows[0]), len(rows), 8, 0, 0, 0, 0)
    lines = b"".join(b"\0" + bytes(row) for row in rows)
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header)
                     + chunk(b"IDAT", zlib.compress(lines, 9)) + chunk(b"IEND", b""))


def scene_text(scene):
    """One line per op."""
    ops = ",\n".join(json.dumps(op, separators=(",", ":")) for op in scene["ops"])
    head = {key: value for key, value in scene.items() if key != "ops"}
    return json.dumps(head)[:-1] + ', "ops": [\n' + ops + "\n]}\n"


if __name__ == "__main__":
    folder = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).resolve().parent
    (folder / "chess.json").write_text(scene_text(description()))
    write_gray_png(folder / "chess_wood.png", wood_rows())

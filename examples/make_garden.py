#!/usr/bin/env python3
"""Writes garden.gltf, the small scene that the examples, tests and pictures use.

    python3 examples/make_garden.py [output.gltf]

Needs nothing but Python 3.8 or newer. The output depends only on this file and on
gltf_shapes.py: running it again gives the same bytes. Units are metres and seconds, +Y is up,
and the garden is centred on the origin.
"""

import math
import random
import sys
from pathlib import Path

sys.dont_write_bytecode = True  # no __pycache__ beside the examples
from gltf_shapes import (TURN, Document, Shape, arc, facing, lump, on_circle,  # noqa: E402
                         rotation, steps_profile, yaw)


def hull(p, q):
    """Half of a boat's outside: q runs from stern to bow, p from rail to rail under the keel."""
    along = 2 * q - 1
    width = 0.34 * math.sqrt(max(0.0, 1 - abs(along) ** 2.4)) + 0.012
    rail = 0.26 + 0.14 * along * along
    around = math.pi * p
    return (-width * math.cos(around), rail - rail * math.sin(around) ** 0.8, 0.95 * along)


def billow(p, q):
    """A three-cornered sail that the wind fills towards +X."""
    height, across = p, q * (1 - p)
    return (0.14 * math.sin(math.pi * across) * (1 - height), 0.45 + 1.25 * height, -0.75 * across)


def make_materials(doc):
    glow = [1.0, 0.62, 0.25]
    return {
        "grass": doc.material("grass", (0.16, 0.34, 0.07), 0.0, 0.95),
        "earth": doc.material("earth", (0.23, 0.14, 0.08), 0.0, 1.0),
        "sandstone": doc.material("sandstone", (0.58, 0.47, 0.33), 0.0, 0.8),
        "marble": doc.material("marble", (0.82, 0.80, 0.76), 0.0, 0.35),
        "copper": doc.material("copper", (0.78, 0.38, 0.24), 1.0, 0.38),
        "brass": doc.material("brass", (0.88, 0.66, 0.28), 1.0, 0.25),
        "water": doc.material("water", (0.05, 0.22, 0.30), 0.0, 0.06),
        "bark": doc.material("bark", (0.19, 0.11, 0.06), 0.0, 0.9),
        "leaf": doc.material("leaf", (0.10, 0.28, 0.06), 0.0, 0.75),
        "cypress_leaf": doc.material("cypress_leaf", (0.04, 0.16, 0.07), 0.0, 0.8),
        "blossom": doc.material("blossom", (0.80, 0.34, 0.44), 0.0, 0.7),
        "poppy": doc.material("poppy", (0.76, 0.06, 0.03), 0.0, 0.6),
        "marigold": doc.material("marigold", (0.90, 0.47, 0.03), 0.0, 0.6),
        "timber": doc.material("timber", (0.35, 0.20, 0.10), 0.0, 0.65, doubleSided=True),
        "sailcloth": doc.material("sailcloth", (0.85, 0.79, 0.66), 0.0, 0.9, doubleSided=True),
        "glow": doc.material("glow", glow, 0.0, 0.5, emissiveFactor=glow),
    }


def add_ground(doc, garden, material):
    ground = doc.node(garden, "ground")
    lawn = Shape().lathe([(12.2, -0.16)] + arc((12.0, -0.2), 0.2, 20, 90, 2) + [(0, 0)], 48)
    rock = Shape().lathe([(0, -2.6), (3.5, -2.3), (8.0, -1.5), (11.2, -0.7), (12.2, -0.16)], 28)
    doc.node(ground, "lawn", mesh=doc.mesh("lawn", (lawn, material["grass"])))
    doc.node(ground, "earth", mesh=doc.mesh("earth", (rock, material["earth"])))


def add_path(doc, garden, material):
    path = doc.node(garden, "path")
    profile = [(0.46, 0)] + arc((0.41, 0.03), 0.05, 0, 90, 3) + [(0, 0.08)]
    stone = doc.mesh("stepping_stone", (Shape().lathe(profile, 14), material["sandstone"]))
    source = random.Random(21)
    number = 0
    # First leg: from the edge of the lawn to the fountain; second: on to the pavilion.
    for start, bend, end, count in (((3.2, 10.9), (5.4, 7.2), (2.5, 4.3), 8),
                                    ((-0.2, 0.9), (-0.9, 0.5), (-1.6, -0.5), 3)):
        for i in range(count):
            t = i / (count - 1)
            x, z = ((1 - t) ** 2 * a + 2 * t * (1 - t) * b + t * t * c
                    for a, b, c in zip(start, bend, end))
            number += 1
            doc.node(path, "stone_%02d" % number, (x, 0, z), yaw(source.uniform(0, 360)),
                     (source.uniform(0.85, 1.15), 1, source.uniform(0.75, 1.0)), mesh=stone)


def add_pavilion(doc, garden, material):
    pavilion = doc.node(garden, "pavilion", (-3.2, 0, -3.4))
    floor = Shape().lathe(steps_profile(3.0, 3, 0.16, 0.22), 32)
    doc.node(pavilion, "steps", mesh=doc.mesh("steps", (floor, material["sandstone"])))

    shaft = [(0.20, 0.28), (0.205, 0.9), (0.19, 1.8), (0.16, 2.5)]
    profile = ([(0.27, 0.0), (0.27, 0.1)] + arc((0.20, 0.19), 0.07, -60, 60, 3) + shaft
               + arc((0.16, 2.58), 0.06, -60, 60, 2) + [(0.27, 2.7), (0.27, 2.8), (0.2, 2.8)])
    column = doc.mesh("column", (Shape().lathe(profile, 12), material["marble"]))
    columns = doc.node(pavilion, "columns", (0, 0.48, 0))
    for i in range(8):
        doc.node(columns, "column_%d" % (i + 1), on_circle(2.15, 45 * i + 22.5), mesh=column)

    roof = doc.node(pavilion, "roof", (0, 3.28, 0))
    ring = Shape().lathe([(1.85, 0.42), (1.85, 0), (2.45, 0), (2.45, 0.22), (2.6, 0.3),
                          (2.6, 0.42), (2.2, 0.42)], 32)
    dome = Shape().lathe(arc((0, 0.32), 2.3, 3, 90, 8), 32)
    ceiling = Shape().lathe([(0, 0.4), (1.9, 0.4)], 24)
    finial = Shape().lathe([(0.12, 2.58), (0.05, 2.78)] + arc((0, 2.92), 0.15, -70, 60, 5)
                           + [(0, 3.3)], 10)
    doc.node(roof, "ring", mesh=doc.mesh("ring", (ring, material["marble"])))
    doc.node(roof, "dome", mesh=doc.mesh("dome", (dome, material["copper"])))
    doc.node(roof, "ceiling", mesh=doc.mesh("ceiling", (ceiling, material["marble"])))
    doc.node(roof, "finial", mesh=doc.mesh("finial", (finial, material["brass"])))
    add_lantern(doc, pavilion, material)


def add_lantern(doc, pavilion, material):
    """Hangs from the ceiling and swings about the point it hangs from, its light with it."""
    lantern = doc.node(pavilion, "lantern", (0, 3.66, 0), scale=(1.3, 1.3, 1.3))
    frame = (Shape().box((0, -0.45, 0), (0.03, 0.9, 0.03))
             .lathe([(0.24, -1.06), (0.06, -0.9), (0, -0.88)], 12)
             .lathe([(0, -1.5), (0.2, -1.5), (0.2, -1.44), (0, -1.44)], 12))
    glass = Shape().lathe([(0.12, -1.44), (0.18, -1.3), (0.18, -1.2), (0.14, -1.05)], 12)
    doc.node(lantern, "frame", mesh=doc.mesh("lantern_frame", (frame, material["brass"])))
    doc.node(lantern, "glass", mesh=doc.mesh("lantern_glass", (glass, material["glow"])))
    doc.light(lantern, "lantern_light", {"type": "point", "color": [1.0, 0.72, 0.42],
                                         "intensity": 40.0, "range": 15.0},
              translation=(0, -1.25, 0))
    times = [i / 2 for i in range(9)]
    doc.animate(lantern, "rotation", times,
                [rotation((0, 0, 1), 9 * math.sin(TURN * t / 4)) for t in times])


def add_fountain(doc, garden, material):
    fountain = doc.node(garden, "fountain", (1.2, 0, 2.6))
    basin = Shape().lathe([(1.7, 0), (1.7, 0.12), (1.55, 0.18), (1.55, 0.42)]
                          + arc((1.56, 0.5), 0.1, -60, 200, 4) + [(1.42, 0.1)], 32)
    pedestal = Shape().lathe([(0.34, 0.1), (0.3, 0.3), (0.14, 0.45), (0.12, 0.9), (0.18, 1.05)]
                             + [(0.45, 1.15), (0.72, 1.34), (0.74, 1.4), (0.68, 1.4)]
                             + [(0.4, 1.26)], 16)
    pool = Shape().lathe([(1.46, 0), (0, 0)], 32)
    jet = Shape().lathe([(0.05, 1.3), (0.045, 1.7), (0.03, 2.0), (0.11, 2.1)]
                        + arc((0, 2.12), 0.11, 0, 90, 3), 8)
    water = doc.mesh("fountain_water", (pool, material["water"]))
    doc.node(fountain, "basin", mesh=doc.mesh("basin", (basin, material["sandstone"])))
    doc.node(fountain, "pedestal", mesh=doc.mesh("pedestal", (pedestal, material["marble"])))
    doc.node(fountain, "water", (0, 0.4, 0), mesh=water)
    doc.node(fountain, "bowl_water", (0, 1.34, 0), scale=(0.46, 1, 0.46), mesh=water)
    doc.node(fountain, "jet", mesh=doc.mesh("jet", (jet, material["water"])))


def add_pond(doc, garden, material):
    pond = doc.node(garden, "pond", (6.6, 0, -0.6))
    # The round rim and water become an oval by their group's uneven scale.
    oval = doc.node(pond, "oval", rotation=yaw(25), scale=(1.0, 1.0, 1.45))
    rim = Shape().lathe([(2.35, 0)] + arc((2.2, 0.05), 0.13, 0, 180, 5) + [(2.05, 0)], 32)
    doc.node(oval, "rim", mesh=doc.mesh("rim", (rim, material["sandstone"])))
    pool = Shape().lathe([(2.15, 0), (0, 0)], 32)
    doc.node(oval, "water", (0, 0.06, 0), mesh=doc.mesh("pond_water", (pool, material["water"])))

    boat = doc.node(pond, "boat", (-0.7, 0.0, -1.3), yaw(25))
    body = Shape().surface(hull, 8, 12)
    mast = Shape().lathe([(0.035, 0.1), (0.02, 1.75), (0, 1.78)], 8).box((0, 0.34, -0.2),
                                                                        (0.5, 0.03, 0.16))
    doc.node(boat, "hull", mesh=doc.mesh("hull", (body, material["timber"])))
    doc.node(boat, "mast", mesh=doc.mesh("mast", (mast, material["timber"])))
    doc.node(boat, "sail", mesh=doc.mesh("boat_sail", (Shape().surface(billow, 8, 6),
                                                       material["sailcloth"])))
    times = [i / 2 for i in range(9)]
    there = [(1 - math.cos(TURN * t / 4)) / 2 for t in times]
    doc.animate(boat, "translation", times, [(-0.7 + 1.1 * s, 0.0, -1.3 + 2.3 * s) for s in there])


def add_windmill(doc, garden, material):
    windmill = doc.node(garden, "windmill", (4.1, 0, -7.4), yaw(12))
    tower = Shape().lathe([(1.25, 0), (1.25, 0.25), (1.1, 0.3), (0.72, 3.6)], 18)
    cap = Shape().lathe([(0.62, 3.6), (0.86, 3.6), (0.8, 3.85), (0.5, 4.35), (0, 4.7)], 16)
    axle = Shape().box((0, 3.85, 0.6), (0.14, 0.14, 0.9))
    door = Shape().box((0, 0.75, 1.02), (0.6, 1.3, 0.12))
    doc.node(windmill, "tower", mesh=doc.mesh("tower", (tower, material["marble"])))
    doc.node(windmill, "cap", mesh=doc.mesh("cap", (cap, material["copper"])))
    doc.node(windmill, "axle", mesh=doc.mesh("axle", (axle, material["timber"])))
    doc.node(windmill, "door", mesh=doc.mesh("door", (door, material["timber"])))

    sails = doc.node(windmill, "sails", (0, 3.85, 1.08))
    spar = Shape().box((0, 1.25, 0), (0.09, 2.5, 0.09))
    for i in range(4):
        spar.box((0.28, 0.66 + 0.57 * i, 0), (0.56, 0.04, 0.04))
    cloth = Shape().surface(lambda p, q: (0.05 + 0.5 * q, 0.6 + 1.84 * p,
                                          0.03 + 0.05 * math.sin(math.pi * q)), 4, 4)
    blade = doc.mesh("blade", (spar, material["timber"]), (cloth, material["sailcloth"]))
    for i in range(4):
        doc.node(sails, "blade_%d" % (i + 1), rotation=rotation((0, 0, 1), 90 * i + 20), mesh=blade)
    # Quarter turns: a linear reader takes the short way between two keys.
    doc.animate(sails, "rotation", [0.0, 1.0, 2.0, 3.0, 4.0],
                [rotation((0, 0, 1), -90 * i) for i in range(5)])


def add_trees(doc, garden, material):
    trees = doc.node(garden, "trees")
    round_crown = doc.primitive(Shape().surface(lump(5, (1.3, 1.15, 1.3), 22, 0.42), 12, 20),
                                material["leaf"])
    bole = Shape().lathe([(0.3, 0), (0.19, 0.25), (0.15, 0.9), (0.17, 1.7)], 10)
    trunk = doc.mesh("trunk", (bole, material["bark"]))
    leafy = doc.mesh("leafy_crown", round_crown)
    # Same triangles, another material: the two meshes share their data in the file.
    blooming = doc.mesh("blooming_crown", {**round_crown, "material": material["blossom"]})
    slim = doc.mesh("slim_crown", (
        Shape().lathe([(0.1, 0), (0.42, 0.25), (0.52, 0.8), (0.46, 1.7), (0.28, 2.8), (0, 3.7)], 16,
                      crease=75), material["cypress_leaf"]))
    source = random.Random(8)
    plan = [("cypress", slim, 0.5, 1.0, places) for places in
            ((-8.4, -5.2), (-7.3, -7.0), (-5.6, -8.6), (-0.4, -9.4), (9.7, -4.6), (-9.9, 1.6))]
    plan += [("oak", leafy, 2.4, 1.2, places) for places in
             ((1.6, -8.0), (8.7, -7.3), (-9.0, -2.2), (-2.6, -8.6))]
    plan += [("cherry", blooming, 2.2, 0.9, places) for places in ((-7.2, 2.2), (-5.4, 5.6))]
    count = {}
    for kind, crown, height, size, (x, z) in plan:
        count[kind] = count.get(kind, 0) + 1
        tree = doc.node(trees, "%s_%d" % (kind, count[kind]), (x, 0, z),
                        yaw(source.uniform(0, 360)), (size * source.uniform(0.85, 1.15),) * 3)
        doc.node(tree, "trunk", mesh=trunk)
        doc.node(tree, "crown", (0, height, 0), mesh=crown)


def add_planting(doc, garden, material):
    """Hedges, benches and the ring of flowers around the fountain."""
    hedges = doc.node(garden, "hedges")
    bush = doc.mesh("bush", (Shape().surface(lump(3, (0.62, 0.5, 0.5), 12, 0.3), 8, 14),
                             material["leaf"]))
    for i, angle in enumerate((108, 116, 124, 132, 140, 8, 16, 24, 32, 40)):
        doc.node(hedges, "bush_%02d" % (i + 1), on_circle(10.9, angle, 0.3), yaw(90 - angle),
                 mesh=bush)

    benches = doc.node(garden, "benches")
    seat = Shape()
    for i in range(3):
        seat.box((0, 0.45, -0.16 + 0.16 * i), (1.5, 0.05, 0.13))
        if i < 2:
            seat.box((0, 0.68 + 0.17 * i, -0.27), (1.5, 0.12, 0.04))
    for x in (-0.6, 0.6):
        seat.box((x, 0.21, 0), (0.08, 0.42, 0.42)).box((x, 0.6, -0.3), (0.08, 0.6, 0.05))
    bench = doc.mesh("bench", (seat, material["timber"]))
    doc.node(benches, "bench_1", (-2.2, 0, 4.6), yaw(105), mesh=bench)
    doc.node(benches, "bench_2", (-1.2, 0, 6.6), yaw(135), mesh=bench)

    flowers = doc.node(garden, "flowers", (1.2, 0, 2.6))
    stem = doc.mesh("stem", (Shape().lathe([(0.05, 0), (0.012, 0.08), (0.012, 0.34)], 5)
                             .lathe([(0.01, 0.02), (0.1, 0.13), (0, 0.16)], 5), material["leaf"]))
    petals = doc.primitive(Shape().lathe([(0.0, 0.3), (0.1, 0.36), (0.12, 0.42), (0.05, 0.39),
                                          (0, 0.4)], 8, crease=60), material["poppy"])
    blossoms = [doc.mesh("poppy", petals),
                doc.mesh("marigold", {**petals, "material": material["marigold"]})]
    source = random.Random(13)
    for i in range(26):
        angle = 360 * i / 26
        if min(abs(angle - gap) for gap in (52, 231)) < 15:
            continue  # where the path meets the fountain
        flower = doc.node(flowers, "flower_%02d" % (i + 1),
                          on_circle(2.05 + source.uniform(-0.12, 0.16), angle),
                          yaw(source.uniform(0, 360)), (source.uniform(0.85, 1.3),) * 3)
        doc.node(flower, "stem", mesh=stem)
        doc.node(flower, "blossom", mesh=blossoms[i % 2])


def add_camera_and_sun(doc, garden):
    eye, target = (7.6, 6.4, 18.4), (0.3, 1.15, -0.9)
    camera = doc.append(doc.cameras, {
        "name": "main_camera", "type": "perspective",
        "perspective": {"yfov": 0.62, "aspectRatio": 16 / 9, "znear": 0.1, "zfar": 200.0}})
    cameras = doc.node(garden, "cameras")
    doc.node(cameras, "main_camera", eye, facing(eye, target), camera=camera)
    lights = doc.node(garden, "lights")
    doc.light(lights, "sun", {"type": "directional", "color": [1.0, 0.95, 0.86], "intensity": 3.0},
              translation=(-9, 14, 10), rotation=facing((-9, 14, 10), (0, 0, 0)))


def make_garden():
    doc = Document()
    garden = doc.node(None, "garden")
    material = make_materials(doc)
    for add_part in (add_ground, add_path, add_pavilion, add_fountain, add_pond, add_windmill,
                     add_trees, add_planting):
        add_part(doc, garden, material)
    add_camera_and_sun(doc, garden)
    return doc.text()


def main():
    output = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).with_name("garden.gltf")
    output.write_bytes(make_garden().encode("ascii"))


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Writes garden.gltf, the small scene that the examples, tests and pictures use.

    python3 examples/make_garden.py [output.gltf]

Needs nothing but Python 3.8 or newer. The output depends on this file alone: running it
again gives the same bytes. Units are metres and seconds, +Y is up, and the
garden is centred on the origin.
"""

import base64
import json
import math
import random
import struct
import sys
from pathlib import Path

TURN = 2 * math.pi


# ---- vectors and rotations ------------------------------------------------------------------


def add(a, b):
    return tuple(x + y for x, y in zip(a, b))


def subtract(a, b):
    return tuple(x - y for x, y in zip(a, b))


def dot(a, b):
    return sum(x * y for x, y in zip(a, b))


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def normalized(a):
    length = math.sqrt(dot(a, a))
    return tuple(x / length for x in a)


def rotation(axis, degrees):
    """Quaternion (x, y, z, w) turning by `degrees` around a unit axis."""
    half = math.radians(degrees) / 2
    return (*(x * math.sin(half) for x in axis), math.cos(half))


def yaw(degrees):
    return rotation((0, 1, 0), degrees)


def facing(eye, target):
    """Quaternion for cameras and lights: -Z looks from `eye` to `target`, +Y stays up."""
    back = normalized(subtract(eye, target))
    right = normalized(cross((0, 1, 0), back))
    up = cross(back, right)
    w = math.sqrt(max(0.0, 1 + right[0] + up[1] + back[2])) / 2
    return ((up[2] - back[1]) / (4 * w), (back[0] - right[2]) / (4 * w),
            (right[1] - up[0]) / (4 * w), w)


def on_circle(radius, degrees, y=0.0):
    angle = math.radians(degrees)
    return (radius * math.cos(angle), y, radius * math.sin(angle))


# ---- shapes ---------------------------------------------------------------------------------


class Shape:
    """Triangles with normals and texture coordinates, grown by the methods below."""

    def __init__(self):
        self.points, self.normals, self.uvs, self.triangles = [], [], [], []

    def vertex(self, point, normal, uv):
        # Rounded, so that a last-digit difference between math libraries cannot reach the file.
        self.points.append(tuple(round(x, 5) + 0.0 for x in point))
        self.normals.append(tuple(round(x, 5) + 0.0 for x in normalized(normal)))
        self.uvs.append(tuple(round(x, 5) + 0.0 for x in uv))
        return len(self.points) - 1

    def triangle(self, a, b, c):
        corners = {self.points[a], self.points[b], self.points[c]}
        if len(corners) == 3:  # the rows at a pole collapse to one point
            self.triangles.append((a, b, c))

    def grid(self, rows):
        """Two triangles per cell between rows of vertex indices of equal length."""
        for low, high in zip(rows, rows[1:]):
            for i in range(len(low) - 1):
                self.triangle(low[i], high[i], high[i + 1])
                self.triangle(low[i], high[i + 1], low[i + 1])
        return self

    def surface(self, point, rows, columns):
        """Samples point(p, q) over 0..1; the outside is where dP/dp x dP/dq points."""
        step = 1e-4

        def normal(p, q):
            # At a pole dP/dq vanishes: measure it a hair's breadth inside.
            p = min(max(p, step), 1 - step)
            along_p = subtract(point(p + step, q), point(p - step, q))
            along_q = subtract(point(p, q + step), point(p, q - step))
            return cross(along_p, along_q)

        return self.grid([[self.vertex(point(i / rows, j / columns), normal(i / rows, j / columns),
                                       (j / columns, i / rows)) for j in range(columns + 1)]
                          for i in range(rows + 1)])

    def lathe(self, profile, segments, centre=(0, 0, 0), crease=40):
        """Turns (radius, height) points around +Y; the outside is to the right when walking them.

        Neighbouring edges that meet at less than `crease` degrees are shaded as one smooth bend.
        """
        edges = [normalized((b[1] - a[1], a[0] - b[0])) for a, b in zip(profile, profile[1:])]
        lengths = [math.dist(a, b) for a, b in zip(profile, profile[1:])]
        total, travelled, rows = sum(lengths), 0.0, []

        def row(index, normal):
            radius, height = profile[index]
            ring = []
            for i in range(segments + 1):
                x, _, z = on_circle(1, 360 * i / segments)
                ring.append(self.vertex(add(centre, (radius * x, height, radius * z)),
                                        (normal[0] * x, normal[1], normal[0] * z),
                                        (i / segments, travelled / total)))
            return ring

        def smooth(index):
            return dot(edges[index - 1], edges[index]) > math.cos(math.radians(crease))

        for index in range(len(profile)):
            starts, ends = index == 0, index == len(profile) - 1
            if starts:
                rows = [row(index, edges[0])]
            elif ends:
                self.grid(rows + [row(index, edges[-1])])
            elif smooth(index):
                rows.append(row(index, add(edges[index - 1], edges[index])))
            else:
                self.grid(rows + [row(index, edges[index - 1])])
                rows = [row(index, edges[index])]
            if not ends:
                travelled += lengths[index]
        return self

    def box(self, centre, size):
        for axis in range(3):
            for sign in (-1, 1):
                normal = tuple(sign if i == axis else 0 for i in range(3))
                across = tuple(1 if i == (axis + 1) % 3 else 0 for i in range(3))
                upward = cross(normal, across)
                corners = []
                for u, v in ((0, 0), (1, 0), (1, 1), (0, 1)):
                    unit = [n + (2 * u - 1) * a + (2 * v - 1) * b
                            for n, a, b in zip(normal, across, upward)]
                    point = add(centre, (x * s / 2 for x, s in zip(unit, size)))
                    corners.append(self.vertex(point, normal, (u, v)))
                self.triangle(corners[0], corners[1], corners[2])
                self.triangle(corners[0], corners[2], corners[3])
        return self


def arc(centre, radius, start, end, steps):
    """Profile points on a circle in the (radius, height) plane, angles in degrees."""
    return [(max(0.0, centre[0] + radius * math.cos(math.radians(a))),
             centre[1] + radius * math.sin(math.radians(a)))
            for a in (start + (end - start) * i / steps for i in range(steps + 1))]


def lump(seed, size, bumps, depth):
    """A rounded body whose surface swells into bumps: tree crowns and hedges."""
    source = random.Random(seed)
    centres = []
    for _ in range(bumps):
        x, y, z = (source.uniform(-1, 1) for _ in range(3))
        centres.append(normalized((x, y, z)))

    def point(p, q):
        height, around = math.pi * (p - 0.5), TURN * q
        direction = (math.cos(height) * math.cos(around), math.sin(height),
                     math.cos(height) * math.sin(around))
        swell = sum(math.exp(9 * (dot(direction, c) - 1)) for c in centres)
        radius = 1 - depth + depth * min(swell, 1.6)
        return tuple(radius * s * d for s, d in zip(size, direction))

    return point


def steps_profile(radius, count, rise, tread):
    """A round flight of steps from its outer edge up to its centre."""
    profile = []
    for i in range(count):
        profile += [(radius - i * tread, i * rise), (radius - i * tread, (i + 1) * rise)]
    return profile + [(0, count * rise)]


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


# ---- the glTF document ----------------------------------------------------------------------

FLOAT, UNSIGNED_SHORT = 5126, 5123
ARRAY_BUFFER, ELEMENT_ARRAY_BUFFER = 34962, 34963


class Document:
    """A glTF 2.0 document under construction; every method returns the index of what it added."""

    def __init__(self):
        self.nodes, self.meshes, self.materials, self.accessors = [], [], [], []
        self.cameras, self.lights, self.channels, self.samplers = [], [], [], []
        # One buffer view per kind of data: vectors, texture coordinates, indices, animation.
        self.views = {"vec3": bytearray(), "vec2": bytearray(), "index": bytearray(),
                      "key": bytearray()}

    @staticmethod
    def append(items, item):
        items.append(item)
        return len(items) - 1

    def accessor(self, view, kind, component, values, **more):
        data = self.views[view]
        data.extend(b"\0" * (-len(data) % 4))
        entry = {"bufferView": list(self.views).index(view), "byteOffset": len(data),
                 "componentType": component, "count": len(values), "type": kind, **more}
        for value in values:
            data.extend(struct.pack("<H" if component == UNSIGNED_SHORT else "<%df" % len(value),
                                    *value))
        return self.append(self.accessors, entry)

    def material(self, name, colour, metallic, roughness, **more):
        return self.append(self.materials, {
            "name": name,
            "pbrMetallicRoughness": {"baseColorFactor": [*colour, 1.0],
                                     "metallicFactor": metallic, "roughnessFactor": roughness},
            **more})

    def primitive(self, shape, material):
        box = {"min": [min(c) for c in zip(*shape.points)],
               "max": [max(c) for c in zip(*shape.points)]}
        # glTF wants the bounds as the numbers stand in the buffer, which holds 32-bit floats.
        box = {key: [struct.unpack("<f", struct.pack("<f", x))[0] for x in values]
               for key, values in box.items()}
        return {"attributes": {
                    "POSITION": self.accessor("vec3", "VEC3", FLOAT, shape.points, **box),
                    "NORMAL": self.accessor("vec3", "VEC3", FLOAT, shape.normals),
                    "TEXCOORD_0": self.accessor("vec2", "VEC2", FLOAT, shape.uvs)},
                "indices": self.accessor("index", "SCALAR", UNSIGNED_SHORT,
                                         [(i,) for t in shape.triangles for i in t]),
                "material": material}

    def mesh(self, name, *parts):
        """`parts` are (shape, material) pairs or primitives made before."""
        primitives = [p if isinstance(p, dict) else self.primitive(*p) for p in parts]
        return self.append(self.meshes, {"name": name, "primitives": primitives})

    def node(self, parent, name, translation=None, rotation=None, scale=None, **more):
        entry = {"name": name, **more}
        for key, value in (("translation", translation), ("rotation", rotation), ("scale", scale)):
            if value is not None:
                entry[key] = [round(x, 5) + 0.0 for x in value]
        index = self.append(self.nodes, entry)
        if parent is not None:
            self.nodes[parent].setdefault("children", []).append(index)
        return index

    def light(self, parent, name, light, **placement):
        index = self.append(self.lights, {"name": name, **light})
        return self.node(parent, name, **placement,
                         extensions={"KHR_lights_punctual": {"light": index}})

    def animate(self, node, path, times, values):
        times = [(t,) for t in times]
        sampler = self.append(self.samplers, {
            "input": self.accessor("key", "SCALAR", FLOAT, times, min=times[0], max=times[-1]),
            "output": self.accessor("key", "VEC4" if path == "rotation" else "VEC3", FLOAT, values),
            "interpolation": "LINEAR"})
        self.channels.append({"sampler": sampler, "target": {"node": node, "path": path}})

    def text(self):
        data, views = bytearray(), []
        layout = {"vec3": {"byteStride": 12, "target": ARRAY_BUFFER},
                  "vec2": {"byteStride": 8, "target": ARRAY_BUFFER},
                  "index": {"target": ELEMENT_ARRAY_BUFFER}, "key": {}}
        for name, content in self.views.items():
            data.extend(b"\0" * (-len(data) % 4))
            views.append({"buffer": 0, "byteOffset": len(data), "byteLength": len(content),
                          **layout[name]})
            data.extend(content)
        uri = "data:application/octet-stream;base64," + base64.b64encode(data).decode()
        sections = {
            "asset": {"version": "2.0", "generator": "make_garden.py"},
            "extensionsUsed": ["KHR_lights_punctual"],
            "extensions": {"KHR_lights_punctual": {"lights": self.lights}},
            "scene": 0,
            "scenes": [{"name": "garden_scene", "nodes": [0]}],
            "cameras": self.cameras, "nodes": self.nodes, "meshes": self.meshes,
            "materials": self.materials,
            "animations": [{"name": "breeze", "channels": self.channels,
                            "samplers": self.samplers}],
            "accessors": self.accessors, "bufferViews": views,
            "buffers": [{"byteLength": len(data), "uri": uri}],
        }
        return "{\n" + ",\n".join(section(k, v) for k, v in sections.items()) + "\n}\n"


def compact(value):
    return json.dumps(value, separators=(",", ":"))


def section(name, value):
    """One line per array entry: short, and two versions can still be compared."""
    if isinstance(value, list):
        body = "[\n" + ",\n".join(compact(item) for item in value) + "\n]"
    else:
        body = compact(value)
    return json.dumps(name) + ": " + body


# ---- the garden -----------------------------------------------------------------------------


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

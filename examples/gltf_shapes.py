"""Shapes made of triangles, and the glTF document that they are written to.

make_garden.py uses this module. It needs nothing but Python 3.8 or newer.
"""

import base64
import json
import math
import random
import struct

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

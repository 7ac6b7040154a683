"""Shapes, pictures and a glTF document, from which the other modules make models."""

import base64
import json
import math
import struct
import zlib

FLOAT, UNSIGNED_BYTE, SHORT, UNSIGNED_SHORT, BYTE = 5126, 5121, 5122, 5123, 5120
FORMATS = {FLOAT: "f", UNSIGNED_BYTE: "B", SHORT: "h", UNSIGNED_SHORT: "H", BYTE: "b"}
WIDTHS = {"SCALAR": 1, "VEC2": 2, "VEC3": 3, "VEC4": 4, "MAT4": 16}


# ---- pictures -------------------------------------------------------------------------------


def png(rows):
    """A PNG of rows of (red, green, blue) or (red, green, blue, alpha)."""
    def chunk(kind, content):
        return (struct.pack(">I", len(content)) + kind + content
                + struct.pack(">I", zlib.crc32(kind + content)))
    color = 2 if len(rows[0][0]) == 3 else 6
    header = struct.pack(">IIBBBBB", len(rows[0]), len(rows), 8, color, 0, 0, 0)
    lines = b"".join(b"\0" + bytes(value for pixel in row for value in pixel) for row in rows)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(lines))
            + chunk(b"IEND", b""))


def quarters(size=32):
    """A picture that shows its orientation: red, green, blue and white, from the top left."""
    colors = (((220, 40, 30), (40, 170, 50)), ((40, 60, 210), (235, 235, 225)))
    return png([[colors[2 * y // size][2 * x // size] for x in range(size)] for y in range(size)])


def stripes(dark, light, count=8, size=64):
    return png([[dark if x * count // size % 2 else light for x in range(size)] for _ in range(8)])


def bumps(size=64, count=6):
    """A normal map of round bumps."""
    rows = []
    for y in range(size):
        row = []
        for x in range(size):
            a, b = (2 * (value * count / size % 1) - 1 for value in (x + 0.5, y + 0.5))
            inside = a * a + b * b < 0.8
            row.append(tuple(round(127.5 + 127.5 * v) for v in
                             ((0.8 * a, -0.8 * b, math.sqrt(1 - 0.64 * (a * a + b * b)))
                              if inside else (0, 0, 1))))
        rows.append(row)
    return png(rows)


# ---- shapes ---------------------------------------------------------------------------------


class Shape:
    """Points with normals, texture coordinates from the top left, and triangles."""

    def __init__(self):
        self.points, self.normals, self.uvs, self.triangles = [], [], [], []

    def quad(self, corners, uvs=((0, 1), (1, 1), (1, 0), (0, 0))):
        """Adds a quad; its corners go counterclockwise from the lower left one of the texture."""
        first = len(self.points)
        a, b = ([y - x for x, y in zip(corners[0], corners[i])] for i in (1, 3))
        normal = (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])
        length = math.sqrt(sum(x * x for x in normal))
        self.points += [tuple(map(float, corner)) for corner in corners]
        self.normals += [tuple(x / length for x in normal)] * 4
        self.uvs += [tuple(map(float, uv)) for uv in uvs]
        self.triangles += [(first, first + 1, first + 2), (first, first + 2, first + 3)]
        return self

    def indices(self):
        return [i for triangle in self.triangles for i in triangle]


def crate(width=1.6, height=1.2, depth=0.8):
    """A box that stands on the ground, with the whole texture on each side."""
    x, y, z = width / 2, height, depth / 2
    return (Shape().quad([(-x, 0, z), (x, 0, z), (x, y, z), (-x, y, z)])
            .quad([(x, 0, z), (x, 0, -z), (x, y, -z), (x, y, z)])
            .quad([(x, 0, -z), (-x, 0, -z), (-x, y, -z), (x, y, -z)])
            .quad([(-x, 0, -z), (-x, 0, z), (-x, y, z), (-x, y, -z)])
            .quad([(-x, y, z), (x, y, z), (x, y, -z), (-x, y, -z)])
            .quad([(-x, 0, -z), (x, 0, -z), (x, 0, z), (-x, 0, z)]))


def panel(width=1.6, height=1.2, z=0.0):
    x = width / 2
    return Shape().quad([(-x, 0, z), (x, 0, z), (x, height, z), (-x, height, z)])


def ball(radius=0.8, height=0.8, rows=14, columns=28):
    shape = Shape()
    for i in range(rows + 1):
        up = math.pi * (0.5 - i / rows)
        for j in range(columns + 1):
            around = 2 * math.pi * j / columns
            normal = (math.cos(up) * math.sin(around), math.sin(up),
                      math.cos(up) * math.cos(around))
            shape.normals.append(normal)
            shape.points.append((radius * normal[0], height + radius * normal[1],
                                 radius * normal[2]))
            shape.uvs.append((j / columns, i / rows))
    for i in range(rows):
        for j in range(columns):
            a = i * (columns + 1) + j
            b = a + columns + 1
            shape.triangles += [(a, b, b + 1)] if i < rows - 1 else []
            shape.triangles += [(a, b + 1, a + 1)] if i > 0 else []
            if i == rows - 1:
                shape.triangles.append((a, b, a + 1))
    return shape


# ---- glTF -----------------------------------------------------------------------------------


class Gltf:
    """A glTF 2 document under construction; methods that add something return its index."""

    def __init__(self, **more):
        self.document = {"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": []}],
                         **more}
        self.data = bytearray()

    def add(self, kind, item):
        self.document.setdefault(kind, []).append(item)
        return len(self.document[kind]) - 1

    def use(self, *extensions, required=False):
        self.document.setdefault("extensionsUsed", []).extend(extensions)
        if required:
            self.document.setdefault("extensionsRequired", []).extend(extensions)

    def view(self, content, **more):
        self.data += b"\0" * (-len(self.data) % 4)
        view = {"buffer": 0, "byteOffset": len(self.data), "byteLength": len(content), **more}
        self.data += content
        return self.add("bufferViews", view)

    def accessor(self, values, kind="SCALAR", component=FLOAT, stride=0, **more):
        """`values` are numbers or tuples. A stride pads each element to that many bytes."""
        values = [value if isinstance(value, (tuple, list)) else (value,) for value in values]
        elements = [struct.pack(f"<{len(value)}{FORMATS[component]}", *value) for value in values]
        content = b"".join(element.ljust(stride, b"\0") for element in elements)
        entry = {"bufferView": self.view(content, **({"byteStride": stride} if stride else {})),
                 "componentType": component, "count": len(values), "type": kind, **more}
        if kind == "VEC3" and component == FLOAT or kind == "SCALAR" and "target" not in more:
            entry["min"] = [min(column) for column in zip(*values)]
            entry["max"] = [max(column) for column in zip(*values)]
        return self.add("accessors", entry)

    def primitive(self, shape, material=None, **more):
        made = {"attributes": {"POSITION": self.accessor(shape.points, "VEC3"),
                               "NORMAL": self.accessor(shape.normals, "VEC3"),
                               "TEXCOORD_0": self.accessor(shape.uvs, "VEC2")},
                "indices": self.accessor(shape.indices(), component=UNSIGNED_SHORT), **more}
        if material is not None:
            made["material"] = material
        return made

    def mesh(self, *primitives, **more):
        return self.add("meshes", {"primitives": list(primitives), **more})

    def node(self, in_scene=True, **values):
        index = self.add("nodes", values)
        if in_scene:
            self.document["scenes"][0]["nodes"].append(index)
        return index

    def texture(self, picture, **sampler):
        """A texture inside the file."""
        image = self.add("images", {"bufferView": self.view(picture), "mimeType": "image/png"})
        more = {"sampler": self.add("samplers", sampler)} if sampler else {}
        return self.add("textures", {"source": image, **more})

    def material(self, extensions=None, **more):
        if extensions:
            self.use(*extensions)
            more["extensions"] = extensions
        return self.add("materials", more)

    def animate(self, name, node, path, times, values, interpolation="LINEAR"):
        kind = {"rotation": "VEC4", "weights": "SCALAR"}.get(path, "VEC3")
        self.add("animations", {"name": name, "samplers": [{
            "input": self.accessor(times), "output": self.accessor(values, kind),
            "interpolation": interpolation}], "channels": [
                {"sampler": 0, "target": {"node": node, "path": path}}]})

    def write_text(self, path, buffer=None):
        """Writes the document. `buffer` is the file name for the data, or None for a data URI."""
        if buffer is None:
            uri = "data:application/octet-stream;base64," + base64.b64encode(self.data).decode()
        else:
            uri = buffer.replace("%", "%25").replace(" ", "%20")
            (path.parent / buffer).write_bytes(self.data)
        buffers = [{"byteLength": len(self.data), "uri": uri}]
        path.write_text(json.dumps({**self.document, "buffers": buffers
                                    + self.document.get("buffers", [])}))

    def write_binary(self, path):
        self.data += b"\0" * (-len(self.data) % 4)
        text = json.dumps({**self.document, "buffers": [{"byteLength": len(self.data)}]
                           + self.document.get("buffers", [])}).encode()
        text += b" " * (-len(text) % 4)
        path.write_bytes(struct.pack("<4sII", b"glTF", 2, 28 + len(text) + len(self.data))
                         + struct.pack("<I4s", len(text), b"JSON") + text
                         + struct.pack("<I4s", len(self.data), b"BIN\0") + self.data)


# ---- compression ----------------------------------------------------------------------------


def variable_length(value):
    """An unsigned integer in groups of seven bits, the lowest first."""
    out = bytearray()
    while value > 127:
        out.append(value & 127 | 128)
        value >>= 7
    return bytes(out) + bytes([value])


def draco_mesh(shape):
    """A mesh of Draco 2.2 with sequential connectivity and attributes as they are. Attribute 0 are
    points, 1 normals, 2 texture coordinates. At most 255 points."""
    out = b"DRACO" + bytes([2, 2, 1, 0, 0, 0])
    out += variable_length(len(shape.triangles)) + variable_length(len(shape.points))
    out += bytes([1]) + bytes(shape.indices())
    columns = ((0, 3, shape.points), (1, 3, shape.normals), (3, 2, shape.uvs))
    out += bytes([1, len(columns)])
    for number, (kind, width, _) in enumerate(columns):
        out += bytes([kind, 9, width, 0, number])  # 9: floats
    out += bytes(len(columns))
    for _, width, values in columns:
        out += b"".join(struct.pack(f"<{width}f", *value) for value in values)
    return out


def meshopt_vertices(elements):
    """The attribute codec, version 0, with all bytes as differences. Elements have one length."""
    size = len(elements[0])
    out = bytearray([0xa0])
    most = min(8192 // size & ~15, 256)
    last = elements[0]
    for start in range(0, len(elements), most):
        block = elements[start:start + most]
        groups = -(-len(block) // 16)
        for k in range(size):
            modes = [3] * groups + [0] * (-groups % 4)
            for i in range(0, len(modes), 4):
                out.append(sum(mode << 2 * j for j, mode in enumerate(modes[i:i + 4])))
            before, values = last[k], []
            for element in block:
                delta = (element[k] - before) & 255
                values.append(((delta << 1) ^ (255 if delta > 127 else 0)) & 255)
                before = element[k]
            out += bytes(values).ljust(16 * groups, b"\0")
        last = block[-1]
    return bytes(out) + elements[0].rjust(max(size, 32), b"\0")


def meshopt_triangles(indices):
    """The index codec, version 1, in which every triangle names its corners."""
    codes, data, last = bytearray(), bytearray(), 0
    for first in range(0, len(indices), 3):
        codes.append(0xff)
        data.append(0xff)
        for index in indices[first:first + 3]:
            delta, last = index - last, index
            data += variable_length(2 * delta if delta >= 0 else -2 * delta - 1)
    return bytes([0xe1]) + bytes(codes) + bytes(data) + bytes(16)

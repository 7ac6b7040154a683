"""Scenes with cameras, and the geometry that the command is compared with."""

import json
import math
import struct

from tellar_test import TellarTest

CAMERA = "/root/world/cam/camera"
IDENTITY = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]


def moved(x, y, z):
    """The matrix of a translation, row by row, for row vectors."""
    return IDENTITY[:12] + [x, y, z, 1]


def product(first, second):
    return [sum(first[4 * row + k] * second[4 * k + column] for k in range(4))
            for row in range(4) for column in range(4)]


def transformed(point, matrix):
    """The point after an affine transform."""
    return [sum(value * matrix[4 * row + column] for row, value in enumerate([*point, 1]))
            for column in range(3)]


def doubles(times, samples):
    return {"$type": "double", "times": times, "samples": samples}


def single(number):
    """The nearest float of 32 bits."""
    return struct.unpack("f", struct.pack("f", number))[0]


def corners(bound):
    return [[x, y, z] for z in bound[4:6] for y in bound[2:4] for x in bound[0:2]]


class Scene:
    """A description that is put together op by op."""

    def __init__(self, locations=None, root=None):
        self.ops = [{"name": "scene", "type": "StaticScene",
                     "args": {"a": root or {}, "c": locations or {}}}]

    def then(self, op_type, **arguments):
        self.ops.append({"name": f"op{len(self.ops)}", "type": op_type,
                         "inputs": [self.ops[-1]["name"]], "args": arguments})
        return self

    def description(self):
        return {"ops": self.ops}


class View:
    """A camera that is only turned about x, and what it sees."""

    def __init__(self, position=(0, 0, 0), turn=0, fov=45, near=0.1, far=100000,
                 window=(-1, 1, -1, 1), width=None):
        angle = math.radians(turn)
        self.position = position
        self.up = [0, math.cos(angle), math.sin(angle)]
        self.back = [0, -math.sin(angle), math.cos(angle)]
        self.near, self.far = single(near), single(far)
        self.tangent = math.tan(math.radians(fov) / 2)
        self.orthographic = width is not None
        scale = width / 2 if self.orthographic else 1
        self.left, self.right, self.bottom, self.top = (edge * scale for edge in window)

    def seen(self, point):
        """Window units to the right and up, and the distance along the axis."""
        away = [a - b for a, b in zip(point, self.position)]
        up = sum(a * b for a, b in zip(away, self.up))
        depth = -sum(a * b for a, b in zip(away, self.back))
        if self.orthographic:
            return away[0], up, depth
        return away[0] / depth / self.tangent, up / depth / self.tangent, depth

    def ndc(self, point):
        x, y, depth = self.seen(point)
        return [(x - self.left) / (self.right - self.left),
                (y - self.bottom) / (self.top - self.bottom),
                (depth - self.near) / (self.far - self.near)]

    def pixel(self, point, width, height):
        """The window's height is fitted to the picture, around the same centre."""
        x, y, _ = self.seen(point)
        window_width, window_height = self.right - self.left, self.top - self.bottom
        fit = 1 if self.orthographic else window_width / window_height * height / width
        return [(x - self.left) / window_width * width,
                (y / fit - self.bottom) / window_height * height]

    def area(self, points, width, height):
        """The area of the rectangle around points that are all in front of the camera."""
        ndc = [self.ndc(point) for point in points]
        share = 1
        for axis in (0, 1):
            low = max(min(point[axis] for point in ndc), 0)
            high = min(max(point[axis] for point in ndc), 1)
            share *= max(high - low, 0)
        return round(share * width * height)


class GeometryTest(TellarTest):
    def assert_near(self, actual, expected, tolerance=1e-6):
        self.assertEqual(len(actual), len(expected), actual)
        for a, b in zip(actual, expected):
            self.assertLessEqual(abs(a - b), tolerance * max(1, abs(b)), (actual, expected))

    def scene(self, scene, name="scene.json"):
        return self.write(name, scene.description())

    def json(self, *arguments, **environment):
        return json.loads(self.tellar(*arguments, "--json", **environment))

#!/usr/bin/env python3
"""Makes cameras.json: camera test vectors, derived by geometry in exact arithmetic.

    make_cameras.py > cameras.json      writes the vectors
    make_cameras.py --check FILE        fails when the file is not what would be written

docs/cameras.md tells what they mean. How they come about:

A point is chosen where the camera sees it: on the ray from the eye through (x, y) of the screen
window at some depth, or at some distances to the right of the viewing axis, above it and along
it. What is expected follows from that choice by proportions on the window alone. Only then the
point is placed in the world, along the camera's axes from the eye, and from there into the
location's local space. Camera axes come from the angles by which the camera is turned,
locations are turned by Rodrigues' formula. No matrix is multiplied or inverted: rows of a
transform are what it makes of the unit vectors and of the origin, and so are rows of the screen
matrix, the one that gives the points' homogeneous pixels.

All numbers are fractions. Angles of turns have rational sines and cosines; tan(fov / 2) is known
to 50 digits. What is written is the double closest to the result.
"""

import difflib
import json
import sys
from dataclasses import dataclass
from fractions import Fraction as F
from pathlib import Path

from exact_camera import (DIGITS, TURN_16, TURN_180, TURN_23, TURN_37, TURN_53, TURN_90, Camera,
                          Lens, Location, Picture, homogeneous_pixel, ndc, number, numbers, pixel,
                          projection, rows_of, transform, usual_points)

# A projection in single precision has a rounding or two in every step, of 6e-8 each, and the
# tangent of half a field of view up to 120 degrees has up to 2.5 times the relative error of its
# angle: together they stay below this.
SINGLE = F(1, 1000000)
DOUBLE = F(1, 10**12)


@dataclass
class Case:
    name: str
    lens: Lens
    picture: Picture
    camera: Camera = Camera()
    location: Location = Location()

    def homogeneous_pixel_of_local(self, local):
        view = self.camera.view(self.location.world(local))
        return homogeneous_pixel(self.lens, self.picture, view, self.camera.scale)

    def screen_tolerance(self):
        """The largest error of each column that errors of the projection's entries can cause."""
        rows = rows_of(lambda local: self.camera.view(self.location.world(local)))
        reach = max(sum(abs(x) for x in row) + 1 for row in rows) / min(self.camera.scale, 1)
        matrix = projection(self.lens, self.picture.aspect)
        largest = [max(1, *map(abs, matrix[column::4])) for column in range(4)]
        sizes = [self.picture.width, self.picture.height, 1, 1]
        return numbers(SINGLE * reach * size * entry for size, entry in zip(sizes, largest))

    def point_json(self, point):
        view = point.view(self.lens)
        assert view[2] != 0, "no point beside the camera is defined"
        local = self.location.local(self.camera.world(*view))
        expected = pixel(self.lens, self.picture, view, self.camera.scale)
        *scaled, w = self.homogeneous_pixel_of_local(local)
        assert all(abs(a / w - b) < F(1, 10**DIGITS) for a, b in zip(scaled, expected)), self.name
        return {"what": point.what, "local": numbers(local),
                "ndc": numbers(ndc(self.lens, view)), "pixel": numbers(expected)}

    def json(self):
        lens, picture = self.lens, self.picture
        return {
            "name": self.name,
            "lens": {
                "fov": number(lens.fov), "near": number(lens.near), "far": number(lens.far),
                "left": number(lens.left), "right": number(lens.right),
                "top": number(lens.top), "bottom": number(lens.bottom),
                "projection": "orthographic" if lens.is_orthographic else "perspective",
                "orthographicWidth": number(lens.orthographic_width)},
            "cameraXform": numbers(self.camera.xform()),
            "locationXform": numbers(transform(self.location.world)),
            "resolution": {"name": picture.name, "width": picture.width,
                           "height": picture.height},
            "projectionMatrix": numbers(projection(lens, picture.aspect)),
            "screenMatrix": numbers(x for row in rows_of(self.homogeneous_pixel_of_local)
                                    for x in row),
            "screenTolerance": self.screen_tolerance(),
            "points": [self.point_json(point) for point in usual_points(self.lens)]}


# The cases --------------------------------------------------------------------------------------

SQUARE_512 = Picture("square_512", 512, 512)
SQUARE_1024 = Picture("square_1024", 1024, 1024)
HD_720 = Picture("hd_720", 1280, 720)
HD_1080 = Picture("hd_1080", 1920, 1080)
SCOPE_2K = Picture("dci_2k_scope", 2048, 858)
VERTICAL_1080 = Picture("vertical_1080", 1080, 1920)


def cases():
    plain = {"near": F(1), "far": F(101)}
    turned_camera = Camera(eye=(F(10), F(-4), F(7)), pan=TURN_53, tilt=TURN_23.reversed(),
                           roll=TURN_16)
    moved_location = Location(scale=(F(2), F(1, 2), F(3)), axis=(F(2, 3), F(1, 3), F(-2, 3)),
                              turn=TURN_37, move=(F(-6), F(5, 2), F(-9)))
    return [
        Case("centred_fov_90", Lens(**plain), SQUARE_512),
        Case("centred_fov_60", Lens(fov=F(60), near=F(1, 8), far=F(1000)), SQUARE_1024),
        Case("telephoto_fov_10", Lens(fov=F(10), near=F(2), far=F(500)), SQUARE_512),
        Case("wide_angle_fov_120", Lens(fov=F(120), near=F(1, 4), far=F(64)), SQUARE_512),
        Case("wide_picture_square_window", Lens(**plain), HD_1080),
        Case("wide_picture_window_of_its_aspect",
             Lens(fov=F(70), top=F(9, 16), bottom=F(-9, 16), **plain), HD_720),
        Case("very_wide_picture_fov_45", Lens(fov=F(45), near=F(1, 2), far=F(2000)), SCOPE_2K),
        Case("tall_picture", Lens(fov=F(50), near=F(1), far=F(300)), VERTICAL_1080),
        Case("right_half_of_the_window", Lens(left=F(0), **plain), SQUARE_512),
        Case("off_centre_window_wide_picture",
             Lens(fov=F(75), left=F(-1, 4), right=F(7, 4), top=F(1, 2), bottom=F(-3, 2), **plain),
             HD_720),
        Case("window_of_another_shape",
             Lens(fov=F(65), left=F(-3, 2), right=F(1), top=F(3, 4), bottom=F(-1, 2), **plain),
             VERTICAL_1080),
        Case("orthographic_centred", Lens(orthographic_width=F(4), **plain), SQUARE_512),
        Case("orthographic_off_centre",
             Lens(left=F(0), right=F(2), top=F(3), bottom=F(-1), orthographic_width=F(5), **plain),
             SQUARE_1024),
        Case("orthographic_wide_picture",
             Lens(top=F(9, 16), bottom=F(-9, 16), orthographic_width=F(20), near=F(1, 8),
                  far=F(50)), HD_1080),
        Case("moved_camera", Lens(**plain), SQUARE_512,
             camera=Camera(eye=(F(100), F(-20), F(35, 2)))),
        Case("camera_looking_along_x", Lens(fov=F(60), **plain), SQUARE_512,
             camera=Camera(eye=(F(1), F(2), F(3)), pan=TURN_90.reversed())),
        Case("camera_looking_backwards_head_down", Lens(fov=F(60), **plain), HD_720,
             camera=Camera(pan=TURN_180, roll=TURN_180)),
        Case("turned_camera", Lens(fov=F(40), **plain), HD_1080, camera=turned_camera),
        Case("camera_with_a_scale", Lens(fov=F(40), **plain), HD_1080,
             camera=Camera(eye=(F(10), F(-4), F(7)), pan=TURN_37, scale=F(2))),
        Case("moved_location", Lens(fov=F(55), **plain), SQUARE_1024, location=moved_location),
        Case("turned_camera_moved_location",
             Lens(fov=F(80), left=F(-1, 2), top=F(3, 4), **plain), HD_720, camera=turned_camera,
             location=moved_location),
        Case("turned_orthographic_camera_moved_location",
             Lens(left=F(-3, 2), right=F(1), top=F(1, 2), orthographic_width=F(10), **plain),
             HD_720, camera=turned_camera, location=moved_location),
    ]


DESCRIPTION = """\
Test vectors for cameras. docs/cameras.md of the project has formulas and more words; this is
enough to use them.

Points are row vectors, p' = p M. 16 numbers are a matrix row by row; the last row of a transform
is where it puts the origin. A camera looks along its own -z, +y is up. cameraXform takes camera
space to the world, locationXform the points' local space. Picture coordinates have their origin
at the lower left.

The screen window is what a camera sees, in units of tan(fov / 2) at a depth of 1; for an
orthographic camera, in units of half its orthographicWidth at any depth.

ndc: x and y go from 0 to 1 across the screen window, from its left and bottom edges; z goes along
the viewing axis from 0 at near to 1 at far, linear in the depth, in units of the world.

pixel: x and y in the picture of the given resolution. A perspective camera's window fills its
width, and the window's height is stretched until pixels are square. An orthographic camera's
window fills the picture, but is moved the other way: -right, -left, -top and -bottom are the
picture's left, right, bottom and top edges. z is 0 at near and 1 at far, in units of camera space,
linear in 1 / depth for a perspective camera.

projectionMatrix: camera space to clip space. After the division by w, x and y go from -1 to 1
across the picture and z from -1 at near to 1 at far.

screenMatrix: local space to pixel, before the division by w.

Points behind the camera have what their mirrored ray gives. There are none beside the camera,
where nothing is defined.

Values are the doubles closest to the exact results; lens values are exact in single precision.
What a renderer finds may differ from ndc by tolerance.ndc times the larger of 1 and the value;
from an entry of projectionMatrix by tolerance.projection times the larger of 1 and the entry;
from pixel by tolerance.pixel times the larger of the value and the picture's width, its height or
1, for x, y and z; from entries of screenMatrix by the case's screenTolerance, one for each column.
All but the first allow for a projection that is computed in single precision.

Made by make_cameras.py; do not edit.
"""


def document():
    return {"description": DESCRIPTION.splitlines(),
            "tolerance": {"ndc": number(DOUBLE), "projection": number(SINGLE),
                          "pixel": number(SINGLE)},
            "cases": [one.json() for one in cases()]}


def text_of(value, indent=""):
    """JSON for people: numbers stand in rows of up to four."""
    inner = indent + "  "
    if isinstance(value, dict):
        if all(not isinstance(item, (dict, list)) for item in value.values()) and len(value) < 4:
            return json.dumps(value)
        items = [f"{json.dumps(key)}: {text_of(item, inner)}" for key, item in value.items()]
        return "{\n" + ",\n".join(inner + item for item in items) + "\n" + indent + "}"
    if isinstance(value, list):
        if value and isinstance(value[0], float):
            rows = [", ".join(map(repr, value[i:i + 4])) for i in range(0, len(value), 4)]
            if len(rows) == 1:
                return "[" + rows[0] + "]"
            return "[\n" + ",\n".join(inner + row for row in rows) + "\n" + indent + "]"
        items = [inner + text_of(item, inner) for item in value]
        return "[\n" + ",\n".join(items) + "\n" + indent + "]"
    return json.dumps(value)


def main(arguments):
    text = text_of(document()) + "\n"
    if not arguments:
        sys.stdout.write(text)
        return 0
    if len(arguments) != 2 or arguments[0] != "--check":
        sys.stderr.write(__doc__)
        return 2
    found = Path(arguments[1]).read_text(encoding="utf-8")
    if found == text:
        return 0
    sys.stderr.writelines(difflib.unified_diff(
        found.splitlines(keepends=True), text.splitlines(keepends=True), arguments[1],
        "what make_cameras.py writes", n=1))
    return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

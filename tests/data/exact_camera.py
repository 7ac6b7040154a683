"""Cameras, lenses, pictures and locations in exact arithmetic, for make_cameras.py."""

import struct
from dataclasses import dataclass
from fractions import Fraction as F

# Rounding ---------------------------------------------------------------------------------------

DIGITS = 40  # after the point: far fewer than are right, far more than a double has


def number(value):
    """The double closest to the value; 0 without a sign if only rounding keeps it from 0."""
    return float(F(round(F(value) * 10**DIGITS), 10**DIGITS))


def numbers(values):
    return [number(value) for value in values]


def is_single(value):
    """Whether single precision holds the value exactly."""
    return F(struct.unpack("f", struct.pack("f", float(value)))[0]) == value


# Trigonometry -----------------------------------------------------------------------------------


# In whole numbers of this size.
ONE = 10**60


def arctan_of_inverse(n):
    term = total = ONE // n
    divisor = 1
    while term:
        term = -term // (n * n)
        divisor += 2
        total += term // divisor
    return total


PI = F(4 * (4 * arctan_of_inverse(5) - arctan_of_inverse(239)), ONE)


def tan_of_degrees(degrees):
    angle = round(PI * degrees / 180 * ONE)
    sine = cosine = 0
    term = ONE  # angle**n / n!, with the signs of the series
    for n in range(0, 100, 2):
        cosine += term
        term = term * angle // (ONE * (n + 1))
        sine += term
        term = -term * angle // (ONE * (n + 2))
    return F(sine, cosine)


@dataclass(frozen=True)
class Angle:
    cos: F
    sin: F

    def __post_init__(self):
        assert self.cos**2 + self.sin**2 == 1

    def reversed(self):
        return Angle(self.cos, -self.sin)


NO_TURN = Angle(F(1), F(0))
TURN_37 = Angle(F(4, 5), F(3, 5))  # degrees, roughly
TURN_53 = Angle(F(3, 5), F(4, 5))
TURN_23 = Angle(F(12, 13), F(5, 13))
TURN_16 = Angle(F(24, 25), F(7, 25))
TURN_90 = Angle(F(0), F(1))
TURN_180 = Angle(F(-1), F(0))

# Vectors ----------------------------------------------------------------------------------------

ORIGIN = (F(0), F(0), F(0))
UNITS = ((F(1), F(0), F(0)), (F(0), F(1), F(0)), (F(0), F(0), F(1)))


def plus(a, b):
    return tuple(x + y for x, y in zip(a, b))


def minus(a, b):
    return tuple(x - y for x, y in zip(a, b))


def times(a, factor):
    return tuple(x * factor for x in a)


def dot(a, b):
    return sum(x * y for x, y in zip(a, b))


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def turned(vector, axis, angle):
    """Rodrigues: the vector, turned around the unit axis."""
    return plus(plus(times(vector, angle.cos), times(cross(axis, vector), angle.sin)),
                times(axis, dot(axis, vector) * (1 - angle.cos)))


def rows_of(image):
    """The rows of an affine map's matrix, for row vectors: `image` tells what becomes of points."""
    at_origin = image(ORIGIN)
    return [minus(image(unit), at_origin) for unit in UNITS] + [at_origin]


def transform(image):
    """An affine map of space as 16 numbers."""
    return [value for row, w in zip(rows_of(image), (0, 0, 0, 1)) for value in (*row, F(w))]


# The parts of a case ----------------------------------------------------------------------------


@dataclass(eq=False)
class Camera:
    """Stands at `eye`, turned to its left by `pan`, then upwards by `tilt`, then with its head to
    its left by `roll`. `scale` changes the unit that its own space is measured in."""
    eye: tuple = ORIGIN
    pan: Angle = NO_TURN
    tilt: Angle = NO_TURN
    roll: Angle = NO_TURN
    scale: F = F(1)

    def __post_init__(self):
        pan, tilt, roll = self.pan, self.tilt, self.roll
        self.forward = (-pan.sin * tilt.cos, tilt.sin, -pan.cos * tilt.cos)
        level = (pan.cos, F(0), -pan.sin)
        upright = cross(level, self.forward)
        self.right = plus(times(level, roll.cos), times(upright, roll.sin))
        self.up = minus(times(upright, roll.cos), times(level, roll.sin))

    def world(self, right, up, depth):
        """The point so far to the right of the viewing axis, above it and along it."""
        point = self.eye
        for axis, distance in ((self.right, right), (self.up, up), (self.forward, depth)):
            point = plus(point, times(axis, distance))
        return point

    def view(self, world):
        """The reverse: how far to the right, up and along the axis a point is."""
        away = minus(world, self.eye)
        return dot(away, self.right), dot(away, self.up), dot(away, self.forward)

    def xform(self):
        return transform(lambda p: self.world(*times((p[0], p[1], -p[2]), self.scale)))


@dataclass(eq=False)
class Location:
    """Its space is scaled, then turned around the unit vector `axis`, then moved."""
    scale: tuple = (F(1), F(1), F(1))
    axis: tuple = (F(0), F(1), F(0))
    turn: Angle = NO_TURN
    move: tuple = ORIGIN

    def world(self, local):
        scaled = tuple(x * s for x, s in zip(local, self.scale))
        return plus(turned(scaled, self.axis, self.turn), self.move)

    def local(self, world):
        scaled = turned(minus(world, self.move), self.axis, self.turn.reversed())
        return tuple(x / s for x, s in zip(scaled, self.scale))


@dataclass
class Lens:
    near: F
    far: F
    left: F = F(-1)
    right: F = F(1)
    top: F = F(1)
    bottom: F = F(-1)
    fov: F = F(90)
    orthographic_width: F = F(0)  # 0: perspective

    def __post_init__(self):
        # Renderers that keep the lens in single precision then lose nothing of it.
        for value in (self.near, self.far, self.left, self.right, self.top, self.bottom, self.fov,
                      self.orthographic_width, self.far - self.near):
            assert is_single(value), value
        # How much of the scene one unit of the window spans at a depth of 1, or at any.
        self.unit = (self.orthographic_width / 2 if self.is_orthographic
                     else tan_of_degrees(self.fov / 2))
        self.width = self.right - self.left
        self.height = self.top - self.bottom

    @property
    def is_orthographic(self):
        return self.orthographic_width != 0

    def across(self, window, depth):
        """How far from the axis a point at this depth is that shows at `window`, in one
        direction."""
        return window * self.unit * (1 if self.is_orthographic else depth)

    def on_window(self, across, depth):
        """The reverse: where on the window the ray of a point crosses it (similar triangles)."""
        return across / self.unit / (1 if self.is_orthographic else depth)


@dataclass
class Picture:
    name: str
    width: int
    height: int

    @property
    def aspect(self):
        return F(self.width, self.height)


@dataclass
class Through:
    """The point that shows at (x, y) of the screen window, at a depth."""
    what: str
    x: F
    y: F
    depth: F

    def view(self, lens):
        return (lens.across(self.x, self.depth), lens.across(self.y, self.depth), self.depth)


@dataclass
class At:
    """The point at these distances to the right of the viewing axis, above it and along it."""
    what: str
    right: F
    up: F
    depth: F

    def view(self, _lens):
        return (self.right, self.up, self.depth)


def usual_points(lens):
    """Points that tell most mistakes, for any lens."""
    middle_x, middle_y = (lens.left + lens.right) / 2, (lens.bottom + lens.top) / 2
    between = lens.near + (lens.far - lens.near) / 4
    return [
        At("on the axis, on the near plane", F(0), F(0), lens.near),
        At("on the axis, on the far plane", F(0), F(0), lens.far),
        Through("the middle of the window", middle_x, middle_y, between),
        Through("the lower left corner of the window, on the near plane", lens.left, lens.bottom,
                lens.near),
        Through("the upper right corner of the window, on the far plane", lens.right, lens.top,
                lens.far),
        Through("in the upper left quarter", lens.left + lens.width / 8,
                lens.top - lens.height / 4, between),
        Through("the right edge", lens.right, F(1, 8), F(5)),
        Through("beyond the window, to the right and below", lens.right + lens.width,
                lens.bottom - lens.height / 2, F(7)),
        At("closer than the near plane", F(1, 16), F(-1, 32), lens.near / 2),
        At("farther than the far plane", F(3), F(-5), lens.far * 2),
        At("behind the camera", F(1, 2), F(1, 4), F(-2)),
    ]


# Expected results -------------------------------------------------------------------------------


def share(value, low, high):
    return (value - low) / (high - low)


def ndc(lens, view):
    right, up, depth = view
    return (share(lens.on_window(right, depth), lens.left, lens.right),
            share(lens.on_window(up, depth), lens.bottom, lens.top),
            share(depth, lens.near, lens.far))


def frame(lens, picture):
    """The part of the window's plane that the picture shows: left, right, bottom, top."""
    if lens.is_orthographic:
        # Moved the other way than the window is.
        return -lens.right, -lens.left, -lens.top, -lens.bottom
    # The window's width fills the picture; its height is stretched until pixels are square.
    stretch = lens.width / lens.height / picture.aspect
    return lens.left, lens.right, lens.bottom * stretch, lens.top * stretch


def pixel(lens, picture, view, unit):
    """`unit` is that of the camera's space; depths are compared with near and far in it."""
    right, up, depth = view
    left_edge, right_edge, bottom_edge, top_edge = frame(lens, picture)
    # In camera space the rays of a perspective are the same, whatever the unit.
    window_unit = unit if lens.is_orthographic else 1
    x = share(lens.on_window(right, depth) / window_unit, left_edge, right_edge)
    y = share(lens.on_window(up, depth) / window_unit, bottom_edge, top_edge)
    z = share(depth / unit, lens.near, lens.far)
    if not lens.is_orthographic:
        z *= lens.far / (depth / unit)  # 0 stays 0 and 1 stays 1, while 1 / depth is linear
    return x * picture.width, y * picture.height, z


def homogeneous_pixel(lens, picture, view, unit):
    """Pixel coordinates times w, and w: the depth in camera space for a perspective, else 1.
    Without a division by the depth, so that it is right for all points of space."""
    right, up, depth = (distance / unit for distance in view)
    left_edge, right_edge, bottom_edge, top_edge = frame(lens, picture)
    w = F(1) if lens.is_orthographic else depth
    z = (depth - lens.near) / (lens.far - lens.near)
    return ((right / lens.unit - left_edge * w) / (right_edge - left_edge) * picture.width,
            (up / lens.unit - bottom_edge * w) / (top_edge - bottom_edge) * picture.height,
            z if lens.is_orthographic else z * lens.far,
            w)


def projection(lens, aspect):
    depth_range = lens.far - lens.near
    matrix = [F(0)] * 16
    # A picture's half width, in window units, is what becomes 1.
    matrix[0] = 2 / lens.width / lens.unit
    if lens.is_orthographic:
        matrix[5] = 2 / lens.height / lens.unit
        matrix[10] = -2 / depth_range
        matrix[12] = (lens.left + lens.right) / lens.width
        matrix[13] = (lens.bottom + lens.top) / lens.height
        matrix[14] = -(lens.near + lens.far) / depth_range
        matrix[15] = F(1)
    else:
        matrix[5] = 2 / lens.width / lens.unit * aspect
        matrix[8] = (lens.left + lens.right) / lens.width
        matrix[9] = (lens.bottom + lens.top) / lens.height
        matrix[10] = -(lens.near + lens.far) / depth_range
        matrix[11] = F(-1)
        matrix[14] = -2 * lens.far * lens.near / depth_range
    return matrix

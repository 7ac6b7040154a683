"""Cages of chess pieces, to be drawn as subdivision surfaces with creases.

make_chess.py uses this module.
"""

import math


class Cage:
    """Points, faces that wind counterclockwise seen from outside, and (points, sharpness) of
    creases."""

    def __init__(self):
        self.points, self.faces, self.creases = [], [], []

    def add(self, other, scale=1.0, offset=(0, 0, 0)):
        first = len(self.points)
        self.points += [tuple(scale * x + o for x, o in zip(p, offset)) for p in other.points]
        self.faces += [tuple(first + i for i in face) for face in other.faces]
        self.creases += [([first + i for i in crease], s) for crease, s in other.creases]
        return self


def lathe(profile, sides):
    """Turns (radius, height) or (radius, height, sharpness) around +Y, from the bottom to the top.
    A radius of 0 at an end is a pole."""
    cage = Cage()
    rings = []
    for radius, height, *sharpness in profile:
        first = len(cage.points)
        count = sides if radius > 0 else 1
        for i in range(count):
            angle = 2 * math.pi * i / sides
            cage.points.append((radius * math.cos(angle), height, -radius * math.sin(angle)))
        ring = [first + i % count for i in range(sides + 1)]
        rings.append(ring)
        if sharpness:
            cage.creases.append((ring, sharpness[0]))
    for low, high in zip(rings, rings[1:]):
        for i in range(sides):
            corners = (low[i], low[i + 1], high[i + 1], high[i])
            cage.faces.append(tuple(dict.fromkeys(corners)))
    return cage


def foot(radius, stem, top):
    """The profile of the base of every piece, up to its stem."""
    return [(0, 0), (radius, 0, 3), (radius * 1.04, 0.07), (radius * 1.0, 0.15, 2),
            (radius * 0.8, 0.17, 2), (radius * 0.82, 0.25), (radius * 0.62, 0.32),
            (stem * 1.12, 0.32 + 0.3 * (top - 0.32)), (stem, top)]


def collar(radius, stem, height):
    return [(radius, height, 2), (radius * 1.02, height + 0.06, 2), (stem, height + 0.1)]


def pawn():
    return lathe(foot(0.4, 0.15, 0.62) + collar(0.27, 0.15, 0.64)
                 + [(0.25, 0.83), (0.28, 0.97), (0.22, 1.1), (0.1, 1.15), (0, 1.155)], 10)


def rook():
    cage = lathe(foot(0.43, 0.26, 0.78) + [(0.36, 0.86, 2), (0.37, 1.12, 6), (0.25, 1.12, 6),
                                           (0.24, 0.95, 3), (0, 0.94)], 12)
    merlon = merlons(0.37, 0.25, 1.115, 1.27)
    return cage.add(merlon)


def merlons(outer, inner, low, high, count=6):
    """Teeth on a ring."""
    cage = Cage()
    for tooth in range(count):
        first = len(cage.points)
        for height in (low, high):
            for radius, turn in ((outer, 0.1), (outer, 0.35), (outer, 0.6), (inner, 0.6),
                                 (inner, 0.35), (inner, 0.1)):
                angle = 2 * math.pi * (tooth + turn) / count
                cage.points.append((radius * math.cos(angle), height, -radius * math.sin(angle)))
        for i in range(6):
            j = (i + 1) % 6
            cage.faces.append((first + i, first + j, first + 6 + j, first + 6 + i))
            if i not in (1, 4):
                cage.creases.append(([first + i, first + 6 + i], 3))
        cage.faces.append(tuple(first + 6 + i for i in range(6)))
        cage.faces.append(tuple(first + 5 - i for i in range(6)))
        for level in (0, 6):
            cage.creases.append(([first + level + i % 6 for i in range(7)], 3))
    return cage


def bishop():
    return lathe(foot(0.41, 0.16, 0.82) + collar(0.28, 0.15, 0.86)
                 + [(0.2, 1.02), (0.27, 1.16), (0.24, 1.32), (0.13, 1.5), (0.07, 1.54, 2),
                    (0.1, 1.6), (0.06, 1.67), (0, 1.675)], 10)


def queen():
    crown = [(0.2, 1.2), (0.27, 1.42), (0.35, 1.62, 2)]
    cage = lathe(foot(0.44, 0.18, 0.96) + collar(0.32, 0.17, 1.0) + [(0.24, 1.13, 1)] + crown
                 + [(0.26, 1.57, 1), (0.12, 1.63), (0.08, 1.68, 1), (0.13, 1.76), (0.08, 1.85),
                    (0, 1.855)], 16)
    # The points of the crown: every other point of its ring is lower.
    ring = [i for i, point in enumerate(cage.points) if point[1] == 1.62]
    for i in ring[::2]:
        x, y, z = cage.points[i]
        cage.points[i] = (x, y - 0.13, z)
    return cage


def cross(width, height, thickness):
    """A cross with arms that widen, upright on the origin."""
    a, b, c = width / 6, width / 2, thickness / 2
    outline = [(-a * 1.3, 0), (a * 1.3, 0), (a * 0.9, height * 0.45), (b, height * 0.4),
               (b, height * 0.75), (a * 0.9, height * 0.7), (a * 1.3, height),
               (-a * 1.3, height), (-a * 0.9, height * 0.7), (-b, height * 0.75),
               (-b, height * 0.4), (-a * 0.9, height * 0.45)]
    cage = Cage()
    cage.points = [(x, y, z) for z in (-c, c) for x, y in outline]
    count = len(outline)
    cage.faces = [(i, (i + 1) % count, count + (i + 1) % count, count + i) for i in range(count)]
    cage.faces += [tuple(range(count, 2 * count)), tuple(reversed(range(count)))]
    cage.creases = [([first + i % count for i in range(count + 1)], 4) for first in (0, count)]
    return cage


def king():
    cage = lathe(foot(0.45, 0.19, 1.06) + collar(0.33, 0.18, 1.1)
                 + [(0.22, 1.24, 1), (0.24, 1.45), (0.32, 1.7, 3), (0.28, 1.75, 1), (0.1, 1.83, 1),
                    (0, 1.835)], 12)
    return cage.add(cross(0.3, 0.34, 0.1), offset=(0, 1.8, 0))


PIECES = {"pawn": pawn(), "rook": rook(), "bishop": bishop(), "queen": queen(), "king": king()}

#!/usr/bin/env python3
"""Writes the textures of materials.json: small OpenEXR files with half floats.

    examples/make_textures.py [FOLDER]    FOLDER is examples/textures unless given
"""

import math
import random
import struct
import sys
from pathlib import Path

SIZE = 16


def attribute(name, kind, value):
    return name + b"\0" + kind + b"\0" + struct.pack("<i", len(value)) + value


def exr(pixels):
    """An uncompressed OpenEXR file of rows of (red, green, blue), the top row first."""
    height, width = len(pixels), len(pixels[0])
    half = 1
    channels = b"".join(name + b"\0" + struct.pack("<iB3xii", half, 0, 1, 1)
                        for name in (b"B", b"G", b"R")) + b"\0"
    window = struct.pack("<4i", 0, 0, width - 1, height - 1)
    header = struct.pack("<2i", 20000630, 2) + b"".join([
        attribute(b"channels", b"chlist", channels),
        attribute(b"compression", b"compression", b"\0"),
        attribute(b"dataWindow", b"box2i", window),
        attribute(b"displayWindow", b"box2i", window),
        attribute(b"lineOrder", b"lineOrder", b"\0"),
        attribute(b"pixelAspectRatio", b"float", struct.pack("<f", 1)),
        attribute(b"screenWindowCenter", b"v2f", struct.pack("<2f", 0, 0)),
        attribute(b"screenWindowWidth", b"float", struct.pack("<f", 1)),
    ]) + b"\0"
    rows = [struct.pack(f"<2i{3 * width}e", y, 6 * width,
                        *(pixel[channel] for channel in (2, 1, 0) for pixel in row))
            for y, row in enumerate(pixels)]
    first = len(header) + 8 * height
    offsets = (first + sum(map(len, rows[:y])) for y in range(height))
    return header + struct.pack(f"<{height}Q", *offsets) + b"".join(rows)


def picture(color_at):
    """The colours at the middles of the pixels, from 0 at the left and the top to 1."""
    middles = [(i + 0.5) / SIZE for i in range(SIZE)]
    return exr([[color_at(x, y) for x in middles] for y in middles])


def tile(color):
    """A glazed tile with darker edges."""
    def color_at(x, y):
        edge = min(x, y, 1 - x, 1 - y)
        return [value * min(1, 0.6 + 4 * edge) for value in color]
    return picture(color_at)


def dirt(source):
    return picture(lambda x, y: [0.35 + 0.3 * source.random()] * 3)


def fresco(x, y):
    """A sun above hills."""
    if math.hypot(x - 0.65, y - 0.3) < 0.16:
        return 0.9, 0.6, 0.2
    if y > 0.7 + 0.12 * math.sin(7 * x):
        return 0.25, 0.35, 0.15
    return 0.35 + 0.3 * y, 0.45 + 0.2 * y, 0.6


def main():
    folder = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent / "textures")
    folder.mkdir(parents=True, exist_ok=True)
    for name, content in {"blue": tile((0.05, 0.15, 0.5)), "gold": tile((0.8, 0.55, 0.1)),
                          "white": tile((0.85, 0.85, 0.8)), "dirt": dirt(random.Random(1)),
                          "fresco": picture(fresco)}.items():
        (folder / f"{name}.exr").write_bytes(content)


if __name__ == "__main__":
    main()

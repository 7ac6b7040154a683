#!/usr/bin/env python3
"""Measures the error of pictures of the renderer "lantern" at equal time.

    benchmarks/picture_error.py PROGRAM [--against OTHER_PROGRAM] [--scenes garden interior FILE ...]
        [--size 96x54] [--samples 64] [--reference 4096] [--clamp 0]
        [--cache FOLDER]

PROGRAM is the command `tellar` of one build. The error is that of all colors against a picture of
many paths per pixel, which is kept in the cache folder:

    rmse      the root of the mean squared difference, over the mean of the reference
    relative  the mean of the squared difference over the squared reference, plus 0.01

Times are user times of the processor, so that other programs on the machine matter less. With
--against the table ends with the error of PROGRAM at the time that the other one takes, over the
error of the other one.
"""

import argparse
import json
import os
import resource
import struct
import subprocess
import sys
import zlib
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))

import interior_scene

BLOCK = 16  # rows in each zip block of an EXR file


def attributes(data):
    """The header of an EXR file of one part, and the offset of its end."""
    at, found = 8, {}
    while data[at]:
        end = data.index(0, at)
        name = data[at:end].decode()
        at = data.index(0, end + 1) + 1
        size = struct.unpack_from("<i", data, at)[0]
        found[name] = data[at + 4:at + 4 + size]
        at += 4 + size
    return found, at + 1


def unpacked(block):
    """Undoes the predictor and the interleaving of a zip block."""
    raw = bytearray(zlib.decompress(block))
    for i in range(1, len(raw)):
        raw[i] = raw[i - 1] + raw[i] - 128 & 255
    half = (len(raw) + 1) // 2
    result = bytearray(len(raw))
    result[0::2], result[1::2] = raw[:half], raw[half:]
    return result


def read_colors(path):
    """The values of R, G and B of all pixels of an EXR file with half floats."""
    data = path.read_bytes()
    header, at = attributes(data)
    x0, y0, x1, y1 = struct.unpack("<4i", header["dataWindow"])
    width, height = x1 - x0 + 1, y1 - y0 + 1
    names = [entry[:entry.index(0)] for entry in channel_entries(header["channels"])]
    blocks = (height + BLOCK - 1) // BLOCK
    colors = []
    for (offset,) in struct.iter_unpack("<Q", data[at:at + 8 * blocks]):
        row, size = struct.unpack_from("<2i", data, offset)
        rows = min(BLOCK, y1 + 1 - row)
        expected = rows * width * 2 * len(names)
        block = data[offset + 8:offset + 8 + size]
        values = struct.unpack(f"<{expected // 2}e", unpacked(block) if size < expected else block)
        for line in range(rows * len(names)):
            if names[line % len(names)] in (b"R", b"G", b"B"):
                colors.extend(values[line * width:(line + 1) * width])
    return colors


def channel_entries(channels):
    at = 0
    while channels[at]:
        end = channels.index(0, at) + 17
        kind = struct.unpack_from("<i", channels, end - 16)[0]
        if kind != 1:
            raise ValueError("picture_error reads half floats only")
        yield channels[at:end]
        at = end


def errors(colors, reference):
    count = len(reference)
    squares = [(a - b) ** 2 for a, b in zip(colors, reference)]
    relative = sum(s / (b * b + 0.01) for s, b in zip(squares, reference)) / count
    return (sum(squares) / count) ** 0.5 / (sum(reference) / count), relative


class Bench:
    def __init__(self, options):
        self.options = options
        self.folder = options.cache
        self.folder.mkdir(parents=True, exist_ok=True)
        interior = self.folder / "interior.json"
        interior.write_text(json.dumps(interior_scene.description()))
        self.files = {"garden": HERE.parent / "examples/garden.json", "interior": interior}

    def render(self, program, scene, samples, picture):
        """Returns the user time in seconds."""
        before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
        # The path to libraries in a program names the folder in which it was built.
        libraries = {"LD_LIBRARY_PATH": str(Path(program).resolve().parent.parent / "lib")}
        subprocess.run(
            [program, "render", self.files.get(scene, scene), "-o", picture, "--size",
             self.options.size, "--samples", str(samples), "--set",
             f"lantern.clampIndirect={self.options.clamp:g}", *self.options.render], check=True, env={**os.environ, **libraries}, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        return resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - before

    def reference(self, scene):
        clamp = f"_clamp{self.options.clamp:g}" if self.options.clamp > 0 else ""
        name = f"{Path(scene).stem}_{self.options.size}_{self.options.reference}{clamp}.exr"
        picture = self.folder / name
        if not picture.exists():
            self.render(self.options.program, scene, self.options.reference, picture)
        return read_colors(picture)

    def measure(self, program, scene, samples, reference):
        """Prints a row and returns the time and the error."""
        picture = self.folder / f"picture_{os.getpid()}.exr"
        seconds = min(self.render(program, scene, samples, picture)
                      for _ in range(self.options.runs))
        rmse, relative = errors(read_colors(picture), reference)
        picture.unlink()
        print(f"{Path(scene).stem:10} {samples:7} {seconds:9.2f} {rmse:9.4f} {relative:9.5f}  "
              f"{program}", flush=True)
        return seconds, rmse

    def compare(self, scene, reference):
        """Adjusts the number of paths until both take about the same time."""
        samples = self.options.samples
        seconds, rmse = self.measure(self.options.against, scene, samples, reference)
        own = samples
        for _ in range(3):
            own_seconds, own_rmse = self.measure(self.options.program, scene, own, reference)
            if abs(own_seconds / seconds - 1) < 0.05:
                break
            own = max(1, round(own * seconds / own_seconds))
        print(f"{Path(scene).stem}: {own_rmse / rmse:.2f} of the error in "
              f"{own_seconds / seconds:.2f} of the time")

    def run(self):
        print("scene        paths   seconds      rmse  relative  program")
        for scene in self.options.scenes:
            reference = self.reference(scene)
            if self.options.against:
                self.compare(scene, reference)
            else:
                self.measure(self.options.program, scene, self.options.samples, reference)


def parse():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("--against", metavar="PROGRAM")
    parser.add_argument("--scenes", nargs="+", default=["garden", "interior"])
    parser.add_argument("--size", default="96x54")
    parser.add_argument("--samples", type=int, default=64)
    parser.add_argument("--reference", type=int, default=4096, metavar="SAMPLES")
    parser.add_argument("--clamp", type=float, default=0, metavar="LIMIT",
                        help="lantern.clampIndirect; 10 is the default of pictures, and 0, the "
                        "default here, means no limit")
    parser.add_argument("--runs", type=int, default=1, help="renders of which the fastest counts")
    parser.add_argument("--cache", type=Path, default=Path("build/picture_error"))
    parser.add_argument("--render", nargs=argparse.REMAINDER, default=[],
                        help="further options of the command, last")
    return parser.parse_args()


if __name__ == "__main__":
    Bench(parse()).run()

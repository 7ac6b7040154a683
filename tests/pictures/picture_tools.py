"""Reading, writing and comparing of 8-bit PNG files, with the standard library only."""

import struct
import zlib


def _chunks(data):
    at = 8
    while at < len(data):
        length, kind = struct.unpack_from(">I4s", data, at)
        yield kind, data[at + 8:at + 8 + length]
        at += 12 + length


def _unfilter(kind, line, above, step):
    """Undoes the PNG filter of one line of bytes, given the line above it."""
    for i in range(len(line)):
        left = line[i - step] if i >= step else 0
        up = above[i]
        corner = above[i - step] if i >= step else 0
        if kind == 1:
            line[i] = line[i] + left & 255
        elif kind == 2:
            line[i] = line[i] + up & 255
        elif kind == 3:
            line[i] = line[i] + (left + up) // 2 & 255
        elif kind == 4:
            nearest = min((left, up, corner), key=lambda value: abs(left + up - corner - value))
            line[i] = line[i] + nearest & 255
    return line


class Picture:
    """Rows from the top, of (red, green, blue) tuples without alpha."""

    def __init__(self, rows):
        self.rows = rows
        self.width = len(rows[0])
        self.height = len(rows)

    @classmethod
    def read(cls, path):
        data = path.read_bytes()
        assert data[:8] == b"\x89PNG\r\n\x1a\n", f"{path} is no PNG file"
        pixels = b""
        for kind, content in _chunks(data):
            if kind == b"IHDR":
                width, height, depth, color, _, _, interlace = struct.unpack(">IIBBBBB", content)
                assert depth == 8 and color in (2, 6) and interlace == 0, path
                step = 3 if color == 2 else 4
            elif kind == b"IDAT":
                pixels += content
        pixels = zlib.decompress(pixels)
        above = bytearray(width * step)
        rows = []
        for y in range(height):
            start = y * (width * step + 1)
            line = bytearray(pixels[start + 1:start + 1 + width * step])
            above = _unfilter(pixels[start], line, above, step)
            rows.append([tuple(above[x * step:x * step + 3]) for x in range(width)])
        return cls(rows)

    def write(self, path):
        lines = b"".join(b"\0" + bytes(value for pixel in row for value in pixel)
                         for row in self.rows)

        def chunk(kind, content):
            return (struct.pack(">I", len(content)) + kind + content
                    + struct.pack(">I", zlib.crc32(kind + content)))
        header = struct.pack(">IIBBBBB", self.width, self.height, 8, 2, 0, 0, 0)
        path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header)
                         + chunk(b"IDAT", zlib.compress(lines)) + chunk(b"IEND", b""))

    def average(self, x0, x1, y0, y1):
        """The mean colour of a window of pixels."""
        pixels = [pixel for row in self.rows[y0:y1] for pixel in row[x0:x1]]
        return tuple(sum(channel) / len(pixels) for channel in zip(*pixels))


def difference(one, other, block=4):
    """The root mean square difference of blocks of pixels, from 0 to 255. Single pixels may differ
    more, because rounding on another processor can change a path."""
    assert (one.width, one.height) == (other.width, other.height)
    total = count = 0
    for y in range(0, one.height, block):
        for x in range(0, one.width, block):
            window = (x, x + block, y, y + block)
            for a, b in zip(one.average(*window), other.average(*window)):
                total += (a - b) ** 2
                count += 1
    return (total / count) ** 0.5

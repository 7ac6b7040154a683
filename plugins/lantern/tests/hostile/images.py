"""Small unusual image files: odd sizes, and headers that promise more data than there is."""

import struct
import zlib


def png(width, height, rows=b""):
    """A PNG of grey bytes whose header may promise more rows than there are."""
    def chunk(kind, content):
        return (struct.pack(">I", len(content)) + kind + content
                + struct.pack(">I", zlib.crc32(kind + content)))
    header = struct.pack(">IIBBBBB", width, height, 8, 0, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows))
            + chunk(b"IEND", b""))


def whole_png(width, height):
    return png(width, height, (b"\0" + b"\x80" * width) * height)


def tiff(width, height, channels=1, bits=8, tile=None, content=b"\x80" * 64):
    """A TIFF without compression whose tags may promise more data than there is."""
    at = 8
    entries = [(256, 4, width), (257, 4, height), (258, 3, bits), (259, 3, 1), (262, 3, 1),
               (277, 3, channels)]
    if tile:
        entries += [(322, 4, tile), (323, 4, tile), (324, 4, at), (325, 4, len(content))]
    else:
        entries += [(273, 4, at), (278, 4, height), (279, 4, len(content))]
    directory = struct.pack("<H", len(entries))
    for tag, kind, value in sorted(entries):
        directory += struct.pack("<HHI", tag, kind, 1)
        directory += struct.pack("<HH" if kind == 3 else "<I", *((value, 0) if kind == 3 else (value,)))
    return (b"II*\0" + struct.pack("<I", at + len(content)) + content + directory
            + struct.pack("<I", 0))


def hdr(width, height):
    header = f"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y {height} +X {width}\n"
    return header.encode() + b"\x80\x80\x80\x80" * 4


def jpeg(width, height):
    """The headers of a JPEG without the data of the picture."""
    quantization = b"\xff\xdb\x00\x43\x00" + b"\x01" * 64
    frame = b"\xff\xc0\x00\x0b\x08" + struct.pack(">HH", height, width) + b"\x01\x01\x11\x00"
    codes = b"\xff\xc4\x00\x14\x00" + b"\x01" + b"\x00" * 15 + b"\x00"
    scan = b"\xff\xda\x00\x08\x01\x01\x00\x00\x3f\x00" + b"\x00\x00"
    return b"\xff\xd8" + quantization + frame + codes + scan + b"\xff\xd9"


def exr(x0, y0, x1, y1, tile=None, channel=b"Y", content=b""):
    """The header of an OpenEXR file with one uncompressed channel of floats."""
    def attribute(name, kind, value):
        return name + b"\0" + kind + b"\0" + struct.pack("<I", len(value)) + value
    window = struct.pack("<iiii", x0, y0, x1, y1)
    header = attribute(b"channels", b"chlist",
                       channel + b"\0" + struct.pack("<iiii", 2, 0, 1, 1) + b"\0")
    header += attribute(b"compression", b"compression", b"\0")
    header += attribute(b"dataWindow", b"box2i", window)
    header += attribute(b"displayWindow", b"box2i", window)
    header += attribute(b"lineOrder", b"lineOrder", b"\0")
    header += attribute(b"pixelAspectRatio", b"float", struct.pack("<f", 1))
    header += attribute(b"screenWindowCenter", b"v2f", struct.pack("<ff", 0, 0))
    header += attribute(b"screenWindowWidth", b"float", struct.pack("<f", 1))
    if tile:
        header += attribute(b"tiles", b"tiledesc", struct.pack("<IIB", tile, tile, 0))
    flags = 2 | (0x200 if tile else 0)
    return struct.pack("<II", 20000630, flags) + header + b"\0" + content


def whole_exr(values):
    """An OpenEXR file of one line with these floats."""
    start = len(exr(0, 0, len(values) - 1, 0)) + 8
    line = struct.pack(f"<ii{len(values)}f", 0, 4 * len(values), *values)
    return exr(0, 0, len(values) - 1, 0, content=struct.pack("<Q", start) + line)


IMAGES = {
    "one.png": whole_png(1, 1),
    "long.png": whole_png(65536, 1),
    "tall.png": whole_png(1, 65536),
    "empty.png": b"",
    "none.png": png(0, 0),
    "none-wide.png": png(16, 0),
    "huge.png": png(0x7fffffff, 0x7fffffff),
    "large.png": png(60000, 60000),
    "cut.png": whole_png(64, 64)[:60],
    "one.tif": tiff(1, 1),
    "none.tif": tiff(0, 0),
    "huge.tif": tiff(0xffffffff, 0xffffffff),
    "large.tif": tiff(100000, 100000),
    "channels.tif": tiff(64, 64, channels=65535),
    "wide-tile.tif": tiff(64, 64, tile=1 << 30),
    "odd-tile.tif": tiff(64, 64, tile=16),
    "tiles.tif": tiff(1 << 30, 1 << 30, tile=16),
    "bits.tif": tiff(64, 64, bits=65535),
    "one.hdr": hdr(1, 1),
    "none.hdr": hdr(0, 0),
    "huge.hdr": hdr(2147483647, 2147483647),
    "large.hdr": hdr(100000, 100000),
    "negative.hdr": hdr(-5, -5),
    "one.jpg": jpeg(8, 8),
    "none.jpg": jpeg(0, 0),
    "huge.jpg": jpeg(65535, 65535),
    "one.exr": whole_exr([0.5]),
    "odd-values.exr": whole_exr([float("inf"), float("nan"), -float("inf"), 1e38, -1e38, 0.5]),
    "inverted.exr": exr(10, 10, -10, -10),
    "huge.exr": exr(-2147483648, -2147483648, 2147483647, 2147483647),
    "half-huge.exr": exr(0, 0, 0x3fffffff, 0x3fffffff),
    "far.exr": exr(0x7ffffff0, 0x7ffffff0, 0x7fffffff, 0x7fffffff),
    "large.exr": exr(0, 0, 99999, 99999),
    "tiles.exr": exr(0, 0, 0xfffff, 0xfffff, tile=64),
    "wide-tile.exr": exr(0, 0, 63, 63, tile=0x7fffffff),
    "no-tile.exr": exr(0, 0, 63, 63, tile=0),
}

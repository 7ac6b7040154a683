"""The header of an OpenEXR file, read with the standard library only."""

import struct

PIXEL_TYPES = {0: "uint", 1: "half", 2: "float"}


def _text(data, at):
    end = data.index(b"\0", at)
    return data[at:end].decode(), end + 1


def _channels(data):
    found, at = {}, 0
    while data[at:at + 1] != b"\0":
        name, at = _text(data, at)
        found[name] = PIXEL_TYPES[struct.unpack_from("<i", data, at)[0]]
        at += 16
    return found


def read_header(path):
    """A dict of the header's values: `channels` is a dict of pixel types, texts are str, numbers
    are numbers, and all other values are bytes."""
    data = path.read_bytes()
    assert struct.unpack_from("<I", data)[0] == 20000630, f"{path} is no EXR file"
    values, at = {}, 8
    while data[at:at + 1] != b"\0":
        name, at = _text(data, at)
        kind, at = _text(data, at)
        size = struct.unpack_from("<i", data, at)[0]
        value = data[at + 4:at + 4 + size]
        at += 4 + size
        read = {"chlist": _channels, "string": bytes.decode,
                "float": lambda v: struct.unpack("<f", v)[0],
                "int": lambda v: struct.unpack("<i", v)[0]}.get(kind, bytes)
        values[name] = read(value)
    return values

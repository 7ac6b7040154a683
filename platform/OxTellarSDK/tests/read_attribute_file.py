#!/usr/bin/env python3
"""Reads an attribute file as docs/attribute-file.md describes it, plain or compressed in blocks.

    read_attribute_file.py FILE         prints what is in it
    read_attribute_file.py FILE XML     compares it with the text that Attribute::getXML gave

Numbers are kept as their bits, strings and names as bytes. Nothing of our library is used, only the
system's xxHash, for the checksums, and its zstd, for the blocks of compressed files.
"""
import ctypes
import ctypes.util
import functools
import re
import struct
import sys
import xml.etree.ElementTree as ElementTree

ZSTD_MAGIC = b"\x28\xb5\x2f\xfd"
SKIPPABLE_FRAME = 0x184D2A5E
COMPRESSED_FOOTER_BYTES = 40
LARGEST_BLOCK = 1 << 20
LARGEST_RATIO = 10000

TYPES = ["null", "int", "float", "double", "string", "group"]
BIT_CODES = {"int": "I", "float": "I", "double": "Q"}
VALUE_CODES = {"int": "i", "float": "f", "double": "d"}


class Damaged(Exception):
    """What is wrong with a file."""


def check(condition, defect):
    if not condition:
        raise Damaged(defect)


def align(offset, step):
    return (offset + step - 1) // step * step


@functools.lru_cache(None)
def load(library):
    path = ctypes.util.find_library(library)
    if path is None:
        sys.exit(f"The library {library} is not installed")
    return ctypes.CDLL(path)


def checksum(data):
    xxh3 = load("xxhash").XXH3_64bits
    xxh3.argtypes, xxh3.restype = (ctypes.c_char_p, ctypes.c_size_t), ctypes.c_uint64
    return xxh3(data, len(data))


def decompressed(frame, size):
    """The bytes of a zstd frame, which must be so many. None when it is not one such frame."""
    zstd = load("zstd")
    zstd.ZSTD_findFrameCompressedSize.argtypes = ctypes.c_char_p, ctypes.c_size_t
    zstd.ZSTD_findFrameCompressedSize.restype = ctypes.c_size_t
    zstd.ZSTD_decompress.argtypes = (ctypes.c_char_p, ctypes.c_size_t) * 2
    zstd.ZSTD_decompress.restype = ctypes.c_size_t
    if zstd.ZSTD_findFrameCompressedSize(frame, len(frame)) != len(frame):
        return None
    plain = ctypes.create_string_buffer(size)
    # Errors are returned as sizes that no buffer has.
    return plain.raw if zstd.ZSTD_decompress(plain, size, frame, len(frame)) == size else None


def compressed_blocks(data):
    """(first byte, one behind the last, plain bytes) of each block of a compressed file."""
    footer = len(data) - COMPRESSED_FOOTER_BYTES
    check(footer >= 0 and data[footer + 24:footer + 32] == b"OxZstEnd",
          "it is cut short, or compressed as a whole: see what zstd -d makes of it")
    size, block_size, zeros, table_sum, _, footer_sum = struct.unpack_from("<QIIQ8sQ", data, footer)
    check(checksum(data[footer:footer + 32]) == footer_sum, "checksum of the compressed footer")
    check(zeros == 0 and size > 0 and 0 < block_size <= LARGEST_BLOCK
          and block_size & (block_size - 1) == 0, "blocks of no possible size")
    check(size // LARGEST_RATIO <= len(data), "a plain length that no such file has")
    count = (size + block_size - 1) // block_size
    table = footer - 4 * count
    check(table >= 8, "the table of blocks ends early")
    check(checksum(data[table:footer]) == table_sum, "checksum of the table of blocks")
    check(struct.unpack_from("<II", data, table - 8) == (SKIPPABLE_FRAME, len(data) - table),
          "the table of blocks has no frame")
    blocks, begin = [], 0
    for i, length in enumerate(struct.unpack_from(f"<{count}I", data, table)):
        blocks.append((begin, begin + length, min(block_size, size - i * block_size)))
        begin += length
    check(begin == table - 8, "the blocks do not fill the file")
    return blocks


def plain_bytes(data):
    """The plain bytes of a file."""
    if data[:4] != ZSTD_MAGIC:
        return data
    plain = []
    for begin, end, size in compressed_blocks(data):
        plain.append(decompressed(data[begin:end], size))
        check(plain[-1], f"bytes {begin} to {end} are no block of {size} bytes")
    return b"".join(plain)


class AttributeFile:
    def __init__(self, data):
        self.data = data
        magic, version, self.kind, zeros = self.get("8sII48s", 0)
        check((magic, version, zeros) == (b"OxAttr\x1a\n", 2, bytes(48)), "not an attribute file")
        footer = len(data) - 56
        table, size, self.root, shapes, shape_count, reserved, sum_of_sums, end, footer_sum = (
            self.get("QQIIIIQ8sQ", footer))
        check((size, reserved, end) == (len(data), 0, b"OxAttEnd"), "not a whole attribute file")
        check(len(data) == table + (table + 65535) // 65536 * 8 + 56, "parts do not fit")
        check(checksum(data[footer:footer + 48]) == footer_sum, "checksum of the footer")
        check(checksum(data[table:footer]) == sum_of_sums, "checksum of the checksums")
        for i, stored in enumerate(self.get(f"{(footer - table) // 8}Q", table)):
            begin, end = i * 65536, min((i + 1) * 65536, table)
            check(checksum(data[begin:end]) == stored, f"checksum of bytes {begin} to {end}")
        self.shapes = self.get(f"{shape_count}I", shapes * 4)

    def get(self, format, offset):
        return struct.unpack_from("<" + format, self.data, offset)

    def value(self, unit):
        """("null",), ("group", inherit, [(name, value)...]) or (type, tuple size, [(time, ...)])"""
        return self.value_and_depth(unit)[0]

    def value_and_depth(self, unit):
        at = unit * 4
        word = self.get("I", at)[0]
        type, short, payload = TYPES[word & 7], word & 16, word >> 8
        check(word & 8 and not word & 128, "no value stands here")
        if type == "group":
            children, depth = self.shaped(unit, payload) if short else self.wide(unit, payload)
            return ("group", bool(word & 64), children), depth
        if not short:
            return self.full(type, at, word), 0
        check(not word & 96, "a short value has no such flags")
        if type == "null":
            return ("null",), 0
        if type == "string":
            check(payload < 65536 and self.data[at + 4 + payload] == 0, "a string without its NUL")
            return (type, 1, [(0, [self.data[at + 4:at + 4 + payload]])]), 0
        check(type != "double" or at % 8 == 4, "doubles are not aligned")
        return (type, payload >> 12, [(0, self.numbers(type, at + 4, payload & 4095))]), 0

    def full(self, type, at, word):
        _, zero, count, tuple_size, time_count = self.get("IIQII", at)
        check((at % 8, word >> 8, zero) == (0, 0, 0) and type != "null", "no value stands here")
        at += 24
        times = [0] if word & 32 else list(self.get(f"{time_count}I", at))
        check(len(times) == time_count, "times are left out")
        at += 0 if word & 32 else align(4 * time_count, 8)
        read = self.strings if type == "string" else self.numbers
        values = read(type, at, count * time_count)
        return (type, tuple_size, [(time, values[i * count:(i + 1) * count])
                                   for i, time in enumerate(times)])

    def shaped(self, unit, number):
        """Everything below such a group has a fixed place."""
        at = self.shapes[number] * 4
        names_unit, extent, depth, count = self.get("IIHH", at)
        children = []
        for i in range(count):
            place, word = self.get("II", at + 12 + 8 * i)
            shared, word = word & 128, word & ~128
            child_unit = place if shared else unit - place
            check(shared or 0 < place <= extent, "a child outside of its group")
            check(self.get("I", child_unit * 4)[0] == word, "a child that is not like its shape")
            if word & 7 == 5:
                check(word & 16 and word >> 8 < number and not shared, "a group without a place")
            child, child_depth = self.value_and_depth(child_unit)
            check(child_depth < depth, "a group deeper than it says")
            children.append(child)
        return list(zip(self.names(names_unit, count), children)), depth

    def wide(self, unit, depth):
        names_unit, extent, count = self.get("III", unit * 4 + 4)
        units = self.get(f"{count}I", unit * 4 + 16)
        types = self.get(f"{count}B", unit * 4 + 16 + 4 * count)
        children = []
        first = unit - extent
        for child_unit, type in zip(units, types):
            child, child_depth = self.value_and_depth(child_unit)
            check(child[0] == TYPES[type], "a child of another type than its group says")
            check(child_depth < depth, "a group deeper than it says")
            if child[0] == "group":
                check(first <= child_unit < unit, "a group outside of its parent")
                first = child_unit + 1
            children.append(child)
        return list(zip(self.names(names_unit, count), children)), depth

    def names(self, unit, count):
        at = unit * 4
        stored, *ends = self.get(f"{count + 1}I", at)
        check(stored == count, "a group has more or fewer names than children")
        bytes_at = at + 4 + 4 * count + (8 * count if count > 8 else 0)
        check(all(self.data[bytes_at + end - 1] == 0 for end in ends), "a name without its NUL")
        names = [self.data[bytes_at + a:bytes_at + b - 1] for a, b in zip([0] + ends, ends)]
        if count > 8:
            hashes = [checksum(name) & 0xFFFFFFFF for name in names]
            order = sorted(range(count), key=lambda i: (hashes[i], i))
            check(list(self.get(f"{2 * count}I", at + 4 + 4 * count)) == hashes + order,
                  "names are not in the order of their hashes")
        return names

    def numbers(self, type, at, count):
        return list(self.get(f"{count}{BIT_CODES[type]}", at))

    def strings(self, _, at, count):
        ends = self.get(f"{count + 1}I", at)
        at += 4 * (count + 1)
        check(all(self.data[at + end - 1] == 0 for end in ends[1:]), "a string without its NUL")
        return [self.data[at + a:at + b - 1] for a, b in zip(ends, ends[1:])]


def unescaped(text):
    escapes = {b"n": b"\n", b"r": b"\r", b"t": b"\t", b"\\": b"\\"}
    return re.sub(rb"\\(x(..)|.)", lambda match: bytes.fromhex(match[2].decode()) if match[2]
                  else escapes[match[1]], (text or "").encode())


def bits(type, text):
    if text.startswith("nan:"):
        return int(text[4:], 16)
    packed = struct.pack("<" + VALUE_CODES[type], int(text) if type == "int" else float(text))
    return struct.unpack("<" + BIT_CODES[type], packed)[0]


def value_of_xml(element):
    type = element.tag
    if type == "null":
        return ("null",)
    if type == "group":
        return ("group", element.get("inherit") != "false",
                [(unescaped(child.get("name")), value_of_xml(child)) for child in element])

    def values(holder):
        if type == "string":
            return [unescaped(v.text) for v in holder if v.tag == "v"]
        return [bits(type, text) for text in (holder.text or "").split()]

    samples = [(bits("float", s.get("time")), values(s)) for s in element.findall("sample")]
    return (type, int(element.get("tuple", "1")), samples or [(0, values(element))])


def show(value, name, indent):
    print("  " * indent + f"{name} {value[0]}", *value[1:2])
    for entry in value[2] if len(value) > 2 else []:
        if value[0] == "group":
            show(entry[1], entry[0], indent + 1)
        else:
            print("  " * indent + "  bits of time %08x:" % entry[0], *entry[1])


def main(path, xml=None):
    with open(path, "rb") as stream:
        data = stream.read()
    try:
        attribute_file = AttributeFile(plain_bytes(data))
        value = attribute_file.value(attribute_file.root)
    except Damaged as defect:
        sys.exit(f"{path} is damaged: {defect}")
    except (IndexError, RecursionError, struct.error) as error:
        sys.exit(f"{path} is damaged: something refers to what is not there ({error})")
    if xml is None:
        show(value, ["", "attribute stream:", "op file:"][attribute_file.kind], 0)
    elif value != value_of_xml(ElementTree.parse(xml).getroot()):
        sys.exit(f"{path} does not hold what {xml} says")


if __name__ == "__main__":
    main(*sys.argv[1:])

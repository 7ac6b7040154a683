#!/usr/bin/env python3
"""Reads an attribute file as docs/attribute-file.md describes it, with the standard library only.

    read_attribute_file.py FILE         prints what is in it
    read_attribute_file.py FILE XML     compares it with the text that Attribute::getXML gave

Numbers are kept as their bits, strings and names as bytes. The checksums are not computed: the
standard library has no XXH3.
"""
import re
import struct
import sys
import xml.etree.ElementTree as ElementTree

TYPES = ["null", "int", "float", "double", "string", "group"]
BIT_CODES = {"int": "I", "float": "I", "double": "Q"}
VALUE_CODES = {"int": "i", "float": "f", "double": "d"}


def align(offset):
    return (offset + 15) // 16 * 16


class AttributeFile:
    def __init__(self, data):
        self.data = data
        magic, version, self.kind, zeros = self.get("8sII48s", 0)
        assert (magic, version, zeros) == (b"OxAttr\x1a\n", 1, bytes(48)), "not an attribute file"
        table, size, self.root, reserved, _, end, _ = self.get("QQIIQ8sQ", len(data) - 48)
        assert (size, reserved, end) == (len(data), 0, b"OxAttEnd"), "not a whole attribute file"
        assert len(data) == table + (table + 65535) // 65536 * 8 + 48, "parts do not fit"

    def get(self, format, offset):
        return struct.unpack_from("<" + format, self.data, offset)

    def name(self, unit, length):
        assert self.data[unit * 16 + length] == 0, "a name without its NUL"
        return self.data[unit * 16:unit * 16 + length]

    def value(self, unit):
        """("null",), ("group", inherit, [(name, value)...]) or (type, tuple size, [(time, ...)])"""
        at = unit * 16
        count0, type, flags, depth, own, extra, count, times, reserved = self.get("IbBHIIQII", at)
        assert (count0, own, reserved, flags & 1) == (0, unit, 0, 1), "no value stands here"
        if TYPES[type] == "null":
            return ("null",)
        if TYPES[type] == "group":
            return ("group", bool(flags & 4), self.children(at + 32, count, depth))
        at += 32
        sample_times = [self.get("I", at + 4 * i)[0] for i in range(times)] if not flags & 2 else [0]
        at += align(4 * times) if not flags & 2 else 0
        read = self.strings if TYPES[type] == "string" else self.numbers
        values = read(TYPES[type], at, count * len(sample_times))
        return (TYPES[type], extra, [(time, values[i * count:(i + 1) * count])
                                     for i, time in enumerate(sample_times)])

    def children(self, at, count, depth):
        entries = [self.get("IIIHbB", at + 16 * i) for i in range(count)]
        if count > 8:
            order = self.get(f"{count}I", at + 16 * count)
            assert list(order) == sorted(range(count), key=lambda i: (entries[i][0], i)), "order"
        children = []
        for _, name_unit, child_unit, name_length, type, _ in entries:
            child = self.value(child_unit)
            assert child[0] == TYPES[type], "a child of another type than its entry says"
            assert child[0] != "group" or depth > 1, "a group deeper than it says"
            children.append((self.name(name_unit, name_length), child))
        return children

    def numbers(self, type, at, count):
        return list(self.get(f"{count}{BIT_CODES[type]}", at))

    def strings(self, _, at, count):
        ends = self.get(f"{count + 1}I", at)
        at += 4 * (count + 1)
        assert all(self.data[at + end - 1] == 0 for end in ends[1:]), "a string without its NUL"
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


if __name__ == "__main__":
    with open(sys.argv[1], "rb") as stream:
        attribute_file = AttributeFile(stream.read())
    value = attribute_file.value(attribute_file.root)
    if len(sys.argv) == 2:
        show(value, ["", "attribute stream:", "op file:"][attribute_file.kind], 0)
    elif value != value_of_xml(ElementTree.parse(sys.argv[2]).getroot()):
        sys.exit(f"{sys.argv[1]} does not hold what {sys.argv[2]} says")

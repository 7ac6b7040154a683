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


def align(offset, step):
    return (offset + step - 1) // step * step


class AttributeFile:
    def __init__(self, data):
        self.data = data
        magic, version, self.kind, zeros = self.get("8sII48s", 0)
        assert (magic, version, zeros) == (b"OxAttr\x1a\n", 2, bytes(48)), "not an attribute file"
        table, size, self.root, shapes, shape_count, reserved, _, end, _ = self.get(
            "QQIIIIQ8sQ", len(data) - 56)
        assert (size, reserved, end) == (len(data), 0, b"OxAttEnd"), "not a whole attribute file"
        assert len(data) == table + (table + 65535) // 65536 * 8 + 56, "parts do not fit"
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
        assert word & 8 and not word & 128, "no value stands here"
        if type == "group":
            children, depth = self.shaped(unit, payload) if short else self.wide(unit, payload)
            return ("group", bool(word & 64), children), depth
        if not short:
            return self.full(type, at, word), 0
        assert not word & 96, "a short value has no such flags"
        if type == "null":
            return ("null",), 0
        if type == "string":
            assert payload < 65536 and self.data[at + 4 + payload] == 0, "a string without its NUL"
            return (type, 1, [(0, [self.data[at + 4:at + 4 + payload]])]), 0
        assert type != "double" or at % 8 == 4, "doubles are not aligned"
        return (type, payload >> 12, [(0, self.numbers(type, at + 4, payload & 4095))]), 0

    def full(self, type, at, word):
        _, zero, count, tuple_size, time_count = self.get("IIQII", at)
        assert (at % 8, word >> 8, zero) == (0, 0, 0) and type != "null", "no value stands here"
        at += 24
        times = [0] if word & 32 else list(self.get(f"{time_count}I", at))
        assert len(times) == time_count, "times are left out"
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
            assert shared or 0 < place <= extent, "a child outside of its group"
            assert self.get("I", child_unit * 4)[0] == word, "a child that is not like its shape"
            if word & 7 == 5:
                assert word & 16 and word >> 8 < number and not shared, "a group without a place"
            child, child_depth = self.value_and_depth(child_unit)
            assert child_depth < depth, "a group deeper than it says"
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
            assert child[0] == TYPES[type], "a child of another type than its group says"
            assert child_depth < depth, "a group deeper than it says"
            if child[0] == "group":
                assert first <= child_unit < unit, "a group outside of its parent"
                first = child_unit + 1
            children.append(child)
        return list(zip(self.names(names_unit, count), children)), depth

    def names(self, unit, count):
        at = unit * 4
        stored, *ends = self.get(f"{count + 1}I", at)
        assert stored == count, "a group has more or fewer names than children"
        at += 4 + 4 * count
        if count > 8:
            hashes, order = self.get(f"{count}I", at), self.get(f"{count}I", at + 4 * count)
            assert list(order) == sorted(range(count), key=lambda i: (hashes[i], i)), "order"
            at += 8 * count
        assert all(self.data[at + end - 1] == 0 for end in ends), "a name without its NUL"
        return [self.data[at + a:at + b - 1] for a, b in zip([0] + ends, ends)]

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

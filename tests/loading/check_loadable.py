#!/usr/bin/env python3
"""Checks what makes libraries safe to load into a running program and to close again:

    check_loadable.py LIBRARY...

All of them together have few bytes of thread-local storage, since a program that is running has a
few hundred left for all libraries that it loads. Each stays loaded when it is closed, since suites
and functions for the ends of threads stay registered. Reads 64-bit little-endian ELF files.
"""

import struct
import sys
from pathlib import Path

MOST_TLS_BYTES = 256

PT_DYNAMIC, PT_TLS = 2, 7
DT_NULL, DT_FLAGS_1 = 0, 0x6FFFFFFB
DF_1_NODELETE = 0x8


def segments(data):
    """Type, offset in the file, bytes in the file and bytes in memory of each segment."""
    if data[:6] != b"\x7fELF\x02\x01":
        raise ValueError("no 64-bit little-endian ELF file")
    table, = struct.unpack_from("<Q", data, 32)
    size, count = struct.unpack_from("<HH", data, 54)
    for index in range(count):
        kind, _, offset, _, _, in_file, in_memory, _ = struct.unpack_from(
            "<IIQQQQQQ", data, table + index * size)
        yield kind, offset, in_file, in_memory


def tls_bytes(data):
    return sum(in_memory for kind, _, _, in_memory in segments(data) if kind == PT_TLS)


def stays_loaded(data):
    for kind, offset, in_file, _ in segments(data):
        if kind != PT_DYNAMIC:
            continue
        for tag, value in struct.iter_unpack("<QQ", data[offset:offset + in_file]):
            if tag == DT_NULL:
                break
            if tag == DT_FLAGS_1:
                return bool(value & DF_1_NODELETE)
    return False


def main():
    libraries = {Path(name).name: Path(name).read_bytes() for name in sys.argv[1:]}
    sizes = {name: tls_bytes(data) for name, data in libraries.items()}
    problems = [f"{name} can be unloaded: it is not linked with -z nodelete"
                for name, data in libraries.items() if not stays_loaded(data)]
    if not libraries:
        problems.append("no library to check")
    if sum(sizes.values()) > MOST_TLS_BYTES:
        problems.append(f"more than {MOST_TLS_BYTES} bytes of thread-local storage in all")
    print("Thread-local storage:", sizes, "in all:", sum(sizes.values()))
    if problems:
        sys.exit("\n".join(problems))


main()

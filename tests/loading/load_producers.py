#!/usr/bin/env python3
"""Loads the libraries into Python, which links none of them, and walks a scene through the suites:

    load_producers.py HOST_LIBRARY PRODUCERS_LIBRARY OTHER_LIBRARY...
"""

import ctypes
import sys
from ctypes import CFUNCTYPE, POINTER, c_bool, c_char_p, c_int, c_int32, c_int64, c_uint, c_void_p


def entry(table, slot, result, *arguments):
    """The function in one slot of a suite or of the host record."""
    address = ctypes.cast(table, POINTER(c_void_p))[slot]
    return CFUNCTYPE(result, *arguments)(address)


def describe_scene(attributes):
    """One Op that presents /root with one child, "world"."""
    create_string = entry(attributes, 21, c_void_p, POINTER(c_char_p), c_int64, c_int64)
    create_group = entry(attributes, 23, c_void_p, POINTER(c_char_p), POINTER(c_void_p), c_int64,
                         c_int32)

    def group(**children):
        names = (c_char_p * len(children))(*(name.encode() for name in children))
        return create_group(names, (c_void_p * len(children))(*children.values()), len(children), 1)

    scene_type = create_string((c_char_p * 1)(b"StaticScene"), 1, 1)
    return group(scene=group(opType=scene_type, opArgs=group(c=group(world=group()))))


def main():
    host_library, producers_library, *others = sys.argv[1:]
    for other in others:
        memory = ctypes.CDLL(other).GetThreadLocalMemory
        memory.restype = POINTER(ctypes.c_char)
        memory()[0] = b"x"

    get_host = ctypes.CDLL(host_library).OxGetPluginHost
    get_host.restype = c_void_p
    initialize = ctypes.CDLL(producers_library).OxTellarProducersInitialize
    initialize.argtypes = [c_void_p]
    host = get_host()
    assert initialize(host) == 0

    get_suite = entry(host, 3, c_void_p, c_char_p, c_uint)
    attributes = get_suite(b"AttributeHost", 1)
    suite = get_suite(b"ScenegraphIteratorHost", 3)
    root = entry(suite, 4, c_void_p, c_void_p)(describe_scene(attributes))
    assert root, "the scene has no /root"
    child = entry(suite, 5, c_void_p, c_void_p, c_bool)(root, False)
    assert child, "/root has no child"
    entry(suite, 0, None, c_void_p)(child)
    full_name = entry(suite, 12, c_void_p, c_void_p)(child)
    text = entry(attributes, 12, c_char_p, c_void_p, ctypes.c_float, c_int64)(full_name, 0, 0)
    assert text == b"/root/world", text
    for handle in (child, root):
        entry(suite, 1, None, c_void_p)(handle)


main()

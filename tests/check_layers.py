#!/usr/bin/env python3
"""Checks that no layer of a library calls a function of a layer above it:

    check_layers.py NM LAYER OBJECT... [LAYER OBJECT...]...

Layers are named from the bottom up, each with its object files, which end in ".o".
"""

import subprocess
import sys


def symbols(nm, objects, *options):
    listed = subprocess.run([nm, "--format=posix", *options, *objects],
                            check=True, capture_output=True, text=True).stdout
    fields = [line.split() for line in listed.splitlines()]
    return {(words[0], words[1]) for words in fields if len(words) > 1}


def main():
    nm, *arguments = sys.argv[1:]
    layers = {}
    for argument in arguments:
        if argument.endswith(".o"):
            layers[list(layers)[-1]].append(argument)
        else:
            layers[argument] = []
    # Several layers may have a copy of an inline function, which nm marks as weak.
    defined_in = {}
    for layer, objects in layers.items():
        for name, kind in symbols(nm, objects, "--extern-only", "--defined-only"):
            if kind in "TDBR":
                defined_in[name] = layer
    order = list(layers)
    upwards = [f"{layer} uses {name} of {defined_in[name]}"
               for layer, objects in layers.items()
               for name, _ in sorted(symbols(nm, objects, "--undefined-only"))
               if name in defined_in and order.index(defined_in[name]) > order.index(layer)]
    if upwards or len(layers) < 2 or not all(layers.values()) or not defined_in:
        sys.exit("\n".join(upwards or ["there are no layers to compare"]))


main()

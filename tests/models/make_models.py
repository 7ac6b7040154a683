#!/usr/bin/env python3
"""Writes small models of every kind that tellar reads.

    make_models.py FOLDER

Each group of models is a folder. test_models.py draws all of them and compares the pictures.
"""

import sys
from pathlib import Path

import described_models
import gltf_materials
import gltf_models
import other_models

# How the pictures of a group's models compare.
SAME = "same"      # all look the same
PAIRS = "pairs"    # the second of each two lacks something that the first has
SERIES = "series"  # each looks different from the one before


def imported(folder):
    gltf_models.variants_file(folder)
    gltf_models.animations_file(folder)
    gltf_models.scenes_file(folder)
    return described_models.write(folder, described_models.imports())


def described(scenes):
    return lambda folder: described_models.write(folder, scenes())


GROUPS = {
    "containers": (SAME, gltf_models.containers),
    "modes": (SERIES, gltf_models.modes),
    "geometry": (SERIES, gltf_models.geometry),
    "motion": (SERIES, gltf_models.motion),
    "materials": (PAIRS, gltf_materials.materials),
    "imports": (SERIES, imported),
    "obj encodings": (SAME, other_models.obj_encodings),
    "obj opacity": (SAME, other_models.obj_opacity),
    "obj options": (SERIES, other_models.obj_options),
    "ply forms": (SAME, other_models.ply_forms),
    "ply kinds": (SERIES, other_models.ply_kinds),
    "collada": (SAME, other_models.collada_forms),
    "fbx": (SAME, other_models.fbx_forms),
    "solids": (SAME, other_models.solids),
    "subdivision": (SERIES, described(described_models.subdivision)),
    "curves": (SERIES, described(described_models.curves)),
    "clouds": (SERIES, described(described_models.clouds)),
    "nodes": (SERIES, described(described_models.nodes)),
}


def write_group(name, folder):
    """Writes a group of models into a folder of its name. Returns SAME, PAIRS or SERIES, and the
    files in order."""
    (folder / name).mkdir(parents=True, exist_ok=True)
    kind, make = GROUPS[name]
    return kind, [folder / name / file for file in make(folder / name)]


if __name__ == "__main__":
    for group in GROUPS:
        write_group(group, Path(sys.argv[1]))

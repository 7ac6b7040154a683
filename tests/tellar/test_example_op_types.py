#!/usr/bin/env python3
"""The op types "Spiral" and "Turntable", by which docs/writing-an-op-type.md explains how one is
written: what they do, and that the page shows what they really say.

    test_example_op_types.py PROGRAM EXAMPLES_FOLDER

In the environment, TELLAR_TEST_SOURCES is the folder of their source files, and TELLAR_TEST_OP_TYPES
that of their libraries.
"""

import json
import os
import re
import unittest
from pathlib import Path

from tellar_test import TellarTest, main

SOURCES = Path(os.environ["TELLAR_TEST_SOURCES"])
PAGE = SOURCES.parents[1] / "docs" / "writing-an-op-type.md"

PEAR = {"a": {"type": "group", "user": {"ripe": 1},
              "xform": {"translate": {"$type": "double", "values": [[0, 5, 0]]}}},
        "c": {"stalk": {"a": {"type": "sphere"}}}}


def scene(op_type, **args):
    return {"ops": [
        {"name": "scene", "type": "StaticScene",
         "args": {"c": {"world": {"c": {"pear": PEAR, "stone": {}}}}}},
        {"name": "op", "type": op_type, "inputs": ["scene"], "args": args}]}


class ExampleOpType(TellarTest):
    def setUp(self):
        super().setUp()
        self.environment["OX_PLUGIN_PATH"] = os.environ["TELLAR_TEST_OP_TYPES"]

    def walk(self, description, *options):
        self.write("scene.json", description)
        return self.tellar("walk", "scene.json", *options)

    def matrix(self, description, location):
        """The world matrix of a location."""
        self.write("scene.json", description)
        printed = self.tellar("walk", "scene.json", "--at", location, "--depth", "0", "--json",
                              "--xform")
        return json.loads(printed)["xform"]

    def assert_op_fails(self, reason, description):
        self.write("scene.json", description)
        status, _, errors = self.run_tellar("walk", "scene.json")
        self.assertEqual(status, 2)
        self.assertIn(reason, errors)


class Spiral(ExampleOpType):
    def test_makes_copies(self):
        walked = self.walk(scene("Spiral", location="/root/world/pear", count=12))
        self.assertEqual(walked.count("stalk"), 12)
        self.assertIn("copy_11", walked)
        self.assertIn("stone", walked)

    def test_places_them_on_a_spiral(self):
        description = scene("Spiral", location="/root/world/pear", count=4, radius=2.0, height=8.0)
        matrix = self.matrix(description, "/root/world/pear/copy_1")
        for value, expected in zip(matrix[12:15], [0, 2 + 5, -2]):
            self.assertAlmostEqual(value, expected)

    def test_does_not_know_other_names(self):
        self.write("scene.json", scene("Spiral", location="/root/world/pear", count=4))
        for name in ("copy_4", "copy_", "copy_01", "copy_1x", "stalk", "copy_99999999999"):
            path = f"/root/world/pear/{name}"
            status, _, errors = self.run_tellar("walk", "scene.json", "--at", path)
            self.assertEqual(status, 2)
            self.assertIn(f'there is no location "{path}"', errors)

    def test_names_a_wrong_argument(self):
        for args, reason in (({"location": "pear", "count": 1}, 'argument "location"'),
                             ({"location": "/root/a"}, 'argument "count"'),
                             ({"location": "/root/a", "count": 1, "radius": "x"},
                              'argument "radius"')):
            self.assert_op_fails(reason, scene("Spiral", **args))


class Turntable(ExampleOpType):
    def test_turns_over_time(self):
        self.write("scene.json", scene("Turntable", location="/root/world/pear", degrees=90))
        printed = self.tellar("walk", "scene.json", "--at", "/root/world/pear", "--depth", "0",
                              "--attrs", "xform")
        self.assertIn("rotateTurntable", printed)
        self.assertRegex(printed, r"translate\b")

    def test_names_a_wrong_argument(self):
        self.assert_op_fails('argument "location": is missing', scene("Turntable"))
        self.assert_op_fails("degrees", scene("Turntable", location="/root/world", degrees="x"))


class Page(unittest.TestCase):
    def test_shows_the_files_as_they_are(self):
        page = PAGE.read_text()
        for language, name in (("cpp", "spiral.cpp"), ("c", "turntable.c")):
            source = (SOURCES / name).read_text()
            blocks = re.findall(rf"^```{language}\n(.*?)^```$", page, re.DOTALL | re.MULTILINE)
            self.assertGreaterEqual(len(blocks), 3)
            for block in blocks:
                self.assertIn(block, source)


if __name__ == "__main__":
    main()

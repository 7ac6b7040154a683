#!/usr/bin/env python3
"""Renders with TELLAR_VALIDATE: the renderers of the project do nothing wrong and draw the same
pictures, and the faults of another one are told.

    test_validation.py PROGRAM EXAMPLES_FOLDER

In the environment: TELLAR_TEST_FAULTY is the folder of the renderer "faulty", TELLAR_TEST_BUILT
names the renderers of the project that are built.
"""

import os
import re
import signal
import struct

from tellar_test import TellarTest, main

FAULTY = os.environ["TELLAR_TEST_FAULTY"]
BUILT = os.environ["TELLAR_TEST_BUILT"].split()


def content(picture):
    """The bytes of a text; the compressed pixels of a PNG, whose header has the time of day."""
    data = picture.read_bytes()
    if picture.suffix != ".png":
        return data
    pixels, at = b"", 8
    while at < len(data):
        size, kind = struct.unpack_from(">I4s", data, at)
        pixels += data[at + 8:at + 8 + size] if kind == b"IDAT" else b""
        at += size + 12
    return pixels


class SoundRenderersTest(TellarTest):
    def check(self, renderer, scene, picture, *options):
        if renderer not in BUILT:
            return
        arguments = ["render", self.examples / scene, "-o", picture, "--renderer", renderer,
                     "--samples", 1, "--size", "64x64", "--threads", 8, *options]
        self.assertEqual(self.run_tellar(*arguments)[0], 0)
        plain = content(self.folder / picture)
        self.assertGreater(len(plain), 0)
        status, _, errors = self.run_tellar(*arguments, TELLAR_VALIDATE="1")
        self.assertEqual(status, 0, errors)
        self.assertRegex(errors, rf'(^|\n)TELLAR_VALIDATE: render 1 by "{renderer}": no findings in '
                                 r"\d+ calls\nTELLAR_VALIDATE: process: no findings in \d+ calls\n$")
        self.assertEqual(content(self.folder / picture), plain)

    def test_the_example_renders_the_garden(self):
        self.check("example", "garden.json", "garden.txt")

    def test_the_example_renders_the_shapes(self):
        self.check("example", "shapes.json", "shapes.txt")

    def test_the_recorder_renders_the_garden(self):
        self.check("recorder", "garden.json", "recorded.txt")

    def test_the_recorder_renders_the_shapes(self):
        self.check("recorder", "shapes.json", "recorded.txt")

    def test_lantern_renders_the_garden(self):
        self.check("lantern", "garden.json", "garden.png")

    def test_lantern_renders_the_materials(self):
        self.check("lantern", "materials.json", "materials.png", "--light", "studio")

    def test_lantern_renders_the_shapes(self):
        self.check("lantern", "shapes.json", "shapes.png")


class FaultyRendererTest(TellarTest):
    def render(self, fault, mode):
        return self.run_tellar("render", self.examples / "shapes.json", "-o", fault + ".txt",
                               "--renderer", "faulty", OX_PLUGIN_PATH=FAULTY, TELLAR_VALIDATE=mode)

    def test_a_leak_is_told_with_the_call_that_made_it(self):
        status, _, errors = self.render("leak an attribute", "1")
        self.assertEqual(status, 0, errors)
        self.assertRegex(errors, r"^TELLAR_VALIDATE: leaked: an attribute of call \d+ "
                                 r"\(getAttributeNames, thread 1\) was not released\n"
                                 r'TELLAR_VALIDATE: render 1 by "faulty": 1 finding in \d+ calls\n'
                                 r"TELLAR_VALIDATE: process: 1 finding in \d+ calls\n$")

    def test_the_first_finding_ends_the_process_when_asked(self):
        status, _, errors = self.render("release twice", "abort")
        self.assertEqual(status, -signal.SIGABRT)
        self.assertEqual(len(re.findall("TELLAR_VALIDATE: ", errors)), 1, errors)
        self.assertIn("TELLAR_VALIDATE: released twice: release (AttributeHost 1) got ", errors)

    def test_another_value_is_warned_of(self):
        _, _, errors = self.render("pass null", "yes")
        self.assertEqual(errors, "TELLAR_VALIDATE: not turned on: the value is neither 1 nor "
                                 "abort\n")


if __name__ == "__main__":
    main()

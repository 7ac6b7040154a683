#!/usr/bin/env python3
"""The renderer "example", by which docs/writing-a-renderer.md explains how one is written: what it
does, and that the page shows what it really says.

    test_example_renderer.py PROGRAM EXAMPLES_FOLDER

TELLAR_TEST_SOURCE in the environment is its source file.
"""

import json
import os
import re
import unittest
from pathlib import Path

from tellar_test import TellarTest, main

SOURCE = Path(os.environ["TELLAR_TEST_SOURCE"])
PAGE = SOURCE.parents[2] / "docs" / "writing-a-renderer.md"

LENS = {"fov": 40.0, "near": 0.1, "far": 100.0, "left": -1.0, "right": 1.0, "top": 1.0,
        "bottom": -1.0}


def mesh(material=None):
    """Two triangles."""
    attributes = {"type": "polymesh", "geometry": {
        "point": {"P": {"$type": "float",
                        "values": [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]]}},
        "poly": {"vertexList": [0, 1, 2, 0, 2, 3], "startIndex": [0, 3, 6]}}}
    return {**attributes, "material": material} if material else attributes


NETWORK = {"style": "network", "terminals": {"surface": "clay"},
           "nodes": {"clay": {"name": "clay", "type": "matte"}}}
LEGACY = {"surfaceShader": "plastic", "surfaceParams": {"gloss": 1.0}}
LOOSE = {"style": "network", "terminals": {"surface": "gone"},
         "nodes": {"clay": {"name": "clay", "type": "matte"}}}

WORLD = {
    "cam": {"a": {"type": "camera", "geometry": LENS}},
    "props": {"a": {"type": "group", "material": NETWORK},
              "c": {"inherits": {"a": mesh()}, "own": {"a": mesh(LEGACY)},
                    "loose": {"a": mesh(LOOSE)}}},
    "bare": {"c": {"mesh": {"a": {"type": "polymesh"}}}},
}

EXPECTED = """\
camera /root/world/cam, perspective
resolution hd_720, 1280 x 720
/root untyped
/root/world untyped
/root/world/cam camera
/root/world/props group
/root/world/props/inherits polymesh, faces 2, surface matte, points 4 from 0 0 0 to 1 1 0
/root/world/props/own polymesh, faces 2, surface plastic, points 4 from 0 0 0 to 1 1 0
/root/world/props/loose polymesh, faces 2, surface none, points 4 from 0 0 0 to 1 1 0
/root/world/bare untyped
/root/world/bare/mesh polymesh, faces 0
"""


def scene(world, **settings):
    return {"ops": [{"name": "scene", "type": "StaticScene",
                     "args": {"a": {"renderSettings": settings}, "c": {"world": {"c": world}}}}]}


def paths_of(location):
    yield location["path"]
    for child in location.get("children", ()):
        yield from paths_of(child)


class ExampleTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.scene = self.write("scene.json", scene(WORLD, cameraName="/root/world/cam",
                                                    resolution="hd_720"))

    def render(self, *options, picture="out.txt"):
        return self.tellar("render", self.scene, "-o", picture, "--renderer", "example", *options)

    def text(self, name):
        return (self.folder / name).read_text()


class Example(ExampleTest):
    def test_writes_what_is_in_the_scene(self):
        self.assertEqual(self.render(), "out.txt\n")
        self.assertEqual(self.text("out.txt"), EXPECTED)
        self.assertEqual(sorted(os.listdir(self.folder)), ["out.txt", "scene.json"])

    def test_what_was_there_is_replaced(self):
        self.write("out.txt", "of yesterday")
        self.render()
        self.assertEqual(self.text("out.txt"), EXPECTED)

    def test_the_garden_is_that_of_walk_without_its_instances(self):
        garden = self.examples / "garden.json"
        self.tellar("render", garden, "-o", "garden.txt", "--renderer", "example")
        lines = self.text("garden.txt").splitlines()[2:]
        walked = json.loads(self.tellar("walk", garden, "--json"))
        paths = list(paths_of(walked))
        told = [line.split(" ")[0] for line in lines]
        self.assertEqual(told, [path for path in paths if path in set(told)])
        groups = {line.split(" ")[0] + "/": int(line.split(" ")[-1])
                  for line in lines if ", instances " in line}
        self.assertGreater(len(groups), 3)
        left_out = [path for path in paths if path not in set(told)]
        for path in left_out:
            self.assertTrue(path.startswith(tuple(groups)), path)
        self.assertIn("/root/world/garden/ground/lawn/lawn polymesh, faces 336, surface "
                      "standard_surface, points 244 from -12.2 -0.16 -12.2 to 12.2 0 12.2", lines)

    def test_instances_are_told_once(self):
        described = scene(WORLD, cameraName="/root/world/cam")
        described["ops"].append({"name": "row", "type": "Array", "inputs": ["scene"], "args": {
            "source": "/root/world/props", "target": "/root/world/row", "mode": "grid",
            "counts": [1000, 1, 1]}})
        self.scene = self.write("row.json", described)
        self.render()
        self.assertIn("/root/world/row group, instances 1000\n", self.text("out.txt"))
        self.assertEqual(self.text("out.txt").count("/inherits polymesh"), 1)

    def test_a_location_that_fails_is_a_warning(self):
        described = scene(WORLD, cameraName="/root/world/cam")
        described["ops"].append({"name": "failing", "type": "TestFailsAt", "inputs": ["scene"],
                                 "args": {"location": "/root/world/props"}})
        self.scene = self.write("failing.json", described)
        self.environment["OX_PLUGIN_PATH"] = os.environ["TELLAR_TEST_FAILING_OP_TYPES"]
        _, _, errors = self.run_tellar("render", self.scene, "-o", "out.txt", "--renderer",
                                       "example")
        self.assertIn('Op "failing" (TestFailsAt) at "/root/world/props": this location fails',
                      errors)
        self.assertIn("/root/world/props untyped, error\n", self.text("out.txt"))
        self.assertIn("/root/world/bare/mesh polymesh", self.text("out.txt"))

    def test_a_tile_goes_where_tiles_go(self):
        where = self.tellar("tile-path", "out.txt", "--tile", "1,0,2,2")
        self.assertEqual(self.render("--tile", "1,0,2,2"), where)
        self.assertEqual(self.text(where.rstrip("\n")), EXPECTED)

    def test_depth_does_not_matter(self):
        deep = {}
        for _ in range(200):
            deep = {"c": {"x": deep}}
        world = {"cam": WORLD["cam"], "deep": deep}
        path = self.write("deep.json", scene(world, cameraName="/root/world/cam"))
        self.tellar("render", path, "-o", "deep.txt", "--renderer", "example")
        self.assertEqual(self.text("deep.txt").count("\n"), 2 + 4 + 200)

    def test_a_camera_that_is_missing_is_an_error(self):
        self.assert_fails(f'{self.scene}: camera "/root/none": there is no such location',
                          "render", self.scene, "-o", "out.txt", "--renderer", "example",
                          "--camera", "/root/none")
        self.assertEqual(os.listdir(self.folder), ["scene.json"])

    def test_a_resolution_that_is_missing_is_an_error(self):
        path = self.write("odd.json", scene(WORLD, cameraName="/root/world/cam", resolution="odd"))
        status, output, errors = self.run_tellar("render", path, "-o", "out.txt", "--renderer",
                                                 "example")
        self.assertEqual((status, output), (2, ""))
        self.assertEqual(errors.splitlines()[-1],
                         "tellar: the resolution: FileOut: Error querying resolution table for "
                         "resolution: 'odd'.")
        self.assertNotIn("out.txt", os.listdir(self.folder))

    def test_a_file_that_cannot_be_made_is_an_error(self):
        (self.folder / "out.txt.part").mkdir()
        self.write("out.txt", "of yesterday")
        self.assert_fails("out.txt: cannot be written: Is a directory", "render", self.scene, "-o",
                          "out.txt", "--renderer", "example")
        self.assertEqual(self.text("out.txt"), "of yesterday")

    def test_a_full_disk_is_an_error(self):
        os.symlink("/dev/full", self.folder / "out.txt.part")
        self.assert_fails("out.txt: cannot be written: No space left on device", "render",
                          self.scene, "-o", "out.txt", "--renderer", "example")
        self.assertEqual(os.listdir(self.folder), ["scene.json"])

    def test_its_texts_are_not_stitched(self):
        self.assert_fails('--renderer: the pictures of "example" cannot be put together', "stitch",
                          "a.txt", "-o", "out.txt", "--renderer", "example")


class Page(unittest.TestCase):
    def test_shows_the_file_as_it_is_and_in_its_order(self):
        source = SOURCE.read_text()
        blocks = re.findall(r"^```c\n(.*?)^```$", PAGE.read_text(), re.DOTALL | re.MULTILINE)
        self.assertGreater(len(blocks), 8)
        place = 0
        for block in blocks:
            self.assertIn(block, source[place:], "not in the file, or not behind the block above")
            place = source.index(block, place) + len(block)


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""The renderer "recorder", whose pictures tell everything that a renderer could see.

    test_recorder.py PROGRAM EXAMPLES_FOLDER

TELLAR_TEST_FAILING_OP_TYPES in the environment is the folder of the op type "TestFailsAt".
"""

import os
import re

from tellar_test import TellarTest, main

WORLD = {
    "pear": {"a": {"type": "group", "user": {"ripe": 1, "name": "a \"b\"\n", "none": {}},
                   "xform": {"translate": {"$type": "double", "values": [[0, 5, 0]]}}},
             "c": {"stalk": {"a": {"type": "sphere", "geometry": {"radius": 0.5}}}}},
    "many": {"a": {"numbers": {"$type": "int", "values": list(range(100))}}},
}
CAMERA = {"a": {"type": "camera", "geometry": {
    "fov": 40.0, "near": 0.1, "far": 100.0, "left": -1.0, "right": 1.0, "top": 1.0,
    "bottom": -1.0}}}
SCENE = {"ops": [{"name": "scene", "type": "StaticScene",
                  "args": {"a": {"renderSettings": {"cameraName": "/root/cam"}},
                           "c": {"world": {"c": WORLD}, "cam": CAMERA}}}]}

EXPECTED = """\
/root
    renderSettings.cameraName: string "/root/cam"
    renderSettings.scene: string "scene.json"
/root/world
/root/world/pear group
    type: string "group"
    user.ripe: int 1
    user.name: string "a \\"b\\"\\x0a"
    user.none: group of nothing
    xform.translate: double[3] 0 5 0
    world matrix: 1 0 0 0 0 1 0 0 0 0 1 0 0 5 0 1
/root/world/pear/stalk sphere
    type: string "sphere"
    geometry.radius: double 0.5
/root/world/many
    numbers: int 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11 ... 100 values
    numbers: hash HASH
/root/cam camera
    type: string "camera"
    geometry.fov: double 40
    geometry.near: double 0.1
    geometry.far: double 100
    geometry.left: double -1
    geometry.right: double 1
    geometry.top: double 1
    geometry.bottom: double -1
"""


class Recorder(TellarTest):
    def record(self, description, *options, failing=0):
        self.write("scene.json", description)
        status, output, errors = self.run_tellar("render", "scene.json", "-o", "scene.txt",
                                                 "--renderer", "recorder", *options)
        told = "tellar: one location could not be cooked\n" if failing == 1 else ""
        self.assertEqual((status, output, errors), (failing, "scene.txt\n", told))
        return (self.folder / "scene.txt").read_text()

    def test_writes_attributes_in_the_order_of_the_scene(self):
        text = re.sub("hash [0-9a-f]{32}$", "hash HASH", self.record(SCENE), flags=re.MULTILINE)
        self.assertEqual(text, EXPECTED)
        self.assertEqual(sorted(os.listdir(self.folder)), ["scene.json", "scene.txt"])

    def test_writes_the_same_with_any_number_of_threads(self):
        garden = self.examples / "garden.json"
        texts = set()
        for threads in ("1", "4"):
            self.tellar("render", garden, "-o", "garden.txt", "--renderer", "recorder",
                        "--threads", threads)
            texts.add((self.folder / "garden.txt").read_text())
        self.assertEqual(len(texts), 1)
        walked = self.tellar("walk", garden)
        self.assertEqual(sum(line.startswith("/") for line in texts.pop().splitlines()),
                         len(walked.splitlines()))

    def test_writes_the_error_of_a_location_and_goes_on(self):
        self.environment["OX_PLUGIN_PATH"] = os.environ["TELLAR_TEST_FAILING_OP_TYPES"]
        failing = {"name": "failing", "type": "TestFailsAt", "inputs": ["scene"],
                   "args": {"location": "/root/world/pear"}}
        text = self.record({"ops": [*SCENE["ops"], failing]}, failing=1)
        text = re.sub("scene.json:1:[0-9]+", "PLACE", text)
        self.assertIn('/root/world/pear\n    error: PLACE: Op "failing" (TestFailsAt) at '
                      '"/root/world/pear": this location fails\n/root/world/many\n', text)

    def test_a_full_disk_is_an_error(self):
        self.write("scene.json", SCENE)
        os.symlink("/dev/full", self.folder / "scene.txt.part")
        status, _, errors = self.run_tellar("render", "scene.json", "-o", "scene.txt",
                                            "--renderer", "recorder")
        self.assertNotEqual(status, 0)
        self.assertIn("scene.txt: cannot be written", errors)
        self.assertEqual(os.listdir(self.folder), ["scene.json"])


if __name__ == "__main__":
    main()

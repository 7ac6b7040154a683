#!/usr/bin/env python3
"""Warnings about the scene of a picture, which lantern draws.

    test_render_warnings.py PROGRAM EXAMPLES_FOLDER
"""

import json
import re

from tellar_test import TellarTest, main
from test_warnings import MATERIAL, MISTAKE_LINES, MISTAKES, TRIANGLE


class RenderWarningsTest(TellarTest):
    def test_a_strict_render_of_mistakes_draws_nothing(self):
        self.write("scene.json", MISTAKES)
        status, _, errors = self.run_tellar("render", "scene.json", "-o", "out.png", "--strict")
        self.assertEqual(status, 1)
        self.assertTrue(errors.endswith(MISTAKE_LINES), errors)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["scene.json"])

    def test_a_missing_texture_is_one_warning(self):
        self.write("t.obj", TRIANGLE)
        self.write("t.mtl", MATERIAL)
        done = self.run_tellar("render", "t.obj", "-o", "out.png", "--samples", 1, "--size", "8x8")
        self.assertEqual(done[0], 0, done)
        self.assertEqual(done[2].count("bark.png"), 1, done[2])
        self.assertEqual(done[2].count("warning"), 1, done[2])

    def test_a_warning_about_a_scene_file_names_the_op_that_reads_it(self):
        self.write("t.obj", TRIANGLE)
        self.write("scene.json", '{"ops": [\n {"name": "tri", "type": "SceneImport", '
                                 '"args": {"file": "t.obj"}}]}')
        errors = self.run_tellar("walk", "scene.json")[2]
        self.assertRegex(errors, 'warning: scene.json:2:2: Op "tri" \\(SceneImport\\): Scene file '
                                 '".*/t.obj": its file of materials "t.mtl" does not exist\n')

    FAULTY = {"ops": [
        {"name": "set", "type": "StaticScene", "args": {"c": {
            "ball": {"a": {"type": "sphere", "geometry.radius": 1.0}},
            "dots": {"a": {"type": "pointcloud", "geometry.point.P": [0.0, 0.0, 0.0]}},
            "mesh": {"a": {"type": "polymesh"}}}}},
        {"name": "shrink", "type": "AttributeEdit", "inputs": ["set"],
         "args": {"paths": ["/root/ball"], "set": {"geometry.radius": -1.0}}},
        {"name": "paint", "type": "AttributeEdit", "inputs": ["shrink"],
         "args": {"paths": ["/root/mesh"], "set": {"color": [1.0, 0.0, 0.0]}}}]}

    def test_a_warning_of_the_renderer_names_the_op_that_set_the_attribute(self):
        self.write("scene.json", json.dumps(self.FAULTY, indent=1))
        errors = self.run_tellar("render", "scene.json", "-o", "out.png", "--samples", 1,
                                 "--size", "8x8")[2]
        self.assertRegex(errors, 'tellar: warning: /root/ball: "geometry.radius" is negative or not '
                                 'finite; changed by "shrink" \\(AttributeEdit\\), '
                                 'scene.json:[0-9]+:[0-9]+\n')

    def test_a_warning_about_a_missing_attribute_names_the_op_that_made_the_location(self):
        self.write("scene.json", json.dumps(self.FAULTY, indent=1))
        errors = self.run_tellar("render", "scene.json", "-o", "out.png", "--samples", 1,
                                 "--size", "8x8")[2]
        self.assertRegex(errors, 'tellar: warning: /root/mesh: .*"geometry.*; made by "set" '
                                 '\\(StaticScene\\), scene.json:[0-9]+:[0-9]+\n')

    FAILING = {"ops": [
        {"name": "bad", "type": "SceneImport", "args": {"file": "no.obj", "location": "/root/w/bad"}},
        {"name": "worse", "type": "SceneImport", "args": {"file": "no.obj",
                                                          "location": "/root/w/worse"}},
        {"name": "good", "type": "SceneImport", "args": {"file": "t.obj",
                                                         "location": "/root/w/good"}},
        {"name": "all", "type": "Merge", "inputs": ["bad", "worse", "good"]}]}

    def render_failing(self, *options, ops=None):
        self.write("t.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")
        camera = {"name": "seen", "type": "Camera", "inputs": ["all"],
                  "args": {"path": "/root/cam"}}
        named = {"name": "named", "type": "RenderSettings", "inputs": ["seen"],
                 "args": {"settings": {"cameraName": "/root/cam", "resolution": "8x8"}}}
        content = {"ops": [*(ops or self.FAILING["ops"]), camera, named]}
        self.write("scene.json", content)
        return self.run_tellar("render", "scene.json", "-o", "out.png", "--samples", 1, *options)

    def test_locations_that_cannot_be_cooked_are_counted_last(self):
        status, output, errors = self.render_failing()
        self.assertEqual((status, output), (1, "out.png\n"), errors)
        self.assertTrue((self.folder / "out.png").exists())
        lines = errors.splitlines()
        # Both ops fail at /root/materials as well, which is one location.
        self.assertEqual(lines[-1], "tellar: 3 locations could not be cooked")
        for op in ("bad", "worse"):
            place = f'scene.json:1:[0-9]+: Op "{op}" \\(SceneImport\\) at "/root/w/{op}": '
            self.assertEqual(len([line for line in lines if re.match(
                "tellar: warning: " + place, line)]), 1, errors)

    def test_locations_are_counted_once_over_several_frames(self):
        ops = [op for op in self.FAILING["ops"] if op["name"] != "worse"]
        ops[-1] = {**ops[-1], "inputs": ["bad", "good"]}
        self.render_failing(ops=ops)
        status, _, errors = self.run_tellar("render", "scene.json", "-o", "out.##.png", "--samples",
                                            1, "--frames", "1:2")
        self.assertEqual(status, 1, errors)
        self.assertEqual(errors.splitlines()[-1], "tellar: 2 locations could not be cooked")
        self.assertTrue((self.folder / "out.02.png").exists())

    def test_a_strict_render_ends_at_the_first_of_them(self):
        status, output, errors = self.render_failing("--strict")
        self.assertEqual((status, output), (2, ""), errors)
        self.assertRegex(errors.splitlines()[-1],
                         'tellar: scene.json:1:[0-9]+: Op "(bad|worse)" \\(SceneImport\\) at ')

    def test_a_sound_render_counts_nothing(self):
        ops = [self.FAILING["ops"][2], {**self.FAILING["ops"][3], "inputs": ["good"]}]
        self.assertEqual(self.render_failing("--strict", ops=ops), (0, "out.png\n", ""))

    def test_a_replay_counts_what_the_render_has_counted(self):
        status, _, errors = self.render_failing("--capture", "c.oxcap")
        self.assertEqual(status, 1, errors)
        status, _, errors = self.run_tellar("replay", "c.oxcap", "-o", "again.png")
        self.assertEqual(status, 1, errors)
        self.assertEqual(errors.splitlines()[-1], "tellar: 3 locations could not be cooked")
        self.assertEqual((self.folder / "out.png").exists(),
                         (self.folder / "again.png").exists())


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""The tellar command as a whole: its help, wrong usage, the op types and the example scenes.

    test_tellar.py PROGRAM EXAMPLES_FOLDER
"""

import json

from command_scenes import SCENE
from tellar_test import SMALL, TellarTest, main


class GeneralTest(TellarTest):
    def test_version(self):
        self.assertRegex(self.tellar("--version"), r"^tellar \d+\.\d+\.\d+\n$")

    def test_help_names_every_subcommand_and_shows_examples(self):
        text = self.tellar("--help")
        for word in ("walk", "camera", "project", "procedural", "material", "textures",
                     "tile-path", "convert", "ops", "Examples:"):
            self.assertIn(word, text)

    def test_help_of_a_subcommand_names_its_options_and_shows_examples(self):
        text = self.tellar("walk", "--help")
        for word in ("SCENE", "--at", "--depth", "--attrs", "--xform", "--json", "--threads",
                     "--variant", "--stats", "--quiet", "Examples:"):
            self.assertIn(word, text)
        text = self.tellar("convert", "--help")
        for word in ("IN", "OUT", "--to", "--compress", "Examples:"):
            self.assertIn(word, text)
        self.assertIn("--json", self.tellar("ops", "--help"))
        text = self.tellar("camera", "--help")
        for word in ("SCENE", "--camera CAMERA", "--frame N", "--shutter OPEN,CLOSE", "--json",
                     "Examples:", "tellar camera examples/garden.json"):
            self.assertIn(word, text)
        text = self.tellar("project", "--help")
        for word in ("SCENE", "--at PATH", "--camera CAMERA", "--resolution NAME", "--json",
                     "Examples:", "tellar project examples/garden.json"):
            self.assertIn(word, text)
        text = self.tellar("procedural", "--help")
        for word in ("SCENE", "--at PATH", "--form FORM", "--frame N", "--attr NAME",
                     "Examples:", "tellar procedural"):
            self.assertIn(word, text)

    def test_usage_errors_are_one_line_too(self):
        scene = self.write("s.json", SCENE)
        self.assert_fails('a subcommand is required; "tellar --help" lists them')
        self.assert_fails('there is no subcommand "wlak"; did you mean "walk"?', "wlak", scene)
        self.assert_fails('there is no subcommand "paint"; "tellar --help" lists them',
                          "paint", scene)
        self.assert_fails("walk: no SCENE is given", "walk")
        self.assert_fails("walk: no SCENE is given (write --attrs=NAME, or --attrs behind the "
                          "scene)", "walk", "--attrs", scene)
        self.assert_fails_with("not expected: --colour", "walk", scene, "--colour")
        self.assert_fails_with('; did you mean "--depth"?', "walk", scene, "--detph", "3")
        self.assert_fails_with('; did you mean "--samples"?', "render", scene, "--sampels=3")
        self.assert_fails_with("not expected: more", "walk", scene, "more")
        self.assert_fails_with("OUT", "convert", scene)
        self.assert_fails("--threads: Value 0 not in range 1 to 256", "walk", scene, "--threads", 0)
        self.assert_fails_with("--threads: Value 257", "walk", scene, "--threads", 257)
        self.assert_fails_with("--threads: Value two", "walk", scene, "--threads", "two")
        self.assert_fails_with("--depth: Value -1", "walk", scene, "--depth", "-1")
        self.assert_fails("--variant: fast not in {sync,async,thread-aware}",
                          "walk", scene, "--variant", "fast")
        self.assert_fails('--variant: snyc not in {sync,async,thread-aware}; did you mean "sync"?',
                          "walk", scene, "--variant", "snyc")
        self.assert_fails("--threads: only thread-aware producers are walked by several",
                          "walk", scene, "--threads", 2, "--variant", "sync")
        self.assert_fails_with("--to", "convert", scene, "x", "--to", "yaml")


class OpsTest(TellarTest):
    BUILT_IN = ["Array", "AttributeEdit", "Camera", "CapturedScene", "Instances", "MaterialAssign",
                "Merge", "Prune", "RenderSettings", "SceneImport", "Share", "StaticScene",
                "Transform"]

    def test_lists_the_op_types(self):
        lines = self.tellar("ops").splitlines()
        names = [line.split()[0] for line in lines if line[2] != " "]
        self.assertEqual(names, self.BUILT_IN)

    def test_tells_about_one(self):
        text = self.tellar("ops", "Array")
        self.assertTrue(text.startswith("Array (version "), text)
        self.assertIn("\ninputs: one\n", text)
        self.assertRegex(text, r"\n  counts +int\[3\]  Grid: ")

    def test_prints_json(self):
        types = json.loads(self.tellar("ops", "--json"))
        self.assertEqual([op_type["name"] for op_type in types], self.BUILT_IN)
        one = json.loads(self.tellar("ops", "Array", "--json"))
        self.assertEqual(one, types[0])
        self.assertEqual(set(one), {"name", "version", "summary", "inputs", "arguments"})
        self.assertEqual(one["arguments"][0]["name"], "source")

    def test_an_unknown_type_is_an_error(self):
        self.assert_fails('there is no op type "Aray"; did you mean "Array"?', "ops", "Aray")
        self.assert_fails('there is no op type "Paint"; "tellar ops" lists them', "ops", "Paint")


class ExamplesTest(TellarTest):
    def test_the_garden_is_what_its_description_says(self):
        garden = self.examples / "garden.json"
        children = self.tellar("walk", garden, "--at", "/root/world/garden", "--depth", 1)
        self.assertIn("windmill", children)
        self.assertNotIn("benches", children)
        oak = self.tellar("walk", garden, "--at", "/root/world/garden/trees/oak_1",
                          "--attrs=materialAssign")
        self.assertIn('leafy_crown [polymesh]\n        '
                      '   materialAssign: "/root/materials/marigold"', oak)
        root = json.loads(self.tellar("walk", garden, "--depth", 0, "--attrs", "--json"))
        self.assertEqual(root["attrs"]["renderSettings"],
                         {"cameraName": "/root/world/cam/camera", "resolution": "square_512",
                          "lantern": {"exposure": -0.4}})
        self.assertIn("sky [light]", self.tellar("walk", garden, "--at", "/root/world/sky"))
        self.assertEqual(self.tellar("walk", garden, "--at", "/root/world/cam/camera"),
                         "/root/world/cam/camera [camera]\n")

    def test_the_million_is_more_than_a_million(self):
        output = self.tellar("walk", self.million(), "--quiet", "--stats", "--threads", 2)
        self.assertGreater(int(output.split()[1]), 50_000 if SMALL else 1_000_000)

    def million(self):
        """The example, or for slow builds its twentieth part."""
        file = self.examples / "million.json"
        if not SMALL:
            return file
        scene = json.loads(file.read_text())
        scene["ops"][0]["args"]["file"] = str(self.examples / "garden.gltf")
        scene["ops"][1]["args"]["count"] //= 20
        return self.write("million.json", scene)


if __name__ == "__main__":
    main()

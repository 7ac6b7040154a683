#!/usr/bin/env python3
"""Warnings about scenes, each once and with the op's place, and --strict, which makes them errors.

    test_warnings.py PROGRAM EXAMPLES_FOLDER
"""

import json
import os

from packable_scenes import TRIANGLE as TRIANGLE_DATA, data_uri, gltf, png
from tellar_test import TellarTest, main

TRIANGLE = "mtllib t.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl bark\nf 1 2 3\n"
MATERIAL = "newmtl bark\nmap_Kd bark.png\n"

MISTAKES = """{"ops": [
  {"name": "scene", "type": "StaticScene", "args": {"c": {"world": {"c": {
    "ball": {"a": {"type": "sphere"}}}}}}},
  // A comment.
  {"name": "move", "type": "Transform", "inputs": ["scene"],
   "args": {"paths": ["/root/world/bal", "/root/world/*"], "translate": [1, 0, 0]}},
      {"name": "paint", "type": "MaterialAssign", "inputs": ["move"],
   "args": {"paths": ["/root/world/ball"], "material": "/root/looks/red"}}
]}"""

MISTAKE_LINES = (
    'tellar: warning: scene.json:5:3: Transform "move": "/root/world/bal" matches no location; did '
    'you mean "/root/world/ball"?\n'
    'tellar: warning: scene.json:7:7: MaterialAssign "paint": there is no material '
    '"/root/looks/red" to assign\n')


def look_of(file):
    """A material with an image node."""
    return {"type": "material", "material": {"nodes": {
        "picture": {"type": "image", "parameters": {"file": file}}}}}


class WarningsTest(TellarTest):
    def assert_warns(self, status, errors, *arguments):
        done = self.run_tellar(*arguments)
        self.assertEqual((done[0], done[2]), (status, errors), arguments)
        return done[1]

    def test_a_walk_of_the_whole_scene_warns_once_of_each_mistake(self):
        self.write("scene.json", MISTAKES)
        output = self.assert_warns(0, MISTAKE_LINES, "walk", "scene.json", "--threads", 2)
        self.assertIn("ball [sphere]", output)

    def test_a_walk_of_a_part_does_not_look_for_mistakes(self):
        self.write("scene.json", MISTAKES)
        self.tellar("walk", "scene.json", "--at", "/root/world")
        self.tellar("walk", "scene.json", "--depth", 1)

    def test_strict_commands_end_with_status_1_when_all_is_printed(self):
        self.write("scene.json", MISTAKES)
        output = self.assert_warns(1, MISTAKE_LINES, "walk", "scene.json", "--strict")
        self.assertIn("ball [sphere]", output)
        self.assert_warns(1, MISTAKE_LINES, "walk", "scene.json", "--strict", "--depth", 0)
        self.assert_warns(1, MISTAKE_LINES, "convert", "scene.json", "out.oxop", "--strict")
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["scene.json"])

    def test_strict_commands_succeed_without_mistakes(self):
        self.write("scene.json", MISTAKES.replace('"/root/world/bal", ', "")
                   .replace("MaterialAssign", "AttributeEdit")
                   .replace(', "material": "/root/looks/red"', ""))
        self.tellar("walk", "scene.json", "--strict")

    def test_ops_of_an_op_file_stand_in_it_as_a_whole(self):
        self.write("scene.json", MISTAKES)
        self.run_tellar("convert", "scene.json", "scene.oxop")
        expected = MISTAKE_LINES.replace(".json:5:3", ".oxop").replace(".json:7:7", ".oxop")
        self.assert_warns(0, expected, "walk", "scene.oxop")

    def test_errors_of_ops_have_their_places_too(self):
        self.write("scene.json", {"ops": [{"name": 'a" (b', "type": "Array"}]})
        self.assert_fails_with('scene.json:1:10: Op "a" (b" (Array) at "/root": Argument "source" '
                               'is missing', "walk", "scene.json")

    def test_a_missing_texture_of_an_import_is_one_warning(self):
        self.write("t.obj", TRIANGLE)
        self.write("t.mtl", MATERIAL)
        self.write("scene.json", {"ops": [{"name": "t", "type": "SceneImport",
                                           "args": {"file": "t.obj"}}]})
        texture = os.path.realpath(self.folder / "bark.png")
        expected = (f'tellar: warning: scene.json:1:10: SceneImport "t": the texture "{texture}" '
                    'of the material "bark" does not exist\n')
        self.assert_warns(0, expected, "walk", "scene.json", "--quiet")
        self.assert_warns(1, expected, "walk", "scene.json", "--quiet", "--strict")

    def test_a_missing_texture_of_a_description_is_one_warning(self):
        self.write("scene.json", {"ops": [{"name": "s", "type": "StaticScene", "args": {
            "c": {"red": {"a": look_of("wood.png")}}}}]})
        self.assert_warns(0, 'tellar: warning: scene.json:1:10: StaticScene "s": the texture '
                          '"wood.png" of "/root/red" does not exist\n', "walk", "scene.json",
                          "--quiet")

    def write_scenes_of_tiles(self):
        """A description, a glTF file and an OBJ file that all use the tiles of one texture."""
        self.write("t.obj", TRIANGLE)
        self.write("t.mtl", MATERIAL.replace("bark.png", "wood.<UDIM>.png"))
        self.write("t.gltf", gltf(data_uri("application/octet-stream", TRIANGLE_DATA),
                                  "wood.<UDIM>.png"))
        self.write("scene.json", {"ops": [{"name": "s", "type": "StaticScene", "args": {
            "c": {"red": {"a": look_of("wood.<UDIM>.png")}}}}]})
        return "t.obj", "t.gltf", "scene.json"

    def test_a_texture_of_which_a_tile_exists_is_not_missing(self):
        self.write("wood.1012.png", png(1, 2, 3))
        for scene in self.write_scenes_of_tiles():
            with self.subTest(scene):
                self.assert_warns(0, "", "walk", scene, "--quiet")
                self.assertEqual(self.run_tellar("deps", scene)[0], 0)
                self.tellar("pack", scene, f"packed {scene}")
                self.assertEqual(len(list((self.folder / f"packed {scene}")
                                          .rglob("wood.1012.png"))), 1)

    def test_a_texture_without_any_tile_is_one_warning(self):
        self.write("wood.12.png", png(1, 2, 3))
        for scene in self.write_scenes_of_tiles():
            with self.subTest(scene):
                status, _, errors = self.run_tellar("walk", scene, "--quiet")
                self.assertEqual((status, errors.count("\n"), errors.count("wood.<UDIM>.png")),
                                 (0, 1, 1), errors)
                self.assertEqual(self.run_tellar("deps", scene)[0], 1)
                status, _, errors = self.run_tellar("pack", scene, f"packed {scene}")
                self.assertEqual(status, 2)
                self.assertIn("wood.<UDIM>.png: is missing", errors)

    def test_imports_that_fall_on_each_other_are_one_warning(self):
        for name in ("a", "b"):
            self.write(name + ".ply", "ply\nformat ascii 1.0\nelement vertex 1\n"
                       "property float x\nproperty float y\nproperty float z\nend_header\n"
                       f"{ord(name)} 0 0\n")
        os.rename(self.folder / "b.ply", self.folder / "other.ply")
        (self.folder / "b").mkdir()
        os.rename(self.folder / "other.ply", self.folder / "b" / "a.ply")
        ops = [{"name": "one", "type": "SceneImport", "args": {"file": "a.ply"}},
               {"name": "two", "type": "SceneImport", "args": {"file": "b/a.ply"}},
               {"name": "both", "type": "Merge", "inputs": ["one", "two"]}]
        self.write("scene.json", {"ops": ops})
        status, _, errors = self.run_tellar("walk", "scene.json", "--quiet")
        self.assertEqual(status, 0)
        self.assertRegex(errors, r'^tellar: warning: scene\.json:1:\d+: Merge "both": its inputs '
                                 r'"one" and "two" both have "/root/world/[^"]*"[^"]*; what they '
                                 r'have is mixed there\n$')
        ops[1]["args"]["file"] = "a.ply"
        self.write("scene.json", {"ops": ops})
        status, _, errors = self.run_tellar("walk", "scene.json", "--quiet")
        self.assertRegex(errors, r'^tellar: warning: [^\n]* are the same scene at the same place, '
                                 r'which is there once\n$')


class TexturesOfDescriptionsTest(TellarTest):
    def setUp(self):
        super().setUp()
        (self.folder / "shots").mkdir()
        (self.folder / "shots" / "wood.png").write_bytes(b"")
        self.wood = os.path.realpath(self.folder / "shots" / "wood.png")
        scene = {"c": {"red": {"a": look_of("wood.png")},
                       "sun": {"a": {"type": "light", "light": {"texture": "./wood.png"}}},
                       "other": {"a": look_of("$MAPS/wood.png")}}}
        edit = {"paths": "/root/sun", "set": {"textures": {"a": "wood.png"}}}
        self.description = {"ops": [
            {"name": "s", "type": "StaticScene", "args": scene},
            {"name": "e", "type": "AttributeEdit", "inputs": ["s"], "args": edit}]}
        (self.folder / "shots" / "scene.json").write_text(json.dumps(self.description))

    def assert_finds_textures(self, scene, expected=None):
        text = self.tellar("walk", scene, "--json", "--attrs")
        self.assertEqual(text.count(json.dumps(expected or self.wood)), 3, text)
        self.assertEqual(text.count('"$MAPS/wood.png"'), 1, text)

    def test_textures_count_from_the_folder_of_the_description(self):
        self.assert_finds_textures("shots/scene.json")

    def test_textures_are_found_from_any_form_and_after_a_move(self):
        (self.folder / "work").mkdir()
        for name in ("copy.json", "copy.oxop", "copy.oxattr"):
            self.tellar("convert", "shots/scene.json", f"work/{name}")
            self.assert_finds_textures(f"work/{name}")
        (self.folder / "elsewhere").mkdir()
        for name in ("work", "shots"):
            os.rename(self.folder / name, self.folder / "elsewhere" / name)
        moved = os.path.realpath(self.folder / "elsewhere" / "shots" / "wood.png")
        for name in ("copy.json", "copy.oxop", "copy.oxattr"):
            self.assert_finds_textures(f"elsewhere/work/{name}", moved)

    def test_a_description_beside_its_textures_is_written_as_it_was(self):
        self.tellar("convert", "shots/scene.json", "shots/copy.json")
        self.assertEqual(json.loads((self.folder / "shots" / "copy.json").read_text()),
                         self.description)


if __name__ == "__main__":
    main()

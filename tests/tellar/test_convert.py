#!/usr/bin/env python3
"""tellar convert, and the kinds of files in which scenes are read and written.

    test_convert.py PROGRAM EXAMPLES_FOLDER
"""

import json
import os
import subprocess
from pathlib import Path

from command_scenes import SCENE, TREE
from tellar_test import TellarTest, main


class SceneKindTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.scene = self.write("scene.json", SCENE)

    def test_every_form_of_a_scene_opens(self):
        self.tellar("convert", self.scene, "scene.oxop")
        self.tellar("convert", self.scene, "packed.oxop", "--compress")
        self.tellar("convert", self.scene, "scene.oxattr")
        self.tellar("convert", self.scene, "packed.oxattr", "--compress")
        for name in ("scene.oxop", "packed.oxop", "scene.oxattr", "packed.oxattr"):
            with self.subTest(name=name):
                self.assertEqual(self.tellar("walk", name), TREE)

    def test_the_content_counts_more_than_the_extension(self):
        self.tellar("convert", self.scene, "ops.json.txt", "--to", "ops")
        self.tellar("convert", self.scene, "attributes", "--to", "attributes")
        self.tellar("convert", self.scene, "ops.json", "--to", "ops")
        self.write("description", "\n  " + json.dumps(SCENE))
        for name in ("ops.json.txt", "attributes", "ops.json", "description"):
            with self.subTest(name=name):
                self.assertEqual(self.tellar("walk", name), TREE)

    def test_a_scene_file_is_imported(self):
        self.write("triangle.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")
        output = self.tellar("walk", "triangle.obj")
        self.assertTrue(output.startswith("/root [group]\n"), output)
        self.assertIn("[polymesh]", output)

    def test_a_gltf_file_is_a_scene_though_it_is_json(self):
        output = self.tellar("walk", self.examples / "garden.gltf", "--at", "/root/world",
                             "--depth", 1)
        self.assertEqual(output, "/root/world [group]\n└─ garden [group]\n")

    def test_missing_and_unreadable_files_are_named(self):
        self.assert_fails("no.json: No such file or directory", "walk", "no.json")
        self.assert_fails("no.json: No such file or directory", "convert", "no.json", "x.oxop")
        self.assert_fails(".: is a directory", "walk", ".")
        self.assert_fails("/dev/null: is no regular file", "walk", "/dev/null")
        self.assert_fails_with("scene.json/x", "walk", "scene.json/x")

    def test_files_that_are_not_what_they_say_are_named(self):
        self.write("text.oxop", "hello")
        self.write("text.oxattr", "hello")
        self.write("empty.oxop", "")
        self.write("empty.json", "")
        self.write("text.json", "hello")
        self.write("text.obj", "hello")
        self.assert_fails("text.oxop: is no op file", "walk", "text.oxop")
        self.assert_fails("text.oxattr: is no attribute stream", "walk", "text.oxattr")
        self.assert_fails("empty.oxop: is no op file", "walk", "empty.oxop")
        self.assert_fails("empty.json:1:1: not JSON: The document is empty", "walk", "empty.json")
        self.assert_fails("text.json:1:1: not JSON: Invalid value", "walk", "text.json")
        self.assert_fails_with("text.obj", "walk", "text.obj")

    def test_damaged_files_are_named(self):
        self.tellar("convert", self.scene, "scene.oxop")
        self.tellar("convert", self.scene, "scene.oxattr")
        self.tellar("convert", self.scene, "packed.oxop", "--compress")
        for name in ("scene.oxop", "scene.oxattr", "packed.oxop"):
            whole = (self.folder / name).read_bytes()
            for end in (len(whole) // 2, len(whole) - 1):
                with self.subTest(name=name, end=end):
                    damaged = self.write("damaged-" + name, whole[:end])
                    self.assert_fails_with("damaged-" + name, "walk", damaged)
                    self.assert_fails_with("damaged-" + name, "convert", damaged, "x.json")
            flipped = bytearray(whole)
            flipped[len(whole) // 2] ^= 0x55
            self.assert_fails_with("flipped-" + name, "walk", self.write("flipped-" + name, flipped))

    def test_bad_json_is_placed(self):
        self.write("bad.json", '{"ops": [\n  {"name": "a", "type": "T", "inputs": ["b"]}]}')
        self.assert_fails('bad.json:2:41: input "b" names no op, in op "a"', "walk", "bad.json")

    def test_an_error_of_several_lines_is_put_into_one(self):
        self.write("bad.json", '{"ops": [{"name": "a", "type": "T", "inputs": ["b\\nc\\u001b"]}]}')
        self.assert_fails('bad.json:1:48: input "b c\\x1b" names no op, in op "a"',
                          "walk", "bad.json")

    def test_locations_that_do_not_exist_are_named(self):
        for variant in ("sync", "async", "thread-aware"):
            with self.subTest(variant=variant):
                self.assert_fails(f'{self.scene}: there is no location "/root/wrld"',
                                  "walk", self.scene, "--at", "/root/wrld", "--variant", variant)
        self.assert_fails('--at: "world" is no absolute location path',
                          "walk", self.scene, "--at", "world")
        self.assert_fails('--at: "" is no absolute location path', "walk", self.scene, "--at", "")

    def test_unknown_op_types_cycles_and_bad_arguments_are_named(self):
        unknown = {"ops": [{"name": "a", "type": "Nope"}]}
        self.assert_fails('Op "a" (Nope) at "/root": there is no op type of this name',
                          "walk", self.write("unknown.json", unknown))
        cycle = {"ops": [{"name": "a", "type": "Merge", "inputs": ["b"]},
                         {"name": "b", "type": "Merge", "inputs": ["a"]}]}
        for options in ([], ["--threads", "4"], ["--variant", "sync"]):
            self.assert_fails_with("cycle", "walk", self.write("cycle.json", cycle), *options)
        bad = {"ops": [{"name": "a", "type": "Array"}]}
        self.assert_fails_with('Op "a" (Array) at "/root": Argument "source" is missing',
                               "walk", self.write("bad.json", bad))

    def test_a_plugin_that_could_not_be_loaded_is_told_where_an_op_type_is_missed(self):
        plugins = self.folder / "plugins"
        plugins.mkdir()
        (plugins / "broken.so").write_bytes(b"no library")
        scene = self.write("unknown.json", {"ops": [{"name": "a", "type": "Nope"}]})
        environment = {"OX_PLUGIN_PATH": str(plugins)}
        self.assert_fails_with("there is no op type of this name (plug-in passed over: "
                               f"{plugins}/broken.so: ", "walk", scene, **environment)
        self.assert_fails_with('there is no op type "Nope"', "ops", "Nope", **environment)
        self.assertIn(f"\npassed over:\n  {plugins}/broken.so: ",
                      self.tellar("ops", **environment))
        self.assert_fails(f'{self.scene}: there is no location "/root/x"',
                          "walk", self.scene, "--at", "/root/x", **environment)

    def test_log_messages_are_as_usual_when_they_are_asked_for(self):
        plugins = self.folder / "plugins"
        plugins.mkdir()
        (plugins / "broken.so").write_bytes(b"no library")
        status, output, errors = self.run_tellar("walk", self.scene, OX_PLUGIN_PATH=str(plugins),
                                                 OX_LOG_LEVEL="warn")
        self.assertEqual((status, output), (0, TREE))
        self.assertTrue(errors.startswith("[warn] PluginManager: "), errors)


class ConvertTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.scene = self.write("scene.json", SCENE)

    def read(self, name):
        return (self.folder / name).read_bytes()

    def test_nothing_is_lost_in_any_direction(self):
        forms = ("json", "oxattr", "oxop")
        self.tellar("convert", self.scene, "first.json")
        for through in forms:
            for back in forms:
                with self.subTest(through=through, back=back):
                    self.tellar("convert", "first.json", f"through.{through}")
                    self.tellar("convert", f"through.{through}", f"back.{back}")
                    self.tellar("convert", f"back.{back}", f"again.{through}")
                    self.assertEqual(self.read(f"again.{through}"), self.read(f"through.{through}"))
                    self.assertEqual(self.tellar("walk", f"back.{back}", "--json", "--attrs"),
                                     self.tellar("walk", self.scene, "--json", "--attrs"))

    def test_json_through_attributes_comes_back_byte_for_byte(self):
        for name in ("garden.json", "materials.json", "million.json"):
            with self.subTest(name=name):
                self.tellar("convert", self.examples / name, "first.json")
                self.tellar("convert", "first.json", "middle.oxattr")
                self.tellar("convert", "middle.oxattr", "second.json")
                self.assertEqual(self.read("second.json"), self.read("first.json"))

    def test_compression_makes_no_other_difference(self):
        self.tellar("convert", self.scene, "plain.oxop")
        self.tellar("convert", self.scene, "packed.oxop", "--compress")
        self.assertLess(len(self.read("packed.oxop")), len(self.read("plain.oxop")))
        self.assertEqual(self.read("packed.oxop")[:4], b"\x28\xb5\x2f\xfd")
        self.tellar("convert", "packed.oxop", "unpacked.oxop")
        self.assertEqual(self.read("unpacked.oxop"), self.read("plain.oxop"))

    def test_files_beside_the_description_are_still_found_elsewhere(self):
        self.tellar("convert", self.examples / "garden.json", "elsewhere.oxop")
        self.assertEqual(self.tellar("walk", "elsewhere.oxop"),
                         self.tellar("walk", self.examples / "garden.json"))

    def test_a_file_may_be_converted_in_place(self):
        self.tellar("convert", "scene.json", "scene.json", "--to", "ops")
        self.assertEqual(self.tellar("walk", "scene.json"), TREE)

    def test_a_failure_leaves_the_output_as_it_was(self):
        self.write("bad.json", '{"ops": [}')
        for name in ("old.json", "old.oxop", "old.oxattr"):
            self.write(name, "precious")
            self.assert_fails_with("bad.json:1:10", "convert", "bad.json", name)
            self.assertEqual(self.read(name), b"precious")
        names = sorted(path.name for path in self.folder.iterdir())
        self.assertEqual(names, ["bad.json", "old.json", "old.oxattr", "old.oxop", "scene.json"])

    def test_output_that_cannot_be_written_is_named_and_leaves_nothing(self):
        (self.folder / "folder.json").mkdir()
        (self.folder / "folder.oxop").mkdir()
        for name in ("no/x.json", "no/x.oxop", "no/x.oxattr", "folder.json", "folder.oxop"):
            with self.subTest(name=name):
                self.assert_fails_with(name, "convert", self.scene, name)
        names = sorted(path.name for path in self.folder.iterdir())
        self.assertEqual(names, ["folder.json", "folder.oxop", "scene.json"])

    def test_an_existing_output_is_replaced(self):
        self.write("out.json", "x" * 100000)
        self.tellar("convert", self.scene, "out.json")
        self.assertEqual(json.loads(self.read("out.json"))["ops"][0]["name"], "scene")

    def test_links_stay_and_lead_to_the_new_file(self):
        for extension in ("json", "oxop", "oxattr"):
            with self.subTest(extension):
                self.write(f"real.{extension}", "old")
                link = self.folder / f"link.{extension}"
                link.symlink_to(f"real.{extension}")
                self.tellar("convert", self.scene, link)
                self.assertTrue(link.is_symlink())
                self.assertEqual(self.tellar("walk", f"real.{extension}"), TREE)

    def test_devices_and_pipes_are_written_to(self):
        for form in ("json", "ops", "attributes"):
            with self.subTest(form):
                pipe = self.folder / f"pipe-{form}"
                os.mkfifo(pipe)
                with subprocess.Popen(["cat", pipe], stdout=subprocess.PIPE) as reader:
                    self.tellar("convert", self.scene, pipe, "--to", form)
                    (self.folder / "through").write_bytes(reader.communicate(timeout=60)[0])
                self.assertTrue(pipe.is_fifo())
                self.assertEqual(self.tellar("walk", "through"), TREE)
                self.tellar("convert", self.scene, "/dev/null", "--to", form)
                self.assertTrue(Path("/dev/null").is_char_device())

    def test_bad_wishes_are_refused(self):
        self.assert_fails("x.txt: the extension tells no form (.json, .oxattr, .oxop); give one "
                          "with --to", "convert", self.scene, "x.txt")
        self.assert_fails("--compress: JSON is written uncompressed only",
                          "convert", self.scene, "x.json", "--compress")
        self.write("triangle.obj", "v 0 0 0\n")
        self.assert_fails("triangle.obj: is no op-tree description",
                          "convert", "triangle.obj", "x.json")
        self.assertFalse((self.folder / "x.json").exists())


if __name__ == "__main__":
    main()

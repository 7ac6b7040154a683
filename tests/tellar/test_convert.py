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
        self.assert_fails("/dev/null: is not a regular file", "walk", "/dev/null")
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
                self.assert_fails(f'{self.scene}: there is no location "/root/wrld"; did you mean '
                                  '"/root/world"?',
                                  "walk", self.scene, "--at", "/root/wrld", "--variant", variant)
        self.assert_fails('--at: "world" is no absolute location path',
                          "walk", self.scene, "--at", "world")
        self.assert_fails('--at: "" is no absolute location path', "walk", self.scene, "--at", "")

    def test_unknown_op_types_cycles_and_bad_arguments_are_named(self):
        unknown = {"ops": [{"name": "a", "type": "Nope"}]}
        self.assert_fails(f'{self.folder}/unknown.json:1:10: Op "a" (Nope) at "/root": there is no op type of this name',
                          "walk", self.write("unknown.json", unknown))
        cycle = {"ops": [{"name": "a", "type": "Merge", "inputs": ["b"]},
                         {"name": "b", "type": "Merge", "inputs": ["a"]}]}
        for options in ([], ["--threads", "4"], ["--variant", "sync"]):
            self.assert_fails_with("cycle", "walk", self.write("cycle.json", cycle), *options)
        bad = {"ops": [{"name": "a", "type": "Array"}]}
        self.assert_fails_with('Op "a" (Array) at "/root": Argument "source" is missing',
                               "walk", self.write("bad.json", bad))

    def test_misspelt_op_types_and_arguments_are_guessed(self):
        near = {"ops": [{"name": "a", "type": "Mrege"}]}
        self.assert_fails(f'{self.folder}/near.json:1:10: Op "a" (Mrege) at "/root": there is no op type of this name; did you '
                          'mean "Merge"?', "walk", self.write("near.json", near))
        near = {"ops": [{"name": "a", "type": "Prune", "args": {"path": ["/root/a"]}}]}
        self.assert_fails(f'{self.folder}/near.json:1:10: Op "a" (Prune) at "/root": Argument "path" is not known to the op type '
                          '"Prune"; did you mean "paths"?', "walk",
                          self.write("near.json", near))

    def test_locations_may_end_with_a_slash(self):
        for path in ("/root/world/", "//root//world"):
            self.assertEqual(self.tellar("walk", self.scene, "--at", path),
                             self.tellar("walk", self.scene, "--at", "/root/world"))
        for path in ("/", "/root/", "//"):
            self.assertEqual(self.tellar("walk", self.scene, "--at", path), TREE)

    def test_misspelt_locations_are_guessed_at_every_level(self):
        for path, meant in (("/root/world/goe/quad", "/root/world/geo"),
                            ("/world/geo", "/root/world/geo"),
                            ("/rot/world", "/root")):
            with self.subTest(path):
                self.assert_fails(f'{self.scene}: there is no location "{path}"; did you mean '
                                  f'"{meant}"?', "walk", self.scene, "--at", path)

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

    def convert_example(self, name, out):
        """Converting an example prints one line about lost comments."""
        status, _, errors = self.run_tellar("convert", self.examples / name, out)
        self.assertEqual((status, errors.count("\n")), (0, 1), errors)
        self.assertIn("does not keep", errors)

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
                self.convert_example(name, "first.json")
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
        self.convert_example("garden.json", "elsewhere.oxop")
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
        self.assertFalse((self.folder / "x.json").exists())

    def test_a_model_becomes_a_description_that_imports_it(self):
        (self.folder / "models").mkdir()
        (self.folder / "shots").mkdir()
        self.write("models/triangle.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")
        walked = self.tellar("walk", "models/triangle.obj")
        for name in ("shots/a.json", "shots/a.oxop", "shots/a.oxattr"):
            with self.subTest(name):
                self.tellar("convert", "models/triangle.obj", name)
                self.assertEqual(self.tellar("walk", name), walked)
        op = json.loads(self.read("shots/a.json"))["ops"][0]
        self.assertEqual(op["args"], {"file": "../models/triangle.obj"})
        (self.folder / "moved").mkdir()
        for name in ("models", "shots"):
            (self.folder / name).rename(self.folder / "moved" / name)
        for name in ("a.json", "a.oxop", "a.oxattr"):
            self.assertEqual(self.tellar("walk", f"moved/shots/{name}"), walked)

    def test_files_of_ops_are_named_from_the_new_folder(self):
        (self.folder / "sub").mkdir()
        self.write("t.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")
        args = {"file": "t.obj", "location": "/root/a"}
        self.write("scene.json", {"ops": [{"name": "t", "type": "SceneImport", "args": args}]})
        self.tellar("convert", "scene.json", "copy.json")
        self.tellar("convert", "scene.json", "sub/copy.json")
        self.assertEqual(json.loads(self.read("copy.json"))["ops"][0]["args"], args)
        self.assertEqual(json.loads(self.read("sub/copy.json"))["ops"][0]["args"],
                         {"file": "../t.obj", "location": "/root/a"})
        self.tellar("convert", "sub/copy.json", "again.oxop")
        self.tellar("convert", "again.oxop", "sub/again.json")
        self.assertEqual(self.read("sub/again.json"), self.read("sub/copy.json"))
        printed = json.loads(self.tellar("convert", "scene.json", "-"))["ops"][0]["args"]
        self.assertEqual(printed["directory"], os.path.realpath(self.folder))

    def test_what_is_not_kept_is_told(self):
        self.write("scene.json", '{"comment": "c", "ops": [ // one\n'
                   '{"name": "t", "type": "SceneImport", "args": {"file": "/no.obj"}}]}')
        status, _, errors = self.run_tellar("convert", "scene.json", "scene.oxop")
        self.assertEqual((status, errors), (
            0, "tellar: info: scene.oxop does not keep 2 comments of scene.json\n"
               "tellar: info: scene.oxop still names 1 file by absolute paths\n"))


class StandardStreams(TellarTest):
    def pipe(self, content, *arguments):
        done = subprocess.run([self.program, *map(str, arguments)], input=content, timeout=600,
                              capture_output=True, env=self.environment, cwd=self.folder)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def test_scenes_of_every_kind_come_from_standard_input(self):
        self.write("scene.json", SCENE)
        for name in ("scene.json", "scene.oxop", "scene.oxattr"):
            self.tellar("convert", "scene.json", name)
            with self.subTest(name):
                content = (self.folder / name).read_bytes()
                self.assertEqual(self.pipe(content, "walk", "-"), (0, TREE, ""))

    def test_models_come_from_standard_input(self):
        for name in ("garden.gltf",):
            content = (self.examples / name).read_bytes()
            status, output, _ = self.pipe(content, "walk", "-", "--depth", "1")
            self.assertEqual((status, output.splitlines()[0]), (0, "/root [group]"))
        ply = b"ply\nformat ascii 1.0\nelement vertex 3\n" + b"".join(
            b"property float %c\n" % axis for axis in b"xyz") + (
            b"element face 1\nproperty list uchar int vertex_indices\nend_header\n"
            b"0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n")
        obj = b"v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"
        for content in (ply, obj):
            self.assertIn("[polymesh]", self.pipe(content, "walk", "-")[1])

    def test_files_of_a_description_count_from_the_working_directory(self):
        self.write("triangle.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")
        scene = {"ops": [{"name": "a", "type": "SceneImport", "args": {"file": "triangle.obj"}}]}
        self.assertIn("[polymesh]", self.pipe(json.dumps(scene).encode(), "walk", "-")[1])

    def test_faults_are_those_of_standard_input(self):
        for content, error in (
                (b"", "standard input: there is nothing to read"),
                (b'{"ops": [}', "standard input:1:10: not JSON: Invalid value")):
            status, _, errors = self.pipe(content, "walk", "-")
            self.assertEqual(status, 2)
            self.assertTrue(errors.startswith(f"tellar: {error}"), errors)

    def test_json_goes_to_standard_output(self):
        scene = self.write("scene.json", SCENE)
        self.tellar("convert", scene, "plain.json")
        self.assertEqual(self.tellar("convert", scene, "-"),
                         (self.folder / "plain.json").read_text())
        self.assert_fails("OUT: only JSON can go to standard output", "convert", scene, "-",
                          "--to", "ops")


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""The tellar command from the outside: every option, every error, every exit status.

    test_tellar.py PROGRAM EXAMPLES_FOLDER
"""

import json
import os
import pty
import subprocess
import sys
import time

from tellar_test import TellarTest, main, pieces_from_terminal, static_scene

SCENE = {
    "ops": [
        {
            "name": "scene",
            "type": "StaticScene",
            "args": {
                "a": {"type": "root"},
                "c": {
                    "world": {
                        "a": {"type": "group", "xform.translate": [1.0, 2, 3]},
                        "c": {
                            "geo": {"c": {
                                "quad": {"a": {
                                    "type": "polymesh",
                                    "geometry.point.P": {
                                        "$type": "float",
                                        "values": [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]]},
                                    "label": "front"}},
                                "empty": {}}},
                            "cam": {"a": {
                                "type": "camera",
                                "xform.scale": [2.0, 2.0, 2.0],
                                "geometry.fov": {"$type": "double", "times": [0, 1],
                                                 "samples": [[45], [50]]}}}}}}
            }
        }
    ]
}

TREE = """\
/root [root]
└─ world [group]
   ├─ geo
   │  ├─ quad [polymesh]
   │  └─ empty
   └─ cam [camera]
"""


def wide_scene():
    """Children by the dozen and by the hundred, deep and shallow, and names without locations:
    everything that a walk with several threads has to take apart."""
    deep = {}
    for level in range(40):
        deep = {"a": {"type": "deep"}, "c": {f"level_{level}": deep}}
    children = {
        "many": {"c": {f"n_{i:03}": {"c": {"x": {}, "y": {"c": {"z": {}}}}} for i in range(500)}},
        "deep": deep,
        "few": {"c": {f"f_{i}": {"c": {"leaf": {}}} for i in range(7)}},
        "none": {},
    }
    description = static_scene(children)
    gone = [f"/root/many/n_{i:03}" for i in (0, 1, 63, 64, 250, 251, 252, 498, 499)]
    description["ops"].append({
        "name": "holes", "type": "Prune", "inputs": ["scene"],
        "args": {"paths": gone + ["/root/few/f_6"], "keepNames": True}})
    return description


def endless_scene():
    """More locations than anybody has time for."""
    description = static_scene({"one": {}})
    description["ops"].append({
        "name": "grid", "type": "Array", "inputs": ["scene"],
        "args": {"source": "/root/one", "target": "/root/all", "counts": [1000, 1000, 100000]}})
    return description


def failing_scene(number_of_children):
    """Among its children is one that cannot be cooked: its file is missing."""
    children = {f"c_{i:03}": {"c": {"below": {}}} for i in range(number_of_children)}
    description = static_scene({"all": {"c": children}})
    description["ops"] += [
        {"name": "bad", "type": "SceneImport",
         "args": {"file": "/no such folder/x.obj", "location": "/root/all/bad",
                  "materialLocation": "/root/all/bad/materials"}},
        {"name": "after", "type": "StaticScene",
         "args": {"location": "/root/all/after"}},
        {"name": "both", "type": "Merge", "inputs": ["scene", "bad", "after"]}]
    return description


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
        for word in ("SCENE", "--camera PATH", "--frame N", "--shutter OPEN,CLOSE", "--json",
                     "Examples:", "tellar camera examples/garden.json"):
            self.assertIn(word, text)
        text = self.tellar("project", "--help")
        for word in ("SCENE", "--at PATH", "--camera PATH", "--resolution NAME", "--json",
                     "Examples:", "tellar project examples/garden.json"):
            self.assertIn(word, text)
        text = self.tellar("procedural", "--help")
        for word in ("SCENE", "--at PATH", "--form FORM", "--frame N", "--attr NAME",
                     "Examples:", "tellar procedural"):
            self.assertIn(word, text)

    def test_usage_errors_are_one_line_too(self):
        scene = self.write("s.json", SCENE)
        self.assert_fails("A subcommand is required")
        self.assert_fails_with("A subcommand is required", "wlak", scene)
        self.assert_fails("walk: no SCENE is given", "walk")
        self.assert_fails("walk: no SCENE is given (write --attrs=NAME, or --attrs behind the "
                          "scene)", "walk", "--attrs", scene)
        self.assert_fails_with("not expected: --colour", "walk", scene, "--colour")
        self.assert_fails_with("not expected: more", "walk", scene, "more")
        self.assert_fails_with("OUT", "convert", scene)
        self.assert_fails("--threads: Value 0 not in range 1 to 256", "walk", scene, "--threads", 0)
        self.assert_fails_with("--threads: Value 257", "walk", scene, "--threads", 257)
        self.assert_fails_with("--threads: Value two", "walk", scene, "--threads", "two")
        self.assert_fails_with("--depth: Value -1", "walk", scene, "--depth", "-1")
        self.assert_fails("--variant: fast not in {sync,async,thread-aware}",
                          "walk", scene, "--variant", "fast")
        self.assert_fails("--threads: only thread-aware producers are walked by several",
                          "walk", scene, "--threads", 2, "--variant", "sync")
        self.assert_fails_with("--to", "convert", scene, "x", "--to", "yaml")


class WalkTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.scene = self.write("scene.json", SCENE)

    def test_draws_a_tree(self):
        self.assertEqual(self.tellar("walk", self.scene), TREE)

    def test_draws_in_ascii_where_the_locale_is_not_utf8(self):
        ascii_tree = TREE.translate(str.maketrans({"├": "|", "└": "`", "│": "|", "─": "-"}))
        self.assertEqual(self.tellar("walk", self.scene, LC_ALL="C"), ascii_tree)
        self.assertEqual(self.tellar("walk", self.scene, LC_ALL="", LANG="de_DE.utf8"), TREE)
        self.assertEqual(self.tellar("walk", self.scene, LC_ALL="", LC_CTYPE="POSIX",
                                     LANG="de_DE.UTF-8"), ascii_tree)

    def test_starts_at_another_location(self):
        self.assertEqual(self.tellar("walk", self.scene, "--at", "/root/world/geo"),
                         "/root/world/geo\n├─ quad [polymesh]\n└─ empty\n")

    def test_stops_at_a_depth(self):
        self.assertEqual(self.tellar("walk", self.scene, "--depth", 0), "/root [root]\n")
        self.assertEqual(self.tellar("walk", self.scene, "--depth", 1),
                         "/root [root]\n└─ world [group]\n")

    def test_prints_all_attributes_one_a_line(self):
        self.assertEqual(self.tellar("walk", self.scene, "--attrs"), """\
/root [root]
│    type: "root"
└─ world [group]
   │    type: "group"
   │    xform.translate: 1, 2, 3 (double, 3 values)
   ├─ geo
   │  ├─ quad [polymesh]
   │  │       type: "polymesh"
   │  │       geometry.point.P: 0 0 0, 1 0 0, 1 1 0, 0 1 0 (float, 4 x 3)
   │  │       label: "front"
   │  └─ empty
   └─ cam [camera]
           type: "camera"
           xform.scale: 2, 2, 2 (double, 3 values)
           geometry.fov: 45 (double, 2 samples from 0 to 1)
""")

    def test_prints_one_attribute_where_there_is_one(self):
        self.assertEqual(self.tellar("walk", self.scene, "--attrs=geometry.point", "--at",
                                     "/root/world/geo"), """\
/root/world/geo
├─ quad [polymesh]
│       geometry.point.P: 0 0 0, 1 0 0, 1 1 0, 0 1 0 (float, 4 x 3)
└─ empty
""")
        self.assertIn("label: \"front\"", self.tellar("walk", self.scene, "--attrs", "label"))

    def test_shortens_long_values_and_shows_what_is_awkward(self):
        description = static_scene({"x": {"a": {
            "ints": list(range(20)),
            "points": [[i, 0, 0] for i in range(8)],
            "text": "a" * 100,
            "texts": ["left\n\u001b[2J", "right"],
            "one": 0.25,
            "none": {"$type": "int", "values": []},
            "odd": {"$type": "int", "tuple": 2, "values": [1, 2, 3]},
            "special": {"$type": "float", "values": ["inf", "-inf", "nan"]},
            "gone": None,
            "group": {}}}})
        self.assertEqual(self.tellar("walk", self.write("x.json", description), "--at", "/root/x",
                                     "--attrs"), """\
/root/x
     ints: 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, ... (int, 20 values)
     points: 0 0 0, 1 0 0, 2 0 0, 3 0 0, 4 0 0, ... (int, 8 x 3)
     text: "%s..."
     texts: "left\\x0a\\x1b[2J", "right" (string, 2 values)
     one: 0.25 (double)
     none: (int, no values)
     odd: 1 2, 3 (int, 3 values)
     special: inf, -inf, nan (float, 3 values)
     gone: (null)
     group: (group, 0 children)
""" % ("a" * 80))

    def test_prints_world_matrices(self):
        output = self.tellar("walk", self.scene, "--xform")
        self.assertIn("world matrix: 1 0 0 0 0 1 0 0 0 0 1 0 1 2 3 1 (double, 1 x 16)\n", output)
        self.assertIn("world matrix: 2 0 0 0 0 2 0 0 0 0 2 0 1 2 3 1 (double, 1 x 16)\n", output)
        # Below /root/world everything has one; /root itself has none.
        self.assertEqual(output.count("world matrix"), 5)

    def test_prints_json(self):
        document = json.loads(self.tellar("walk", self.scene, "--json", "--attrs", "--xform"))
        self.assertEqual((document["name"], document["path"], document["type"]),
                         ("root", "/root", "root"))
        self.assertEqual(document["attrs"], {"type": "root"})
        self.assertIsNone(document["xform"])
        [world] = document["children"]
        self.assertEqual(world["xform"], [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1])
        geo, cam = world["children"]
        self.assertEqual((geo["type"], geo["attrs"]), ("", {}))
        self.assertEqual([child["path"] for child in geo["children"]],
                         ["/root/world/geo/quad", "/root/world/geo/empty"])
        self.assertEqual(geo["children"][1]["children"], [])
        self.assertEqual(cam["attrs"]["geometry"]["fov"],
                         {"$type": "double", "times": [0, 1], "samples": [[45.0], [50.0]]})

    def test_json_holds_only_what_was_asked_for(self):
        self.assertEqual(json.loads(self.tellar("walk", self.scene, "--json", "--depth", 0)),
                         {"name": "root", "path": "/root", "type": "root"})
        document = json.loads(self.tellar("walk", self.scene, "--json", "--attrs=xform.scale"))
        world = document["children"][0]
        self.assertEqual(world["attrs"], {})
        self.assertEqual(world["children"][1]["attrs"], {"xform.scale": [2.0, 2.0, 2.0]})

    def test_json_stays_json_for_names_that_are_no_text(self):
        description = static_scene({})
        description["ops"][0]["args"]["c"] = {
            "$type": "group", "children": [{"hexName": "ff22", "value": {}}]}
        document = json.loads(self.tellar("walk", self.write("x.json", description), "--json"))
        self.assertEqual(document["children"][0]["name"], {"$type": "string", "hex": ["ff22"]})

    def test_prints_figures_behind_the_tree(self):
        output = self.tellar("walk", self.scene, "--stats")
        self.assertTrue(output.startswith(TREE))
        names = [line[:13].strip() for line in output[len(TREE):].splitlines()]
        self.assertEqual(names, ["locations", "opened in", "walked in", "per second",
                                 "peak memory"])
        self.assertIn("locations    6\n", output)

    def test_prints_nothing_but_the_figures_when_quiet(self):
        self.assertEqual(self.tellar("walk", self.scene, "--quiet"), "")
        output = self.tellar("walk", self.scene, "--quiet", "--stats")
        self.assertTrue(output.startswith("locations    6\n"))
        self.assertEqual(output.count("\n"), 5)
        self.assertTrue(self.tellar("walk", self.scene, "--quiet", "--stats", "--threads",
                                    3).startswith("locations    6\n"))

    def test_prints_figures_beside_json_on_standard_error(self):
        status, output, errors = self.run_tellar("walk", self.scene, "--json", "--stats")
        self.assertEqual(status, 0)
        json.loads(output)
        self.assertTrue(errors.startswith("locations    6\n"))

    def test_all_variants_print_the_same(self):
        for scene in (self.scene, self.write("wide.json", wide_scene())):
            expected = self.tellar("walk", scene, "--attrs")
            for variant in ("sync", "async", "thread-aware"):
                with self.subTest(variant=variant):
                    self.assertEqual(self.tellar("walk", scene, "--attrs", "--variant", variant),
                                     expected)

    def test_async_starts_and_stops_where_it_is_told(self):
        self.assertEqual(self.tellar("walk", self.scene, "--variant", "async", "--at",
                                     "/root/world", "--depth", 1),
                         "/root/world [group]\n├─ geo\n└─ cam [camera]\n")

    def test_any_number_of_threads_prints_the_same(self):
        wide = self.write("wide.json", wide_scene())
        self.assertEqual(self.tellar("walk", self.scene, "--threads", 4), TREE)
        for options in ([], ["--json", "--attrs", "--xform"], ["--depth", "1"], ["--depth", "2"],
                        ["--at", "/root/many"], ["--at", "/root/deep"], ["--at", "/root/none"]):
            expected = self.tellar("walk", wide, *options)
            for threads in (2, 3, 16, 256):
                with self.subTest(options=options, threads=threads):
                    self.assertEqual(self.tellar("walk", wide, *options, "--threads", threads),
                                     expected)

    def test_locations_that_do_not_exist_are_passed_over(self):
        output = self.tellar("walk", self.write("wide.json", wide_scene()), "--at", "/root/many",
                             "--depth", 1)
        lines = output.splitlines()
        self.assertEqual(len(lines), 1 + 491)
        self.assertEqual(lines[1], "├─ n_002")
        self.assertEqual(lines[-1], "└─ n_497")

    def test_an_error_in_the_middle_is_the_same_with_any_number_of_threads(self):
        for children in (3, 300):
            scene = self.write("failing.json", failing_scene(children))
            status, output, errors = self.run_tellar("walk", scene)
            self.assertEqual(status, 2)
            self.assertIn('Op "bad" (SceneImport) at "/root/all/bad"', errors)
            self.assertEqual(errors.count("\n"), 1)
            self.assertIn("c_000", output)
            self.assertNotIn("after", output)
            for threads in (2, 8):
                with self.subTest(children=children, threads=threads):
                    self.assertEqual(self.run_tellar("walk", scene, "--threads", threads),
                                     (status, output, errors))

    def test_a_deep_scene_is_walked_to_its_end(self):
        levels = 900
        deep = {}
        for _ in range(levels):
            deep = {"c": {"d": deep}}
        description = {"ops": [{"name": "scene", "type": "StaticScene", "args": deep}]}
        sys.setrecursionlimit(10000)
        scene = self.write("deep.json", description)
        for options in ([], ["--threads", "2"], ["--variant", "async"]):
            output = self.tellar("walk", scene, "--quiet", "--stats", *options)
            self.assertTrue(output.startswith(f"locations    {levels + 1}\n"), options)

    def test_a_reader_that_goes_away_ends_the_walk_quietly(self):
        scene = self.write("endless.json", endless_scene())
        for options in ([], ["--threads", "3"], ["--json"]):
            with self.subTest(options=options):
                process = subprocess.Popen([self.program, "walk", scene, *options],
                                           stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                           env=self.environment)
                self.addCleanup(process.stderr.close)
                self.assertIn(b"root", process.stdout.readline())
                process.stdout.close()
                self.assertEqual(process.wait(timeout=600), 0)
                self.assertEqual(process.stderr.read(), b"")

    def test_output_that_cannot_be_written_is_an_error(self):
        if not os.path.exists("/dev/full"):
            self.skipTest("the system has no /dev/full")
        with open("/dev/full", "wb") as full:
            done = subprocess.run([self.program, "walk", self.scene], stdout=full,
                                  stderr=subprocess.PIPE, env=self.environment, timeout=600)
        self.assertEqual(done.stderr, b"tellar: standard output: No space left on device\n")
        self.assertEqual(done.returncode, 2)


class TerminalTest(TellarTest):
    """What shows only where somebody looks."""

    def read_until(self, descriptor, wanted):
        seen = b""
        while wanted not in seen:
            seen += os.read(descriptor, 4096)
        return seen

    def run_on_terminal(self, *arguments, **environment):
        """All that the program writes to a terminal."""
        ours, theirs = pty.openpty()
        process = subprocess.Popen([self.program, *arguments], stdout=theirs, stderr=theirs,
                                   env={**self.environment, **environment})
        os.close(theirs)
        seen = b"".join(pieces_from_terminal(ours))
        self.assertEqual(process.wait(timeout=600), 0)
        return seen.decode().replace("\r\n", "\n")

    def test_colours_are_for_terminals_alone(self):
        scene = self.write("scene.json", SCENE)
        self.assertIn("\x1b[1mworld\x1b[0m \x1b[36m[group]\x1b[0m\n",
                      self.run_on_terminal("walk", scene))
        self.assertNotIn("\x1b", self.run_on_terminal("walk", scene, NO_COLOR="1"))
        self.assertNotIn("\x1b", self.tellar("walk", scene))

    def test_a_long_walk_shows_how_far_it_is(self):
        scene = self.write("endless.json", endless_scene())
        ours, theirs = pty.openpty()
        process = subprocess.Popen([self.program, "walk", scene], stdout=subprocess.DEVNULL,
                                   stderr=theirs, env=self.environment)
        os.close(theirs)
        seen = self.read_until(ours, b"/s")
        process.terminate()
        process.wait(timeout=600)
        os.close(ours)
        self.assertRegex(seen, rb"\[[ =]{20}\] [0-9,]+ locations, [0-9,]+/s")

    def test_a_tree_on_the_same_terminal_is_not_interrupted(self):
        scene = self.write("endless.json", endless_scene())
        ours, theirs = pty.openpty()
        process = subprocess.Popen([self.program, "walk", scene], stdout=theirs, stderr=theirs,
                                   env=self.environment)
        os.close(theirs)
        seen = b""
        enough = time.monotonic() + 1.5  # three times as long as progress waits
        while time.monotonic() < enough:
            seen += os.read(ours, 1 << 16)
        process.terminate()
        process.wait(timeout=600)
        os.close(ours)
        self.assertNotIn(b"locations", seen)


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

    def test_bad_wishes_are_refused(self):
        self.assert_fails("x.txt: the extension tells no form (.json, .oxattr, .oxop); give one "
                          "with --to", "convert", self.scene, "x.txt")
        self.assert_fails("--compress: JSON is written uncompressed only",
                          "convert", self.scene, "x.json", "--compress")
        self.write("triangle.obj", "v 0 0 0\n")
        self.assert_fails("triangle.obj: is no op-tree description",
                          "convert", "triangle.obj", "x.json")
        self.assertFalse((self.folder / "x.json").exists())


class OpsTest(TellarTest):
    BUILT_IN = ["Array", "AttributeEdit", "Camera", "MaterialAssign", "Merge", "Prune",
                "RenderSettings", "SceneImport", "StaticScene", "Transform"]

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
        self.assert_fails('there is no op type "Aray"; "tellar ops" lists them', "ops", "Aray")


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
        output = self.tellar("walk", self.examples / "million.json", "--quiet", "--stats",
                             "--threads", 2)
        self.assertGreater(int(output.split()[1]), 1_000_000)


if __name__ == "__main__":
    main()

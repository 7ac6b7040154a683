#!/usr/bin/env python3
"""tellar walk: its options, its errors and what it shows on a terminal.

    test_walk.py PROGRAM EXAMPLES_FOLDER
"""

import json
import os
import pty
import subprocess
import sys
import time

from command_scenes import SCENE, TREE, endless_scene, failing_scene, wide_scene
from tellar_test import SMALL, TellarTest, main, pieces_from_terminal, static_scene


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
        self.assertEqual(names[:6], ["locations", "opened in", "walked in", "per second",
                                     "peak memory", "cached"])
        self.assertIn("locations    6\n", output)

    def test_prints_nothing_but_the_figures_when_quiet(self):
        self.assertEqual(self.tellar("walk", self.scene, "--quiet"), "")
        output = self.tellar("walk", self.scene, "--quiet", "--stats")
        self.assertTrue(output.startswith("locations    6\n"))
        self.assertNotIn("root", output)
        self.assertTrue(self.tellar("walk", self.scene, "--quiet", "--stats", "--threads",
                                    3).startswith("locations    6\n"))

    def test_prints_figures_beside_json_on_standard_error(self):
        status, output, errors = self.run_tellar("walk", self.scene, "--json", "--stats")
        self.assertEqual(status, 0)
        json.loads(output)
        figures = json.loads(errors)
        self.assertEqual(figures["locations"], 6)
        self.assertGreater(figures["peakMemory"], 1 << 20)
        figures = json.loads(self.tellar("walk", self.scene, "--json", "--stats", "--quiet"))
        self.assertEqual(figures["locations"], 6)

    def memory(self, *arguments, **environment):
        """What the command tells of the memory of its caches."""
        return json.loads(self.tellar("walk", self.scene, "--json", "--stats", "--quiet",
                                      *arguments, **environment))["memory"]

    def test_keeps_a_limit_of_memory(self):
        self.assertEqual(self.memory("--memory", "1.5GiB")["limit"], 3 << 29)
        self.assertEqual(self.memory("--memory", "unlimited")["limit"], None)
        self.assertEqual(self.memory("--memory", "1")["limit"], 1 << 20)
        self.assertEqual(self.memory(OX_CONFIG_MEMORY_LIMIT="77M")["limit"], 77 << 20)
        self.assertEqual(self.memory("--memory", "5M", OX_CONFIG_MEMORY_LIMIT="77M")["limit"],
                         5 << 20)
        self.assertIn("(limit: 5.0 MiB)\n",
                      self.tellar("walk", self.scene, "--stats", "--memory", "5M"))

    def test_refuses_a_limit_that_is_no_size(self):
        self.assert_fails('--memory: "2X" is no size; write for example 512M, 2G, 1.5GiB or '
                          'unlimited', "walk", self.scene, "--memory", "2X")

    def test_prints_the_same_with_little_memory(self):
        leaves = {f"leaf{i}": {"a": {"values": list(range(60))}} for i in range(100)}
        scene = self.write("large.json", {"ops": [
            {"name": "all", "type": "StaticScene",
             "args": {"c": {"world": {"c": {f"group{i}": {"c": leaves} for i in range(60)}}}}},
            {"name": "moved", "type": "Transform", "inputs": ["all"],
             "args": {"paths": "/root/world/*/*", "translate": [1.0, 2.0, 3.0]}}]})
        expected = self.tellar("walk", scene, "--attrs")
        for options in ([], ["--threads", "4"], ["--variant", "thread-aware"]):
            self.assertEqual(self.tellar("walk", scene, "--attrs", "--memory", "1", *options),
                             expected)
        status, output, errors = self.run_tellar("walk", scene, "--attrs", "--memory", "1",
                                                 "--variant", "async")
        self.assertEqual(status, 0)
        self.assertLess(len(output), len(expected))
        self.assertRegex(errors, r"^tellar: warning: locations may be missing: \d+ results were dropped "
                                 r"within --memory, and async producers cook none again\n$")
        self.assertEqual(self.run_tellar("walk", scene, "--memory", "1", "--variant", "async",
                                         "--strict")[0], 1)

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
            for threads in (3, 256) if SMALL else (2, 3, 16, 256):
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


if __name__ == "__main__":
    main()

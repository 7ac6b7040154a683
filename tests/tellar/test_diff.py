#!/usr/bin/env python3
"""`tellar diff`: what differs between two scenes.

    test_diff.py PROGRAM EXAMPLES_FOLDER
"""

import json
import signal
import subprocess

from tellar_test import SMALL, TellarTest, main, static_scene, with_usual_signals

POINTS = [[0, 0, 0], [1, 0, 0], [0, 1, 0], [0, 0, 1], [2, 0, 0], [0, 2, 0]]


def world(children):
    return static_scene({"world": {"c": children}})


def ball(points=None, **attributes):
    shape = {"point.P": {"$type": "float", "values": points or POINTS}}
    return {"a": {"type": "polymesh", "geometry": shape, **attributes}}


BEFORE = world({"ball": ball(**{"xform.translate": [0.0, 0.0, 0.0], "user": {"a": 1, "name": "x"}}),
                "old": {"c": {"x": {}, "y": {}}}})
AFTER = world({"ball": ball(POINTS[:-2] + [[2.5, 0, 0], [0, 2.25, 0]],
                            **{"xform.translate": [1.0, 0.0, 0.0], "user": {"name": "x", "b": 2.5}}),
               "new": {"c": {"x": {}, "y": {"c": {"z": {}}}}}})


def failing_at(location):
    """A scene in which an op needs a file that is not there, at this location and below."""
    return {"ops": [
        {"name": "scene", "type": "StaticScene", "args": {"c": {"fine": {}, "other": {}}}},
        {"name": "missing", "type": "SceneImport",
         "args": {"file": "nowhere.obj", "location": location}},
        {"name": "all", "type": "Merge", "inputs": ["scene", "missing"]}]}


class DiffTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.before = self.write("before.json", BEFORE)
        self.after = self.write("after.json", AFTER)

    def diff(self, *arguments, status=1):
        """Standard output of a run with nothing on standard error."""
        done = self.run_tellar("diff", *arguments)
        self.assertEqual((done[0], done[2]), (status, ""), arguments)
        return done[1]

    def diff_json(self, *arguments, status=1):
        return json.loads(self.diff(*arguments, "--json", status=status))

    def test_locations_and_values_are_listed(self):
        self.assertEqual(self.diff(self.before, self.after),
                         "removed /root/world/old (2 locations below)\n"
                         "changed /root/world/ball\n"
                         "        geometry.point.P: 2 of 18 values differ, by up to 0.5 "
                         "(float, 6 x 3)\n"
                         "        xform.translate: 0, 0, 0 -> 1, 0, 0 (double, 3 values)\n"
                         "        user.b: (none) -> 2.5 (double)\n"
                         "        user.a: 1 (int) -> (none)\n"
                         "added   /root/world/new (3 locations below)\n"
                         "1 removed, 1 added, 1 changed\n")

    def test_equal_scenes_end_with_0(self):
        self.assertEqual(self.diff(self.before, self.before, status=0), "no differences\n")
        copy = self.write("copy.json", BEFORE)
        document = self.diff_json(self.before, copy, status=0)
        self.assertEqual((document["differences"], document["equal"]), ([], True))

    def test_json_has_the_same(self):
        document = self.diff_json(self.before, self.after)
        self.assertEqual((document["before"], document["after"]), (self.before, self.after))
        removed, changed, added = document["differences"]
        self.assertEqual(removed, {"path": "/root/world/old", "kind": "removed", "below": 2})
        self.assertEqual(added, {"path": "/root/world/new", "kind": "added", "below": 3})
        self.assertEqual((changed["kind"], changed["reordered"]), ("changed", False))
        self.assertEqual([value["attribute"] for value in changed["values"]],
                         ["geometry.point.P", "xform.translate", "user.b", "user.a"])
        points, translate, new, old = changed["values"]
        self.assertEqual(points, {
            "attribute": "geometry.point.P", "kind": "values",
            "before": {"type": "float", "values": 18, "tupleSize": 3, "times": [0.0]},
            "after": {"type": "float", "values": 18, "tupleSize": 3, "times": [0.0]},
            "compared": 18, "differing": 2, "largest": 0.5})
        self.assertEqual((translate["before"]["value"], translate["after"]["value"]),
                         ([0.0, 0.0, 0.0], [1.0, 0.0, 0.0]))
        self.assertEqual((new["kind"], new["before"], new["after"]["value"]), ("added", None, 2.5))
        self.assertEqual((old["kind"], old["before"]["value"], old["after"]), ("removed", 1, None))
        self.assertEqual([document[name] for name in ("removed", "added", "changed", "errors")],
                         [1, 1, 1, 0])
        self.assertIs(document["equal"], False)

    def test_sizes_and_sample_times_are_told(self):
        def scene(name, points, end, number):
            moving = {"$type": "double", "times": [0.0, end], "samples": [[1.0], [number]]}
            return self.write(name, world({"ball": ball(points, speed=moving)}))
        before = scene("a.json", POINTS, 1.0, 2.0)
        self.assertEqual(
            self.diff(before, scene("b.json", POINTS[:5], 0.5, 3.0)).splitlines()[1:3],
            ["        geometry.point.P: 0 0 0, 1 0 0, 0 1 0, 0 0 1, 2 0 0, ... (float, 6 x 3) -> "
             "0 0 0, 1 0 0, 0 1 0, 0 0 1, 2 0 0 (float, 5 x 3)",
             "        speed: sample times 0, 1 -> 0, 0.5; 1 of 2 values differ, by up to 1"])
        self.assertEqual(
            self.diff(before, scene("b.json", POINTS, 1.0, 4.0)).splitlines()[1:2],
            ["        speed: 1 of 2 values differ, by up to 2 "
             "(double, 2 samples from 0 to 1)"])

    def test_long_texts_that_differ_at_the_end_are_told_apart(self):
        one, other = (self.write(end + ".json", world({"a": {"a": {"text": "x" * 100 + end}}}))
                      for end in "ab")
        self.assertIn('xxx..." (1 of 1 value differs)\n', self.diff(one, other))

    def test_the_order_of_children_and_groups_is_told(self):
        one = self.write("one.json", world({"a": {"a": {"g": {"x": 1, "y": 2}}}, "b": {}}))
        other = self.write("other.json", world({"b": {}, "a": {"a": {"g": {"y": 2, "x": 1}}}}))
        self.assertEqual(self.diff(one, other),
                         "changed /root/world\n        children in another order\n"
                         "changed /root/world/a\n        g: in another order\n"
                         "0 removed, 0 added, 2 changed\n")

    def test_a_tolerance_hides_small_differences(self):
        text = self.diff(self.before, self.after, "--tolerance", "0.5")
        self.assertNotIn("geometry", text)
        self.assertIn("xform.translate", text)
        self.assertIn("by up to 0.5", self.diff(self.before, self.after, "--tolerance", "0.4"))
        self.assert_fails('--tolerance: "-1" is no number of 0 or more',
                          "diff", self.before, self.after, "--tolerance=-1")
        self.assert_fails('--tolerance: "nan" is no number of 0 or more',
                          "diff", self.before, self.after, "--tolerance", "nan")

    def test_globs_choose_attributes(self):
        def attributes(*globs):
            options = [option for glob in globs for option in ("--attrs", glob)]
            return [value["attribute"]
                    for one in self.diff_json(self.before, self.after, *options)["differences"]
                    for value in one.get("values", [])]
        self.assertEqual(attributes("xform"), ["xform.translate"])
        self.assertEqual(attributes("user.?", "**.P"), ["geometry.point.P", "user.b", "user.a"])
        self.assertEqual(attributes("none"), [])
        self.assert_fails('--attrs: "a[b" is no pattern of attribute names',
                          "diff", self.before, self.after, "--attrs", "a[b")

    def test_one_location_is_compared(self):
        self.assertEqual(self.diff(self.before, self.after, "--at", "/root/world/new/"),
                         "added   /root/world/new (3 locations below)\n"
                         "0 removed, 1 added, 0 changed\n")
        self.assertEqual(self.diff(self.before, self.after, "--at", "/root/world/old/x"),
                         "removed /root/world/old/x\n1 removed, 0 added, 0 changed\n")
        self.assert_fails(f'{self.after}: there is no location "/root/world/bal"; did you mean '
                          '"/root/world/ball"?',
                          "diff", self.before, self.after, "--at", "/root/world/bal")
        self.assert_fails('--at: "world" is no absolute location path',
                          "diff", self.before, self.after, "--at", "world")

    def test_scenes_of_all_kinds_are_compared(self):
        for suffix in (".oxop", ".oxattr"):
            with self.subTest(suffix):
                copy = str(self.folder / ("copy" + suffix))
                self.tellar("convert", self.before, copy)
                self.assertEqual(self.diff(self.before, copy, status=0), "no differences\n")
                self.assertIn("by up to 0.5", self.diff(copy, self.after))
        (self.folder / "new").mkdir()
        model = self.write("model.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")
        other = self.write("new/model.obj", "v 0 0 0\nv 1 0 0\nv 0 2 0\nf 1 2 3\n")
        text = self.diff(model, other)
        self.assertIn("geometry.point.P: 0 0 0, 1 0 0, 0 1 0 -> 0 0 0, 1 0 0, 0 2 0 (float, 3 x 3)",
                      text)

    def test_one_of_the_scenes_is_standard_input(self):
        with open(self.before, "rb") as scene:
            done = subprocess.run([self.program, "diff", "-", self.before], stdin=scene,
                                  capture_output=True, env=self.environment)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"no differences\n", b""))
        self.assert_fails("only one of the two scenes can be standard input", "diff", "-", "-")

    def test_a_scene_that_cannot_be_read_ends_with_2(self):
        self.assert_fails("none.json: No such file or directory",
                          "diff", self.before, "none.json")
        broken = self.write("broken.json", "{")
        self.assert_fails_with("broken.json:1:2", "diff", broken, self.after)
        self.assert_fails("B is required", "diff", self.before)

    def test_errors_of_locations_are_told_and_lose_nothing_else(self):
        fine = self.write("fine.json", static_scene({"fine": {"a": {"n": 1}}, "gone": {}}))
        failing = self.write("failing.json", failing_at("/root/lost"))
        status, text, errors = self.run_tellar("diff", fine, failing)
        self.assertEqual((status, errors),
                         (2, "tellar: 2 locations could not be compared\n"))
        self.assertIn("removed /root/gone\n", text)
        self.assertIn("added   /root/other\n", text)
        self.assertIn("error   /root/lost\n        in " + failing + ": ", text)
        self.assertIn("nowhere.obj", text)
        self.assertTrue(text.endswith("1 removed, 1 added, 2 changed, 2 errors\n"), text)
        document = json.loads(self.run_tellar("diff", fine, failing, "--json")[1])
        error, _ = (one for one in document["differences"] if one["kind"] == "error")
        self.assertEqual((error["path"], error["errorBefore"]), ("/root/lost", None))
        self.assertIn("nowhere.obj", error["errorAfter"])
        self.assertEqual(document["errors"], 2)

    def test_a_damaged_op_file_is_an_error_of_its_location(self):
        def op_file(name, n):
            numbers = {"$type": "double", "values": [float(i) for i in range(900000)]}
            scene = static_scene({"big": {"a": {"v": numbers}}, "small": {"a": {"n": n}}})
            path = str(self.folder / name)
            self.tellar("convert", self.write("big.json", scene), path)
            return path
        def damage(path):
            with open(path, "r+b") as file:
                file.seek(3000000)
                file.write(b"damage")
            return path

        sound = op_file("sound.oxop", 1)
        damaged = damage(op_file("damaged.oxop", 2))
        also = damage(op_file("also.oxop", 3))
        for pair in ((sound, damaged), (damaged, sound), (damaged, also)):
            with self.subTest(pair):
                status, text, errors = self.run_tellar("diff", *pair)
                self.assertEqual((status, errors),
                                 (2, "tellar: 1 location could not be compared\n"))
                self.assertIn("error   /root/big\n", text)
                self.assertIn("changed /root/small\n        n: ", text)
                told = [line.split(": ")[0] for line in text.splitlines() if " is damaged" in line]
                self.assertEqual(told, [f"        in {path}" for path in pair if path != sound])

    def test_a_reader_that_goes_away_ends_it_silently(self):
        many = self.write("many.json", world({f"location_{i}": {} for i in range(20000)}))
        process = subprocess.Popen([self.program, "diff", self.write("few.json", world({})), many],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   env=self.environment)
        self.assertTrue(process.stdout.readline().startswith(b"added   /root/world/location_0"))
        process.stdout.close()
        self.assertEqual(process.stderr.read(), b"")
        process.stderr.close()
        self.assertEqual(process.wait(timeout=600), 0)

    def test_a_full_disk_is_an_error(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([self.program, "diff", self.before, self.after], stdout=full,
                                  stderr=subprocess.PIPE, env=self.environment)
        self.assertEqual((done.returncode, done.stderr),
                         (2, b"tellar: standard output: No space left on device\n"))

    def forest(self, name, number, oaks):
        """A scene of five locations an oak, each with the attribute n."""
        scene = json.loads((self.examples / "million.json").read_text())
        scene["ops"][0]["args"]["file"] = str(self.examples / "garden.gltf")
        scene["ops"][1]["args"]["count"] = oaks
        scene["ops"].append({"name": "numbers", "type": "AttributeEdit", "inputs": ["forest"],
                             "args": {"paths": ["/root/**"], "set": {"n": number}}})
        return self.write(name, scene)

    def test_scenes_that_differ_everywhere_are_compared_to_the_end(self):
        oaks = 300 if SMALL else 30000  # what is cooked is freed after 131,072 locations
        one = self.forest("one.json", 1, oaks)
        lines = self.diff(one, self.forest("other.json", 2, oaks)).splitlines()
        changed = [line for line in lines if line.startswith("changed ")]
        self.assertEqual(len(set(changed)), len(changed))
        self.assertGreater(len(changed), 5 * oaks)
        self.assertEqual(lines.count("        n: 1 -> 2 (int)"), len(changed))
        self.assertEqual(lines[-1], f"0 removed, 0 added, {len(changed)} changed")

    def test_it_can_be_stopped(self):
        one = self.forest("one.json", 1, 200000)
        other = self.forest("other.json", 2, 200000)
        process = subprocess.Popen([self.program, "diff", one, other], stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, env=self.environment,
                                   preexec_fn=with_usual_signals)
        process.stdout.readline()
        process.send_signal(signal.SIGINT)
        _, errors = process.communicate(timeout=600)
        self.assertEqual((process.returncode, errors),
                         (130, b"tellar: stopped; the list of differences is not complete\n"))


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""tellar why.

    test_why.py PROGRAM EXAMPLES_FOLDER
"""

import json
import os
import subprocess

from tellar_test import TellarTest, main

X = "/root/x"
SUN = "/root/world/garden/lights/sun"
LEAVES = "/root/world/garden/trees/oak_1/crown/leafy_crown"


def source(name, attributes, **children):
    location = {"a": attributes, "c": children} if children else {"a": attributes}
    return {"name": name, "type": "StaticScene", "args": {"c": {"x": location}}}


def op(name, op_type, *inputs, **args):
    return {"name": name, "type": op_type, "inputs": list(inputs), "args": args}


def edit(name, before, attributes, path=X, **args):
    return op(name, "AttributeEdit", before, paths=[path], set=attributes, **args)


class WhyTest(TellarTest):
    def scene(self, *ops, name="s.json"):
        """Each op is on a line of its own, from the second one on."""
        text = '{"ops": [\n' + ",\n".join(json.dumps(one) for one in ops) + "\n]}"
        (self.folder / name).write_text(text)
        return name

    def why(self, scene, at, *arguments, status=0):
        done, output, errors = self.run_tellar("why", scene, "--at", at, *arguments)
        self.assertEqual((done, errors), (status, ""))
        return output

    def json(self, *arguments, status=0):
        return json.loads(self.why(*arguments, "--json", status=status))


class TextTest(WhyTest):
    def test_tells_each_op_on_the_way_of_a_value(self):
        scene = self.scene(source("made here", {"size": 1.5}),
                           edit("other", "made here", {"size": 7.0}, "/root/y"),
                           edit("bigger", "other", {"size": 2.5}))
        self.assertEqual(self.why(scene, X, "--attr", "size"), """\
/root/x  size = 2.5 (double)
changed by "bigger" (AttributeEdit), s.json:4:1

  1  made here  StaticScene    s.json:2:1  made     1.5 (double)
  2  other      AttributeEdit  s.json:3:1  passed
> 3  bigger     AttributeEdit  s.json:4:1  changed  1.5 -> 2.5 (double)
""")

    def test_tells_how_many_values_of_an_array_differ(self):
        points = [float(i) for i in range(30)]
        moved = points[:20] + [22.5] + points[21:]
        scene = self.scene(source("a", {"p": points}), edit("b", "a", {"p": moved}))
        self.assertIn("changed  1 of 30 values differ, by up to 2.5 (double, 30 values)\n",
                      self.why(scene, X, "--attr", "p"))
        [change] = self.json(scene, X)["steps"][1]["changes"]
        self.assertEqual((change["compared"], change["differing"], change["largest"]),
                         (30, 1, 2.5))

    def test_tells_that_only_the_order_of_a_group_changed(self):
        group = {"p": 1, "q": 2}
        scene = self.scene(source("a", {"g": group}), {
            "name": "swap", "type": "AttributeEdit", "inputs": ["a"], "args": {
                "paths": [X], "delete": ["g"], "set": {"g": {"q": 2, "p": 1}}}})
        self.assertIn("\n      ~ g  in another order\n", self.why(scene, X))

    def test_tells_who_won_and_who_lost_a_merge(self):
        scene = self.scene(source("a", {"size": 1}), source("b", {"size": 2}), source("c", {}),
                           op("m", "Merge", "a", "b", "c"))
        self.assertEqual(self.why(scene, X, "--attr", "size"), """\
/root/x  size = 2 (int)
made by "b" (StaticScene), s.json:3:1

> 1  b    StaticScene  s.json:3:1  made    2 (int)
  2  | a  StaticScene  s.json:2:1  made    1 (int)
  3  m    Merge        s.json:5:1  passed  from 1, not 1 (int) from 2
""")

    def test_tells_which_location_of_a_merge_won(self):
        scene = self.scene(source("a", {"size": 1}), source("b", {"size": 2}),
                           op("m", "Merge", "a", "b"))
        self.assertEqual(self.why(scene, X), """\
/root/x
made by "b" (StaticScene), s.json:3:1

> 1  b    StaticScene  s.json:3:1  made
      + size  2 (int)
  2  | a  StaticScene  s.json:2:1  made
      + size  1 (int)
  3  m    Merge        s.json:4:1  passed  from 1, not 2
""")

    def test_tells_what_each_op_did_to_a_location(self):
        scene = self.scene(
            source("a", {"type": "sphere", "light": {"angle": 1, "on": 1}}, y={}),
            edit("b", "a", {"light": {"angle": 2}, "new": {"p": 1, "q": "two"}},
                 delete=["light.on"]),
            op("c", "Prune", "b", paths=["/root/x/y"]))
        self.assertEqual(self.why(scene, X), """\
/root/x
last changed by "c" (Prune), s.json:4:1

  1  a  StaticScene    s.json:2:1  made
      + type         "sphere"
      + light.angle  1 (int)
      + light.on     1 (int)
      + children     y
  2  b  AttributeEdit  s.json:3:1  changed
      ~ light.angle  1 -> 2 (int)
      - light.on     1 (int)
      + new.p        1 (int)
      + new.q        "two"
> 3  c  Prune          s.json:4:1  changed
      - children  y
""")

    def test_tells_from_which_location_a_copy_comes(self):
        scene = self.scene(source("a", {"size": 1}), op(
            "many", "Array", "a", source=X, target="/root/many", mode="grid", counts=[2, 1, 1]),
            edit("e", "many", {"size": 2}, "/root/many/i_1"))
        self.assertEqual(self.why(scene, "/root/many/i_1", "--attr", "size"), """\
/root/many/i_1  size = 2 (int)
changed by "e" (AttributeEdit), s.json:4:1

  1  a     StaticScene    s.json:2:1  made     1 (int), at /root/x
  2  many  Array          s.json:3:1  copied   1 (int)
> 3  e     AttributeEdit  s.json:4:1  changed  1 -> 2 (int)
""")
        self.assertEqual(self.why(scene, "/root/many/i_0", "--attr", "size").split("\n")[1],
                         'copied from /root/x by "many" (Array), s.json:3:1')

    def test_tells_of_the_ancestor_that_wins(self):
        scene = self.scene({"name": "a", "type": "StaticScene", "args": {
            "a": {"show": "no", "group": {"far": 1}},
            "c": {"x": {"a": {"show": "yes", "group": {"near": 1}}, "c": {"y": {}}}}}},
            edit("b", "a", {"show": "maybe"}))
        self.assertEqual(self.why(scene, "/root/x/y", "--attr", "show"), """\
/root/x/y  show = "maybe"
inherited from /root/x, there changed by "b" (AttributeEdit), s.json:3:1
wins over /root, which has "no"

  1  a  StaticScene    s.json:2:1  made     "yes"
> 2  b  AttributeEdit  s.json:3:1  changed  "yes" -> "maybe"
""")
        self.assertIn("\nmerged with /root, which has {far}\n",
                      self.why(scene, "/root/x/y", "--attr", "group"))

    def test_tells_that_the_own_value_of_an_inherited_attribute_was_deleted(self):
        scene = self.scene({"name": "a", "type": "StaticScene", "args": {
            "a": {"show": "far"}, "c": {"x": {"a": {"show": "near"}}}}},
            edit("b", "a", {}, delete=["show"]))
        self.assertTrue(self.why(scene, X, "--attr", "show").startswith("""\
/root/x  show = "far"
inherited from /root, there made by "a" (StaticScene), s.json:2:1
its own value was deleted by "b" (AttributeEdit), s.json:3:1
"""))
        self.assertEqual(self.json(scene, X, "--attr", "show")["ownDeletedBy"], "b")

    def test_types_and_transforms_of_ancestors_are_not_told(self):
        scene = self.scene({"name": "a", "type": "StaticScene", "args": {
            "a": {"type": "group", "xform": {"m": 1}, "geometry": {"p": 1}},
            "c": {"x": {"a": {"type": "sphere", "xform": {"m": 2}, "geometry": {"p": 2}}}}}})
        for attribute in ("type", "xform", "xform.m", "geometry.p"):
            with self.subTest(attribute):
                self.assertNotIn("which has", self.why(scene, X, "--attr", attribute))

    def test_tells_who_removed_a_location(self):
        scene = self.scene(source("a", {"size": 1}, y={}), op("cut", "Prune", "a", paths=[X]),
                           edit("b", "cut", {"size": 2}))
        steps = """
  1  a    StaticScene    s.json:2:1  made
      + size      1 (int)
      + children  y
> 2  cut  Prune          s.json:3:1  pruned
  3  b    AttributeEdit  s.json:4:1  absent
"""
        self.assertEqual(self.why(scene, X, status=1), """\
/root/x is not there
pruned by "cut" (Prune), s.json:3:1
""" + steps)
        self.assertEqual(self.why(scene, "/root/x/y", "--attr", "size", status=1), """\
/root/x/y is not there
/root/x was pruned by "cut" (Prune), s.json:3:1
""" + steps)
        self.assertIn("\nbefore that, /root/x/z was not there either\n",
                      self.why(scene, "/root/x/z", status=1))

    def test_tells_who_deleted_an_attribute(self):
        scene = self.scene(source("a", {"size": 1}), edit("b", "a", {}, delete=["size"]))
        self.assertEqual(self.why(scene, X, "--attr", "size", status=1), """\
/root/x has no attribute "size"
deleted by "b" (AttributeEdit), s.json:3:1

  1  a  StaticScene    s.json:2:1  made     1 (int)
> 2  b  AttributeEdit  s.json:3:1  deleted  1 (int)
""")

    def test_says_that_it_was_never_made(self):
        scene = self.scene(source("a", {"light": {"angle": 1}}, wheel={}), edit("b", "a", {"n": 1}))
        for at, attribute, answer in (
                ("/root/x/weel", None, "/root/x/weel is not there\nnever made: none of the 2 ops "
                 'makes it; did you mean "/root/x/wheel"?\n'),
                ("/root/x/one/two", None, "/root/x/one/two is not there\nnever made: none of the "
                 "2 ops makes /root/x/one; /root/x has the children wheel\n"),
                ("/x", None, "/x is not there\nnever made: none of the 2 ops makes it; did you "
                 'mean "/root/x"?\n'),
                (X, "angle", '/root/x has no attribute "angle"\nnever made: none of the 2 ops sets '
                 'it here, and no ancestor has it; did you mean "light.angle"?\n'),
                (X, "zz", '/root/x has no attribute "zz"\nnever made: none of the 2 ops sets it '
                 "here, and no ancestor has it\n")):
            with self.subTest(at=at, attribute=attribute):
                asked = ("--attr", attribute) if attribute else ()
                self.assertEqual(self.why(scene, at, *asked, status=1), answer)
        alone = self.scene(source("a", {}))
        self.assertIn("\nnever made: no op makes it", self.why(alone, "/root/y", status=1))

    def test_tells_which_op_fails(self):
        scene = self.scene(source("a", {}), op("bad", "Transform", "a", paths=[X], translate=[1]),
                           edit("b", "bad", {"n": 1}))
        answer = self.why(scene, X, status=1)
        self.assertTrue(answer.startswith("/root/x cannot be cooked\n"), answer)
        self.assertIn('Argument "translate" must be double[3].\n\n', answer)
        self.assertTrue(answer.endswith("""
> 1  bad  Transform      s.json:3:1  failed
  2  b    AttributeEdit  s.json:4:1  failed
"""), answer)

    def test_ops_of_a_long_history_share_rows(self):
        ops = [source("e0", {"size": 0})]
        ops += [edit(f"e{i}", f"e{i - 1}", {"size" if i == 40 else "other": i})
                for i in range(1, 61)]
        scene = self.scene(*ops)
        text = self.why(scene, X, "--attr", "size")
        self.assertIn("\n  2-40   39 ops                              passed\n"
                      "> 41     e40     AttributeEdit  s.json:42:1  changed  0 -> 40 (int)\n"
                      "  42-61  20 ops                              passed\n", text)
        self.assertEqual(len(self.why(scene, X, "--attr", "size", "--all").splitlines()), 64)

    def test_branches_of_a_long_history_share_rows(self):
        scene = self.scene(*(source(f"s{i}", {"size": i}) for i in range(40)),
                           op("m", "Merge", *(f"s{i}" for i in range(40))))
        text = self.why(scene, X, "--attr", "size")
        self.assertIn("  7     | s5        StaticScene  s.json:7:1   made    5 (int)\n"
                      "  8-40  | 33 steps\n"
                      "  41    m           Merge        s.json:42:1  passed  from 1, "
                      "not 0 (int) from 2 or 1 (int) from 3", text)
        self.assertTrue(text.endswith(", and 34 more\n"), text)
        self.assertEqual(len(self.why(scene, X, "--attr", "size", "--all").splitlines()), 44)

    def test_long_lists_are_cut(self):
        scene = self.scene(source("a", {f"n{i}": i for i in range(15)},
                                  **{f"child{i}": {} for i in range(12)}))
        text = self.why(scene, X)
        self.assertIn("      + n9  9 (int)\n      ... and 6 more\n", text)
        text = self.why(scene, X, "--all")
        self.assertIn("      + n14       14 (int)\n      + children  child0, child1, child2, "
                      "child3, child4, child5, child6, child7 and 4 more\n", text)

    def test_texts_are_safe_for_terminals(self):
        scene = self.scene(source("a\u001b[1m", {"na\u0007me": "v\u001b[2m"}))
        for arguments in ((), ("--attr", "na\u0007me")):
            text = self.why(scene, X, *arguments)
            self.assertIn("a\\x1b[1m", text)
            self.assertIn("v\\x1b[2m", text)
            self.assertFalse(set(text) & {"\u001b", "\u0007"})

    def test_columns_hold_for_names_of_any_letters(self):
        scene = self.scene(source("größe", {"size": 1}), edit("ab", "größe", {"size": 2}))
        lines = self.why(scene, X, "--attr", "size").splitlines()
        self.assertEqual(lines[3].index("StaticScene"), lines[4].index("AttributeEdit"))


class FormsTest(WhyTest):
    def test_json_holds_everything(self):
        scene = self.scene(source("a", {"size": 1}), source("b", {"size": 2.5}),
                           op("m", "Merge", "a", "b"), edit("e", "m", {"size": "big"}))
        printed = self.json(scene, X, "--attr", "size")
        steps = printed.pop("steps")
        value = {"text": '"big"', "value": "big"}
        self.assertEqual(printed, {
            "location": X, "attribute": "size", "isThere": True, "outcome": "found", "subject": X,
            "value": value, "ancestors": [{"location": X, "value": value, "isSeen": True}],
            "decidedBy": 3, "similar": [], "numberOfOps": 4})
        self.assertEqual(steps[0], {
            "op": "b", "opType": "StaticScene", "place": "s.json:3:1", "location": X,
            "action": "made", "before": None, "after": {"text": "2.5 (double)", "value": 2.5},
            "reads": []})
        self.assertEqual(steps[2], {
            "op": "m", "opType": "Merge", "place": "s.json:4:1", "location": X, "action": "passed",
            "reads": [{"step": 0, "input": 1, "role": "origin"},
                      {"step": 1, "input": 0, "role": "overridden"}]})
        self.assertEqual(steps[3]["before"]["value"], 2.5)
        self.assertEqual(steps[3]["after"], value)

    def test_json_of_a_location_lists_changes(self):
        scene = self.scene(source("a", {"size": 1}, y={}, z={}),
                           edit("b", "a", {"size": 2}), op("c", "Prune", "b", paths=["/root/x/y"]))
        printed = self.json(scene, X)
        self.assertNotIn("value", printed)
        self.assertIsNone(printed["attribute"])
        self.assertEqual(printed["steps"][0]["addedChildren"], ["y", "z"])
        self.assertEqual(printed["steps"][1]["changes"], [{
            "attribute": "size", "before": {"text": "1 (int)", "value": 1},
            "after": {"text": "2 (int)", "value": 2}}])
        self.assertEqual(printed["steps"][2]["removedChildren"], ["y"])
        self.assertNotIn("before", printed["steps"][1])

    def test_json_describes_large_values_only(self):
        scene = self.scene(source("a", {"few": list(range(1000)), "many": list(range(1001)),
                                        "group": {"many": list(range(1001))}}))
        self.assertIn("value", self.json(scene, X, "--attr", "few")["value"])
        for attribute in ("many", "group"):
            self.assertEqual(list(self.json(scene, X, "--attr", attribute)["value"]), ["text"])

    def test_json_of_what_is_not_there(self):
        scene = self.scene(source("a", {"size": 1}), op("cut", "Prune", "a", paths=[X]))
        printed = self.json(scene, X, status=1)
        self.assertEqual((printed["isThere"], printed["outcome"], printed["decidedBy"]),
                         (False, "dropped", 1))
        self.assertEqual([step["action"] for step in printed["steps"]], ["made", "pruned"])
        printed = self.json(scene, "/root/xx", status=1)
        self.assertEqual((printed["outcome"], printed["steps"], printed["decidedBy"]),
                         ("never made", [], None))
        bad = self.scene(op("bad", "Merge", nonsense=1), name="bad.json")
        printed = self.json(bad, X, status=1)
        self.assertEqual(printed["outcome"], "failed")
        self.assertIn("nonsense", printed["steps"][0]["error"])

    def draw(self, scene, *arguments, status=0):
        drawing = self.why(scene, X, *arguments, "--dot", status=status)
        done = subprocess.run(["dot", "-Tjson"], input=drawing.encode(), capture_output=True,
                              timeout=600, check=True)
        self.assertEqual(done.stderr, b"")
        drawn = json.loads(done.stdout)
        labels = [one.get("label", "").replace("\\n", "|") for one in drawn["objects"]]
        edges = {(labels[edge["tail"]].split("|")[0], labels[edge["head"]].split("|")[0]):
                 (edge.get("color"), edge.get("style", "solid")) for edge in drawn["edges"]}
        return labels, edges

    def test_draws_the_op_graph_with_the_way_in_colour(self):
        scene = self.scene(source("a", {"size": 1}), source("b", {"size": 2}),
                           {"name": "c", "type": "StaticScene", "args": {}},
                           op("m", "Merge", "a", "b", "c"), edit("e", "m", {"size": 3}))
        labels, edges = self.draw(scene, "--attr", "size")
        self.assertEqual(sorted(labels), [
            "a|StaticScene|made: 1 (int)", "b|StaticScene|made: 2 (int)", "c|StaticScene",
            "e|AttributeEdit|changed: 3 (int)", "m|Merge"])
        way, lost, unused = edges[("b", "m")], edges[("a", "m")], edges[("c", "m")]
        self.assertEqual(edges[("m", "e")], way)
        self.assertEqual(len({way, lost, unused}), 3)
        self.assertEqual(lost[1], "dashed")

    def test_a_drawing_of_many_ops_leaves_out_those_that_pass(self):
        ops = [source("e0", {"size": 0})]
        ops += [edit(f"e{i}", f"e{i - 1}", {"size" if i == 200 else "other": i})
                for i in range(1, 401)]
        labels, edges = self.draw(self.scene(*ops), "--attr", "size")
        self.assertEqual(sorted(labels), ["e0|StaticScene|made: 0 (int)",
                                          "e200|AttributeEdit|changed: 200 (int)",
                                          "e400|AttributeEdit"])
        self.assertEqual(set(edges), {("e0", "e200"), ("e200", "e400")})

    def test_writes_a_png(self):
        scene = self.scene(source("a", {"size": 1}))
        self.assertEqual(self.why(scene, X, "--png", "x.png"), "")
        self.assertEqual((self.folder / "x.png").read_bytes()[:8], b"\x89PNG\r\n\x1a\n")
        self.assert_fails('--png: there is no program "dot" on PATH',
                          "why", scene, "--at", X, "--png", "x.png", PATH=str(self.folder))

    def test_forms_exclude_each_other(self):
        scene = self.scene(source("a", {}))
        for first, second in (("--json", ["--dot"]), ("--json", ["--png", "x.png"]),
                              ("--dot", ["--png", "x.png"])):
            self.assert_fails_with("excludes", "why", scene, "--at", X, first, *second)

    def test_every_form_of_a_scene_will_do(self):
        scene = self.scene(source("a", {"size": 1}), edit("b", "a", {"size": 2}))
        expected = [step["action"] for step in self.json(scene, X, "--attr", "size")["steps"]]
        for name in ("s.oxop", "s.oxattr"):
            self.tellar("convert", scene, name)
            steps = self.json(name, X, "--attr", "size")["steps"]
            self.assertEqual([step["action"] for step in steps], expected)
        piped = subprocess.run([self.program, "why", "-", "--at", X], capture_output=True,
                               input=(self.folder / scene).read_bytes(), env=self.environment)
        self.assertEqual((piped.returncode, piped.stderr), (0, b""))

    def test_questions_that_cannot_be_asked(self):
        scene = self.scene(source("a", {}))
        self.assert_fails('--at: "x" is no absolute location path', "why", scene, "--at", "x")
        self.assert_fails("--at is required", "why", scene)
        self.assert_fails_with("gone.json", "why", "gone.json", "--at", X)

    def test_output_that_cannot_be_written(self):
        scene = self.scene(source("a", {}))
        with open("/dev/full", "w") as full:
            done = subprocess.run([self.program, "why", scene, "--at", X], stdout=full,
                                  stderr=subprocess.PIPE, env=self.environment, cwd=self.folder)
        self.assertEqual(done.returncode, 2)
        self.assertIn(b"No space left", done.stderr)


class GardenTest(WhyTest):
    """The example that the page of the command shows."""

    def test_the_sun(self):
        scene = self.examples / "garden.json"
        printed = self.json(scene, SUN, "--attr", "light.angle")
        self.assertEqual([(step["op"], step["action"]) for step in printed["steps"]], [
            ("garden", "made"), ("tidy", "passed"), ("windmill", "passed"), ("autumn", "passed"),
            ("day", "passed"), ("hazy sun", "set"), ("camera", "passed"), ("settings", "passed")])
        line = next(number for number, text in enumerate(scene.read_text().splitlines(), 1)
                    if '"hazy sun",' in text)
        self.assertEqual(printed["steps"][5]["place"], f"{scene}:{line - 1}:5")

    def test_the_benches(self):
        printed = self.json(self.examples / "garden.json", "/root/world/garden/benches/bench_1",
                            status=1)
        self.assertEqual((printed["outcome"], printed["subject"]),
                         ("dropped", "/root/world/garden/benches"))
        self.assertEqual(printed["steps"][printed["decidedBy"]]["op"], "tidy")

    def test_the_leaves(self):
        printed = self.json(self.examples / "garden.json", LEAVES, "--attr", "material")
        decision = printed["steps"][printed["decidedBy"]]
        self.assertEqual((decision["op"], decision["action"]), ("autumn", "copied"))
        origin = printed["steps"][decision["reads"][0]["step"]]
        self.assertEqual(origin["location"], "/root/materials/marigold")

    def test_one_of_a_million(self):
        scene = self.examples / "million.json"
        path = "/root/world/forest"
        while True:
            [location] = [json.loads(self.tellar("walk", scene, "--at", path, "--depth", "1",
                                                 "--json"))]
            if location["type"] != "group" or not location.get("children"):
                break
            path = location["children"][0]["path"]
        printed = self.json(scene, path)
        self.assertEqual([step["action"] for step in printed["steps"]], ["made", "copied"])


if __name__ == "__main__":
    main()

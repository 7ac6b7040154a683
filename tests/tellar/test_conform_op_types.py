#!/usr/bin/env python3
"""tellar conform with op types: those of the project pass every check, and every check finds the
faults of others.

    test_conform_op_types.py PROGRAM EXAMPLES_FOLDER

In the environment: TELLAR_TEST_UNSOUND and TELLAR_TEST_UNSOUND_FACTS are the libraries of the op
types "Unsound" and "UnsoundFacts", TELLAR_TEST_OP_TYPES the folder of "Spiral" and "Turntable",
TELLAR_TEST_SANITIZED is 1 when the heap is that of a sanitizer, which the command cannot measure, and
TELLAR_TEST_ONLY names the only check of sound op types, if there is one: that with threads, under
ThreadSanitizer, which finds nothing in the others and needs minutes for them.
"""

import os
import re
import unittest
from pathlib import Path

from tellar_test import TellarTest, main, static_scene

UNSOUND = os.environ["TELLAR_TEST_UNSOUND"]
UNSOUND_FACTS = os.environ["TELLAR_TEST_UNSOUND_FACTS"]
EXAMPLE_OP_TYPES = Path(os.environ["TELLAR_TEST_OP_TYPES"])
IS_SANITIZED = os.environ["TELLAR_TEST_SANITIZED"] == "1"

BUILT_IN = ["Array", "AttributeEdit", "Camera", "Instances", "MaterialAssign", "Merge", "Prune",
            "RenderSettings", "SceneImport", "Share", "StaticScene", "Transform"]
ONLY = os.environ.get("TELLAR_TEST_ONLY")
CHECKS = ["loads", "description", "missing parts", "wrong arguments", "odd paths", "same answer",
          "eight threads", "failing input", "changes", "facts", "nothing left"]
OF_INPUTS = {"failing input": "the op type takes no inputs"}
OF_VERSION_3 = {"changes": "op types of this version tell no changes",
                "facts": "op types of this version tell no facts"}
PEAR = {"a": {"type": "group", "xform": {"translate": [0.0, 5.0, 0.0]}},
        "c": {"stalk": {"a": {"type": "sphere"}}}}


def scene_with(op_type, **args):
    description = static_scene({"world": {"c": {"pear": PEAR, "stone": {}}}})
    description["ops"].append({"name": "op", "type": op_type, "inputs": ["scene"], "args": args})
    return description


class ConformTest(TellarTest):
    def assert_conforms(self, *plugins_and_options, left_out=None, types=1):
        """All checks of all op types are passed without a note, apart from those left out."""
        only = ("--only", ONLY) if ONLY else ()
        printed = self.tellar("conform", *plugins_and_options, *only)
        checks = [ONLY] if ONLY else CHECKS
        for check in checks:
            outcomes = re.findall(rf"^  {check} +(.*)$", printed, re.M)
            reason = (left_out or {}).get(check)
            expected = f"does not apply: {reason}" if reason else "passed"
            self.assertEqual(outcomes, [expected] * types, printed)
        number = types * len(checks)
        self.assertTrue(printed.endswith(
            f"\n{number} check{'s' if number > 1 else ''}, none failed\n"), printed)


class SoundOpTypes(ConformTest):
    def test_those_that_are_built_in_conform_with_sample_arguments(self):
        names = BUILT_IN
        if IS_SANITIZED and not ONLY:  # minutes for what the tests of the op types reach as well
            names = ["Array", "Merge", "SceneImport", "Share"]
        for name in names:
            with self.subTest(name):
                self.assert_conforms(name, left_out=OF_INPUTS if name in
                                     ("SceneImport", "StaticScene") else None)

    def test_those_of_the_garden_conform_as_it_uses_them(self):
        names = ["AttributeEdit", "Camera", "MaterialAssign", "Merge", "Prune", "Transform"]
        if IS_SANITIZED:  # there the other tests reach the same code, and time matters
            names = ["Merge"]
        self.assert_conforms(*names, "--scene", self.examples / "garden.json", types=len(names))

    def test_arrays_conform(self):
        grid = scene_with("Array", source="/root/world/pear", target="/root/world/grid",
                          counts=[3, 1, 2], groupSize=2)
        grid["ops"].append({"name": "heap", "type": "Array", "inputs": ["op"], "args": {
            "source": "/root/world/grid", "target": "/root/heap", "mode": "scatter", "count": 5,
            "extent": [0.0, 1.0, 0.0, 1.0, 0.0, 1.0], "spin": 1, "keepSource": 1}})
        self.assert_conforms("Array", "--scene", self.write("array.json", grid))

    def test_instances_conform(self):
        places = scene_with("Instances", sources=["/root/world/pear", "/root/world/stone"],
                            target="/root/world/many", indices=[0, 1, 1, 0, 0], hidden=[3],
                            translates=[[float(i), 0.0, 2.0] for i in range(5)],
                            rotates=[[0.0, 0.5, 0.0, 1.0]] * 5, groupSize=2)
        places["ops"].append({"name": "moving", "type": "Instances", "inputs": ["op"], "args": {
            "sources": ["/root/world/many/g_0/g_0"], "target": "/root/moving", "translates": {
                "$type": "double", "tuple": 3, "times": [0, 1],
                "samples": [[0, 0, 0, 5, 5, 5], [1, 0, 0, 6, 5, 5]]}, "keepSource": 1}})
        self.assert_conforms("Instances", "--scene", self.write("instances.json", places))

    def test_shared_locations_conform(self):
        shared = scene_with("Share", locations=["/root/world/a", "/root/b/c", "/root/world/pear/d"],
                            sources=["/root/world/pear", "/root/world/stone"], indices=[0, 1, 1])
        shared["ops"].append({"name": "again", "type": "Share", "inputs": ["op"], "args": {
            "locations": ["/root/b/c", "/root/e"], "sources": ["/root/world"], "keepSources": 1}})
        self.assert_conforms("Share", "--scene", self.write("share.json", shared))

    def test_imports_of_models_conform(self):
        self.assert_conforms("SceneImport", "--scene", self.examples / "garden.gltf",
                             left_out=OF_INPUTS)

    def test_the_examples_conform(self):
        for name, left_out in (("Spiral", {}), ("Turntable", OF_VERSION_3)):
            library = EXAMPLE_OP_TYPES / f"{name.lower()}.so"
            self.assert_conforms(library, left_out=left_out)
            scene = scene_with(name, location="/root/world/pear",
                               **({"count": 7} if name == "Spiral" else {"degrees": 90}))
            self.assert_conforms(library, "--scene", self.write(f"{name}.json", scene),
                                 left_out=left_out)

    def test_a_type_without_a_fault_conforms(self):
        self.assert_conforms(UNSOUND, left_out=OF_VERSION_3)
        self.assert_conforms(UNSOUND_FACTS)


class CapturedScene(ConformTest):
    @unittest.skipUnless("TELLAR_TEST_RECORDER" in os.environ, "the recorder is not built")
    def test_conforms(self):
        self.tellar("render", self.examples / "shapes.json", "-o", "shapes.txt", "--renderer",
                    "recorder", "--capture", "shapes.oxcap")
        self.assert_conforms("CapturedScene", "--scene", "shapes.oxcap", left_out=OF_INPUTS)

    def test_a_note_asks_for_a_scene(self):
        printed = self.tellar("conform", "CapturedScene", "--only", "odd paths")
        self.assertIn("no sample arguments make sense; give --scene a scene with ops of this type "
                      "(", printed)


class UnsoundOpTypes(ConformTest):
    def assert_found(self, check, fault, *texts, library=UNSOUND, options=()):
        status, printed, errors = self.run_tellar("conform", library, "--only", check, *options,
                                                  TELLAR_TEST_FAULT=fault)
        self.assertEqual((status, errors), (1, ""), printed)
        self.assertTrue(printed.endswith("\n1 check, 1 failed\n"), printed)
        for text in texts:
            self.assertIn(text, printed)

    def assert_facts_found(self, check, fault, *texts):
        self.assert_found(check, fault, *texts, library=UNSOUND_FACTS)

    def test_loads(self):
        self.assert_found("loads", "no cook", "its function table has no cook")
        self.assert_found("loads", "other version", "its function table says version 7, not 2")

    def test_description(self):
        self.assert_found("description", "describe badly", "the version is 0",
                          'the summary "" is not a sentence', 'argument "n": has no summary',
                          'the argument "n" is described twice')

    def test_missing_parts(self):
        self.assert_found("missing parts", "crash without arguments",
                          "with no arguments: the process was ended by signal 6")
        self.assert_found("missing parts", "hang without inputs",
                          "with no arguments and inputs: the process took too long",
                          options=("--seconds", "1" if not IS_SANITIZED else "10"))

        self.assert_found("missing parts", "cook without parent", "with no inputs, /root/world: "
                          "exists, and its parent does not")

    def test_wrong_arguments(self):
        self.assert_found("wrong arguments", "crash on zero",
                          'with int 0 as "n": the process was ended by signal 6')
        self.assert_found("wrong arguments", "fail without text", 'with int 0 as "n", /root: the '
                          "error has no text")

    def test_odd_paths(self):
        self.assert_found("odd paths", "cook every path", "/root/*: exists, and is not among the "
                          "potential children of its parent")

        self.assert_found("odd paths", "cook other names", "/root/worldx: exists, and is not "
                          "among the potential children of its parent")

    def test_same_answer(self):
        self.assert_found("same answer", "cook freshness", "after an eviction: /root: first it "
                          "exists, hash ")

    def test_eight_threads(self):
        self.assert_found("eight threads", "cook thread", "eight threads on one client: /root: ")

    def test_failing_input(self):
        self.assert_found("failing input", "hide errors", "while its input fails at /root, /root: "
                          "hides the error: it does not exist")
        self.assert_found("failing input", "replace errors", "the text of the input's error is "
                          "lost: ")

    def test_validation(self):
        self.assert_found("same answer", "leak input", "leaked: a result of an input of call ")

    def test_changes(self):
        self.assert_facts_found("changes", "forget a location", 'another argument "n": /root/world '
                                "differs and is not told")
        self.assert_facts_found("changes", "forget the input", "differs and is not told")
        self.assert_facts_found("changes", "forget what it reads", "hiding "
                                "/root/world/geo in input 0: /root differs and is not told")

    def test_facts(self):
        for fault, text in (
                ("wrong existence", "/no such root: does not exist, and is told to"),
                ("wrong number", "/root before it is cooked: has 12 locations, not 3"),
                ("wrong types", "/root: has location types that are not told"),
                ("wrong bound", "/root: has points outside of the bound that is told"),
                ("wrong identity", "has the identity of a location with other content"),
                ("wrong matrix", "/root/world/geo: is not where its matrix says")):
            with self.subTest(fault):
                self.assert_facts_found("facts", fault, text)

    def test_nothing_left(self):
        texts = ["every hundred scenes leave 100 open files"]
        if not IS_SANITIZED:
            texts.append("every hundred scenes leave 8000 bytes")
        self.assert_found("nothing left", "leave things behind", *texts)

    def test_a_refused_type_is_left_out_of_other_checks(self):
        printed = self.tellar("conform", UNSOUND, "--only", "odd paths,facts",
                              TELLAR_TEST_FAULT="no cook")
        self.assertIn("odd paths        does not apply: the op type cannot be loaded", printed)


class Page(ConformTest):
    def test_lists_the_checks(self):
        page = (self.examples.parent / "docs" / "conformance.md").read_text(encoding="utf-8")
        section = page.split("\n## Op types\n")[1].split("\n## ")[0]
        rows = re.findall(r"^\| ([^|]+?) \|", section, re.M)
        self.assertEqual(rows[1:], CHECKS)
        listed = re.findall(r"^op type   (.+?)  ", self.tellar("conform", "--list"), re.M)
        self.assertEqual(listed, CHECKS)


if __name__ == "__main__":
    main()

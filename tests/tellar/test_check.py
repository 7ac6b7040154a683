#!/usr/bin/env python3
"""`tellar check`: each defect is found by its rule, and told as text, JSON and JUnit XML.

    test_check.py PROGRAM EXAMPLES_FOLDER
"""

import json
import re
import subprocess
from pathlib import Path
from xml.etree import ElementTree

from check_defects import DEFECTS, OF_OTHER_OP_TYPES, SOUND, light
from command_scenes import endless_scene
from tellar_test import TellarTest, main, static_scene

PAGE = Path(__file__).resolve().parents[2] / "docs" / "check.md"


class CheckTest(TellarTest):
    def check(self, description, *arguments, status=None):
        """The JSON report of a scene."""
        self.write("scene.json", description)
        done = self.run_tellar("check", "scene.json", "--json", *arguments)
        self.assertEqual(done[2], "")
        if status is not None:
            self.assertEqual(done[0], status, done[1])
        return json.loads(done[1])

    def rules(self):
        return json.loads(self.tellar("check", "--rules", "--json"))["rules"]


class RulesTest(CheckTest):
    def test_every_rule_has_a_defect_that_it_alone_finds(self):
        self.assertEqual(set(DEFECTS) | OF_OTHER_OP_TYPES, {rule["rule"] for rule in self.rules()})
        severities = {rule["rule"]: rule["severity"] for rule in self.rules()}
        for rule, (description, place, attribute) in DEFECTS.items():
            with self.subTest(rule):
                report = self.check(description, "--only", rule, "--fail-on", "note", status=1)
                findings = report["findings"]
                self.assertEqual([one["rule"] for one in findings], [rule], findings)
                is_op = findings[0]["location"] is None
                self.assertEqual(findings[0]["op" if is_op else "location"], place)
                self.assertEqual(findings[0]["attribute"], attribute)
                self.assertEqual(findings[0]["severity"], severities[rule])
                left = self.check(description, "--ignore", rule)["findings"]
                self.assertEqual([one for one in left if one["rule"] == rule], [])

    def test_no_other_rule_finds_the_defect(self):
        # What is missing for one rule may well be missing for another one.
        together = {"op-assignment": {"op-assignment"}, "cook-error": {"cook-error"},
                    "points-missing": {"points-missing"}}
        for rule, (description, _, _) in DEFECTS.items():
            with self.subTest(rule):
                found = {one["rule"] for one in self.check(description)["findings"]}
                self.assertEqual(found, together.get(rule, {rule}))

    def test_a_sound_scene_has_no_findings(self):
        self.assertEqual(self.check(SOUND, "--fail-on", "note", status=0)["findings"], [])

    def test_findings_say_what_is_wrong_and_what_to_do(self):
        for rule, (description, _, _) in DEFECTS.items():
            with self.subTest(rule):
                text = self.check(description, "--only", rule)["findings"][0]["text"]
                self.assertRegex(text, r"^[^;]+(; [a-z][^;]+)+$")

    def test_the_page_lists_the_rules_as_the_command_does(self):
        rows = re.findall(r"^\| `([a-z0-9-]+)` \| ([a-z]+) \| (.*) \|$", PAGE.read_text(),
                          re.MULTILINE)
        self.assertEqual(rows, [(rule["rule"], rule["severity"], rule["catches"])
                                for rule in self.rules()])

    def test_the_page_shows_what_is_printed(self):
        page = PAGE.read_text()
        self.write("shot.json", re.search(r"```json\n(.*?)```", page, re.DOTALL).group(1))
        (self.folder / "examples").symlink_to(self.examples)
        runs = re.findall(r"^    \$ tellar (check .*)\n((?:    .*\n)+)", page, re.MULTILINE)
        self.assertEqual(len(runs), 4)
        for command, shown in runs:
            with self.subTest(command):
                output = self.run_tellar(*command.split())[1]
                times = re.compile(r' time="[0-9.]+"')
                self.assertEqual(times.sub("", output),
                                 times.sub("", re.sub(r"^    ", "", shown, flags=re.MULTILINE)))

    def test_rules_are_listed_as_text(self):
        lines = self.tellar("check", "--rules").splitlines()
        self.assertEqual(len(lines), len(self.rules()))
        self.assertRegex(lines[0], r"^op-glob +warning +a path or glob")


class OutputTest(CheckTest):
    def run_check(self, description, *arguments):
        self.write("scene.json", description)
        return self.run_tellar("check", "scene.json", *arguments)

    def test_a_line_tells_severity_place_problem_advice_and_rule(self):
        status, output, errors = self.run_check(DEFECTS["mesh-index"][0])
        self.assertEqual((status, errors), (1, ""))
        self.assertEqual(
            output,
            "error: /root/it: geometry.poly.vertexList: its entry 3 is the point 4, and there are "
            "4 points; correct the index, or add the point [mesh-index]\n"
            "1 error, 0 warnings and 0 notes in 2 locations\n")

    def test_a_finding_about_an_op_tells_its_line(self):
        description = json.dumps(DEFECTS["op-glob"][0])
        self.write("scene.json", description.replace('{"name": "edit"', '\n  {"name": "edit"'))
        _, output, _ = self.run_tellar("check", "scene.json")
        self.assertTrue(output.startswith(
            'warning: scene.json:2:3: Transform "edit": "/root/its" matches no location; did you '
            'mean "/root/it"? [op-glob]\n'), output)

    def test_equal_values_are_one_finding(self):
        lamp = {"a": light(intensity=0.0)}
        output = self.run_check(static_scene({"a": lamp, "b": lamp, "c": lamp}))[1]
        self.assertEqual(
            output,
            "warning: /root/a: light.intensity: the light has no brightness; make it brighter, or "
            "prune it (and 2 other locations) [light-dark]\n"
            "0 errors, 3 warnings and 0 notes in 4 locations\n")

    def test_what_is_not_listed_is_counted(self):
        lamps = {f"l_{i}": {"a": light(intensity=0.0, angle=float(i))} for i in range(5)}
        output = self.run_check(static_scene(lamps), "--most", 2)[1]
        self.assertEqual(output.count("[light-dark]"), 3)
        self.assertIn("/root/l_0", output)
        self.assertIn("/root/l_1", output)
        self.assertIn("... and 3 more of [light-dark]\n0 errors, 5 warnings", output)

    def test_the_status_follows_fail_on(self):
        for severity, statuses in {"note": (1, 1, 1), "warning": (0, 1, 1), "error": (0, 0, 1),
                                   "never": (0, 0, 0)}.items():
            found = tuple(self.run_check(DEFECTS[rule][0], "--fail-on", severity)[0]
                          for rule in ("material-none", "light-dark", "mesh-index"))
            self.assertEqual(found, statuses, severity)

    def test_names_are_safe_for_terminals(self):
        output = self.run_check(static_scene({"a\x1b[2J": {"a": {"type": "sphere"}}}))[1]
        self.assertIn("/root/a\\x1b[2J: it has no material", output)

    def test_a_part_of_a_scene_is_checked_without_rules_about_all_of_it(self):
        description = static_scene({
            "lamps": {"c": {"a": {"a": light(intensity=0.0)}}},
            "materials": {"c": {"red": {"a": {"type": "material", "material": {}}}}}})
        report = self.check(description, "--at", "/root/materials")
        self.assertEqual((report["findings"], report["locations"]), ([], 2))
        report = self.check(description, "--at", "/root/lamps/")
        self.assertEqual([one["location"] for one in report["findings"]], ["/root/lamps/a"])

    def test_the_report_is_the_same_with_threads(self):
        children = {}
        for index, (description, _, _) in enumerate(DEFECTS.values()):
            part = description["ops"][0]["args"]["c"]
            children.update({f"{name}_{index}": location for name, location in part.items()})
        self.write("scene.json", static_scene({"all": {"c": children}}))
        alone = self.run_tellar("check", "scene.json", "--most", 3)
        self.assertGreater(alone[1].count("\n"), 20)
        for _ in range(5):
            self.assertEqual(self.run_tellar("check", "scene.json", "--most", 3, "--threads", 4),
                             alone)


class JunitTest(CheckTest):
    def junit(self, description, *arguments):
        self.write("scene.json", description)
        self.run_tellar("check", "scene.json", "--junit", "report.xml", *arguments)
        return ElementTree.fromstring((self.folder / "report.xml").read_text())

    def test_each_rule_is_a_test_case(self):
        suite = self.junit(DEFECTS["mesh-index"][0]).find("testsuite")
        self.assertEqual([case.get("name") for case in suite],
                         [rule["rule"] for rule in self.rules()])
        self.assertEqual((suite.get("name"), suite.get("tests"), suite.get("failures")),
                         ("scene.json", str(len(suite)), "1"))

    def test_a_rule_with_findings_fails_with_their_texts(self):
        root = self.junit(DEFECTS["mesh-index"][0])
        failures = root.findall("testsuite/testcase/failure")
        self.assertEqual([(one.get("type"), one.get("message")) for one in failures],
                         [("error", "1: a face with a point that does not exist")])
        self.assertEqual(failures[0].text,
                         "/root/it: geometry.poly.vertexList: its entry 3 is the point 4, and "
                         "there are 4 points; correct the index, or add the point\n")

    def test_findings_below_fail_on_are_output(self):
        root = self.junit(DEFECTS["material-none"][0])
        self.assertEqual(root.get("failures"), "0")
        outputs = root.findall("testsuite/testcase/system-out")
        self.assertEqual([one.text for one in outputs],
                         ["/root/it: it has no material; assign it one\n"])

    def test_rules_that_are_not_applied_are_no_test_cases(self):
        suite = self.junit(SOUND, "--at", "/root/mesh").find("testsuite")
        self.assertEqual([case.get("name") for case in suite],
                         [rule["rule"] for rule in self.rules() if not rule["needsWholeScene"]])

    def test_names_of_any_bytes_make_sound_xml(self):
        root = self.junit(static_scene({'<&"\x01>\ufffe': {"a": {"type": "sphere"}}}))
        self.assertIn('/root/<&"\\x01>\\xef\\xbf\\xbe: it has no material',
                      root.find("testsuite/testcase/system-out").text)

    def test_it_can_be_printed(self):
        self.write("scene.json", SOUND)
        output = self.tellar("check", "scene.json", "--junit", "-", "--only", "cook-error")
        self.assertEqual(ElementTree.fromstring(output).get("tests"), "1")
        self.assert_fails("--json and --junit both go to standard output", "check", "scene.json",
                          "--junit", "-", "--json")

    def test_a_report_that_cannot_be_written_is_an_error(self):
        self.write("scene.json", SOUND)
        status, _, errors = self.run_tellar("check", "scene.json", "--junit", "no folder/x.xml")
        self.assertEqual(status, 2)
        self.assertIn("no folder/x.xml", errors)


class FailuresTest(CheckTest):
    def test_what_cannot_be_checked_has_status_2(self):
        self.assert_fails_with("no_such_file.json", "check", "no_such_file.json")
        self.write("broken.json", "{")
        self.assert_fails_with("broken.json", "check", "broken.json")
        self.write("scene.json", SOUND)
        self.assert_fails_with('there is no location "/root/bal"', "check", "scene.json", "--at",
                               "/root/bal")
        self.write("root.json", {"ops": [{"name": "a", "type": "Array"}]})
        self.assert_fails_with('Argument "source" is missing', "check", "root.json")

    def test_wrong_options_are_refused(self):
        self.assert_fails_with('did you mean "mesh-index"?', "check", "x", "--only", "mesh-indx")
        self.assert_fails_with("--fail-on", "check", "x", "--fail-on", "bad")
        self.assert_fails_with("SCENE is required", "check")
        self.assert_fails_with("no rule is left", "check", "x", "--only", "op-glob", "--ignore",
                               "op-glob")

    def test_rules_that_need_the_whole_scene_are_none_of_a_part(self):
        self.write("scene.json", SOUND)
        self.assert_fails("--at: the rules need the whole scene", "check", "scene.json", "--at",
                          "/root/mesh", "--only", "op-glob,camera-missing")

    def test_an_empty_scene_has_no_problems(self):
        self.write("scene.json", static_scene({}))
        self.assertEqual(self.tellar("check", "scene.json"), "no problems in 1 location\n")

    def test_standard_input_can_be_checked(self):
        done = subprocess.run([self.program, "check", "-"], capture_output=True, cwd=self.folder,
                              input=json.dumps(SOUND).encode(), env=self.environment, timeout=600)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertIn(b"no problems", done.stdout)

    def test_a_missing_texture_of_an_import_is_a_finding_and_no_warning(self):
        self.write("t.obj", "mtllib t.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl bark\nf 1 2 3\n")
        self.write("t.mtl", "newmtl bark\nmap_Kd bark.png\n")
        status, output, errors = self.run_tellar("check", "t.obj", "--json")
        self.assertEqual((status, errors), (1, ""))
        files = [(one["rule"], Path(one["file"]).name) for one in json.loads(output)["findings"]]
        self.assertEqual(files, [("texture-missing", "bark.png")])

    def test_a_full_disk_is_an_error(self):
        self.write("scene.json", SOUND)
        with open("/dev/full", "wb") as full:
            done = subprocess.run([self.program, "check", "scene.json"], stdout=full,
                                  stderr=subprocess.PIPE, cwd=self.folder, env=self.environment,
                                  timeout=600)
        self.assertEqual(done.returncode, 2)
        self.assertIn(b"No space left", done.stderr)

    def test_a_signal_stops_a_long_check(self):
        self.write("scene.json", endless_scene())
        seen = self.stop_on_terminal(b"locations", "check", "scene.json", "--threads", 2)
        self.assertIn(b"stopped; the scene is not checked to its end", seen)


class ExamplesTest(CheckTest):
    def findings(self, name):
        _, output, errors = self.run_tellar("check", self.examples / name, "--json")
        self.assertEqual(errors, "")
        return [(one["rule"], one["location"], one["attribute"])
                for one in json.loads(output)["findings"]]

    def test_examples_have_no_problems_but_true_ones(self):
        for name in ("garden.gltf", "shapes.json", "chess.json"):
            self.assertEqual(self.findings(name), [], name)
        # The camera of the model is not the one of the picture.
        self.assertEqual(self.findings("garden.json"),
                         [("camera-unused", "/root/world/garden/cameras/main_camera", None)])
        # Each location may have textures that its own network does not use.
        self.assertEqual(self.findings("materials.json"),
                         [("texture-unused", "/root/world/mosaic", "textures.dirt")])


if __name__ == "__main__":
    main()

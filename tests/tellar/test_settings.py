#!/usr/bin/env python3
"""tellar settings: what renderers are told by render settings, and who tells it.

    test_settings.py PROGRAM EXAMPLES_FOLDER
"""

import json
import re
from pathlib import Path

from tellar_test import TellarTest, main

LENS = {"fov": 45.0, "near": 0.1, "far": 100.0, "left": -1.0, "right": 1.0, "top": 1.0,
        "bottom": -1.0}
CAMERA = {"a": {"type": "camera", "geometry": LENS}}


def scene(settings=None, camera="cam"):
    root = {"renderSettings": settings} if settings is not None else {}
    return {"ops": [{"name": "scene", "type": "StaticScene", "args": {
        "a": root, "c": {"world": {"c": {camera: {"c": {"camera": CAMERA}}}}}}}]}


class SettingsTest(TellarTest):
    def report(self, settings=None, *options):
        """The settings as JSON, by name."""
        path = self.write("scene.json", scene(settings))
        status, output, self.errors = self.run_tellar("settings", path, "--json", *options)
        self.assertEqual(status, 0, self.errors)
        return {setting["name"]: setting for setting in json.loads(output)["settings"]}

    def lines(self, settings, *options):
        path = self.write("scene.json", scene(settings))
        rows = self.tellar("settings", path, *options).splitlines()
        return {row.split()[0]: " ".join(row.split()[1:]) for row in rows}

    def test_prints_each_setting_with_its_value_and_who_tells_it(self):
        lines = self.lines({"resolution": "hd_720", "lantern": {"maxDepth": 3}}, "--size", "64x48",
                           "--set", "echo.depth=4")
        self.assertEqual(lines["resolution"], '"64x48" --size instead of "hd_720" of /root')
        self.assertEqual(lines["lantern.maxDepth"], "3 (int) /root")
        self.assertEqual(lines["lantern.samples"], "64 (int) default")
        self.assertEqual(lines["tileRender"], "none default")
        self.assertEqual(lines["echo.depth"], "4 (int) --set, not known")

    def test_a_scene_without_settings_has_the_defaults(self):
        known = json.loads(self.tellar("settings", "--known", "--json"))["settings"]
        report = self.report()
        self.assertEqual([name for name in report],
                         [setting["name"] for setting in known if "*" not in setting["name"]])
        for name, setting in report.items():
            self.assertEqual((setting["origin"], setting["source"], setting["problem"]),
                             ("default", None, None), name)
            self.assertEqual(setting["value"], setting["default"], name)

    def test_json_tells_the_same(self):
        report = self.report({"noise": 0.5}, "--noise", "0.25", "--set", "lantern.maxDepth=7")
        noise = report["noise"]
        self.assertEqual(noise["value"], {"$type": "float", "values": [0.25]})
        self.assertEqual((noise["origin"], noise["source"], noise["replaced"], noise["type"]),
                         ("override", "--noise", 0.5, "number"))
        self.assertEqual(report["lantern.maxDepth"]["source"], "--set")

    def test_every_option_of_render_for_settings_is_taken(self):
        report = self.report(None, "--camera", "camera", "--resolution", "hd_720", "--tile",
                             "0,0,2,2", "--crop", "0,0.5,0,1", "--aov", "depth,id", "--minutes",
                             "2", "--max-depth", "3", "--exposure", "1", "--samples", "9")
        self.assertEqual(self.errors, "")
        self.assertEqual({name: setting["source"] for name, setting in report.items()
                          if setting["origin"] == "override"},
                         {"cameraName": "--camera", "resolution": "--resolution",
                          "tileRender": "--tile", "cropWindow": "--crop", "aovs": "--aov",
                          "minutes": "--minutes", "lantern.maxDepth": "--max-depth",
                          "lantern.exposure": "--exposure", "lantern.samples": "--samples"})
        self.assertEqual(report["cameraName"]["value"], "/root/world/cam/camera")

    def test_settings_of_another_renderer_go_to_its_group(self):
        report = self.report(None, "--renderer", "echo", "--samples", "5")
        self.assertEqual(report["echo.samples"]["value"], 5)
        self.assertEqual(report["lantern.samples"]["origin"], "default")

    def test_warns_of_unknown_names_and_asks_which_were_meant(self):
        report = self.report({"lantern": {"maxDpeth": 4}}, "--set", "nose=1", "--set", "echo.x=1")
        self.assertEqual(self.errors, f"""\
tellar: warning: {self.folder}/scene.json: "renderSettings.lantern.maxDpeth" of /root is not known; did you mean "lantern.maxDepth"?
tellar: warning: --set: "nose" is not known; did you mean "noise"?
""")
        self.assertEqual(report["lantern.maxDpeth"]["similar"], ["lantern.maxDepth"])
        self.assertEqual(report["lantern.maxDpeth"]["problem"],
                         'is not known; did you mean "lantern.maxDepth"?')
        self.assertIsNone(report["lantern.maxDpeth"]["type"])

    def test_warns_of_values_of_a_wrong_type(self):
        self.report({"cropWindow": [0, 1], "resolution": 5}, "--set", "noise=high")
        self.assertEqual(self.errors, f"""\
tellar: warning: {self.folder}/scene.json: "renderSettings.resolution" of /root must be one string
tellar: warning: {self.folder}/scene.json: "renderSettings.cropWindow" of /root must be 4 finite numbers
tellar: warning: --set: "noise" must be one finite number from 0 to 1
""")

    def test_strict_ends_with_status_1_after_the_report(self):
        path = self.write("scene.json", scene({"noise": 2}))
        status, output, errors = self.run_tellar("settings", path, "--strict")
        self.assertEqual(status, 1)
        self.assertIn("noise", output)
        self.assertIn("must be one finite number from 0 to 1, not 2", errors)
        path = self.write("scene.json", scene({"noise": 0.5}))
        self.tellar("settings", path, "--strict")

    def test_tells_that_render_chooses_a_camera(self):
        path = self.write("scene.json", scene(None, camera="other"))
        output = self.tellar("settings", path)
        self.assertTrue(output.endswith(
            "there is no camera /root/world/cam/camera: tellar render takes the first camera of "
            "the scene, or frames the whole of it\n"), output)
        self.assertEqual(len(json.loads(self.tellar("settings", path, "--json"))["notes"]), 1)

    def test_needs_a_scene_or_known(self):
        self.assert_fails("SCENE is required, unless --known is given", "settings")
        path = self.write("scene.json", scene())
        self.assertEqual(self.run_tellar("settings", path, "--known")[0], 2)

    def test_errors_name_the_scene(self):
        missing = str(self.folder / "no.json")
        self.assert_fails(f"{missing}: No such file or directory", "settings", missing)
        bad = self.write("bad.json", {"ops": [{"name": "m", "type": "Merg"}]})
        self.assert_fails_with("there is no op type of this name", "settings", bad)

    def test_each_example_has_sound_settings(self):
        for path in sorted(self.examples.glob("*.json")):
            with self.subTest(path.name):
                self.tellar("settings", path, "--strict")


class KnownSettingsTest(TellarTest):
    def known(self):
        return json.loads(self.tellar("settings", "--known", "--json"))

    def test_the_table_of_the_manual_has_the_same_settings_and_defaults(self):
        text = (Path(__file__).parents[2] / "docs" / "rendering.md").read_text()
        table = text[text.index("| setting | default |"):].split("\n\n", 1)[0]
        told = {}
        for row in table.splitlines()[2:]:
            names, default = row.split("|")[1:3]
            names = re.findall(r"`([^`]+)`", names)
            told.update(zip(names, [each.strip(" `") for each in default.split(",")] * len(names)))
        known = {setting["name"]: setting["default"] for setting in self.known()["settings"]}
        self.assertEqual(sorted(told), sorted(known))
        for name, default in known.items():
            if isinstance(default, (int, float)):
                self.assertEqual(float(told[name]), default, name)
            elif isinstance(default, str):
                self.assertEqual(told[name], default, name)

    def test_the_table_of_layers_has_the_same_names(self):
        text = (Path(__file__).parents[2] / "docs" / "rendering.md").read_text()
        table = text[text.index("| name | channels |"):].split("\n\n", 1)[0]
        told = [name for row in table.splitlines()[2:]
                for name in re.findall(r"`([^`]+)`", row.split("|")[1])]
        self.assertEqual(sorted(told), sorted(self.known()["layers"]))

    def test_lists_names_types_defaults_and_meanings(self):
        line = [row for row in self.tellar("settings", "--known").splitlines()
                if row.startswith("lantern.maxDepth ")][0]
        self.assertEqual(" ".join(line.split()),
                         "lantern.maxDepth whole number 8 (int) The number of bounces.")


if __name__ == "__main__":
    main()

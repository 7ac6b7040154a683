#!/usr/bin/env python3
"""tellar doctor and tellar delegates: what they find in installations with and without faults.

    test_doctor.py PROGRAM EXAMPLES_FOLDER

The environment names folders with plug-ins: TELLAR_TEST_DELEGATES has delegates,
TELLAR_TEST_THROWING_DELEGATES one that throws, TELLAR_TEST_FAULTY_OP_TYPES is a library of op types
with faults, TELLAR_TEST_SECOND_LIBRARY a file that is named like
a library of the project, TELLAR_TEST_RENDERERS a renderer. TELLAR_TEST_EXAMPLE_IS_BUILT tells
whether the renderer "example" is part of the build.
"""

import json
import os
import shutil
from pathlib import Path

from tellar_test import TellarTest, main

DELEGATES = os.environ["TELLAR_TEST_DELEGATES"]
THROWING_DELEGATES = os.environ["TELLAR_TEST_THROWING_DELEGATES"]
FAULTY_OP_TYPES = os.environ["TELLAR_TEST_FAULTY_OP_TYPES"]
SECOND_LIBRARY = os.environ["TELLAR_TEST_SECOND_LIBRARY"]
RENDERERS = os.environ["TELLAR_TEST_RENDERERS"]
SDK_SONAME = os.environ["TELLAR_TEST_SDK_SONAME"]
EXAMPLE_IS_BUILT = os.environ["TELLAR_TEST_EXAMPLE_IS_BUILT"] == "1"
HEADINGS = ["libraries", "plug-in folders", "plug-ins", "passed over", "op types",
            "configuration files", "configuration", "environment", "resolutions"]


class DoctorTest(TellarTest):
    def healthy(self, **environment):
        """The JSON of a run that must find no problem."""
        found = json.loads(self.tellar("doctor", "--json", **environment))
        self.assertEqual(found["problems"], [])
        return found

    def ill(self, **environment):
        """The JSON of a run that must find problems, without a word on standard error."""
        status, output, errors = self.run_tellar("doctor", "--json", **environment)
        self.assertEqual((status, errors), (1, ""))
        found = json.loads(output)
        self.assertNotEqual(found["problems"], [])
        return found

    def problems(self, **environment):
        return self.ill(**environment)["problems"]

    def installed_folders(self, found):
        """Those beside the libraries; a build without renderers has no folder for them."""
        libraries = next(Path(library["file"]).parent for library in found["libraries"]
                         if library["name"] == "OxTellarSDK")
        renderers = libraries / "tellar-renderers"
        return [str(renderers)] * renderers.is_dir() + [str(libraries / "tellar-plugins")]


class Doctor(DoctorTest):
    def test_a_sound_installation_has_no_problems(self):
        found = self.healthy()
        self.assertEqual(list(found), ["version", "libraries", "pluginFolders", "plugins",
                                       "refused", "opTypes", "configurationFiles",
                                       "configuration", "environment", "resolutions",
                                       "problems"])
        self.assertEqual(f"tellar {found['version']}\n", self.tellar("--version"))
        self.assertEqual(found["refused"], [])
        self.assertEqual(found["configurationFiles"], [])
        self.assertEqual(found["configuration"], {})
        self.assertEqual(found["resolutions"], {"count": 56, "file": None})

    def test_op_types_are_those_of_ops_and_come_from_plugins_in_the_folders(self):
        found = self.healthy()
        expected = [{"name": op["name"], "version": op["version"]}
                    for op in json.loads(self.tellar("ops", "--json"))]
        self.assertEqual(found["opTypes"], expected)
        plugins = [plugin for plugin in found["plugins"] if plugin["api"] == "TellarOpType"]
        self.assertEqual(sorted(plugin["name"] for plugin in plugins),
                         [op["name"] for op in expected])
        for plugin in plugins:
            self.assertEqual(str(Path(plugin["file"]).parent), found["pluginFolders"][-1])
            self.assertEqual(plugin["apiVersion"], 3)

    def test_the_projects_libraries_alone_are_told_with_version_and_file(self):
        found = self.healthy()
        libraries = {library["name"]: library for library in found["libraries"]}
        self.assertEqual(len(libraries), len(found["libraries"]))
        self.assertLessEqual({"OxTellarProducers", "OxTellarSDK", "OxConfiguration",
                              "OxPluginHost", "ResolutionTableOx"}, set(libraries))
        for name, library in libraries.items():
            file = Path(library["file"])
            self.assertTrue(file.is_file() and file.is_absolute(), file)
            self.assertEqual(file, file.resolve())
            self.assertEqual(library["version"], found["version"])
            self.assertEqual(file.name, f"lib{name}.so.{library['version']}")

    def test_text_has_a_section_for_each_subject_and_a_last_line(self):
        lines = self.tellar("doctor").splitlines()
        self.assertEqual([line for line in lines[1:-1] if line and line[0] != " "], HEADINGS)
        self.assertEqual(lines[-1], "No problems were found.")
        self.assertEqual(lines[lines.index("passed over") + 1], "    none")
        self.assertEqual(lines[lines.index("resolutions") + 1:][:2],
                         ["    formats  56", "    file     none"])

    def test_problems_are_numbered_at_the_end(self):
        status, output, errors = self.run_tellar("doctor", OX_PLUGIN_PATH="/no/such:/nor/this")
        self.assertEqual((status, errors), (1, ""))
        self.assertEqual(output.splitlines()[-3:], [
            "problems",
            "    1.  plug-ins: /no/such is passed over: No such file or directory",
            "    2.  plug-ins: /nor/this is passed over: No such file or directory"])
        self.assertNotIn("No problems", output)

    def test_plugin_folders_are_in_the_order_searched(self):
        found = self.healthy(OX_PLUGIN_PATH=f"{self.folder}:{DELEGATES}")
        self.assertEqual(found["pluginFolders"],
                         [str(self.folder), DELEGATES, *self.installed_folders(found)])
        self.assertIn({"name": "sphere", "api": "ScenegraphLocationDelegatePlugin",
                       "apiVersion": 1, "file": f"{DELEGATES}/SphereDelegatePlugin.so"},
                      found["plugins"])
        self.assertEqual(found["environment"]["OX_PLUGIN_PATH"], f"{self.folder}:{DELEGATES}")

    def test_renderers_are_told_wherever_they_are(self):
        found = self.healthy(OX_PLUGIN_PATH=RENDERERS)
        self.assertEqual(found["pluginFolders"], [RENDERERS, *self.installed_folders(found)])
        self.assertEqual([plugin["file"] for plugin in found["plugins"]
                          if (plugin["api"], plugin["name"]) == ("RendererPlugin", "echo")],
                         [f"{RENDERERS}/EchoRenderer.so"])
        installed = {plugin["name"] for plugin in found["plugins"]
                     if plugin["file"].startswith(found["pluginFolders"][1])}
        if EXAMPLE_IS_BUILT:
            self.assertIn("example", installed)

    def test_plugins_that_are_refused_are_problems(self):
        file = self.write("broken.so", b"no library")
        found = self.ill(OX_PLUGIN_PATH=str(self.folder))
        self.assertEqual([refused["file"] for refused in found["refused"]], [file])
        reason = found["refused"][0]["reason"]
        self.assertIn("file too short", reason)
        self.assertEqual(found["problems"], [f"plug-ins: {file} is passed over: {reason}"])

    def test_op_types_with_faults_are_problems_and_scenes_without_them_work(self):
        file = str(self.folder / "faulty.so")
        shutil.copy(FAULTY_OP_TYPES, file)
        found = self.ill(OX_PLUGIN_PATH=str(self.folder))
        self.assertEqual({refused["file"] for refused in found["refused"]}, {file})
        self.assertEqual(found["problems"],
                         [f"plug-ins: {file} is passed over: {refused['reason']}"
                          for refused in found["refused"]])
        self.assertIn('plug-in "throwing type": getOpType threw: an exception without a text',
                      [refused["reason"] for refused in found["refused"]])
        types = [op["name"] for op in found["opTypes"]]
        self.assertEqual([name for name in types if name.startswith("Test")],
                         ["TestAsking", "TestFickle", "TestOfVersion1", "TestOfVersion3",
                          "TestSound"])
        self.assertIn("StaticScene", types)
        scene = os.path.join(self.examples, "materials.json")
        self.assertEqual(self.run_tellar("walk", scene, OX_PLUGIN_PATH=str(self.folder))[:2],
                         self.run_tellar("walk", scene)[:2])

    def test_a_library_that_is_loaded_from_two_files_is_a_problem(self):
        found = self.ill(OX_PLUGIN_PATH=SECOND_LIBRARY)
        files = [library["file"] for library in found["libraries"]
                 if library["name"] == "OxLoggingHost"]
        second = os.path.realpath(f"{SECOND_LIBRARY}/libOxLoggingHost.so")
        self.assertEqual(len(files), 2)
        self.assertIn(second, files)
        self.assertEqual(found["problems"], [
            f"OxLoggingHost is loaded twice, from {files[0]} and from {files[1]}",
            f"plug-ins: {SECOND_LIBRARY}/libOxLoggingHost.so is passed over: "
            "it exports no OxGetPluginCount"])
        versions = {library["file"]: library["version"] for library in found["libraries"]}
        self.assertIsNone(versions[second])

    def test_without_op_types_no_scene_can_be_opened(self):
        sdk = next(library["file"] for library in self.healthy()["libraries"]
                   if library["name"] == "OxTellarSDK")
        # Alone in a folder, it finds no plug-ins beside itself.
        moved = self.folder / SDK_SONAME
        shutil.copy(sdk, moved)
        paths = [str(self.folder), self.environment.get("LD_LIBRARY_PATH", "")]
        found = self.ill(LD_LIBRARY_PATH=":".join(path for path in paths if path))
        self.assertEqual(found["problems"],
                         ["there are no op types, so no scene can be opened"])
        self.assertEqual(found["opTypes"], [])
        version = SDK_SONAME.split(".so.")[1]
        self.assertIn({"name": "OxTellarSDK", "version": version, "file": str(moved.resolve())},
                      found["libraries"])

    def test_configuration_is_told_with_its_files_and_variables(self):
        show = self.write("show.json", {"ASSET_SEARCH_PATH": "/show/assets"})
        site = self.write("site.json", {"ASSET_SEARCH_PATH": "/site/assets", "other": 1})
        found = self.healthy(OX_CONFIG_FILE=f"{show}::{site}",
                             OX_CONFIG_OMBRA_TILE_FILENAME="@DEFAULT@")
        self.assertEqual(found["configurationFiles"], [show, site])
        self.assertEqual(found["configuration"], {"ASSET_SEARCH_PATH": "/show/assets",
                                                  "OMBRA_TILE_FILENAME": "@DEFAULT@"})
        self.assertEqual(found["environment"]["OX_CONFIG_FILE"], f"{show}::{site}")
        self.assertEqual(found["environment"]["OX_CONFIG_OMBRA_TILE_FILENAME"], "@DEFAULT@")

    def test_configuration_files_that_cannot_be_used_are_problems(self):
        site = self.write("site.json", {})
        broken = self.write("broken.json", '{"a": "1",\n "b" 2}')
        found = self.ill(OX_CONFIG_FILE=f"none.json:{site}:{broken}")
        self.assertEqual(found["configurationFiles"], [site])
        self.assertEqual(found["problems"], [
            'Configuration: Cannot read the configuration file "none.json": '
            "No such file or directory",
            f'Configuration: Configuration file "{broken}", line 2, column 6: '
            "Missing a colon after a name of object member."])

    def test_the_state_of_the_resolution_table_is_told(self):
        good = self.write("formats.json", {"strip": {"width": 1000, "height": 100}})
        found = self.healthy(OX_CONFIG_RESOLUTION_TABLE=good)
        self.assertEqual(found["resolutions"], {"count": 57, "file": good})
        bad = self.write("bad.json", '{"strip": {}}')
        found = self.ill(OX_CONFIG_RESOLUTION_TABLE=bad)
        self.assertEqual(found["resolutions"], {"count": 0, "file": bad})
        self.assertEqual(len(found["problems"]), 1)
        self.assertTrue(found["problems"][0].startswith(
            f'there is no resolution table: resolution table "{bad}"'), found["problems"])

    def test_reasons_are_told_whatever_is_logged(self):
        for level in ("off", "Configuration=off", "debug"):
            with self.subTest(level):
                self.assertEqual(
                    self.problems(OX_CONFIG_FILE="none.json", OX_LOG_LEVEL=level),
                    ['Configuration: Cannot read the configuration file "none.json": '
                     "No such file or directory"])

    def test_a_log_level_that_there_is_not_is_a_problem(self):
        self.assertEqual(self.problems(OX_LOG_LEVEL="wran"), [
            'OxLoggingHost: OX_LOG_LEVEL has the malformed entry "wran": '
            "levels are debug, info, warn, error and off"])

    def test_names_and_values_of_variables_may_hold_anything(self):
        name = 'OX_CONFIG_"odd"'
        found = self.healthy(**{name: "a\n\x1b[1mb"})
        self.assertEqual(found["environment"][name], "a\n\x1b[1mb")
        self.assertIn('    OX_CONFIG_"odd"  a\\x0a\\x1b[1mb\n',
                      self.tellar("doctor", **{name: "a\n\x1b[1mb"}))

    def test_the_home_folder_does_not_matter(self):
        self.assertEqual(self.tellar("doctor", HOME="/no/such"), self.tellar("doctor"))

    def test_wrong_usage_is_no_problem_of_the_installation(self):
        self.assert_fails_with("unknown", "doctor", "unknown")
        help_text = self.tellar("doctor", "--help")
        self.assertIn("The exit status is 0 when there is no problem, 1 when there are some.",
                      help_text)


class Delegates(TellarTest):
    def test_there_may_be_none(self):
        self.assertEqual(self.tellar("delegates"), "There are none.\n")
        self.assertEqual(self.tellar("delegates", "--renderer", "nobody",
                                     OX_PLUGIN_PATH=DELEGATES), "There are none.\n")
        self.assertEqual(json.loads(self.tellar("delegates", "--json")),
                         {"renderer": None, "delegates": []})

    def test_delegates_of_a_renderer_are_told_with_their_files(self):
        output = self.tellar("delegates", "--renderer", "lantern", OX_PLUGIN_PATH=DELEGATES)
        self.assertEqual([line.split() for line in output.splitlines()],
                         [[name, f"{DELEGATES}/SphereDelegatePlugin.so"]
                          for name in ("ball", "cone", "disk", "sphere", "torus")])

    def test_without_a_renderer_those_for_every_renderer_are_told(self):
        output = self.tellar("delegates", OX_PLUGIN_PATH=DELEGATES)
        self.assertEqual([line.split() for line in output.splitlines()],
                         [[name, f"{DELEGATES}/ForestDelegatePlugin.so"]
                          for name in ("pebble", "shrub", "sphere", "stone", "tree")])

    def test_json_names_the_plugins(self):
        found = json.loads(self.tellar("delegates", "--renderer", "lantern", "--json",
                                       OX_PLUGIN_PATH=DELEGATES))
        self.assertEqual(found["renderer"], "lantern")
        self.assertEqual({delegate["type"]: delegate["plugin"]
                          for delegate in found["delegates"]},
                         {"ball": "sphere", "cone": "without the rest", "disk": "late",
                          "sphere": "sphere", "torus": "without instance"})
        for delegate in found["delegates"]:
            self.assertEqual(delegate["file"], f"{DELEGATES}/SphereDelegatePlugin.so")

    def test_a_plugin_that_throws_is_an_error(self):
        self.assert_fails("a location delegate plug-in threw: no delegate yet", "delegates",
                          OX_PLUGIN_PATH=THROWING_DELEGATES)

    def test_wrong_usage_is_an_error(self):
        self.assert_fails_with("--renderer", "delegates", "--renderer")


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""tellar procedural: what a procedural is told.

    test_procedural.py PROGRAM EXAMPLES_FOLDER
"""

from tellar_test import TellarTest, main

FUR = "/root/world/fur"


def scene(procedural, settings=None, **attributes):
    """A location with a procedural, and a camera."""
    fur = {"rendererProcedural": procedural, **attributes}
    root = {"renderSettings": settings} if settings else {}
    return {"ops": [
        {"name": "scene", "type": "StaticScene",
         "args": {"a": root, "c": {"world": {"c": {"fur": {"a": fur}}}}}},
        {"name": "camera", "type": "Camera", "inputs": ["scene"],
         "args": {"fov": 40, "near": 0.5, "far": 100, "translate": [0, 1.5, 8]}}]}


class ProceduralTest(TellarTest):
    def test_prints_the_flags_of_a_command_line(self):
        path = self.write("s.json", scene({
            "args": {"radius": 2.5, "count": 3, "colour": [0.5, 0.25, 1], "look": "wet"},
            "systemArgs": {"verbose": 1}}))
        self.assertEqual(self.tellar("procedural", path, "--at", FUR),
                         " -radius 2.5 -count 3 -colour 0.5 0.25 1 -look wet -verbose 1"
                         " -frame 1 -shutter 0 0 -cropwindow 0 1 0 1\n")
        self.assertEqual(self.tellar("procedural", path, "--at", FUR, "--form", "classic"),
                         self.tellar("procedural", path, "--at", FUR))

    def test_prints_xml(self):
        path = self.write("s.json", scene({
            "args": {"radius": 2.5, "__note": "hidden", "look": "wet"}}))
        self.assertEqual(self.tellar("procedural", path, "--at", FUR, "--form", "attributes"), """\
<group inherit="false">
  <double name="radius">2.5</double>
  <string name="look"><v>wet</v></string>
  <float name="frame">1</float>
  <float name="shutter">0 0</float>
  <float name="cropwindow">0 1 0 1</float>
  <string name="ombraFullName"><v>/root/world/fur</v></string>
</group>
""")

    def test_the_frame_is_told_and_put_into_file_names(self):
        path = self.write("s.json", scene({"args": {"cache": "/c/fur.####.abc"}}))
        for frame, cache in (("12", "0012"), ("0", "0000"), ("-7", "-007")):
            with self.subTest(frame=frame):
                self.assertEqual(self.tellar("procedural", path, "--at", FUR, "--frame", frame),
                                 f" -cache /c/fur.{cache}.abc -frame {frame} -shutter 0 0"
                                 " -cropwindow 0 1 0 1\n")
        xml = self.tellar("procedural", path, "--at", FUR, "--form", "attributes", "--frame", 12)
        self.assertIn('<string name="cache"><v>/c/fur.0012.abc</v></string>', xml)
        self.assertIn('<float name="frame">12</float>', xml)

    def test_shutter_and_crop_window_are_those_of_the_scene(self):
        for settings in ({"shutterOpen": -0.25, "shutterClose": 1,
                          "cropWindow": [0.125, 0.5, 0, 1]},
                         {"shutterOpen": {"$type": "float", "values": [-0.25]},
                          "shutterClose": 1.0,
                          "cropWindow": {"$type": "float", "values": [0.125, 0.5, 0, 1]}}):
            with self.subTest(settings=settings):
                path = self.write("s.json", scene({}, settings))
                self.assertEqual(self.tellar("procedural", path, "--at", FUR),
                                 " -frame 1 -shutter -0.25 1 -cropwindow 0.125 0.5 0 1\n")
                xml = self.tellar("procedural", path, "--at", FUR, "--form", "attributes")
                self.assertIn('<float name="shutter">-0.25 1</float>', xml)
                self.assertIn('<float name="cropwindow">0.125 0.5 0 1</float>', xml)

    def test_camera_and_resolution_are_told_where_they_are_wanted(self):
        procedural = {"includeCameraInfo": "As Parameters"}
        path = self.write("s.json", scene(procedural, {"resolution": "hd_720"}))
        self.assertEqual(
            self.tellar("procedural", path, "--at", FUR),
            " -cameraInfo_path /root/world/cam/camera -cameraInfo_fov 40 -cameraInfo_near 0.5"
            " -cameraInfo_far 100 -cameraInfo_left -1 -cameraInfo_right 1 -cameraInfo_top 1"
            " -cameraInfo_bottom -1 -cameraInfo_xform 1 0 0 0 0 1 0 0 0 0 1 0 0 1.5 8 1"
            " -frame 1 -shutter 0 0 -cropwindow 0 1 0 1\n")
        xml = self.tellar("procedural", path, "--at", FUR, "--form", "attributes")
        self.assertIn('<string name="cameraInfo_path"><v>/root/world/cam/camera</v></string>', xml)
        self.assertIn('<int name="cameraInfo_xres">1280</int>', xml)
        self.assertIn('<int name="cameraInfo_yres">720</int>', xml)
        # Without one, a picture is 512 by 512.
        path = self.write("s.json", scene(procedural))
        xml = self.tellar("procedural", path, "--at", FUR, "--form", "attributes")
        self.assertIn('<int name="cameraInfo_xres">512</int>', xml)
        self.assertIn('<int name="cameraInfo_yres">512</int>', xml)

    def test_the_group_can_have_another_name(self):
        path = self.write("s.json", scene({"args": {"a": 1}}, other={"deep": {"args": {"b": 2}}}))
        self.assertEqual(self.tellar("procedural", path, "--at", FUR, "--attr", "other.deep"),
                         " -b 2 -frame 1 -shutter 0 0 -cropwindow 0 1 0 1\n")
        self.assertEqual(self.tellar("procedural", path, "--at", FUR, "--attr",
                                     "rendererProcedural"),
                         " -a 1 -frame 1 -shutter 0 0 -cropwindow 0 1 0 1\n")

    def test_references_that_cannot_be_resolved_are_warnings(self):
        path = self.write("s.json", scene({
            "args": {"a": "$TELLAR_UNSET/x", "extraArgs": "-y ${TELLAR_UNSET}"}}))
        status, output, errors = self.run_tellar("procedural", path, "--at", FUR)
        self.assertEqual(status, 0)
        self.assertEqual(output, " -a $TELLAR_UNSET/x -y ${TELLAR_UNSET}  -frame 1 -shutter 0 0"
                                 " -cropwindow 0 1 0 1\n")
        self.assertEqual(errors, "tellar: warning: asset resolve failed on  '$TELLAR_UNSET/x' "
                                 "when building an procedural call.\n"
                                 "tellar: warning: asset resolve failed on '-y ${TELLAR_UNSET}' "
                                 "when building an procedural.\n")
        xml = self.tellar("procedural", path, "--at", FUR, "--form", "attributes")
        self.assertIn('<string name="a"><v>$TELLAR_UNSET/x</v></string>', xml)
        self.assertIn(" -a /here/x ",
                      self.tellar("procedural", path, "--at", FUR, TELLAR_UNSET="/here"))

    def test_every_form_of_a_scene_will_do(self):
        path = self.write("s.json", scene({"args": {"a": 1}}, {"shutterClose": 0.5}))
        for name in ("s.oxop", "s.oxattr"):
            self.tellar("convert", path, name)
            self.assertEqual(self.tellar("procedural", name, "--at", FUR),
                             " -a 1 -frame 1 -shutter 0 0.5 -cropwindow 0 1 0 1\n")

    def test_a_location_without_the_group_is_named(self):
        path = self.write("s.json", scene({}, number=7))
        self.assert_fails(f'{path}: /root/world has no attribute "rendererProcedural"',
                          "procedural", path, "--at", "/root/world")
        self.assert_fails(f'{path}: {FUR} has no attribute "args"',
                          "procedural", path, "--at", FUR, "--attr", "args")
        self.assert_fails(f'{path}: {FUR} has no attribute ""',
                          "procedural", path, "--at", FUR, "--attr", "")
        self.assert_fails(f'{path}: {FUR}: the attribute "number" is no group',
                          "procedural", path, "--at", FUR, "--attr", "number")
        self.assert_fails(f'{path}: there is no location "/root/fur"',
                          "procedural", path, "--at", "/root/fur")

    def test_bad_options_are_named(self):
        path = self.write("s.json", scene({}))
        self.assert_fails('--at: "fur" is no absolute location path',
                          "procedural", path, "--at", "fur")
        self.assert_fails("--at is required", "procedural", path)
        self.assert_fails("--form: xml not in {classic,attributes}",
                          "procedural", path, "--at", FUR, "--form", "xml")
        for frame in ("1.5", "x", "3000000000"):
            with self.subTest(frame=frame):
                self.assert_fails(f"Could not convert: --frame = {frame}",
                                  "procedural", path, "--at", FUR, "--frame", frame)

    def test_bad_settings_of_the_scene_are_named(self):
        for setting, value, meaning in (
                ("shutterOpen", "fast", "one finite number"),
                ("shutterClose", [0, 1], "one finite number"),
                ("cropWindow", [0, 1, 0], "four finite numbers"),
                ("cropWindow", [0, 1, 0, 1e300], "four finite numbers"),
                ("cropWindow", "all", "four finite numbers")):
            with self.subTest(setting=setting, value=value):
                path = self.write("s.json", scene({}, {setting: value}))
                self.assert_fails(f'{path}: "renderSettings.{setting}" of /root must be {meaning}',
                                  "procedural", path, "--at", FUR)
        path = self.write("s.json", scene({}, {"resolution": "huge"}))
        self.assert_fails_with("resolution: 'huge'", "procedural", path, "--at", FUR)


if __name__ == "__main__":
    main()

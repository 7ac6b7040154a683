#!/usr/bin/env python3
"""tellar camera, compared with geometry worked out here.

    test_camera.py PROGRAM EXAMPLES_FOLDER
"""

import math

from camera_geometry import CAMERA, GeometryTest, IDENTITY, Scene, doubles, moved, product, single
from tellar_test import main


class CameraTest(GeometryTest):
    def test_prints_lens_resolution_matrices_and_samples(self):
        scene = self.scene(Scene().then("Camera", fov=90, near=1, far=101, translate=[0, 0.5, 10])
                           .then("RenderSettings", settings={"resolution": "hd_1080"}))
        self.assertEqual(self.tellar("camera", scene), """\
camera           /root/world/cam/camera
projection       perspective
fov              90
near             1
far              101
left             -1
right            1
top              1
bottom           -1
resolution       hd_1080, 1920 x 1080 pixels
aspect           1.7777778
shutter          0 to 0
sample times     0
shutter samples  0
camera to world
    1  0    0   0
    0  1    0   0
    0  0    1   0
    0  0.5  10  1
world to camera
    1  0     0    0
    0  1     0    0
    0  0     1    0
    0  -0.5  -10  1
projection
    1  0          0      0
    0  1.7777778  0      0
    0  0          -1.02  -1
    0  0          -2.02  0
camera to world, sample at 0
    1  0    0   0
    0  1    0   0
    0  0    1   0
    0  0.5  10  1
""")

    def test_prints_json(self):
        scene = self.scene(Scene().then("Camera", fov=90, near=0.1, far=101, left=-0.25,
                                        translate=[0, 0.5, 10]))
        camera = self.json("camera", scene)
        projection = camera.pop("projectionMatrix")
        self.assertEqual(camera, {
            "path": CAMERA, "projection": "perspective", "fov": 90, "near": 0.1, "far": 101,
            "left": -0.25, "right": 1, "top": 1, "bottom": -1,
            "resolution": {"name": "square_512", "width": 512, "height": 512, "aspect": 1},
            "frame": None,
            "cameraToWorld": moved(0, 0.5, 10), "worldToCamera": moved(0, -0.5, -10),
            "shutter": [0, 0], "sampleTimes": [0],
            "shutterSamples": [{"time": 0, "cameraToWorld": moved(0, 0.5, 10)}], "notes": []})
        # 1.25 wide and therefore 1.25 high; its middle is 0.375 to the right.
        self.assert_near(projection, [2 / 1.25, 0, 0, 0,
                                      0, 2 / 1.25, 0, 0,
                                      0.75 / 1.25, 0, -101.1 / 100.9, -1,
                                      0, 0, -2 * 101 * 0.1 / 100.9, 0])

    def test_of_the_garden(self):
        camera = self.json("camera", self.examples / "garden.json")
        self.assertEqual((camera["path"], camera["fov"], camera["near"], camera["far"]),
                         (CAMERA, 45, 0.1, 100000))
        self.assertEqual(camera["resolution"],
                         {"name": "square_512", "width": 512, "height": 512, "aspect": 1})
        c, s = math.cos(math.radians(-17)), math.sin(math.radians(-17))
        to_world = [1, 0, 0, 0, 0, c, s, 0, 0, -s, c, 0, 0.5, 8.5, 21, 1]
        self.assert_near(camera["cameraToWorld"], to_world, 1e-15)
        self.assert_near(product(to_world, camera["worldToCamera"]), IDENTITY, 1e-14)
        zoom = 1 / math.tan(math.radians(22.5))
        self.assert_near(camera["projectionMatrix"],
                         [zoom, 0, 0, 0, 0, zoom, 0, 0, 0, 0, -100000.1 / 99999.9, -1,
                          0, 0, -2 * 100000 * 0.1 / 99999.9, 0])
        [sample] = camera["shutterSamples"]
        self.assertEqual([single(number) for number in sample["cameraToWorld"]],
                         [single(number) for number in to_world])

    def test_another_camera_than_the_scenes_can_be_asked_for(self):
        scene = self.scene(Scene().then("Camera", fov=20)
                           .then("Camera", path="/root/witness", fov=30, translate=[1, 2, 3])
                           .then("Camera", path="/root/hero", fov=40)
                           .then("RenderSettings", settings={"cameraName": "/root/hero"}))
        self.assertEqual(self.json("camera", scene)["path"], "/root/hero")
        self.assertEqual(self.json("camera", scene)["fov"], 40)
        witness = self.json("camera", scene, "--camera", "/root/witness")
        self.assertEqual((witness["path"], witness["fov"]), ("/root/witness", 30))
        self.assertEqual(witness["cameraToWorld"], moved(1, 2, 3))

    def test_without_a_frame_samples_nearest_to_time_0_count(self):
        scene = self.scene(Scene()
                           .then("Camera", fov=doubles([-3, 1], [[20], [60]]))
                           .then("Transform", paths=["/root/world/cam"],
                                 translate=doubles([-2, 1, 3], [[0, 0, 0], [3, 0, 0], [5, 0, 0]])))
        camera = self.json("camera", scene)
        self.assertEqual(camera["fov"], 60)
        self.assertEqual(camera["cameraToWorld"], moved(3, 0, 0))
        self.assertEqual(camera["worldToCamera"], moved(-3, 0, 0))
        self.assertIsNone(camera["frame"])

    def test_lens_and_transform_of_a_frame_are_interpolated(self):
        scene = self.scene(Scene()
                           .then("Camera", fov=doubles([0, 4], [[40], [60]]), near=1, far=3,
                                 translate=[0, 0, 8])
                           .then("Transform", paths=["/root/world/cam"],
                                 translate=doubles([0, 2], [[0, 0, 0], [5, 0, 0]])))
        camera = self.json("camera", scene, "--frame", "1")
        self.assertEqual((camera["frame"], camera["fov"]), (1, 45))
        self.assertEqual(camera["cameraToWorld"], moved(2.5, 0, 8))
        self.assertEqual(camera["worldToCamera"], moved(-2.5, 0, -8))
        zoom = 1 / math.tan(math.radians(22.5))
        self.assert_near(camera["projectionMatrix"],
                         [zoom, 0, 0, 0, 0, zoom, 0, 0, 0, 0, -2, -1, 0, 0, -3, 0])
        # The samples are those that there are, whatever the frame.
        self.assertEqual(camera["shutter"], [1, 1])
        self.assertEqual(camera["shutterSamples"],
                         [{"time": 0, "cameraToWorld": moved(0, 0, 8)},
                          {"time": 2, "cameraToWorld": moved(5, 0, 8)}])
        text = self.tellar("camera", scene, "--frame", "1.5")
        self.assertIn("\nframe            1.5\nshutter          1.5 to 1.5\n"
                      "sample times     0, 2\nshutter samples  0, 2\n", text)
        self.assertIn("\nfov              47.5\n", text)
        self.assertIn("camera to world, sample at 2\n    1  0  0  0\n    0  1  0  0\n"
                      "    0  0  1  0\n    5  0  8  1\n", text)

    def test_before_the_first_and_after_the_last_sample_nothing_moves(self):
        scene = self.scene(Scene().then("Camera")
                           .then("Transform", paths=["/root/world/cam"],
                                 translate=doubles([0, 2], [[1, 0, 0], [5, 0, 0]])))
        for frame, x in (("-7", 1), ("-0.5", 1), ("1000", 5)):
            with self.subTest(frame=frame):
                camera = self.json("camera", scene, "--frame", frame)
                self.assertEqual(camera["cameraToWorld"], moved(x, 0, 0))

    def test_the_samples_that_a_shutter_needs(self):
        positions = {-1: 0, 0: 1, 1: 2, 2: 4, 3: 8}
        samples = [[x, 0, 0] for x in positions.values()]
        scene = self.scene(Scene().then("Camera")
                           .then("Transform", paths=["/root/world/cam"],
                                 translate=doubles(list(positions), samples)))
        for frame, shutter, interval, needed in (
                ("0", "0,0", [0, 0], [0]),
                ("0", "-0.5,0.5", [-0.5, 0.5], [-1, 0, 1]),
                ("1", "-0.5,0.5", [0.5, 1.5], [0, 1, 2]),
                ("1", "-.5,.5", [0.5, 1.5], [0, 1, 2]),
                ("1", "0,1", [1, 2], [1, 2]),
                ("1", "0.25,0.75", [1.25, 1.75], [1, 2]),
                ("0.5", "0.25,0.75", [0.75, 1.25], [0, 1, 2]),
                ("0", "0.5,2", [0.5, 2], [0, 1, 2]),
                ("-9", "0,0.5", [-9, -8.5], [-1]),
                ("9", "0,0.5", [9, 9.5], [3])):
            with self.subTest(frame=frame, shutter=shutter):
                camera = self.json("camera", scene, "--frame", frame, "--shutter", shutter)
                self.assertEqual(camera["shutter"], interval)
                self.assertEqual(camera["sampleTimes"], [-1, 0, 1, 2, 3])
                self.assertEqual(camera["shutterSamples"],
                                 [{"time": time, "cameraToWorld": moved(positions[time], 0, 0)}
                                  for time in needed])

    def test_the_shutter_is_that_of_the_scene_unless_one_is_given(self):
        for settings in ({"shutterOpen": -0.25, "shutterClose": 1},
                         {"shutterOpen": {"$type": "float", "values": [-0.25]},
                          "shutterClose": {"$type": "float", "values": [1]}}):
            with self.subTest(settings=settings):
                scene = self.scene(Scene(root={"renderSettings": settings}).then("Camera"))
                self.assertEqual(self.json("camera", scene)["shutter"], [-0.25, 1])
                self.assertEqual(self.json("camera", scene, "--frame", "8")["shutter"], [7.75, 9])
                self.assertEqual(self.json("camera", scene, "--shutter", "0.5,0.75")["shutter"],
                                 [0.5, 0.75])
        only_one = self.scene(Scene(root={"renderSettings": {"shutterClose": 0.5}}).then("Camera"))
        self.assertEqual(self.json("camera", only_one)["shutter"], [0, 0.5])

    def test_a_camera_without_any_transform_is_at_the_origin_and_has_no_samples(self):
        scene = self.scene(Scene().then("Camera"))
        camera = self.json("camera", scene)
        self.assertEqual((camera["cameraToWorld"], camera["worldToCamera"]), (IDENTITY, IDENTITY))
        self.assertEqual((camera["sampleTimes"], camera["shutterSamples"]), ([], []))
        self.assertEqual(self.json("camera", scene, "--frame", "3")["cameraToWorld"], IDENTITY)
        self.assertIn("\nsample times     none\nshutter samples  none\n",
                      self.tellar("camera", scene))

    def test_an_orthographic_camera_has_a_width(self):
        scene = self.scene(Scene().then("Camera", projection="orthographic", near=1, far=5,
                                        left=-1, right=3, bottom=-1, top=1,
                                        orthographicWidth=4, translate=[0, 0, 10]))
        camera = self.json("camera", scene)
        self.assertEqual((camera["projection"], camera["orthographicWidth"]), ("orthographic", 4))
        # From -2 to 6 and from -2 to 2; the middle of the first is 2.
        self.assertEqual(camera["projectionMatrix"],
                         [0.25, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, -0.5, 0, 0.5, 0, -1.5, 1])
        self.assertEqual(camera["notes"], [])
        self.assertIn("\nprojection         orthographic\n", self.tellar("camera", scene))
        self.assertIn("\northographicWidth  4\n", self.tellar("camera", scene))
        self.assertNotIn("orthographicWidth",
                         self.tellar("camera", self.scene(Scene().then("Camera"))))

    def test_the_width_of_a_frame_is_interpolated(self):
        scene = self.scene(Scene().then("Camera", projection="orthographic",
                                        orthographicWidth=doubles([0, 10], [[4], [24]])))
        self.assertEqual(self.json("camera", scene)["orthographicWidth"], 4)
        camera = self.json("camera", scene, "--frame", "2.5")
        self.assertEqual(camera["orthographicWidth"], 9)
        self.assert_near([camera["projectionMatrix"][0]], [2 / 9])

    def test_an_orthographic_camera_without_a_width_is_printed_with_a_note(self):
        scene = self.scene(Scene().then("Camera", projection="orthographic", near=1, far=5))
        note = ('the camera is orthographic, but its width is 0: its window has no extent '
                '("geometry.orthographicWidth" must be a double)')
        camera = self.json("camera", scene)
        self.assertEqual((camera["orthographicWidth"], camera["notes"]), (0, [note]))
        self.assertEqual(camera["projectionMatrix"],
                         [None, 0, 0, 0, 0, None, 0, 0, 0, 0, -0.5, 0, None, None, -1.5, 1])
        text = self.tellar("camera", scene)
        self.assertIn("\northographicWidth  0\n", text)
        self.assertIn("\n    inf  0    0     0\n    0    inf  0     0\n", text)
        self.assertIn("\n    nan  nan  -1.5  1\n", text)
        self.assertTrue(text.endswith(f"\nnote: {note}\n"), text)

    def test_a_transform_that_cannot_be_inverted_is_noted(self):
        scene = self.scene(Scene().then("Camera", scale=[1, 0, 1], translate=[0, 0, 4]))
        camera = self.json("camera", scene)
        self.assertEqual(camera["cameraToWorld"], [1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 4, 1])
        self.assertEqual(camera["worldToCamera"], IDENTITY)
        self.assertEqual(camera["notes"], ["the camera's transform cannot be inverted: world to "
                                           "camera counts as none"])

    def test_every_form_of_a_scene_will_do(self):
        scene = self.scene(Scene().then("Camera", fov=33, translate=[1, 2, 3]))
        expected = self.tellar("camera", scene)
        for name in ("scene.oxop", "scene.oxattr"):
            self.tellar("convert", scene, name)
            self.assertEqual(self.tellar("camera", name), expected)
        imported = self.json("camera", self.examples / "garden.gltf", "--camera",
                             "/root/world/garden/cameras/main_camera")
        self.assertEqual(imported["projection"], "perspective")
        self.assert_near(imported["cameraToWorld"][12:], [7.6, 6.4, 18.4, 1])

    def test_a_camera_that_is_not_there_is_named(self):
        scene = self.scene(Scene({"world": {}}))
        self.assert_fails(f'{scene}: camera "{CAMERA}": there is no such location',
                          "camera", scene)
        self.assert_fails(f'{scene}: camera "/root/x": there is no such location',
                          "camera", scene, "--camera", "/root/x")
        self.assert_fails(f'{scene}: camera "/root/wrld": there is no such location; did you mean '
                          '"/root/world"?', "camera", scene, "--camera", "/root/wrld")
        self.assert_fails(f'{scene}: camera "/root/world": the location is not a camera',
                          "camera", scene, "--camera", "/root/world/")
        self.assert_fails(f'{scene}: --camera "cam" matches no camera; there is none',
                          "camera", scene, "--camera", "cam")
        self.assert_fails('--camera: "" is no absolute location path',
                          "camera", scene, "--camera", "")

    def test_everything_that_a_camera_lacks_is_named(self):
        values = {name: 1.0 for name in ("fov", "near", "far", "left", "right", "top", "bottom")}
        for name in values:
            with self.subTest(name=name):
                some = {key: value for key, value in values.items() if key != name}
                scene = self.scene(Scene({"cam": {"a": {"geometry": some}}}))
                self.assert_fails(f'{scene}: camera "/root/cam": "geometry.{name}" is missing',
                                  "camera", scene, "--camera", "/root/cam")
        scene = self.scene(Scene({"cam": {"a": {"geometry": {
            **values, "near": 1, "far": {"$type": "float", "values": [9]}, "top": None}}}}))
        self.assert_fails(f'{scene}: camera "/root/cam": "geometry.near" is no double, '
                          '"geometry.far" is no double, "geometry.top" is no double',
                          "camera", scene, "--camera", "/root/cam")
        scene = self.scene(Scene({"cam": {"a": {"geometry": 5}}}))
        self.assert_fails(f'{scene}: camera "/root/cam": the location is not a camera',
                          "camera", scene, "--camera", "/root/cam")

    def test_bad_shutters_and_frames_are_named(self):
        scene = self.scene(Scene().then("Camera"))
        for text in ("1", "1,", ",1", "1,2,3", "a,b", "0,inf", "nan,0", "0 1", "0,1x", ""):
            with self.subTest(shutter=text):
                self.assert_fails(f'--shutter: "{text}" is not OPEN,CLOSE, such as -0.25,0.25',
                                  "camera", scene, "--shutter", text)
        self.assert_fails("--shutter: the shutter closes, at 0.25, before it opens, at 0.5",
                          "camera", scene, "--shutter", "0.5,0.25")
        for text in ("x", "1x", "nan", "inf", "1e99", ""):
            with self.subTest(frame=text):
                self.assert_fails(f'--frame: "{text}" is not a number',
                                  "camera", scene, "--frame", text)
        self.assert_fails_with("SCENE is required", "camera")
        self.assert_fails_with("not expected: /root --at", "camera", scene, "--at", "/root")

    def test_bad_settings_of_the_scene_are_named(self):
        for value in ("fast", [0, 1], {"$type": "double", "values": ["nan"]}, 1e300, {}):
            with self.subTest(value=value):
                scene = self.scene(Scene(root={"renderSettings": {"shutterOpen": value}})
                                   .then("Camera"))
                self.assert_fails(f'{scene}: "renderSettings.shutterOpen" of /root must be one '
                                  'finite number', "camera", scene)
        scene = self.scene(Scene(root={"renderSettings": {"shutterClose": "x"}}).then("Camera"))
        self.assert_fails(f'{scene}: "renderSettings.shutterClose" of /root must be one finite '
                          'number', "camera", scene)
        # One that is given makes that of the scene unimportant.
        self.assertEqual(self.json("camera", scene, "--shutter", "0,1")["shutter"], [0, 1])
        scene = self.scene(Scene(root={"renderSettings": {"shutterOpen": 0.5}}).then("Camera"))
        self.assert_fails(f"{scene}: the shutter closes, at 0, before it opens, at 0.5",
                          "camera", scene)
        scene = self.scene(Scene(root={"renderSettings": {"resolution": "huge"}}).then("Camera"))
        self.assert_fails_with("resolution: 'huge'", "camera", scene)


if __name__ == "__main__":
    main()

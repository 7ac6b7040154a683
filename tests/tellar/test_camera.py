#!/usr/bin/env python3
"""tellar camera and tellar project: what they say against geometry worked out here.

    test_camera.py PROGRAM EXAMPLES_FOLDER
"""

import json
import math
import struct

from tellar_test import TellarTest, main

CAMERA = "/root/world/cam/camera"
IDENTITY = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]


def moved(x, y, z):
    """The matrix of a translation, row by row, for row vectors."""
    return IDENTITY[:12] + [x, y, z, 1]


def product(first, second):
    return [sum(first[4 * row + k] * second[4 * k + column] for k in range(4))
            for row in range(4) for column in range(4)]


def transformed(point, matrix):
    """Of a matrix that is affine."""
    return [sum(value * matrix[4 * row + column] for row, value in enumerate([*point, 1]))
            for column in range(3)]


def doubles(times, samples):
    return {"$type": "double", "times": times, "samples": samples}


def single(number):
    """The float nearest to it."""
    return struct.unpack("f", struct.pack("f", number))[0]


def corners(bound):
    return [[x, y, z] for z in bound[4:6] for y in bound[2:4] for x in bound[0:2]]


class Scene:
    """A description that is put together op by op."""

    def __init__(self, locations=None, root=None):
        self.ops = [{"name": "scene", "type": "StaticScene",
                     "args": {"a": root or {}, "c": locations or {}}}]

    def then(self, op_type, **arguments):
        self.ops.append({"name": f"op{len(self.ops)}", "type": op_type,
                         "inputs": [self.ops[-1]["name"]], "args": arguments})
        return self

    def description(self):
        return {"ops": self.ops}


class View:
    """A camera that is only turned about x, and what it sees."""

    def __init__(self, position=(0, 0, 0), turn=0, fov=45, near=0.1, far=100000,
                 window=(-1, 1, -1, 1), width=None):
        angle = math.radians(turn)
        self.position = position
        self.up = [0, math.cos(angle), math.sin(angle)]
        self.back = [0, -math.sin(angle), math.cos(angle)]
        self.near, self.far = single(near), single(far)
        self.tangent = math.tan(math.radians(fov) / 2)
        self.orthographic = width is not None
        scale = width / 2 if self.orthographic else 1
        self.left, self.right, self.bottom, self.top = (edge * scale for edge in window)

    def seen(self, point):
        """Window units to the right and up, and the distance along the axis."""
        away = [a - b for a, b in zip(point, self.position)]
        up = sum(a * b for a, b in zip(away, self.up))
        depth = -sum(a * b for a, b in zip(away, self.back))
        if self.orthographic:
            return away[0], up, depth
        return away[0] / depth / self.tangent, up / depth / self.tangent, depth

    def ndc(self, point):
        x, y, depth = self.seen(point)
        return [(x - self.left) / (self.right - self.left),
                (y - self.bottom) / (self.top - self.bottom),
                (depth - self.near) / (self.far - self.near)]

    def pixel(self, point, width, height):
        """The window's height is fitted to the picture, around the same centre."""
        x, y, _ = self.seen(point)
        window_width, window_height = self.right - self.left, self.top - self.bottom
        fit = 1 if self.orthographic else window_width / window_height * height / width
        return [(x - self.left) / window_width * width,
                (y / fit - self.bottom) / window_height * height]

    def area(self, points, width, height):
        """Of the rectangle around points that are all in front of the camera."""
        ndc = [self.ndc(point) for point in points]
        share = 1
        for axis in (0, 1):
            low = max(min(point[axis] for point in ndc), 0)
            high = min(max(point[axis] for point in ndc), 1)
            share *= max(high - low, 0)
        return round(share * width * height)


class GeometryTest(TellarTest):
    def assert_near(self, actual, expected, tolerance=1e-6):
        self.assertEqual(len(actual), len(expected), actual)
        for a, b in zip(actual, expected):
            self.assertLessEqual(abs(a - b), tolerance * max(1, abs(b)), (actual, expected))

    def scene(self, scene, name="scene.json"):
        return self.write(name, scene.description())

    def json(self, *arguments, **environment):
        return json.loads(self.tellar(*arguments, "--json", **environment))


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
        self.assert_fails(f'{scene}: camera "/root/world": the location has no group "geometry"',
                          "camera", scene, "--camera", "/root/world")
        self.assert_fails('--camera: "world/cam" is no absolute location path',
                          "camera", scene, "--camera", "world/cam")
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
        self.assert_fails(f'{scene}: camera "/root/cam": the location has no group "geometry"',
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
                self.assert_fails(f'--frame: "{text}" is no number',
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


BOX = {"a": {"bound": [-1.0, 1, -1, 1, -1, 1], "xform.translate": [0.0, 0, -5]}}


class ProjectTest(GeometryTest):
    def assert_projected(self, projected, view, points, local_to_world=None):
        """Every number that is printed, for points in front of the camera."""
        width, height = projected["resolution"]["width"], projected["resolution"]["height"]
        world = [transformed(point, local_to_world or IDENTITY) for point in points]
        ndc = [view.ndc(point) for point in world]
        self.assertEqual(len(projected["points"]), len(points))
        for printed, local, expected, point in zip(projected["points"], points, ndc, world):
            self.assertEqual(printed["local"], local)
            self.assert_near(printed["ndc"], expected)
            self.assert_near(printed["pixel"], view.pixel(point, width, height), 1e-5)
        (x, y, z) = zip(*ndc)
        self.assert_near(projected["ndcRectangle"], [min(x), max(x), min(y), max(y)])
        self.assert_near(projected["depthRange"], [min(z), max(z)])
        if len(points) > 1:
            self.assertEqual(projected["pixelArea"], view.area(world, width, height))

    def test_prints_where_a_box_is(self):
        # Half of what the camera sees at distance 4 is 4, at distance 6 is 6: the front of the
        # box is a quarter of the picture wide, the back a sixth.
        scene = self.scene(Scene({"box": BOX}).then("Camera", fov=90, near=2, far=10))
        self.assertEqual(self.tellar("project", scene, "--at", "/root/box"), """\
location    /root/box
camera      /root/world/cam/camera
resolution  square_512, 512 x 512 pixels
NDC x       0.375 to 0.625
NDC y       0.375 to 0.625
depth       0.25 to 0.5
pixel area  16384
corners of the bound
    x   y   z   NDC x      NDC y      depth  pixel x   pixel y
    -1  -1  -1  0.4166667  0.4166667  0.5    213.3333  213.3333
    1   -1  -1  0.5833333  0.4166667  0.5    298.6667  213.3333
    -1  1   -1  0.4166667  0.5833333  0.5    213.3333  298.6667
    1   1   -1  0.5833333  0.5833333  0.5    298.6667  298.6667
    -1  -1  1   0.375      0.375      0.25   192       192
    1   -1  1   0.625      0.375      0.25   320       192
    -1  1   1   0.375      0.625      0.25   192       320
    1   1   1   0.625      0.625      0.25   320       320
""")

    def test_prints_json(self):
        scene = self.scene(Scene({"box": BOX}).then("Camera", fov=90, near=2, far=10))
        projected = self.json("project", scene, "--at", "/root/box")
        self.assertEqual(list(projected), ["path", "camera", "resolution", "ndcRectangle",
                                           "depthRange", "pixelArea", "points", "notes"])
        self.assertEqual((projected["path"], projected["camera"]), ("/root/box", CAMERA))
        self.assertEqual(projected["resolution"],
                         {"name": "square_512", "width": 512, "height": 512, "aspect": 1})
        self.assertEqual(projected["notes"], [])
        self.assertEqual(projected["pixelArea"], 128 * 128)
        self.assert_projected(projected, View(fov=90, near=2, far=10),
                              corners([-1, 1, -1, 1, -1, 1]), moved(0, 0, -5))

    def test_of_the_garden(self):
        garden = self.examples / "garden.json"
        view = View(position=(0.5, 8.5, 21), turn=-17)
        for name in ("fountain", "pond", "pavilion/lantern", "windmill"):
            at = f"/root/world/garden/{name}"
            location = self.json("walk", garden, "--at", at, "--depth", 0, "--attrs=bound",
                                 "--xform")
            for resolution in ("square_512", "hd_1080", "super35_2k"):
                with self.subTest(name=name, resolution=resolution):
                    projected = self.json("project", garden, "--at", at,
                                          "--resolution", resolution)
                    self.assertEqual(projected["resolution"]["name"], resolution)
                    self.assert_projected(projected, view, corners(location["attrs"]["bound"]),
                                          location["xform"])

    def test_a_window_that_is_not_in_the_middle(self):
        scene = self.scene(Scene({"box": BOX})
                           .then("Camera", fov=60, near=1, far=20, left=-0.5, right=1,
                                 bottom=-0.25, top=0.75, translate=[0.25, -0.5, 1])
                           .then("RenderSettings", settings={"resolution": "hd_1080"}))
        projected = self.json("project", scene, "--at", "/root/box")
        view = View(position=(0.25, -0.5, 1), fov=60, near=1, far=20,
                    window=(-0.5, 1, -0.25, 0.75))
        self.assert_projected(projected, view, corners([-1, 1, -1, 1, -1, 1]), moved(0, 0, -5))

    def test_through_an_orthographic_camera(self):
        scene = self.scene(Scene({"box": BOX})
                           .then("Camera", projection="orthographic", near=1, far=9,
                                 orthographicWidth=10, translate=[0.5, 1, 0]))
        projected = self.json("project", scene, "--at", "/root/box")
        # Ten units on 512 pixels both ways.
        self.assertEqual(projected["pixelArea"], round(0.2 * 0.2 * 512 * 512))
        view = View(position=(0.5, 1, 0), near=1, far=9, width=10)
        self.assert_projected(projected, view, corners([-1, 1, -1, 1, -1, 1]), moved(0, 0, -5))

    def test_nothing_is_behind_an_orthographic_camera(self):
        scene = self.scene(Scene({"box": BOX})
                           .then("Camera", projection="orthographic", near=1, far=9,
                                 orthographicWidth=10, translate=[0, 0, -20]))
        projected = self.json("project", scene, "--at", "/root/box")
        self.assertEqual(projected["notes"], [])
        self.assert_near(projected["depthRange"], [(-16 - 1) / 8, (-14 - 1) / 8])
        self.assert_near(projected["points"][0]["pixel"], [0.4 * 512, 0.4 * 512])

    def test_an_orthographic_camera_without_a_width_shows_nothing(self):
        scene = self.scene(Scene({"box": BOX}).then("Camera", projection="orthographic"))
        projected = self.json("project", scene, "--at", "/root/box")
        self.assertIsNone(projected["points"][0]["ndc"][0])
        self.assertEqual(projected["pixelArea"], 0)
        [note] = projected["notes"]
        self.assertIn("its width is 0", note)

    def test_a_moving_camera_is_where_it_is_at_time_0(self):
        scene = self.scene(Scene({"box": BOX}).then("Camera", fov=90, near=2, far=10)
                           .then("Transform", paths=["/root/world/cam"],
                                 translate=doubles([0, 1], [[2, 0, 0], [50, 0, 0]])))
        projected = self.json("project", scene, "--at", "/root/box")
        self.assert_projected(projected, View(position=(2, 0, 0), fov=90, near=2, far=10),
                              corners([-1, 1, -1, 1, -1, 1]), moved(0, 0, -5))

    def test_corners_behind_the_camera_are_said_to_be_there(self):
        # The camera is in the middle of the right side of the box: of its view, the box covers
        # the left half.
        scene = self.scene(Scene({"box": BOX}).then("Camera", fov=90, translate=[1, 0, -5]))
        projected = self.json("project", scene, "--at", "/root/box")
        behind = [point for point in projected["points"] if point["local"][2] == 1]
        front = [point for point in projected["points"] if point["local"][2] == -1]
        self.assertEqual([point["pixel"] for point in behind], [None] * 4)
        self.assert_near(front[0]["pixel"], [-256, 0], 1e-4)
        self.assert_near(front[3]["pixel"], [256, 512], 1e-4)
        self.assert_near(projected["ndcRectangle"], [-0.5, 0.5, 0, 1])
        far, near = 100000 - single(0.1), single(0.1)
        self.assert_near(projected["depthRange"], [(-1 - near) / far, (1 - near) / far], 1e-9)
        self.assertEqual(projected["pixelArea"], 256 * 512)
        self.assertEqual(projected["notes"], ["4 of 8 corners are behind the camera; the NDC "
                                              "rectangle is around the others"])
        text = self.tellar("project", scene, "--at", "/root/box")
        self.assertEqual(text.count("  behind the camera\n"), 4)
        self.assertTrue(text.endswith("\nnote: 4 of 8 corners are behind the camera; the NDC "
                                      "rectangle is around the others\n"), text)

    def test_what_is_behind_the_camera_as_a_whole_has_no_rectangle(self):
        scene = self.scene(Scene({"box": BOX, "point": {}}).then("Camera", translate=[0, 0, -20]))
        projected = self.json("project", scene, "--at", "/root/box")
        self.assertIsNone(projected["ndcRectangle"])
        self.assertEqual(projected["pixelArea"], 0)
        self.assertEqual(projected["notes"], ["all corners are behind the camera"])
        text = self.tellar("project", scene, "--at", "/root/box")
        self.assertIn("\nNDC x       none\nNDC y       none\ndepth ", text)
        projected = self.json("project", scene, "--at", "/root/point")
        self.assertIsNone(projected["points"][0]["pixel"])
        self.assertEqual(projected["notes"][1], "the origin is behind the camera")

    def test_what_is_beside_the_camera_counts_as_behind_it(self):
        scene = self.scene(Scene({"point": {"a": {"xform.translate": [3.0, 0, 0]}}})
                           .then("Camera"))
        projected = self.json("project", scene, "--at", "/root/point")
        self.assertIsNone(projected["points"][0]["pixel"])
        self.assertEqual(projected["notes"][1], "the origin is behind the camera")

    def test_of_a_location_without_bound_the_origin_is_projected(self):
        scene = self.scene(Scene({"point": {"a": {"xform.translate": [1.0, 2, -4]}}})
                           .then("Camera", fov=90, near=2, far=10))
        note = 'the location has no "bound": its origin alone is projected, and has no area'
        self.assertEqual(self.tellar("project", scene, "--at", "/root/point"), f"""\
location    /root/point
camera      /root/world/cam/camera
resolution  square_512, 512 x 512 pixels
NDC x       0.625 to 0.625
NDC y       0.75 to 0.75
depth       0.25 to 0.25
origin
    x  y  z  NDC x  NDC y  depth  pixel x  pixel y
    0  0  0  0.625  0.75   0.25   320      384
note: {note}
""")
        projected = self.json("project", scene, "--at", "/root/point")
        self.assertIsNone(projected["pixelArea"])
        self.assertEqual(projected["notes"], [note])
        self.assert_projected(projected, View(fov=90, near=2, far=10), [[0, 0, 0]],
                              moved(1, 2, -4))

    def test_a_bound_that_is_not_six_doubles_is_none(self):
        for bound in ([-1, 1, -1, 1, -1, 1], [0.0, 1, 2], "big", {"x": 1.0}):
            with self.subTest(bound=bound):
                scene = self.scene(Scene({"x": {"a": {"bound": bound}}}).then("Camera"))
                projected = self.json("project", scene, "--at", "/root/x")
                self.assertEqual((len(projected["points"]), projected["pixelArea"]), (1, None))
                self.assertEqual(projected["notes"][0], '"bound" is not six doubles: its origin '
                                 'alone is projected, and has no area')

    def test_the_root_has_a_place_too(self):
        scene = self.scene(Scene().then("Camera", fov=90, translate=[0, 0, 10]))
        for at in ("/root", "/root/world"):
            projected = self.json("project", scene, "--at", at)
            self.assertEqual(projected["path"], at)
            self.assert_near(projected["points"][0]["pixel"], [256, 256])

    def test_camera_and_resolution_can_be_others_than_the_scenes(self):
        scene = (Scene({"box": BOX})
                 .then("Camera", fov=90, near=2, far=10)
                 .then("Camera", path="/root/witness", fov=90, near=1, far=3,
                       translate=[0, 1, 0])
                 .then("RenderSettings", settings={"cameraName": "/root/witness",
                                                   "resolution": "hd_720"}))
        # The op that is added finds a name of its own.
        scene.ops[-1]["name"] = "command line"
        path = self.scene(scene)
        box, place = corners([-1, 1, -1, 1, -1, 1]), moved(0, 0, -5)
        hero, witness = View(fov=90, near=2, far=10), View((0, 1, 0), fov=90, near=1, far=3)
        self.tellar("convert", path, "scene.oxop")
        self.tellar("convert", path, "scene.oxattr")
        for name in (path, "scene.oxop", "scene.oxattr"):
            for options, view, resolution in (
                    ([], witness, "hd_720"),
                    (["--camera", CAMERA], hero, "hd_720"),
                    (["--resolution", "square_256"], witness, "square_256"),
                    (["--camera", CAMERA, "--resolution", "super35_2k"], hero, "super35_2k")):
                with self.subTest(name=name, options=options):
                    projected = self.json("project", name, "--at", "/root/box", *options)
                    self.assertEqual(projected["camera"],
                                     CAMERA if view is hero else "/root/witness")
                    self.assertEqual(projected["resolution"]["name"], resolution)
                    self.assert_projected(projected, view, box, place)

    def test_a_scene_file_has_no_render_settings_but_can_be_given_some(self):
        projected = self.json("project", self.examples / "garden.gltf", "--at",
                              "/root/world/garden/fountain", "--resolution", "hd_540",
                              "--camera", "/root/world/garden/cameras/main_camera")
        self.assertEqual(projected["resolution"],
                         {"name": "hd_540", "width": 960, "height": 540, "aspect": 1.7777778})
        self.assertGreater(projected["pixelArea"], 0)

    def test_resolutions_of_the_users_own_are_known(self):
        table = self.write("formats.json", {"strip": {"width": 1000, "height": 100}})
        scene = self.scene(Scene({"box": BOX}).then("Camera", fov=90, near=2, far=10))
        projected = self.json("project", scene, "--at", "/root/box", "--resolution", "strip",
                              OX_CONFIG_RESOLUTION_TABLE=table)
        self.assertEqual(projected["resolution"],
                         {"name": "strip", "width": 1000, "height": 100, "aspect": 10})
        self.assert_projected(projected, View(fov=90, near=2, far=10),
                              corners([-1, 1, -1, 1, -1, 1]), moved(0, 0, -5))

    def test_what_cannot_be_projected_is_named(self):
        scene = self.scene(Scene({"box": BOX}).then("Camera"))
        self.assert_fails(f'{scene}: there is no location "/root/bix"',
                          "project", scene, "--at", "/root/bix")
        self.assert_fails('--at: "box" is no absolute location path',
                          "project", scene, "--at", "box")
        self.assert_fails("--at is required", "project", scene)
        self.assert_fails("no.json: No such file or directory",
                          "project", "no.json", "--at", "/root")
        self.assert_fails(f'{scene}: camera "/root/box": the location has no group "geometry"',
                          "project", scene, "--at", "/root/box", "--camera", "/root/box")
        self.assert_fails(f'{scene}: camera "/root/cam": there is no such location',
                          "project", scene, "--at", "/root/box", "--camera", "/root/cam")
        self.assert_fails('--camera: "cam" is no absolute location path',
                          "project", scene, "--at", "/root/box", "--camera", "cam")

    def test_resolutions_that_are_not_there_are_named(self):
        scene = self.scene(Scene({"box": BOX}).then("Camera"))
        self.assert_fails_with("--resolution: no resolution is named 'HD1080'; did you mean "
                               "'hd_1080'", "project", scene, "--at", "/root/box",
                               "--resolution", "HD1080")
        self.assert_fails_with("--resolution: no resolution is named ''",
                               "project", scene, "--at", "/root/box", "--resolution", "")
        table = self.write("bad.json", '{"strip": {}}')
        self.assert_fails_with("bad.json", "project", scene, "--at", "/root/box", "--resolution",
                               "strip", OX_CONFIG_RESOLUTION_TABLE=table)
        bad = self.scene(Scene(root={"renderSettings": {"resolution": "huge"}}).then("Camera"))
        self.assert_fails_with("resolution: 'huge'", "project", bad, "--at", "/root")
        # One that is given makes that of the scene unimportant.
        self.assertEqual(self.json("project", bad, "--at", "/root", "--resolution",
                                   "hd_720")["resolution"]["width"], 1280)


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""tellar project, compared with geometry worked out here.

    test_project.py PROGRAM EXAMPLES_FOLDER
"""

from camera_geometry import (CAMERA, GeometryTest, IDENTITY, Scene, View, corners, doubles, moved,
                             single, transformed)
from tellar_test import main

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
        self.assert_fails(f'{scene}: there is no location "/root/bix"; did you mean '
                          '"/root/box"?',
                          "project", scene, "--at", "/root/bix")
        self.assert_fails('--at: "box" is no absolute location path',
                          "project", scene, "--at", "box")
        self.assert_fails("--at is required", "project", scene)
        self.assert_fails("no.json: No such file or directory",
                          "project", "no.json", "--at", "/root")
        self.assert_fails(f'{scene}: camera "/root/box": the location is not a camera',
                          "project", scene, "--at", "/root/box", "--camera", "/root/box")
        self.assert_fails(f'{scene}: camera "/root/cam": there is no such location',
                          "project", scene, "--at", "/root/box", "--camera", "/root/cam")
        self.assert_fails(f'{scene}: --camera "cam" matches no camera; there is '
                          '"/root/world/cam/camera"',
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

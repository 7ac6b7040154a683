#!/usr/bin/env python3
"""tellar render on scenes without a camera, lights or a size.

    test_render_model.py PROGRAM EXAMPLES_FOLDER

TELLAR_TEST_RENDERERS in the environment names the folder of the renderer "echo".
"""

import math
import os
import subprocess
from pathlib import Path

from tellar_test import TellarTest, main

RENDERERS = os.environ["TELLAR_TEST_RENDERERS"]

BOX = """\
v -1 0 -2
v 1 0 -2
v 1 3 -2
v -1 3 -2
v -1 0 2
v 1 0 2
v 1 3 2
v -1 3 2
f 1 4 3 2
f 5 6 7 8
f 1 2 6 5
f 4 8 7 3
f 2 3 7 6
f 1 5 8 4
"""
CORNERS = [(x, y, z) for x in (-1, 1) for y in (0, 3) for z in (-2, 2)]
FRAMED = "the whole of it is framed"
LIT = "a studio lights it"


def gltf(nodes, cameras):
    """A glTF file of nodes without meshes."""
    document = {"asset": {"version": "2.0"}, "scene": 0, "nodes": nodes,
                "scenes": [{"nodes": list(range(len(nodes)))}], "cameras": list(cameras)}
    return document


def perspective(aspect):
    return {"type": "perspective",
            "perspective": {"yfov": 0.7, "znear": 0.1, "zfar": 100.0, "aspectRatio": aspect}}


class ModelTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.environment["OX_PLUGIN_PATH"] = RENDERERS
        self.box = self.write("box.obj", BOX)

    def render(self, scene, *options):
        """What the renderer was asked for, by name, and what the user was told."""
        status, output, errors = self.run_tellar("render", scene, "-o", "out.txt", "--renderer",
                                                 "echo", *options, TELLAR_TEST_ECHO="view")
        self.assertEqual((status, output), (0, "out.txt\n"), errors)
        lines = (self.folder / "out.txt").read_text().splitlines()
        return dict(line.split(" ", 1) for line in lines), errors

    def numbers(self, text):
        return [float(number) for number in text.split()]


class Framing(ModelTest):
    def projected(self, asked, point):
        """A point on the picture, from -1 to 1 both ways, and its distance from the camera."""
        matrix = self.numbers(asked["cameraToWorld"])
        away = [value - place for value, place in zip(point, matrix[12:15])]
        x, y, z = (sum(a * b for a, b in zip(away, matrix[4 * row:4 * row + 3]))
                   for row in range(3))
        slope = math.tan(math.radians(float(asked["fov"]) / 2))
        left, right, bottom, top = self.numbers(asked["window"])
        return x / (-z * slope * right), y / (-z * slope * top), -z

    def assert_just_fits(self, asked, points):
        places = [self.projected(asked, point) for point in points]
        across = max(abs(x) for x, _, _ in places)
        along = max(abs(y) for _, y, _ in places)
        self.assertLess(max(across, along), 0.95)
        self.assertGreater(max(across, along), 0.8)
        near, far = self.numbers(asked["clip"])
        self.assertGreater(min(z for _, _, z in places), near)
        self.assertLess(max(z for _, _, z in places), far)

    def test_a_model_fits_into_pictures_of_every_shape(self):
        for size in ("512x512", "640x200", "200x640"):
            with self.subTest(size):
                asked, errors = self.render(self.box, "--size", size)
                self.assert_just_fits(asked, CORNERS)
                width, height = size.split("x")
                left, right, bottom, top = self.numbers(asked["window"])
                self.assertAlmostEqual((right - left) / (top - bottom),
                                       int(width) / int(height), 4)
        self.assertEqual(errors, f"tellar: info: {self.box} has no camera and no light: "
                                 f"{FRAMED} and {LIT}\n")

    def test_it_is_seen_from_the_front_the_right_and_above(self):
        asked, _ = self.render(self.box)
        self.assertEqual(asked["size"], "512 512")
        self.assertTrue(35 <= float(asked["fov"]) <= 40)
        nearest = min(CORNERS, key=lambda corner: self.projected(asked, corner)[2])
        self.assertEqual(nearest, (1, 3, 2))

    def test_tiny_huge_and_distant_models_are_framed_too(self):
        for scale, offset in ((1e-6, 0), (1e6, 0), (1, 1e4)):
            with self.subTest(scale=scale, offset=offset):
                corners = [tuple(scale * value + offset for value in corner)
                           for corner in CORNERS]
                points = [[scale * x + offset, scale * y + offset, scale * z + offset]
                          for x, y, z in CORNERS]
                asked, _ = self.render(self.points("points.json", points))
                self.assert_just_fits(asked, corners)

    def test_a_single_point_is_framed(self):
        asked, _ = self.render(self.points("point.json", [[4, 5, 6]]))
        x, y, depth = self.projected(asked, (4, 5, 6))
        self.assertLess(max(abs(x), abs(y)), 1e-3)
        self.assertTrue(0.02 < depth < 0.2, "the camera is outside a small ball around it")

    def points(self, name, points, **more):
        position = {"$type": "float", "values": points}
        cloud = {"type": "pointcloud", "geometry": {"point": {"P": position}}, **more}
        return self.write(name, {"ops": [{"name": "scene", "type": "StaticScene",
                                          "args": {"c": {"cloud": {"a": cloud}}}}]})

    def test_transforms_count_and_hidden_shapes_do_not(self):
        moved = {"matrix": [2.0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 10, 20, 30, 1]}
        corners = [list(corner) for corner in CORNERS]
        asked, _ = self.render(self.points("moved.json", corners, xform=moved))
        self.assert_just_fits(asked, [(2 * x + 10, 2 * y + 20, 2 * z + 30)
                                      for x, y, z in CORNERS])
        hidden = self.points("hidden.json", corners, visible=0)
        self.assert_fails(f"{hidden}: there is no camera, and nothing to look at",
                          "render", hidden, "-o", "out.txt", "--renderer", "echo")

    def test_the_widths_of_points_and_curves_count(self):
        poles = [(3, 0, 0), (-3, 0, 0), (0, 3, 0), (0, -3, 0), (0, 0, 3), (0, 0, -3)]
        position = {"$type": "float", "values": [[0, 0, 0], [0, 0.1, 0]]}
        for shape, widths in (("pointcloud", {"point.width": [1.0, 6.0]}),
                              ("curves", {"constantWidth": 6.0})):
            with self.subTest(shape):
                thing = {"type": shape, "geometry": {"point.P": position, **widths}}
                scene = self.write("wide.json", {"ops": [{
                    "name": "scene", "type": "StaticScene",
                    "args": {"c": {"thing": {"a": thing}}}}]})
                asked, _ = self.render(scene)
                self.assert_just_fits(asked, poles)

    def test_moving_shapes_are_framed_where_they_are_at_the_frame(self):
        moving = {"translate": {"$type": "double", "times": [0, 10],
                                "samples": [[0, 0, 0], [100, 0, 0]]}}
        scene = self.points("moving.json", [list(corner) for corner in CORNERS], xform=moving)
        asked, _ = self.render(scene, "--frame", "5")
        self.assert_just_fits(asked, [(x + 50, y, z) for x, y, z in CORNERS])

    def test_a_scene_without_shapes_is_an_error(self):
        empty = self.write("empty.json", {"ops": [{"name": "scene", "type": "StaticScene"}]})
        self.assert_fails(f"{empty}: there is no camera, and nothing to look at",
                          "render", empty, "-o", "out.txt", "--renderer", "echo")


class Cameras(ModelTest):
    def model(self, *cameras):
        nodes = [{"name": f"eye{index}", "camera": index} for index in range(len(cameras))]
        return self.write("model.gltf", gltf(nodes, cameras))

    def test_the_camera_of_a_model_is_used_in_its_shape(self):
        model = self.model(perspective(2.0))
        asked, errors = self.render(model)
        self.assertTrue(asked["camera"].endswith("/eye0"), asked["camera"])
        self.assertEqual(asked["size"], "1024 512")
        self.assertIn(f"{model}: it is seen by its first camera, {asked['camera']}", errors)

    def test_its_window_grows_with_the_picture(self):
        whole = self.numbers(self.render(self.model(perspective(2.0)))[0]["window"])
        wide = self.numbers(self.render(self.model(perspective(2.0)), "--size", "800x200")
                            [0]["window"])
        high = self.numbers(self.render(self.model(perspective(2.0)), "--size", "400x400")
                            [0]["window"])
        for window, across, along in ((wide, 2, 1), (high, 1, 2)):
            for index, scale in enumerate((across, across, along, along)):
                self.assertAlmostEqual(window[index], scale * whole[index], 5)

    def test_the_first_of_several_is_used_and_others_by_pattern(self):
        model = self.model(perspective(1.0), perspective(1.0))
        asked, errors = self.render(model)
        self.assertIn("it is seen by its first camera, " + asked["camera"], errors)
        for wanted in ("eye1", "*1", "/root/**/eye1", "eye[1-9]"):
            with self.subTest(wanted):
                asked, errors = self.render(model, "--camera", wanted)
                self.assertTrue(asked["camera"].endswith("/eye1"), asked["camera"])

    def test_patterns_that_match_several_cameras_or_none_list_them(self):
        model = self.model(perspective(1.0), perspective(1.0))
        world = self.render(model)[0]["camera"].rsplit("/", 1)[0]
        both = f'"{world}/eye0" and "{world}/eye1"'
        arguments = ["render", model, "-o", "out.txt", "--renderer", "echo", "--camera"]
        self.assert_fails(f'{model}: --camera "eye*" matches 2 cameras: {both}',
                          *arguments, "eye*")
        self.assert_fails(f'{model}: --camera "ear*" matches no camera; there are {both}',
                          *arguments, "ear*")
        self.assert_fails_with("--camera: ", *arguments, "eye[")

    def test_a_camera_that_is_none_is_called_that(self):
        arguments = ["render", self.box, "-o", "out.txt", "--renderer", "echo", "--camera"]
        self.assert_fails(f'{self.box}: camera "/root/world": the location is not a camera, but of '
                          'type "group"', *arguments, "/root/world/")
        self.assert_fails(f'{self.box}: camera "/root/wrld": there is no such location; did you '
                          'mean "/root/world"?', *arguments, "/root/wrld")


class Lights(ModelTest):
    def test_light_is_brought_where_it_is_wanted(self):
        lens = {"fov": 45.0, "near": 0.1, "far": 100.0, "left": -1.0, "right": 1.0, "top": 1.0,
                "bottom": -1.0}
        children = {"world": {"c": {"cam": {"c": {"camera": {
            "a": {"type": "camera", "geometry": lens}}}}}},
            "ball": {"a": {"type": "sphere"}}}
        described = self.write("described.json", {"ops": [
            {"name": "scene", "type": "StaticScene", "args": {"c": children}}]})
        for scene, options, is_lit in ((self.box, [], True), (self.box, ["--light", "scene"], False),
                                       (described, [], False),
                                       (described, ["--light", "studio"], True)):
            with self.subTest(scene=scene, options=options):
                self.assertEqual(LIT in self.render(scene, *options)[1], is_lit)

    def test_a_scene_with_lights_keeps_them(self):
        lamp = {"type": "light", "light": {"type": "point"}}
        scene = self.write("lamp.json", {"ops": [{"name": "scene", "type": "StaticScene", "args": {
            "c": {"lamp": {"a": lamp}, "ball": {"a": {"type": "sphere"}}}}}]})
        self.assertEqual(self.render(scene)[1],
                         f"tellar: info: {scene} has no camera: {FRAMED}\n")

    def test_a_light_behind_the_first_camera_is_found_too(self):
        scene = self.write("both.json", {"ops": [
            {"name": "eye", "type": "Camera", "args": {"path": "/root/eye"}},
            {"name": "rest", "type": "StaticScene", "args": {"c": {
                "lamp": {"a": {"type": "light", "light": {"type": "point"}}},
                "ball": {"a": {"type": "sphere"}}}}},
            {"name": "all", "type": "Merge", "inputs": ["eye", "rest"]}]})
        self.assertEqual(self.render(scene)[1],
                         f"tellar: info: {scene}: it is seen by its first camera, /root/eye\n")

    def test_the_studio_stays_apart_from_locations_of_its_name(self):
        scene = self.write("own.json", {"ops": [{"name": "scene", "type": "StaticScene", "args": {
            "c": {"studio": {"a": {"type": "sphere"}}}}}]})
        self.assertEqual(self.render(scene)[0]["camera"], "/root/studio_/camera")


class Frames(ModelTest):
    def frames(self, *options, picture="out.####.txt"):
        return self.run_tellar("render", self.box, "-o", picture, "--renderer", "echo", *options)

    def test_each_frame_has_its_picture(self):
        for frames, picture, names in (
                ("1:3", "out.####.txt", ["out.0001.txt", "out.0002.txt", "out.0003.txt"]),
                ("8:12:2", "out.%03d.txt", ["out.008.txt", "out.010.txt", "out.012.txt"]),
                ("2:-1:-2", "%d_##.txt", ["%d_02.txt", "%d_00.txt"]),
                ("-1:-1", "a%d.txt", ["a-1.txt"]),
                ("7:7", "plain.txt", ["plain.txt"])):
            with self.subTest(frames=frames):
                status, output, _ = self.frames("--frames", frames, picture=picture)
                self.assertEqual((status, output.splitlines()), (0, names))
        self.assertIn("frame 12\n", (self.folder / "out.012.txt").read_text())

    def test_all_frames_have_one_camera(self):
        moving = {"translate": {"$type": "double", "times": [0, 10],
                                "samples": [[0, 0, 0], [100, 0, 0]]}}
        ball = {"type": "sphere", "xform": moving}
        scene = self.write("ball.json", {"ops": [{"name": "scene", "type": "StaticScene",
                                                  "args": {"c": {"ball": {"a": ball}}}}]})
        self.run_tellar("render", scene, "-o", "out.##.txt", "--renderer", "echo",
                        "--frames", "0:10:5", TELLAR_TEST_ECHO="view")
        views = {[line for line in (self.folder / f"out.{frame}.txt").read_text().splitlines()
                  if line.startswith("cameraToWorld")][0] for frame in ("00", "05", "10")}
        self.assertEqual(len(views), 1)

    def test_a_single_frame_fills_the_place_too(self):
        self.assertEqual(self.frames("--frame", "12")[1], "out.0012.txt\n")
        self.assertEqual(self.frames()[1], "out.####.txt\n")
        self.assertIn('"out.####.txt" has a place for the number of a frame, and 1.5 is no whole',
                      self.frames("--frame", "1.5")[2])

    def test_wrong_ranges_are_refused(self):
        form = "is not A:B or A:B:STEP, such as 1:48 or 1:48:2"
        never = "never comes to its end: the step must lead from A to B"
        for frames, error in (("1", form), ("1:2:3:4", form), ("1:2.5", form), ("a:b", form),
                              ("", form), ("1:5:0", never), ("5:1:1", never), ("1:5:-1", never),
                              ("0:2000000000", "has more than 100000 frames")):
            with self.subTest(frames):
                self.assertEqual(self.frames("--frames", frames)[2],
                                 f'tellar: --frames: "{frames}" {error}\n')
        self.assertEqual(self.frames("--frames", "1:2", picture="out.txt")[2],
                         'tellar: -o: "out.txt" has no place for the number of a frame, such as '
                         "#### or %04d\n")

    def test_one_line_shows_the_progress_of_all(self):
        seen = self.stop_on_terminal(b"drawing", "render", self.box, "-o", "a.##.txt",
                                     "--renderer", "echo", "--frames", "1:2",
                                     TELLAR_TEST_ECHO="progress wait")
        self.assertRegex(seen, rb"\[====                \]  22%  0:\d\d, about \d:\d\d left  "
                               rb"frame 1: drawing")


class Settings(ModelTest):
    def test_settings_reach_the_renderer(self):
        for options, name, value in (
                (["--set", "echo.depth=4"], "renderSettings.echo.depth", "4"),
                (["--set", "echo.depth=1.5,2"], "renderSettings.echo.depth", "1.5 2"),
                (["--set", "echo.depth=1", "--set", "echo.depth=2"],
                 "renderSettings.echo.depth", "2"),
                (["--set", "cropWindow=0,0.5,0,1"], "renderSettings.cropWindow", "0 0.5 0 1"),
                (["--exposure", "-1.5"], "renderSettings.echo.exposure", "-1.5"),
                (["--max-depth", "3"], "renderSettings.echo.maxDepth", "3")):
            with self.subTest(options):
                self.assertEqual(self.render(self.box, *options)[0][name], value)
        asked, _ = self.render(self.box, "--set", "resolution=hd_720")
        self.assertEqual(asked["size"], "1280 720")

    def test_wrong_settings_are_refused(self):
        for text in ("depth", "=4", "a..b=4", ".a=4", "a.=4"):
            with self.subTest(text):
                self.assert_fails(f'--set: "{text}" is not KEY=VALUE, such as lantern.maxDepth=4',
                                  "render", self.box, "-o", "out.txt", "--set", text)
        for size in ("640", "640x", "0x5", "640x-5", "wide", "1.5x2"):
            with self.subTest(size):
                self.assert_fails(f'--size: "{size}" is not WxH, such as 1280x720',
                                  "render", self.box, "-o", "out.txt", "--size", size)

    def test_misspelt_settings_are_guessed(self):
        self.assertIn('tellar: warning: --set: "resoluton" is not a usual setting; did you mean '
                      '"resolution"?\n', self.render(self.box, "--set", "resoluton=hd_720")[1])
        self.assertIn('did you mean "lantern.maxDepth"?\n',
                      self.render(self.box, "--set", "lantern.maxdepth=3")[1])

    def test_misspelt_layers_are_guessed(self):
        self.assertIn('tellar: warning: --aov: "albeto" is not a usual layer; did you mean '
                      '"albedo"?\n', self.render(self.box, "--aov", "depth,albeto")[1])
        for layers in ("depth,cryptoAsset", "shadowCatcher"):
            with self.subTest(layers):
                self.assertNotIn("did you mean", self.render(self.box, "--aov", layers)[1])


class Targets(ModelTest):
    def test_a_picture_can_go_to_standard_output(self):
        status, output, errors = self.run_tellar("render", self.box, "-o", "-", "--renderer",
                                                 "echo", "--size", "64x48")
        self.assertEqual(status, 0, errors)
        self.assertIn("size 64 48\n", output)
        self.assertEqual(os.listdir(self.folder), ["box.obj"])

    def test_pipes_and_devices_are_written_to(self):
        pipe = self.folder / "pipe.txt"
        os.mkfifo(pipe)
        with subprocess.Popen(["cat", pipe], stdout=subprocess.PIPE) as reader:
            output = self.run_tellar("render", self.box, "-o", pipe, "--renderer", "echo")[1]
            self.assertIn(b"size 512 512\n", reader.communicate(timeout=60)[0])
        self.assertEqual(output, f"{pipe}\n")
        self.assertTrue(pipe.is_fifo())
        self.assertEqual(self.run_tellar("render", self.box, "-o", "/dev/null", "--renderer",
                                         "echo")[:2], (0, "/dev/null\n"))
        self.assertTrue(Path("/dev/null").is_char_device())


if __name__ == "__main__":
    main()

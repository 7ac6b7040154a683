#!/usr/bin/env python3
"""tellar render --capture, tellar replay, and captures as scenes.

    test_replay.py PROGRAM EXAMPLES_FOLDER

TELLAR_TEST_SPHERE_FIELD in the environment names the folder of a delegate of locations of the type
"sphere field".
"""

import os
import shutil

from tellar_test import TellarTest, main, static_scene

SMALL = ("--size", "32x18", "--samples", "1")

LENS = {"fov": 45.0, "near": 0.1, "far": 100.0, "left": -1.0, "right": 1.0, "top": 1.0,
        "bottom": -1.0}
MESH = {"type": "polymesh", "geometry": {
    "point": {"P": {"$type": "float", "values": [[-1, -1, -5], [1, -1, -5], [0, 1, -5]]}},
    "poly": {"vertexList": [0, 1, 2], "startIndex": [0, 3]}}}
WORLD = {"world": {"c": {"cam": {"c": {"camera": {"a": {"type": "camera", "geometry": LENS}}}},
                         "mesh": {"a": MESH},
                         "hidden": {"a": {"visible": 0}, "c": {"mesh": {"a": MESH}}}}}}


class ReplayTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.environment["SOURCE_DATE_EPOCH"] = "0"
        self.scene = self.write("scene.json", static_scene(WORLD))

    def render(self, scene, *options, picture="out.png", capture="shot.oxcap"):
        self.tellar("render", scene, "-o", picture, "--capture", capture, *options)

    def replay(self, *options, picture="again.png", capture="shot.oxcap", **environment):
        self.tellar("replay", capture, "-o", picture, *options, **environment)

    def bytes_of(self, name):
        return (self.folder / name).read_bytes()

    def assert_same_picture(self, one="out.png", other="again.png"):
        self.assertEqual(self.bytes_of(one), self.bytes_of(other))


class Pictures(ReplayTest):
    def test_a_replay_draws_the_same_picture(self):
        for scene in ("garden.json", "shapes.json"):
            for threads in (1, 4):
                with self.subTest(scene=scene, threads=threads):
                    self.render(self.examples / scene, *SMALL, "--threads", threads)
                    self.replay("--threads", 5 - threads)
                    self.assert_same_picture()

    def test_a_replay_is_validated_without_findings(self):
        self.render(self.scene, *SMALL)
        status, _, errors = self.run_tellar("replay", "shot.oxcap", "-o", "again.png",
                                            TELLAR_VALIDATE="1")
        self.assertEqual(status, 0)
        self.assertRegex(errors.splitlines()[-1], "process: no findings in [0-9]+ calls")
        self.assert_same_picture()

    def test_capturing_does_not_change_the_picture(self):
        garden = self.examples / "garden.json"
        self.render(garden, *SMALL)
        self.tellar("render", garden, "-o", "plain.png", *SMALL)
        self.assert_same_picture("out.png", "plain.png")

    def test_a_replay_needs_neither_the_scene_nor_its_files(self):
        for name in ("garden.json", "garden.gltf"):
            shutil.copy(self.examples / name, self.folder)
        shutil.copytree(self.examples / "textures", self.folder / "textures")
        self.render("garden.json", *SMALL, "--capture-textures")
        for name in ("garden.json", "garden.gltf"):
            (self.folder / name).unlink()
        shutil.rmtree(self.folder / "textures")
        self.replay()
        self.assert_same_picture()

    def test_another_renderer_finds_its_answers_too(self):
        garden = self.examples / "garden.json"
        self.render(garden, *SMALL)
        self.replay("--renderer", "example", picture="again.txt")
        self.tellar("render", garden, "-o", "out.txt", "--renderer", "example", *SMALL)
        self.assert_same_picture("out.txt", "again.txt")

    def test_all_frames_are_drawn_again(self):
        self.render(self.scene, *SMALL, "--frames", "1:3", picture="out.##.png")
        self.replay(picture="again.##.png")
        for frame in ("01", "02", "03"):
            self.assert_same_picture(f"out.{frame}.png", f"again.{frame}.png")
        self.assert_fails('-o: "again.png" has no place for the number of a frame, such as #### or '
                          "%04d", "replay", "shot.oxcap", "-o", "again.png")

    def test_tiles_and_settings_are_drawn_again(self):
        self.render(self.scene, *SMALL, "--tile", "1,0,2,2", "--exposure", "1")
        self.replay()
        self.assert_same_picture("tile_1_0.out.png", "tile_1_0.again.png")


class Delegates(ReplayTest):
    def test_a_replay_has_their_answers_without_them(self):
        field = {"a": {"type": "sphere field",
                       "field": {"count": 5, "spacing": 1.0, "radius": 0.4},
                       "xform": {"translate": {"$type": "double", "values": [-2, 0, -6],
                                               "tuple": 3}}}}
        world = {"world": {"c": {**WORLD["world"]["c"], "field": field}}}
        scene = self.write("field.json", static_scene(world))
        delegates = os.environ["TELLAR_TEST_SPHERE_FIELD"]
        self.tellar("render", scene, "-o", "out.png", "--capture", "shot.oxcap", *SMALL,
                    OX_PLUGIN_PATH=delegates)
        self.replay()
        self.assert_same_picture()
        self.tellar("render", scene, "-o", "without.png", *SMALL)
        self.assertNotEqual(self.bytes_of("without.png"), self.bytes_of("out.png"))

    def test_an_answer_that_was_not_recorded_is_an_error(self):
        self.render(self.scene, *SMALL, "--renderer", "example", picture="out.txt")
        status, _, errors = self.run_tellar("replay", "shot.oxcap", "-o", "out.png", "--renderer",
                                            "lantern")
        self.assertEqual(status, 2)
        self.assertIn('"shot.oxcap" has no answer to getLocationTypesWithDelegates("lantern")',
                      errors)


class Textures(ReplayTest):
    def setUp(self):
        super().setUp()
        shutil.copy(self.examples / "chess_wood.png", self.folder / "sky.png")
        light = {"type": "light", "light": {"type": "environment", "texture":
                                            str(self.folder / "sky.png")}}
        world = {"world": {"c": {**WORLD["world"]["c"], "sky": {"a": light}}}}
        self.scene = self.write("scene.json", static_scene(world))

    def test_they_are_recorded_if_that_is_wanted(self):
        self.render(self.scene, *SMALL, "--capture-textures")
        (self.folder / "sky.png").unlink()
        self.replay()
        self.assert_same_picture()

    def test_otherwise_a_replay_uses_those_that_are_there(self):
        self.render(self.scene, *SMALL)
        self.replay()
        self.assert_same_picture()
        self.assertNotIn(self.bytes_of("sky.png"), self.bytes_of("shot.oxcap"))

    def test_they_need_a_capture(self):
        self.assert_fails("--capture-textures requires --capture", "render", self.scene, "-o",
                          "out.png", "--capture-textures")


class Files(ReplayTest):
    def test_a_capture_of_the_garden_has_each_value_once(self):
        self.render(self.examples / "garden.json", *SMALL)
        model = (self.examples / "garden.gltf").stat().st_size
        self.assertLess((self.folder / "shot.oxcap").stat().st_size, 2 * model)

    def test_a_capture_that_was_cut_off_is_replayed_as_far_as_it_goes(self):
        self.render(self.scene, *SMALL, "--renderer", "example", picture="out.txt")
        whole = self.bytes_of("shot.oxcap")
        self.write("cut.oxcap", whole[:-1])
        status, _, errors = self.run_tellar("replay", "cut.oxcap", "-o", "again.txt")
        self.assertEqual((status, errors),
                         (0, "tellar: info: cut.oxcap ends early, as after a crash\n"))
        self.assert_same_picture("out.txt", "again.txt")
        for size in range(16, len(whole), len(whole) // 10):
            self.write("cut.oxcap", whole[:size])
            status, _, errors = self.run_tellar("replay", "cut.oxcap", "-o", "again.txt")
            with self.subTest(size=size):
                self.assertIn(status, (0, 2))
                self.assertIn("ends early", errors)
                if status != 0:
                    self.assertRegex(errors, '"cut.oxcap" has no answer to|no render was recorded')

    def test_a_damaged_capture_is_refused(self):
        self.render(self.scene, *SMALL)
        content = bytearray(self.bytes_of("shot.oxcap"))
        content[len(content) // 2] ^= 1
        self.write("shot.oxcap", bytes(content))
        self.assert_fails_with("shot.oxcap\" is damaged: a block", "replay", "shot.oxcap", "-o",
                               "again.png")

    def test_other_files_are_refused(self):
        self.assert_fails(f'File "{self.scene}" is no capture', "replay", self.scene, "-o", "a.png")
        self.assert_fails('Cannot read file "none.oxcap": No such file or directory', "replay",
                          "none.oxcap", "-o", "a.png")
        self.write("empty.oxcap", b"")
        self.assert_fails("empty.oxcap: is no capture", "walk", "empty.oxcap")

    def test_a_full_disk_does_not_stop_the_render(self):
        self.assert_fails('Cannot write capture "/dev/full": No space left on device', "render",
                          self.scene, "-o", "out.png", "--capture", "/dev/full", *SMALL)
        self.assert_fails('Cannot write capture "none/a.oxcap": No such file or directory',
                          "render", self.scene, "-o", "out.png", "--capture", "none/a.oxcap",
                          *SMALL)


class Scenes(ReplayTest):
    def test_a_capture_is_a_scene_of_what_was_recorded(self):
        self.render(self.scene, *SMALL)
        self.assertEqual(self.tellar("walk", "shot.oxcap"), """\
/root
└─ world
   ├─ cam
   │  └─ camera [camera]
   ├─ mesh [polymesh]
   └─ hidden
""")
        self.assertIn("mesh", self.tellar("walk", self.scene).split("hidden")[1])
        self.assertIn("fov              45", self.tellar("camera", "shot.oxcap"))

    def test_a_question_without_an_answer_is_an_error_that_names_it(self):
        self.render(self.scene, *SMALL)
        status, _, errors = self.run_tellar("replay", "shot.oxcap", "-o", "again.txt", "--renderer",
                                            "example")
        self.assertEqual(status, 2)
        self.assertRegex(errors.splitlines()[-1], '^tellar: "shot.oxcap" has no answer to '
                         '"/root/world/hidden/mesh", which visit\\("/root"\\) needs$')


if __name__ == "__main__":
    main()

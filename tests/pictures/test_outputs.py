#!/usr/bin/env python3
"""The options of tellar render that reach the renderer "lantern", and the files that it writes.

    test_outputs.py PROGRAM EXAMPLES_FOLDER [test names]
"""

import copy
import os
import struct
import subprocess
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "tellar"))

import stages
from exr_header import read_header
from picture_tools import Picture
from tellar_test import TellarTest, main

LAYERS = {"R": "half", "G": "half", "B": "half", "A": "half", "Z": "float",
          "N.X": "float", "N.Y": "float", "N.Z": "float",
          "P.X": "float", "P.Y": "float", "P.Z": "float",
          "albedo.R": "float", "albedo.G": "float", "albedo.B": "float", "id": "uint",
          "motion.X": "float", "motion.Y": "float"}
LEVELS = ("CryptoObject", "CryptoMaterial", "CryptoAsset")
MATTES = {f"{level}{rank:02}.{channel}": "float"
          for level in LEVELS for rank in range(3) for channel in "RGBA"}


def png_texts(path):
    data = path.read_bytes()
    found, at = {}, 8
    while at < len(data):
        length, kind = struct.unpack_from(">I4s", data, at)
        if kind == b"tEXt":
            key, value = data[at + 8:at + 8 + length].split(b"\0", 1)
            found[key.decode()] = value.decode()
        at += 12 + length
    return found


class OutputTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.description = stages.scene(stages.stage())
        self.scene = self.write("scene.json", self.description)

    def render(self, name, *options, scene=None, size="32x24"):
        self.assertEqual(self.tellar("render", scene or self.scene, "-o", name, "--size", size,
                                     *options), f"{name}\n")
        return self.folder / name

    def brightness(self, path):
        picture = Picture.read(path)
        return sum(picture.average(0, picture.width, 0, picture.height)) / 3

    def samples(self, *options):
        return float(read_header(self.render("counted.exr", *options))["Samples"])


class Layers(OutputTest):
    def test_all_layers_are_channels_of_one_file(self):
        path = self.render("layers.exr", "--samples", 1, "--set", "shutterClose=0.5", "--aov",
                           "depth,normal,position,albedo,id,motion,cryptomatte")
        self.assertEqual(read_header(path)["channels"], {**LAYERS, **MATTES})

    def test_only_those_that_are_chosen_are_there(self):
        path = self.render("depth.exr", "--samples", 1, "--aov", "depth")
        self.assertEqual(set(read_header(path)["channels"]), set("RGBAZ"))

    def test_mattes_have_a_manifest_of_the_names_in_the_picture(self):
        header = read_header(self.render("mattes.exr", "--samples", 4, "--aov", "cryptomatte"))
        manifests = [value for name, value in header.items() if name.endswith("/manifest")]
        self.assertEqual(len(manifests), len(LEVELS))
        self.assertTrue(any('"/root/world/shapes/middle":' in text for text in manifests))
        names = {value for name, value in header.items()
                 if name.startswith("cryptomatte/") and name.endswith("/name")}
        self.assertEqual(names, set(LEVELS))

    def test_stitched_tiles_keep_them(self):
        options = ["--samples", 1, "--aov", "depth,id,cryptomatte", "--size", "32x24"]
        tiles = [self.tellar("render", self.scene, "-o", "t.exr", *options, "--tile",
                             f"{column},0,2,1").strip() for column in range(2)]
        self.tellar("stitch", *tiles, "-o", "whole.exr")
        header = read_header(self.folder / "whole.exr")
        self.assertEqual(set(header["channels"]), {*"RGBAZ", "id", *MATTES})
        self.assertEqual(struct.unpack("<4i", header["dataWindow"]), (0, 0, 31, 23))
        manifests = [value for name, value in header.items() if name.endswith("/manifest")]
        self.assertTrue(any('"/root/world/shapes/left/box":' in text for text in manifests))

    def test_other_formats_do_not_hold_them(self):
        self.assert_fails_with(".exr", "render", self.scene, "-o", "a.png", "--aov", "depth")

    def test_a_misspelt_one_is_asked_about_and_refused(self):
        status, _, errors = self.run_tellar("render", self.scene, "-o", "a.exr", "--aov",
                                            "id,albeto")
        self.assertEqual(status, 2)
        self.assertRegex(errors, 'did you mean "albedo"\\?\n.*"albeto", which is no layer')

    def test_all_that_the_command_guesses_are_layers(self):
        guesses = {"albedo": "albed", "cryptoAsset": "cryptoAset", "depth": "dept",
                   "cryptoMaterial": "cryptoMateria", "cryptoObject": "cryptoObjct", "id": "idd",
                   "cryptomatte": "criptomatte", "motion": "motin", "normal": "norma"}
        _, _, errors = self.run_tellar("render", self.scene, "-o", "a.exr", "--aov",
                                       ",".join(guesses.values()))
        for guess, misspelt in guesses.items():
            with self.subTest(guess):
                self.assertIn(f'"{misspelt}" is not a usual layer; did you mean "{guess}"', errors)
        self.render("layers.exr", "--samples", 1, "--set", "shutterClose=0.5", "--aov",
                    ",".join(guesses))


class Quality(OutputTest):
    def test_less_noise_takes_more_paths(self):
        coarse = self.samples("--noise", "0.3")
        fine = self.samples("--noise", "0.03")
        self.assertGreaterEqual(coarse, 16)
        self.assertGreater(fine, coarse)
        self.assertLess(fine, 4096)

    def test_a_time_limit_ends_with_a_picture_of_fewer_paths(self):
        samples = self.samples("--minutes", "0.02", "--samples", 1000000)
        self.assertGreaterEqual(samples, 1)
        self.assertLess(samples, 1000000)

    def test_settings_of_the_renderer_are_set(self):
        self.assertEqual(self.samples("--set", "lantern.samples=3"), 3)
        self.assertEqual(self.samples("--set", "lantern.samples=3", "--samples", 2), 2)

    def test_exposure_makes_the_picture_lighter(self):
        plain = self.brightness(self.render("plain.png", "--samples", 2))
        self.assertGreater(self.brightness(self.render("a.png", "--samples", 2, "--exposure", 1)),
                           1.2 * plain)
        self.assertLess(self.brightness(self.render("a.png", "--samples", 2, "--exposure", -9)),
                        0.1 * plain)

    def test_bounces_bring_light(self):
        once = self.brightness(self.render("once.png", "--samples", 8, "--max-depth", 1))
        self.assertGreater(self.brightness(self.render("more.png", "--samples", 8,
                                                       "--max-depth", 8)), once + 1)


class FramesAndCameras(OutputTest):
    def test_every_frame_is_another_picture(self):
        scene = self.write("moving.json", stages.scene(stages.motion()))
        for picture, names in (("a.####.png", ["a.0000.png", "a.0001.png"]),
                               ("b_%02d.png", ["b_00.png", "b_01.png"])):
            output = self.tellar("render", scene, "-o", picture, "--frames", "0:1", "--size",
                                 "32x24", "--samples", 1)
            self.assertEqual(output.splitlines(), names)
            first, second = (self.folder / name for name in names)
            self.assertNotEqual(Picture.read(first).rows, Picture.read(second).rows)
            self.assertEqual([png_texts(path)["Frame"] for path in (first, second)], ["0", "1"])

    def test_a_camera_is_chosen_by_pattern(self):
        description = copy.deepcopy(self.description)
        cameras = description["ops"][0]["args"]["c"]["world"]["c"]["cam"]["c"]
        cameras["left_eye"] = stages.camera((-1, 2.2, 7))
        scene = self.write("eyes.json", description)
        path = self.render("left.png", "--camera", "left_*", "--samples", 1, scene=scene)
        self.assertEqual(png_texts(path)["Camera"], "/root/world/cam/left_eye")


class Facts(OutputTest):
    def test_every_format_tells_scene_frame_camera_samples_and_time(self):
        facts = {"Scene": self.scene, "Camera": stages.CAMERA, "Frame": "3", "Samples": "2"}
        header = read_header(self.render("a.exr", "--samples", 2, "--frame", 3))
        self.assertEqual(header["Scene"], self.scene)
        self.assertEqual(header["Camera"], stages.CAMERA)
        self.assertEqual((header["Frame"], header["Samples"]), (3, 2))
        self.assertGreater(header["RenderTime"], 0)
        texts = png_texts(self.render("a.png", "--samples", 2, "--frame", 3))
        self.assertEqual({name: texts.get(name) for name in facts}, facts)
        self.assertGreater(float(texts["RenderTime"]), 0)
        for name in ("a.tif", "a.jpg"):
            with self.subTest(name):
                data = self.render(name, "--samples", 2, "--frame", 3).read_bytes()
                for fact, value in facts.items():
                    self.assertIn(f"{fact}: {value}".encode(), data)
                self.assertIn(b"RenderTime: ", data)

    def test_the_scene_may_name_itself(self):
        description = stages.scene(stages.stage(), scene="the stage")
        scene = self.write("named.json", description)
        self.assertEqual(png_texts(self.render("a.png", "--samples", 1, scene=scene))["Scene"],
                         "the stage")
        path = self.render("b.png", "--samples", 1, "--set", "scene=mine", scene=scene)
        self.assertEqual(png_texts(path)["Scene"], "mine")


class Targets(OutputTest):
    def test_a_link_stays_and_its_target_is_replaced(self):
        (self.folder / "target.png").write_bytes(b"old")
        (self.folder / "link.png").symlink_to("target.png")
        self.render("link.png", "--samples", 1)
        self.assertTrue((self.folder / "link.png").is_symlink())
        self.assertEqual(Picture.read(self.folder / "target.png").width, 32)

    def test_pipes_and_devices_are_written_to(self):
        pipe = self.folder / "pipe.png"
        os.mkfifo(pipe)
        with subprocess.Popen(["cat", pipe], stdout=subprocess.PIPE) as reader:
            self.render("pipe.png", "--samples", 1)
            self.assertTrue(reader.communicate(timeout=60)[0].startswith(b"\x89PNG"))
        self.assertTrue(pipe.is_fifo())
        (self.folder / "null.png").symlink_to("/dev/null")
        self.render("null.png", "--samples", 1)
        self.assertTrue(Path("/dev/null").is_char_device())

    def test_standard_output_gets_a_png(self):
        done = subprocess.run([self.program, "render", self.scene, "-o", "-", "--size", "32x24",
                               "--samples", "1"], env=self.environment, capture_output=True,
                              timeout=600, cwd=self.folder, check=True)
        self.assertTrue(done.stdout.startswith(b"\x89PNG"))
        self.assertEqual(os.listdir(self.folder), ["scene.json"])


if __name__ == "__main__":
    main()

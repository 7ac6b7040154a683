#!/usr/bin/env python3
"""Compares pictures of the renderer "lantern" with reference pictures.

    test_pictures.py PROGRAM EXAMPLES_FOLDER [--write] [test names]

The picture of each scene must match its reference within a tolerance. Each listed defect must give
a picture outside of it. --write replaces the references; look at them before you commit them. With
TELLAR_TEST_SMALL in the environment, which slow builds set, pictures with defects have one sample a
pixel and are not compared.
"""

import copy
import json
import os
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "tellar"))

import stages
from picture_tools import Picture, difference
from tellar_test import SMALL, TellarTest, main

REFERENCES = HERE / "references"
WRITE = "--write" in sys.argv

# From 0 to 255: the largest difference by rounding, and the smallest one by a defect.
TOLERANCE = 1.0
DEFECT = 3 * TOLERANCE


def at(description, path):
    """The location of a scene made by stages.scene."""
    found = description["ops"][0]["args"]
    for name in path.split("/"):
        found = found["c"][name]
    return found["a"]


def settings(description):
    return description["ops"][1]["args"]["settings"]


def with_one_sample(options):
    options = list(options) if "--samples" in options else [*options, "--samples", ""]
    options[options.index("--samples") + 1] = "1"
    return options


class PictureTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.environment["OX_CONFIG_RESOLUTION_TABLE"] = str(HERE / "formats.json")

    def render(self, description, *options, name="picture.png"):
        scene = self.write("scene.json", description)
        self.tellar("render", scene, "-o", name, *options)
        return Picture.read(self.folder / name)

    def check(self, name, description, defects, *options):
        """`defects` maps the name of a defect to a function that changes the description."""
        path = REFERENCES / f"{name}.png"
        picture = self.render(description, *options)
        if WRITE:
            picture.write(path)
        reference = Picture.read(path)
        self.assertLess(difference(picture, reference), TOLERANCE)
        for defect, spoil in defects.items():
            with self.subTest(defect=defect):
                spoilt = copy.deepcopy(description)
                spoil(spoilt)
                if SMALL:
                    self.render(spoilt, *with_one_sample(options))
                else:
                    self.assertGreater(difference(self.render(spoilt, *options), reference), DEFECT)


class References(PictureTest):
    def test_perspective_stage(self):
        """Catches a wrong camera, a wrong transform or order of transforms, a missing material, a
        light from a wrong direction, a flipped axis."""
        def camera(spoilt):
            at(spoilt, "world/cam/camera")["xform"]["translate"][0] += 0.15

        def lens(spoilt):
            at(spoilt, "world/cam/camera")["geometry"]["fov"] = 48.0

        def order(spoilt):
            xform = at(spoilt, "world/shapes/left")["xform"]
            at(spoilt, "world/shapes/left")["xform"] = dict(reversed(xform.items()))

        def parent(spoilt):
            at(spoilt, "world/shapes/left").pop("xform")

        def without_material(spoilt):
            at(spoilt, "world/shapes/middle").pop("material")

        def light(spoilt):
            at(spoilt, "world/lights/sun")["xform"]["rotate_y"][0] *= -1

        def flip(axis):
            return lambda spoilt: at(spoilt, "world/shapes").update(
                xform={"scale": [-1.0 if i == axis else 1.0 for i in range(3)]})

        self.check("stage", stages.scene(stages.stage()), {
            "wrong camera": camera, "wrong lens": lens, "wrong order of transforms": order,
            "missing transform": parent, "missing material": without_material,
            "light from the other side": light, "flipped x": flip(0), "flipped y": flip(1),
            "flipped z": flip(2)})

    def test_orthographic_stage(self):
        """Catches a perspective projection, a wrong width, and a window that is ignored or shifted
        in the opposite direction."""
        view = stages.camera((0, 2.2, 7), down=-12, projection="orthographic",
                             orthographicWidth=5.0, left=-1.1, right=0.7, bottom=-0.8, top=0.55)

        def change(**geometry):
            return lambda spoilt: at(spoilt, "world/cam/camera")["geometry"].update(geometry)

        self.check("orthographic", stages.scene(stages.stage(), view), {
            "perspective": change(projection="perspective"),
            "wrong width": change(orthographicWidth=5.4),
            "window ignored": change(left=-1.0, right=1.0, bottom=-0.75, top=0.75),
            "window mirrored": change(left=-0.7, right=1.1, bottom=-0.55, top=0.8)})

    def test_motion(self):
        """Catches missing motion blur, an ignored shutter and a wrong frame."""
        def change(**values):
            return lambda spoilt: settings(spoilt).update(values)

        self.check("motion", stages.scene(stages.motion(), shutterOpen=0.25, shutterClose=0.5), {
            "closed shutter": change(shutterClose=0.25), "open longer": change(shutterClose=0.75),
            "open before": change(shutterOpen=0.0, shutterClose=0.25)})

    def test_materials(self):
        """Catches a texture of wrong orientation, faces with a wrong material, and wrong metal, glass
        and roughness."""
        texture = self.folder / "quarters.png"
        Picture(stages.quarters()).write(texture)

        def turned(spoilt):
            at(spoilt, "world/shapes/panel")["geometry"]["arbitrary"]["st"]["value"]["values"] = [
                [0, 1], [1, 1], [1, 0], [0, 0]]

        def without(name):
            return lambda spoilt: at(spoilt, f"world/shapes/{name}").pop("material")

        def one_side(spoilt):
            at(spoilt, "world/shapes/dice/side3")["geometry"]["faces"] = [0]

        def surface(name, **parameters):
            return lambda spoilt: at(spoilt, f"world/shapes/{name}")["material"]["nodes"][
                "surface"]["parameters"].update(parameters)

        self.check("materials", stages.scene(stages.materials(str(texture))), {
            "texture upside down": turned, "no texture": without("panel"),
            "face without its material": one_side,
            "no metal": surface("gold", metalness=stages.floats(0)),
            "no glass": surface("glass", transmission=stages.floats(0))})

    def test_shapes(self):
        """Catches subdivision surfaces that are drawn as cages or without creases, curves of a wrong
        basis or cross section, and points of a wrong size."""
        description = json.loads((Path(self.examples) / "shapes.json").read_text())

        def change(name, **attributes):
            return lambda spoilt: at(spoilt, f"world/shapes/{name}")["geometry"].update(attributes)

        def without_crease(spoilt):
            at(spoilt, "world/shapes/creased")["geometry"]["creaseSharpness"] = [0.0]

        self.check("shapes", description, {
            "cage": change("smooth", subdivisionScheme="none"),
            "no crease": without_crease,
            "wrong basis": change("ribbons", basis="bspline"),
            "thin ribbons": change("ribbons", constantWidth=0.02),
            "no spring": change("spring", constantWidth=0.0),
            "small points": change("cloud", constantWidth=0.02)},
            "--resolution", "square_256", "--samples", "32", "--crop", "0,1,0.3,0.7")

    def test_lamps(self):
        """Catches lights of wrong direction, decay, cone or color."""
        shapes, lights = stages.lamps()

        def light(name, **values):
            return lambda spoilt: at(spoilt, f"world/lights/{name}")["light"].update(values)

        def turned(spoilt):
            at(spoilt, "world/lights/area").pop("xform")

        self.check("lamps", stages.scene(shapes, lights=lights), {
            "wide spot": light("spot", coneInner=stages.floats(40), coneOuter=stages.floats(46)),
            "no decay": light("point", decay=stages.floats(1, 0, 0)),
            "other colour": light("area", color=stages.floats(1, 1, 1)),
            "light not where it belongs": turned})

    def test_delegate(self):
        """Catches a delegate that is not called, and a replacement that is not drawn, or with a
        wrong transform or material."""
        self.environment["OX_PLUGIN_PATH"] = os.environ["TELLAR_TEST_SPHERE_FIELD"]

        def fewer(spoilt):
            at(spoilt, "world/shapes/field")["field"]["count"] = 4

        def other_type(spoilt):
            at(spoilt, "world/shapes/field")["type"] = "field"

        def without_material(spoilt):
            at(spoilt, "world/shapes/field").pop("material")

        def without_transform(spoilt):
            at(spoilt, "world/shapes/field").pop("xform")

        self.check("delegate", stages.scene(stages.sphere_field()), {
            "fewer spheres": fewer, "nobody takes it over": other_type,
            "material not inherited": without_material,
            "not in the location's place": without_transform})


class Windows(PictureTest):
    def test_tiles_make_up_the_whole(self):
        self.environment["SOURCE_DATE_EPOCH"] = "0"  # the same date and time in every file
        description = stages.scene(stages.stage(), resolution="test_wide")
        if SMALL:
            settings(description)["lantern"]["samples"] = 2
        whole = self.render(description, name="whole.png")
        for extension in ("png", "exr"):
            self.tellar("render", "scene.json", "-o", f"whole.{extension}")
            tiles = []
            for row in range(2):
                for column in range(3):
                    tile = self.tellar("render", "scene.json", "-o", f"picture.{extension}",
                                       "--tile", f"{column},{row},3,2").strip()
                    self.assertTrue(tile.endswith(f"tile_{column}_{row}.picture.{extension}"), tile)
                    tiles.append(tile)
            self.tellar("stitch", *reversed(tiles), "-o", f"stitched.{extension}")
            self.tellar("stitch", f"whole.{extension}", "-o", f"same.{extension}")
            self.assertEqual((self.folder / f"stitched.{extension}").read_bytes(),
                             (self.folder / f"same.{extension}").read_bytes())
        self.assertEqual(Picture.read(self.folder / "stitched.png").rows, whole.rows)

    def test_a_crop_window_is_a_part_of_the_whole(self):
        description = stages.scene(stages.stage())
        whole = self.render(description)
        part = self.render(description, "--crop", "0.25,0.75,0.5,1")
        self.assertEqual(part.rows, [row[32:96] for row in whole.rows[48:]])

    def test_threads_do_not_change_the_picture(self):
        description = stages.scene(stages.stage())
        one = self.render(description, "--threads", "1")
        self.assertEqual(self.render(description, "--threads", "5").rows, one.rows)


class Frames(PictureTest):
    def test_two_frames_differ_where_something_moves_and_nowhere_else(self):
        description = stages.scene(
            stages.motion(), lights={"sky": stages.sky()},
            view=stages.camera((0, 1.5, 9), down=0, projection="orthographic",
                               orthographicWidth=8.0, bottom=-0.75, top=0.75))
        first = self.render(description, "--frame", "0.2")
        second = self.render(description, "--frame", "0.8")
        # 16 pixels a unit; the box is 0.8 wide and stands 1.5 to the left, then to the right.
        left, right = (34, 46, 36, 46), (82, 94, 36, 46)
        self.assertGreater(max(abs(a - b) for a, b in
                               zip(first.average(*left), second.average(*left))), 50)
        self.assertGreater(max(abs(a - b) for a, b in
                               zip(first.average(*right), second.average(*right))), 50)
        # What is above its path sees nothing of it.
        self.assertEqual([row[:] for row in first.rows[:24]], [row[:] for row in second.rows[:24]])


class Manners(PictureTest):
    def test_a_render_that_is_stopped_leaves_no_file(self):
        scene = self.write("scene.json", stages.scene(stages.stage()))
        seen = self.stop_on_terminal(b"drawing", "render", scene, "-o", "out.png", "--samples",
                                     1000000)
        self.assertTrue(seen.endswith(b"tellar: stopped; no picture was written\r\n"), seen)
        self.assertEqual(os.listdir(self.folder), ["scene.json"])

    def test_no_handle_is_left_at_the_end(self):
        scene = self.write("scene.json", stages.scene(stages.stage()))
        status, output, errors = self.run_tellar("render", scene, "-o", "out.png",
                                                 OX_LOG_LEVEL="warn,RenderOutputUtils=debug")
        self.assertEqual((status, output), (0, "out.png\n"))
        self.assertRegex(errors, r"^[^\n]*Final CameraInfoStruct count: 0 [^\n]*\n$")

    def test_what_cannot_be_drawn_is_an_error_before_anything_is_written(self):
        description = stages.scene(stages.stage())
        scene = self.write("scene.json", description)
        for error, options in (
                (f'{scene}: camera "/root/nowhere": there is no such location',
                 ["--camera", "/root/nowhere"]),
                ('"out.gif" is no picture: its name must end in ".exr", ".png", ".tif" or ".jpg"',
                 ["-o", "out.gif"])):
            with self.subTest(error):
                self.assert_fails(error, "render", scene, *(options if "-o" in options else
                                                            ["-o", "out.png", *options]))
                self.assertEqual(os.listdir(self.folder), ["scene.json"])


if __name__ == "__main__":
    sys.argv = [argument for argument in sys.argv if argument != "--write"]
    main()

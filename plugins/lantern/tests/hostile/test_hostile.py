"""Renders scenes that no sensible program writes. Each run of the command has to end with a picture
or with an error message, never by a signal and never late.

    test_hostile.py TELLAR
"""

import concurrent.futures
import json
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parents[4] / "tests" / "pictures"))
import images
import picture_tools
import scenes

TELLAR = None
SECONDS = 120  # far more than any of them takes


class Hostile(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.temporary.cleanup)
        cls.folder = pathlib.Path(cls.temporary.name)
        for name, content in images.IMAGES.items():
            (cls.folder / name).write_bytes(content)

    def render(self, name, description, options=("--size", "24x24", "--samples", "2")):
        """Returns the text of the error, or None if there is a picture."""
        number = abs(hash(name))
        scene, picture = self.folder / f"{number}.json", self.folder / f"{number}.png"
        scene.write_text(json.dumps(description))
        run = subprocess.run([TELLAR, "render", scene, "-o", picture, *options], cwd=self.folder,
                             capture_output=True, text=True, errors="replace", timeout=SECONDS)
        self.assertIn(run.returncode, (0, 2), f"{name}: {run.stderr}")
        if run.returncode == 0:
            header = picture.read_bytes()[:24]
            self.assertEqual(header[:8], b"\x89PNG\r\n\x1a\n", name)
            self.assertGreater(min(struct.unpack(">II", header[16:])), 0, name)
            return None
        self.assertIn("tellar: ", run.stderr, name)
        self.assertFalse(picture.exists(), name)
        return run.stderr

    def test_things_beside_each_other_give_a_picture(self):
        families = {"shapes": scenes.shapes(), "cages": scenes.subdivision(),
                    "places": scenes.places(), "lights": scenes.lights(),
                    "materials": scenes.materials(), "textures": scenes.textures(images.IMAGES),
                    "environments": scenes.environments(images.IMAGES)}
        for name, things in families.items():
            with self.subTest(name):
                settings = {"shutterOpen": 0.0, "shutterClose": 1.0,
                            "lantern.subdivisionMemory": 16}
                error = self.render(name, scenes.scene(list(things), settings=settings))
                self.assertIsNone(error, name)

    def test_cameras_and_settings_give_a_picture_or_an_error(self):
        cases = [(name, scene, ("--size", "8x8", "--samples", "1"))
                 for name, scene in scenes.cameras()]
        cases += [(name, scene, ()) for name, scene in scenes.pictures()]
        with concurrent.futures.ThreadPoolExecutor(2) as runs:
            for (name, _, _), error in zip(cases, runs.map(lambda case: self.render(*case), cases)):
                with self.subTest(name):
                    if "nan" in name or "inf" in name:
                        self.assertIsNotNone(error)

    def test_flat_things_are_drawn(self):
        shining = {**scenes.placed(scenes.scaled(1, 1, 0)),
                   "material": {"surfaceShader": "emitter", "surfaceParams": {}}}
        description = scenes.scene([("flat", shining)])
        del description["ops"][0]["args"]["c"]["world"]["c"]["flat"]["c"]["quad"]
        scene, picture = self.folder / "flat.json", self.folder / "flat.png"
        scene.write_text(json.dumps(description))
        subprocess.run([TELLAR, "render", scene, "-o", picture, "--size", "9x9", "--samples", "1"],
                       check=True, capture_output=True, timeout=SECONDS)
        self.assertGreater(min(picture_tools.Picture.read(picture).rows[4][4]), 240)


if __name__ == "__main__":
    TELLAR = pathlib.Path(sys.argv.pop(1)).resolve()
    unittest.main()

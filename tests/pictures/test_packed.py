#!/usr/bin/env python3
"""A packed scene gives the same picture as the original scene, without the original files.

    test_packed.py PROGRAM EXAMPLES_FOLDER
"""

import shutil
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "tellar"))

from packable_scenes import write_site  # noqa: E402
from tellar_test import TellarTest, main  # noqa: E402


class PackedPictureTest(TellarTest):
    def pixels(self, scene):
        """The picture's data after the header, which names the scene."""
        self.assertEqual(self.run_tellar("render", scene, "-o", "picture.png", "--size", "48x32",
                                         "--samples", 4)[0], 0)
        content = (self.folder / "picture.png").read_bytes()
        return content[content.index(b"IDAT"):]

    def test_a_pack_looks_like_the_scene(self):
        write_site(self.folder)
        expected = self.pixels("site/scene.json")
        self.tellar("pack", "site/scene.json", "packed")
        self.tellar("pack", "site/scene.json", "packed.zip")
        shutil.unpack_archive(self.folder / "packed.zip", self.folder / "unpacked")
        shutil.rmtree(self.folder / "site")
        shutil.rmtree(self.folder / "far")
        home = self.folder
        for packed in (home / "packed", home / "unpacked/packed"):
            with self.subTest(packed.name):
                self.folder = packed
                self.assertEqual(self.pixels("scene.json"), expected)


if __name__ == "__main__":
    main()

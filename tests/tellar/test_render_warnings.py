#!/usr/bin/env python3
"""Warnings about the scene of a picture, which lantern draws.

    test_render_warnings.py PROGRAM EXAMPLES_FOLDER
"""

from tellar_test import TellarTest, main
from test_warnings import MATERIAL, MISTAKE_LINES, MISTAKES, TRIANGLE


class RenderWarningsTest(TellarTest):
    def test_a_strict_render_of_mistakes_draws_nothing(self):
        self.write("scene.json", MISTAKES)
        status, _, errors = self.run_tellar("render", "scene.json", "-o", "out.png", "--strict")
        self.assertEqual(status, 1)
        self.assertTrue(errors.endswith(MISTAKE_LINES), errors)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["scene.json"])

    def test_a_missing_texture_is_one_warning(self):
        self.write("t.obj", TRIANGLE)
        self.write("t.mtl", MATERIAL)
        done = self.run_tellar("render", "t.obj", "-o", "out.png", "--samples", 1, "--size", "8x8")
        self.assertEqual(done[0], 0, done)
        self.assertEqual(done[2].count("bark.png"), 1, done[2])
        self.assertEqual(done[2].count("warning"), 1, done[2])


if __name__ == "__main__":
    main()

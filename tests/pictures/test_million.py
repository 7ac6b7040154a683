#!/usr/bin/env python3
"""More than a million locations, walked and drawn in 4 GiB of address space.

    test_million.py PROGRAM EXAMPLES_FOLDER
"""

import resource
import subprocess
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "tellar"))

from picture_tools import Picture
from tellar_test import TellarTest, main

LIMIT = 4 << 30
CAMERA = "/root/world/garden/cameras/main_camera"


class Million(TellarTest):
    def run_limited(self, *arguments):
        # A thread's stack and heap take much of the space without using it.
        done = subprocess.run([self.program, *map(str, arguments), "--threads", "4"],
                              capture_output=True, text=True, env=self.environment,
                              cwd=self.folder, timeout=800,
                              preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS,
                                                                    (LIMIT, LIMIT)))
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout

    def test_is_walked_within_the_limit(self):
        walked = self.run_limited("walk", self.examples / "million.json", "--stats", "--quiet")
        self.assertIn("1052453", walked)

    def test_is_drawn_within_the_limit(self):
        self.run_limited("render", self.examples / "million.json", "-o", "forest.png", "--camera",
                         CAMERA, "--resolution", "square_256", "--samples", "1")
        picture = Picture.read(self.folder / "forest.png")
        self.assertEqual((picture.width, picture.height), (256, 256))
        # Trees to the horizon: green, where without them there is the sky or the lawn's edge.
        red, green, blue = picture.average(0, 256, 110, 130)
        self.assertGreater(green, 1.1 * blue)


if __name__ == "__main__":
    main()

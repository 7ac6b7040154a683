#!/usr/bin/env python3
"""Draws models of every kind with one command each, and compares their pictures with references.

    test_models.py PROGRAM EXAMPLES_FOLDER [--write] [test names]

Each group of models (make_models.py) has a reference with all of its pictures beside each other, at
half their size. --write replaces the references; look at them before you commit them.

With TELLAR_TEST_SMALL in the environment, which slow builds set, all models are walked, and the
first of each group is drawn in 8 by 8 pixels. No pictures are compared.
"""

import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path[:0] = [str(HERE.parent / "tellar"), str(HERE.parent / "pictures")]

from make_models import PAIRS, SAME, GROUPS, write_group
from other_models import damaged
from picture_tools import Picture, difference
from tellar_test import TellarTest, main

REFERENCES = HERE / "references"
WRITE = "--write" in sys.argv
SMALL = bool(os.environ.get("TELLAR_TEST_SMALL"))
SIZE = 8 if SMALL else 64

# Differences of pictures, from 0 to 255: the largest that rounding causes, the smallest that a
# feature of a model causes, and the largest that the few digits of a file cause.
TOLERANCE = 1.0
DEFECT = 3 * TOLERANCE
SAME_LIMIT = 2.0

def halved(picture):
    """The picture at half the size; each pixel is the mean of two by two."""
    return Picture([[tuple(round(v) for v in picture.average(x, x + 2, y, y + 2))
                     for x in range(0, picture.width, 2)] for y in range(0, picture.height, 2)])


def beside(pictures):
    return Picture([sum(rows, []) for rows in zip(*(picture.rows for picture in pictures))])


def part(sheet, number):
    side = SIZE // 2
    return Picture([row[side * number:side * (number + 1)] for row in sheet.rows])


class ModelTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.environment["OX_CONFIG_IMAGE_CACHE"] = str(self.folder / "cache")

    def draw(self, model):
        picture = self.folder / f"{model.stem}{model.suffix[1:]}.png"
        options = ["--samples", 1 if SMALL else 16, "--size", f"{SIZE}x{SIZE}", "--max-depth", 5]
        if model.parent.name == "motion":
            options += ["--frame", 8]
        done = subprocess.run([self.program, "render", model.name, "-o", picture, "--threads", "1",
                               *map(str, options)], cwd=model.parent, env=self.environment,
                              capture_output=True, text=True, timeout=600)
        self.assertEqual((done.returncode, done.stdout), (0, f"{picture}\n"), done.stderr)
        for line in done.stderr.splitlines():
            self.assertTrue(line.startswith("tellar: info: "), line)
        return halved(Picture.read(picture))

    def draw_all(self, models):
        with ThreadPoolExecutor(2) as pool:
            return list(pool.map(self.draw, models))

    def check_group(self, group):
        kind, models = write_group(group, self.folder)
        if SMALL:
            self.draw(models[0])
            for model in models:
                self.assertIn("/root", self.tellar("walk", model, "--attrs"))
            return
        pictures = self.draw_all(models)
        path = REFERENCES / f"{group}.png"
        if WRITE:
            beside(pictures).write(path)
        sheet = Picture.read(path)
        self.assertEqual(sheet.width, SIZE // 2 * len(models))
        for number, (model, picture) in enumerate(zip(models, pictures)):
            with self.subTest(model=model.name):
                self.assertLess(difference(picture, part(sheet, number), 2), TOLERANCE)
        self.check_together(kind, models, pictures)

    def check_together(self, kind, models, pictures):
        step = 2 if kind == PAIRS else 1
        for first in range(0, len(models) - 1, step):
            with self.subTest(f"{models[first].name} and {models[first + 1].name}"):
                found = difference(pictures[first], pictures[first + 1], 2)
                if kind == SAME:
                    self.assertLess(found, SAME_LIMIT)
                else:
                    self.assertGreater(found, DEFECT)


def add_test(group):
    name = f"test_{group.replace(' ', '_')}"
    setattr(Models, name, lambda self: self.check_group(group))


class Models(ModelTest):
    """One test for each group of models."""


for one in GROUPS:
    add_test(one)


class Damaged(ModelTest):
    def test_damaged_files_are_errors_that_name_the_file(self):
        for file, reason in damaged(self.folder).items():
            with self.subTest(file):
                status, output, errors = self.run_tellar("render", file, "-o", "out.png")
                self.assertEqual((status, output), (2, ""), errors)
                self.assertIn(file, errors)
                self.assertIn(reason, errors)


if __name__ == "__main__":
    sys.argv = [argument for argument in sys.argv if argument != "--write"]
    main()

#!/usr/bin/env python3
"""Tests of the benchmarks at a tiny size: test_bench.py <tellar_bench> <test case>"""

import os
import subprocess
import sys
import tempfile
import unittest

import table

LEAVES = "300"
PROGRAM = ""

# Rows other than those of the sync and thread-aware producers.
ALL = ("sync", "thread_aware", "c_suite", "c_suite_4")
SCENES = ("garden", "forest", "dense_mesh")
ROUTES = {"first_walk": ALL, "second_walk": ALL, "read_attributes": ALL,
          "two_threads": ("thread_aware",),
          "visit_alone": ("thread_aware",), "visit_at_once": ("thread_aware",),
          "visit_in_order": ("thread_aware",), "gather": ("thread_aware",), "points_to_ndc": ("-",),
          "materials": ("-",), "own_materials": ("-",),
          "edit": ("-",), "edit_description": ("-",),
          "difference_files": ("-",), "difference_shared": ("-",),
          "write_op_file": ("-",), "compressed_walk": ("-",),
          "read_op_file": ("-",), "primary_rays": SCENES, "path_rays": SCENES,
          "first_pixel": ("forest",)}


class BenchTest(unittest.TestCase):
    def setUp(self):
        scenes = tempfile.TemporaryDirectory()
        self.addCleanup(scenes.cleanup)
        self.scenes = scenes.name

    def start(self, *command):
        return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              check=False)

    def start_table(self, *arguments):
        script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "table.py")
        return self.start(sys.executable, "-B", script, "--bench", PROGRAM, "--scenes",
                          self.scenes, "--leaves", LEAVES, "--runs", "1", *arguments)

    def start_bench(self, *arguments):
        return self.start(PROGRAM, "--leaves", LEAVES, "--scenes", self.scenes, *arguments)


class TableTest(BenchTest):
    def test_every_row_is_printed_with_its_figure(self):
        done = self.start_table("--markdown")
        self.assertEqual(done.returncode, 0, done.stderr)
        printed = [line.split(" | ") for line in done.stdout.splitlines() if line.startswith("| ")]
        figures = {(cells[0].lstrip("| "), cells[1]): cells[2] for cells in printed}
        for row in table.ROWS:
            routes = row.routes or ROUTES.get(row.benchmark, ("sync", "thread_aware"))
            for route in routes:
                with self.subTest(row=row.label, route=route):
                    figure = figures[row.label, route.replace("_", "-")]
                    self.assertRegex(figure, r"^-?[0-9][0-9,]*(\.[0-9]+)?$")

    def test_two_threads_cook_every_location_once(self):
        done = self.start_table("--rows", "two_threads")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertRegex(done.stdout, r"two threads, cooks +thread-aware +306 +306 +1\.00 ")

    def test_routes_may_have_an_aim_of_their_own(self):
        row = next(row for row in table.ROWS if row.benchmark == "second_walk")
        self.assertEqual((row.aim_of("sync"), row.aim_of("c_suite_4")), (90, 130))
        self.assertFalse(row.misses(120, "c_suite_4"))
        self.assertTrue(row.misses(120, "sync"))

    def test_a_row_that_fails_fails_the_table_and_is_named(self):
        done = self.start(sys.executable, "-B", table.__file__, "--bench", "/bin/false",
                          "--scenes", self.scenes)
        self.assertEqual(done.returncode, 1)
        self.assertIn("making the scenes failed", done.stderr)


class ChecksumTest(BenchTest):
    def test_every_row_names_itself_when_its_checksum_is_wrong(self):
        self.assertEqual(self.start_bench("--prepare").returncode, 0)
        names = self.start_bench("--benchmark_list_tests").stdout.split()
        self.assertGreater(len(names), 20)
        for name in names:
            with self.subTest(name):
                done = self.start_bench("--spoil-checksum", f"--benchmark_filter=^{name}$")
                self.assertEqual(done.returncode, 1, done.stderr)
                row = name.split("/iterations:")[0]
                self.assertIn(f"tellar_bench: {row}: wrong checksum", done.stderr)


if __name__ == "__main__":
    PROGRAM = sys.argv[1]
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])

#!/usr/bin/env python3
"""`tellar walk --type` and `--match`: which locations are printed, and their totals.

    test_walk_filters.py PROGRAM EXAMPLES_FOLDER
"""

import json

from tellar_test import TellarTest, main, static_scene

TRIANGLE = {"type": "polymesh", "geometry": {
    "point.P": {"$type": "float", "values": [[0, 0, 0], [1, 0, 0], [0, 1, 0]]},
    "poly": {"vertexList": [0, 1, 2], "startIndex": [0, 3]}}}

SCENE = static_scene({"world": {"c": {
    "left": {"a": {"type": "group", "xform.translate": [-10.0, 0, 0]}, "c": {
        "leaf_a": {"a": TRIANGLE}, "stone": {"a": {**TRIANGLE, "type": "subdmesh"}}}},
    "hair": {"a": {"type": "curves", "geometry": {
        "point.P": {"$type": "double", "values": [[0, 0, 5], [0, 0, 6], [0, 0, 7], [0, 0, 8]]},
        "numVertices": [2, 2]}}},
    "leaf_b": {"a": {"type": "sphere", "bound": [-2.0, 2, -2, 2, -2, 2]}},
    "lamp": {"a": {"type": "light"}}}}})


class WalkFilterTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.scene = self.write("scene.json", SCENE)

    def test_meshes_of_both_kinds_are_listed_with_totals(self):
        self.assertEqual(self.tellar("walk", self.scene, "--type", "mesh"),
                         "/root/world/left/leaf_a [polymesh]\n"
                         "/root/world/left/stone [subdmesh]\n"
                         "\n"
                         "locations  2\n"
                         "polygons   2\n"
                         "curves     0\n"
                         "points     6\n"
                         "bounds     -10 0 0 to -9 1 0\n")

    def test_several_types_are_united(self):
        self.assertEqual(self.tellar("walk", self.scene, "--type", "curves,light", "--quiet"),
                         "locations  2\npolygons   0\ncurves     2\npoints     4\n"
                         "bounds     0 0 5 to 0 0 8\n")

    def test_names_and_paths_match_globs_and_bounds_stand_for_points(self):
        text = self.tellar("walk", "--match", "leaf*", self.scene)
        self.assertEqual(text.splitlines()[:3], ["/root/world/left/leaf_a [polymesh]",
                                                 "/root/world/leaf_b [sphere]", ""])
        self.assertIn("bounds     -10 -2 -2 to 2 2 2\n", text)
        text = self.tellar("walk", self.scene, "--match", "/root/*/leaf*", "--match", "stone")
        self.assertEqual(text.splitlines()[:3], ["/root/world/left/stone [subdmesh]",
                                                 "/root/world/leaf_b [sphere]", ""])

    def test_types_and_globs_must_both_match(self):
        self.assertEqual(self.tellar("walk", self.scene, "--type", "mesh", "--match", "*_a",
                                     "--attrs=type").splitlines()[:2],
                         ["/root/world/left/leaf_a [polymesh]", '     type: "polymesh"'])

    def test_nothing_that_matches_has_empty_totals(self):
        self.assertEqual(self.tellar("walk", self.scene, "--match", "tree*"),
                         "locations  0\npolygons   0\ncurves     0\npoints     0\n"
                         "bounds     none\n")

    def test_json_has_locations_and_totals(self):
        document = json.loads(self.tellar("walk", self.scene, "--type", "mesh", "--json"))
        self.assertEqual([location["path"] for location in document["locations"]],
                         ["/root/world/left/leaf_a", "/root/world/left/stone"])
        self.assertNotIn("children", document["locations"][0])
        self.assertEqual(document["totals"], {
            "locations": 2, "polygons": 2, "curves": 0, "points": 6,
            "bounds": {"min": [-10.0, 0.0, 0.0], "max": [-9.0, 1.0, 0.0]}})
        document = json.loads(self.tellar("walk", self.scene, "--match", "x", "--json"))
        self.assertEqual((document["locations"], document["totals"]["bounds"]), ([], None))

    def test_threads_print_the_same(self):
        scene = self.examples / "garden.json"
        for form in ([], ["--json"]):
            with self.subTest(form):
                alone = self.tellar("walk", scene, "--type", "mesh", *form)
                self.assertEqual(self.tellar("walk", scene, "--type", "mesh", "--threads", 4,
                                             *form), alone)

    def test_a_misspelt_type_is_asked_about(self):
        status, output, errors = self.run_tellar("walk", self.scene, "--type", "polymehs")
        self.assertEqual((status, output.splitlines()[0]), (0, "locations  0"))
        self.assertEqual(errors, 'tellar: warning: --type: no location is of the type "polymehs"; '
                                 'did you mean "polymesh"?\n')

    def test_a_glob_that_is_none_is_refused(self):
        self.assert_fails_with("--match: ", "walk", self.scene, "--match", "leaf[")


if __name__ == "__main__":
    main()

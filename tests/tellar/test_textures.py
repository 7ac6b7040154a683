#!/usr/bin/env python3
"""tellar textures and tellar tile-path.

    test_textures.py PROGRAM EXAMPLES_FOLDER
"""

import json

from material_scenes import SceneTest, X, plain
from tellar_test import TellarTest, main


class TexturesTest(SceneTest):
    TEXTURES = {"dirt": "dirt.exr",
                "tiles": {"maps": ["a.exr", "b.exr"], "indicies": [0, 1, 1]},
                "single": {"maps": "c.exr", "indicies": [0, 0]},
                "unindexed": {"maps": ["d.exr", "e.exr"], "indices": [0, 1]},
                "number": 7, "empty": {"files": "f.exr"}}

    def test_prints_scope_values_and_indices(self):
        scene = self.one(textures=self.TEXTURES)
        self.assertEqual(self.tellar("textures", scene, "--at", X), """\
dirt       primitive  "dirt.exr"
tiles      face       "a.exr", "b.exr" (string, 2 values)  by 3 indices
single     primitive  "c.exr"
unindexed  primitive  "d.exr", "e.exr" (string, 2 values)
""")

    def test_prints_the_group_as_json(self):
        scene = self.one(textures=self.TEXTURES)
        self.assertEqual(plain(json.loads(self.tellar("textures", scene, "--at", X, "--json"))), {
            "dirt": {"value": "dirt.exr", "scope": "primitive"},
            "tiles": {"scope": "face", "indexedValue": ["a.exr", "b.exr"], "index": [0, 1, 1]},
            "single": {"value": "c.exr", "scope": "primitive"},
            "unindexed": {"value": ["d.exr", "e.exr"], "scope": "primitive"}})

    def test_textures_are_inherited_and_may_have_another_name(self):
        scene = self.scene({"g": {"a": {"textures": {"dirt": "d.exr"},
                                        "look": {"maps": {"dust": "e.exr"}}},
                                  "c": {"x": {}}}})
        self.assertEqual(self.tellar("textures", scene, "--at", "/root/g/x"),
                         'dirt  primitive  "d.exr"\n')
        self.assertEqual(self.tellar("textures", scene, "--at", "/root/g/x", "--attr",
                                     "look.maps"), 'dust  primitive  "e.exr"\n')

    def test_nothing_to_convert_is_none(self):
        scene = self.one(textures={"number": 7}, other={})
        for name in ("textures", "other"):
            self.assertEqual(self.tellar("textures", scene, "--at", X, "--attr", name), "none\n")
            self.assertEqual(self.tellar("textures", scene, "--at", X, "--attr", name, "--json"),
                             "{}\n")

    def test_what_is_not_there_is_named(self):
        scene = self.one(number=7)
        self.assert_fails(f'{scene}: /root/x has no attribute "textures"',
                          "textures", scene, "--at", X)
        self.assert_fails(f'{scene}: /root/x has no attribute ""',
                          "textures", scene, "--at", X, "--attr", "")
        self.assert_fails(f'{scene}: /root/x: the attribute "number" is no group',
                          "textures", scene, "--at", X, "--attr", "number")
        self.assert_fails(f'{scene}: there is no location "/root/y"',
                          "textures", scene, "--at", "/root/y")
        self.assert_fails('--at: "x" is no absolute location path', "textures", scene, "--at", "x")
        self.assert_fails("--at is required", "textures", scene)

    def test_help_names_every_option(self):
        text = self.tellar("textures", "--help")
        for word in ("SCENE", "--at PATH", "--attr NAME", "--json", "Examples:"):
            self.assertIn(word, text)


class TilePathTest(TellarTest):
    TEMPLATE = "@STEM@_c@COLUMN@_r@ROW@@EXT@"

    def path(self, *arguments, **environment):
        return self.tellar("tile-path", *arguments, **environment)

    def warned(self, warning, *arguments, **environment):
        status, output, errors = self.run_tellar("tile-path", *arguments, **environment)
        self.assertEqual((status, errors), (0, f"tellar: warning: {warning}\n"))
        return output

    def test_the_tile_is_named_in_front_of_the_picture(self):
        self.assertEqual(self.path("/out/beauty.exr", "--tile", "2,3"),
                         "/out/tile_2_3.beauty.exr\n")
        self.assertEqual(self.path("beauty.exr", "--tile", "2,3"), "tile_2_3.beauty.exr\n")
        self.assertEqual(self.path("/out/beauty", "--tile", "2,3"), "/out/tile_2_3.beauty\n")
        self.assertEqual(self.path("/out/beauty.exr", "--tile", "-1,0,4,5"),
                         "/out/tile_-1_0.beauty.exr\n")

    def test_a_template_names_it_otherwise(self):
        for template, path in ((self.TEMPLATE, "/out/beauty_c2_r3.exr"),
                               ("@DEFAULT@", "/out/tile_2_3.beauty.exr"),
                               ("@DEFAULT@_@COLUMNS@x@ROWS@", "/out/tile_2_3.beauty.exr_4x5"),
                               ("/t/" + self.TEMPLATE, "/t/beauty_c2_r3.exr")):
            with self.subTest(template=template):
                self.assertEqual(self.path("/out/beauty.exr", "--tile", "2,3,4,5", "--template",
                                           template), path + "\n")

    def test_the_template_may_be_that_of_the_configuration(self):
        environment = {"OX_CONFIG_OMBRA_TILE_FILENAME": self.TEMPLATE}
        self.assertEqual(self.path("/out/beauty.exr", "--tile", "2,3", **environment),
                         "/out/beauty_c2_r3.exr\n")
        self.assertEqual(self.path("/out/beauty.exr", "--tile", "2,3", "--template", "@DEFAULT@",
                                   **environment), "/out/tile_2_3.beauty.exr\n")
        file = self.write("config.json", {"OMBRA_TILE_FILENAME": self.TEMPLATE})
        self.assertEqual(self.path("/out/beauty.exr", "--tile", "2,3", OX_CONFIG_FILE=file),
                         "/out/beauty_c2_r3.exr\n")

    def test_a_template_that_is_not_usable_is_a_warning(self):
        for template in ("@STEM@_@COLUMN@@EXT@", "", "tile"):
            with self.subTest(template=template):
                self.assertEqual(
                    self.warned(f'OMBRA_TILE_FILENAME (defined as "{template}") should contain '
                                '@COLUMN@, @ROW@, @STEM@ and @EXT@, or @DEFAULT@',
                                "/out/beauty.exr", "--tile", "2,3", "--template", template),
                    "/out/tile_2_3.beauty.exr\n")

    def test_counts_that_are_not_given_are_a_warning(self):
        template = "@DEFAULT@_@COLUMNS@x@ROWS@"
        self.assertEqual(
            self.warned(f'OMBRA_TILE_FILENAME (defined as "{template}") is using @COLUMNS@ or '
                        '@ROWS@, but tiles count is not available.',
                        "/out/beauty.exr", "--tile", "2,3", "--template", template),
            "/out/tile_2_3.beauty.exr_UnknownColumnsxUnknownRows\n")

    def test_warnings_are_log_messages_when_those_are_asked_for(self):
        arguments = ("tile-path", "/out/beauty.exr", "--tile", "2,3", "--template", "tile")
        status, _, errors = self.run_tellar(*arguments, OX_LOG_LEVEL="warn")
        self.assertEqual(status, 0)
        self.assertTrue(errors.startswith("[warn] RenderOutputUtils: OMBRA_TILE_FILENAME"), errors)
        self.assertEqual(self.tellar(*arguments, OX_LOG_LEVEL="error"),
                         "/out/tile_2_3.beauty.exr\n")

    def test_bad_tiles_are_named(self):
        for tile in ("7", "1,2,3", "1,2,3,4,5", "a,b", "1.5,2", "1,", "1, 2", "3000000000,0"):
            with self.subTest(tile=tile):
                self.assert_fails(f'--tile: "{tile}" is not C,R or C,R,CS,RS, such as 2,3 or '
                                  '2,3,8,8', "tile-path", "/out/beauty.exr", f"--tile={tile}")
        self.assert_fails("--tile is required", "tile-path", "/out/beauty.exr")
        self.assert_fails("PATH is required", "tile-path", "--tile", "2,3")

    def test_help_names_every_option(self):
        text = self.tellar("tile-path", "--help")
        for word in ("PATH", "--tile C,R[,CS,RS]", "--template TEMPLATE", "Examples:"):
            self.assertIn(word, text)


if __name__ == "__main__":
    main()

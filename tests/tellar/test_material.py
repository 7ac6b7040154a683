#!/usr/bin/env python3
"""tellar material.

    test_material.py PROGRAM EXAMPLES_FOLDER
"""

import json
import os
import struct
import subprocess
import xml.etree.ElementTree as xml

from material_scenes import DENTS, PAINT, SceneTest, X, network, node, plain
from tellar_test import SMALL, main


class MaterialTest(SceneTest):
    def test_prints_materials_terminals_nodes_parameters_and_connections(self):
        scene = self.one(material=network(
            {"surface": "paint", "surfacePort": "out", "volume": "fog"},
            node("paint", "standard_surface", {"roughness": 0.5, "coat": {"weight": 1}},
                 {"baseColor": "rgb@image", "coat": {"color": " r @ image "}}),
            node("image", "image", {"file": "a.exr"}), node("fog", "medium"),
            parameters={"shine": 0.25, "gloss": 2}, interface={"shine": {"src": "paint.roughness"},
                                                               "gloss": {"src": "fog.density"}}))
        self.assertEqual(self.material(scene, X), """\
location  /root/x
style     network
materials
    /root/x  network
terminals
    surface  paint.out
    volume   fog
fog [medium]
    density: 2 (int)
image [image]
    file: "a.exr"
paint [standard_surface]
    roughness: 0.25 (double)
    coat.weight: 1 (int)
    baseColor <- image.rgb
    coat.color <- image.r
""")

    def test_nearer_materials_serve_their_terminals_and_farther_ones_the_rest(self):
        scene = self.scene({"g": {"a": {"material": DENTS}, "c": {
            "x": {"a": {"material": PAINT}}, "plain": {}}}})
        self.assertEqual(self.material(scene, "/root/g/x"), """\
location  /root/g/x
style     network
materials
    /root/g/x  network
    /root/g    network
terminals
    surface       paint:0
    displacement  dents:1
dents:1 [noise]
    height: 2 (int)
metal:1 [standard_surface]
    normal <- dents:1.n
paint:0 [standard_surface]
    roughness: 0.5 (double)
""")
        self.assertEqual(self.flattened(scene, "/root/g/plain"), DENTS)

    def test_terminals_can_be_chosen(self):
        scene = self.scene({"g": {"a": {"material": DENTS}, "c": {"x": {"a": {
            "material": PAINT}}}}})
        chosen = self.flattened(scene, "/root/g/x", "--terminals", "displacement")
        self.assertEqual((list(chosen["nodes"]), chosen["terminals"]),
                         (["metal:1", "dents:1"], {"displacement": "dents:1"}))
        chosen = self.flattened(scene, "/root/g/x", "--terminals", "surface,displacement")
        self.assertEqual(chosen, self.flattened(scene, "/root/g/x"))
        self.assertEqual(self.flattened(scene, "/root/g/x", "--terminals", "light"),
                         {"style": "network"})
        # A single material is not taken apart.
        self.assertEqual(self.flattened(scene, "/root/g", "--terminals", "light"), DENTS)

    def test_legacy_materials_are_shown_as_nodes(self):
        scene = self.one(material={"surfaceShader": "wood", "surfaceParams": {"grain": 3},
                                   "lightShader": "glow", "Shader": "none", "tag": {"a": "b"}})
        self.assertEqual(self.material(scene, X), """\
location  /root/x
style     legacy
materials
    /root/x  legacy
terminals
    surface  surface
    light    light
light [glow]
surface [wood]
    grain: 3 (int)
other values
    Shader: "none"
    tag.a: "b"
""")

    def test_legacy_materials_join_networks(self):
        scene = self.scene({"g": {"a": {"material": DENTS}, "c": {"x": {"a": {
            "material": {"surfaceShader": "glass", "surfaceParams": {"ior": 1.5}}}}}}})
        flattened = self.flattened(scene, "/root/g/x")
        self.assertEqual(flattened["nodes"]["surface:0"],
                         {"name": "surface:0", "type": "glass", "parameters": {"ior": 1.5}})
        self.assertEqual(flattened["terminals"],
                         {"surface": "surface:0", "displacement": "dents:1"})
        self.assertIn("    /root/g/x  legacy\n    /root/g    network\n",
                      self.material(scene, "/root/g/x"))

    def test_the_port_of_a_terminal_is_no_terminal(self):
        port = {**PAINT, "terminals": {"surface": "paint", "surfacePort": "out", "lonePort": "paint"}}
        scene = self.scene({"g": {"a": {"material": DENTS}, "c": {"x": {"a": {
            "material": port}}}}})
        self.assertEqual(self.flattened(scene, "/root/g/x")["terminals"],
                         {"surface": "paint:0", "lonePort": "paint:0", "displacement": "dents:1"})

    def test_follows_assignments(self):
        """Whether or not the material was copied to the location."""
        for copied in ({}, {"material": PAINT}):
            with self.subTest(copied=copied):
                scene = self.scene({
                    "materials": {"c": {"paint": {"a": {"material": PAINT}}}},
                    "g": {"a": {"materialAssign": "/root/materials/paint", **copied},
                          "c": {"x": {}}}})
                text = self.material(scene, "/root/g/x")
                self.assertIn("materials\n    /root/g  network  assigned from "
                              "/root/materials/paint\nterminals\n    surface  paint\n", text)
                self.assertNotIn("note", text)
                self.assertEqual(self.flattened(scene, "/root/g/x"), PAINT)

    def test_an_assignment_comes_before_another_material_of_the_location(self):
        scene = self.scene({"paint": {"a": {"material": PAINT}},
                            "x": {"a": {"materialAssign": "/root/paint", "material": DENTS}}})
        self.assertEqual(self.flattened(scene, X), PAINT)
        self.assertTrue(self.material(scene, X).endswith(
            'note: the "material" of /root/x itself differs from that of /root/paint, and is left '
            'out\n'))

    def test_an_assignment_that_leads_nowhere_is_noted(self):
        for target in ("/root/gone", "/root/empty", "paint"):
            with self.subTest(target=target):
                scene = self.scene({"empty": {}, "x": {"a": {"materialAssign": target,
                                                             "material": PAINT}}})
                self.assertEqual(self.flattened(scene, X), PAINT)
                self.assertTrue(self.material(scene, X).endswith(
                    f'note: /root/x is assigned "{target}", where there is no material\n'))

    def test_nodes_that_are_missing_are_noted(self):
        scene = self.one(material=network({"surface": "gone"},
                                          node("paint", "p", {}, {"in": "out@lost"})))
        self.assertTrue(self.material(scene, X).endswith(
            'note: terminal "surface" leads to "gone", which is no node\n'
            'note: "in" of "paint" is connected to "lost", which is no node\n'))

    def test_minimize_prints_the_materials_one_by_one(self):
        scene = self.scene({"g": {"a": {"material": {"surfaceShader": "wood"}}, "c": {
            "x": {"a": {"material": {**PAINT, "bulk": 7}}}}}})
        self.assertEqual(self.material(scene, "/root/g/x", "--minimize"), """\
/root/g/x  network
    style: "network"
    nodes.paint.name: "paint"
    nodes.paint.type: "standard_surface"
    nodes.paint.parameters.roughness: 0.5 (double)
    terminals.surface: "paint"
/root/g  legacy
    surfaceShader: "wood"
""")
        printed = json.loads(self.material(scene, "/root/g/x", "--minimize", "--json"))
        for one in printed:
            one["material"] = plain(one["material"])
        self.assertEqual(printed, [
            {"location": "/root/g/x", "assignedFrom": None, "material": PAINT},
            {"location": "/root/g", "assignedFrom": None, "material": {"surfaceShader": "wood"}}])

    def test_minimize_says_where_an_assigned_material_is_from(self):
        scene = self.scene({"paint": {"a": {"material": PAINT}},
                            "x": {"a": {"materialAssign": "/root/paint"}}})
        self.assertTrue(self.material(scene, X, "--minimize").startswith(
            "/root/x  network  assigned from /root/paint\n"))
        [printed] = json.loads(self.material(scene, X, "--minimize", "--json"))
        self.assertEqual(printed["assignedFrom"], "/root/paint")

    def test_materials_with_nothing_in_them_are_null(self):
        scene = self.scene({"g": {"a": {"material": {}}, "c": {"x": {"a": {"material": {}}}}}})
        self.assertEqual(self.material(scene, "/root/g/x", "--json"), "null\n")
        self.assertIn("terminals\n    none\n", self.material(scene, "/root/g/x"))

    def test_every_form_of_a_scene_will_do(self):
        scene = self.scene({"g": {"a": {"material": DENTS}, "c": {"x": {"a": {
            "material": PAINT}}}}})
        for name in ("s.oxop", "s.oxattr"):
            self.tellar("convert", scene, name)
            self.assertEqual(self.material(name, "/root/g/x"), self.material(scene, "/root/g/x"))

    def test_what_cannot_be_told_is_named(self):
        scene = self.one(material="red", size=1)
        for form in ([], ["--json"], ["--dot"], ["--minimize"], ["--png", "x.png"]):
            with self.subTest(form=form):
                self.assert_fails(f"{scene}: /root/x has no material",
                                  "material", scene, "--at", X, *form)
        assigned = self.one(materialAssign="/root/gone")
        self.assert_fails(f'{assigned}: /root/x has no material; /root/x is assigned "/root/gone", '
                          'where there is no material', "material", assigned, "--at", X)
        self.assert_fails(f'{scene}: there is no location "/root/y"',
                          "material", scene, "--at", "/root/y")
        self.assert_fails('--at: "x" is no absolute location path', "material", scene, "--at", "x")
        self.assert_fails("--at is required", "material", scene)
        self.assert_fails('--terminals: "a,,b" is not NAME,NAME,..., such as surface',
                          "material", scene, "--at", X, "--terminals", "a,,b")
        for first, second in (("--json", "--dot"), ("--minimize", "--dot")):
            self.assert_fails_with("excludes", "material", scene, "--at", X, first, second)
        for form in ("--json", "--dot", "--minimize"):
            self.assert_fails_with("excludes", "material", scene, "--at", X, form, "--png", "x.png")

    def test_help_names_every_option(self):
        text = self.tellar("material", "--help")
        for word in ("SCENE", "--at PATH", "--terminals NAME,NAME,...", "--minimize", "--json",
                     "--dot", "--png FILE", "Examples:", "tellar material"):
            self.assertIn(word, text)


class DrawingTest(SceneTest):
    """What Graphviz makes of it."""

    def draw(self, scene, at):
        drawing = self.material(scene, at, "--dot")
        done = subprocess.run(["dot", "-Tjson"], input=drawing.encode(), capture_output=True,
                              timeout=600, check=True)
        self.assertEqual(done.stderr, b"")
        return json.loads(done.stdout)

    @staticmethod
    def edges(drawing):
        labels = [one.get("label") for one in drawing["objects"]]
        return {(labels[edge["tail"]], labels[edge["head"]], edge.get("label", ""))
                for edge in drawing["edges"]}

    def test_draws_nodes_terminals_and_connections(self):
        scene = self.one(material=network(
            {"surface": "paint", "surfacePort": "out"},
            node("paint", "standard_surface", {}, {"layer": {"color": "rgb@image"}}),
            node("image", "image")))
        drawing = self.draw(scene, X)
        self.assertEqual(drawing["rankdir"], "LR")
        shapes = {one["label"]: one["shape"] for one in drawing["objects"] if "label" in one
                  and "shape" in one}
        self.assertEqual(shapes, {"paint\\nstandard_surface": "box", "image\\nimage": "box",
                                  "surface": "ellipse"})
        self.assertEqual(self.edges(drawing), {
            ("image\\nimage", "paint\\nstandard_surface", "rgb -> layer.color"),
            ("paint\\nstandard_surface", "surface", "out")})

    def test_nodes_that_are_missing_are_drawn_as_such(self):
        scene = self.one(material=network({"surface": "gone"},
                                          node("paint", "p", {}, {"in": "out@lost"})))
        self.assertEqual(self.edges(self.draw(scene, X)), {
            ("lost\\nis missing", "paint\\np", "out -> in"), ("gone\\nis missing", "surface", "")})

    def test_names_may_hold_anything(self):
        odd = 'a"b\\n{c}|<d>&amp; \u2192 \x01'
        shown = 'a"b\\n{c}|<d>&amp; \u2192 \\x01'
        broken = {"$type": "string", "hex": ["ff41"]}
        scene = self.one(material={"style": "network", "nodes": {"$type": "group", "children": {
            "one": node(odd, "t\n"), "two": {"name": broken, "type": "u"}}},
            "terminals": {"surface": odd}})
        svg = subprocess.run(["dot", "-Tsvg"], input=self.material(scene, X, "--dot").encode(),
                             capture_output=True, timeout=600, check=True)
        self.assertEqual(svg.stderr, b"")
        texts = {"".join(text.itertext()) for text in
                 xml.fromstring(svg.stdout).iter("{http://www.w3.org/2000/svg}text")}
        texts = {text.replace("\u00a0", " ") for text in texts}
        for text in (shown, "t\\x0a", "\\xffA", "u", "surface", X):
            self.assertIn(text, texts)

    def test_writes_a_png(self):
        scene = self.one(material=DENTS)
        self.write("x.png", "what was there before")
        self.assertEqual(self.material(scene, X, "--png", "x.png"), "")
        picture = (self.folder / "x.png").read_bytes()
        self.assertEqual(picture[:8], b"\x89PNG\r\n\x1a\n")
        width, height = struct.unpack(">II", picture[16:24])
        self.assertGreater(width, 200)
        self.assertGreater(height, 80)
        self.assertGreater(len(picture), 2000)
        self.assertEqual(sorted(os.listdir(self.folder)), ["s.json", "x.png"])

    def fake_dot(self, script):
        folder = self.folder / "bin"
        folder.mkdir(exist_ok=True)
        (folder / "dot").write_text("#!/bin/sh\n" + script)
        (folder / "dot").chmod(0o755)
        return str(folder)

    def test_a_picture_that_cannot_be_made_leaves_the_file_alone(self):
        scene = self.one(material=DENTS)
        self.write("x.png", "as it was")
        arguments = ("material", scene, "--at", X, "--png", "x.png")
        self.assert_fails('--png: there is no program "dot" on PATH', *arguments,
                          PATH=str(self.folder))
        for script, error in (("echo 'no fonts' >&2; echo more >&2; exit 3", "dot failed: no fonts"),
                              ("exit 3", "dot failed with exit status 3"),
                              ("kill -9 $$", "dot was ended by signal 9 (Killed)"),
                              ("exit 0", "dot made no picture")):
            with self.subTest(script=script):
                self.assert_fails("--png: " + error, *arguments, PATH=self.fake_dot(script))
        self.assertEqual((self.folder / "x.png").read_text(), "as it was")
        self.assert_fails("--png: gone/x.png: cannot be written: No such file or directory",
                          "material", scene, "--at", X, "--png", "gone/x.png")

    def test_dot_is_given_its_arguments_without_a_shell(self):
        scene = self.one(material=DENTS)
        path = self.fake_dot('printf "%s:" "$@"; read first; printf "%s" "$first"')
        self.material(scene, X, "--dot")
        self.tellar("material", scene, "--at", X, "--png", "$(x).png", PATH=path)
        self.assertEqual((self.folder / "$(x).png").read_text(), "-Tpng:digraph material {")


class ExamplesTest(SceneTest):
    """Each material of the examples is a whole that a renderer can load."""

    def geometry_locations(self, scene):
        found = []

        def visit(location):
            if location["type"] == "polymesh":
                found.append(location["path"])
            for child in location.get("children", []):
                visit(child)
        visit(json.loads(self.tellar("walk", scene, "--json", "--at", "/root/world")))
        return found

    def assert_complete(self, flattened):
        """Counts what leads to nodes: terminals, connections, exposed parameters."""
        if flattened.get("style") != "network":
            shaders = [name for name in flattened if name.endswith("Shader")]
            self.assertTrue(shaders)
            return [len(shaders), 0, 0]
        names = {one["name"] for one in flattened["nodes"].values()}
        terminals = flattened["terminals"]
        served = [name for name in terminals
                  if not (name.endswith("Port") and name[:-4] in terminals)]
        self.assertTrue(served)
        for name in served:
            self.assertIn(terminals[name], names)
        sources = []

        def connected(connections):
            for value in connections.values():
                if isinstance(value, dict):
                    connected(value)
                else:
                    sources.append(value.split("@")[1])
        for one in flattened["nodes"].values():
            self.assertTrue(one["type"])
            connected(one.get("connections", {}))
        for source in sources:
            self.assertIn(source, names)
        exposed = flattened.get("parameters", {})
        self.assertEqual(set(exposed), set(flattened.get("interface", {})))
        for entry in flattened.get("interface", {}).values():
            self.assertIn(entry["src"].split(".")[0], flattened["nodes"])
        return [len(served), len(sources), len(exposed)]

    def test_the_kinds_of_materials(self):
        scene = self.examples / "materials.json"
        found = {}
        for path in self.geometry_locations(scene):
            with self.subTest(path=path):
                found[path] = self.assert_complete(self.flattened(scene, path))
                self.assertNotIn("note", self.material(scene, path))
        self.assertEqual(found, {
            "/root/world/medal": [1, 1, 2], "/root/world/mosaic": [1, 4, 0],
            "/root/world/crate": [2, 0, 0], "/root/world/gallery/niche": [2, 1, 1],
            "/root/world/gallery/fresco": [2, 2, 2], "/root/world/gallery/mirror": [2, 1, 1]})

    def test_the_garden(self):
        scene = self.examples / "garden.json"
        materials = [location["path"] for location in json.loads(
            self.tellar("walk", scene, "--at", "/root/materials", "--json"))["children"]]
        self.assertEqual(len(materials), 16)
        for path in materials:
            with self.subTest(path=path):
                self.assert_complete(self.flattened(scene, path))
        paths = self.geometry_locations(scene)
        self.assertGreater(len(paths), 100)
        for path in paths[::10] if SMALL else paths:
            with self.subTest(path=path):
                self.assert_complete(self.flattened(scene, path))
        leaves = "/root/world/garden/trees/oak_1/crown"
        leaves = next(path for path in paths if path.startswith(leaves))
        self.assertIn(f"    {leaves}  network  assigned from /root/materials/marigold\n",
                      self.material(scene, leaves))


if __name__ == "__main__":
    main()

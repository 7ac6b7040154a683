#!/usr/bin/env python3
"""`tellar deps` and `tellar pack`: the files of a scene, and packs that can be moved.

    test_pack.py PROGRAM EXAMPLES_FOLDER
"""

import fcntl
import json
import os
import re
import resource
import shutil
import signal
import stat
import subprocess
import zipfile
from pathlib import Path

from packable_scenes import TRIANGLE, data_uri, gltf, image_material, png, write_site
from tellar_test import TellarTest, main, static_scene, with_usual_signals


class PackTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.folder = self.folder.resolve()
        self.environment["XDG_CACHE_HOME"] = str(self.folder / "cache")
        self.files = write_site(self.folder)
        self.scene = self.folder / "site/scene.json"

    def deps(self, scene):
        """The paths of the files by their kinds, and the exit status."""
        status, output, _ = self.run_tellar("deps", scene, "--json")
        document = json.loads(output)
        self.assertEqual(document["missing"], sum(file["missing"] for file in document["files"]))
        kinds = {}
        for file in document["files"]:
            kinds.setdefault(file["kind"], []).append(Path(file["path"]))
        return {kind: sorted(paths) for kind, paths in kinds.items()}, status

    def walk(self, scene):
        """All locations and attributes, with textures replaced by their content. A texture that an
        op names may be relative to the scene."""
        text = self.tellar("walk", scene, "--json", "--attrs", "--xform")

        def content(found):
            return json.dumps((scene.parent / found[1]).read_bytes().hex())
        return re.sub(r'"([^"]*\.png)"', content, text)

    def test_lists_all_files_by_their_kinds(self):
        self.assertEqual(self.deps(self.scene), (self.files, 0))

    def test_lists_are_tables_for_people(self):
        lines = self.tellar("deps", self.scene).splitlines()
        self.assertEqual(lines[0], f"scene    {self.scene}")
        self.assertIn(f"texture  {self.folder}/far/wood.png", lines)

    def test_missing_files_are_marked(self):
        (self.folder / "site/robot/textures/skin.png").unlink()
        (self.folder / "site/box/box.mtl").unlink()
        status, output, _ = self.run_tellar("deps", self.scene)
        self.assertEqual(status, 1)
        self.assertEqual([line.split("/site/")[1] for line in output.splitlines()
                          if line.endswith("  (missing)")],
                         ["robot/textures/skin.png  (missing)", "box/box.mtl  (missing)"])

    def test_a_missing_buffer_is_marked_though_the_model_cannot_be_read(self):
        buffer = self.folder / "site/robot/data/robot one.bin"
        buffer.unlink()
        status, output, errors = self.run_tellar("deps", self.scene)
        self.assertEqual(status, 1)
        self.assertIn(f"part     {buffer}  (missing)", output.splitlines())
        self.assertIn("robot.gltf", errors)

    def test_a_damaged_model_is_an_error_behind_the_list(self):
        model = self.write("broken.gltf", "{")
        status, output, errors = self.run_tellar("deps", model)
        self.assertEqual((status, output.split()[:2]), (2, ["scene", model]))
        self.assertTrue(errors.startswith(f"tellar: {model}: "), errors)

    def test_embedded_images_are_told_as_such(self):
        model = self.write("in_one.gltf", gltf(data_uri("application/octet-stream", TRIANGLE),
                                               data_uri("image/png", png(1, 2, 3))))
        kinds, status = self.deps(model)
        self.assertEqual((status, set(kinds)), (0, {"scene", "embedded"}))
        self.assertIn(f"  (in {model})\n", self.tellar("deps", model))

    def test_tiles_of_a_texture_are_listed_one_by_one(self):
        for tile in ("1001", "1002", "10", "x001"):
            self.write(f"skin.{tile}.png", png(1, 2, 3))
        scene = self.write("tiles.json", static_scene({"box": {"a": {
            "material": image_material(str(self.folder / "skin.<UDIM>.png"))}}}))
        kinds, status = self.deps(scene)
        self.assertEqual((status, kinds["texture"]),
                         (0, [self.folder / "skin.1001.png", self.folder / "skin.1002.png"]))
        self.tellar("pack", scene, "packed")
        self.assertEqual(sorted(os.listdir(self.folder / "packed/textures")),
                         ["skin.1001.png", "skin.1002.png"])
        self.assertIn('"textures/skin.<UDIM>.png"',
                      (self.folder / "packed/tiles.json").read_text())

    def test_a_packed_folder_is_the_same_elsewhere_without_the_originals(self):
        walked = self.walk(self.scene)
        self.assertEqual(self.tellar("pack", self.scene, "packed"), "packed/scene.json\n")
        shutil.rmtree(self.folder / "site")
        shutil.rmtree(self.folder / "far")
        moved = self.folder / "else where"
        os.rename(self.folder / "packed", moved)
        self.assertEqual(self.walk(moved / "scene.json"), walked)
        self.assertEqual(self.run_tellar("deps", moved / "scene.json")[0], 0)

    def test_a_zip_file_holds_the_same_as_a_folder(self):
        self.tellar("pack", self.scene, "packed")
        self.assertEqual(self.tellar("pack", self.scene, "whole.zip"), "whole.zip\n")
        with zipfile.ZipFile(self.folder / "whole.zip") as archive:
            self.assertIsNone(archive.testzip())
            archive.extractall(self.folder / "out")
        self.assertEqual(self.contents("out/whole"), self.contents("packed"))

    def contents(self, name):
        folder = self.folder / name
        return {str(path.relative_to(folder)): path.read_bytes()
                for path in folder.rglob("*") if path.is_file()}

    def test_files_keep_their_places_and_clashes_get_folders(self):
        self.tellar("pack", self.scene, "packed")
        self.assertEqual(set(self.contents("packed")), {
            "scene.json", "models/robot/source/robot.gltf", "models/robot/data/robot one.bin",
            "models/robot/textures/skin.png", "models/box/site/box/box.obj",
            "models/box/site/box/box.mtl", "models/box/far/wood.png",
            "models/box/site/box/textures/wood.png", "textures/wood.png",
            "textures/wood/wood.png"})

    def test_a_scene_behind_a_link_is_packed_the_same(self):
        self.tellar("pack", self.scene, "packed")
        os.symlink(self.folder / "site", self.folder / "link")
        (self.folder / "deep").mkdir()
        os.symlink(self.folder / "deep", self.folder / "shallow")
        self.tellar("pack", "link/scene.json", "shallow/packed")
        self.assertEqual(self.contents("deep/packed"), self.contents("packed"))

    def test_a_model_is_packed_with_a_scene_that_imports_it(self):
        model = self.folder / "site/robot/source/robot.gltf"
        self.assertEqual(self.tellar("pack", model, "packed"), "packed/robot.json\n")
        self.assertEqual(self.tellar("walk", "packed/robot.json"), self.tellar("walk", model))

    def test_missing_files_are_refused_unless_they_may_be_missing(self):
        texture = self.folder / "site/robot/textures/skin.png"
        texture.unlink()
        self.assert_fails_with(f"{texture}: is missing", "pack", self.scene, "packed")
        self.assertFalse((self.folder / "packed").exists())
        self.assertEqual(self.run_tellar("pack", self.scene, "packed", "--allow-missing")[0], 0)
        self.assertTrue((self.folder / "packed/models/robot/source/robot.gltf").exists())

    def test_images_inside_models_need_no_cache(self):
        """Without the cache they are in a temporary folder, which still counts as embedded."""
        self.write("blocked", "")
        self.environment["OX_CONFIG_IMAGE_CACHE"] = str(self.folder / "blocked/images")
        (self.folder / "tmp").mkdir()
        self.environment["TMPDIR"] = str(self.folder / "tmp")
        model = self.write("alone.gltf", gltf(data_uri("application/octet-stream", TRIANGLE),
                                              data_uri("image/png", png(1, 2, 3))))
        self.assertIn(f"embedded  {self.folder}/tmp/tellar-images-", self.tellar("deps", model))
        self.run_tellar("pack", model, "packed")
        self.assertEqual(os.listdir(self.folder / "tmp"), [])
        self.assertNotIn("textures", os.listdir(self.folder / "packed"))

    def test_nothing_is_overwritten_without_being_told(self):
        (self.folder / "full").mkdir()
        (self.folder / "empty").mkdir()
        self.write("full/mine", "mine")
        self.write("old.zip", "old")
        self.assert_fails("full: is there already, and is not empty", "pack", self.scene, "full")
        self.assert_fails("old.zip: is there already; --overwrite replaces it",
                          "pack", self.scene, "old.zip")
        self.assertEqual((self.folder / "old.zip").read_text(), "old")
        self.assert_fails("--overwrite: only a zip file is replaced, never a folder",
                          "pack", self.scene, "full", "--overwrite")
        self.tellar("pack", self.scene, "old.zip", "--overwrite")
        self.assertTrue(zipfile.is_zipfile(self.folder / "old.zip"))
        number = (self.folder / "empty").stat().st_ino
        self.tellar("pack", self.scene, "empty/")
        self.assertEqual((self.folder / "empty").stat().st_ino, number)
        self.assertEqual(sorted(os.listdir(self.folder / "empty")),
                         ["models", "scene.json", "textures"])
        self.assert_fails("TARGET: the path is empty", "pack", self.scene, "")

    def test_a_link_to_a_zip_file_stays(self):
        self.write("real.zip", "old")
        os.symlink("real.zip", self.folder / "link.zip")
        self.tellar("pack", self.scene, "link.zip", "--overwrite")
        self.assertTrue((self.folder / "link.zip").is_symlink())
        self.assertTrue(zipfile.is_zipfile(self.folder / "real.zip"))

    def test_a_failure_leaves_nothing_behind(self):
        before = sorted(os.listdir(self.folder))
        self.write("broken.gltf", "{")
        self.assert_fails_with("broken.gltf", "pack", self.folder / "broken.gltf", "packed")
        (self.folder / "broken.gltf").unlink()
        self.assert_fails_with("no/such/packed", "pack", self.scene, "no/such/packed")
        self.assert_fails_with("no/such/packed.zip", "pack", self.scene, "no/such/packed.zip")
        self.assertEqual(sorted(set(os.listdir(self.folder)) - {"cache"}), before)

    def stop_packing(self, target, watched, sent, prepare=with_usual_signals):
        """Sends a signal when something appears in the watched folder. Returns the exit status and
        standard error."""
        def content():
            # ThreadSanitizer keeps a file there for a moment before the program begins.
            return {name for name in os.listdir(watched) if not name.startswith("tsan.")}

        before = content()
        process = subprocess.Popen([self.program, "pack", str(self.scene), target], cwd=self.folder,
                                   env={**self.environment, "TMPDIR": str(self.folder / "tmp")},
                                   stderr=subprocess.PIPE, preexec_fn=prepare)
        while process.poll() is None and content() == before:
            pass
        process.send_signal(sent)
        errors = process.communicate(timeout=600)[1].decode()
        return process.returncode, errors

    def test_signals_leave_nothing_behind(self):
        for tile in range(1001, 1801):
            self.write(f"site/maps/many.{tile}.png", png(1, 2, 3))
        self.scene = self.write("site/many.json", static_scene({"box": {"a": {
            "material": image_material(str(self.folder / "site/maps/many.<UDIM>.png"))}}}))
        for name in ("tmp", "there"):
            (self.folder / name).mkdir()
        before = sorted(os.listdir(self.folder))
        for target, watched, sent, status in (("packed", "", signal.SIGINT, 130),
                                              ("packed", "", signal.SIGTERM, 143),
                                              ("there", "there", signal.SIGINT, 130),
                                              ("packed.zip", "tmp", signal.SIGINT, 130)):
            with self.subTest(target=target, sent=sent):
                self.assertEqual(self.stop_packing(target, self.folder / watched, sent),
                                 (status, "tellar: stopped; nothing is packed\n"))
                self.assertEqual(sorted(os.listdir(self.folder)), before)
                for name in ("tmp", "there"):
                    self.assertEqual(os.listdir(self.folder / name), [])

    def test_a_signal_does_not_wait_for_the_end_of_a_file(self):
        """The file is so large that it cannot be copied to its end."""
        def limit_files():
            with_usual_signals()
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 34, 1 << 34))
        self.write("site/huge.png", png(1, 2, 3))
        os.truncate(self.folder / "site/huge.png", 1 << 36)
        self.scene = self.write("site/huge.json", static_scene({"box": {"a": {
            "material": image_material(str(self.folder / "site/huge.png"))}}}))
        self.assertEqual(self.stop_packing("packed", self.folder, signal.SIGINT, limit_files),
                         (130, "tellar: stopped; nothing is packed\n"))
        self.assertFalse([name for name in os.listdir(self.folder) if "packed" in name])

    def test_the_remains_of_a_killed_process_are_removed(self):
        (self.folder / "there").mkdir()
        remains = (".tellar-pack.packed.12/textures", "there/.tellar-pack.there.3")
        others = (".tellar-pack.packed.old", ".tellar-pack.packed.2.7", ".tellar-pack.other.7")
        for name in (*remains, *others):
            (self.folder / name).mkdir(parents=True)
        self.write(".tellar-pack.packed.12/textures/wood.png", png(1, 2, 3))
        self.tellar("pack", self.scene, "packed")
        self.tellar("pack", self.scene, "there/")
        left = [name for name in os.listdir(self.folder) if name.startswith(".tellar-pack")]
        self.assertEqual(sorted(left), sorted(others))
        self.assertEqual(sorted(os.listdir(self.folder / "there")),
                         ["models", "scene.json", "textures"])

    def test_the_folder_of_a_process_that_still_packs_stays(self):
        working = self.folder / ".tellar-pack.packed.12"
        working.mkdir()
        lock = os.open(working, os.O_RDONLY)
        self.addCleanup(os.close, lock)
        fcntl.flock(lock, fcntl.LOCK_EX)
        self.tellar("pack", self.scene, "packed")
        self.assertTrue(working.exists())

    def test_copies_have_the_permissions_of_the_originals(self):
        os.chmod(self.folder / "far/wood.png", 0o640)
        self.tellar("pack", self.scene, "packed")
        copies = list((self.folder / "packed").rglob("wood.png"))
        self.assertIn(0o640, [stat.S_IMODE(os.stat(copy).st_mode) for copy in copies])

    def test_packed_folders_can_be_read_by_all(self):
        self.tellar("pack", self.scene, "packed")
        mode = stat.S_IMODE(os.stat(self.folder / "packed").st_mode)
        (self.folder / "usual").mkdir()
        self.assertEqual(mode, stat.S_IMODE(os.stat(self.folder / "usual").st_mode))


if __name__ == "__main__":
    main()

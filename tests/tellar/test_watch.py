#!/usr/bin/env python3
"""tellar render --watch: what is drawn again when files of the scene change.

    test_watch.py PROGRAM EXAMPLES_FOLDER

TELLAR_TEST_RENDERERS in the environment names the folder of the renderer "echo", which writes what
it was asked for.
"""

import json
import os
import queue
import signal
import subprocess
import threading

from tellar_test import TellarTest, main, with_usual_signals

LENS = {"fov": 45.0, "near": 0.1, "far": 100.0, "left": -1.0, "right": 1.0, "top": 1.0,
        "bottom": -1.0}
OBJ = "v 0 0 0\nv 1 0 0\nv 0 {height} 0\nf 1 2 3\n"


def scene(*, resolution="square_512", ball=0.0, others=()):
    """A scene that imports a model and has a ball, a camera and other locations."""
    ball = {"a": {"type": "sphere", "geometry": {"radius": 1.0}, "xform": {
        "translate": [ball, 0.0, 0.0]}}}
    locations = {"cam": {"c": {"camera": {"a": {"type": "camera", "geometry": LENS}}}},
                 "ball": ball, **{name: {"a": {"type": "group"}} for name in others}}
    return {"ops": [
        {"name": "scene", "type": "StaticScene", "args": {
            "a": {"renderSettings": {"resolution": resolution}}, "c": {"world": {"c": locations}}}},
        {"name": "model", "type": "SceneImport", "args": {
            "file": "model.obj", "location": "/root/world/model"}},
        {"name": "both", "type": "Merge", "inputs": ["scene", "model"]}]}


class WatchTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.environment["OX_PLUGIN_PATH"] = os.environ["TELLAR_TEST_RENDERERS"]
        self.write("model.obj", OBJ.format(height=1))
        self.scene = self.write("scene.json", scene())
        self.process = None

    def tearDown(self):
        if self.process:
            self.process.kill()
            self.process.wait()
            self.process.stdout.close()
            self.process.stderr.close()
            self.reader.join()
        super().tearDown()

    def watch(self, *options):
        """Starts to watch, and returns when the first picture is complete."""
        self.process = subprocess.Popen(
            [self.program, "render", self.scene, "-o", "out.txt", "--renderer", "echo", "--light",
             "scene", "--watch", *options], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            text=True, env=self.environment, cwd=self.folder, preexec_fn=with_usual_signals)
        self.lines = queue.Queue()
        self.reader = threading.Thread(target=self.read)
        self.reader.start()
        return self.until_watching()

    def read(self):
        for line in self.process.stderr:
            self.lines.put(line.rstrip("\n"))

    def until_watching(self):
        """The lines of standard error before the next one that tells of watching."""
        lines = []
        while True:
            line = self.lines.get(timeout=120)
            self.assertTrue(line.startswith("tellar: "), line)
            if line.startswith("tellar: watching"):
                return lines
            lines.append(line[len("tellar: "):])

    def replace(self, name, content):
        """Replaces a file as editors do."""
        path = self.write(name + ".new", content)
        os.replace(path, self.folder / name)

    def drawn(self):
        text = (self.folder / "out.txt").read_text()
        return dict(line.split(" ", 1) for line in text.splitlines())

    def end(self):
        self.process.send_signal(signal.SIGINT)
        self.assertEqual(self.process.wait(timeout=120), 0)

    def changed_file(self, name):
        return f"changed file {self.folder.resolve() / name}"

    def test_draws_again_after_a_change_of_the_scene(self):
        self.assertEqual(self.watch(), [])
        self.assertEqual(self.drawn()["resolution"], "square_512")
        self.replace("scene.json", scene(resolution="hd_720", ball=2.0, others=["new"]))
        self.assertEqual(self.until_watching(), [
            self.changed_file("scene.json"), "changed /root (settings)",
            "changed /root/world/ball (transform)", "added /root/world/new"])
        self.assertEqual(self.drawn()["resolution"], "hd_720")
        self.replace("scene.json", scene(resolution="hd_720", ball=2.0))
        self.assertEqual(self.until_watching(), [
            self.changed_file("scene.json"), "removed /root/world/new"])
        self.end()
        self.assertEqual(self.process.stdout.read(), "out.txt\n" * 3)

    def test_draws_again_after_a_change_of_an_imported_model(self):
        self.watch()
        self.replace("model.obj", OBJ.format(height=5))
        lines = self.until_watching()
        self.assertEqual(lines[0], self.changed_file("model.obj"))
        self.assertTrue(any("/root/world/model" in line and "geometry" in line
                            for line in lines[1:]), lines)
        self.replace("model.obj", OBJ.format(height=7))
        lines = self.until_watching()
        self.assertTrue(any("/root/world/model" in line and "geometry" in line
                            for line in lines[1:]), lines)
        self.end()

    def test_a_scene_that_cannot_be_read_is_told_and_the_next_change_is_awaited(self):
        self.watch()
        self.replace("scene.json", "{")
        lines = self.until_watching()
        self.assertEqual(lines[0], self.changed_file("scene.json"))
        self.assertIn("scene.json", lines[1])
        self.replace("scene.json", scene(ball=1.0))
        self.assertEqual(self.until_watching(), [
            self.changed_file("scene.json"), "changed /root/world/ball (transform)"])
        self.end()

    def test_many_changes_are_counted(self):
        self.watch()
        self.replace("scene.json", scene(others=[f"new_{i:03}" for i in range(30)]))
        lines = self.until_watching()
        self.assertEqual(len(lines), 1 + 20 + 1)
        self.assertEqual(lines[-1], "and 10 more")
        self.end()

    def test_a_failing_renderer_is_told_and_ctrl_c_is_no_success(self):
        self.environment["TELLAR_TEST_ECHO"] = "fail"
        self.assertEqual(self.watch(), ["the paint has dried up"])
        self.process.send_signal(signal.SIGINT)
        self.assertEqual(self.process.wait(timeout=120), 130)

    def test_a_file_with_the_same_content_changes_no_location(self):
        self.watch()
        self.replace("scene.json", json.dumps(scene(), indent=1))
        self.assertEqual(self.until_watching(), [self.changed_file("scene.json")])
        self.end()

    def test_standard_input_cannot_be_watched(self):
        self.assert_fails("--watch: the scene has to be a file", "render", "-", "-o", "out.txt",
                          "--watch")


if __name__ == "__main__":
    main()

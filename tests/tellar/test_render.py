#!/usr/bin/env python3
"""tellar render and tellar stitch: what a renderer is told, and what the user is.

    test_render.py PROGRAM EXAMPLES_FOLDER

TELLAR_TEST_RENDERERS in the environment names the folder of the renderer "echo", which writes what
it was asked for and does what TELLAR_TEST_ECHO says.
"""

import json
import os
import signal
import subprocess

from tellar_test import TellarTest, main, with_usual_signals

RENDERERS = os.environ["TELLAR_TEST_RENDERERS"]

DEFAULTS = {"frame": "0", "samples": "0", "threads": "0", "camera": "/root/world/cam/camera",
            "resolution": "square_512", "size": "512 512", "renderSettings.tileRender": "none",
            "renderSettings.cropWindow": "none"}
SETTINGS = {"cameraName": "/root/cams/main", "resolution": "hd_720", "tileRender": [1, 0, 2, 2],
            "cropWindow": {"$type": "float", "values": [0, 1, 0.25, 1]}}


LENS = {"fov": 45.0, "near": 0.1, "far": 100.0, "left": -1.0, "right": 1.0, "top": 1.0,
        "bottom": -1.0}
CAMERA = {"a": {"type": "camera", "geometry": LENS}}


def scene(settings=None):
    """A scene with the default camera, and with some in /root/cams."""
    root = {"renderSettings": settings} if settings else {}
    cameras = {"main": CAMERA, "side": CAMERA, "side_high": CAMERA}
    return {"ops": [{"name": "scene", "type": "StaticScene", "args": {"a": root, "c": {
        "world": {"c": {"cam": {"c": {"camera": CAMERA}}}}, "cams": {"c": cameras}}}}]}


class RenderTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.environment["OX_PLUGIN_PATH"] = RENDERERS
        self.scene = self.write("scene.json", scene())

    def echo(self, *options, path=None):
        """What the renderer was asked for, by name."""
        output = self.tellar("render", path or self.scene, "-o", "out.txt", "--renderer", "echo",
                             *options)
        self.assertEqual(output, "out.txt\n")
        text = (self.folder / "out.txt").read_text()
        return dict(line.split(" ", 1) for line in text.splitlines())

    def render_arguments(self, *options):
        return ["render", self.scene, "-o", "out.txt", "--renderer", "echo", *options]

    def assert_refused(self, error, *options):
        """A fault in the options is told before anything is done."""
        self.assert_fails(error, *self.render_arguments(*options))
        self.assertFalse((self.folder / "out.txt").exists())


class Options(RenderTest):
    def test_what_is_not_given_is_left_to_scene_and_renderer(self):
        self.assertEqual(self.echo(), DEFAULTS)

    def test_each_option_changes_one_thing(self):
        for option, value, changed in (
                ("--camera", "/root/cams/main", {"camera": "/root/cams/main"}),
                ("--resolution", "hd_1080", {"resolution": "hd_1080", "size": "1920 1080"}),
                ("--size", "640x480", {"resolution": "640x480", "size": "640 480"}),
                ("--frame", "-12.5", {"frame": "-12.5"}),
                ("--tile", "2,1,3,2", {"renderSettings.tileRender": "2 1 3 2"}),
                ("--crop", "0.25,0.75,0,1", {"renderSettings.cropWindow": "0.25 0.75 0 1"}),
                ("--samples", "1000000", {"samples": "1000000"}),
                ("--threads", "1024", {"threads": "1024"})):
            with self.subTest(option):
                self.assertEqual(self.echo(option, value), {**DEFAULTS, **changed})

    def test_the_least_values_are_taken(self):
        echo = self.echo("--tile", "0,0,1,1", "--samples", "1", "--threads", "1")
        self.assertEqual(echo, {**DEFAULTS, "renderSettings.tileRender": "0 0 1 1",
                                "samples": "1", "threads": "1"})
        echo = self.echo("--tile", "2147483646,0,2147483647,1")
        self.assertEqual(echo["renderSettings.tileRender"], "2147483646 0 2147483647 1")

    def test_settings_of_the_scene_stay_but_for_what_is_given(self):
        path = self.write("set.json", scene(SETTINGS))
        own = {**DEFAULTS, "camera": "/root/cams/main", "resolution": "hd_720",
               "size": "1280 720", "renderSettings.tileRender": "1 0 2 2",
               "renderSettings.cropWindow": "0 1 0.25 1"}
        self.assertEqual(self.echo(path=path), own)
        self.assertEqual(self.echo("--crop", "0,0.5,0,0.5", "--camera", "/root/cams/side", path=path),
                         {**own, "camera": "/root/cams/side", "renderSettings.cropWindow": "0 0.5 0 0.5"})

    def test_op_files_take_options_like_descriptions(self):
        self.tellar("convert", self.write("set.json", scene(SETTINGS)), "set.oxop")
        echo = self.echo("--resolution", "hd_1080", path="set.oxop")
        self.assertEqual((echo["resolution"], echo["camera"]), ("hd_1080", "/root/cams/main"))
        self.assertEqual(self.echo(path="set.oxop")["resolution"], "hd_720")

    def test_wrong_tiles_are_refused(self):
        for tile, error in (
                ("1,2", '"1,2" is not C,R,CS,RS, such as 0,1,2,2'),
                ("1,2,3,4,5", '"1,2,3,4,5" is not C,R,CS,RS, such as 0,1,2,2'),
                ("0,0,2,", '"0,0,2," is not C,R,CS,RS, such as 0,1,2,2'),
                ("0,0,2,2.5", '"0,0,2,2.5" is not C,R,CS,RS, such as 0,1,2,2'),
                ("0,0,2,2147483648", '"0,0,2,2147483648" is not C,R,CS,RS, such as 0,1,2,2'),
                ("2,0,2,2", "there is no column 2: they count from 0 to 1"),
                ("0,-1,2,2", "there is no row -1: they count from 0 to 1"),
                ("0,0,0,2", "there cannot be 0 columns"),
                ("0,0,2,-2", "there cannot be -2 rows")):
            with self.subTest(tile):
                self.assert_refused(f"--tile: {error}", "--tile", tile)

    def test_wrong_crop_windows_are_refused(self):
        form = "is not XMIN,XMAX,YMIN,YMAX, such as 0.25,0.75,0,1"
        for crop, error in (
                ("0,1", f'"0,1" {form}'),
                ("0,1,0,nan", f'"0,1,0,nan" {form}'),
                ("0,1,0,inf", f'"0,1,0,inf" {form}'),
                ("0,1,0,1e99", f'"0,1,0,1e99" {form}'),
                ("0.5,0.5,0,1", "0.5 to 0.5 is no range within 0 to 1"),
                ("0,1,0.75,0.25", "0.75 to 0.25 is no range within 0 to 1"),
                ("-0.5,1,0,1", "-0.5 to 1 is no range within 0 to 1"),
                ("0,1,0,1.5", "0 to 1.5 is no range within 0 to 1")):
            with self.subTest(crop):
                self.assert_refused(f"--crop: {error}", "--crop", crop)

    def test_wrong_numbers_are_refused(self):
        for value in ("0", "-1", "1000001", "many", "4294967297", "2.5", ""):
            with self.subTest(value):
                self.assert_refused(f'--samples: "{value}" is no whole number from 1 to 1000000',
                                    "--samples", value)
        self.assert_refused('--threads: "1025" is no whole number from 1 to 1024',
                            "--threads", "1025")
        for value in ("nan", "inf", "1e39", "x"):
            with self.subTest(value):
                self.assert_refused(f'--frame: "{value}" is not a number', "--frame", value)

    def test_wrong_names_are_refused(self):
        self.assert_refused('--camera: "" is no absolute location path', "--camera", "")
        self.assert_refused("--resolution: no resolution is named 'hd_721'; "
                            "did you mean 'hd_720'?", "--resolution", "hd_721")

    def test_the_picture_must_be_possible(self):
        (self.folder / "folder.txt").mkdir()
        for picture, error in (
                ("out", '"out" has no extension, which would tell the format'),
                ("out.", '"out." has no extension, which would tell the format'),
                (".txt", '".txt" has no extension, which would tell the format'),
                ("", '"" has no extension, which would tell the format'),
                ("gone/out.txt", 'there is no folder "gone"'),
                ("scene.json/out.txt", 'there is no folder "scene.json"'),
                ("folder.txt", '"folder.txt" is a folder')):
            with self.subTest(picture):
                self.assert_fails(f"-o: {error}", "render", self.scene, "-o", picture,
                                  "--renderer", "echo")
                self.assert_fails(f"-o: {error}", "stitch", "a.txt", "-o", picture,
                                  "--renderer", "echo")

    def test_scenes_that_cannot_be_opened_are_errors(self):
        self.assert_fails("gone.json: No such file or directory", "render", "gone.json", "-o",
                          "out.txt", "--renderer", "echo")
        self.assert_fails_with("-o", "render", self.scene)
        self.assert_fails_with("SCENE", "render", "-o", "out.txt")


class Renderers(RenderTest):
    def renderers(self, **environment):
        status, output, _ = self.run_tellar("doctor", "--json", **environment)
        self.assertIn(status, (0, 1))
        return sorted({plugin["name"] for plugin in json.loads(output)["plugins"]
                       if plugin["api"] == "RendererPlugin"})  # one plug-in may have two versions

    def test_of_an_unknown_renderer_the_known_ones_are_told(self):
        names = [f'"{name}"' for name in self.renderers()]
        self.assertLessEqual({'"echo"', '"hollow"'}, set(names))
        error = ('--renderer: there is no renderer "nobody"; there are '
                 f'{", ".join(names[:-1])} and {names[-1]}')
        self.assert_fails(error, "render", self.scene, "-o", "out.txt", "--renderer", "nobody")
        self.assert_fails(error, "stitch", "a.txt", "-o", "out.txt", "--renderer", "nobody")

    def test_one_that_cannot_be_loaded_is_told_with_the_reason(self):
        broken = self.write("broken.so", "no library")
        status, _, errors = self.run_tellar("render", self.scene, "-o", "out.txt", "--renderer",
                                            "broken", OX_PLUGIN_PATH=f"{self.folder}:{RENDERERS}")
        self.assertEqual(status, 2)
        self.assertTrue(errors.startswith('tellar: --renderer: there is no renderer "broken"; '))
        self.assertIn(f" (plug-in passed over: {broken}: ", errors)

    def test_one_without_functions_is_an_error(self):
        self.assert_fails('--renderer: the plug-in "hollow" '
                          f"({RENDERERS}/EchoRenderer.so) has no functions",
                          "render", self.scene, "-o", "out.txt", "--renderer", "hollow")

    def test_other_subcommands_load_no_renderers_of_the_installation(self):
        if not {"example", "lantern"} & set(self.renderers()):
            self.skipTest("no renderer is installed")
        environment = {**self.environment, "LD_DEBUG": "files"}
        done = subprocess.run([self.program, "walk", self.scene], env=environment,
                              capture_output=True, timeout=600)
        self.assertEqual(done.returncode, 0)
        self.assertIn(b"EchoRenderer.so", done.stderr)
        self.assertNotIn(b"tellar-renderers", done.stderr)


class Speech(RenderTest):
    def run_echo(self, what, *options):
        return self.run_tellar(*self.render_arguments(*options), TELLAR_TEST_ECHO=what)

    def test_warnings_and_errors_are_shown_in_order(self):
        self.assertEqual(self.run_echo("talk"), (0, "out.txt\n",
                                                 "tellar: warning: a texture is missing\n"
                                                 "tellar: two things are wrong\n"
                                                 "tellar: \n"
                                                 "tellar: warning: the last word\n"))

    def test_what_else_it_says_is_for_those_who_ask(self):
        self.assertEqual(self.run_echo("talk", "--verbose")[2].splitlines()[:2],
                         ["tellar: info: the sun is up", "tellar: warning: a texture is missing"])
        self.assertNotIn("nobody sees this", self.run_echo("talk", "--verbose")[2])

    def test_what_the_library_logs_meanwhile_is_shown(self):
        self.assertEqual(self.run_echo("log"),
                         (0, "out.txt\n", "tellar: a location cannot be read\n"))
        errors = self.run_tellar(*self.render_arguments(), TELLAR_TEST_ECHO="log",
                                 OX_LOG_LEVEL="error")[2]
        self.assertNotIn("tellar: ", errors)
        self.assertIn("a location cannot be read", errors)

    def test_every_picture_is_told(self):
        self.assertEqual(self.run_echo("twice"), (0, "out.txt\nthe depths.txt\n", ""))

    def test_the_last_error_is_why_it_failed(self):
        self.assertEqual(self.run_echo("fail"), (2, "", "tellar: the paint has dried up\n"))
        self.assertEqual(self.run_echo("fail talk")[2].splitlines()[-2:],
                         ["tellar: warning: the last word", "tellar: the paint has dried up"])

    def test_a_failure_without_a_reason_is_told_too(self):
        self.assertEqual(self.run_echo("sulk"), (2, "", 'tellar: the renderer "echo" failed and '
                                                        "does not tell why\n"))
        self.assertEqual(self.run_echo("cancel"), (2, "", 'tellar: the renderer "echo" stopped '
                                                          "without being asked to\n"))
        self.assertFalse((self.folder / "out.txt").exists())


class Stitch(RenderTest):
    def test_tiles_and_picture_are_handed_over(self):
        self.assertEqual(self.tellar("stitch", "b.txt", "a.txt", "-o", "whole.txt", "--renderer",
                                     "echo"), "whole.txt\n")
        self.assertEqual((self.folder / "whole.txt").read_text(), "b.txt\na.txt\n")

    def test_there_must_be_tiles(self):
        self.assert_fails_with("TILES", "stitch", "-o", "whole.txt", "--renderer", "echo")

    def test_failures_are_errors(self):
        self.assert_fails("the paint has dried up", "stitch", "a.txt", "-o", "whole.txt",
                          "--renderer", "echo", TELLAR_TEST_ECHO="fail")


def with_interrupts_ignored():
    with_usual_signals()
    signal.signal(signal.SIGINT, signal.SIG_IGN)


class Signals(RenderTest):
    def start(self, what, arguments=None, prepare=with_usual_signals):
        """A run that has come to the point where it waits."""
        process = subprocess.Popen(
            [self.program, *(arguments or self.render_arguments()), "--verbose"],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, cwd=self.folder, preexec_fn=prepare,
            env={**self.environment, "TELLAR_TEST_ECHO": what})
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        self.assertEqual(process.stderr.readline(), b"tellar: info: waiting\n")
        return process

    def finish(self, process):
        output, errors = process.communicate(timeout=600)
        return process.returncode, output.decode(), errors.decode()

    def test_the_first_signal_stops_the_renderer(self):
        for sent, status in ((signal.SIGINT, 130), (signal.SIGTERM, 143)):
            with self.subTest(sent):
                process = self.start("wait")
                process.send_signal(sent)
                self.assertEqual(self.finish(process),
                                 (status, "", "tellar: stopped; no picture was written\n"))
                self.assertEqual(os.listdir(self.folder), ["scene.json"])

    def test_ctrl_c_asks_for_the_picture_so_far(self):
        process = self.start("wait so far")
        process.send_signal(signal.SIGINT)
        self.assertEqual(self.finish(process),
                         (130, "out.txt\n", "tellar: stopped; the picture is unfinished\n"))
        self.assertTrue((self.folder / "out.txt").exists())

    def test_sigterm_does_not_ask_for_the_picture_so_far(self):
        process = self.start("wait so far")
        process.send_signal(signal.SIGTERM)
        self.assertEqual(self.finish(process),
                         (143, "", "tellar: stopped; no picture was written\n"))

    def test_stitching_is_stopped_alike(self):
        process = self.start("wait", ["stitch", "a.txt", "-o", "out.txt", "--renderer", "echo"])
        process.send_signal(signal.SIGINT)
        self.assertEqual(self.finish(process),
                         (130, "", "tellar: stopped; no picture was written\n"))

    def test_the_second_signal_ends_the_command_at_once(self):
        for second in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(second):
                process = self.start("wait stubborn")
                process.send_signal(signal.SIGINT)
                self.assertEqual(process.stderr.readline(), b"tellar: info: not yet\n")
                process.send_signal(second)
                self.assertEqual(self.finish(process), (-second, "", ""))

    def test_signals_that_are_ignored_stay_so(self):
        process = self.start("wait", prepare=with_interrupts_ignored)
        process.send_signal(signal.SIGINT)
        process.send_signal(signal.SIGTERM)
        self.assertEqual(self.finish(process)[0], 143)

    def test_a_picture_that_was_done_nevertheless_counts(self):
        process = self.start("wait too late")
        process.send_signal(signal.SIGINT)
        self.assertEqual(self.finish(process), (0, "out.txt\n", ""))
        self.assertTrue((self.folder / "out.txt").exists())


class ProgressLine(RenderTest):
    def watch(self, wanted, columns):
        return self.stop_on_terminal(wanted, *self.render_arguments(), columns=columns,
                                     TELLAR_TEST_ECHO="progress wait")

    def test_tells_how_far_it_is_and_is_wiped_away(self):
        seen = self.watch(b"drawing", 100)
        self.assertRegex(seen, rb"^\r\x1b\[K\[=========           \]  45%  0:\d\d, "
                               rb"about \d:\d\d left  drawing\\x1b\[2J\r\x1b\[K")
        self.assertTrue(seen.endswith(b"\r\x1b[Ktellar: stopped; no picture was written\r\n"), seen)

    def test_fits_on_a_line(self):
        seen = self.watch(b"45%", 28)
        lines = set(seen.split(b"\r\x1b[K")[1:-1])
        self.assertEqual(lines, {b"[=========           ]  45%"})


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""tellar profile: its tables, JSON, trace and flame graph, and its errors.

    test_profile.py PROGRAM EXAMPLES_FOLDER

TELLAR_TEST_RENDERERS in the environment names the folder of the renderer "echo", whose pictures are
lines of text, and TELLAR_TEST_RECORDER_IS_BUILT is 1 if there is the renderer "recorder".
data/trace_events.schema.json is the form of a trace.
"""

import json
import os
import re
import signal
import subprocess
from pathlib import Path

import jsonschema

from command_scenes import SCENE, endless_scene, failing_scene, wide_scene
from tellar_test import SMALL, TellarTest, main, static_scene, with_usual_signals

RENDERERS = os.environ["TELLAR_TEST_RENDERERS"]
SCHEMA = Path(__file__).resolve().parent.parent / "data" / "trace_events.schema.json"


def chain():
    """Two ops on a source: six locations and eighteen cooks."""
    description = json.loads(json.dumps(SCENE))
    description["ops"] += [
        {"name": "moved", "type": "Transform", "inputs": ["scene"],
         "args": {"paths": ["/root/world/geo"], "translate": [0, 1, 0]}},
        {"name": "settings", "type": "RenderSettings", "inputs": ["moved"],
         "args": {"settings": {"samples": 4}}}]
    return description




class ProfileTest(TellarTest):
    def setUp(self):
        super().setUp()
        self.scene = self.write("scene.json", chain())

    def profile(self, *arguments):
        return json.loads(self.tellar("profile", *arguments, "--json"))

    def test_counts_cooks_by_op_and_op_type(self):
        found = self.profile(self.scene)
        self.assertEqual(found["locations"], 6)
        self.assertEqual(found["failedLocations"], 0)
        self.assertEqual(found["totals"]["cooks"], 18)
        self.assertEqual({op["name"]: op["cooks"] for op in found["ops"]},
                         {"scene": 6, "moved": 6, "settings": 6})
        self.assertEqual({one["type"]: (one["ops"], one["cooks"]) for one in found["opTypes"]},
                         {"StaticScene": (1, 6), "Transform": (1, 6), "RenderSettings": (1, 6)})

    def test_tells_where_ops_stand_in_their_file(self):
        text = json.dumps(chain(), indent=1)
        line = text[:text.index('"name": "moved"')].count("\n")  # the op begins a line above
        found = self.profile(self.write("scene.json", text))
        places = {op["name"]: op["place"] for op in found["ops"]}
        self.assertRegex(places["moved"], rf"scene\.json:{line}:\d+$")

    def test_times_add_up(self):
        found = self.profile(self.scene)
        totals = found["totals"]
        own = sum(op["ownSeconds"] for op in found["ops"])
        self.assertAlmostEqual(own, totals["ownSeconds"], places=6)
        self.assertAlmostEqual(totals["totalSeconds"], totals["ownSeconds"], places=6)
        by_name = {op["name"]: op for op in found["ops"]}
        self.assertLess(by_name["scene"]["totalSeconds"], by_name["moved"]["totalSeconds"])
        self.assertLess(by_name["moved"]["totalSeconds"], by_name["settings"]["totalSeconds"])
        for call in found["calls"]:
            below = sum(one["totalSeconds"] + one["waitSeconds"] for one in found["calls"]
                        if one["parent"] == found["calls"].index(call))
            self.assertAlmostEqual(call["ownSeconds"] + below, call["totalSeconds"], places=6)

    def test_lists_the_costliest_locations_first(self):
        found = self.profile(self.scene, "--locations", 3)
        costs = [one["ownSeconds"] for one in found["costliestLocations"]]
        self.assertEqual(len(costs), 3)
        self.assertEqual(costs, sorted(costs, reverse=True))

    def test_prints_tables(self):
        output = self.tellar("profile", self.scene)
        self.assertRegex(output, r"^scene      .*scene\.json\nlocations  6\nopened in  0\.\d{3} s\n"
                                 r"cooked in  \d\.\d{3} s\ncooks      18, ")
        self.assertRegex(output, r"\nops\n +own ms +own % +total ms +cooks +made +op \(op type\) +")
        self.assertRegex(output, r"\n +\d+\.\d{3} +\d+\.\d +\d+\.\d{3} +6 +\d+ B +moved "
                                 r"\(Transform\) +\S*scene\.json:1:")
        self.assertRegex(output, r"\nop types\n")
        self.assertRegex(output, r"\ncostliest locations\n(.*\n)*.* /root/world/geo/quad\n")
        self.assertNotIn("errors", output)

    def test_cooks_below_a_location_alone(self):
        found = self.profile(self.scene, "--at", "/root/world/geo")
        self.assertEqual(found["start"], "/root/world/geo")
        self.assertEqual(found["locations"], 3)
        paths = {one["path"] for one in found["costliestLocations"]}
        self.assertIn("/root/world/geo/quad", paths)
        self.assertNotIn("/root/world/cam", paths)

    def test_threads_cook_the_same(self):
        scene = self.write("wide.json", wide_scene())
        one = self.profile(scene)
        four = self.profile(scene, "--threads", 4)
        self.assertEqual(one["locations"], four["locations"])
        self.assertEqual(one["totals"]["cooks"], four["totals"]["cooks"])
        self.assertEqual(one["totals"]["bytesMade"], four["totals"]["bytesMade"])
        self.assertEqual(one["threads"], 1)

    def test_counts_errors_and_ends_with_status_1(self):
        scene = self.write("bad.json", failing_scene(3))
        status, output, errors = self.run_tellar("profile", scene)
        self.assertEqual((status, errors), (1, ""))
        self.assertIn(", and 1 failed\n", output)
        self.assertIn(", 1 error\n", output)
        self.assertRegex(output, r'\nerrors\n  .*Op "bad" \(SceneImport\) at "/root/all/bad"')
        status, output, errors = self.run_tellar("profile", scene, "--json")
        found = json.loads(output)
        self.assertEqual(status, 1)
        self.assertEqual(found["failedLocations"], 1)
        self.assertEqual([(one["op"], one["location"]) for one in found["errors"]],
                         [("bad", "/root/all/bad")])
        self.assertEqual({op["name"]: op["errors"] for op in found["ops"]}["bad"], 1)

    def test_the_trace_keeps_its_schema(self):
        self.tellar("profile", self.scene, "--trace", "trace.json", "--threads", 2)
        trace = json.loads((self.folder / "trace.json").read_text())
        jsonschema.Draft202012Validator(json.loads(SCHEMA.read_text())).validate(trace)
        self.assertEqual(trace["otherData"]["shorterEventsLeftOut"], 0)
        cooks = [event for event in trace["traceEvents"] if event.get("cat") == "cook"]
        self.assertEqual(len(cooks), 18)
        self.assertEqual({event["args"]["location"] for event in cooks
                          if event["name"] == "moved (Transform)"},
                         {"/root", "/root/world", "/root/world/cam", "/root/world/geo",
                          "/root/world/geo/empty", "/root/world/geo/quad"})

    def test_events_of_a_thread_stand_within_each_other(self):
        self.tellar("profile", self.write("wide.json", wide_scene()), "--trace", "trace.json",
                    "--threads", 3)
        trace = json.loads((self.folder / "trace.json").read_text())
        open_ends = {}
        for event in trace["traceEvents"]:
            if event["ph"] != "X":
                continue
            ends = open_ends.setdefault(event["tid"], [])
            while ends and ends[-1] <= event["ts"]:
                ends.pop()
            end = event["ts"] + event["dur"]
            if ends:
                self.assertLessEqual(end, ends[-1] + 0.002)  # numbers are rounded
            ends.append(end)

    def test_a_short_trace_tells_what_is_missing(self):
        self.tellar("profile", self.scene, "--trace", "trace.json", "--trace-events", 5)
        trace = json.loads((self.folder / "trace.json").read_text())
        self.assertEqual(trace["otherData"]["events"], 5)
        self.assertEqual(trace["otherData"]["shorterEventsLeftOut"], 13)
        cooks = [event for event in trace["traceEvents"] if event["ph"] == "X"]
        self.assertEqual(len(cooks), 5)

    def test_the_trace_marks_cooks_that_failed(self):
        status, _, _ = self.run_tellar("profile", self.write("bad.json", failing_scene(3)),
                                       "--trace", "trace.json")
        self.assertEqual(status, 1)
        trace = json.loads((self.folder / "trace.json").read_text())
        failed = [event for event in trace["traceEvents"] if event.get("args", {}).get("failed")]
        self.assertIn(("bad", "/root/all/bad"),
                      {(event["args"]["op"], event["args"]["location"]) for event in failed})

    def test_the_flame_graph_is_one_page_with_its_data(self):
        self.tellar("profile", self.scene, "--flame", "flame.html")
        page = (self.folder / "flame.html").read_text()
        self.assertTrue(page.startswith("<!DOCTYPE html>"))
        self.assertNotRegex(page, r"(?:src|href)=|https?:|@import|url\(")
        data = json.loads(re.search(r'id="profile">(.*?)</script>', page, re.S)[1])
        self.assertEqual(sorted(op[:2] for op in data["ops"]),
                         [["moved", "Transform"], ["scene", "StaticScene"], ["settings", "RenderSettings"]])
        chains = [(call[0], data["ops"][call[1]][0], call[2]) for call in data["calls"]]
        self.assertEqual(chains, [(-1, "settings", 6), (0, "moved", 6), (1, "scene", 6)])

    def test_names_cannot_leave_the_page(self):
        description = static_scene({"</script><b>": {}})
        description["ops"][0]["name"] = "</script><script>alert(1)</script>"
        scene = self.write("<b>&amp;.json", description)
        self.tellar("profile", scene, "--flame", "flame.html")
        page = (self.folder / "flame.html").read_text()
        self.assertNotIn("alert(1)</script>", page)
        self.assertEqual(page.count("</script>"), 2)
        self.assertIn("&lt;b>&amp;amp;.json</title>", page)

    def test_names_of_any_bytes_are_told(self):
        description = static_scene({"tab\there": {}})
        description["ops"][0]["name"] = "tab\t\u001b[2J"
        output = self.tellar("profile", self.write("odd.json", description), "--trace", "t.json")
        self.assertIn("tab\\x09\\x1b[2J (StaticScene)", output)
        self.assertIn("/root/tab\\x09here", output)
        json.loads((self.folder / "t.json").read_text())

    def test_reads_standard_input(self):
        done = subprocess.run([self.program, "profile", "-", "--json"], capture_output=True,
                              input=Path(self.scene).read_bytes(), env=self.environment,
                              cwd=self.folder, timeout=600, check=True)
        self.assertEqual(json.loads(done.stdout)["locations"], 6)

    def test_a_scene_without_children_is_profiled(self):
        found = self.profile(self.write("empty.json", static_scene({})))
        self.assertEqual((found["locations"], found["totals"]["cooks"]), (1, 1))

    def test_memory_is_bounded_and_large_scenes_are_complete(self):
        count = 2000 if SMALL else 100000
        description = static_scene({"one": {}})
        description["ops"].append({
            "name": "grid", "type": "Array", "inputs": ["scene"],
            "args": {"source": "/root/one", "target": "/root/all", "counts": [count, 1, 1]}})
        found = self.profile(self.write("large.json", description), "--threads", 2,
                             "--trace", "trace.json", "--trace-events", 1000)
        self.assertGreater(found["locations"], count)
        self.assertEqual(len(found["costliestLocations"]), 100)
        trace = json.loads((self.folder / "trace.json").read_text())
        self.assertEqual(trace["otherData"]["events"], 1000)
        self.assertEqual(trace["otherData"]["shorterEventsLeftOut"] + 1000,
                         found["totals"]["cooks"] + found["totals"]["waits"])

    def test_a_signal_ends_it_with_a_report(self):
        scene = self.write("endless.json", endless_scene())
        process = subprocess.Popen([self.program, "profile", scene, "--threads", "2",
                                    "--locations", "1"],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                   cwd=self.folder, env=self.environment,
                                   preexec_fn=with_usual_signals)
        try:
            process.wait(timeout=1)
        except subprocess.TimeoutExpired:
            process.send_signal(signal.SIGINT)
        output, errors = process.communicate(timeout=600)
        self.assertEqual(process.returncode, 130)
        self.assertEqual(errors, "tellar: stopped; the report is of what was cooked until then\n")
        self.assertIn("grid (Array)", output)

    def test_shows_progress_on_a_terminal(self):
        seen = self.stop_on_terminal(b" locations, ", "profile",
                                     self.write("endless.json", endless_scene()))
        self.assertIn(b"/s", seen)

    def test_strict_ends_at_warnings(self):
        description = chain()
        description["ops"].append({"name": "dead", "type": "Prune", "inputs": ["settings"],
                                   "args": {"paths": ["/root/nowhere/*"]}})
        status, output, errors = self.run_tellar("profile", self.write("w.json", description),
                                                 "--strict")
        self.assertEqual(status, 1)
        self.assertIn("warning: ", errors)
        self.assertIn("dead (Prune)", output)

    def render(self, *options):
        output = self.tellar("profile", self.scene, "--json", "--render", "out.txt", "--renderer",
                             "echo", *options, OX_PLUGIN_PATH=RENDERERS)
        picture = (self.folder / "out.txt").read_text()
        return json.loads(output), dict(line.split(" ", 1) for line in picture.splitlines())

    def test_draws_a_picture_and_cooks_the_rest(self):
        self.scene = str(self.examples / "garden.json")
        found, picture = self.render("--samples", 3, "--size", "320x240", "--threads", 2)
        self.assertEqual((picture["size"], picture["samples"], picture["threads"]),
                         ("320 240", "3", "2"))
        self.assertEqual(found["picture"], "out.txt")
        self.assertEqual(found["locations"], 329)

    def test_a_picture_alone_cooks_what_it_needs(self):
        self.scene = str(self.examples / "garden.json")
        found, _ = self.render("--picture-alone")
        self.assertEqual(found["locations"], 0)
        self.assertLess(found["totals"]["cooks"], 329 * 9)

    def test_tells_what_the_renderer_cooked(self):
        if os.environ["TELLAR_TEST_RECORDER_IS_BUILT"] != "1":
            self.skipTest("the renderer \"recorder\" is not built")
        found = json.loads(self.tellar("profile", self.examples / "garden.json", "--json",
                                       "--render", "out.txt", "--renderer", "recorder"))
        self.assertGreater(found["drawCooks"], 329 * 8)
        self.assertGreaterEqual(found["totals"]["cooks"], found["drawCooks"])

    def test_tables_tell_what_was_drawn(self):
        status, output, _ = self.run_tellar(
            "profile", self.examples / "garden.json", "--render", "out.txt", "--renderer", "echo",
            OX_PLUGIN_PATH=RENDERERS)
        self.assertEqual(status, 0)
        self.assertRegex(output, r"^scene .*\n(.*\n)*drawn in   \d+\.\d{3} s, with \d+ cooks\n")

    def test_errors_about_pictures_name_the_option(self):
        self.assert_fails("--size requires --render", "profile", self.scene, "--size", "8x8")
        self.assert_fails("--picture-alone requires --render", "profile", self.scene,
                          "--picture-alone")
        self.assert_fails('--render: "out" has no extension, which would tell the format',
                          "profile", self.scene, "--render", "out")
        self.assert_fails("--render: a file is needed; the report is on standard output",
                          "profile", self.scene, "--render", "-")
        self.assert_fails_with('there is no renderer "brush"', "profile", self.scene, "--render",
                               "out.png", "--renderer", "brush")

    def test_errors_name_what_is_wrong(self):
        self.assert_fails("nowhere.json: No such file or directory", "profile", "nowhere.json")
        self.assert_fails_with("/root/nowhere", "profile", self.scene, "--at", "/root/nowhere")
        self.assert_fails('--at: "world" is no absolute location path', "profile", self.scene,
                          "--at", "world")
        self.assert_fails('--trace: there is no folder "none"', "profile", self.scene, "--trace",
                          "none/trace.json")
        self.assert_fails('--flame: "." is a folder', "profile", self.scene, "--flame", ".")
        self.assert_fails("--flame: a file is needed; the report is on standard output",
                          "profile", self.scene, "--flame", "-")
        self.assert_fails_with("--threads", "profile", self.scene, "--threads", "0")
        self.assert_fails_with("--trace", "profile", self.scene, "--trace-events", "5")
        self.assert_fails_with("SCENE", "profile")

    def test_a_full_disk_is_an_error(self):
        if not os.path.exists("/dev/full"):
            self.skipTest("no /dev/full")
        self.assert_fails_with("/dev/full", "profile", self.scene, "--trace", "/dev/full")
        with open("/dev/full", "wb") as full:
            done = subprocess.run([self.program, "profile", self.scene], stdout=full,
                                  stderr=subprocess.PIPE, env=self.environment, check=False)
        self.assertEqual(done.returncode, 2)
        self.assertIn(b"No space left on device", done.stderr)


if __name__ == "__main__":
    main()

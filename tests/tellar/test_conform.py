#!/usr/bin/env python3
"""Checks renderers with "tellar conform": those of the project pass, and each check finds a
renderer that breaks its part of the contract.

    test_conform.py PROGRAM EXAMPLES_FOLDER

In the environment: TELLAR_TEST_NONCONFORMING is the library of the renderer "nonconforming",
TELLAR_TEST_BUILT names the renderers of the project that are built, TELLAR_TEST_SANITIZED is 1 in a
build with a sanitizer.
"""

import json
import os
import subprocess

from tellar_test import TellarTest, main, with_usual_signals

NONCONFORMING = os.environ["TELLAR_TEST_NONCONFORMING"]
BUILT = os.environ["TELLAR_TEST_BUILT"].split()
MEMORY_IS_COUNTED = os.environ["TELLAR_TEST_SANITIZED"] == "0"


class ConformTest(TellarTest):
    def conform(self, plugin, *options, **environment):
        """The status and the checks by name."""
        status, output, errors = self.run_tellar("conform", plugin, "--json", *options,
                                                 **environment)
        self.assertEqual(errors, "")
        (found,) = json.loads(output)["plugins"]
        return status, {check["check"]: check for check in found["checks"]}

    def check_sound(self, renderer):
        if renderer not in BUILT:
            return
        status, checks = self.conform(renderer)
        faults = {name: check["faults"] for name, check in checks.items() if check["faults"]}
        self.assertEqual((status, faults), (0, {}))
        self.assertEqual(len(checks), 16)

    def find(self, check, fault, text, *options):
        """The check finds the fault, which it tells with the text, and no other check runs."""
        status, checks = self.conform(NONCONFORMING, "--only", check, *options,
                                      TELLAR_TEST_FAULT=fault)
        self.assertEqual(list(checks), [check])
        self.assertEqual(checks[check]["outcome"], "failed")
        self.assertEqual(status, 1)
        self.assertRegex("\n".join(checks[check]["faults"]), text)


class SoundRenderersTest(ConformTest):
    def test_lantern(self):
        self.check_sound("lantern")

    def test_the_example(self):
        self.check_sound("example")

    def test_the_recorder(self):
        self.check_sound("recorder")

    def test_the_renderer_of_this_test_without_a_fault(self):
        status, checks = self.conform(NONCONFORMING)
        faults = {name: check["faults"] for name, check in checks.items() if check["faults"]}
        self.assertEqual((status, faults), (0, {}))


class FaultsTest(ConformTest):
    def test_tables(self):
        self.find("loads", "size", "^version 2: size is 16 instead of [0-9]+$")
        self.find("loads", "null slot", "^version 2: a slot other than stitch is null$")

    def test_scenes(self):
        self.find("empty scene", "fail", "nothing but a camera: fails: out of paint")
        self.find("empty scene", "end unasked", "ends with kOxRenderCancelled, and nobody has")
        self.find("one of everything", "no picture", "is done, and has no picture")
        self.find("one of everything", "untold picture", "written, and onPicture does not tell it")
        self.find("one of everything", "leak", "^leaked: a location of call ")
        self.find("one of everything", "crash",
                  r"^the process was ended by signal 6 \(Aborted\)")
        self.find("damaged shapes", "hang", "^the process took too long", "--seconds", 2)
        self.find("odd names", "crash at names", "^the process was ended by signal 6")

    def test_errors(self):
        self.find("errors", "crash at errors", "^the process was ended by signal 6")
        self.find("picture path", "lose pictures", "is missing: ends with kOxRenderDone")
        self.find("picture path", "silent", "is missing: fails and does not tell why")

    def test_wishes(self):
        self.find("cancel", "ignore wishes", "cancelled at 24 moments: never stops")
        self.find("cancel", "write when cancelled", "the file at the place of the picture is chan")
        self.find("finish", "fail when cancelled", "moment 1 of [0-9]+: ends with kOxRenderFailed")

    def test_repetition(self):
        self.find("repetition", "fail", "the first render: fails: out of paint")
        self.find("nothing left", "leave a file", "30 renders leave 30 open files")
        self.find("nothing left", "leave a thread", "30 renders leave 30 threads")
        if MEMORY_IS_COUNTED:
            self.find("nothing left", "leave memory", "30 renders leave 15[0-9]{5} bytes of memo")

    def test_renders_as_objects(self):
        # AddressSanitizer turns the signal into an error of its own.
        self.find("null renders", "crash at null",
                  "^the process (was ended by signal 11|failed with exit status 1)")
        self.find("null renders", "silent", r"wait\(null\): is refused without an error")
        self.find("layers", "miscount channels", 'has 1 channels, and their names are "R,G"')
        self.find("layers", "any layer", "layer 1, which there is not: is described")
        self.find("pause and region", "any region", "outside of the picture: returns 1 instead of 0")
        self.find("two at once", "fail", "one of four renders at once: fails: out of paint")
        self.find("edits", "refuse edits", "a moved shape: is refused without a reason")

    def test_remarks(self):
        """What is not in the contract, and worth knowing."""
        _, checks = self.conform(NONCONFORMING, "--only", "edits",
                                 TELLAR_TEST_FAULT="ignore edits")
        self.assertIn("an added shape: the picture is not that of a new render",
                      "\n".join(checks["edits"]["notes"]))
        _, checks = self.conform(NONCONFORMING, "--only", "repetition",
                                 TELLAR_TEST_FAULT="differ")
        self.assertIn("version 1: two equal renders differ", checks["repetition"]["notes"])


class CommandTest(ConformTest):
    def test_the_table(self):
        status, output, errors = self.run_tellar(
            "conform", NONCONFORMING, "--only", "loads,empty scene", TELLAR_TEST_FAULT="size")
        self.assertEqual((status, errors), (1, ""))
        self.assertRegex(output, r'^renderer "nonconforming", versions 1 and 2, /.*\n'
                                 r"  loads              failed: version 2: size is 16 .*\n"
                                 r"  empty scene        does not apply: the plug-in does not load\n"
                                 r"2 checks, 1 failed\n$")

    def test_the_list(self):
        output = self.tellar("conform", "--list")
        self.assertRegex(output, r"(?m)^renderer  odd names +Locations with spaces")
        self.assertRegex(output, r"(?m)^op type +odd paths ")

    def test_plugins_that_cannot_be_loaded(self):
        self.assert_fails("missing.so: no such file", "conform", "missing.so")
        self.assert_fails_with("text.so: ", "conform", self.write("text.so", "no library"))
        self.assert_fails('there is no renderer and no op type "brush"', "conform", "brush")
        self.assert_fails(f"{NONCONFORMING}: holds no plug-in", "conform", NONCONFORMING,
                          TELLAR_TEST_FAULT="no plug-ins")
        self.assert_fails_with("while it is loaded, the process was ended by signal 6", "conform",
                               NONCONFORMING, TELLAR_TEST_FAULT="crash when loaded")

    def test_a_signal_ends_it_and_leaves_nothing(self):
        temporary = self.folder / "temporary"
        temporary.mkdir()
        command = [self.program, "conform", NONCONFORMING, "--only", "layers"]
        environment = {**self.environment, "TMPDIR": str(temporary), "TELLAR_TEST_FAULT": "hang"}
        with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              preexec_fn=with_usual_signals, env=environment) as process:
            self.assertIn("nonconforming", process.stdout.readline())
            process.terminate()
            self.assertEqual(process.stderr.read(),
                             "tellar: stopped; the check that ran is not complete\n")
        self.assertEqual(process.returncode, 143)
        self.assertEqual(list(temporary.iterdir()), [])

    def test_wrong_options(self):
        self.assert_fails('--only: there is no check "colors"; see tellar conform --list',
                          "conform", NONCONFORMING, "--only", "colors")
        self.assert_fails_with("PLUGIN", "conform")
        self.assert_fails("nowhere.json: No such file or directory", "conform", "Array",
                          "--scene", "nowhere.json")
        self.assert_fails_with("bad.json:1:2: not JSON", "conform", "Array", "--scene",
                               self.write("bad.json", "{bad"))


if __name__ == "__main__":
    main()

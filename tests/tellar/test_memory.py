#!/usr/bin/env python3
"""Scenes that are larger than the limit of memory.

    test_memory.py PROGRAM EXAMPLES_FOLDER [Million | HundredMillion]
"""

import json
import os
import subprocess

from tellar_test import TellarTest, main

MEBIBYTE = 1 << 20


class MemoryTest(TellarTest):
    def walk(self, scene, *options):
        """The figures of a walk of the whole scene, and the most resident memory it had."""
        output = self.folder / "figures.json"
        with output.open("wb") as file:
            process = subprocess.Popen(
                [self.program, "walk", self.examples / scene, "--stats", "--quiet", "--json",
                 *options], stdout=file, env=self.environment, cwd=self.folder)
            _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(process.returncode, 0)
        return json.loads(output.read_text()), usage.ru_maxrss * 1024

    def assert_drops_results(self, figures):
        results = next(cache for cache in figures["memory"]["caches"]
                       if cache["name"] == "results")
        self.assertGreater(results["drops"], 0)
        self.assertEqual(figures["memory"]["beyondLimit"], 0)


class Million(MemoryTest):
    def test_is_walked_in_64_mebibytes_and_what_the_process_takes(self):
        figures, peak = self.walk("million.json", "--memory", "64M")
        self.assertEqual(figures["locations"], 1_052_453)
        self.assert_drops_results(figures)
        self.assertLess(peak, 112 * MEBIBYTE)

    def test_is_walked_by_threads_in_64_mebibytes(self):
        figures, peak = self.walk("million.json", "--memory", "64M", "--threads", "4")
        self.assertEqual(figures["locations"], 1_052_453)
        self.assert_drops_results(figures)
        self.assertLess(peak, 128 * MEBIBYTE)


class HundredMillion(MemoryTest):
    def test_is_walked_in_one_gibibyte(self):
        million, _ = self.walk("million.json", "--memory", "1G")
        figures, peak = self.walk("hundred_million.json", "--memory", "1G")
        print(json.dumps({"million": million, "hundred million": figures, "peak": peak},
                         indent=1), flush=True)
        self.assertEqual(figures["locations"], 100_202_352)
        self.assert_drops_results(figures)
        self.assertLess(peak, 1.1 * 1024 * MEBIBYTE)
        self.assertGreaterEqual(figures["perSecond"], million["perSecond"] / 2)


if __name__ == "__main__":
    main()

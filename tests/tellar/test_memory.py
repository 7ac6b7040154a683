#!/usr/bin/env python3
"""Scenes that are larger than the limit of memory.

    test_memory.py PROGRAM EXAMPLES_FOLDER [Million | Refused | HundredMillion | TenMillionInAFile]
"""

import json
import os
import resource
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


class Refused(MemoryTest):
    """Memory that the system does not give."""

    def run_within(self, mebibytes, *arguments):
        limits = (mebibytes * MEBIBYTE, mebibytes * MEBIBYTE)
        return subprocess.run([self.program, *map(str, arguments)], capture_output=True, text=True,
                              env=self.environment, cwd=self.folder,
                              preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, limits))

    def test_for_results_is_an_error_and_not_so_with_a_limit(self):
        done = self.run_within(330, "walk", self.examples / "hundred_million.json", "--quiet",
                               "--memory", "unlimited")
        self.assertEqual(done.returncode, 2)
        self.assertRegex(done.stderr, r"^tellar: ([^\n]*: )?out of memory\n$")
        done = self.run_within(330, "walk", self.examples / "million.json", "--quiet", "--stats",
                               "--memory", "32M")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn("locations    1052453\n", done.stdout)

    def test_for_the_thread_that_reads_a_file_is_an_error_that_says_so(self):
        done = self.run_within(200, "walk", self.examples / "garden.json", "--quiet")
        self.assertEqual(done.returncode, 2)
        self.assertIn("no thread with a stack of 256 MiB can be started to read it", done.stderr)


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


class TenMillionInAFile(MemoryTest):
    """Leaves of an op file: 3 GB plain, and compressed."""

    def write_scene(self, path):
        output = subprocess.run([os.environ["TELLAR_TEST_WRITE_TEN_MILLION"], path], check=True,
                                stdout=subprocess.PIPE).stdout
        return json.loads(output) | {"fileBytes": path.stat().st_size}

    def convert(self, path, result):
        process = subprocess.Popen([self.program, "convert", path, result, "--compress",
                                    "--memory", "1G"], env=self.environment)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(process.returncode, 0)
        return {"seconds": usage.ru_utime + usage.ru_stime, "bytesAtMost": usage.ru_maxrss * 1024,
                "fileBytes": result.stat().st_size}

    def test_is_written_and_walked_in_one_gibibyte(self):
        plain = self.folder / "plain.oxop"
        compressed = self.folder / "compressed.oxop"
        figures = {"plain": self.write_scene(plain),
                   "compressed": self.convert(plain, compressed)}
        for file in plain, compressed:
            walk, peak = self.walk(file, "--memory", "1G")
            figures[f"walk of {file.stem}"] = {"peak": peak, **walk}
            self.assertEqual(walk["locations"], 10_101_012)
            # Memory that results have left is not given to the pages of files at once.
            self.assertLess(peak, 1.2 * 1024 * MEBIBYTE, file)
        print(json.dumps(figures, indent=1), flush=True)
        growth = figures["plain"]["bytesAtMost"] - figures["plain"]["bytesBefore"]
        self.assertLess(growth, 64 * MEBIBYTE)
        self.assertLess(figures["compressed"]["bytesAtMost"], 1.2 * 1024 * MEBIBYTE)


if __name__ == "__main__":
    main()

"""What the tellar command does when memory runs out, wherever that is."""

import os
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "tellar"))
from tellar_test import TellarTest, main  # noqa: E402

FAILING_ALLOCATIONS = os.environ["TELLAR_TEST_FAILING_ALLOCATIONS"]


class NoMemory(TellarTest):
    def outcomes(self, numbers, count, *arguments):
        """The exit statuses of runs in which `count` allocations fail, from each of the numbers on."""
        statuses = []
        for number in numbers:
            status, _, errors = self.run_tellar(
                *arguments, LD_PRELOAD=FAILING_ALLOCATIONS,
                TELLAR_TEST_FAIL_FROM=str(number), TELLAR_TEST_FAIL_COUNT=str(count))
            what = f"allocation {number}: status {status}, {errors!r}"
            if status == 2:
                self.assertRegex(errors, r"\Atellar: [^\n]*\n\Z", what)
            else:
                self.assertEqual((status, errors), (0, ""), what)
            statuses.append(status)
        return statuses

    def scene(self):
        return str(self.examples / "materials.json")

    def numbers(self, step):
        """All of the first ones, which are made before main, then some of the others."""
        return [*range(1, 80), *range(80, 6000, step)]

    def test_ends_with_one_line_when_memory_runs_out(self):
        statuses = self.outcomes(self.numbers(101), 10**9, "walk", self.scene(), "--attrs")
        self.assertEqual(set(statuses[:100]), {2})
        self.assertEqual(self.outcomes([10**8], 10**9, "walk", self.scene()), [0])

    def test_ends_with_one_line_or_does_its_work_when_one_allocation_fails(self):
        statuses = self.outcomes(self.numbers(103), 1, "material", self.scene(),
                                 "--at", "/root/world/gallery/fresco")
        self.assertIn(2, statuses)


if __name__ == "__main__":
    main()

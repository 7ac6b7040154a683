#!/usr/bin/env python3
"""Counts the locks that are taken and the shared cache lines that are written, per location walked.

    cmake --preset tsan && cmake --build --preset tsan --target sharing_count
    tests/sharing/count.py [--sites N] [options of sharing_count]

--sites names the N places in the code that write most often to shared lines. --check compares the
figures with what docs/performance.md promises.
"""

import argparse
import os
import re
import subprocess
import sys

REPOSITORY = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PROGRAM = os.path.join(REPOSITORY, "build", "tsan", "bin", "sharing_count")
PHASE = re.compile(r"^(?P<phase>\S.*?) +(?P<locks>[0-9.]+) locks +(?P<lines>[0-9.]+) shared lines$")
SITE = re.compile(r"^ +(?P<count>\d+)  (?P<module>.+)\+(?P<offset>0x[0-9a-f]+)$")

# Least and most locks and shared lines per location. Those of the counter's own phases are known:
# one lock, the line of the lock and that of the counter; or nothing. Threads that start and end
# together add a few lines to each phase.
LIMITS = {
    "counter: one lock and one counter": ((1, 1), (2, 2.1)),
    "counter: a counter for each thread": ((0, 0), (0, 0.1)),
    "C++, second walk, own groups": ((0, 0.1), (0, 0.1)),
    "C++, second walk, all": ((0, 0.1), (0, 2.1)),
    "C suite 4, second walk, own groups": ((0, 0.1), (0, 0.1)),
    "C suite 4, second walk, all": ((0, 0.1), (0, 2.1)),
}


def run(program, options):
    build = os.path.dirname(os.path.dirname(program))
    runtime = os.path.join(build, "tests", "sharing", "runtime")
    if not os.path.isdir(runtime):
        sys.exit(f"count: {runtime}: no such folder; build the target sharing_count")
    environment = dict(os.environ, LD_LIBRARY_PATH=runtime)
    done = subprocess.run([program, *options], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          text=True, check=False, env=environment)
    if done.returncode != 0:
        sys.exit(f"count: {program} ended with status {done.returncode}\n{done.stderr}")
    return done.stdout.splitlines()


def name_site(module, offset):
    """The function and the line that a return address lies behind."""
    address = hex(int(offset, 16) - 1)
    done = subprocess.run(["addr2line", "-Cfpse", module, address], stdout=subprocess.PIPE,
                          text=True, check=False)
    return done.stdout.strip() or f"{module}+{offset}"


def check(lines):
    found = {match["phase"]: match for match in map(PHASE.match, lines) if match}
    failed = False
    for phase, limits in LIMITS.items():
        figures = (float(found[phase]["locks"]), float(found[phase]["lines"]))
        for figure, (least, most), what in zip(figures, limits, ("locks", "shared lines")):
            if not least <= figure <= most:
                print(f"count: {phase}: {figure} {what} a location, "
                      f"which must be from {least} to {most}")
                failed = True
    return not failed


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", default=PROGRAM)
    parser.add_argument("--check", action="store_true")
    arguments, options = parser.parse_known_args()
    lines = run(arguments.program, options)
    for line in lines:
        site = SITE.match(line)
        print(f"{site['count']:>14}  {name_site(site['module'], site['offset'])}" if site else line)
    sys.exit(0 if not arguments.check or check(lines) else 1)


if __name__ == "__main__":
    main()

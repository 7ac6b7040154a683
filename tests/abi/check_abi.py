#!/usr/bin/env python3
"""Whether the tables, records and enums shared with plug-ins in C are those that were promised.

    check_abi.py <source folder> <abidw> <abidiff> <library of suites.c> [--write]

Compares them with suites.abi. A table is never changed: a new one gets the next version, a line in
suites.c, and --write, which writes suites.abi anew. A changed or removed line there is a broken
promise to every plug-in that was built already.
"""

import re
import subprocess
import sys
from pathlib import Path

# Nothing of the machine on which the file is written.
WRITE_OPTIONS = ("--no-corpus-path", "--no-comp-dir-path", "--no-show-locs")


def tables_in(headers):
    text = "\n".join(header.read_text() for header in headers)
    return set(re.findall(r"^\} (\w+);", text, re.MULTILINE))


def main(source, abidw, abidiff, library, *options):
    here = Path(__file__).parent
    headers = [*Path(source).glob("include/*/*.h"), *Path(source).glob("platform/*/include/*/*.h")]
    tables = tables_in(headers)
    forgotten = [name for name in sorted(tables)
                 if f"SHARED({name});" not in (here / "suites.c").read_text()]
    if not tables or forgotten:
        sys.exit(f"suites.c does not have: {' '.join(forgotten)}")
    promised = here / "suites.abi"
    if "--write" in options:
        written = subprocess.run([abidw, *WRITE_OPTIONS, library], check=True, capture_output=True)
        promised.write_bytes(written.stdout)
    sys.exit(subprocess.run([abidiff, promised, library]).returncode)


main(*sys.argv[1:])

#!/usr/bin/env python3
"""Compares the symbols that a shared library exports with a checked-in list:

    check_exports.py NM LIBRARY LIST [--write]

With --write the list is written anew, to be looked at before it is committed: whatever is in it
others link to.
"""

import subprocess
import sys
from pathlib import Path


def exported(nm, library):
    """The names alone: in which section each of them is, is up to the compiler."""
    listed = subprocess.run([nm, "--dynamic", "--demangle", "--defined-only", library],
                            check=True, capture_output=True, text=True).stdout
    return sorted({line.split(maxsplit=2)[2] for line in listed.splitlines()})


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--write"]
    nm, library, expected_file = arguments
    symbols = exported(nm, library)
    if "--write" in sys.argv:
        Path(expected_file).write_text("\n".join(symbols) + "\n")
        return
    expected = Path(expected_file).read_text().splitlines()
    differences = ([f"exported, not listed:  {name}" for name in symbols if name not in expected]
                   + [f"listed, not exported:  {name}" for name in expected if name not in symbols])
    if not symbols or differences:
        sys.exit("\n".join(differences or [f"{library} exports nothing"]))


main()

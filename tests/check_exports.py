#!/usr/bin/env python3
"""Checks the symbols that shared libraries export:

    check_exports.py NM LIBRARY LIST [--write]    compares them with a checked-in list
    check_exports.py NM --own LIBRARY...          finds those of the standard library and of Boost

With --write the list is written anew. Look at it before you commit it, because others link to
whatever is in it.
"""

import re
import subprocess
import sys
from pathlib import Path

# A mangled name in one of their namespaces, or of something that belongs to such a name: a table of
# virtual functions, a type, a static variable in a function or the guard of a variable.
OF_OTHERS = re.compile(r"_Z(?:GV|T[A-Z]|[ZNK])*(?:S[a-z]|5boost|9__gnu_cxx)")


def exported(nm, library, *options):
    """The names alone: in which section each of them is, is up to the compiler."""
    listed = subprocess.run([nm, "--dynamic", "--defined-only", *options, library],
                            check=True, capture_output=True, text=True).stdout
    return sorted({line.split(maxsplit=2)[2] for line in listed.splitlines()})


def compare(nm, library, expected_file):
    symbols = exported(nm, library, "--demangle")
    if "--write" in sys.argv:
        Path(expected_file).write_text("\n".join(symbols) + "\n")
        return []
    expected = Path(expected_file).read_text().splitlines()
    differences = ([f"exported, not listed:  {name}" for name in symbols if name not in expected]
                   + [f"listed, not exported:  {name}" for name in expected if name not in symbols])
    return differences if symbols else [f"{library} exports nothing"]


def find_those_of_others(nm, library):
    symbols = exported(nm, library)
    found = [f"{library} exports {name}" for name in symbols if OF_OTHERS.match(name)]
    return found if symbols else [f"{library} exports nothing"]


def main():
    nm, *arguments = [argument for argument in sys.argv[1:] if argument != "--write"]
    if arguments[0] == "--own":
        if len(arguments) == 1:
            sys.exit("no library to check")
        problems = [problem for library in arguments[1:]
                    for problem in find_those_of_others(nm, library)]
    else:
        problems = compare(nm, *arguments)
    if problems:
        sys.exit("\n".join(problems))


main()

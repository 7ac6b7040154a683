"""Writes the type stubs of the package from the built module.

    PYTHONPATH=build/release/python python python/make_stubs.py [--check]

`--check` writes nothing and fails when a stub of the sources is not what it would write.
"""

from __future__ import annotations

import argparse
import importlib
import re
import sys
from pathlib import Path

from nanobind.stubgen import StubGen  # type: ignore[import-untyped]

HERE = Path(__file__).resolve().parent
PACKAGE = HERE / "tellar"

# Where the names come from that signatures of the extension use.
SOURCES = {
    "collections.abc": ("Callable", "Iterable", "Iterator", "Mapping", "Sequence"),
    "typing": ("Any", "Literal", "Self"),
    "._errors": ("Error",),
    "._types": (
        "ArrayLike",
        "AttributeLike",
        "AttributeValue",
        "DoubleArray",
        "NumberArray",
        "Resolution",
        "T",
        "Value",
    ),
}


def code_of(stub: str) -> str:
    """A stub without its docstrings, in which names mean nothing."""
    return re.sub(r'""".*?"""', "", stub, flags=re.DOTALL)


def imports_for(stub: str) -> str:
    """Import statements for the names of SOURCES that a stub uses and does not import itself."""
    used = set(re.findall(r"(?<![\w.])[A-Za-z_]\w*", code_of(stub)))
    imported = set(re.findall(r"^from \S+ import (\w+)$", stub, flags=re.MULTILINE))
    lines = []
    for source, names in SOURCES.items():
        wanted = [name for name in names if name in used - imported]
        if wanted:
            lines.append(f"from {source} import {', '.join(wanted)}")
    return "\n".join(lines)


def extension_stub() -> str:
    """The stub of the compiled module."""
    generator = StubGen(importlib.import_module("tellar._tellar"), recursive=False, quiet=True)
    generator.put(generator.module)
    stub = generator.get().rstrip() + "\n"
    docstring, _, rest = stub.partition('"""\n')
    return f'{docstring}"""\n\n{imports_for(stub)}\n{rest}'


def stubs() -> dict[str, str]:
    """The stubs by the names of their files in the package."""
    return {"_tellar.pyi": extension_stub()}


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--check", action="store_true", help="only compare")
    is_check = parser.parse_args().check
    # The folder of a script comes first, and the package there has no compiled module.
    sys.path[:] = [folder for folder in sys.path if Path(folder).resolve() != HERE]
    status = 0
    for name, text in stubs().items():
        path = PACKAGE / name
        if path.exists() and path.read_text(encoding="utf-8") == text:
            continue
        if is_check:
            print(f"{path} is not what the module says; run {Path(__file__).name}", file=sys.stderr)
            status = 1
        else:
            path.write_text(text, encoding="utf-8")
            print(f"wrote {path}")
    return status


if __name__ == "__main__":
    sys.exit(main())

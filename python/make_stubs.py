"""Writes the type stubs of the package from the built module, without plug-ins.

    PYTHONPATH=build/release/python python python/make_stubs.py [--check]

`--check` writes nothing and fails when a stub of the sources is not what it would write.
"""

from __future__ import annotations

import argparse
import importlib
import re
import sys
import textwrap
from pathlib import Path
from typing import TYPE_CHECKING

from nanobind.stubgen import StubGen  # type: ignore[import-untyped]

if TYPE_CHECKING:
    from tellar._ops import TypeDescription

HERE = Path(__file__).resolve().parent
PACKAGE = HERE / "tellar"

# Where the names come from that signatures of the extension use.
SOURCES = {
    "collections.abc": ("Callable", "Iterable", "Iterator", "Mapping", "Sequence"),
    "typing": ("Any", "Literal", "Self"),
    "._errors": ("Error",),
    "._op_types": ("OpType",),
    "._ops": ("Op",),
    "._table": ("ColumnLike", "Table"),
    "._types": (
        "ArrayLike",
        "AttributeLike",
        "AttributeValue",
        "DoubleArray",
        "NumberArray",
        "Resolution",
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


def parameters_of(described: TypeDescription) -> list[str]:
    """The parameters of an op type's function, as code."""
    parameters = []
    if described.most_inputs == 1:
        parameters += ["input: Op | None = None", "/", "*"]
    elif described.most_inputs == 0:
        parameters.append("*")
    else:
        parameters.append("*inputs: Op | None")
    parameters.append("name: str | None = None")
    for argument in described.keywords():
        alias = argument.annotation_name
        required = argument.is_required
        parameters.append(
            f"{argument.name}: {alias}" if required else f"{argument.name}: {alias} | None = None"
        )
    if described.has_unnamed:
        parameters.append("**arguments: AttributeLike")
    return parameters


def function_stub(described: TypeDescription) -> str:
    parameters = "".join(f"    {parameter},\n" for parameter in parameters_of(described))
    docstring = textwrap.indent(described.docstring(), "    ").strip()
    return f'def {described.name}(\n{parameters}) -> Op:\n    """{docstring}\n    """\n'


def ops_stub() -> str:
    """The stub of tellar.ops: the op types that come with the package."""
    from tellar import _ops, ops

    names = [name for name in ops.names() if name not in _ops.classes]
    described = [known for known in map(_ops.description_of_type, names) if known]
    functions = "\n\n".join(function_stub(known) for known in described)
    aliases = sorted(set(re.findall(r"\b(?:\w+Argument|AttributeLike)\b", code_of(functions))))
    return (
        f'"""{ops.__doc__}"""\n\n'
        "from collections.abc import Callable\n\n"
        "from ._ops import Op\n"
        f"from ._types import {', '.join(aliases)}\n\n"
        'def names() -> list[str]:\n    """The names of all op types, sorted."""\n\n'
        "# Op types of plug-ins, and those in Python.\n"
        "def __getattr__(name: str) -> Callable[..., Op]: ...\n\n"
        f"{functions}"
    )


def stubs() -> dict[str, str]:
    """The stubs by the names of their files in the package."""
    return {"_tellar.pyi": extension_stub(), "ops.pyi": ops_stub()}


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

"""Scenes from ops, and ops in files."""

from __future__ import annotations

import os
import threading
from collections.abc import Mapping
from pathlib import Path
from typing import Any

from . import _ops, _tellar
from ._errors import BadCallError, FileError
from ._ops import Op
from ._tellar import Group, Scene, group


def scene(ops: Op | Group | Mapping[str, Any]) -> Scene:
    """Opens the scene of an op, or of an op-tree description.

    A description has one child an op, a group or mapping of "opType", "opArgs" and "opInputs"; the
    last one is the terminal op. Nothing of the scene is computed yet. Raises BadCallError for what
    is no description.
    """
    return _tellar.open_description(_description(ops))


def _description(ops: Op | Scene | Group | Mapping[str, Any]) -> Group:
    if isinstance(ops, Op):
        return ops.description()
    if isinstance(ops, Scene):
        return ops.description
    if isinstance(ops, (Group, Mapping)):
        return _ops.description_from(ops)
    raise TypeError(f"an Op, a Scene or a description was expected, not {ops!r}")


def _with_directory(op_type: str, arguments: Group) -> Group:
    """The arguments with the working directory as "directory" where a relative "file" counts from
    it, because in a file it would count from another one.
    """
    file = arguments.get("file")
    if not isinstance(file, str) or not file or os.path.isabs(file) or "directory" in arguments:
        return arguments
    described = _ops.description_of_type(op_type)
    if described is None or described.argument("directory") is None:
        return arguments
    kept = {name: arguments.attribute(name) for name in arguments}
    return group({**kept, "directory": os.getcwd()}, inherit=arguments.inherits)


def _written(ops: Op | Scene | Group | Mapping[str, Any], folder: Path, kind: str) -> Group:
    """The description for a file in a folder."""
    described = {
        name: (op_type.partition("#")[0] if op_type in _ops.described_types else op_type,
               _with_directory(op_type, arguments), inputs)
        for name, (op_type, arguments, inputs) in _tellar.described_ops(_description(ops)).items()
    }
    return _tellar.portable_description(_tellar.describe_ops(described), folder, kind)


def _folder_of(path: str | os.PathLike[str]) -> Path:
    folder = Path(path).absolute().parent
    if not folder.is_dir():
        raise FileError(f"{os.fspath(path)}: there is no folder {folder}", file=os.fspath(path))
    return folder.resolve()


def write_op_file(
    ops: Op | Scene | Group | Mapping[str, Any],
    path: str | os.PathLike[str],
    compress: bool = False,
) -> None:
    """Writes an op with its inputs, the newest revision of a scene, or a description as an op file.

    The file appears when it is complete. Relative files, which count from the working directory in
    ops that are made here, are written relative to the folder of the file. An op type in Python is
    written by the name of its class. Raises FileError naming the file, and BadCallError naming the
    op that cannot be written.
    """
    _tellar.write_op_file(path, _written(ops, _folder_of(path), "ops"), compress)


def write_json(
    ops: Op | Scene | Group | Mapping[str, Any], path: str | os.PathLike[str] | None = None
) -> str:
    """The same as JSON text, which is returned, and written if there is a path.

    Without a path, relative files count from the working directory.
    """
    if path is None:
        return _tellar.description_json(_written(ops, Path.cwd().resolve(), "json"))
    folder = _folder_of(path)
    text = _tellar.description_json(_written(ops, folder, "json"))
    _replace(folder, path, text)
    return text


def _replace(folder: Path, path: str | os.PathLike[str], text: str) -> None:
    """Writes a file beside the path and renames it, so that readers never see a part of it."""
    written = folder / f".{Path(path).name}.{os.getpid()}.{threading.get_ident()}"
    try:
        with written.open("x", encoding="utf-8", errors="surrogateescape") as stream:
            stream.write(text)
        written.replace(path)
    except OSError as error:
        written.unlink(missing_ok=True)
        reason = error.strerror or str(error)
        raise FileError(f"{os.fspath(path)}: {reason}", file=os.fspath(path)) from error

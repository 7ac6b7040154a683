"""Reads a composed USD stage as a scene."""

from __future__ import annotations

import os
import re
from collections.abc import Iterable
from pathlib import Path
from typing import Any

from pxr import Usd

import tellar

from .. import _ops
from .collecting import no_collection
from .context import ImportContext
from .description import op_tree
from .findings import Findings
from .opening import Variants
from .sharing import import_file, process_count
from .stage_reader import read_stage
from .summary import ImportSummary

_LOCATION = re.compile(r"/root(/[^/.%]+)*")


class ImportResult:
    """What :func:`import_usd` returns."""

    def __init__(self, description: tellar.Group, summary: ImportSummary) -> None:
        self.description = description
        """The group that describes the op tree."""
        self.summary = summary
        """What was found, kept as plain attributes, and lost."""

    @property
    def op(self) -> tellar.Op:
        """The last op of the tree, for more ops."""
        return _ops.op_of(self.description, None)

    def scene(self) -> tellar.Scene:
        """Opens the scene. Nothing of it is computed yet."""
        return tellar.scene(self.description)

    def write(self, path: str | os.PathLike[str], compress: bool = False) -> None:
        """Writes an op file, which opens in milliseconds, or JSON by the extension ".json".

        Raises FileError.
        """
        if Path(os.fspath(path)).suffix.lower() == ".json":
            tellar.write_json(self.description, path)
        else:
            tellar.write_op_file(self.description, path, compress)

    def __repr__(self) -> str:
        return f"<ImportResult of {self.summary.prims} prims>"


def import_usd(
    path: str | os.PathLike[str] | Any,
    *,
    location: str | None = None,
    variants: Variants | None = None,
    population_mask: Iterable[str] | None = None,
    purposes: Iterable[str] = ("default", "render"),
    load: str = "all",
    frame: float = 0.0,
    frames_per_second: float | None = None,
    convert_units: bool = True,
    jobs: int | None = None,
) -> ImportResult:
    """Reads a USD file, or an open Usd.Stage, as a scene.

    ``location`` is the path of the stage's pseudo-root: "/root/world", unless given. What
    :func:`export_usd` has written goes where it was, unless given. Prototypes of scene-graph
    instances go below ``/root/prototypes``, hidden.

    ``variants`` selects variants: ``{"/car": {"paint": "red"}}`` or ``["/car{paint=red}"]``;
    ``population_mask`` are the paths of the prims to compose, with all below them;
    ``load="none"`` leaves payloads out. The three apply to files only: a stage has its own.

    ``purposes`` are those of the shapes that are imported. The times of samples are frames
    relative to ``frame``; a time code is a frame unless ``frames_per_second`` says how many of
    them a second has. ``convert_units`` turns the scene to +Y up and scales it to metres at
    ``location``.

    Large files are read by `jobs` processes, as many as there are processors, and at most 8, unless
    given, with the same result as by one.

    Raises FileError for a file that cannot be read, and BadCallError for a variant that does not
    exist and other wrong arguments.
    """
    if load not in ("all", "none"):
        raise tellar.BadCallError(f'load is "all" or "none", not "{load}"')
    if location is not None and not _LOCATION.fullmatch(location):
        raise tellar.BadCallError(f'"{location}" is no path of a location, such as "/root/world"')
    wanted = list(purposes)
    for purpose in wanted:
        if purpose not in ("default", "render", "proxy", "guide"):
            raise tellar.BadCallError(f'"{purpose}" is no purpose')
    processes = process_count(jobs)
    options: dict[str, Any] = {
        "location": location,
        "frame": float(frame),
        "frames_per_second": None if frames_per_second is None else float(frames_per_second),
        "purposes": wanted,
        "convert_units": bool(convert_units),
    }
    if not isinstance(path, Usd.Stage):
        file = Path(os.fspath(path))
        result: ImportResult = import_file(
            file, population_mask, load, variants, processes, options, import_stage
        )
        return result
    if variants is not None or population_mask is not None or load != "all":
        raise tellar.BadCallError("an open stage has its variants, mask and payloads already")
    with no_collection():
        return import_stage(ImportContext(path, **options))


def import_stage(context: ImportContext, found: Findings | None = None) -> ImportResult:
    """Reads the stage of a context, unless all has been found already.

    What it needs for that is gone when it returns.
    """
    if found is None:
        found = read_stage(context)
    return ImportResult(tellar.group(op_tree(context, found)), context.summary)

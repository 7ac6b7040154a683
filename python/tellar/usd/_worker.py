"""Reads runs of a stage for another process: the program that workers.py starts."""

from __future__ import annotations

import json
import os
import sys
from pathlib import Path
from typing import Any

import numpy as np
from pxr import Sdf, Usd

from .collecting import no_collection
from .context import ImportContext
from .opening import open_stage, select_variants
from .parts import Part, PartReader
from .sharing import facts_of
from .workers import NUMBER, write_result


def content(file: int) -> Any:
    """The JSON in a file, whose position other processes share."""
    return json.loads(os.pread(file, os.fstat(file).st_size, 0))


def open_requested(request: dict[str, Any]) -> Any:
    """The same stage as that of the process that asks for it."""
    Usd.Stage.SetGlobalVariantFallbacks(request["fallbacks"])
    stage = open_stage(Path(request["path"]), request["mask"], request["load"])
    choices = request["variants"]
    select_variants(stage, [(Sdf.Path(prim), name, variant) for prim, name, variant in choices])
    return stage


def work(request_file: int, plan_file: int, numbers: int, results: int) -> None:
    """Takes numbers of runs from a pipe until there are no more, or nobody waits for them."""
    parent = os.getppid()
    request = content(request_file)
    stage = open_requested(request)
    context = ImportContext(stage, **request["options"])
    reader: PartReader | None = None
    with open(results, "wb") as file:
        while len(taken := os.read(numbers, NUMBER.size)) == NUMBER.size:
            if os.getppid() != parent:
                return
            if reader is None:
                facts, parts = content(plan_file)
                if facts != facts_of(stage):
                    return
                reader = PartReader(context, [Part(*part) for part in parts])
                reader.read_single_prims()
            number = NUMBER.unpack(taken)[0]
            write_result(file, number, reader.read_run(number))


def main() -> None:
    """After an exception the other process reads what is missing, and tells what is wrong."""
    with no_collection(), np.errstate(all="ignore"):
        work(*map(int, sys.argv[1:]))


if __name__ == "__main__":
    main()

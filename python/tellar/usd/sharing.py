"""Decides whether several processes read a stage, and lets them."""

from __future__ import annotations

import os
from collections.abc import Callable, Iterable
from pathlib import Path
from typing import Any

import numpy as np
from pxr import Sdf, Usd

import tellar

from .calls import type_of
from .collecting import no_collection
from .context import ImportContext, may_have_splines
from .findings import Findings
from .opening import Variants, open_stage, select_variants, variant_choices
from .parts import Declined, Part, PartReader, count_of, plan_parts
from .stage_reader import PREDICATE
from .workers import Workers, processors

LEAST_PRIMS = 12_000
"""Of smaller stages, one process has read most when another one has started."""
LEAST_RUN = 256
"""Prims in a run. Each run takes a millisecond besides that of its prims."""
RUNS_PER_PROCESS = 16
"""So many that the processes end at about the same time."""
EARLY_BYTES = 200_000
"""For larger files the processes start while this one opens the stage, because it will be large."""
USUAL_MOST = 8
MOST_PROCESSES = 64
MOST_PARTS = 10_000  # of which the numbers fit into a pipe

FinishStage = Callable[[ImportContext, Findings | None], Any]


def process_count(jobs: int | None) -> int:
    """How many processes an import may have. Raises BadCallError."""
    if jobs is None:
        return min(processors(), USUAL_MOST)
    if not 1 <= jobs <= MOST_PROCESSES:
        raise tellar.BadCallError(f"jobs is from 1 to {MOST_PROCESSES}, not {jobs}")
    return jobs


def import_file(
    path: Path,
    mask: Iterable[str] | None,
    load: str,
    variants: Variants | None,
    jobs: int,
    options: dict[str, Any],
    finish: FinishStage,
) -> Any:
    """Opens and reads a file by up to `jobs` processes. Returns what `finish` makes of it.

    `finish` gets what has been found, or None if it is to read the stage itself.
    """
    masked = None if mask is None else list(mask)
    chosen = variant_choices(variants)
    request = {
        "path": str(path),
        "mask": None if masked is None else list(map(str, masked)),
        "load": load,
        "variants": [(str(prim), name, variant) for prim, name, variant in chosen],
        "options": options,
        "fallbacks": Usd.Stage.GetGlobalVariantFallbacks(),
    }
    with Workers(request, jobs - 1) as workers:
        known = {layer.identifier for layer in Sdf.Layer.GetLoadedLayers()}
        if jobs > 1 and path.is_file() and path.stat().st_size >= EARLY_BYTES:
            workers.start()
        stage = open_stage(path, masked, load)
        select_variants(stage, chosen)
        with no_collection():
            found, context = None, ImportContext(stage, **options)
            parts = plan(stage, jobs) if jobs > 1 and is_shareable(context, known) else None
            if parts is not None:
                found = read_parts(context, parts, workers)
            workers.stop()
            if found is None:
                context = ImportContext(stage, **options)
            return finish(context, found)


def is_shareable(context: ImportContext, known: set[str]) -> bool:
    """Whether other processes can read parts of a stage, each by itself.

    The rest needs what is in other parts: instances their prototypes, and bounds that move those
    beside them. Layers that the host had loaded before may not be as they are in their files.
    """
    stage = context.stage
    if context.is_own or context.is_animated or stage.GetPrototypes():
        return False
    layers = file_layers(stage)
    if any(layer.identifier in known for layer in layers):
        return False
    if context.has_splines and any(map(may_have_splines, layers)):  # the session only has variants
        return False
    return count_of(stage.GetPseudoRoot(), LEAST_PRIMS + 1) > LEAST_PRIMS


def plan(stage: Any, jobs: int) -> list[Part] | None:
    """The parts of a stage; None if it has point instancers, which need their prototypes."""
    types = list(map(type_of, Usd.PrimRange(stage.GetPseudoRoot(), PREDICATE)))
    if "PointInstancer" in types:
        return None
    parts = plan_parts(stage, max(LEAST_RUN, len(types) // (jobs * RUNS_PER_PROCESS)))
    return parts if len(parts) <= MOST_PARTS else None


def file_layers(stage: Any) -> list[Any]:
    """The layers of a stage but for those of its session, which only this process has."""
    return [layer for layer in stage.GetUsedLayers() if not layer.anonymous]


def facts_of(stage: Any) -> list[list[Any]]:
    """What tells that two processes have opened the same files."""
    facts = []
    for layer in file_layers(stage):
        try:
            status = os.stat(layer.realPath)
            times = [status.st_mtime_ns, status.st_size]
        except OSError:
            times = []  # in a package
        facts.append([layer.identifier, layer.realPath, *times])
    return sorted(facts)


def read_parts(context: ImportContext, parts: list[Part], workers: Workers) -> Findings | None:
    """Reads a stage part by part; None if one process has to read it as a whole."""
    reader = PartReader(context, parts)
    try:
        with np.errstate(all="ignore"):  # a stage may hold infinities
            workers.hand_out(parts, facts_of(context.stage))
            reader.read_single_prims()
            runs = {number: reader.read_run(number) for number in workers.numbers(parts)}
            missing = {number for number, part in enumerate(parts) if not part.path} - runs.keys()
            runs |= workers.results(missing)
            for number in missing - runs.keys():
                runs[number] = reader.read_run(number)
            return reader.join(runs)
    except Declined:
        return None

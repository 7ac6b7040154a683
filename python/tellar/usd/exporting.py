"""What exports of all kinds of things have in common."""

from __future__ import annotations

from typing import TYPE_CHECKING

from pxr import Usd

if TYPE_CHECKING:
    from .context import ImportContext


def export_context(stage: Usd.Stage) -> ImportContext:
    """The context of a later import of a stage that is being written, at frame 0."""
    from .context import ImportContext

    context = ImportContext(stage)
    context.is_animated = True  # it may yet become so
    return context


def code_of(context: ImportContext, time: float) -> float:
    """The time code of a sample's time: the inverse of ``context.time``."""
    return (time + context.frame) / context.frames_per_code

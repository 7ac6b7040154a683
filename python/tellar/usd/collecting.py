"""Python's garbage collector, while there is much that is no garbage."""

from __future__ import annotations

import gc
from collections.abc import Iterator
from contextlib import contextmanager


@contextmanager
def no_collection() -> Iterator[None]:
    """Keeps the collector from visiting a growing tree again and again."""
    was_enabled = gc.isenabled()
    gc.disable()
    try:
        yield
    finally:
        if was_enabled:
            gc.enable()

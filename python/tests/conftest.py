"""What the tests have in common."""

from __future__ import annotations

import gc
import os
from collections.abc import Callable
from pathlib import Path

import pytest

import tellar

ROOT = Path(__file__).resolve().parents[2]


@pytest.fixture(scope="session")
def examples() -> Path:
    """The folder of the project's example scenes."""
    return ROOT / "examples"


@pytest.fixture
def garden(examples: Path) -> tellar.Scene:
    return tellar.open(examples / "garden.json")


@pytest.fixture
def resident_bytes() -> Callable[[], int]:
    """The memory that the process has, in bytes, after a collection."""
    if "libasan" in os.environ.get("LD_PRELOAD", ""):
        pytest.skip("the sanitizer keeps freed memory")

    def now() -> int:
        gc.collect()
        for line in Path("/proc/self/status").read_text().splitlines():
            if line.startswith("VmRSS:"):
                return int(line.split()[1]) * 1024
        raise RuntimeError("the system tells no memory of the process")

    return now

"""The examples of the guide do what it says."""

from __future__ import annotations

import doctest
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]


def test_the_examples_of_the_guide(monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.chdir(ROOT)
    (ROOT / "build").mkdir(exist_ok=True)
    failed, tried = doctest.testfile(
        str(ROOT / "docs" / "python.md"),
        module_relative=False,
        optionflags=doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE,
    )
    assert tried > 0
    assert failed == 0

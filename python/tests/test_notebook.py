"""The notebook of the examples runs from its first cell to its last."""

from __future__ import annotations

import json
import sys
import types
from pathlib import Path
from typing import Any

import pytest


def test_the_notebook_runs(examples: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    # Notebooks come with IPython, of which this one uses the display of a picture.
    display: Any = types.ModuleType("IPython.display")
    display.Image = bytes
    monkeypatch.setitem(sys.modules, "IPython", types.ModuleType("IPython"))
    monkeypatch.setitem(sys.modules, "IPython.display", display)
    monkeypatch.chdir(examples)
    notebook = json.loads((examples / "garden.ipynb").read_text(encoding="utf-8"))
    cells = ["".join(cell["source"]) for cell in notebook["cells"] if cell["cell_type"] == "code"]
    names: dict[str, Any] = {}
    for cell in cells:
        exec(compile(cell, "garden.ipynb", "exec"), names)
    assert len(names["table"]) == 128
    assert names["shown"][:3] == b"\xff\xd8\xff"  # a JPEG file

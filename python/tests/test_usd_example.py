"""The example stage: made by its program, and imported without loss."""

from __future__ import annotations

import importlib.util
from pathlib import Path
from typing import Any

import pytest

pytest.importorskip("pxr", reason="the USD bridge needs usd-core")

from pxr import Sdf

import tellar
import tellar.usd


def program(examples: Path) -> Any:
    """The module that makes the example."""
    place = examples / "make_usd_scene.py"
    spec = importlib.util.spec_from_file_location(place.stem, place)
    assert spec is not None and spec.loader is not None
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def opened(result: Any, folder: Path) -> tellar.Scene:
    """The scene of an import, by way of a file."""
    tellar.write_op_file(result.description, folder / "pier.oxop")
    return tellar.open(folder / "pier.oxop")


def test_the_example_is_what_its_program_makes(examples: Path, tmp_path: Path) -> None:
    maker = program(examples)
    maker.make_stage(tmp_path / "pier.usda")
    maker.write_sky(tmp_path / "pier_sky.png")
    layers = [Sdf.Layer.FindOrOpen(str(folder / "pier.usda")) for folder in (tmp_path, examples)]
    made, kept = (layer.ExportToString() for layer in layers)
    assert made == kept
    assert (tmp_path / "pier_sky.png").read_bytes() == (examples / "pier_sky.png").read_bytes()


def test_the_example_is_imported_without_loss(examples: Path, tmp_path: Path) -> None:
    result = tellar.usd.import_usd(examples / "pier.usda")
    assert result.summary.lost.total() == result.summary.kept.total() == 0
    assert result.summary.imported["scene-graph instances"] == 19
    scene = opened(result, tmp_path)
    assert scene["/root/world/Pier/sky"]["light.texture"] == str(examples / "pier_sky.png")
    assert len(list(scene["/root/world/Pier/posts"].children)) == 12
    post = scene["/root/world/Pier/posts/left0/pole"]
    assert post["materialAssign"] == "/root/world/Pier/Looks/post"
    stripe = scene["/root/world/Pier/buoy/body/stripe"]
    assert stripe["materialAssign"] == "/root/world/Pier/Looks/white"


def test_a_variant_of_the_example_changes_the_sun(examples: Path, tmp_path: Path) -> None:
    found = {}
    for time in ("day", "dusk"):
        result = tellar.usd.import_usd(examples / "pier.usda", variants={"/Pier": {"time": time}})
        light: Any = opened(result, tmp_path)["/root/world/Pier/sun"]["light"]
        found[time] = float(light["intensity"][0])
    assert found == {"day": 3, "dusk": pytest.approx(0.8)}

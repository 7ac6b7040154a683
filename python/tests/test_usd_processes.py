"""Imports by several processes, against the same imports by one."""

from __future__ import annotations

import os
import sys
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import IO, Any

import pytest

pytest.importorskip("pxr", reason="the USD bridge needs usd-core")

from pxr import Gf, Sdf, Usd, UsdGeom, UsdLux, UsdShade

import tellar
import tellar.usd
from tellar.usd import importer, sharing
from tellar.usd.importer import ImportResult
from tellar.usd.parts import PartReader, Run
from tellar.usd.workers import Workers, result_at, write_result
from test_usd_shortcuts import STAGES
from usd_stages import square


@pytest.fixture(autouse=True)
def small_stages(monkeypatch: pytest.MonkeyPatch) -> None:
    """Lets several processes read small stages, in short runs."""
    monkeypatch.setattr(sharing, "LEAST_PRIMS", 0)
    monkeypatch.setattr(sharing, "LEAST_RUN", 3)


@pytest.fixture(autouse=True)
def no_orphans() -> Iterator[None]:
    """No process is left, whatever a test has done."""
    yield
    with pytest.raises(ChildProcessError):
        os.waitpid(-1, os.WNOHANG)


def material(stage: Any, path: str, color: tuple[float, float, float]) -> Any:
    found = UsdShade.Material.Define(stage, path)
    shader = UsdShade.Shader.Define(stage, path + "/shader")
    shader.CreateIdAttr("UsdPreviewSurface")
    shader.CreateInput("diffuseColor", Sdf.ValueTypeNames.Color3f).Set(color)
    found.CreateSurfaceOutput().ConnectToSource(shader.ConnectableAPI(), "surface")
    return found


def bind(prim: Any, to: Any) -> None:
    UsdShade.MaterialBindingAPI.Apply(prim.GetPrim()).Bind(to)


def still_stage(folder: Path) -> Path:
    """All that several processes read: what is inherited, bound, reset, left out and wrong."""
    path = folder / "still.usda"
    stage = Usd.Stage.CreateNew(str(path))
    UsdGeom.SetStageUpAxis(stage, UsdGeom.Tokens.z)
    world = UsdGeom.Xform.Define(stage, "/world")
    world.AddTranslateOp().Set((1, 2, 3))
    tint = UsdGeom.PrimvarsAPI(world).CreatePrimvar("tint", Sdf.ValueTypeNames.Float, "constant")
    tint.Set(2)
    red = material(stage, "/world/looks/red", (1, 0, 0))
    bind(world, red)
    for number in range(30):
        group = UsdGeom.Xform.Define(stage, f"/world/groups/group{number}")
        group.AddRotateXYZOp().Set((10, -number, 0))
        for name in ("a", "b", "c")[: 1 + number % 3]:
            mesh = square(stage, f"{group.GetPath()}/{name}")
            mesh.AddTransformOp().Set(Gf.Matrix4d(number))
        if number % 7 == 1:
            mesh.GetFaceVertexCountsAttr().Set([3])
            mesh.GetPrim().CreateAttribute("own", Sdf.ValueTypeNames.Float).Set(1)
    late = material(stage, "/zz/looks/late", (0, 0, 1))
    gone = material(stage, "/zz/looks/gone", (0, 1, 0))
    UsdShade.Material.Define(stage, "/zz/looks/empty")
    bind(stage.GetPrimAtPath("/world/groups/group3"), late)
    bind(stage.GetPrimAtPath("/world/groups/group4"), gone)
    gone.GetPrim().SetActive(False)
    empty = UsdShade.Material.Get(stage, "/zz/looks/empty")
    bind(stage.GetPrimAtPath("/world/groups/group5"), empty)
    part = UsdShade.MaterialBindingAPI(stage.GetPrimAtPath("/world/groups/group8/a"))
    bind(part.CreateMaterialBindSubset("part", [0]), late)
    some = Usd.CollectionAPI.Apply(stage.GetPrimAtPath("/world/groups"), "some")
    some.CreateIncludesRel().SetTargets(["/world/groups/group11", "/world/groups/group29/b"])
    bindings = UsdShade.MaterialBindingAPI.Apply(stage.GetPrimAtPath("/world/groups"))
    bindings.Bind(some, late, "some")
    for number in range(20):
        away = square(stage, f"/world/away/mesh{number}")
        away.AddTranslateOp().Set((number, 0, 0))
        away.SetResetXformStack(number % 5 == 0)
        square(stage, f"/world/guides/mesh{number}")
        UsdLux.SphereLight.Define(stage, f"/lamps/lamp{number}").CreateIntensityAttr(number)
        UsdGeom.Camera.Define(stage, f"/lamps/camera{number}")
        stage.DefinePrim(f"/other/strange{number}", "Strange")
        UsdGeom.Sphere.Define(stage, f"/other/ball{number}").GetRadiusAttr().Set(number)
    UsdGeom.Scope.Define(stage, "/world/guides").GetPurposeAttr().Set("guide")
    UsdGeom.Imageable(stage.GetPrimAtPath("/world/guides/mesh8")).GetPurposeAttr().Set("render")
    variants = stage.GetPrimAtPath("/world").GetVariantSets().AddVariantSet("size")
    for name in ("one", "two"):
        variants.AddVariant(name)
    variants.SetVariantSelection("two")
    with variants.GetVariantEditContext():
        for number in range(10):
            square(stage, f"/world/more/mesh{number}")
    variants.SetVariantSelection("one")
    stage.Save()
    return path


def wide_stage(folder: Path) -> Path:
    """Many shapes below one prim, and a deep chain of prims with as many below each."""
    path = folder / "wide.usdc"
    stage = Usd.Stage.CreateNew(str(path))
    for number in range(50):
        square(stage, f"/wide/mesh{number}")
    place = ""
    for number in range(12):
        place += f"/deep{number}"
        UsdGeom.Xform.Define(stage, place).AddTranslateOp().Set((-1, 0, 1))
        square(stage, f"{place}/mesh{number}")
    stage.Save()
    return path


FILES: dict[str, Callable[[Path], Path]] = {"still": still_stage, "wide": wide_stage}
OPTIONS: dict[str, dict[str, Any]] = {
    "plain": {},
    "purposes": {"purposes": ("default", "guide"), "location": "/root/set", "frame": 3},
    "variant": {"variants": {"/world": {"size": "two"}}, "convert_units": False},
    "mask": {"population_mask": ["/world/groups", "/lamps"]},
}


def check_equal(one: ImportResult, several: ImportResult) -> None:
    assert several.description.hash == one.description.hash
    assert several.description == one.description
    assert several.summary.lines() == one.summary.lines()
    assert several.summary.prims == one.summary.prims


def leave_all(self: Workers, parts: Any) -> Iterator[int]:
    """Takes no number."""
    assert self.is_started
    self._close_numbers()
    return iter(())


def expect_parts(monkeypatch: pytest.MonkeyPatch) -> None:
    """From now on no stage is read as a whole."""

    def refused(context: Any) -> None:
        raise AssertionError("the stage is read as a whole")

    monkeypatch.setattr(importer, "read_stage", refused)


def others_read_all(monkeypatch: pytest.MonkeyPatch) -> None:
    """This process takes no run."""
    expect_parts(monkeypatch)


    def refused(self: PartReader, number: int) -> None:
        raise AssertionError(f"run {number} is missing")

    monkeypatch.setattr(Workers, "numbers", leave_all)
    monkeypatch.setattr(PartReader, "read_run", refused)


@pytest.mark.parametrize(
    ("file", "options"), [*(("still", options) for options in OPTIONS), ("wide", "plain")]
)
def test_workers_read_the_same(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch, file: str, options: str
) -> None:
    path = FILES[file](tmp_path)
    one = tellar.usd.import_usd(path, jobs=1, **OPTIONS[options])
    others_read_all(monkeypatch)
    check_equal(one, tellar.usd.import_usd(path, jobs=3, **OPTIONS[options]))


def test_the_still_stage_has_what_it_is_made_for(tmp_path: Path) -> None:
    result = tellar.usd.import_usd(still_stage(tmp_path), jobs=2)
    scene, summary = result.scene(), result.summary
    groups = "/root/world/world/groups"
    assert scene[f"{groups}/group3/a"]["materialAssign"] == "/root/world/zz/looks/late"
    assert scene[f"{groups}/group29/b"]["materialAssign"] == "/root/world/zz/looks/late"
    assert scene[f"{groups}/group0/a"]["materialAssign"] == "/root/world/world/looks/red"
    assert scene[f"{groups}/group0/a"]["geometry.arbitrary.tint.value"] == 2
    assert summary.lost["materials that are not part of the scene"] > 0
    assert summary.lost["prims of other purposes"] == 19
    assert summary.lost["meshes whose faces do not fit their corners"] > 3
    assert "/root/world/world/guides/mesh8" in scene


@pytest.mark.parametrize("name", STAGES)
def test_stages_of_all_kinds_are_the_same(tmp_path: Path, examples: Path, name: str) -> None:
    stage = STAGES[name](tmp_path, examples)
    path = tmp_path / "stage.usda"
    if name == "example":
        path = examples / "pier.usda"
    elif name != "layers":
        stage.GetRootLayer().Export(str(path))
    del stage
    one = tellar.usd.import_usd(path, jobs=1)
    check_equal(one, tellar.usd.import_usd(path, jobs=2))


@pytest.mark.parametrize("file", FILES)
def test_the_own_process_reads_runs_too(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch, file: str
) -> None:
    monkeypatch.setattr(sys, "executable", "/opt/host/bin/painter")
    path = FILES[file](tmp_path)
    taken: list[int] = []
    monkeypatch.setattr(
        Workers, "numbers", lambda self, parts: counted(taken, numbers(self, parts))
    )
    one = tellar.usd.import_usd(path, jobs=1)
    expect_parts(monkeypatch)
    check_equal(one, tellar.usd.import_usd(path, jobs=2))
    assert len(taken) > 10


numbers = Workers.numbers


def counted(taken: list[int], some: Iterator[int]) -> Iterator[int]:
    for number in some:
        taken.append(number)
        yield number


def test_killed_workers_are_replaced(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    path = still_stage(tmp_path)
    one = tellar.usd.import_usd(path, jobs=1)
    expect_parts(monkeypatch)
    hand_out = Workers.hand_out

    def kill(self: Workers, parts: Any, facts: Any) -> None:
        hand_out(self, parts, facts)
        assert len(self.processes) == 2
        self.processes[0].kill()
        os.read(self._numbers, 4)  # the number of a run that it had taken
        self.processes[1].kill()

    monkeypatch.setattr(Workers, "hand_out", kill)
    check_equal(one, tellar.usd.import_usd(path, jobs=3))


@pytest.mark.parametrize(
    "wrong", [{"path": "/none.usda"}, {"options": {"frame": "soon"}}, {"mask": []}]
)
def test_workers_that_cannot_read_are_replaced(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch, wrong: dict[str, Any]
) -> None:
    path = still_stage(tmp_path)
    one = tellar.usd.import_usd(path, jobs=1)
    expect_parts(monkeypatch)
    make = Workers.__init__
    monkeypatch.setattr(
        Workers, "__init__", lambda self, request, count: make(self, request | wrong, count)
    )
    monkeypatch.setattr(Workers, "numbers", leave_all)
    check_equal(one, tellar.usd.import_usd(path, jobs=2))


def test_workers_stop_at_a_full_disk(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    path = still_stage(tmp_path)
    one = tellar.usd.import_usd(path, jobs=1)
    expect_parts(monkeypatch)
    make = Workers._new_file

    def full(self: Workers, content: bytes = b"") -> IO[bytes]:
        if len(self._files) < 2:
            return make(self, content)
        self._files.append(open("/dev/full", "r+b", buffering=0))
        return self._files[-1]

    monkeypatch.setattr(Workers, "_new_file", full)
    check_equal(one, tellar.usd.import_usd(path, jobs=2))


def test_damaged_results_are_none(tmp_path: Path) -> None:
    group = tellar.group({"a": {"a": {"type": "group"}}})
    run = Run(group, [0.0] * 6, 1, [], [], [tellar.usd.ImportSummary() for _ in range(3)])
    with open(tmp_path / "results", "w+b") as file:
        write_result(file, 3, run)
        write_result(file, 4, None)
        end, number, found = result_at(file.fileno(), 0) or (0, 0, None)
        assert (number, found and found.children) == (3, group)
        assert (result_at(file.fileno(), end) or ())[1:] == (4, None)
        os.pwrite(file.fileno(), b"??", end - 20)
        assert result_at(file.fileno(), 0) is None
        os.truncate(file.fileno(), end - 1)
        assert result_at(file.fileno(), 0) is None


@pytest.mark.parametrize("error", [RuntimeError, KeyboardInterrupt, MemoryError])
def test_errors_leave_no_process(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch, error: type[BaseException]
) -> None:
    path = still_stage(tmp_path)

    def fail(self: PartReader, number: int) -> None:
        raise error

    monkeypatch.setattr(PartReader, "read_run", fail)
    with pytest.raises(error):
        tellar.usd.import_usd(path, jobs=4)


def refuse(self: Workers) -> None:
    raise AssertionError("a process is started")


def test_a_stage_in_memory_needs_no_process(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    path = still_stage(tmp_path)
    monkeypatch.setattr(Workers, "start", refuse)
    stage = Usd.Stage.Open(str(path))
    UsdGeom.Xform.Define(stage, "/added")
    assert "/root/world/added" in tellar.usd.import_usd(stage, jobs=4).scene()
    assert "/root/world/added" in tellar.usd.import_usd(path, jobs=4).scene()


def test_large_files_start_processes_early(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    path = still_stage(tmp_path)
    monkeypatch.setattr(sharing, "EARLY_BYTES", 0)
    one = tellar.usd.import_usd(path, jobs=1)
    check_equal(one, tellar.usd.import_usd(path, jobs=2))
    (tmp_path / "broken.usda").write_text("#usda 1.0\n(")
    with pytest.raises(tellar.FileError):
        tellar.usd.import_usd(tmp_path / "broken.usda", jobs=2)


@pytest.mark.parametrize("jobs", [0, -1, 65])
def test_a_wrong_number_of_processes_is_refused(tmp_path: Path, jobs: int) -> None:
    with pytest.raises(tellar.BadCallError, match="jobs is from 1 to 64"):
        tellar.usd.import_usd(still_stage(tmp_path), jobs=jobs)

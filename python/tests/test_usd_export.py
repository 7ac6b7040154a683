"""The export to USD: what other applications see, and what comes back."""

from __future__ import annotations

import json
import subprocess
import sys
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import tellar

pytest.importorskip("pxr.Usd", reason="usd-core (pxr) is not installed")

from pxr import Gf, Usd, UsdGeom, UsdLux, UsdShade, UsdValidation  # noqa: E402

import tellar.usd  # noqa: E402

SQUARE: dict[str, Any] = {
    "point": {"P": tellar.attribute(np.array([[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]], "f4"))},
    "poly": {"vertexList": np.array([0, 1, 2, 3], "i4"), "startIndex": np.array([0, 4], "i4")},
}
RED: dict[str, Any] = {
    "style": "network",
    "nodes": {"s": {"name": "s", "type": "standard_surface",
                    "parameters": {"baseColor": tellar.attribute([1.0, 0, 0], "float", 3)}}},
    "terminals": {"surface": "s"},
}


def scene_of(**children: dict[str, Any]) -> tellar.Scene:
    """A scene of entries of a StaticScene at /root/world."""
    world = {"a": {"type": "group"}, "c": children}
    return tellar.scene(tellar.ops.StaticScene(a={"type": "group"}, c={"world": world}))


def exported(scene: tellar.Scene, path: Path, **options: Any) -> Any:
    """The stage of an export, which USD's own validators find no fault in."""
    tellar.usd.export_usd(scene, path, **options)
    stage = Usd.Stage.Open(str(path))
    assert faults(stage) == []
    return stage


def opened(folder: Path, path: str) -> tuple[Any, Any]:
    """The stage of a round trip, which lives as long as it is held, and one of its prims."""
    stage = Usd.Stage.Open(str(folder / "a.usda"))
    return stage, stage.GetPrimAtPath(path)


def faults(stage: Any) -> list[str]:
    validators = UsdValidation.ValidationRegistry().GetOrLoadAllValidators()
    found = UsdValidation.ValidationContext(validators).Validate(stage)
    return [error.GetMessage() for error in found]


def differences(before: tellar.Scene, after: tellar.Scene, at: str = "/root") -> list[str]:
    """The paths that only one scene has, and those whose attributes differ."""
    scenes = [{one.path: contents(one) for one in scene.walk(at)} for scene in (before, after)]
    assert [list(scene) for scene in scenes][0] == list(scenes[1])
    return [path for path in scenes[0] if scenes[0][path] != scenes[1][path]]


def contents(location: tellar.Location) -> list[tuple[str, Any]]:
    group = location.attributes
    return [(name, group.attribute(name)) for name in group.keys()]


def round_trip(scene: tellar.Scene, folder: Path, at: str = "/root", name: str = "a.usda",
               **options: Any) -> list[str]:
    exported(scene, folder / name, at=at)
    back = tellar.usd.import_usd(folder / name, **options).scene()
    return differences(scene, back, at)


# Scenes


@pytest.mark.parametrize("name", ["garden.json", "shapes.json", "materials.json", "chess.json"])
@pytest.mark.parametrize("extension", ["usda", "usdc"])
def test_examples_come_back_as_they_were(
    examples: Path, tmp_path: Path, name: str, extension: str
) -> None:
    scene = tellar.open(examples / name)
    assert round_trip(scene, tmp_path, name=f"a.{extension}") == []


@pytest.mark.parametrize("extension", ["usd", "usdz"])
def test_files_of_the_other_kinds_come_back(
    examples: Path, tmp_path: Path, extension: str
) -> None:
    scene = tellar.open(examples / "shapes.json")
    assert round_trip(scene, tmp_path, name=f"a.{extension}") == []
    assert [path.name for path in tmp_path.iterdir()] == [f"a.{extension}"]


def test_materials_with_textures_in_packages_are_an_exception(
    examples: Path, tmp_path: Path
) -> None:
    scene = tellar.open(examples / "materials.json")
    found = round_trip(scene, tmp_path, name="a.usdz")
    assert found == ["/root/world/gallery/fresco"]
    back = tellar.usd.import_usd(tmp_path / "a.usdz").scene()
    before, after = (dict(contents(one[found[0]])) for one in (scene, back))
    assert [name for name in before if before[name] != after[name]] == ["material"]


def test_an_imported_stage_comes_back_with_its_instances(
    examples: Path, tmp_path: Path
) -> None:
    scene = tellar.usd.import_usd(examples / "pier.usda").scene()
    assert round_trip(scene, tmp_path) == []


def test_odd_names_come_back(tmp_path: Path) -> None:
    parts: dict[str, Any] = {name: {"a": {"type": "group"}} for name in ("1 st", "1_st", "a-b", "ä", "%2E", "def")}
    parts["c%2Ed"] = {"a": {"type": "polymesh", "geometry": SQUARE,
                            "materialAssign": "/root/world/the red.one"}}
    parts["the red%2Eone"] = {"a": {"type": "material", "material": RED}}
    scene = scene_of(**parts)
    assert "/root/world/c.d" in scene
    assert round_trip(scene, tmp_path) == []


def test_attributes_of_all_types_come_back(tmp_path: Path) -> None:
    user: dict[str, Any] = {
        "one": 1, "real": 0.1, "single": tellar.attribute(0.1, "float"), "text": "a\n\"b\" ü",
        "none": None, "no": {}, "texts": ["a", ""], "alone": tellar.attribute(["a"], "string"),
        "empty": tellar.attribute([], "int"), "pairs": np.array([[1, 2], [3, 4]], "i4"),
        "five": tellar.attribute(np.arange(10.0), "double", 5),
        "matrix": tellar.attribute(np.arange(16.0), "double", 16),
        "bounds": np.array([np.inf, -np.inf, -0.0]),
        "strings": tellar.attribute(["a", "b", "c", "d"], "string", 2),
        "apart": tellar.group({"z": 1, "a": tellar.group({}, inherit=False)}, inherit=False),
        "a b": 1, "a_b": 2, "x:y": 3, "1": 4,
        "bytes": tellar.attribute([b"\xff\xfe", b"a\0b\r\n\x01"], "string"), "null": "\0",
        "late": tellar.samples({2.5: [1, 2]}),
        "moving": tellar.samples({-0.5: np.array([1, 2], "f4"), 0.25: np.array([3, 4], "f4")}),
        "names": tellar.samples({0: "a", 1: "b"}),
    }
    scene = scene_of(a={"a": {"type": "odd", "user": user, "tellar": 1, "order": 2, "bound": 3}})
    assert round_trip(scene, tmp_path) == []


def test_animation_comes_back_and_is_seen(tmp_path: Path) -> None:
    turn = np.array([[0, 0, 1, 0.0]])
    xform = {
        "translate": tellar.samples({0: np.array([1, 2, 3.0]), 10: np.array([2, 2, 3.0])}),
        "rotateZ": tellar.samples({0: turn, 10: turn + [[90, 0, 0, 0]]}),
    }
    points = SQUARE["point"]["P"].value
    geometry = SQUARE | {"point": {"P": tellar.samples({0: points, 10: points * 2})}}
    visible = tellar.samples({0: 1, 5: 0})
    scene = scene_of(
        a={"a": {"type": "polymesh", "xform": xform, "geometry": geometry, "visible": visible}}
    )
    assert round_trip(scene, tmp_path) == []
    stage = Usd.Stage.Open(str(tmp_path / "a.usda"))
    prim = stage.GetPrimAtPath("/root/world/a")
    assert (stage.GetStartTimeCode(), stage.GetEndTimeCode()) == (0, 10)
    for code in (0, 3, 10):
        matrix = UsdGeom.XformCache(code).GetLocalToWorldTransform(prim)
        expected = scene["/root/world/a"].world_matrix(code)
        np.testing.assert_allclose(np.array(matrix), expected, atol=1e-9)
    assert np.allclose(prim.GetAttribute("points").Get(5), points * 1.5)
    assert UsdGeom.Imageable(prim).ComputeVisibility(7) == "invisible"


def test_origin_resets_the_stack(tmp_path: Path) -> None:
    above = {"translate": np.array([1.0, 2, 3])}
    own = {"origin": 1, "translate": np.array([5.0, 6, 7])}
    scene = scene_of(a={"a": {"type": "group", "xform": above},
                        "c": {"b": {"a": {"type": "group", "xform": own}}}})
    assert round_trip(scene, tmp_path) == []
    _stage, prim = opened(tmp_path, "/root/world/a/b")
    matrix = UsdGeom.XformCache().GetLocalToWorldTransform(prim)
    assert matrix.ExtractTranslation() == Gf.Vec3d(5, 6, 7)


def test_meshes_have_all_their_parts(tmp_path: Path) -> None:
    st = {"scope": "vertex", "inputType": "point2", "index": np.array([0, 1, 1, 0], "i4"),
          "indexedValue": np.array([[0, 0], [1, 1]], "f4")}
    color = {"scope": "face", "inputType": "color3", "value": np.array([[1, 0, 0]], "f4")}
    wrong = {"scope": "point", "inputType": "float", "value": np.array([1, 2], "f4")}
    geometry = SQUARE | {
        "creaseIndices": np.array([0, 1], "i4"), "creaseLengths": np.array([2], "i4"),
        "creaseSharpness": np.array([3], "f4"), "holeFaces": np.array([0], "i4"),
        "interpolateBoundary": "edges", "arbitrary": {"st": st, "color": color, "wrong": wrong},
    }
    scene = scene_of(a={"a": {"type": "subdmesh", "geometry": geometry}})
    assert round_trip(scene, tmp_path) == []
    _stage, prim = opened(tmp_path, "/root/world/a")
    mesh = UsdGeom.Mesh(prim)
    assert mesh.GetSubdivisionSchemeAttr().Get() == "catmullClark"
    assert list(mesh.GetCreaseSharpnessesAttr().Get()) == [3]
    assert list(mesh.GetHoleIndicesAttr().Get()) == [0]
    assert mesh.GetInterpolateBoundaryAttr().Get() == "edgeOnly"
    primvars = UsdGeom.PrimvarsAPI(mesh)
    assert list(primvars.GetPrimvar("st").ComputeFlattened()[1]) == [1, 1]
    assert primvars.GetPrimvar("displayColor").GetInterpolation() == "uniform"
    assert not primvars.HasPrimvar("wrong")
    assert np.array_equal(mesh.GetExtentAttr().Get(), [[0, 0, 0], [1, 1, 0]])


def test_facesets_are_bound_unless_they_have_common_faces(tmp_path: Path) -> None:
    def subset(face: int) -> dict[str, Any]:
        return {"a": {"type": "faceset", "geometry": {"faces": np.array([face], "i4")},
                      "materialAssign": "/root/world/red"}}

    two = {"point": SQUARE["point"], "poly": {"vertexList": np.array([0, 1, 2, 0, 2, 3], "i4"),
                                              "startIndex": np.array([0, 3, 6], "i4")}}
    scene = scene_of(
        red={"a": {"type": "material", "material": RED}},
        apart={"a": {"type": "polymesh", "geometry": two}, "c": {"x": subset(0), "y": subset(1)}},
        common={"a": {"type": "polymesh", "geometry": two}, "c": {"x": subset(1), "y": subset(1)}},
    )
    assert round_trip(scene, tmp_path) == []
    stage = Usd.Stage.Open(str(tmp_path / "a.usda"))

    def material(path: str) -> Any:
        prim = stage.GetPrimAtPath(path)
        return UsdShade.MaterialBindingAPI(prim).ComputeBoundMaterial()[0].GetPath()

    assert material("/root/world/apart/y") == "/root/world/red"
    assert material("/root/world/common/y").isEmpty


def test_a_material_without_a_location_is_bound(tmp_path: Path) -> None:
    scene = scene_of(a={"a": {"type": "polymesh", "geometry": SQUARE, "material": RED}})
    assert round_trip(scene, tmp_path) == []
    _stage, prim = opened(tmp_path, "/root/world/a")
    assert UsdShade.MaterialBindingAPI(prim).ComputeBoundMaterial()[0]


def test_cameras_see_the_same(tmp_path: Path) -> None:
    edges = {"left": -0.5, "right": 1.0, "bottom": -0.25, "top": 0.75, "near": 0.5, "far": 20.0}
    scene = scene_of(
        wide={"a": {"type": "camera", "geometry": {"fov": 40.0, "apertureRadius": 0.1,
                                                   "focusDistance": 3.0} | edges}},
        flat={"a": {"type": "camera", "geometry": {
            "fov": 40.0, "projection": "orthographic", "orthographicWidth": 6.0} | edges}},
    )
    assert round_trip(scene, tmp_path) == []
    stage = Usd.Stage.Open(str(tmp_path / "a.usda"))
    for name, aspect in (("wide", 1.5), ("flat", 1.5)):
        lens = UsdGeom.Camera(stage.GetPrimAtPath(f"/root/world/{name}")).GetCamera(0)
        expected = scene.camera(f"/root/world/{name}").projection_matrix(aspect)
        found = np.array(lens.frustum.ComputeProjectionMatrix())
        np.testing.assert_allclose(found, expected, rtol=1e-5, atol=1e-5)


def test_lights_and_settings_of_the_root_come_back(tmp_path: Path) -> None:
    scene = tellar.scene(tellar.ops.StaticScene(
        a={"renderSettings": {"resolution": "square_512", "depth": 3}},
        c={"sun": {"a": {"type": "light", "light": {"type": "directional", "intensity": 2.0}}},
           "odd": {"a": {"type": "light", "light": {"type": "laser"}}}},
    ))
    assert round_trip(scene, tmp_path) == []
    stage = Usd.Stage.Open(str(tmp_path / "a.usda"))
    assert UsdLux.DistantLight(stage.GetPrimAtPath("/root/sun"))


def test_shapes_below_shapes_come_back_although_usd_has_none(tmp_path: Path) -> None:
    mesh = {"type": "polymesh", "geometry": SQUARE}
    scene = scene_of(a={"a": mesh, "c": {"b": {"a": mesh}}}, bad={"a": {"type": "polymesh"}})
    summary = tellar.usd.export_usd(scene, tmp_path / "b.usda")
    assert dict(summary.lost) == {"shapes below shapes, kept as attributes": 1,
                                  "shapes that are not sound, kept as attributes": 1}
    assert round_trip(scene, tmp_path) == []


# Instances


def tree(**attributes: Any) -> dict[str, Any]:
    mesh = {"type": "polymesh", "geometry": SQUARE, "materialAssign": "/root/world/red"}
    return {"a": {"type": "group"} | attributes, "c": {"leaf": {"a": mesh}}}


def test_equal_subtrees_are_instances_and_come_back(tmp_path: Path) -> None:
    def place(x: float, kind: str) -> dict[str, Any]:
        return {kind: np.array([x, 1, 1.0])}

    scene = scene_of(**{
        "red": {"a": {"type": "material", "material": RED}},
        "1 oak": tree(xform=place(1, "translate")), "b": tree(xform=place(2, "scale")),
        "c": tree(), "d": tree(user={"i": 1}), "e": tree(user={"i": 1}, xform=place(3, "scale")),
    })
    assert round_trip(scene, tmp_path) == []
    stage = Usd.Stage.Open(str(tmp_path / "a.usda"))
    shown = {prim.GetName(): prim.IsInstance() for prim in stage.GetPrimAtPath("/root/world")
             .GetChildren()}
    assert shown == {"red": False, "__oak": False, "b": True, "c": True, "d": False, "e": True}
    leaf = stage.GetPrimAtPath("/root/world/c/leaf")
    world = UsdGeom.XformCache().GetLocalToWorldTransform(leaf)
    assert world == Gf.Matrix4d(1)
    bound = UsdShade.MaterialBindingAPI(leaf).ComputeBoundMaterial()[0]
    assert bound.GetPath() == "/root/world/red"


# Options and errors


def test_a_part_of_a_scene_comes_back_at_its_place(garden: tellar.Scene, tmp_path: Path) -> None:
    at = "/root/world/garden/windmill"
    assert round_trip(garden, tmp_path, at) == []
    stage = Usd.Stage.Open(str(tmp_path / "a.usda"))
    assert stage.GetDefaultPrim().GetPath() == "/windmill"


def test_an_exported_scene_may_be_imported_elsewhere(tmp_path: Path) -> None:
    scene = scene_of(a={"a": {"type": "polymesh", "geometry": SQUARE, "user": {"i": 1}}})
    exported(scene, tmp_path / "a.usda")
    back = tellar.usd.import_usd(tmp_path / "a.usda", location="/root/world/b").scene()
    assert back["/root/world/b/root/world/a"]["user.i"] == [1]


def test_edits_in_usd_hold(tmp_path: Path) -> None:
    scene = scene_of(a={"a": {"type": "group", "user": {"i": 1},
                              "xform": {"translate": np.array([1.0, 0, 0])}}})
    stage = exported(scene, tmp_path / "a.usda")
    prim = stage.GetPrimAtPath("/root/world/a")
    prim.GetAttribute("xformOp:transform").Set(Gf.Matrix4d().SetTranslate((5, 0, 0)))
    result = tellar.usd.import_usd(stage)
    assert dict(result.summary.kept) == {'values "xform" that were edited after an export': 1}
    location = result.scene()["/root/world/a"]
    assert location.world_matrix()[3, 0] == 5
    assert location["user.i"] == [1]


def test_stages_have_metadata_and_the_frames_that_are_asked_for(tmp_path: Path) -> None:
    stage = exported(scene_of(), tmp_path / "a.usda", frames=(1, 24))
    assert (stage.GetStartTimeCode(), stage.GetEndTimeCode()) == (1, 24)
    assert UsdGeom.GetStageUpAxis(stage) == "Y"
    assert UsdGeom.GetStageMetersPerUnit(stage) == 1
    assert stage.GetTimeCodesPerSecond() == 24


def test_a_file_is_written_completely_or_not_at_all(tmp_path: Path) -> None:
    target = tmp_path / "a.usda"
    target.write_text("what was there")
    bad = tellar.scene(tellar.ops.SceneImport(file=str(tmp_path / "missing.gltf")))
    with pytest.raises(tellar.Error):
        tellar.usd.export_usd(bad, target)
    assert target.read_text() == "what was there"
    assert [path.name for path in tmp_path.iterdir()] == ["a.usda"]


def test_wrong_arguments_have_clear_errors(tmp_path: Path) -> None:
    scene = scene_of()
    with pytest.raises(tellar.BadCallError, match="no name of a USD file"):
        tellar.usd.export_usd(scene, tmp_path / "a.obj")
    with pytest.raises(tellar.BadCallError, match="no first and last frame"):
        tellar.usd.export_usd(scene, tmp_path / "a.usd", frames=(2, 1))
    with pytest.raises(tellar.NotFoundError):
        tellar.usd.export_usd(scene, tmp_path / "a.usd", at="/root/nothing")
    with pytest.raises(tellar.FileError, match="There is no folder"):
        tellar.usd.export_usd(scene, tmp_path / "no" / "a.usd")
    with pytest.raises(tellar.FileError, match="Cannot write"):
        tellar.usd.export_usd(scene, "/proc/a.usd")  # even for root
    (tmp_path / "b.usda").mkdir()
    with pytest.raises(tellar.FileError, match="is a folder"):
        tellar.usd.export_usd(scene, tmp_path / "b.usda")


def test_the_command_exports_and_imports(examples: Path, tmp_path: Path) -> None:
    def run(*arguments: str) -> list[str]:
        command = [sys.executable, "-m", "tellar.usd", *arguments]
        done = subprocess.run(command, capture_output=True, text=True, check=True)
        return done.stderr.splitlines()

    model, usd, back = examples / "garden.gltf", tmp_path / "a.usdc", tmp_path / "a.oxop"
    assert "info: exported:" in run("export", str(model), str(usd), "--frames", "1:4")
    assert "info: imported:" in run("import", str(usd), str(back))
    assert Usd.Stage.Open(str(usd)).GetEndTimeCode() == 4
    assert differences(tellar.open(model), tellar.open(back)) == []


def test_a_summary_reports_what_was_written() -> None:
    summary = tellar.usd.ExportSummary()
    summary.prims = 2
    summary.exported.update({"Mesh": 2})
    summary.lost.update({"holes": 1})
    summary.add_example("holes", "/root/a")
    assert summary.lines() == ["2 prims", "exported:", "  2 Mesh", "lost:", "  1 holes (/root/a)"]
    assert json.dumps(str(summary)) == json.dumps("\n".join(summary.lines()))


@pytest.mark.parametrize("extension", ["usda", "usdc", "usdz"])
def test_a_full_disk_is_told_in_one_line(examples: Path, tmp_path: Path, extension: str) -> None:
    """A limit for the size of files stands in for the disk."""
    target = tmp_path / f"a.{extension}"
    program = f"""
import resource, signal, tellar, tellar.usd
scene = tellar.open({str(examples / "garden.json")!r})
signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))
try:
    tellar.usd.export_usd(scene, {str(target)!r})
except tellar.FileError as error:
    print(error.file, "|", error)
"""
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True)
    lines = done.stdout.splitlines()
    assert len(lines) == 1 and lines[0].startswith(f'{target} | Cannot write "{target}": ')
    assert list(tmp_path.iterdir()) == []

"""The import of USD, compared with what USD itself computes."""

from __future__ import annotations

import os
import subprocess
import sys
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import tellar

pytest.importorskip("pxr.Usd", reason="usd-core (pxr) is not installed")

from pxr import Gf, Sdf, Ts, Usd, UsdGeom, Vt  # noqa: E402
from usd_stages import custom, many_instances, square, transforms_stage  # noqa: E402

import tellar.usd  # noqa: E402


def imported(stage: Any, **options: Any) -> tellar.Scene:
    return tellar.usd.import_usd(stage, **options).scene()


def new_stage() -> Any:
    stage = Usd.Stage.CreateInMemory()
    UsdGeom.SetStageUpAxis(stage, UsdGeom.Tokens.y)
    UsdGeom.SetStageMetersPerUnit(stage, 1)
    UsdGeom.Xform.Define(stage, "/World")
    return stage


def attribute_of(location: tellar.Location, name: str) -> Any:
    *groups, leaf = name.split(".")
    return location.attributes.attribute(".".join([*groups, leaf]))


# Transforms


def assert_matrix(found: Any, expected: Any) -> None:
    expected = np.asarray(expected)
    size = np.abs(expected).max()
    np.testing.assert_allclose(np.asarray(found), expected, rtol=0, atol=1e-12 * size)


@pytest.mark.parametrize("frame", [0.0, 4.0])
def test_world_matrices_are_those_of_usd_at_whole_time_codes(frame: float
) -> None:
    stage = transforms_stage()
    scene = imported(stage, convert_units=False, frame=frame)
    for code in (-5, 1, 3, 5, 8, 9, 11, 20):
        cache = UsdGeom.XformCache(code)
        for prim in stage.Traverse():
            world = cache.GetLocalToWorldTransform(prim)
            location = scene["/root/world" + str(prim.GetPath())]
            assert_matrix(location.world_matrix(time=code - frame), world)


def test_units_and_axes_are_converted_at_the_root_also_for_resets() -> None:
    stage = transforms_stage()
    scene = imported(stage)
    turned = Gf.Matrix4d(0.01, 0, 0, 0, 0, 0, -0.01, 0, 0, 0.01, 0, 0, 0, 0, 0, 1)
    for code in (1, 5):
        cache = UsdGeom.XformCache(code)
        for prim in stage.Traverse():
            world = cache.GetLocalToWorldTransform(prim) * turned
            location = scene["/root/world" + str(prim.GetPath())]
            assert_matrix(location.world_matrix(time=code), world)


def test_world_matrices_between_samples_stay_close() -> None:
    stage = transforms_stage()
    scene = imported(stage, convert_units=False)
    for code in np.linspace(1, 11, 41):
        cache = UsdGeom.XformCache(code)
        prim = stage.GetPrimAtPath("/World/pivot/moving")
        local = cache.GetLocalTransformation(prim)[0]
        location = scene["/root/world/World/pivot/moving"]
        matrix = attribute_of(location, "xform.matrix").interpolated(code).reshape(4, 4)
        np.testing.assert_allclose(matrix[:3, :3], np.asarray(local)[:3, :3], atol=2e-3)
        np.testing.assert_allclose(matrix[3], np.asarray(local)[3], atol=0.1)  # of 100


def test_a_rotation_of_several_turns_is_not_lost_between_two_samples() -> None:
    stage = new_stage()
    op = UsdGeom.Xform.Define(stage, "/World/wheel").AddRotateZOp()
    op.Set(0, 0)
    op.Set(1440, 24)
    scene = imported(stage)
    samples = attribute_of(scene["/root/world/World/wheel"], "xform.matrix")
    assert len(samples.times) >= 1440 / 5 + 1
    np.testing.assert_allclose(samples.interpolated(4.5)[0][:2], [0, -1], atol=1e-3)


@pytest.mark.parametrize("name", ["spline.usda", "spline.usdc", ""])
def test_splines_move_transforms_and_numbers(tmp_path: Path, name: str) -> None:
    stage = Usd.Stage.CreateNew(str(tmp_path / name)) if name else Usd.Stage.CreateInMemory()
    ball = UsdGeom.Sphere.Define(stage, "/ball")
    turn = ball.AddRotateYOp(UsdGeom.XformOp.PrecisionDouble)
    for attribute in (ball.GetRadiusAttr(), turn.GetAttr()):
        spline = Ts.Spline("double")
        for code, value in ((0, 0.0), (8, 64.0)):
            spline.SetKnot(
                Ts.Knot(typeName="double", time=code, value=value, nextInterp=Ts.InterpCurve)
            )
        attribute.SetSpline(spline)
    if name:
        stage.GetRootLayer().Save()
    location = imported(tmp_path / name if name else stage, convert_units=False)["/root/world/ball"]
    radius = attribute_of(location, "geometry.radius")
    for time in (0.0, 3.0, 8.0):
        assert radius.interpolated(time)[0] == ball.GetRadiusAttr().Get(time)
        world = UsdGeom.XformCache(time).GetLocalToWorldTransform(ball.GetPrim())
        assert_matrix(location.world_matrix(time=time), world)


def test_held_samples_jump() -> None:
    stage = new_stage()
    stage.SetInterpolationType(Usd.InterpolationTypeHeld)
    op = UsdGeom.Xform.Define(stage, "/World/step").AddTranslateOp()
    op.Set((0, 0, 0), 0)
    op.Set((8, 0, 0), 4)
    location = imported(stage)["/root/world/World/step"]
    assert location.world_matrix(time=3.99)[3][0] == 0
    assert location.world_matrix(time=4)[3][0] == 8


def test_time_codes_become_frames() -> None:
    stage = new_stage()
    stage.SetTimeCodesPerSecond(48)
    op = UsdGeom.Xform.Define(stage, "/World/a").AddTranslateOp()
    op.Set((0, 0, 0), 96)
    op.Set((1, 0, 0), 120)
    location = imported(stage, frame=50, frames_per_second=24)["/root/world/World/a"]
    assert list(attribute_of(location, "xform.matrix").times) == [-2, 10]


# Bounds


def test_bounds_are_those_of_usd() -> None:
    stage = new_stage()
    for name in ("Cube", "Sphere", "Cylinder", "Cone", "Capsule", "Plane"):
        UsdGeom.Xformable(stage.DefinePrim(f"/World/group/{name}", name)).AddTranslateOp().Set(
            (len(name), 1, 2)
        )
    mesh = square(stage, "/World/group/mesh")
    mesh.GetPointsAttr().Set([(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 3, 0)], 10)
    mesh.GetExtentAttr().Set([(0, 0, 0), (1, 1, 0)], 0)
    mesh.GetExtentAttr().Set([(0, 0, 0), (1, 3, 0)], 10)
    mesh.AddTranslateOp().Set((0, 0, 0), 0)
    mesh.GetOrderedXformOps()[0].Set((0, 20, 0), 10)
    curves = UsdGeom.BasisCurves.Define(stage, "/World/curves")
    curves.CreatePointsAttr([(0, 0, 0), (1, 0, 0), (2, 5, 0), (3, 0, 0)])
    curves.CreateCurveVertexCountsAttr([4])
    curves.CreateWidthsAttr([0.5])
    UsdGeom.Points.Define(stage, "/World/points").CreatePointsAttr([(1, 2, 3), (-1, -2, -3)])
    scene = imported(stage)
    purposes = [UsdGeom.Tokens.default_, UsdGeom.Tokens.render]
    for code in (-1.0, 0.0, 5.0, 10.0):
        cache = UsdGeom.BBoxCache(code, purposes, useExtentsHint=False, ignoreVisibility=True)
        for prim in stage.Traverse():
            expected = cache.ComputeUntransformedBound(prim).ComputeAlignedRange()
            bound = attribute_of(scene["/root/world" + str(prim.GetPath())], "bound")
            found = bound.interpolated(code)
            np.testing.assert_allclose(found[0::2], expected.GetMin(), rtol=1e-6, atol=1e-6)
            np.testing.assert_allclose(found[1::2], expected.GetMax(), rtol=1e-6, atol=1e-6)


def test_a_bound_of_a_group_encloses_what_is_turned_below_it() -> None:
    stage = transforms_stage()
    scene = imported(stage, convert_units=False)
    corners = np.array([[x, y, 0, 1] for x in (0, 1) for y in (0, 1)])
    shapes = [prim for prim in stage.Traverse() if prim.GetTypeName() == "Mesh"]
    assert len(shapes) == 2
    for code in (1.0, 4.0, 4.3, 8.0):
        cache = UsdGeom.XformCache(code)
        for shape in shapes:
            world = corners @ np.asarray(cache.GetLocalToWorldTransform(shape))
            for path in shape.GetPath().GetPrefixes():
                prim = stage.GetPrimAtPath(path)
                inverse = np.asarray(cache.GetLocalToWorldTransform(prim).GetInverse())
                points = (world @ inverse)[:, :3]
                found = attribute_of(scene[f"/root/world{path}"], "bound").interpolated(code)
                slack = 1e-6 * np.abs(found).max() + 2e-3 * np.abs(points).max() * (code % 1 > 0)
                assert np.all(found[0::2] <= points.min(axis=0) + slack), (path, code)
                assert np.all(found[1::2] >= points.max(axis=0) - slack), (path, code)


# Cameras


def cameras_stage() -> Any:
    stage = new_stage()
    for name, lens in {
        "wide": {"focalLength": 18.0, "horizontalAperture": 36.0, "verticalAperture": 24.0},
        "shifted": {
            "horizontalApertureOffset": 3.0,
            "verticalApertureOffset": -2.0,
            "clippingRange": Gf.Vec2f(0.5, 400),
        },
        "flat": {
            "projection": "orthographic",
            "horizontalAperture": 80.0,
            "verticalAperture": 50.0,
            "horizontalApertureOffset": 5.0,
            "verticalApertureOffset": 7.0,
        },
    }.items():
        camera = UsdGeom.Camera.Define(stage, f"/World/{name}")
        for key, value in lens.items():
            camera.GetPrim().GetAttribute(key).Set(value)
    zoom = UsdGeom.Camera.Define(stage, "/World/zoom")
    for code, focal in ((0, 35.0), (10, 70.0)):
        zoom.GetFocalLengthAttr().Set(focal, code)
        zoom.GetHorizontalApertureOffsetAttr().Set(focal / 10, code)
    return stage


@pytest.mark.parametrize("name", ["wide", "shifted", "flat", "zoom"])
@pytest.mark.parametrize("code", [0.0, 10.0])
def test_projections_are_those_of_usd(name: str, code: float) -> None:
    stage = cameras_stage()
    scene = imported(stage, frame=code)
    camera = UsdGeom.Camera.Get(stage, f"/World/{name}").GetCamera(code)
    expected = np.asarray(camera.frustum.ComputeProjectionMatrix())
    found = scene.camera(f"/root/world/World/{name}").projection_matrix(camera.aspectRatio)
    np.testing.assert_allclose(found, expected, rtol=1e-6, atol=1e-6)


def test_the_lens_of_a_camera_is_in_scene_units() -> None:
    stage = new_stage()
    camera = UsdGeom.Camera.Define(stage, "/World/cam")
    camera.CreateFStopAttr(2)
    camera.CreateFocusDistanceAttr(12)
    camera.CreateFocalLengthAttr(50)
    location = imported(stage)["/root/world/World/cam"]
    assert location["geometry.apertureRadius"][0] == 1.25
    assert location["geometry.focusDistance"][0] == 12


# Shapes


def test_a_mesh_keeps_its_data() -> None:
    stage = new_stage()
    mesh = square(stage, "/World/mesh")
    mesh.CreateSubdivisionSchemeAttr("catmullClark")
    mesh.CreateCreaseIndicesAttr([0, 1, 2])
    mesh.CreateCreaseLengthsAttr([3])
    mesh.CreateCreaseSharpnessesAttr([2.5])
    mesh.CreateCornerIndicesAttr([3])
    mesh.CreateCornerSharpnessesAttr([10])
    mesh.CreateHoleIndicesAttr([0])
    mesh.CreateInterpolateBoundaryAttr("edgeOnly")
    mesh.CreateFaceVaryingLinearInterpolationAttr("cornersOnly")
    mesh.CreateVelocitiesAttr([(1, 0, 0)] * 4)
    mesh.CreateDoubleSidedAttr(True)
    location = imported(stage)["/root/world/World/mesh"]
    assert location.type == "subdmesh"
    geometry = location["geometry"]
    assert geometry["subdivisionScheme"] == "catmull-clark"
    assert geometry["interpolateBoundary"] == "edges"
    assert geometry["interpolateFaceVarying"] == "cornersOnly"
    assert geometry["creaseIndices"].tolist() == [0, 1, 2]
    assert geometry["creaseLengths"].tolist() == [3]
    assert geometry["creaseSharpness"].tolist() == [2.5]
    assert geometry["cornerIndices"].tolist() == [3]
    assert geometry["cornerSharpness"].tolist() == [10]
    assert geometry["holeFaces"].tolist() == [0]
    assert geometry["doubleSided"].tolist() == [1]
    assert geometry["arbitrary.velocities.value"].tolist() == [[1, 0, 0]] * 4
    assert geometry["point.P"].dtype == np.float32
    assert geometry["poly.startIndex"].tolist() == [0, 4]


def test_left_handed_faces_are_turned_with_their_primvars() -> None:
    stage = new_stage()
    mesh = square(stage, "/World/mesh", orientation="leftHanded")
    mesh.GetPointsAttr().Set([(i, 0, 0) for i in range(7)])
    mesh.GetFaceVertexCountsAttr().Set([4, 3])
    mesh.GetFaceVertexIndicesAttr().Set([0, 1, 2, 3, 4, 5, 6])
    api = UsdGeom.PrimvarsAPI(mesh)
    plain = api.CreatePrimvar("st", Sdf.ValueTypeNames.TexCoord2fArray, "faceVarying")
    plain.Set([(i, 0) for i in range(7)])
    indexed = api.CreatePrimvar("st1", Sdf.ValueTypeNames.TexCoord2fArray, "faceVarying")
    indexed.Set([(0, 0), (1, 1)])
    indexed.SetIndices(Vt.IntArray([0, 1, 1, 1, 0, 0, 1]))
    geometry = imported(stage)["/root/world/World/mesh"]["geometry"]
    assert geometry["poly.vertexList"].tolist() == [0, 3, 2, 1, 4, 6, 5]
    assert geometry["arbitrary.st.value"][:, 0].tolist() == [0, 3, 2, 1, 4, 6, 5]
    assert geometry["arbitrary.st1.index"].tolist() == [0, 1, 1, 1, 0, 1, 0]
    assert geometry["arbitrary.st1.indexedValue"].tolist() == [[0, 0], [1, 1]]


@pytest.mark.parametrize(
    ("interpolation", "scope", "count"),
    [
        ("constant", "primitive", 1),
        ("uniform", "face", 2),
        ("varying", "point", 5),
        ("vertex", "point", 5),
        ("faceVarying", "vertex", 7),
    ],
)
def test_primvars_have_a_scope(interpolation: str, scope: str, count: int
) -> None:
    stage = new_stage()
    mesh = square(stage, "/World/mesh")
    mesh.GetPointsAttr().Set([(i, 0, 0) for i in range(5)])
    mesh.GetFaceVertexCountsAttr().Set([4, 3])
    mesh.GetFaceVertexIndicesAttr().Set([0, 1, 2, 3, 4, 1, 2])
    api = UsdGeom.PrimvarsAPI(mesh)
    values = [(i, i, i) for i in range(count)]
    api.CreatePrimvar("tint", Sdf.ValueTypeNames.Color3fArray, interpolation).Set(values)
    names = [f"n{i}" for i in range(count)]
    api.CreatePrimvar("label", Sdf.ValueTypeNames.StringArray, interpolation).Set(names)
    wrong = api.CreatePrimvar("wrong", Sdf.ValueTypeNames.FloatArray, "vertex")
    wrong.Set([1.0, 2.0])
    result = tellar.usd.import_usd(stage)
    location = result.scene()["/root/world/World/mesh"]
    tint = location["geometry.arbitrary.tint"]
    assert (tint["scope"], tint["inputType"]) == (scope, "color3")
    assert tint["value"].tolist() == [list(value) for value in values]
    label = location["geometry.arbitrary.label.value"]
    assert ([label] if count == 1 else list(label)) == names
    assert "wrong" not in location["geometry.arbitrary"]
    assert location["usd"]["attributes"]["primvars:wrong"].tolist() == [1, 2]
    assert result.summary.lost["primvars whose size does not fit the shape"] == 1


def test_constant_primvars_are_inherited_by_shapes() -> None:
    stage = new_stage()
    api = UsdGeom.PrimvarsAPI(stage.GetPrimAtPath("/World"))
    api.CreatePrimvar("displayColor", Sdf.ValueTypeNames.Color3fArray, "constant").Set([(1, 0, 0)])
    square(stage, "/World/red")
    square(stage, "/World/green").CreateDisplayColorAttr([(0, 1, 0)])
    scene = imported(stage)
    color = "geometry.arbitrary.color.value"
    assert scene["/root/world/World/red"][color].tolist() == [[1, 0, 0]]
    assert scene["/root/world/World/green"][color].tolist() == [[0, 1, 0]]


@pytest.mark.parametrize(
    ("interpolation", "count"), [("vertex", 4), ("faceVarying", 4), ("uniform", 1), ("constant", 1)]
)
def test_normals_of_every_interpolation(interpolation: str, count: int) -> None:
    stage = new_stage()
    mesh = square(stage, "/World/mesh")
    mesh.CreateNormalsAttr([(0, 0, 1)] * count)
    mesh.SetNormalsInterpolation(interpolation)
    geometry = imported(stage)["/root/world/World/mesh"]["geometry"]
    where = "point.N" if interpolation == "vertex" else "vertex.N"
    assert geometry[where].tolist() == [[0, 0, 1]] * 4


def test_points_and_primvars_have_samples() -> None:
    stage = new_stage()
    mesh = square(stage, "/World/mesh")
    mesh.GetPointsAttr().Set([(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0)], 1)
    mesh.GetPointsAttr().Set([(0, 0, 8), (1, 0, 8), (1, 1, 8), (0, 1, 8)], 2)
    weight = UsdGeom.PrimvarsAPI(mesh).CreatePrimvar("w", Sdf.ValueTypeNames.FloatArray, "constant")
    weight.Set([0.0], 1)
    weight.Set([1.0], 2)
    location = imported(stage, frame=1)["/root/world/World/mesh"]
    points = attribute_of(location, "geometry.point.P")
    assert list(points.times) == [0, 1]
    assert points.interpolated(0.5)[0].tolist() == [0, 0, 4]
    assert attribute_of(location, "geometry.arbitrary.w.value").interpolated(0.25)[0] == 0.25


def test_faces_that_change_are_those_of_the_frame() -> None:
    stage = new_stage()
    mesh = square(stage, "/World/mesh")
    for code, count in ((1, 3), (2, 4)):
        mesh.GetPointsAttr().Set([(i, 0, 0) for i in range(count)], code)
        mesh.GetFaceVertexCountsAttr().Set([count], code)
        mesh.GetFaceVertexIndicesAttr().Set(list(range(count)), code)
    result = tellar.usd.import_usd(stage, frame=2)
    geometry = result.scene()["/root/world/World/mesh"]["geometry"]
    assert geometry["poly.vertexList"].tolist() == [0, 1, 2, 3]
    assert len(geometry["point.P"]) == 4
    assert result.summary.lost.total() == 1


def test_values_whose_number_changes_are_those_of_the_frame() -> None:
    stage = new_stage()
    points = UsdGeom.Points.Define(stage, "/World/dust")
    for code in (1, 2):
        points.GetPointsAttr().Set([(i, 0, 0) for i in range(code)], code)
    result = tellar.usd.import_usd(stage, frame=2)
    location = result.scene()["/root/world/World/dust"]
    assert len(location["geometry.point.P"]) == 2
    assert result.summary.lost["attributes with a changing number of values"] == 1


def test_several_numbers_may_belong_to_an_element() -> None:
    stage = new_stage()
    api = UsdGeom.PrimvarsAPI(square(stage, "/World/mesh"))
    weights = api.CreatePrimvar("weights", Sdf.ValueTypeNames.FloatArray, "vertex", 2)
    weights.Set([0, 1, 2, 3, 4, 5, 6, 7])
    location = imported(stage)["/root/world/World/mesh"]
    value = location["geometry.arbitrary.weights.value"]
    assert value.tolist() == [[0, 1], [2, 3], [4, 5], [6, 7]]


@pytest.mark.parametrize(
    "wrong",
    [
        {"faceVertexCounts": [-4]},
        {"faceVertexCounts": [4, 4]},
        {"faceVertexIndices": []},
        {"points": []},
        {"extent": [(3e38, 3e38, 3e38), (-3e38, -3e38, -3e38)]},
        {"extent": [(0, 0, 0)]},
        {"extent": [(float("nan"), 0, 0), (1, 1, 1)]},
    ],
)
def test_wrong_meshes_are_read_as_far_as_they_go(wrong: dict[str, Any]) -> None:
    stage = new_stage()
    mesh = square(stage, "/World/mesh", orientation="leftHanded", **wrong)
    mesh.CreateNormalsAttr([(0, 0, 1)])
    mesh.SetNormalsInterpolation("uniform")
    UsdGeom.PrimvarsAPI(mesh).CreatePrimvar(
        "st", Sdf.ValueTypeNames.TexCoord2fArray, "faceVarying"
    ).Set([(0, 0)] * 3)
    location = imported(stage)["/root/world/World/mesh"]
    assert location.type == "polymesh"
    assert "bound" not in location.attributes or np.all(np.isfinite(location["bound"]))


def test_subsets_are_facesets() -> None:
    stage = new_stage()
    mesh = square(stage, "/World/mesh")
    UsdGeom.Subset.CreateGeomSubset(mesh, "part", "face", Vt.IntArray([0]), "materialBind")
    UsdGeom.Subset.CreateGeomSubset(mesh, "rim", "point", Vt.IntArray([1, 2]), "other")
    scene = imported(stage)
    part = scene["/root/world/World/mesh/part"]
    assert part.type == "faceset"
    assert part["geometry.faces"].tolist() == [0]
    assert part["usd.familyName"] == "materialBind"
    rim = scene["/root/world/World/mesh/rim"]
    assert rim.type == "group"
    assert rim["usd"]["attributes"]["indices"].tolist() == [1, 2]


def curves_stage(kind: str, basis: str, wrap: str, count: int) -> tuple[Any, Any]:
    stage = new_stage()
    curves = UsdGeom.BasisCurves.Define(stage, "/World/curves")
    curves.CreateTypeAttr(kind)
    curves.CreateBasisAttr(basis)
    curves.CreateWrapAttr(wrap)
    curves.CreateCurveVertexCountsAttr([count, count])
    curves.CreatePointsAttr([(i * i, i, 0) for i in range(2 * count)])
    return stage, curves


def test_curves_keep_their_basis_and_widths() -> None:
    stage, curves = curves_stage("cubic", "bezier", "nonperiodic", 7)
    curves.CreateWidthsAttr([0.0, 3.0, 6.0, 0.0, 3.0, 9.0])
    curves.SetWidthsInterpolation("varying")
    geometry = imported(stage)["/root/world/World/curves"]["geometry"]
    assert geometry["basis"] == "bezier"
    assert geometry["numVertices"].tolist() == [7, 7]
    assert geometry["point.width"].tolist() == [0, 1, 2, 3, 4, 5, 6, 0, 1, 2, 3, 5, 7, 9]


def test_pinned_curves_get_points_beyond_their_ends() -> None:
    stage, curves = curves_stage("cubic", "catmullRom", "pinned", 4)
    curves.CreateWidthsAttr([float(i) for i in range(8)])
    geometry = imported(stage)["/root/world/World/curves"]["geometry"]
    assert geometry["numVertices"].tolist() == [6, 6]
    points = geometry["point.P"]
    assert len(points) == 12
    assert points[0].tolist() == [-1, -1, 0]
    assert points[5].tolist() == [14, 4, 0]
    assert points[6].tolist() == [7, 3, 0]
    assert geometry["point.width"].tolist() == [-1, 0, 1, 2, 3, 4, 3, 4, 5, 6, 7, 8]


def test_closed_curves_and_those_of_constant_width() -> None:
    stage, curves = curves_stage("cubic", "bspline", "periodic", 5)
    curves.CreateWidthsAttr([0.5])
    curves.SetWidthsInterpolation("constant")
    geometry = imported(stage)["/root/world/World/curves"]["geometry"]
    assert geometry["closed"].tolist() == [1]
    assert geometry["constantWidth"].tolist() == [0.5]


def test_points_keep_their_widths() -> None:
    stage = new_stage()
    points = UsdGeom.Points.Define(stage, "/World/dust")
    points.CreatePointsAttr([(0, 0, 0), (1, 0, 0)])
    points.CreateWidthsAttr([0.1, 0.2])
    location = imported(stage)["/root/world/World/dust"]
    assert location.type == "pointcloud"
    np.testing.assert_allclose(location["geometry.point.width"], [0.1, 0.2], rtol=1e-6)


@pytest.mark.parametrize("axis", ["X", "Y", "Z"])
@pytest.mark.parametrize(
    "kind", ["Cube", "Cylinder", "Cone", "Capsule", "Plane", "Cylinder_1", "Capsule_1"]
)
def test_shapes_are_meshes_that_face_outwards(kind: str, axis: str) -> None:
    stage = new_stage()
    prim = stage.DefinePrim("/World/shape", kind)
    if prim.HasAttribute("axis"):
        prim.GetAttribute("axis").Set(axis)
    location = imported(stage)["/root/world/World/shape"]
    points = np.asarray(location["geometry.point.P"], dtype=float)
    corners = location["geometry.poly.vertexList"]
    starts = location["geometry.poly.startIndex"]
    normals = location["geometry.vertex.N"]
    assert len(normals) == len(corners) == starts[-1]
    np.testing.assert_allclose(np.linalg.norm(normals, axis=1), 1, atol=1e-6)
    box = location["bound"]
    np.testing.assert_allclose(points.min(axis=0), box[0::2], atol=1e-6)
    np.testing.assert_allclose(points.max(axis=0), box[1::2], atol=1e-6)
    for begin, end in zip(starts, starts[1:]):
        face = points[corners[begin:end]]
        edges = face[1:] - face[0]
        area = np.cross(edges[:-1], edges[1:]).sum(axis=0)
        assert area @ normals[begin:end].mean(axis=0) > 0
        if kind != "Plane":
            assert area @ face.mean(axis=0) > 0


def test_a_sphere_stays_a_sphere_whose_radius_may_change() -> None:
    stage = new_stage()
    sphere = UsdGeom.Sphere.Define(stage, "/World/ball")
    sphere.GetRadiusAttr().Set(1, 0)
    sphere.GetRadiusAttr().Set(3, 10)
    location = imported(stage)["/root/world/World/ball"]
    assert location.type == "sphere"
    assert attribute_of(location, "geometry.radius").interpolated(5)[0] == 2
    assert attribute_of(location, "bound").interpolated(5).tolist() == [-2, 2, -2, 2, -2, 2]


# What a stage shows


def test_visibility_hides_and_may_change() -> None:
    stage = new_stage()
    UsdGeom.Imageable(square(stage, "/World/hidden")).MakeInvisible()
    blinking = square(stage, "/World/blinking").CreateVisibilityAttr()
    blinking.Set("invisible", 0)
    blinking.Set("inherited", 10)
    scene = imported(stage)
    assert scene["/root/world/World/hidden"]["visible"].tolist() == [0]
    visible = attribute_of(scene["/root/world/World/blinking"], "visible")
    assert [visible.sample(time)[0] for time in (-1, 0, 9.9, 10, 11)] == [0, 0, 0, 1, 1]
    assert "visible" not in scene["/root/world/World"].attributes


def test_purposes_choose_shapes() -> None:
    stage = new_stage()
    guides = UsdGeom.Xform.Define(stage, "/World/guides")
    guides.CreatePurposeAttr("guide")
    square(stage, "/World/guides/arrow")
    square(stage, "/World/guides/real").CreatePurposeAttr("render")
    square(stage, "/World/proxy").CreatePurposeAttr("proxy")
    result = tellar.usd.import_usd(stage)
    scene = result.scene()
    paths = {location.path for location in scene.walk("/root/world/World")}
    assert paths == {f"/root/world/World{end}" for end in ("", "/guides", "/guides/real")}
    assert result.summary.lost["prims of other purposes"] == 2
    everything = imported(stage, purposes=("default", "render", "proxy", "guide"))
    assert len(list(everything.walk("/root/world/World"))) == 5


def variants_file(folder: Path) -> Path:
    path = folder / "shot.usda"
    stage = Usd.Stage.CreateNew(str(path))
    stage.DefinePrim("/World", "Xform")
    square(stage, "/World/other")
    car = stage.DefinePrim("/World/car", "Xform")
    sets = car.GetVariantSets().AddVariantSet("paint")
    for name, size in (("red", 1.0), ("blue", 2.0)):
        sets.AddVariant(name)
        sets.SetVariantSelection(name)
        with sets.GetVariantEditContext():
            UsdGeom.Cube.Define(stage, "/World/car/body").CreateSizeAttr(size)
    sets.SetVariantSelection("red")
    stage.GetRootLayer().Save()
    return path


def test_variants_and_masks_choose_what_is_composed(tmp_path: Path) -> None:
    path = variants_file(tmp_path)
    sizes = {}
    for key, variants in {
        "default": None,
        "mapping": {"/World/car": {"paint": "blue"}},
        "texts": ["/World/car{paint=blue}"],
    }.items():
        scene = imported(path, variants=variants)
        sizes[key] = scene["/root/world/World/car/body"]["bound"][1]
    assert sizes == {"default": 0.5, "mapping": 1, "texts": 1}
    masked = imported(path, population_mask=["/World/car"])
    assert masked["/root/world/World"].children.names == ["car"]


def test_payloads_may_stay_unloaded(tmp_path: Path) -> None:
    inner = Usd.Stage.CreateNew(str(tmp_path / "inner.usda"))
    inner.SetDefaultPrim(inner.DefinePrim("/Asset", "Xform"))
    square(inner, "/Asset/mesh")
    inner.GetRootLayer().Save()
    outer = Usd.Stage.CreateNew(str(tmp_path / "outer.usda"))
    prim = outer.DefinePrim("/asset", "Xform")
    prim.GetPayloads().AddPayload("./inner.usda")
    UsdGeom.ModelAPI.Apply(prim).SetExtentsHint(Vt.Vec3fArray([(0, 0, 0), (4, 4, 4)]))
    outer.GetRootLayer().Save()
    loaded = imported(tmp_path / "outer.usda")
    assert loaded["/root/world/asset/mesh"].type == "polymesh"
    scene = imported(tmp_path / "outer.usda", load="none")
    assert scene["/root/world/asset"].children.names == []
    assert scene["/root/world/asset"]["bound"].tolist() == [0, 4, 0, 4, 0, 4]


def test_what_means_nothing_here_is_kept_and_counted() -> None:
    stage = new_stage()
    prim = square(stage, "/World/mesh").GetPrim()
    custom(prim, "studio:size", "double3", Gf.Vec3d(1, 2, 3))
    custom(prim, "studio:names", "token[]", ["a", "b"])
    custom(prim, "studio:big", "int64[]", Vt.Int64Array([2**40, 1]))
    custom(prim, "studio:turn", "quatf", Gf.Quatf(1, 2, 3, 4))
    custom(prim, "studio:file", "asset", Sdf.AssetPath("nowhere.png"))
    custom(prim, "userProperties:shot:id", "int", 7)
    prim.CreateRelationship("studio:friend").SetTargets(["/World"])
    prim.SetCustomDataByKey("a:b", 5)
    prim.SetAssetInfoByKey("name", "thing")
    Usd.ModelAPI(prim).SetKind("component")
    stage.DefinePrim("/World/odd", "MadeUpType")
    result = tellar.usd.import_usd(stage)
    scene = result.scene()
    location = scene["/root/world/World/mesh"]
    kept = location["usd"]["attributes"]
    assert kept["studio:size"].tolist() == [[1, 2, 3]]
    assert kept["studio:names"] == ("a", "b")
    assert kept["studio:big"].tolist() == [2**40, 1]
    assert kept["studio:turn"].tolist() == [[2, 3, 4, 1]]
    assert kept["studio:file"] == "nowhere.png"
    assert location["usd"]["types"]["studio:turn"] == "quatf"
    assert location["usd"]["relationships"]["studio:friend"] == "/World"
    assert location["usd.customData.a.b"].tolist() == [5]
    assert location["usd.assetInfo.name"] == "thing"
    assert location["usd.kind"] == "component"
    assert location["user.shot.id"].tolist() == [7]
    assert scene["/root/world/World/odd"]["usd.typeName"] == "MadeUpType"
    assert result.summary.kept['attributes "studio"'] == 5
    assert result.summary.kept["prims of the type MadeUpType"] == 1
    assert "/World/odd" in str(result.summary)


# Instances


def instance_matrices(stage: Any, path: str, code: float) -> Any:
    instancer = UsdGeom.PointInstancer.Get(stage, path)
    matrices = instancer.ComputeInstanceTransformsAtTime(
        code, code, UsdGeom.PointInstancer.IncludeProtoXform, UsdGeom.PointInstancer.IgnoreMask
    )
    world = UsdGeom.XformCache(code).GetLocalToWorldTransform(instancer.GetPrim())
    return [matrix * world for matrix in matrices]


def test_point_instances_stand_where_usd_puts_them() -> None:
    stage = many_instances(30)
    instancer = UsdGeom.PointInstancer.Get(stage, "/World/rocks")
    instancer.AddTranslateOp().Set((0, 5, 0))
    moved = np.asarray(instancer.GetPositionsAttr().Get()) + 2
    instancer.GetPositionsAttr().Set(instancer.GetPositionsAttr().Get(), 0)
    instancer.GetPositionsAttr().Set(Vt.Vec3fArray.FromNumpy(moved), 10)
    instancer.CreateInvisibleIdsAttr([3])
    instancer.DeactivateId(4)
    scene = imported(stage, convert_units=False)
    root = "/root/world/World/rocks/instances"
    for code in (0.0, 5.0, 10.0):
        for i, expected in enumerate(instance_matrices(stage, "/World/rocks", code)):
            path = f"{root}/i_{i:02}"
            if i in (3, 4):
                assert path not in scene
                continue
            np.testing.assert_allclose(
                scene[path].world_matrix(time=code), np.asarray(expected), atol=2e-6 * 1000
            )
    assert scene[f"{root}/i_00"].type == "polymesh"
    assert scene[f"{root}/i_01"].type == "sphere"
    assert "/root/world/World/rocks/prototypes/flat" not in scene


def test_many_point_instances_make_a_small_file_that_is_read_as_needed(tmp_path: Path) -> None:
    count = 100_000
    result = tellar.usd.import_usd(many_instances(count))
    assert result.summary.imported["point instances"] == count
    path = tmp_path / "rocks.oxop"
    result.write(path)
    assert path.stat().st_size < count * (4 + 12 + 16 + 12) + 20_000
    scene = tellar.open(path)
    place = scene["/root/world/World/rocks/instances"]
    while place.type == "group":
        place = scene[f"{place.path}/{place.children.names[-1]}"]
    assert place.path.endswith("_99999")
    assert place.type == "sphere"


def test_instancers_may_use_instances_and_share_prototypes() -> None:
    stage = new_stage()
    shape = square(stage, "/World/shape")
    inner = UsdGeom.PointInstancer.Define(stage, "/World/inner")
    inner.CreatePrototypesRel().SetTargets([shape.GetPath()])
    outer = UsdGeom.PointInstancer.Define(stage, "/World/outer")
    outer.CreatePrototypesRel().SetTargets([inner.GetPath()])
    again = UsdGeom.PointInstancer.Define(stage, "/World/again")
    UsdGeom.Cube.Define(stage, "/World/again/cube")
    again.CreatePrototypesRel().SetTargets(["/World/again/cube", shape.GetPath()])
    for instancer, x in ((inner, 1), (outer, 10), (again, 100)):
        instancer.CreateProtoIndicesAttr([0, 0])
        instancer.CreatePositionsAttr([(x, 0, 0), (2 * x, 0, 0)])
    again.GetProtoIndicesAttr().Set([0, 1])
    scene = imported(stage)
    nested = scene["/root/world/World/outer/instances/i_1/instances/i_0"]
    assert nested.world_matrix()[3].tolist() == [21, 0, 0, 1]
    assert scene["/root/world/World/shape"].type == "polymesh"  # drawn by itself too
    assert scene["/root/world/World/again/instances/i_1"].type == "polymesh"
    assert "/root/world/World/again/cube" not in scene


def test_an_instancer_that_repeats_itself_has_no_instances() -> None:
    stage = new_stage()
    instancer = UsdGeom.PointInstancer.Define(stage, "/World/loop")
    instancer.CreatePrototypesRel().SetTargets(["/World"])
    instancer.CreateProtoIndicesAttr([0])
    instancer.CreatePositionsAttr([(0, 0, 0)])
    result = tellar.usd.import_usd(stage)
    assert list(result.description) == ["stage"]
    assert result.summary.lost["point instancers that repeat themselves"] == 1


def test_a_transform_that_usd_refuses_is_left_out() -> None:
    stage = new_stage()
    mesh = square(stage, "/World/mesh")
    mesh.CreateXformOpOrderAttr(["nonsense"])
    result = tellar.usd.import_usd(stage)
    location = result.scene()["/root/world/World/mesh"]
    assert location.type == "polymesh"
    assert "xform" not in location.attributes
    assert result.summary.lost["transforms that USD finds invalid"] == 1


def instances_stage() -> Any:
    stage = new_stage()
    leaf = stage.CreateClassPrim("/_leaf")
    square(stage, "/_leaf/shape").AddTranslateOp().Set((0, 0, 1))
    tree = stage.CreateClassPrim("/_tree")
    for i in range(2):
        prim = stage.DefinePrim(f"/_tree/leaf{i}", "Xform")
        prim.GetReferences().AddInternalReference(leaf.GetPath())
        prim.SetInstanceable(True)
        UsdGeom.Xformable(prim).AddTranslateOp().Set((i, 0, 0))
    for i in range(3):
        prim = stage.DefinePrim(f"/World/tree{i}", "Xform")
        prim.GetReferences().AddInternalReference(tree.GetPath())
        prim.SetInstanceable(True)
        UsdGeom.Xformable(prim).AddTranslateOp().Set((0, 10 * i, 0))
    return stage


def test_scene_graph_instances_are_read_once() -> None:
    stage = instances_stage()
    result = tellar.usd.import_usd(stage)
    assert result.summary.imported["Mesh"] == 1
    assert result.summary.imported["scene-graph instances"] == 5
    shares = [op for op in result.description.values() if op["opType"] == "Share"]
    assert len(shares) == 1


def test_scene_graph_instances_are_where_usd_shows_them() -> None:
    stage = instances_stage()
    scene = imported(stage)
    cache = UsdGeom.XformCache()
    boxes = UsdGeom.BBoxCache(0, [UsdGeom.Tokens.default_])
    seen = 0
    for prim in Usd.PrimRange(stage.GetPrimAtPath("/World"), Usd.TraverseInstanceProxies()):
        location = scene["/root/world" + str(prim.GetPath())]
        assert_matrix(location.world_matrix(), cache.GetLocalToWorldTransform(prim))
        expected = boxes.ComputeUntransformedBound(prim).ComputeAlignedRange()
        np.testing.assert_allclose(location["bound"][0::2], expected.GetMin(), atol=1e-6)
        np.testing.assert_allclose(location["bound"][1::2], expected.GetMax(), atol=1e-6)
        seen += 1
    assert seen == 1 + 3 * (1 + 2 * 2)


@pytest.mark.parametrize("location", ["/root", "/root/world/set/left", "/root/prototypes"])
def test_a_stage_may_stand_anywhere(location: str) -> None:
    stage = instances_stage()
    square(stage, "/prototypes")
    scene = imported(stage, location=location)
    shape = scene[f"{location}/World/tree2/leaf1/shape"]
    assert shape.type == "polymesh"
    assert scene[f"{location}/prototypes"].type == "polymesh"
    shapes = scene.walk(location, types=["polymesh"])
    prototypes = "/prototypes_2/" if location != "/root/world/set/left" else "/root/prototypes/"
    shown = [place.path for place in shapes if prototypes not in place.path]
    assert len(shown) == 1 + 3 * 2


# Errors


def test_files_that_cannot_be_read_are_errors_with_their_name(tmp_path: Path) -> None:
    with pytest.raises(tellar.FileError, match="nothing.usda") as missing:
        tellar.usd.import_usd(tmp_path / "nothing.usda")
    assert missing.value.file.endswith("nothing.usda")
    broken = tmp_path / "broken.usda"
    broken.write_text("#usda 1.0\ndef {{{")
    with pytest.raises(tellar.FileError, match="broken.usda"):
        tellar.usd.import_usd(broken)


@pytest.mark.parametrize(
    "options",
    [
        {"variants": {"/World/car": {"paint": "green"}}},
        {"variants": {"/World/car": {"shape": "red"}}},
        {"variants": {"/World/bike": {"paint": "red"}}},
        {"variants": ["/World/car"]},
        {"population_mask": ["not a path"]},
        {"purposes": ["draft"]},
        {"load": "some"},
        {"location": "world"},
    ],
)
def test_wrong_options_are_refused(tmp_path: Path, options: dict[str, Any]) -> None:
    with pytest.raises(tellar.BadCallError):
        tellar.usd.import_usd(variants_file(tmp_path), **options)


def test_the_package_needs_usd_core_only_for_usd(tmp_path: Path) -> None:
    (tmp_path / "pxr.py").write_text("raise ImportError('not here')")
    code = (
        "import tellar, tellar.usd\n"
        "try:\n"
        "    tellar.usd.import_usd\n"
        "except ImportError as error:\n"
        "    print(error)\n"
    )
    environment = dict(os.environ)
    package = str(Path(tellar.__file__).parents[1])
    environment["PYTHONPATH"] = os.pathsep.join([str(tmp_path), package])
    done = subprocess.run(
        [sys.executable, "-c", code], env=environment, capture_output=True, text=True
    )
    assert done.stdout == "the USD bridge needs usd-core: pip install 'tellar[usd]'\n", done.stderr

"""Stages for the tests of the USD bridge."""

from __future__ import annotations

from typing import Any

import numpy as np

from pxr import Gf, Sdf, Usd, UsdGeom, Vt


def square(stage: Any, path: str, **attributes: Any) -> Any:
    """A mesh of one square from (0, 0, 0) to (1, 1, 0), with an extent."""
    mesh = UsdGeom.Mesh.Define(stage, path)
    mesh.CreatePointsAttr([(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0)])
    mesh.CreateFaceVertexCountsAttr([4])
    mesh.CreateFaceVertexIndicesAttr([0, 1, 2, 3])
    mesh.CreateSubdivisionSchemeAttr("none")
    mesh.CreateExtentAttr([(0, 0, 0), (1, 1, 0)])
    for name, value in attributes.items():
        mesh.GetPrim().GetAttribute(name).Set(value)
    return mesh


def transforms_stage() -> Any:
    """Ops of all kinds: pivots, orders, inverses, matrices, resets, and samples of each."""
    stage = Usd.Stage.CreateInMemory()
    UsdGeom.SetStageUpAxis(stage, UsdGeom.Tokens.z)
    UsdGeom.SetStageMetersPerUnit(stage, 0.01)
    world = UsdGeom.Xform.Define(stage, "/World")
    world.AddTranslateOp().Set((1e5 + 0.1, 2.0 / 3.0, -3))
    pivot = UsdGeom.Xform.Define(stage, "/World/pivot")
    pivot.AddTranslateOp().Set((0, 1, 0))
    pivot.AddTranslateOp(opSuffix="pivot").Set((7, 0, 1.0 / 3))
    pivot.AddRotateZXYOp(UsdGeom.XformOp.PrecisionDouble).Set((10, 20, 30))
    pivot.AddScaleOp().Set((2, 1, 0.5))
    pivot.AddTranslateOp(opSuffix="pivot", isInverseOp=True)
    moving = UsdGeom.Xform.Define(stage, "/World/pivot/moving")
    turn = moving.AddRotateXYZOp(UsdGeom.XformOp.PrecisionDouble)
    turn.Set((0, 0, 0), 1)
    turn.Set((0, 90, 45), 11)
    shift = moving.AddTranslateOp()
    shift.Set((0, 0, 0), 3)
    shift.Set((100, 0, 0), 8)
    spin = UsdGeom.Xform.Define(stage, "/World/pivot/moving/spin")
    orient = spin.AddOrientOp(UsdGeom.XformOp.PrecisionDouble)
    orient.Set(Gf.Quatd(1, 0, 0, 0), 1)
    orient.Set(Gf.Quatd(0.6, 0, 0.8, 0), 9)
    matrix = UsdGeom.Xform.Define(stage, "/World/pivot/moving/spin/matrix")
    op = matrix.AddTransformOp()
    op.Set(Gf.Matrix4d(1).SetTranslate((1, 2, 3)), 1)
    op.Set(Gf.Matrix4d(3).SetTranslateOnly((4, 5, 6)), 3)
    reset = UsdGeom.Xform.Define(stage, "/World/pivot/moving/reset")
    reset.AddTranslateOp().Set((5, 6, 7))
    reset.SetResetXformStack(True)
    square(stage, "/World/pivot/moving/reset/shape")
    square(stage, "/World/pivot/moving/spin/matrix/shape")
    moved = UsdGeom.Xform.Define(stage, "/World/pivot/moving/resetmoving")
    moved.AddRotateYOp().Set(10, 1)
    moved.GetOrderedXformOps()[0].Set(20, 5)
    moved.SetResetXformStack(True)
    return stage


def many_instances(count: int) -> Any:
    """A PointInstancer with two prototypes, as a point cloud places them."""
    stage = Usd.Stage.CreateInMemory()
    UsdGeom.Xform.Define(stage, "/World")
    instancer = UsdGeom.PointInstancer.Define(stage, "/World/rocks")
    square(stage, "/World/rocks/prototypes/flat")
    UsdGeom.Sphere.Define(stage, "/World/rocks/prototypes/round").AddScaleOp().Set((1, 2, 1))
    instancer.CreatePrototypesRel().SetTargets(
        [f"/World/rocks/prototypes/{name}" for name in ("flat", "round")]
    )
    random = np.random.default_rng(7)
    positions = random.random((count, 3), np.float32) * 1000
    turns = random.normal(size=(count, 4))
    turns = (turns / np.linalg.norm(turns, axis=1, keepdims=True)).astype(np.float16)
    instancer.CreatePositionsAttr(Vt.Vec3fArray.FromNumpy(positions))
    instancer.CreateOrientationsAttr(Vt.QuathArray.FromNumpy(turns))
    instancer.CreateScalesAttr(Vt.Vec3fArray.FromNumpy(random.random((count, 3), np.float32) + 0.5))
    instancer.CreateProtoIndicesAttr(Vt.IntArray.FromNumpy(np.arange(count, dtype=np.int32) % 2))
    return stage


def custom(prim: Any, name: str, kind: str, value: Any) -> Any:
    """Sets an attribute of a type such as "float3[]"."""
    attribute = prim.CreateAttribute(name, Sdf.ValueTypeNames.Find(kind))
    attribute.Set(value)
    return attribute

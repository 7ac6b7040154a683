"""Bound materials: for stages with random bindings, the resolver agrees with UsdShade."""

from __future__ import annotations

import random
from typing import Any

import pytest

pytest.importorskip("pxr", reason="the USD bridge needs usd-core")

from pxr import Sdf, Usd, UsdGeom, UsdShade

from tellar.usd import import_usd
from tellar.usd.bindings import bound_materials
from tellar.usd.context import ImportContext

PURPOSES = [UsdShade.Tokens.allPurpose, UsdShade.Tokens.preview, UsdShade.Tokens.full]
STRENGTHS = [
    UsdShade.Tokens.fallbackStrength,
    UsdShade.Tokens.weakerThanDescendants,
    UsdShade.Tokens.strongerThanDescendants,
]


def materials_of(
    stage: Any, prims: list[Any], purpose: str = UsdShade.Tokens.full
) -> list[Sdf.Path | None]:
    return bound_materials(ImportContext(stage), prims, purpose)


def tree(stage: Any, path: str, depth: int, chance: random.Random) -> None:
    UsdGeom.Xform.Define(stage, path)
    for index in range(chance.randint(1, 3)):
        child = f"{path}/n{index}"
        if depth > 0 and chance.random() < 0.7:
            tree(stage, child, depth - 1, chance)
        else:
            mesh = UsdGeom.Mesh.Define(stage, child)
            for part in range(chance.randint(0, 2)):
                UsdGeom.Subset.CreateGeomSubset(
                    mesh, f"part{part}", UsdGeom.Tokens.face, [part], "materialBind"
                )


def bind_at_random(stage: Any, prim: Any, materials: list[Any], chance: random.Random) -> None:
    api = UsdShade.MaterialBindingAPI.Apply(prim)
    for _ in range(chance.randint(1, 3)):
        material, purpose = chance.choice(materials), chance.choice(PURPOSES)
        strength = chance.choice(STRENGTHS)
        if chance.random() < 0.5:
            api.Bind(material, strength, purpose)
            continue
        name = f"c{chance.randint(0, 3)}"
        collection = Usd.CollectionAPI.Apply(prim, name)
        inside = [one.GetPath() for one in Usd.PrimRange(prim)]
        for path in chance.sample(inside, min(len(inside), 3)):
            collection.IncludePath(path)
        if chance.random() < 0.3:
            collection.ExcludePath(chance.choice(inside))
        api.Bind(collection, material, name, strength, purpose)


def random_stage(seed: int) -> Any:
    chance = random.Random(seed)
    stage = Usd.Stage.CreateInMemory()
    materials = [UsdShade.Material.Define(stage, f"/Looks/m{i}") for i in range(5)]
    tree(stage, "/World", 4, chance)
    for prim in list(Usd.PrimRange(stage.GetPrimAtPath("/World"))):
        if chance.random() < 0.3:
            bind_at_random(stage, prim, materials, chance)
    if chance.random() < 0.3:
        stage.RemovePrim("/Looks/m0")  # leaves bindings without a target
    return stage


def computed(prim: Any, purpose: str) -> Sdf.Path | None:
    material, _ = UsdShade.MaterialBindingAPI(prim).ComputeBoundMaterial(purpose)
    return material.GetPath() if material else None


def prims_of(stage: Any) -> list[Any]:
    return list(Usd.PrimRange(stage.GetPrimAtPath("/World")))


@pytest.mark.parametrize("seed", range(20))
def test_every_prim_has_the_material_that_usd_computes(seed: int) -> None:
    stage = random_stage(seed)
    for purpose in PURPOSES:
        prims = prims_of(stage)
        for prim, path in zip(prims, materials_of(stage, prims, purpose), strict=True):
            assert path == computed(prim, purpose), prim.GetPath()


def test_random_stages_have_bound_and_unbound_prims_and_subsets() -> None:
    bound = unbound = subsets = 0
    for seed in range(20):
        stage = random_stage(seed)
        for prim in prims_of(stage):
            path = computed(prim, "")
            bound, unbound = bound + (path is not None), unbound + (path is None)
            subsets += prim.IsA(UsdGeom.Subset) and path != computed(prim.GetParent(), "")
    assert bound > 100
    assert unbound > 20
    assert subsets > 10


def test_the_material_of_a_location_is_a_location() -> None:
    stage = Usd.Stage.CreateInMemory()
    material = UsdShade.Material.Define(stage, "/Looks/red")
    ball = UsdGeom.Sphere.Define(stage, "/ball").GetPrim()
    UsdShade.MaterialBindingAPI.Apply(ball).Bind(material)
    UsdGeom.Sphere.Define(stage, "/plain")
    scene = import_usd(stage).scene()
    assert scene["/root/world/ball"]["materialAssign"] == "/root/world/Looks/red"
    assert "materialAssign" not in scene["/root/world/plain"].attributes


def instanced_stage() -> Any:
    stage = Usd.Stage.CreateInMemory()
    for name in ("inner", "outer"):
        UsdShade.Material.Define(stage, f"/Looks/{name}")
    stage.CreateClassPrim("/Tree")
    UsdShade.Material.Define(stage, "/Tree/Looks/bark")
    for name in ("trunk", "crown"):
        UsdGeom.Sphere.Define(stage, f"/Tree/{name}")
    trunk = stage.GetPrimAtPath("/Tree/trunk")
    UsdShade.MaterialBindingAPI.Apply(trunk).Bind(
        UsdShade.Material(stage.GetPrimAtPath("/Tree/Looks/bark"))
    )
    for index, material in enumerate(["inner", "outer"]):
        prim = stage.DefinePrim(f"/World/tree{index}", "Xform")
        prim.GetReferences().AddInternalReference("/Tree")
        prim.SetInstanceable(True)
        UsdShade.MaterialBindingAPI.Apply(prim).Bind(
            UsdShade.Material(stage.GetPrimAtPath(f"/Looks/{material}"))
        )
    return stage


def test_instance_proxies_and_prototypes_have_the_materials_that_usd_computes() -> None:
    stage = instanced_stage()
    everywhere = Usd.TraverseInstanceProxies(Usd.PrimDefaultPredicate)
    prims = list(Usd.PrimRange(stage.GetPrimAtPath("/World"), everywhere))
    for prototype in stage.GetPrototypes():
        prims += list(Usd.PrimRange(prototype))
    assert sum(prim.IsInstanceProxy() for prim in prims) == 8
    for prim, path in zip(prims, materials_of(stage, prims), strict=True):
        assert path == computed(prim, "full"), prim.GetPath()


def test_collections_cost_no_more_for_many_prims(monkeypatch: pytest.MonkeyPatch) -> None:
    stage = Usd.Stage.CreateInMemory()
    root = UsdGeom.Xform.Define(stage, "/World").GetPrim()
    material = UsdShade.Material.Define(stage, "/Looks/red")
    collection = Usd.CollectionAPI.Apply(root, "some")
    for index in range(500):
        UsdGeom.Sphere.Define(stage, f"/World/ball{index}")
    for index in range(0, 500, 2):
        collection.IncludePath(f"/World/ball{index}")
    UsdShade.MaterialBindingAPI.Apply(root).Bind(collection, material, "some")
    asked: list[int] = []

    def counting(context: ImportContext, prims: list[Any]) -> list[Sdf.Path | None]:
        asked.append(len(prims))
        return bound_materials(context, prims)

    monkeypatch.setattr("tellar.usd.finishing.bound_materials", counting)
    scene = import_usd(stage).scene()
    balls = [scene[f"/root/world/World/ball{index}"] for index in range(500)]
    assert sum("materialAssign" in ball.attributes for ball in balls) == 250
    assert asked == [500]

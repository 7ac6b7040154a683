"""The shortcuts of an import, against the same import without them, on stages of all kinds."""

from __future__ import annotations

from collections.abc import Callable
from pathlib import Path
from types import ModuleType
from typing import Any

import pytest

pytest.importorskip("pxr", reason="the USD bridge needs usd-core")

from pxr import Sdf, Usd, UsdGeom

import tellar.usd
from tellar.usd import calls, context, geometry, prim_reader, primvars, properties, stage_reader
from tellar.usd.findings import Findings
from usd_stages import many_instances, square, transforms_stage

METHODS = {
    "name_of": "GetName",
    "type_of": "GetTypeName",
    "filtered_children": "GetFilteredChildren",
    "authored_property_names": "GetAuthoredPropertyNames",
    "authored_metadata": "GetAllAuthoredMetadata",
    "attribute_of": "GetAttribute",
    "value_of": "Get",
    "metadata_of": "GetMetadata",
    "value_type_of": "GetTypeName",
    "may_vary": "ValueMightBeTimeVarying",
    "has_spline": "HasSpline",
}
MODULES = (context, geometry, prim_reader, primvars, stage_reader)

MESH = """
    point3f[] points = [(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0)]
    int[] faceVertexCounts = [4]
    int[] faceVertexIndices = [0, 1, 2, 3]
"""

LAYERS = {
    "under.usda": f"""#usda 1.0
(
    timeCodesPerSecond = 48
)
def Xform "world" (
    customData = {{ string from = "below" }}
)
{{
    double3 xformOp:translate.timeSamples = {{ 0: (0, 0, 0), 10: (1, 2, 3) }}
    uniform token[] xformOpOrder = ["xformOp:translate"]
    rel material:binding = </looks/red>
    def Mesh "moving" {{
        {MESH}
        point3f[] points.timeSamples = {{
            1: [(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0)],
            4: [(0, 0, 0), (1, 0, 0), (1, 1, 1), (0, 1, 1)]
        }}
        float2[] primvars:st = [(0, 0), (1, 0), (1, 1)] (
            interpolation = "faceVarying"
        )
        int[] primvars:st:indices = [0, 1, 2, 1]
    }}
    def Mesh "blocked" {{
        {MESH}
        color3f[] primvars:displayColor = [(1, 0, 0)]
        float userProperties:height = 3
    }}
}}
def Scope "looks" {{
    def Material "red" {{
        token outputs:surface.connect = </looks/red/shader.outputs:surface>
        def Shader "shader" {{
            uniform token info:id = "UsdPreviewSurface"
            color3f inputs:diffuseColor = (1, 0, 0)
            token outputs:surface
        }}
    }}
    def Material "blue" {{
        token outputs:surface.connect = </looks/blue/shader.outputs:surface>
        def Shader "shader" {{
            uniform token info:id = "UsdPreviewSurface"
            color3f inputs:diffuseColor = (0, 0, 1)
            token outputs:surface
        }}
    }}
}}
""",
    "model.usda": f"""#usda 1.0
(
    defaultPrim = "model"
)
class "_base" {{
    color3f[] primvars:displayColor = [(0, 1, 0)]
}}
def Xform "model" (
    kind = "component"
    assetInfo = {{ string name = "model" }}
    variants = {{ string shape = "square" }}
    prepend variantSets = "shape"
)
{{
    float speed.timeSamples = {{ 1: 1, 2: 4 }}
    variantSet "shape" = {{
        "square" {{
            def Mesh "body" ( inherits = </_base> ) {{
                {MESH}
                uniform token subdivisionScheme = "none"
                bool doubleSided = 1
                def GeomSubset "part" {{
                    uniform token elementType = "face"
                    uniform token familyName = "materialBind"
                    int[] indices = [0]
                }}
            }}
        }}
        "round" {{
            def Sphere "body" ( inherits = </_base> ) {{
                double radius = 2
            }}
        }}
    }}
}}
""",
    "clip.usda": """#usda 1.0
def "clipped" {
    double size.timeSamples = { 1: 1, 5: 3 }
}
""",
    "manifest.usda": """#usda 1.0
def "clipped" {
    double size
}
""",
    "stage.usda": f"""#usda 1.0
(
    startTimeCode = 1
    endTimeCode = 8
    timeCodesPerSecond = 24
    subLayers = [@under.usda@ (offset = 2; scale = 0.5)]
    relocates = {{ </world/far/body>: </world/near> }}
)
over "world" {{
    over "blocked" {{
        color3f[] primvars:displayColor = None
        float userProperties:height = None
        custom int extra = 7
        custom float3 follows
        float3 follows.connect = </world.xformOp:translate>
        custom rel aims = [</world/moving>, </looks/red>]
        asset picture = @under.usda@
    }}
    def "untyped" ( customData = {{ int number = 3 }} ) {{
        custom string note = "here"
        def Mesh "low" (
            prepend apiSchemas = ["MaterialBindingAPI"]
        ) {{
            {MESH}
            rel material:binding = </looks/blue>
            float3[] extent = [(0, 0, 0), (1, 1, 0)]
            uniform token purpose = "proxy"
        }}
    }}
    def Scope "bound" (
        prepend apiSchemas = ["MaterialBindingAPI", "CollectionAPI:some"]
    ) {{
        rel collection:some:includes = </world/bound/b>
        rel material:binding:collection:some = [</world/bound.collection:some>, </looks/blue>]
        def Mesh "a" {{ {MESH} }}
        def Mesh "b" {{ {MESH} }}
    }}
    def "one" ( references = @model.usda@ (offset = 1; scale = 2); instanceable = true ) {{}}
    def "two" ( references = @model.usda@; instanceable = true ) {{}}
    def "other" (
        references = @model.usda@
        variants = {{ string shape = "round" }}
    ) {{}}
    def "far" ( references = @model.usda@ ) {{}}
    def Mesh "gone" ( active = false ) {{ {MESH} }}
    def Cube "clipped" (
        clips = {{
            dictionary default = {{
                asset[] assetPaths = [@clip.usda@]
                double2[] active = [(1, 0)]
                double2[] times = [(1, 1), (5, 5)]
                asset manifestAssetPath = @manifest.usda@
                string primPath = "/clipped"
            }}
        }}
    ) {{}}
    def Xform "hidden" {{
        token visibility.timeSamples = {{ 1: "inherited", 3: "invisible" }}
    }}
    def Camera "camera" {{
        float focalLength.timeSamples = {{ 1: 20, 4: 40 }}
    }}
    def SphereLight "lamp" {{
        float inputs:intensity = 4
    }}
    def BasisCurves "hair" {{
        int[] curveVertexCounts = [4]
        point3f[] points = [(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0)]
        float[] widths = [0.1] ( interpolation = "constant" )
    }}
}}
over "above" {{
    def Mesh "unseen" {{ {MESH} }}
}}
""",
}


def layered_stage(folder: Path) -> Any:
    """Arcs of all kinds, samples, clips, blocks, connections, bindings and instances."""
    for name, text in LAYERS.items():
        (folder / name).write_text(text)
    return Usd.Stage.Open(str(folder / "stage.usda"))


def flat_stage() -> Any:
    """One layer, without time samples and materials, and with values that do not fit."""
    stage = Usd.Stage.CreateInMemory()
    for number in range(4):
        mesh = square(stage, f"/group/mesh{number}")
        mesh.AddTransformOp().Set(mesh.ComputeLocalToWorldTransform(0).SetScale(number))
        colors = UsdGeom.PrimvarsAPI(mesh).CreatePrimvar(
            "displayColor" if number else "color",
            Sdf.ValueTypeNames.Color3fArray,
            "constant" if number < 3 else "vertex",
        )
        colors.Set([(number, 0, 0)])
    return stage


STAGES: dict[str, Callable[[Path, Path], Any]] = {
    "layers": lambda folder, examples: layered_stage(folder),
    "flat": lambda folder, examples: flat_stage(),
    "transforms": lambda folder, examples: transforms_stage(),
    "instances": lambda folder, examples: many_instances(20),
    "example": lambda folder, examples: Usd.Stage.Open(str(examples / "pier.usda")),
}


def look_up_methods(monkeypatch: pytest.MonkeyPatch, module: ModuleType) -> None:
    """Lets a module call the methods of USD's objects themselves."""
    for name, method in METHODS.items():
        if getattr(module, name, None) is getattr(calls, name):

            def call(one: Any, *arguments: Any, method: str = method) -> Any:
                return getattr(one, method)(*arguments)

            monkeypatch.setattr(module, name, call)


@pytest.mark.parametrize("name", STAGES)
@pytest.mark.parametrize("purposes", [("default", "render"), ("default", "render", "proxy")])
def test_shortcuts_change_nothing(
    tmp_path: Path,
    examples: Path,
    monkeypatch: pytest.MonkeyPatch,
    name: str,
    purposes: tuple[str, ...],
) -> None:
    stage = STAGES[name](tmp_path, examples)
    quick = tellar.usd.import_usd(stage, purposes=purposes)
    for module in MODULES:
        look_up_methods(monkeypatch, module)
    for name in ("properties_of", "rest_of"):
        monkeypatch.setattr(prim_reader, name, getattr(properties, name).__wrapped__)
    always = property(lambda self: True, lambda self, value: None)
    monkeypatch.setattr(Findings, "may_bind", always)
    slow = tellar.usd.import_usd(stage, purposes=purposes)
    assert slow.description.hash == quick.description.hash
    assert slow.description == quick.description
    assert sorted(slow.summary.lines()) == sorted(quick.summary.lines())


def test_the_layered_stage_has_what_it_is_made_for(tmp_path: Path) -> None:
    result = tellar.usd.import_usd(layered_stage(tmp_path))
    scene = result.scene()
    world = scene["/root/world/world"]
    below = {child.name for child in world.children}
    assert {"moving", "blocked", "untyped", "near", "one", "clipped"} <= below
    assert "gone" not in below
    assert world["xform.matrix"] is not None
    assert scene["/root/world/world/moving"]["materialAssign"] == "/root/world/looks/red"
    assert scene["/root/world/world/bound/b"]["materialAssign"] == "/root/world/looks/blue"
    assert "geometry.arbitrary.color.value" not in scene["/root/world/world/blocked"]


def test_all_quick_calls_are_compared() -> None:
    functions = {name for name in vars(calls) if callable(getattr(calls, name)) and name != "Usd"}
    assert functions == set(METHODS)

"""Materials of USD stages as the network materials of scenes."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

from pxr import Sdf, Usd, UsdShade

import tellar

from .exporting import export_context
from .material_export import PathOf, write_material
from .networks import Node
from .patterns import Translator, category_of, shader_id
from .remembered import recalled, remember
from .surfaces import import_surface

if TYPE_CHECKING:
    from .context import ImportContext

# Outputs for these render contexts are preferred to the one for all of them.
_CONTEXTS = ("mtlx",)
_KINDS = ("surface", "displacement", "volume")


def import_material(prim: Usd.Prim, context: ImportContext) -> tellar.Group | None:
    """The "material" group of a Material prim: a network.

    Returns None for a prim that is no material, or that has no shaders. What is not understood is
    kept and counted by the context. Raises nothing for a material that is not sound.
    """
    material = UsdShade.Material(prim)
    if not material:
        return None
    group = imported_material(material, context)
    return None if group is None else recalled(prim, "material", group)


def imported_material(
    material: UsdShade.Material, context: ImportContext
) -> tellar.Group | None:
    """The same, whatever is remembered."""
    translator = Translator(material, context)
    terminals: dict[str, Any] = {}
    for name, shader, output in _terminals(material, context):
        is_surface = name.split(":")[-1] == "surface"
        node = import_surface(translator, shader) if is_surface else _other(translator, shader)
        terminals[name] = node.key
        terminals[name + "Port"] = "out" if is_surface else output
    if not terminals:
        context.lose("materials without shaders", material.GetPath())
        return None
    return _group(translator, terminals)


def export_material(
    group: tellar.Group,
    stage: Usd.Stage,
    path: Sdf.Path | str,
    *,
    context: ImportContext | None = None,
    texture_of: PathOf | None = None,
) -> UsdShade.Material:
    """Defines a Material prim for a location's "material" group, and returns it.

    It has a UsdPreviewSurface with the textures of the group's surface, for applications that know
    no more. The custom data have the whole group, unless an import makes an equal one anyway: as
    long as nobody edits the prim, :func:`import_material` gives back just this group.

    `context` is what an import of the stage would use; its frame is that of time 0. Pass one for
    all materials of a large stage, with `is_animated` set. `texture_of` makes the path to write of
    that of a texture, which is written as it is by default; import gives back the group only if
    the path that it finds is the one that was written.
    """
    own = context or export_context(stage)
    material = write_material(group, stage, path, texture_of or str, own)
    made = imported_material(material, own)
    if made is not None:
        remember(material.GetPrim(), "material", group, made)
    return material


def _terminals(
    material: UsdShade.Material, context: ImportContext
) -> list[tuple[str, UsdShade.Shader, str]]:
    """The name of each terminal, and the shader and output that it leads to.

    Of the outputs of a kind, the terminal of its plain name is the best for a renderer. The
    others have names with the render context, such as "other:surface".
    """
    outputs = {str(one.GetBaseName()): one for one in material.GetOutputs()}
    found = []
    for kind in _KINDS:
        best = [f"{place}:{kind}" for place in _CONTEXTS] + [kind]
        others = [name for name in outputs if name.split(":")[-1] == kind and name not in best]
        taken = False
        for place in [name for name in best if name in outputs] + others:
            attributes = outputs[place].GetValueProducingAttributes()
            if not attributes or not attributes[0].GetPrim().IsA(UsdShade.Shader):
                continue
            name = kind
            if taken:
                name = place if ":" in place else f"universal:{place}"
                context.keep(f"material outputs {place} besides others", material.GetPath())
            shader = UsdShade.Shader(attributes[0].GetPrim())
            found.append((name, shader, UsdShade.Output(attributes[0]).GetBaseName()))
            taken = True
    return found


def _other(translator: Translator, shader: UsdShade.Shader) -> Node:
    """The node of a terminal that is no surface. That of a surface shader is shared with it."""
    if shader.GetPath() in translator.surfaces or _is_preview(shader):
        return import_surface(translator, shader)
    return translator.keep(shader)


def _is_preview(shader: UsdShade.Shader) -> bool:
    return category_of(shader_id(shader)) == "UsdPreviewSurface"


def _group(translator: Translator, terminals: dict[str, Any]) -> tellar.Group:
    parameters: dict[str, Any] = {}
    interface: dict[str, Any] = {}
    nodes = translator.network.nodes
    for node in nodes.values():
        for name, parameter in node.exposed.items():
            # A value that feeds several inputs has no single place that it could replace.
            if translator.uses.get(name) == 1:
                parameters[name] = node.parameters[parameter]
                interface[name] = tellar.group({"src": f"{node.key}.{parameter}"})
    group: dict[str, Any] = {
        "style": "network",
        "nodes": tellar.group({key: tellar.group(node.group()) for key, node in nodes.items()}),
    }
    if parameters:
        group["parameters"] = tellar.group(parameters)
        group["interface"] = tellar.group(interface)
    group["terminals"] = tellar.group(terminals)
    return tellar.group(group, inherit=False)

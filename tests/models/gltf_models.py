"""glTF models: containers and compression, geometry, and motion."""

import base64
import json
import math

from gltf_materials import painted, textured
from model_files import (BYTE, SHORT, UNSIGNED_BYTE, UNSIGNED_SHORT, Gltf, Shape, ball, crate,
                         draco_mesh, meshopt_triangles, meshopt_vertices, panel, quarters)


def with_crate(**more):
    gltf = Gltf(**more)
    gltf.node(mesh=gltf.mesh(gltf.primitive(crate(), textured(gltf))))
    return gltf


# ---- one crate in many forms ----------------------------------------------------------------


def containers(folder):
    """The same crate in all containers and compressions."""
    names = []

    def write(name, gltf, binary=False, buffer=None):
        if binary:
            gltf.write_binary(folder / name)
        else:
            gltf.write_text(folder / name, buffer)
        names.append(name)

    write("data uri.gltf", with_crate())
    write("binary.glb", with_crate(), binary=True)
    write("encoded.gltf", with_crate(), buffer="100% crate.bin")
    gltf = with_crate()
    (folder / "the picture.png").write_bytes(quarters())
    gltf.document["images"] = [{"uri": "the%20picture.png"}]
    write("picture beside.gltf", gltf)
    gltf = with_crate()
    gltf.document["images"] = [{"uri": "data:image/png;base64,"
                                + base64.b64encode(quarters()).decode()}]
    write("picture uri.gltf", gltf)
    write("quantized.glb", quantized_crate(), binary=True)
    write("sparse.glb", sparse_crate(), binary=True)
    write("draco.glb", draco_crate(), binary=True)
    write("meshopt.glb", meshopt_crate(), binary=True)
    write("second coordinates.glb", crate_of_second_set(), binary=True)
    gltf = with_crate()
    gltf.document["scenes"] = [{"nodes": [0]}, {"nodes": [gltf.node(in_scene=False)]}]
    write("two scenes.glb", gltf, binary=True)
    return names


def quantized_crate():
    """A crate with points in 16 bits, normals in 8 bits and coordinates in 16 bits."""
    gltf = Gltf()
    gltf.use("KHR_mesh_quantization", required=True)
    shape = crate()
    primitive = gltf.primitive(shape, textured(gltf))
    points = [tuple(round(x * 1000) for x in point) for point in shape.points]
    normals = [tuple(round(x * 127) for x in normal) for normal in shape.normals]
    uvs = [tuple(round(x * 65535) for x in uv) for uv in shape.uvs]
    bounds = {"min": [min(c) for c in zip(*points)], "max": [max(c) for c in zip(*points)]}
    primitive["attributes"] = {
        "POSITION": gltf.accessor(points, "VEC3", SHORT, stride=8, **bounds),
        "NORMAL": gltf.accessor(normals, "VEC3", BYTE, stride=4, normalized=True),
        "TEXCOORD_0": gltf.accessor(uvs, "VEC2", UNSIGNED_SHORT, normalized=True)}
    gltf.node(mesh=gltf.mesh(primitive), scale=[0.001] * 3)
    return gltf


def sparse_crate():
    """A flat crate whose upper points a sparse accessor moves to their places."""
    gltf = Gltf()
    shape = crate()
    upper = [i for i, point in enumerate(shape.points) if point[1] > 0]
    primitive = gltf.primitive(shape, textured(gltf))
    points = [(x, 0.0, z) for x, _, z in shape.points]
    place = gltf.accessor(points, "VEC3")
    indices = gltf.accessor(upper, component=UNSIGNED_SHORT)
    values = gltf.accessor([shape.points[i] for i in upper], "VEC3")
    accessors = gltf.document["accessors"]
    accessors[place]["sparse"] = {
        "count": len(upper),
        "indices": {"bufferView": accessors[indices]["bufferView"],
                    "componentType": UNSIGNED_SHORT},
        "values": {"bufferView": accessors[values]["bufferView"]}}
    primitive["attributes"]["POSITION"] = place
    gltf.node(mesh=gltf.mesh(primitive))
    return gltf


def draco_crate():
    gltf = Gltf()
    gltf.use("KHR_draco_mesh_compression", required=True)
    shape = crate()
    primitive = gltf.primitive(shape, textured(gltf))
    names = list(primitive["attributes"].items())
    for _, accessor in names + [("", primitive["indices"])]:
        gltf.document["accessors"][accessor].pop("bufferView")
    primitive["extensions"] = {"KHR_draco_mesh_compression": {
        "bufferView": gltf.view(draco_mesh(shape)),
        "attributes": {name: number for number, (name, _) in enumerate(names)}}}
    gltf.node(mesh=gltf.mesh(primitive))
    return gltf


def meshopt_crate():
    gltf = Gltf()
    gltf.use("EXT_meshopt_compression", required=True)
    gltf.document["buffers"] = [{"byteLength": 4096,
                                 "extensions": {"EXT_meshopt_compression": {"fallback": True}}}]
    material = textured(gltf)
    plain = Gltf()
    primitive = plain.primitive(crate(), material)
    at = 0
    for number, accessor in enumerate(plain.document["accessors"]):
        view = plain.document["bufferViews"][accessor["bufferView"]]
        content = bytes(plain.data[view["byteOffset"]:view["byteOffset"] + view["byteLength"]])
        is_index = number == primitive["indices"]
        stride = len(content) // accessor["count"]
        elements = [content[i:i + stride] for i in range(0, len(content), stride)]
        packed = gltf.view(meshopt_triangles(crate().indices()) if is_index
                           else meshopt_vertices(elements))
        source = gltf.document["bufferViews"].pop(packed)
        compression = {**source, "byteStride": stride, "count": accessor["count"],
                       "mode": "TRIANGLES" if is_index else "ATTRIBUTES"}
        accessor["bufferView"] = gltf.add("bufferViews", {
            "buffer": 1, "byteOffset": at, "byteLength": len(content),
            **({} if is_index else {"byteStride": stride}),
            "extensions": {"EXT_meshopt_compression": compression}})
        at += len(content) + -len(content) % 4
    gltf.document["accessors"] = plain.document["accessors"]
    gltf.node(mesh=gltf.mesh(primitive))
    return gltf


def crate_of_second_set():
    """A crate whose correct texture coordinates are in TEXCOORD_1."""
    gltf = Gltf()
    shape = crate()
    material = textured(gltf)
    texture = gltf.document["materials"][material]["pbrMetallicRoughness"]["baseColorTexture"]
    texture["texCoord"] = 1
    primitive = gltf.primitive(shape, material)
    primitive["attributes"]["TEXCOORD_1"] = primitive["attributes"]["TEXCOORD_0"]
    primitive["attributes"]["TEXCOORD_0"] = gltf.accessor([(0.1, 0.1)] * len(shape.uvs), "VEC2")
    gltf.node(mesh=gltf.mesh(primitive))
    return gltf


# ---- geometry -------------------------------------------------------------------------------


def star(count=10):
    """The corners of a star around the origin, counterclockwise."""
    return [((0.9 if i % 2 else 0.45) * math.cos(2 * math.pi * i / count),
             0.9 + (0.9 if i % 2 else 0.45) * math.sin(2 * math.pi * i / count), 0.0)
            for i in range(count)]


def modes(folder):
    """One model for each mode of primitives, each with different points."""
    corners = star()
    fan = [(0.0, 0.9, 0.0)] + corners + corners[:1]
    strip = [(0.2 * i - 0.9, 0.5 + 0.8 * (i % 2) + 0.04 * i * i, 0.0) for i in range(10)]
    names = []
    for mode, points in enumerate((corners, corners, corners, corners, strip[:9], strip, fan)):
        gltf = Gltf()
        material = painted(gltf, doubleSided=True)
        primitive = {"attributes": {"POSITION": gltf.accessor(points, "VEC3")}, "mode": mode,
                     "material": material}
        gltf.node(mesh=gltf.mesh(primitive))
        names.append(f"mode {mode}.glb")
        gltf.write_binary(folder / names[-1])
        if mode in (1, 2, 3):
            names[-1] = wide_lines(folder, names[-1])
    return names


def wide_lines(folder, file):
    """A description that widens the lines of a model, which have no width of their own."""
    name = file.replace(".glb", ".json")
    (folder / name).write_text(json.dumps({"ops": [
        {"name": "lines", "type": "SceneImport", "args": {"file": file}},
        {"name": "wide", "type": "AttributeEdit", "inputs": ["lines"], "args": {
            "paths": ["/root/world/**"], "set": {"geometry": {"constantWidth": 0.12}}}}]}))
    return name


def geometry(folder):
    """Instances, colors of points, several primitives, and lights."""
    models = {"instances.glb": instances(), "colors.glb": colors(), "primitives.glb": primitives(),
              "blue spot.glb": lit({"type": "spot", "color": [0.3, 0.4, 1], "intensity": 40,
                                    "spot": {"innerConeAngle": 0.1, "outerConeAngle": 0.25}}),
              "red point.glb": lit({"type": "point", "color": [1, 0.3, 0.2], "intensity": 12}),
              "sun.glb": lit({"type": "directional", "intensity": 2}),
              "perspective.glb": seen({"type": "perspective", "perspective": {
                  "yfov": 0.6, "znear": 0.1, "zfar": 100, "aspectRatio": 1}}),
              "orthographic.glb": seen({"type": "orthographic", "orthographic": {
                  "xmag": 1.6, "ymag": 1.6, "znear": 0.1, "zfar": 100}})}
    for name, gltf in models.items():
        gltf.write_binary(folder / name)
    return list(models)


def instances():
    gltf = Gltf()
    gltf.use("EXT_mesh_gpu_instancing", required=True)
    mesh = gltf.mesh(gltf.primitive(crate(), textured(gltf)))
    places = [(2.4 * i, 0.0, -2.0 * i) for i in range(-1, 2)]
    turns = [(0.0, math.sin(0.4 * i), 0.0, math.cos(0.4 * i)) for i in range(-1, 2)]
    sizes = [(1.0, 1.0 + 0.4 * i, 1.0) for i in range(-1, 2)]
    gltf.node(mesh=mesh, extensions={"EXT_mesh_gpu_instancing": {"attributes": {
        "TRANSLATION": gltf.accessor(places, "VEC3"), "ROTATION": gltf.accessor(turns, "VEC4"),
        "SCALE": gltf.accessor(sizes, "VEC3")}}})
    return gltf


def colors():
    gltf = Gltf()
    shape = crate()
    primitive = gltf.primitive(shape, painted(gltf, (1, 1, 1)))
    shades = [(round(255 * (0.5 + x / 1.6)), round(255 * y / 1.2), 60, 255)
              for x, y, _ in shape.points]
    primitive["attributes"]["COLOR_0"] = gltf.accessor(shades, "VEC4", UNSIGNED_BYTE,
                                                       normalized=True)
    gltf.node(mesh=gltf.mesh(primitive))
    return gltf


def primitives():
    gltf = Gltf()
    upper = Shape().quad([(-0.8, 0.6, 0), (0.8, 0.6, 0), (0.8, 1.2, 0), (-0.8, 1.2, 0)])
    gltf.node(mesh=gltf.mesh(gltf.primitive(panel(1.6, 0.6), painted(gltf, (0.1, 0.5, 0.2))),
                             gltf.primitive(upper, painted(gltf, (0.9, 0.7, 0.1)))))
    return gltf


def lit(light):
    """A white crate in front of a wall, lit by this light alone."""
    gltf = Gltf(extensions={"KHR_lights_punctual": {"lights": [light]}})
    gltf.use("KHR_lights_punctual")
    white = painted(gltf, (0.8, 0.8, 0.8))
    gltf.node(mesh=gltf.mesh(gltf.primitive(crate(0.8, 0.8), white),
                             gltf.primitive(panel(4, 3, -0.8), white)))
    gltf.node(translation=[1.2, 2.0, 3.0], rotation=[-0.2, 0.18, 0.04, 0.96],
              extensions={"KHR_lights_punctual": {"light": 0}})
    return gltf


def seen(camera):
    gltf = with_crate()
    gltf.node(camera=gltf.add("cameras", camera), translation=[1.6, 2.4, 4.0],
              rotation=[-0.205, 0.18, 0.038, 0.96])
    return gltf


# ---- motion ---------------------------------------------------------------------------------


def motion(folder):
    """Moving models at frame 8 of a second of 24 frames. Each looks different."""
    moved = {}
    for interpolation, values in (
            ("STEP", [(0, 0, 0), (1.6, 0, 0)]), ("LINEAR", [(0, 0, 0), (1.6, 0, 0)]),
            ("CUBICSPLINE", [(0, 0, 0), (0, 0, 0), (0, 6, 0), (0, 6, 0), (1.6, 0, 0), (0, 0, 0)])):
        gltf = with_crate()
        still = gltf.mesh(gltf.primitive(panel(0.5, 2.6, -1.2), painted(gltf)))
        gltf.node(mesh=still, translation=[-0.9, 0, 0])
        gltf.node(mesh=still, translation=[2.4, 0, 0])
        gltf.animate("slide", 0, "translation", [0.0, 1.0], values, interpolation)
        moved[f"{interpolation.lower()}.glb"] = gltf
    moved["morph.glb"] = morph()
    moved["skin.glb"] = skin()
    for name, gltf in moved.items():
        gltf.write_binary(folder / name)
    return list(moved)


def morph():
    gltf = Gltf()
    shape = crate()
    primitive = gltf.primitive(shape, textured(gltf))
    lean = [(0.9 * y, 0.3 * y * (x + 0.8), 0.0) for x, y, _ in shape.points]
    primitive["targets"] = [{"POSITION": gltf.accessor(lean, "VEC3")}]
    gltf.node(mesh=gltf.mesh(primitive, weights=[0.0]))
    gltf.animate("lean", 0, "weights", [0.0, 1.0], [0.0, 1.5])
    return gltf


def skin():
    """A pillar that bends around a joint in its middle."""
    gltf = Gltf()
    shape = Shape()
    for i in range(8):
        y, above = 0.25 * i, 0.25 * i + 0.25
        for corners in ([(-0.3, y, 0.3), (0.3, y, 0.3), (0.3, above, 0.3), (-0.3, above, 0.3)],
                        [(0.3, y, 0.3), (0.3, y, -0.3), (0.3, above, -0.3), (0.3, above, 0.3)]):
            shape.quad(corners, ((0, 1 - y / 2), (1, 1 - y / 2), (1, 1 - above / 2),
                                 (0, 1 - above / 2)))
    primitive = gltf.primitive(shape, textured(gltf))
    shares = [min(1.0, max(0.0, y - 0.5)) for _, y, _ in shape.points]
    primitive["attributes"].update(
        JOINTS_0=gltf.accessor([(0, 1, 0, 0)] * len(shares), "VEC4", UNSIGNED_BYTE),
        WEIGHTS_0=gltf.accessor([(1 - s, s, 0, 0) for s in shares], "VEC4"))
    lower = gltf.node(children=[1])
    upper = gltf.node(in_scene=False, translation=[0, 1, 0])
    down = [1.0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -1, 0, 1]
    unmoved = [1.0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]
    matrices = gltf.accessor([unmoved, down], "MAT4")
    gltf.add("skins", {"joints": [lower, upper], "inverseBindMatrices": matrices})
    gltf.node(mesh=gltf.mesh(primitive), skin=0)
    gltf.animate("bend", upper, "rotation", [0.0, 1.0],
                 [(0.0, 0, 0, 1), (0.0, 0, -math.sin(1.2), math.cos(1.2))])
    return gltf


# ---- for arguments of the import ------------------------------------------------------------


def variants_file(folder):
    """A ball with another material in the variant "night"."""
    gltf = Gltf(extensions={"KHR_materials_variants": {"variants": [{"name": "night"}]}})
    gltf.use("KHR_materials_variants")
    day, night = painted(gltf, (0.9, 0.7, 0.2)), painted(gltf, (0.02, 0.04, 0.3), 0.1)
    gltf.node(mesh=gltf.mesh(gltf.primitive(ball(), day, extensions={
        "KHR_materials_variants": {"mappings": [{"material": night, "variants": [0]}]}})))
    gltf.write_binary(folder / "variants.glb")


def animations_file(folder):
    """A crate that one animation lifts and another one turns."""
    gltf = with_crate()
    gltf.node(mesh=gltf.mesh(gltf.primitive(panel(3, 2.6, -1.2), painted(gltf))))
    gltf.animate("lift", 0, "translation", [0.0, 1.0], [(0.0, 0, 0), (0.0, 2.4, 0)])
    gltf.animate("turn", 0, "rotation", [0.0, 1.0], [(0.0, 0, 0, 1), (0.0, 1, 0, 0)])
    gltf.write_binary(folder / "animations.glb")


def scenes_file(folder):
    """A model with a crate in one scene and a ball in the other."""
    gltf = with_crate()
    sphere = gltf.node(in_scene=False, mesh=gltf.mesh(gltf.primitive(ball(), painted(gltf))))
    gltf.add("scenes", {"name": "other", "nodes": [sphere]})
    gltf.write_binary(folder / "scenes.glb")

"""A scene whose files lie in many places: models with buffers, materials and textures."""

import base64
import json
import struct
import zlib

from tellar_test import static_scene


def png(red, green, blue):
    """A picture of one colour."""
    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data
                + struct.pack(">I", zlib.crc32(kind + data)))
    header = struct.pack(">IIBBBBB", 2, 2, 8, 2, 0, 0, 0)
    rows = (b"\0" + bytes((red, green, blue)) * 2) * 2
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows))
            + chunk(b"IEND", b""))


TRIANGLE = struct.pack("<9f6f", 0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 1)


def gltf(buffer, image):
    return {
        "asset": {"version": "2.0"}, "scenes": [{"nodes": [0]}], "nodes": [{"mesh": 0}],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0, "TEXCOORD_0": 1},
                                    "material": 0}]}],
        "accessors": [
            {"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3",
             "min": [0, 0, 0], "max": [2, 2, 0]},
            {"bufferView": 1, "componentType": 5126, "count": 3, "type": "VEC2"}],
        "bufferViews": [{"buffer": 0, "byteLength": 36},
                        {"buffer": 0, "byteOffset": 36, "byteLength": 24}],
        "buffers": [{"uri": buffer, "byteLength": 60}],
        "images": [{"uri": image}], "textures": [{"source": 0}],
        "materials": [{"name": "paint", "pbrMetallicRoughness": {
            "baseColorTexture": {"index": 0}}}]}


def data_uri(kind, content):
    return f"data:{kind};base64," + base64.b64encode(content).decode()


def image_material(file):
    return {"style": "network", "terminals": {"surface": "surface"}, "nodes": {
        "surface": {"type": "standard_surface", "connections": {"baseColor": "out@image"}},
        "image": {"type": "image", "parameters": {"file": file}}}}


QUAD = {"type": "polymesh", "geometry": {
    "point.P": {"$type": "float", "values": [[-3, 0, 0], [-1, 0, 0], [-1, 2, 0], [-3, 2, 0]]},
    "poly": {"vertexList": [0, 1, 2, 3], "startIndex": [0, 4]}}}


def write_site(folder):
    """Writes the scene to the folder "site" in `folder`, and a texture beside it. Returns the paths
    of the scene's files by their kinds."""
    site = folder / "site"
    contents = {
        "robot/source/robot.gltf": json.dumps(gltf("../data/robot%20one.bin",
                                                   "../textures/skin.png")).encode(),
        "robot/data/robot one.bin": TRIANGLE,
        "robot/textures/skin.png": png(200, 40, 40),
        "box/box.obj": b"mtllib box.mtl\nv 3 0 0\nv 5 0 0\nv 3 2 0\nvt 0 0\nvt 1 0\nvt 0 1\n"
                       b"usemtl lid\nf 1/1 2/2 3/3\n",
        "box/box.mtl": b"newmtl lid\nmap_Kd %s\n" % str(folder / "far/wood.png").encode(),
        "maps/wood.png": png(40, 40, 200),
        "maps/old/wood.png": png(90, 90, 90),
    }
    for name, content in contents.items():
        (site / name).parent.mkdir(parents=True, exist_ok=True)
        (site / name).write_bytes(content)
    (folder / "far").mkdir()
    (folder / "far/wood.png").write_bytes(png(40, 200, 40))
    quad = {"a": {**QUAD, "material": image_material(str(site / "maps/wood.png"))}}
    old = {"a": {**QUAD, "material": image_material(str(site / "maps/old/wood.png")),
                 "xform.translate": [-4.0, 0, 0]}}
    skin = {"a": {**QUAD, "material": image_material(str(site / "robot/textures/skin.png")),
                  "xform.translate": [8.0, 0, 0]}}
    description = static_scene({"world": {"c": {"quad": quad, "old": old, "skin": skin}}})
    description["ops"][0]["name"] = "quads"
    description["ops"] += [
        {"name": "robot", "type": "SceneImport", "args": {
            "file": "robot/source/robot.gltf", "location": "/root/world/robot",
            "materialLocation": "/root/materials/robot"}},
        {"name": "box", "type": "SceneImport", "args": {
            "file": "box/box.obj", "location": "/root/world/box",
            "materialLocation": "/root/materials/box"}},
        {"name": "twin", "type": "SceneImport", "args": {
            "file": "robot/source/robot.gltf", "location": "/root/world/twin",
            "materialLocation": "/root/materials/twin"}},
        {"name": "all", "type": "Merge", "inputs": ["quads", "robot", "box", "twin"]}]
    (site / "scene.json").write_text(json.dumps(description))
    return {"scene": [site / "scene.json"],
            "model": [site / "box/box.obj", site / "robot/source/robot.gltf"],
            "part": [site / "box/box.mtl", site / "robot/data/robot one.bin"],
            "texture": [folder / "far/wood.png", site / "maps/old/wood.png",
                        site / "maps/wood.png", site / "robot/textures/skin.png"]}

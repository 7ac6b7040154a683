"""Models of the other formats: one textured crate in all of them, and features of each format."""

import base64
import struct
import zipfile

from model_files import ball, crate, quarters

CRATE = crate()


# ---- OBJ ------------------------------------------------------------------------------------

MATERIAL = "newmtl paint\nKd 1 1 1\nKs 0.1 0.1 0.1\nNs 20\nmap_Kd quarters.png\n"


def obj(material="crate.mtl", points=None):
    lines = [f"mtllib {material}"] if material else []
    for i, point in enumerate(CRATE.points):
        more = points[i] if points else ()
        lines.append("v " + " ".join(f"{x:g}" for x in (*point, *more)))
    lines += [f"vt {u:g} {1 - v:g}" for u, v in CRATE.uvs]
    lines += ["usemtl paint"] if material else []
    for first in range(1, len(CRATE.points), 4):
        lines.append("f " + " ".join(f"{i}/{i}" for i in range(first, first + 4)))
    return "\n".join(lines) + "\n"


def obj_encodings(folder):
    """The same crate with text and materials in each encoding."""
    (folder / "quarters.png").write_bytes(quarters())
    for name, encoding in (("plain", "utf-8"), ("mark", "utf-8-sig"), ("wide", "utf-16"),
                           ("wide big", "utf-16-be")):
        (folder / f"{name}.mtl").write_bytes(MATERIAL.encode(encoding))
        (folder / f"{name}.obj").write_bytes(obj(f"{name}.mtl").encode(encoding))
    return ["plain.obj", "mark.obj", "wide.obj", "wide big.obj"]


def obj_opacity(folder):
    """Crates with statements of opacity that different programs write for opaque materials."""
    (folder / "quarters.png").write_bytes(quarters())
    names = []
    for name, statement in (("d 1", "d 1"), ("Tr 0", "Tr 0"), ("d 0 and Tr 0", "d 0\nTr 0"),
                            ("Tr 1", "Tr 1")):
        (folder / f"{name}.mtl").write_text(MATERIAL + statement + "\n")
        (folder / f"{name}.obj").write_text(obj(f"{name}.mtl"))
        names.append(f"{name}.obj")
    return names


def obj_options(folder):
    """Crates with options of textures, an opacity, and colors of points."""
    (folder / "quarters.png").write_bytes(quarters())
    names = []
    for name, options in (("without", ""), ("scaled", "-s 2 3 1 "), ("moved", "-o 0.3 0.2 0 "),
                          ("all", "-blendu on -bm 1 -mm 0 0.5 -s 4 1 1 -clamp off ")):
        material = MATERIAL.replace("map_Kd ", f"map_Kd {options}")
        (folder / f"option {name}.mtl").write_text(material)
        (folder / f"option {name}.obj").write_text(obj(f"option {name}.mtl"))
        names.append(f"option {name}.obj")
    (folder / "seen through.mtl").write_text(MATERIAL + "Tr 0.7\n")
    (folder / "seen through.obj").write_text(obj("seen through.mtl"))
    shades = [(0.5 + x / 1.6, y / 1.2, 0.3) for x, y, _ in CRATE.points]
    (folder / "point colors.obj").write_text(obj(None, shades))
    return names + ["seen through.obj", "point colors.obj"]


# ---- PLY ------------------------------------------------------------------------------------

PROPERTIES = "property float x\nproperty float y\nproperty float z\n"


def ply_text(kind, vertices, properties, rest, comment=""):
    return (f"ply\nformat {kind} 1.0\n{comment}element vertex {vertices}\n{properties}{rest}"
            "end_header\n").encode()


def ply_forms(folder):
    """The same crate, as text and in both byte orders."""
    (folder / "quarters.png").write_bytes(quarters())
    rows = [(*point, u, 1 - v) for point, (u, v) in zip(CRATE.points, CRATE.uvs)]
    faces = [tuple(range(first, first + 4)) for first in range(0, len(rows), 4)]
    properties = PROPERTIES + "property float s\nproperty float t\n"
    rest = f"element face {len(faces)}\nproperty list uchar int vertex_indices\n"
    comment = "comment TextureFile quarters.png\n"
    body = "".join(" ".join(f"{x:g}" for x in row) + "\n" for row in rows)
    body += "".join("4 " + " ".join(map(str, face)) + "\n" for face in faces)
    (folder / "text.ply").write_bytes(
        ply_text("ascii", len(rows), properties, rest, comment) + body.encode())
    for name, order, kind in (("little.ply", "<", "binary_little_endian"),
                              ("big.ply", ">", "binary_big_endian")):
        data = b"".join(struct.pack(order + "5f", *row) for row in rows)
        data += b"".join(struct.pack(order + "B4i", 4, *face) for face in faces)
        (folder / name).write_bytes(ply_text(kind, len(rows), properties, rest, comment) + data)
    return ["text.ply", "little.ply", "big.ply"]


def ply_kinds(folder):
    """A file whose body begins with a line feed, strips, and clouds."""
    names = ["line feed.ply", "strips.ply", "cloud.ply", "radii.ply", "colored cloud.ply"]
    # The lowest byte of the first number is a line feed.
    first = struct.unpack("<f", struct.pack("<I", 0xbf00000a))[0]
    square = [(first, 0.0, 0.0), (0.5, 0.0, 0.0), (0.5, 1.0, 0.0), (-0.5, 1.0, 0.0)]
    data = b"".join(struct.pack("<3f", *point) for point in square)
    header = ply_text("binary_little_endian", 4, PROPERTIES,
                      "element face 1\nproperty list uchar int vertex_indices\n")
    (folder / names[0]).write_bytes(header + data + struct.pack("<B4i", 4, 0, 1, 2, 3))

    zigzag = [(0.3 * i, 0.6 * (i % 2) + 0.02 * i * i, 0.1 * i) for i in range(10)]
    strip = list(range(6)) + [-1] + list(range(6, 10))
    (folder / names[1]).write_bytes(
        ply_text("ascii", len(zigzag), PROPERTIES,
                 "element tristrips 1\nproperty list int int vertex_indices\n")
        + "".join("%g %g %g\n" % point for point in zigzag).encode()
        + f"{len(strip)} {' '.join(map(str, strip))}\n".encode())

    points = ball(0.8, 0.8, 18, 36).points
    (folder / names[2]).write_bytes(ply_text("ascii", len(points), PROPERTIES, "") + "".join(
        "%g %g %g\n" % point for point in points).encode())
    (folder / names[3]).write_bytes(
        ply_text("ascii", len(points), PROPERTIES + "property float radius\n", "") + "".join(
            "%g %g %g %g\n" % (*point, 0.01 + 0.05 * point[1]) for point in points).encode())
    shades = [tuple(round(127 + 150 * (x if i != 1 else x - 0.8)) for i, x in enumerate(point))
              for point in points]
    colors = "property uchar red\nproperty uchar green\nproperty uchar blue\n"
    (folder / names[4]).write_bytes(
        ply_text("ascii", len(points), PROPERTIES + colors, "") + "".join(
            "%g %g %g %d %d %d\n" % (*point, *(max(0, min(255, c)) for c in shade))
            for point, shade in zip(points, shades)).encode())
    return names


# ---- Collada --------------------------------------------------------------------------------


def floats(values):
    return " ".join(f"{x:g}" for value in values for x in value)


def source(name, parameters, values):
    accessors = "".join(f'<param name="{p}" type="float"/>' for p in parameters)
    return (f'<source id="{name}"><float_array id="{name}Numbers" '
            f'count="{len(values) * len(parameters)}">{floats(values)}</float_array>'
            f'<technique_common><accessor source="#{name}Numbers" count="{len(values)}" '
            f'stride="{len(parameters)}">{accessors}</accessor></technique_common></source>')


def collada(transparency="", is_z_up=False, image="quarters.png", encoding="utf-8"):
    points = [(x, -z, y) if is_z_up else (x, y, z) for x, y, z in CRATE.points]
    uvs = [(u, 1 - v) for u, v in CRATE.uvs]
    faces = len(points) // 4
    corners = " ".join(f"{i} {i}" for i in range(len(points)))
    return f"""<?xml version="1.0" encoding="{encoding}"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><unit name="meter" meter="1"/><up_axis>{"Z" if is_z_up else "Y"}_UP</up_axis></asset>
<library_images><image id="image"><init_from>{image}</init_from></image></library_images>
<library_effects><effect id="effect"><profile_COMMON>
<newparam sid="surface"><surface type="2D"><init_from>image</init_from></surface></newparam>
<newparam sid="sampler"><sampler2D><source>surface</source></sampler2D></newparam>
<technique sid="common"><phong>
<diffuse><texture texture="sampler" texcoord="UV"/></diffuse>
<specular><color>0.1 0.1 0.1 1</color></specular><shininess><float>20</float></shininess>
{transparency}</phong></technique></profile_COMMON></effect></library_effects>
<library_materials><material id="paint" name="paint"><instance_effect url="#effect"/></material>
</library_materials>
<library_geometries><geometry id="crate" name="crate"><mesh>
{source("points", "XYZ", points)}{source("coordinates", "ST", uvs)}
<vertices id="corners"><input semantic="POSITION" source="#points"/></vertices>
<polylist count="{faces}" material="paint">
<input semantic="VERTEX" source="#corners" offset="0"/>
<input semantic="TEXCOORD" source="#coordinates" offset="1" set="0"/>
<vcount>{" ".join(["4"] * faces)}</vcount><p>{corners}</p></polylist>
</mesh></geometry></library_geometries>
<library_visual_scenes><visual_scene id="stage"><node id="crateNode">
<instance_geometry url="#crate"><bind_material><technique_common><instance_material symbol="paint" target="#paint">
<bind_vertex_input semantic="UV" input_semantic="TEXCOORD" input_set="0"/></instance_material>
</technique_common></bind_material></instance_geometry></node></visual_scene>
</library_visual_scenes>
<scene><instance_visual_scene url="#stage"/></scene></COLLADA>
"""


def collada_forms(folder):
    """The same crate."""
    (folder / "quarters.png").write_bytes(quarters())
    opaque = ('<transparent opaque="A_ONE"><color>1 1 1 1</color></transparent>'
              "<transparency><float>0</float></transparency>")
    (folder / "plain.dae").write_text(collada())
    (folder / "z up.dae").write_text(collada(is_z_up=True))
    (folder / "transparency 0.dae").write_text(collada(opaque))
    (folder / "blanks.dae").write_text(collada().replace("<float>20<", "<float> 20\n <").replace(
        "<vcount>4", "<vcount>\n 4"))
    (folder / "wide.dae").write_bytes(collada(encoding="utf-16").encode("utf-16"))
    with zipfile.ZipFile(folder / "archive.zae", "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("manifest.xml", '<?xml version="1.0"?><dae_root>crate.dae</dae_root>')
        archive.writestr("crate.dae", collada())
        archive.writestr("quarters.png", quarters())
    return ["plain.dae", "z up.dae", "transparency 0.dae", "blanks.dae", "wide.dae", "archive.zae"]


# ---- FBX ------------------------------------------------------------------------------------


def fbx(up=1, unit=100.0, picture=None):
    """A crate in an ASCII file. `up` is the axis, 1 or 2, and `unit` is in centimetres. A picture is
    inside the file, or else beside it."""
    scale = 100 / unit
    points = [(x * scale, -z * scale, y * scale) if up == 2 else (x * scale, y * scale, z * scale)
              for x, y, z in CRATE.points]
    indices = ",".join(str(i if i % 4 < 3 else -i - 1) for i in range(len(points)))
    uvs = [(u, 1 - v) for u, v in CRATE.uvs]
    front = (2, 1) if up == 1 else (1, -1)
    settings = "".join(f'P: "{name}", "int", "Integer", "",{value}\n' for name, value in (
        ("UpAxis", up), ("UpAxisSign", 1), ("FrontAxis", front[0]), ("FrontAxisSign", front[1]),
        ("CoordAxis", 0), ("CoordAxisSign", 1)))
    video = (f'Video: 501, "Video::image", "Clip" {{\nType: "Clip"\nFileName: "inside.png"\n'
             f'RelativeFilename: "inside.png"\nContent: ,\n'
             f'"{base64.b64encode(picture).decode()}"\n}}\n' if picture else "")
    file = "inside.png" if picture else "quarters.png"

    def numbers(name, values):
        return f"{name}: *{len(values) * len(values[0])} {{\na: " + ",".join(
            f"{x:g}" for value in values for x in value) + "\n}\n"

    return f"""; FBX 7.3.0 project file
FBXHeaderExtension:  {{
FBXHeaderVersion: 1003
FBXVersion: 7300
}}
GlobalSettings:  {{
Version: 1000
Properties70:  {{
{settings}P: "UnitScaleFactor", "double", "Number", "",{unit:g}
}}
}}
Definitions:  {{
Version: 100
Count: 3
}}
Objects:  {{
Geometry: 100, "Geometry::crate", "Mesh" {{
{numbers("Vertices", points)}PolygonVertexIndex: *{len(points)} {{
a: {indices}
}}
GeometryVersion: 124
LayerElementUV: 0 {{
Version: 101
Name: "map"
MappingInformationType: "ByPolygonVertex"
ReferenceInformationType: "Direct"
{numbers("UV", uvs)}}}
LayerElementMaterial: 0 {{
Version: 101
Name: ""
MappingInformationType: "AllSame"
ReferenceInformationType: "IndexToDirect"
Materials: *1 {{
a: 0
}}
}}
Layer: 0 {{
Version: 100
LayerElement:  {{
Type: "LayerElementUV"
TypedIndex: 0
}}
LayerElement:  {{
Type: "LayerElementMaterial"
TypedIndex: 0
}}
}}
}}
Model: 200, "Model::crate", "Mesh" {{
Version: 232
Shading: T
Culling: "CullingOff"
}}
Material: 400, "Material::paint", "" {{
Version: 102
ShadingModel: "phong"
MultiLayer: 0
Properties70:  {{
P: "DiffuseColor", "Color", "", "A",1,1,1
P: "SpecularColor", "Color", "", "A",0.1,0.1,0.1
P: "ShininessExponent", "Number", "", "A",20
}}
}}
{video}Texture: 500, "Texture::image", "" {{
Type: "TextureVideoClip"
Version: 202
TextureName: "Texture::image"
FileName: "{file}"
RelativeFilename: "{file}"
}}
}}
Connections:  {{
C: "OO",200,0
C: "OO",100,200
C: "OO",400,200
C: "OP",500,400, "DiffuseColor"
{'C: "OO",501,500' if picture else ""}
}}
"""


def fbx_forms(folder):
    """The same crate, of about the same size in metres."""
    (folder / "quarters.png").write_bytes(quarters())
    (folder / "plain.fbx").write_text(fbx())
    (folder / "z up.fbx").write_text(fbx(up=2))
    (folder / "centimetres.fbx").write_text(fbx(unit=1))
    (folder / "embedded.fbx").write_text(fbx(picture=quarters()))
    return ["plain.fbx", "z up.fbx", "centimetres.fbx", "embedded.fbx"]


# ---- STL, 3MF -------------------------------------------------------------------------------


def z_up(vector):
    """The vector in a file whose third axis points up."""
    return vector[0], -vector[2], vector[1]


def solids(folder):
    """The crate without a texture, in both kinds of STL files."""
    text, data = ["solid crate"], [b"\0" * 80, struct.pack("<I", len(CRATE.triangles))]
    for triangle in CRATE.triangles:
        normal = CRATE.normals[triangle[0]]
        text.append("facet normal %g %g %g\nouter loop" % z_up(normal))
        data.append(struct.pack("<3f", *z_up(normal)))
        for i in triangle:
            text.append("vertex %g %g %g" % z_up(CRATE.points[i]))
            data.append(struct.pack("<3f", *z_up(CRATE.points[i])))
        text.append("endloop\nendfacet")
        data.append(b"\0\0")
    (folder / "text.stl").write_text("\n".join(text) + "\nendsolid crate\n")
    (folder / "binary.stl").write_bytes(b"".join(data))
    return ["text.stl", "binary.stl"]


# ---- damaged --------------------------------------------------------------------------------


def damaged(folder):
    """Damaged files, which must be refused with an error."""
    archive = folder / "archive.zae"
    collada_forms(folder)
    (folder / "damaged.zae").write_bytes(archive.read_bytes()[:400] + b"\xff" * 200)
    (folder / "cut.dae").write_text(collada()[:900])
    (folder / "cut.fbx").write_text(fbx()[:900])
    (folder / "cut.glb").write_bytes(b"glTF\2\0\0\0\xff\0\0\0\x20\0\0\0JSON{")
    (folder / "old.gltf").write_text('{"asset": {"version": "1.0"}}')
    (folder / "unknown.gltf").write_text(
        '{"asset": {"version": "2.0"}, "extensionsUsed": ["EXT_none_such"], '
        '"extensionsRequired": ["EXT_none_such"]}')
    (folder / "cut.ply").write_bytes(ply_text("binary_little_endian", 9, PROPERTIES, "") + b"\n")
    with zipfile.ZipFile(folder / "intact.3mf", "w") as package:
        package.writestr("[Content_Types].xml", "<Types/>")
        package.writestr("3D/3dmodel.model", '<model unit="millimeter"/>')
    return {"damaged.zae": "", "cut.dae": "", "cut.fbx": "", "cut.glb": "", "old.gltf": "glTF 1",
            "unknown.gltf": "EXT_none_such", "cut.ply": "", "intact.3mf": ""}

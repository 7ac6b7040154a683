"""glTF materials: every extension and every feature of the format itself, on and off."""

from model_files import Gltf, ball, bumps, panel, png, quarters, stripes


def textured(gltf, picture=None, **more):
    texture = gltf.texture(picture or quarters())
    return gltf.material(pbrMetallicRoughness={"baseColorTexture": {"index": texture},
                                               "metallicFactor": 0, "roughnessFactor": 0.7}, **more)


def painted(gltf, color=(0.8, 0.3, 0.2), roughness=0.5, metalness=0.0, **more):
    return gltf.material(pbrMetallicRoughness={"baseColorFactor": [*color, 1],
                                               "metallicFactor": metalness,
                                               "roughnessFactor": roughness}, **more)


SMOOTH = {"roughnessFactor": 0.05, "metallicFactor": 0}
ROUGH = {"roughnessFactor": 0.9, "metallicFactor": 0}
METAL = {"roughnessFactor": 0.35, "metallicFactor": 1, "baseColorFactor": [0.9, 0.75, 0.5, 1]}
CLEAR = {"KHR_materials_transmission": {"transmissionFactor": 1}}
THICK = {"KHR_materials_volume": {"thicknessFactor": 1, "attenuationDistance": 0.5,
                                  "attenuationColor": [0.9, 0.3, 0.1]}}
TURN = {"offset": [0.2, 0.5], "rotation": 0.6, "scale": [2, 3], "texCoord": 0}

# name: (what both have, extensions that only the first has)
EXTENSIONS = {
    "unlit": ({"pbrMetallicRoughness": {**ROUGH, "baseColorFactor": [0.7, 0.3, 0.1, 1]}},
              {"KHR_materials_unlit": {}}),
    "emissive strength": ({"emissiveFactor": [0.1, 0.06, 0.02], "pbrMetallicRoughness": ROUGH},
                          {"KHR_materials_emissive_strength": {"emissiveStrength": 8}}),
    "specular": ({"pbrMetallicRoughness": {**SMOOTH, "baseColorFactor": [0.05, 0.05, 0.05, 1]}},
                 {"KHR_materials_specular": {"specularFactor": 1,
                                             "specularColorFactor": [8, 1.5, 0.5]}}),
    "ior": ({"pbrMetallicRoughness": {**SMOOTH, "baseColorFactor": [0.05, 0.05, 0.05, 1]}},
            {"KHR_materials_ior": {"ior": 2.4}}),
    "transmission": ({"pbrMetallicRoughness": SMOOTH}, CLEAR),
    "volume": ({"pbrMetallicRoughness": SMOOTH, "extensions": CLEAR}, THICK),
    "clearcoat": ({"pbrMetallicRoughness": {**ROUGH, "baseColorFactor": [0.5, 0.02, 0.02, 1]}},
                  {"KHR_materials_clearcoat": {"clearcoatFactor": 1,
                                               "clearcoatRoughnessFactor": 0.03}}),
    "sheen": ({"pbrMetallicRoughness": {**ROUGH, "baseColorFactor": [0.05, 0.02, 0.1, 1]}},
              {"KHR_materials_sheen": {"sheenColorFactor": [0.9, 0.6, 1],
                                       "sheenRoughnessFactor": 0.4}}),
    "anisotropy": ({"pbrMetallicRoughness": METAL},
                   {"KHR_materials_anisotropy": {"anisotropyStrength": 0.9}}),
    "specular glossiness": ({"pbrMetallicRoughness": ROUGH},
                            {"KHR_materials_pbrSpecularGlossiness": {
                                "diffuseFactor": [0.05, 0.1, 0.3, 1],
                                "specularFactor": [0.6, 0.5, 0.4], "glossinessFactor": 0.9}})}


def before_stripes(gltf):
    """A striped wall behind the ball, visible through it."""
    stripe = textured(gltf, stripes((30, 60, 90), (240, 230, 200)))
    gltf.node(mesh=gltf.mesh(gltf.primitive(panel(2.4, 1.9, -0.9), stripe)))


def with_ball(make_material, shape=None):
    gltf = Gltf()
    before_stripes(gltf)
    gltf.node(mesh=gltf.mesh(gltf.primitive(shape or ball(), make_material(gltf))))
    return gltf


def extension_ball(common, extensions):
    everything = {**common, "extensions": {**common.get("extensions", {}), **extensions}}
    return with_ball(lambda gltf: gltf.material(**everything))


def transform_ball(transform):
    def material(gltf):
        made = textured(gltf)
        if transform:
            gltf.use("KHR_texture_transform")
            gltf.document["materials"][made]["pbrMetallicRoughness"]["baseColorTexture"][
                "extensions"] = {"KHR_texture_transform": transform}
        return made
    return with_ball(material, panel(1.6, 1.6, 0.2))


def alpha_ball(**more):
    shade = [(200, 120, 40, 255), (200, 120, 40, 60)]
    rows = [[shade[(x // 8 + y // 8) % 2] for x in range(64)] for y in range(64)]

    return with_ball(lambda gltf: textured(gltf, png(rows), **more))


def mapped_ball(**maps):
    def material(gltf):
        made = painted(gltf, (0.6, 0.6, 0.6), 0.4)
        for name, picture in maps.items():
            gltf.document["materials"][made][name] = {"index": gltf.texture(picture)}
            if name == "emissiveTexture":
                gltf.document["materials"][made]["emissiveFactor"] = [1, 1, 1]
        return made
    return with_ball(material)


def materials(folder):
    """Pairs of models, with and without an extension or a feature."""
    pairs = {name: (extension_ball(common, extensions), extension_ball(common, {}))
             for name, (common, extensions) in EXTENSIONS.items()}
    pairs["texture transform"] = transform_ball(TURN), transform_ball(None)
    pairs["texture offset"] = (transform_ball({"offset": [0.25, 0]}),
                               transform_ball({"offset": [0, 0.25]}))
    pairs["cut out"] = alpha_ball(alphaMode="MASK", alphaCutoff=0.5), alpha_ball()
    pairs["blend"] = alpha_ball(alphaMode="BLEND"), alpha_ball(alphaMode="MASK", alphaCutoff=0.5)
    pairs["normal map"] = mapped_ball(normalTexture=bumps()), mapped_ball()
    pairs["emission map"] = (mapped_ball(emissiveTexture=stripes((0, 0, 0), (200, 120, 20))),
                             mapped_ball())
    names = []
    for name, gltfs in pairs.items():
        for state, gltf in zip(("on", "off"), gltfs):
            gltf.write_binary(folder / f"{name} {state}.glb")
            names.append(f"{name} {state}.glb")
    return names

#ifndef SCENEIMPORT_TESTS_DAMAGEDFORMATS_H
#define SCENEIMPORT_TESTS_DAMAGEDFORMATS_H

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "TestScenes.h"

/// Small files on which readers of Assimp crash.

struct DamagedFile {
    std::string extension;
    std::string content;

    friend std::ostream& operator<<(std::ostream& out, const DamagedFile& file) {
        return out << file.extension;
    }
};

inline std::string Zeros(std::size_t count) {
    return std::string(count, '\0');
}

/// An archive of one file without compression. Its checksum is wrong.
inline std::string Zip(const std::string& name, const std::string& content) {
    const auto size = static_cast<std::uint32_t>(content.size());
    const auto nameSize = static_cast<std::uint16_t>(name.size());
    const std::string versions = BytesOf<std::uint16_t>({20, 0, 0, 0, 0});
    const std::string sizes = BytesOf<std::uint32_t>({0, size, size});
    const std::string local =
        "PK\3\4" + versions + sizes + BytesOf<std::uint16_t>({nameSize, 0}) + name + content;
    const std::string entry = std::string("PK\1\2\x14\0", 6) + versions + sizes +
                              BytesOf<std::uint16_t>({nameSize, 0, 0, 0, 0}) + Zeros(8) + name;
    return local + entry + "PK\5\6" + BytesOf<std::uint16_t>({0, 0, 1, 1}) +
           BytesOf<std::uint32_t>({static_cast<std::uint32_t>(entry.size()),
                                   static_cast<std::uint32_t>(local.size())}) +
           Zeros(2);
}

/// A triangle on one joint.
inline const char* const kJointsMd5 = "MD5Version 10\ncommandline \"\"\nnumJoints 1\nnumMeshes 1\n"
                                      "joints {\n \"o\" -1 ( 0 0 0 ) ( 0 0 0 )\n}\n"
                                      "mesh {\n shader \"a\"\n numverts 3\n"
                                      " vert 0 ( 0 0 ) 0 1\n vert 1 ( 0 0 ) 0 1\n"
                                      " vert 2 ( 0 0 ) 0 1\n numtris 1\n tri 0 0 1 2\n"
                                      " numweights 1\n weight 0 0 1 ( 0 0 0 )\n}\n";

/// Three joints that refer to weights which are missing.
inline std::string Md5WithoutWeights() {
    const std::string mesh = kJointsMd5;
    return mesh.substr(0, mesh.find(" numweights")) + "}\n";
}

/// Markers without the lines that say how many frames there are.
inline const char* const kMarkersCsm = "$Order\nA B C\n$Points\n1 0 0 0 1 1 1 2 2 2\n";

/// Markers for which Assimp looks without end.
inline const char* const kEndlessCsm = "$FirstFrame 0\n$Order\nA B C\n1 0 0 0 1 1 1 2 2 2\n"
                                       "2 0 0 0 1 1 1 DROPOUT\n";

/// A triangle whose list of materials does not end.
inline const char* const kTriangleX =
    "xof 0303txt 0032\n"
    "Material M {\n 1.0;1.0;1.0;1.0;;\n 3.2;\n 0.0;0.0;0.0;;\n 0.0;0.0;0.0;;\n}\n"
    "Frame a {\n Mesh {\n  3;\n  0.0;0.0;0.0;,\n  1.0;0.0;0.0;,\n  0.0;1.0;0.0;;\n"
    "  1;\n  3;0,1,2;;\n  MeshMaterialList {\n   1;\n   1;\n   0;;\xFF\xFF\xFF\xFF{M}\n  }\n }\n"
    "}\n";

/// A model whose frames lie far behind the end of the file.
inline std::string Md2() {
    return "IDP2" +
           BytesOf<std::int32_t>({8, 256, 256, 52, 1, 3, 3, 1, 0, 1, 68, 132, 144, -1, 208, 208}) +
           Zeros(160);
}

/// A model whose texts lie far behind the end of the file.
inline std::string Iqm() {
    const std::uint32_t texts = 124, meshes = texts + 12, arrays = meshes + 24,
                        points = arrays + 20, triangles = points + 36, end = triangles + 12;
    return std::string("INTERQUAKEMODEL\0", 16) +
           BytesOf<std::uint32_t>(
               {2, end, 0, 12, 0x7FFFFFFF, 1, meshes, 1, 3, arrays, 1, triangles}) +
           Zeros(15 * 4) + std::string("\0mesh\0mat\0\0\0", 12) +
           BytesOf<std::uint32_t>({1, 6, 0, 3, 0, 1}) +
           BytesOf<std::uint32_t>({0, 0, 7, 3, points}) +
           BytesOf<float>({0, 0, 0, 1, 0, 0, 0, 1, 0}) + BytesOf<std::uint32_t>({0, 1, 2});
}

/// An object whose edges refer to points that do not exist.
inline std::string Ndo() {
    return std::string("nendo 1.2\0\1\1\0\3o\xFF\xFF\xFF\xFF\0\0\1\1\1\1\0\0\0\0\x7F", 26) +
           Zeros(23) + "\3" + std::string(33, '\1') + "\xFF\xFF\xFF\x7F" + std::string(21, '\1');
}

inline std::vector<DamagedFile> DamagedFiles() {
    return {{"3mf", Zip("_rels/.rels", "<a")},
            {"csm", kMarkersCsm},
            {"iqm", Iqm()},
            {"md2", Md2()},
            {"md5mesh", Md5WithoutWeights()},
            {"ndo", Ndo()},
            {"x", kTriangleX},
            {"zae", Zip("manifest.xml", "<dae_root>a.dae</dae_root>")}};
}

#endif

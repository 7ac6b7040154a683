#ifndef SCENEIMPORT_PLYMESH_H
#define SCENEIMPORT_PLYMESH_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace TellarSceneImport {

/// The points and faces of a PLY file.
struct PlyMesh {
    std::vector<float> positions;           ///< three a point
    std::vector<float> normals;             ///< three a point, or empty
    std::vector<float> colors;              ///< four a point, linear, with alpha; or empty
    std::vector<float> faceColors;          ///< four a face, linear, with alpha; or empty
    std::vector<float> widths;              ///< diameters, one a point; or empty
    std::vector<float> st;                  ///< two a point, or empty
    std::vector<float> cornerSt;            ///< two a corner of a face, or empty
    std::vector<std::int32_t> corners;      ///< the points of all faces
    std::vector<std::int32_t> starts = {0}; ///< where each face begins, and the end
    std::string texture;                    ///< the name of a picture, or empty
};

/// Reads the elements "vertex", "face" and "tristrips"; others are passed over. Points without
/// faces that are not finite are left out, as are faces with such points or with fewer than three
/// corners. Throws std::runtime_error "damaged PLY: ..." with the reason.
PlyMesh ReadPlyMesh(std::string_view content);

} // namespace TellarSceneImport

#endif

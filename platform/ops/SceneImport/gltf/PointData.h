#ifndef SCENEIMPORT_POINTDATA_H
#define SCENEIMPORT_POINTDATA_H

#include <cstdint>
#include <string>
#include <vector>

#include "Accessors.h"

namespace tinygltf {
struct Primitive;
}

namespace TellarSceneImport {

class Document;

/// The values that a primitive has for each of its points, named as the attributes of a location.
struct PointData {
    struct Values {
        std::string name;      ///< "st1", "color", "_TEMPERATURE", ...
        std::string inputType; ///< "point2", "color4", ...
        AccessorFloats data;
    };

    std::size_t count = 0;
    AccessorFloats points;  ///< three numbers per point
    AccessorFloats normals; ///< empty if the file has none
    std::vector<Values> arbitrary;

    /// Keeps the points with these numbers, in this order; a number may occur several times.
    void select(const std::vector<std::uint32_t>& elements);
    /// The count of numbers in all values together.
    std::size_t numberCount() const;
};

/// Texture coordinates grow upwards in the result, and colours have an alpha. Throws
/// std::runtime_error for attributes of a wrong type or of different lengths.
PointData ReadPointData(const Document& document, const tinygltf::Primitive& primitive);

/// Points with equal values get the number of the first of them. `indices` receives the new
/// numbers; returns the old number of each point that is left, in the order of their use.
std::vector<std::uint32_t> JoinEqualPoints(const PointData& data,
                                           std::vector<std::uint32_t>& indices);

} // namespace TellarSceneImport

#endif

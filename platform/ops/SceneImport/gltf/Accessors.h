#ifndef SCENEIMPORT_ACCESSORS_H
#define SCENEIMPORT_ACCESSORS_H

#include <cstdint>
#include <vector>

namespace TellarSceneImport {

class Document;

/// The values of an accessor, element by element.
struct AccessorFloats {
    std::vector<float> values;
    int width = 0; ///< numbers an element: 1 for scalars, 3 for VEC3, 16 for MAT4

    std::size_t count() const { return width ? values.size() / width : 0; }
    const float* at(std::size_t element) const { return &values[element * width]; }
};

/// The number of elements of an accessor. Throws std::runtime_error for one without data that asks
/// for much memory, as the other functions do.
std::size_t CountOf(const Document& document, int accessor);

/// Reads an accessor of any kind: floats and integers, normalised or not, with any stride, with
/// sparse changes, and without data, which is all zeros. Values that are not finite become 0.
/// Throws std::runtime_error when the accessor goes beyond its data.
AccessorFloats ReadFloats(const Document& document, int accessor);

/// Reads an accessor of unsigned integers, as for indices and joints. Throws std::runtime_error
/// when its components are of another type or it goes beyond its data.
std::vector<std::uint32_t> ReadUnsigned(const Document& document, int accessor);

} // namespace TellarSceneImport

#endif

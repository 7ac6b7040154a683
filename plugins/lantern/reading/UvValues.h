#ifndef LANTERN_READING_UVVALUES_H
#define LANTERN_READING_UVVALUES_H

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "SceneData.h"
#include "reading/Attribute.h"

namespace lantern {

/// Whether the name is "st", "st1", "st2", ..., or "inputType" says that the set has coordinates.
bool IsUvSet(std::string_view name, const Attribute& set);

/// Whether the name is "color", "color1", ..., or "inputType" says that the set has colors.
bool IsColorSet(std::string_view name, const Attribute& set);

/// The elements of a shape that have a value each. A curve counts as a face.
enum class Scope { Point, Vertex, Face, Primitive };

/// The member "scope" of a group of values; nothing if it is not known.
std::optional<Scope> ReadScope(const Attribute& uvSet);

/// Values and, for each element of the scope, the index of its value.
template <typename Value>
struct IndexedValues {
    std::vector<Value> values;
    std::vector<Index> index; ///< empty if element i has value i

    const Value& operator[](std::size_t element) const {
        return values[index.empty() ? element : index[element]];
    }
};
using IndexedUvs = IndexedValues<V2f>;
using IndexedColors = IndexedValues<Imath::C4f>;

/// Reads "value", or "indexedValue" and "index". Returns nothing if the number of values does not
/// fit the elements, or a value is not finite.
std::optional<IndexedUvs> ReadIndexedUvs(const Attribute& uvSet, std::size_t elements, float time);

/// The same for colors of three numbers each, or of four with alpha.
std::optional<IndexedColors> ReadIndexedColors(const Attribute& colorSet, std::size_t elements,
                                               float time);

} // namespace lantern

#endif

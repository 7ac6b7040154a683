#include "Accessors.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

#include "TinyGltf.h"

#include "Document.h"
#include "GltfError.h"

namespace TellarSceneImport {

namespace {

// An accessor without data of its own is all zeros: more of them than this is no scene. Compressed
// meshes have accessors without data that are as large as they like, but nothing reads them.
constexpr std::size_t kMostZeros = std::size_t(1) << 24;

// The elements of an accessor are columns of numbers. Columns of matrices begin at multiples of
// four bytes.
struct Layout {
    std::size_t componentSize = 0;
    int columns = 1, rows = 1;

    int width() const { return columns * rows; }
    std::size_t columnStride() const {
        const std::size_t size = componentSize * rows;
        return columns == 1 ? size : (size + 3) / 4 * 4;
    }
    std::size_t elementSize() const { return columnStride() * columns; }
};

[[noreturn]] void Fail(int accessor, const char* what) {
    GltfError("accessor " + std::to_string(accessor) + " " + what);
}

Layout LayoutOf(int index, int componentType, int type) {
    const int size = tinygltf::GetComponentSizeInBytes(static_cast<std::uint32_t>(componentType));
    if (size <= 0) Fail(index, "has an unknown type of numbers");
    Layout layout;
    layout.componentSize = static_cast<std::size_t>(size);
    if (type == TINYGLTF_TYPE_MAT2 || type == TINYGLTF_TYPE_MAT3 || type == TINYGLTF_TYPE_MAT4)
        layout.columns = layout.rows = type & 7;
    else
        layout.rows = tinygltf::GetNumComponentsInType(static_cast<std::uint32_t>(type));
    return layout;
}

// `count` elements of `size` bytes, which begin `stride` bytes apart in `bytes`.
struct Elements {
    std::string_view bytes;
    std::size_t count = 0, size = 0, stride = 0;

    const char* at(std::size_t element) const { return bytes.data() + element * stride; }
};

// The sizes are below 2^40 and the count below 2^32, so that nothing overflows 64 bits but the
// product of the stride and the count, which is compared by division.
Elements ElementsOf(const Document& document, int index, int view, std::size_t offset,
                    std::size_t count, std::size_t size, std::size_t stride) {
    const std::string_view bytes = document.viewBytes(view);
    const bool fits = count == 0 || (offset <= bytes.size() && size <= bytes.size() - offset &&
                                     (count - 1) <= (bytes.size() - offset - size) / stride);
    if (!fits) Fail(index, "goes beyond its buffer view");
    return {bytes.substr(std::min(offset, bytes.size())), count, size, stride};
}

template <typename Number>
Number NumberAt(const char* bytes) {
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

template <typename Stored, typename Value>
Value Converted(Stored stored, bool isNormalized) {
    if constexpr (std::is_same_v<Value, std::uint32_t>) return static_cast<std::uint32_t>(stored);
    if constexpr (std::is_floating_point_v<Stored>) {
        const Value value = static_cast<Value>(stored);
        return std::isfinite(static_cast<double>(value)) ? value : Value(0);
    }
    if (!isNormalized) return static_cast<Value>(stored);
    const double largest = static_cast<double>(std::numeric_limits<Stored>::max());
    return static_cast<Value>(std::max(static_cast<double>(stored) / largest, -1.0));
}

template <typename Stored, typename Value>
void CopyElement(const Layout& layout, const char* from, bool isNormalized, Value* to) {
    for (int column = 0; column < layout.columns; ++column)
        for (int row = 0; row < layout.rows; ++row)
            *to++ = Converted<Stored, Value>(
                NumberAt<Stored>(from + column * layout.columnStride() + row * sizeof(Stored)),
                isNormalized);
}

template <typename Value>
using Copier = void (*)(const Layout&, const char*, bool, Value*);

template <typename Value>
Copier<Value> CopierFor(int index, int componentType) {
    switch (componentType) {
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
        return CopyElement<std::uint8_t, Value>;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
        return CopyElement<std::uint16_t, Value>;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
        return CopyElement<std::uint32_t, Value>;
    default:
        break;
    }
    if constexpr (std::is_same_v<Value, float>) {
        switch (componentType) {
        case TINYGLTF_COMPONENT_TYPE_BYTE:
            return CopyElement<std::int8_t, Value>;
        case TINYGLTF_COMPONENT_TYPE_SHORT:
            return CopyElement<std::int16_t, Value>;
        case TINYGLTF_COMPONENT_TYPE_INT:
            return CopyElement<std::int32_t, Value>;
        case TINYGLTF_COMPONENT_TYPE_FLOAT:
            return CopyElement<float, Value>;
        case TINYGLTF_COMPONENT_TYPE_DOUBLE:
            return CopyElement<double, Value>;
        default:
            break;
        }
    }
    Fail(index, "has the wrong type of numbers");
}

std::vector<std::uint32_t> SparseIndices(const Document& document, int index,
                                         const tinygltf::Accessor& accessor) {
    const auto& source = accessor.sparse.indices;
    const Layout layout = LayoutOf(index, source.componentType, TINYGLTF_TYPE_SCALAR);
    const auto copy = CopierFor<std::uint32_t>(index, source.componentType);
    const Elements elements =
        ElementsOf(document, index, source.bufferView, static_cast<std::size_t>(source.byteOffset),
                   static_cast<std::size_t>(accessor.sparse.count), layout.elementSize(),
                   layout.elementSize());
    std::vector<std::uint32_t> indices(elements.count);
    for (std::size_t i = 0; i < elements.count; ++i) {
        copy(layout, elements.at(i), false, &indices[i]);
        if (indices[i] >= accessor.count) Fail(index, "changes an element that does not exist");
    }
    return indices;
}

template <typename Value>
void ReplaceSparse(const Document& document, int index, const Layout& layout,
                   std::vector<Value>& values) {
    const tinygltf::Accessor& accessor = document.model().accessors.at(index);
    const auto copy = CopierFor<Value>(index, accessor.componentType);
    const auto indices = SparseIndices(document, index, accessor);
    const Elements changes = ElementsOf(document, index, accessor.sparse.values.bufferView,
                                        static_cast<std::size_t>(accessor.sparse.values.byteOffset),
                                        indices.size(), layout.elementSize(), layout.elementSize());
    for (std::size_t i = 0; i < indices.size(); ++i)
        copy(layout, changes.at(i), accessor.normalized,
             &values[indices[i] * std::size_t(layout.width())]);
}

// The elements of an accessor that has a buffer view.
template <typename Value>
std::vector<Value> ReadElements(const Document& document, int index, const Layout& layout) {
    const tinygltf::Accessor& accessor = document.model().accessors.at(index);
    const auto copy = CopierFor<Value>(index, accessor.componentType);
    const auto& view = document.model().bufferViews.at(accessor.bufferView);
    const std::size_t stride = view.byteStride ? view.byteStride : layout.elementSize();
    const Elements elements = ElementsOf(document, index, accessor.bufferView, accessor.byteOffset,
                                         accessor.count, layout.elementSize(), stride);
    const auto width = static_cast<std::size_t>(layout.width());
    std::vector<Value> values(elements.count * width);
    for (std::size_t i = 0; i < elements.count; ++i)
        copy(layout, elements.at(i), accessor.normalized, &values[i * width]);
    return values;
}

template <typename Value>
std::vector<Value> MakeZeros(const Document& document, std::size_t count) {
    document.memory().takeZeros(count);
    return std::vector<Value>(count);
}

template <typename Value>
std::vector<Value> ReadValues(const Document& document, int index, int& width) {
    const tinygltf::Accessor& accessor = document.model().accessors.at(index);
    const Layout layout = LayoutOf(index, accessor.componentType, accessor.type);
    CopierFor<Value>(index,
                     accessor.componentType); // throws for a wrong type before memory is used
    width = layout.width();
    document.memory().require(accessor.count, width * sizeof(Value));
    std::vector<Value> values = accessor.bufferView >= 0
                                    ? ReadElements<Value>(document, index, layout)
                                    : MakeZeros<Value>(document, CountOf(document, index) * width);
    if (accessor.sparse.isSparse) ReplaceSparse(document, index, layout, values);
    return values;
}

} // namespace

std::size_t CountOf(const Document& document, int accessor) {
    const tinygltf::Accessor& source = document.model().accessors.at(accessor);
    if (source.bufferView < 0 && source.count > kMostZeros)
        GltfError("an accessor without data is too large");
    return source.count;
}

AccessorFloats ReadFloats(const Document& document, int accessor) {
    AccessorFloats result;
    result.values = ReadValues<float>(document, accessor, result.width);
    return result;
}

std::vector<std::uint32_t> ReadUnsigned(const Document& document, int accessor) {
    int width = 0;
    return ReadValues<std::uint32_t>(document, accessor, width);
}

} // namespace TellarSceneImport

#include "Values.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include <nanobind/ndarray.h>

namespace nb = nanobind;

namespace TellarPython {

namespace {

using namespace OxAttribute;

/// Keeps an attribute alive for as long as an array shows its memory.
nb::capsule OwnerOf(const Attribute& attribute) {
    return nb::capsule(attribute.getRetainedHandle(), [](void* handle) noexcept {
        Attribute::release(static_cast<OxAttributeStruct*>(handle));
    });
}

template <typename T>
nb::object SampleOf(const NumericAttribute<T>& attribute, float time) {
    const ConstSample<T> sample = attribute.getNearestSample(time);
    const auto width = static_cast<std::size_t>(attribute.getTupleSize());
    const bool isFlat = width == 1 || sample.size() % width != 0;
    const std::size_t shape[2] = {isFlat ? sample.size() : sample.size() / width, width};
    return nb::cast(
        nb::ndarray<nb::numpy, const T>(sample.data(), isFlat ? 1 : 2, shape, OwnerOf(attribute)),
        nb::rv_policy::reference);
}

nb::object SampleOf(const StringAttribute& attribute, float time) {
    const ConstStringSample sample = attribute.getNearestSample(time);
    if (sample.size() == 1) return TextOf(sample[0]);
    nb::object strings = nb::steal(PyTuple_New(static_cast<Py_ssize_t>(sample.size())));
    if (!strings.is_valid()) throw nb::python_error();
    for (std::size_t i = 0; i < sample.size(); ++i)
        PyTuple_SET_ITEM(strings.ptr(), static_cast<Py_ssize_t>(i),
                         TextOf(sample[i]).release().ptr());
    return strings;
}

} // namespace

nb::str TextOf(std::string_view bytes) {
    nb::object text = nb::steal(PyUnicode_DecodeUTF8(
        bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape"));
    if (!text.is_valid()) throw nb::python_error();
    return nb::borrow<nb::str>(text);
}

std::string BytesOf(nb::handle text) {
    Py_ssize_t size = 0;
    if (const char* bytes = PyUnicode_AsUTF8AndSize(text.ptr(), &size))
        return std::string(bytes, static_cast<std::size_t>(size));
    PyErr_Clear();
    const nb::object encoded =
        nb::steal(PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
    if (!encoded.is_valid()) throw nb::python_error();
    return std::string(PyBytes_AS_STRING(encoded.ptr()),
                       static_cast<std::size_t>(PyBytes_GET_SIZE(encoded.ptr())));
}

bool IsNumeric(const Attribute& attribute) {
    const AttributeType type = attribute.getType();
    return type == kAttributeTypeInt || type == kAttributeTypeFloat || type == kAttributeTypeDouble;
}

nb::object ValueAt(const Attribute& attribute, float time) {
    if (attribute.getType() == kAttributeTypeGroup) return nb::cast(GroupAttribute(attribute));
    if (!attribute.isValid() || attribute.getType() == kAttributeTypeNull) return nb::none();
    return WithData(attribute, [time](const auto& data) { return SampleOf(data, time); });
}

nb::object ValueOf(const Attribute& attribute) {
    return ValueAt(attribute, 0);
}

nb::object HandleOf(const Attribute& attribute) {
    if (attribute.getType() == kAttributeTypeGroup) return nb::cast(GroupAttribute(attribute));
    return nb::cast(attribute);
}

nb::object NewArray(const double* values, std::size_t rows, std::size_t columns) {
    const std::size_t count = rows * std::max<std::size_t>(columns, 1);
    auto copy = std::make_unique<double[]>(std::max<std::size_t>(count, 1));
    std::copy(values, values + count, copy.get());
    double* const data = copy.get();
    const nb::capsule owner(copy.release(), [](void* array) noexcept {
        std::unique_ptr<double[]>(static_cast<double*>(array));
    });
    const std::size_t shape[2] = {rows, columns};
    return nb::cast(nb::ndarray<nb::numpy, double>(data, columns == 0 ? 1 : 2, shape, owner),
                    nb::rv_policy::reference);
}

nb::object NewMatrix(const Imath::Matrix44<double>& matrix) {
    return NewArray(&matrix[0][0], 4, 4);
}

} // namespace TellarPython

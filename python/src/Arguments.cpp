#include "Arguments.h"
#include "AttributeText.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <string_view>
#include <utility>

#include <OxTellarSDK/GroupBuilder.h>
#include <nanobind/stl/string.h>

#include "Values.h"

namespace nb = nanobind;

namespace TellarPython {

namespace {

using namespace OxAttribute;

[[noreturn]] void Refuse(PyObject* kind, const std::string& text) {
    PyErr_SetString(kind, text.c_str());
    throw nb::python_error();
}

constexpr std::uint64_t kMostInt = std::numeric_limits<std::int32_t>::max();

[[noreturn]] void RefuseLarge(const std::string& number) {
    Refuse(PyExc_OverflowError, number + " does not fit into 32 bits");
}

std::int32_t Int32Of(long long value) {
    if (value < std::numeric_limits<std::int32_t>::min() ||
        value > std::numeric_limits<std::int32_t>::max())
        RefuseLarge(std::to_string(value));
    return static_cast<std::int32_t>(value);
}

std::int32_t Int32Of(nb::handle number) {
    int overflow = 0;
    const long long value = PyLong_AsLongLongAndOverflow(number.ptr(), &overflow);
    if (overflow != 0) RefuseLarge("an integer of more than 64 bits");
    if (value == -1 && PyErr_Occurred()) throw nb::python_error();
    return Int32Of(value);
}

// Arrays ------------------------------------------------------------------------------------------

/// Memory that an object exports, as one block of values.
class Buffer {
public:
    /// Throws nb::python_error for an object that exports none.
    explicit Buffer(nb::handle object) {
        if (PyObject_GetBuffer(object.ptr(), &view, PyBUF_C_CONTIGUOUS | PyBUF_FORMAT) != 0)
            throw nb::python_error();
    }
    ~Buffer() { PyBuffer_Release(&view); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    const void* data() const { return view.buf; }
    std::int64_t count() const { return view.itemsize > 0 ? view.len / view.itemsize : 0; }
    std::int64_t itemSize() const { return view.itemsize; }
    /// The product of all axes but the first.
    std::int64_t tupleSize() const {
        std::int64_t size = 1;
        for (int axis = 1; axis < view.ndim; ++axis)
            size *= view.shape[axis];
        return size;
    }
    /// The letter of the struct module; 0 for records, and for another byte order.
    char format() const {
        const std::string_view text = view.format ? view.format : "B";
        if (text.size() == 1) return text[0];
        const bool isNative = text.size() == 2 && (text[0] == '@' || text[0] == '=' ||
                                                   text[0] == '<'); // little endian machines only
        return isNative ? text[1] : '\0';
    }

private:
    Py_buffer view{};
};

template <typename From>
std::vector<std::int32_t> Int32sOf(const Buffer& buffer) {
    const auto* const first = static_cast<const From*>(buffer.data());
    std::vector<std::int32_t> values(static_cast<std::size_t>(buffer.count()));
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (first[i] > From(0) && static_cast<std::uint64_t>(first[i]) > kMostInt)
            RefuseLarge(std::to_string(first[i]));
        values[i] = Int32Of(static_cast<long long>(first[i]));
    }
    return values;
}

template <typename T>
Attribute InPlace(const Buffer& buffer, std::int64_t tupleSize) {
    return NumericAttribute<T>(static_cast<const T*>(buffer.data()), buffer.count(), tupleSize);
}

template <typename From>
Attribute AsInts(const Buffer& buffer, std::int64_t tupleSize) {
    return IntAttribute(Int32sOf<From>(buffer), tupleSize);
}

template <typename Signed, typename Unsigned>
Attribute AsIntsOf(const Buffer& buffer, bool isSigned, std::int64_t tupleSize) {
    return isSigned ? AsInts<Signed>(buffer, tupleSize) : AsInts<Unsigned>(buffer, tupleSize);
}

Attribute IntegersOf(const Buffer& buffer, bool isSigned, std::int64_t tupleSize) {
    switch (buffer.itemSize()) {
    case 1:
        return AsIntsOf<std::int8_t, std::uint8_t>(buffer, isSigned, tupleSize);
    case 2:
        return AsIntsOf<std::int16_t, std::uint16_t>(buffer, isSigned, tupleSize);
    case 4:
        return isSigned ? InPlace<std::int32_t>(buffer, tupleSize)
                        : AsInts<std::uint32_t>(buffer, tupleSize);
    default:
        return AsIntsOf<std::int64_t, std::uint64_t>(buffer, isSigned, tupleSize);
    }
}

/// Invalid for a type of items that no attribute has.
Attribute ArrayFrom(const Buffer& buffer) {
    const std::int64_t tupleSize = std::max<std::int64_t>(buffer.tupleSize(), 1);
    const char format = buffer.format();
    if (format == 'f') return InPlace<float>(buffer, tupleSize);
    if (format == 'd') return InPlace<double>(buffer, tupleSize);
    if (format == '?') return AsInts<std::uint8_t>(buffer, tupleSize);
    if (format != '\0' && std::strchr("bhilq", format)) return IntegersOf(buffer, true, tupleSize);
    if (format != '\0' && std::strchr("BHILQ", format)) return IntegersOf(buffer, false, tupleSize);
    return {};
}

/// Numbers of any layout and type, by way of numpy.
nb::object NumpyArray(nb::handle value) {
    const nb::module_ numpy = nb::module_::import_("numpy");
    nb::object array = numpy.attr("ascontiguousarray")(value);
    const std::string kind = nb::cast<std::string>(array.attr("dtype").attr("kind"));
    const std::string order = nb::cast<std::string>(array.attr("dtype").attr("byteorder"));
    if (kind == "f" && nb::cast<int>(array.attr("dtype").attr("itemsize")) == 2)
        return array.attr("astype")("float32");
    if (order == ">") return array.attr("astype")(array.attr("dtype").attr("newbyteorder")("="));
    return array;
}

// Strings -----------------------------------------------------------------------------------------

bool IsText(nb::handle value) {
    return PyUnicode_Check(value.ptr()) || PyBytes_Check(value.ptr());
}

std::string StringFrom(nb::handle text) {
    if (PyUnicode_Check(text.ptr())) return BytesOf(text);
    return std::string(PyBytes_AS_STRING(text.ptr()),
                       static_cast<std::size_t>(PyBytes_GET_SIZE(text.ptr())));
}

bool IsList(nb::handle value) {
    return PyList_Check(value.ptr()) || PyTuple_Check(value.ptr());
}

/// True for a list or tuple with texts only, and at least one.
bool IsTexts(nb::handle value) {
    if (!IsList(value) || nb::len(value) == 0) return false;
    for (nb::handle item : value)
        if (!IsText(item)) return false;
    return true;
}

Attribute StringsFrom(nb::handle texts, std::int64_t tupleSize) {
    std::vector<std::string> strings;
    strings.reserve(nb::len(texts));
    for (nb::handle text : texts)
        strings.push_back(StringFrom(text));
    return StringAttribute(strings, tupleSize);
}

Attribute SequenceFrom(nb::handle value) {
    if (IsTexts(value)) return StringsFrom(value, 1);
    const nb::object array = NumpyArray(value);
    const std::string kind = nb::cast<std::string>(array.attr("dtype").attr("kind"));
    if (kind == "U" || kind == "S") return StringsFrom(array.attr("ravel")().attr("tolist")(), 1);
    Attribute attribute = kind == "O" || kind == "M" || kind == "m" || kind == "c" || kind == "V"
                              ? Attribute()
                              : ArrayFrom(Buffer(array));
    if (!attribute.isValid())
        Refuse(PyExc_TypeError, "an attribute cannot hold values of the type " +
                                    BytesOf(nb::str(array.attr("dtype"))));
    return attribute;
}

/// An object that exports memory, as it is where that has a simple layout.
Attribute BufferFrom(nb::handle value) {
    if (PyObject_CheckBuffer(value.ptr())) {
        try {
            Attribute attribute = ArrayFrom(Buffer(value));
            if (attribute.isValid()) return attribute;
        } catch (nb::python_error& error) {
            if (!error.matches(PyExc_BufferError) && !error.matches(PyExc_ValueError)) throw;
        }
    }
    return SequenceFrom(value);
}

// Conversion to a type that is asked for
// -------------------------------------------------------------

template <typename To, typename From>
std::map<float, std::vector<To>> SamplesAs(const NumericAttribute<From>& attribute) {
    std::map<float, std::vector<To>> samples;
    for (std::int64_t i = 0; i < attribute.getNumberOfTimeSamples(); ++i) {
        const float time = attribute.getSampleTime(i);
        const ConstSample<From> sample = attribute.getNearestSample(time);
        std::vector<To>& values = samples[time];
        values.reserve(sample.size());
        for (const From value : sample) {
            if (std::is_same_v<To, std::int32_t> &&
                static_cast<double>(static_cast<To>(value)) != static_cast<double>(value))
                Refuse(PyExc_ValueError, "an int was expected, and a value has a fraction");
            values.push_back(static_cast<To>(value));
        }
    }
    return samples;
}

std::int64_t TupleSizeOf(const Attribute& attribute) {
    return WithData(attribute, [](const auto& data) { return data.getTupleSize(); });
}

std::int64_t ValueCountOf(const Attribute& attribute) {
    return WithData(attribute, [](const auto& data) { return data.getNumberOfValues(); });
}

template <typename To>
Attribute NumbersAs(const Attribute& attribute, std::int64_t tupleSize) {
    const std::int64_t size = tupleSize > 0 ? tupleSize : TupleSizeOf(attribute);
    const std::int64_t count = ValueCountOf(attribute);
    if (size < 1 || count % size != 0)
        Refuse(PyExc_ValueError,
               std::to_string(count) + " values do not make tuples of " + std::to_string(size));
    switch (attribute.getType()) {
    case kAttributeTypeInt:
        return NumericAttribute<To>(SamplesAs<To>(IntAttribute(attribute)), size);
    case kAttributeTypeFloat:
        return NumericAttribute<To>(SamplesAs<To>(FloatAttribute(attribute)), size);
    default:
        return NumericAttribute<To>(SamplesAs<To>(DoubleAttribute(attribute)), size);
    }
}

Attribute WithType(const Attribute& attribute, const std::string& type, std::int64_t tupleSize) {
    if (tupleSize < 0) Refuse(PyExc_ValueError, "a tuple size is at least 1");
    if (type == "string") {
        if (IsNumeric(attribute) && ValueCountOf(attribute) == 0)
            return StringAttribute(std::vector<std::string>(), 1);
        if (attribute.getType() != kAttributeTypeString)
            Refuse(PyExc_TypeError, "strings were expected");
        return attribute;
    }
    if (type.empty() && tupleSize == 0) return attribute;
    if (!IsNumeric(attribute)) {
        if (type.empty()) return attribute;
        Refuse(PyExc_TypeError, "numbers were expected");
    }
    const std::string wanted = type.empty() ? TellarTool::TypeName(attribute) : type;
    if (wanted == TellarTool::TypeName(attribute) &&
        (tupleSize == 0 || tupleSize == TupleSizeOf(attribute)))
        return attribute;
    if (wanted == "int") return NumbersAs<std::int32_t>(attribute, tupleSize);
    if (wanted == "float") return NumbersAs<float>(attribute, tupleSize);
    if (wanted == "double") return NumbersAs<double>(attribute, tupleSize);
    Refuse(PyExc_ValueError,
           "\"" + type + "\" is no type of attributes (int, float, double, string)");
}

// Groups ------------------------------------------------------------------------------------------

bool IsMapping(nb::handle value) {
    if (PyDict_Check(value.ptr())) return true;
    return PyMapping_Check(value.ptr()) && nb::hasattr(value, "items") &&
           nb::hasattr(value, "keys");
}

/// The children in order. Sets `hasDots` when a name stands for a path.
std::vector<GroupAttribute::Child> ChildrenFrom(nb::handle mapping, bool& hasDots) {
    std::vector<GroupAttribute::Child> children;
    const nb::object items = PyDict_Check(mapping.ptr())
                                 ? nb::steal(PyDict_Items(mapping.ptr()))
                                 : nb::object(nb::list(mapping.attr("items")()));
    for (nb::handle item : items) {
        const nb::handle name = PyTuple_GET_ITEM(item.ptr(), 0);
        if (!PyUnicode_Check(name.ptr()))
            Refuse(PyExc_TypeError, "the names in a group are of the type str");
        children.emplace_back(BytesOf(name), AttributeFrom(PyTuple_GET_ITEM(item.ptr(), 1)));
        hasDots = hasDots || children.back().first.find('.') != std::string::npos;
    }
    return children;
}

// Time samples
// -------------------------------------------------------------------------------------

template <typename T>
Attribute Sampled(const std::map<float, Attribute>& values, std::int64_t tupleSize) {
    std::map<float, std::vector<T>> samples;
    for (const auto& [time, value] : values) {
        const NumericAttribute<T> numbers(value);
        const ConstSample<T> sample = numbers.getNearestSample(0);
        samples[time].assign(sample.begin(), sample.end());
    }
    return NumericAttribute<T>(samples, tupleSize);
}

Attribute SampledStrings(const std::map<float, Attribute>& values) {
    std::map<float, std::vector<std::string>> samples;
    for (const auto& [time, value] : values)
        for (const std::string_view text : StringAttribute(value).getNearestSample(0))
            samples[time].emplace_back(text);
    return StringAttribute(samples, 1);
}

} // namespace

GroupAttribute GroupFrom(nb::handle mapping, bool inherit) {
    if (!IsMapping(mapping)) Refuse(PyExc_TypeError, "a mapping was expected");
    bool hasDots = false;
    const std::vector<GroupAttribute::Child> children = ChildrenFrom(mapping, hasDots);
    if (!hasDots) return GroupAttribute(children, inherit);
    GroupBuilder builder;
    builder.setGroupInherit(inherit);
    for (const auto& [name, value] : children)
        builder.set(name, value);
    return builder.build();
}

Attribute AttributeFrom(nb::handle value) {
    // Most values of large descriptions are dicts and texts, so these come first.
    if (PyDict_Check(value.ptr())) return GroupFrom(value, true);
    if (value.is_none()) return NullAttribute();
    if (IsText(value)) return StringAttribute(std::string_view(StringFrom(value)));
    if (PyBool_Check(value.ptr())) return IntAttribute(value.is(Py_True) ? 1 : 0);
    if (PyLong_Check(value.ptr())) return IntAttribute(Int32Of(value));
    if (PyFloat_Check(value.ptr())) return DoubleAttribute(PyFloat_AS_DOUBLE(value.ptr()));
    if (nb::isinstance<GroupAttribute>(value)) return nb::cast<GroupAttribute&>(value);
    if (nb::isinstance<Attribute>(value)) return nb::cast<Attribute&>(value);
    if (PyObject_CheckBuffer(value.ptr())) return BufferFrom(value);
    if (IsMapping(value)) return GroupFrom(value, true);
    if (PySequence_Check(value.ptr()) || nb::hasattr(value, "__array__"))
        return SequenceFrom(value);
    if (nb::hasattr(value, "__fspath__")) return AttributeFrom(nb::steal(PyOS_FSPath(value.ptr())));
    Refuse(PyExc_TypeError, "an attribute cannot be made of a value of the type " +
                                BytesOf(nb::str(value.type().attr("__name__"))));
}

Attribute AttributeFrom(nb::handle value, const std::string& type, std::int64_t tupleSize) {
    return WithType(AttributeFrom(value), type, tupleSize);
}

Attribute SamplesFrom(nb::handle mapping, const std::string& type, std::int64_t tupleSize) {
    if (!IsMapping(mapping) || nb::len(mapping) == 0)
        Refuse(PyExc_ValueError, "samples are a mapping of times to values, with one at least");
    std::map<float, Attribute> values;
    for (nb::handle time : mapping)
        values[nb::cast<float>(time)] = AttributeFrom(mapping[time], type, tupleSize);
    const Attribute& first = values.begin()->second;
    for (const auto& [time, value] : values)
        if (value.getType() != first.getType())
            Refuse(PyExc_TypeError, "the samples are of different types");
    const std::int64_t size = TupleSizeOf(first);
    switch (first.getType()) {
    case kAttributeTypeInt:
        return Sampled<std::int32_t>(values, size);
    case kAttributeTypeFloat:
        return Sampled<float>(values, size);
    case kAttributeTypeDouble:
        return Sampled<double>(values, size);
    case kAttributeTypeString:
        return SampledStrings(values);
    default:
        Refuse(PyExc_TypeError, "only numbers and strings have time samples");
    }
}

} // namespace TellarPython

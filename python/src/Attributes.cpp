#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>
#include <nanobind/nanobind.h>
#include <nanobind/operators.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include "Arguments.h"
#include "AttributeText.h"
#include "Classes.h"
#include "Locations.h"
#include "Unlocked.h"
#include "Values.h"

namespace nb = nanobind;
using namespace nb::literals;

namespace TellarPython {

namespace {

using namespace OxAttribute;

constexpr std::size_t kMostShown = 200; // bytes of text in a repr

std::vector<float> TimesOf(const Attribute& attribute) {
    return WithData(attribute, [](const auto& data) {
        std::vector<float> times;
        for (std::int64_t i = 0; i < data.getNumberOfTimeSamples(); ++i)
            times.push_back(data.getSampleTime(i));
        return times;
    });
}

nb::object SamplesOf(const Attribute& attribute) {
    nb::dict samples;
    for (const float time : TimesOf(attribute))
        samples[nb::float_(static_cast<double>(time))] = ValueAt(attribute, time);
    return samples;
}

template <typename T>
Attribute InterpolatedOf(const NumericAttribute<T>& attribute, float time) {
    std::vector<T> values(static_cast<std::size_t>(attribute.getNumberOfValues()));
    attribute.fillInterpSample(values.data(), attribute.getNumberOfValues(), time);
    return NumericAttribute<T>(values, attribute.getTupleSize());
}

nb::object InterpolatedAt(const Attribute& attribute, float time) {
    switch (attribute.getType()) {
    case kAttributeTypeFloat:
        return ValueOf(InterpolatedOf(FloatAttribute(attribute), time));
    case kAttributeTypeDouble:
        return ValueOf(InterpolatedOf(DoubleAttribute(attribute), time));
    default:
        return ValueAt(attribute, time);
    }
}

std::string Shortened(std::string text) {
    if (text.size() > kMostShown) {
        text.resize(kMostShown);
        while (!text.empty() && (text.back() & 0x80)) // not in the middle of a character
            text.pop_back();
        text += "...";
    }
    return text;
}

/// A description in one line. Arrays are told by their size, because their text could be long.
std::string Described(const Attribute& attribute) {
    if (attribute.getType() == kAttributeTypeNull) return "<Attribute null>";
    const auto facts = WithData(attribute, [](const auto& data) {
        return std::to_string(data.getNumberOfTuples()) + " x " +
               std::to_string(data.getTupleSize());
    });
    const std::size_t times = TimesOf(attribute).size();
    std::string text = std::string("<Attribute ") + TellarTool::TypeName(attribute) + ", " + facts;
    if (times > 1) text += ", " + std::to_string(times) + " samples";
    return text + ">";
}

std::string DescribedGroup(const GroupAttribute& group) {
    std::string names;
    for (std::int64_t i = 0; i < group.getNumberOfChildren() && names.size() < kMostShown; ++i) {
        if (i > 0) names += ", ";
        names += group.getChildNameView(i);
    }
    return "<Group {" + Shortened(names) + "}>";
}

/// The child with just this name, or else at this dotted path; invalid if there is none.
Attribute ChildOf(const GroupAttribute& group, const std::string& name) {
    const std::int64_t index = group.findChild(name);
    return index >= 0 ? group.getChildByIndex(index) : group.getChildByName(name);
}

nb::object RequiredChild(const GroupAttribute& group, nb::str name) {
    const Attribute child = ChildOf(group, BytesOf(name));
    if (!child.isValid())
        RaiseNotFound("the group has no \"" + BytesOf(name) + "\"", {}, BytesOf(name));
    return ValueOf(child);
}

nb::object NamesOf(const GroupAttribute& group) {
    nb::list names;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        names.append(TextOf(group.getChildNameView(i)));
    return names;
}

template <typename Form>
nb::object FormOfChildren(const GroupAttribute& group, Form form) {
    nb::list all;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        all.append(form(group, i));
    return all;
}

nb::object DictOf(const GroupAttribute& group) {
    nb::dict all;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
        const Attribute child = group.getChildByIndex(i);
        all[TextOf(group.getChildNameView(i))] =
            child.getType() == kAttributeTypeGroup ? DictOf(GroupAttribute(child)) : ValueOf(child);
    }
    return all;
}

Py_hash_t HashOf(const Attribute& attribute) {
    return static_cast<Py_hash_t>(attribute.getHash().uint64() >> 1);
}

/// Functions that an Attribute and a Group have in common.
template <typename Class>
void AddCommon(Class& type) {
    using T = typename Class::Type;
    type.def_prop_ro(
            "hash", [](const T& self) { return self.getHash().str(); },
            "The content hash: 32 hexadecimal digits, equal for equal values on every machine.")
        .def(
            "to_json",
            [](const T& self, int indent) { return TextOf(WriteAttributeJson(self, indent)); },
            "indent"_a = 2, "The value as JSON text, in one line with an `indent` of -1.")
        .def(
            "__eq__", [](const T& self, const T& other) { return self == other; },
            nb::is_operator(), nb::sig("def __eq__(self, other: object, /) -> bool"))
        .def("__hash__", [](const T& self) { return HashOf(self); });
}

void AddAttribute(nb::module_& module) {
    auto type = nb::class_<Attribute>(
        module, "Attribute",
        "Numbers or strings of one type, in tuples, at one or more times; or null.\n\n"
        "Immutable, and shared by any number of threads. Made by :func:`attribute` and\n"
        ":func:`samples`.");
    type.def_prop_ro(
            "type", [](const Attribute& self) { return TellarTool::TypeName(self); },
            "\"int\", \"float\", \"double\", \"string\" or \"null\".")
        .def_prop_ro(
            "tuple_size",
            [](const Attribute& self) {
                return WithData(self, [](const auto& data) { return data.getTupleSize(); });
            },
            "How many values belong together, such as 3 for a point; 0 for null.")
        .def_prop_ro("times", TimesOf, "The times of the samples, in frames, ascending.")
        .def_prop_ro(
            "value", [](const Attribute& self) { return ValueOf(self); },
            nb::sig("def value(self) -> AttributeValue"),
            "The sample nearest to time 0. Numbers are a read-only array that shares the memory\n"
            "of the attribute, of the shape (values,) or (tuples, tuple size); one string is a\n"
            "str, and any other number of them a tuple; null is None.")
        .def("sample", ValueAt, "time"_a,
             nb::sig("def sample(self, time: float) -> AttributeValue"),
             "The sample nearest to a time, in the form of `value`.")
        .def(
            "interpolated", InterpolatedAt, "time"_a,
            nb::sig("def interpolated(self, time: float) -> AttributeValue"),
            "The value at a time, linearly interpolated between samples and held beyond the first\n"
            "and the last. Floats and doubles give a new array; others are not interpolated.")
        .def_prop_ro("samples", SamplesOf,
                     nb::sig("def samples(self) -> dict[float, AttributeValue]"),
                     "All samples by their times, in the form of `value`.")
        .def("__repr__", Described);
    AddCommon(type);
}

void AddGroup(nb::module_& module) {
    auto type = nb::class_<GroupAttribute>(
        module, "Group",
        "Named values in a fixed order, a mapping of names to values.\n\n"
        "A name may be a dotted path into groups: group[\"geometry.point.P\"]. Immutable, and\n"
        "shared by any number of threads. Made by :func:`group`.");
    type.def("__len__", &GroupAttribute::getNumberOfChildren)
        .def(
            "__contains__",
            [](const GroupAttribute& self, nb::handle name) {
                return PyUnicode_Check(name.ptr()) && ChildOf(self, BytesOf(name)).isValid();
            },
            nb::sig("def __contains__(self, name: object, /) -> bool"))
        .def("__getitem__", RequiredChild, nb::sig("def __getitem__(self, name: str, /) -> Value"),
             "The value of this name or at this dotted path. Raises NotFoundError, which is a\n"
             "KeyError.")
        .def(
            "get",
            [](const GroupAttribute& self, nb::str name, nb::object otherwise) {
                const Attribute child = ChildOf(self, BytesOf(name));
                return child.isValid() ? ValueOf(child) : otherwise;
            },
            "name"_a, "default"_a = nb::none(),
            nb::sig("def get(self, name: str, default: object = None) -> Value"),
            "The value of this name or at this dotted path, or the default.")
        .def(
            "attribute",
            [](const GroupAttribute& self, nb::str name) -> nb::object {
                const Attribute child = ChildOf(self, BytesOf(name));
                return child.isValid() ? HandleOf(child) : nb::none();
            },
            "name"_a, nb::sig("def attribute(self, name: str) -> Attribute | Group | None"),
            "The attribute itself, with its type and its time samples; None if there is none.")
        .def(
            "__iter__", [](const GroupAttribute& self) { return nb::iter(NamesOf(self)); },
            nb::sig("def __iter__(self) -> Iterator[str]"))
        .def("keys", NamesOf, nb::sig("def keys(self) -> list[str]"), "The names, in order.")
        .def(
            "values",
            [](const GroupAttribute& self) {
                return FormOfChildren(self, [](const GroupAttribute& group, std::int64_t i) {
                    return ValueOf(group.getChildByIndex(i));
                });
            },
            nb::sig("def values(self) -> list[Value]"), "The values, in order.")
        .def(
            "items",
            [](const GroupAttribute& self) {
                return FormOfChildren(self, [](const GroupAttribute& group, std::int64_t i) {
                    return nb::make_tuple(TextOf(group.getChildNameView(i)),
                                          ValueOf(group.getChildByIndex(i)));
                });
            },
            nb::sig("def items(self) -> list[tuple[str, Value]]"),
            "The names with their values, in order.")
        .def("to_dict", DictOf, nb::sig("def to_dict(self) -> dict[str, Any]"),
             "A dict of the values, with dicts for groups.")
        .def_prop_ro("inherits", &GroupAttribute::getGroupInherit,
                     "Whether the group shows the children of the same group of the parent\n"
                     "location, too, when it is read as a global attribute.")
        .def(
            "__repr__", [](const GroupAttribute& self) { return TextOf(DescribedGroup(self)); },
            nb::sig("def __repr__(self) -> str"));
    AddCommon(type);
}

nb::bytes StreamOf(const GroupAttribute& group) {
    std::string stream;
    Unlocked([&] {
        const auto append = [](void* text, const void* data, std::int64_t bytes) {
            static_cast<std::string*>(text)->append(static_cast<const char*>(data),
                                                    static_cast<std::size_t>(bytes));
            return bytes;
        };
        group.writeAttributeStream(&stream, append);
    });
    return nb::bytes(stream.data(), stream.size());
}

GroupAttribute GroupOfStream(nb::bytes stream) {
    std::string_view rest(stream.c_str(), stream.size());
    const Attribute attribute = Unlocked([&] {
        const auto take = [](void* source, void* buffer, std::int64_t bytes) {
            auto& left = *static_cast<std::string_view*>(source);
            const auto count = std::min(left.size(), static_cast<std::size_t>(bytes));
            std::memcpy(buffer, left.data(), count);
            left.remove_prefix(count);
            return static_cast<std::int64_t>(count);
        };
        return Attribute::readAttributeStream(&rest, take, 0);
    });
    if (attribute.getType() != kAttributeTypeGroup)
        throw nb::value_error("the stream holds no group");
    return GroupAttribute(attribute);
}

void AddStreams(nb::module_& module) {
    module.def("stream_of", StreamOf, "group"_a, nb::sig("def stream_of(group: Group) -> bytes"),
               "The attribute stream of a group, for another process.");
    module.def("group_of_stream", GroupOfStream, "stream"_a,
               nb::sig("def group_of_stream(stream: bytes) -> Group"),
               "The group of an attribute stream. Raises FileError for a damaged one, and\n"
               "ValueError for one of something else.");
}

} // namespace

void AddAttributes(nb::module_& module) {
    AddAttribute(module);
    AddGroup(module);
    AddStreams(module);
    module.def(
        "attribute",
        [](nb::handle value, const std::string& type, std::int64_t tupleSize) {
            return HandleOf(AttributeFrom(value, type, tupleSize));
        },
        "value"_a.none(), "type"_a = "", "tuple_size"_a = 0,
        nb::sig("def attribute(value: AttributeLike, type: str = \"\", tuple_size: int = 0) "
                "-> Attribute | Group"),
        "Makes an attribute.\n\n"
        "None is null; bool and int are an int; float is a double; str and bytes a string; a\n"
        "mapping a group. Arrays keep their type if it is int32, float32 or float64; other\n"
        "integers become int32, and float16 float32. Axes after the first make the tuple: an\n"
        "array of the shape (8, 3) has tuples of 3. Any other sequence is taken as numpy does.\n\n"
        "`type` (\"int\", \"float\", \"double\" or \"string\") converts the values, and\n"
        "`tuple_size` puts them into tuples. Raises TypeError for values that no attribute holds,\n"
        "OverflowError for integers of more than 32 bits, and ValueError for values that do not\n"
        "make whole tuples.");
    module.def(
        "samples",
        [](nb::handle samples, const std::string& type, std::int64_t tupleSize) {
            return SamplesFrom(samples, type, tupleSize);
        },
        "samples"_a, "type"_a = "", "tuple_size"_a = 0,
        nb::sig("def samples(samples: Mapping[float, AttributeLike], type: str = \"\", "
                "tuple_size: int = 0) -> Attribute"),
        "Makes an attribute with several time samples, from a mapping of times, in frames, to\n"
        "values of one type and size. The arguments are those of :func:`attribute`. Raises\n"
        "TypeError and ValueError as it does, and when the samples differ in type or size.");
    module.def(
        "group", [](nb::handle values, bool inherit) { return GroupFrom(values, inherit); },
        "values"_a, "inherit"_a = true,
        nb::sig("def group(values: Mapping[str, AttributeLike], inherit: bool = True) -> Group"),
        "Makes a group of named values, each as :func:`attribute` takes it. A name with dots is a\n"
        "path into groups. `inherit` says whether the group inherits from the same group of the\n"
        "parent location.");
}

} // namespace TellarPython

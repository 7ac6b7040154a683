#include "Locations.h"

#include <functional>
#include <set>
#include <utility>
#include <vector>

#include <OxTellarProducers/LocationTransforms.h>
#include <OxTellarSDK/TellarError.h>
#include <nanobind/nanobind.h>
#include <nanobind/operators.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/set.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include "Classes.h"
#include "Materials.h"
#include "Unlocked.h"
#include "Values.h"

namespace nb = nanobind;
using namespace nb::literals;

namespace TellarPython {

namespace {

using namespace OxAttribute;
using TELLAR::GeometryProducer;

nb::object LocationOrNone(GeometryProducer::Ptr producer) {
    return producer ? nb::cast(Location{std::move(producer)}) : nb::none();
}

Attribute Find(const Location& self, const std::string& name) {
    return Unlocked([&] { return self.producer->getAttribute(name.c_str()); });
}

nb::object Required(const Location& self, nb::str name) {
    const std::string bytes = BytesOf(name);
    const Attribute attribute = Find(self, bytes);
    if (!attribute.isValid())
        RaiseNotFound(self.producer->getFullName() + " has no attribute \"" + bytes + "\"",
                      self.producer->getFullName(), bytes);
    return ValueOf(attribute);
}

// Children ----------------------------------------------------------------------------------------

/// The children of a location, each cooked when it is asked for. Python's class Children.
struct Children {
    GeometryProducer::Ptr parent;
};

struct ChildIterator {
    GeometryProducer::Ptr parent;
    GeometryProducer::Ptr last; // the child that was given last; null before the first
    bool isDone = false;
};

nb::object Next(ChildIterator& self) {
    if (self.isDone) throw nb::stop_iteration();
    self.last = Unlocked(
        [&] { return self.last ? self.last->getNextSibling() : self.parent->getFirstChild(); });
    self.isDone = !self.last;
    if (self.isDone) throw nb::stop_iteration();
    return nb::cast(Location{self.last});
}

StringAttribute PotentialNames(const Children& self) {
    return self.parent->getPotentialChildren();
}

GeometryProducer::Ptr ChildNamed(const Children& self, const std::string& name) {
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos)
        return nullptr;
    return Unlocked([&] { return self.parent->getChildByName(name.c_str()); });
}

nb::object RequiredChild(const Children& self, nb::str name) {
    const std::string bytes = BytesOf(name);
    const GeometryProducer::Ptr child = ChildNamed(self, bytes);
    const std::string path = self.parent->getFullName();
    if (!child) RaiseNotFound(path + " has no child \"" + bytes + "\"", path + '/' + bytes);
    return nb::cast(Location{child});
}

nb::object ChildNames(const Children& self) {
    nb::list names;
    for (const std::string_view name : PotentialNames(self).getNearestSample(0))
        names.append(TextOf(name));
    return names;
}

void AddChildren(nb::module_& module) {
    nb::class_<ChildIterator>(module, "ChildIterator", "The children of a location, one by one.")
        .def(
            "__iter__", [](nb::handle self) { return nb::borrow(self); },
            nb::sig("def __iter__(self) -> ChildIterator"))
        .def("__next__", Next, nb::sig("def __next__(self) -> Location"));
    nb::class_<Children>(
        module, "Children",
        "The children of a location. Nothing is computed before it is asked for.\n\n"
        "Iterating gives those that exist, in order.")
        .def(
            "__iter__",
            [](const Children& self) {
                return ChildIterator{self.parent, nullptr};
            },
            nb::sig("def __iter__(self) -> ChildIterator"))
        .def("__getitem__", RequiredChild,
             nb::sig("def __getitem__(self, name: str, /) -> Location"),
             "The child of this name. Raises NotFoundError, which is a KeyError.")
        .def(
            "get",
            [](const Children& self, nb::str name) {
                return LocationOrNone(ChildNamed(self, BytesOf(name)));
            },
            "name"_a, nb::sig("def get(self, name: str) -> Location | None"),
            "The child of this name; None if it does not exist.")
        .def(
            "__contains__",
            [](const Children& self, nb::handle name) {
                return PyUnicode_Check(name.ptr()) && ChildNamed(self, BytesOf(name));
            },
            nb::sig("def __contains__(self, name: object, /) -> bool"),
            "Whether the child exists, which computes it.")
        .def_prop_ro("names", ChildNames, nb::sig("def names(self) -> list[str]"),
                     "The names that the location tells, without computing the children. Some may\n"
                     "not exist.")
        .def("__repr__", [](const Children& self) {
            return "<Children of " + self.parent->getFullName() + ", " +
                   std::to_string(PotentialNames(self).getNearestSample(0).size()) + " names>";
        });
}

// Locations ---------------------------------------------------------------------------------------

Attribute Bound(const Location& self) {
    return Find(self, "bound");
}

bool IsSame(const Location& a, const Location& b) {
    return a.producer == b.producer || (a.producer->getClient() == b.producer->getClient() &&
                                        a.producer->getFullName() == b.producer->getFullName());
}

std::vector<nb::str> AttributeNames(const Location& self) {
    std::set<std::string> names;
    Unlocked([&] { self.producer->getAttributeNames(&names); });
    std::vector<nb::str> texts;
    texts.reserve(names.size());
    for (const std::string& name : names)
        texts.push_back(TextOf(name));
    return texts;
}

void AddNavigation(nb::class_<Location>& type) {
    type.def_prop_ro(
            "name", [](const Location& self) { return TextOf(self.producer->getName()); },
            nb::sig("def name(self) -> str"), "The last part of the path.")
        .def_prop_ro(
            "path", [](const Location& self) { return TextOf(self.producer->getFullName()); },
            nb::sig("def path(self) -> str"), "The absolute path, \"/root/world/geo\".")
        .def_prop_ro(
            "type", [](const Location& self) { return TextOf(self.producer->getType()); },
            nb::sig("def type(self) -> str"),
            "The attribute \"type\"; an empty text when there is none.")
        .def_prop_ro(
            "parent",
            [](const Location& self) { return LocationOrNone(self.producer->getParent()); },
            nb::sig("def parent(self) -> Location | None"), "None for the root.")
        .def_prop_ro(
            "root", [](const Location& self) { return Location{self.producer->getRootProducer()}; },
            "The topmost location.")
        .def_prop_ro(
            "children", [](const Location& self) { return Children{self.producer}; },
            "The locations below, computed when they are asked for.")
        .def(
            "find",
            [](const Location& self, nb::str path) {
                const std::string bytes = BytesOf(path);
                return LocationOrNone(Unlocked([&] {
                    return bytes.empty() || bytes[0] != '/'
                               ? self.producer->getProducerByPath("./" + bytes)
                               : self.producer->getRootProducer()->getProducerByPath(bytes);
                }));
            },
            "path"_a, nb::sig("def find(self, path: str) -> Location | None"),
            "The location at a path, absolute or relative to this one (\"leaf\", \"../other\").\n"
            "None if it does not exist.");
}

void AddValues(nb::class_<Location>& type) {
    type.def(
            "__getitem__", Required, nb::sig("def __getitem__(self, name: str, /) -> Value"),
            "The value of an attribute by its dotted name, as Attribute.value has it; a Group for\n"
            "a group. Raises NotFoundError, which is a KeyError.")
        .def(
            "__contains__",
            [](const Location& self, nb::handle name) {
                return PyUnicode_Check(name.ptr()) && Find(self, BytesOf(name)).isValid();
            },
            nb::sig("def __contains__(self, name: object, /) -> bool"))
        .def(
            "get",
            [](const Location& self, nb::str name, nb::object otherwise) {
                const Attribute attribute = Find(self, BytesOf(name));
                return attribute.isValid() ? ValueOf(attribute) : otherwise;
            },
            "name"_a, "default"_a = nb::none(),
            nb::sig("def get(self, name: str, default: object = None) -> Value"),
            "The value of an attribute by its dotted name, or the default.")
        .def(
            "attribute",
            [](const Location& self, nb::str name) -> nb::object {
                const Attribute attribute = Find(self, BytesOf(name));
                return attribute.isValid() ? HandleOf(attribute) : nb::none();
            },
            "name"_a, nb::sig("def attribute(self, name: str) -> Attribute | Group | None"),
            "The attribute itself, with its type and its time samples; None if there is none.")
        .def(
            "global_attribute",
            [](const Location& self, nb::str name) -> nb::object {
                const std::string bytes = BytesOf(name);
                const Attribute attribute =
                    Unlocked([&] { return self.producer->getGlobalAttribute(bytes); });
                return attribute.isValid() ? HandleOf(attribute) : nb::none();
            },
            "name"_a, nb::sig("def global_attribute(self, name: str) -> Attribute | Group | None"),
            "The attribute as inherited from the ancestors; None if there is none.")
        .def_prop_ro(
            "attributes",
            [](const Location& self) {
                const Attribute all =
                    Unlocked([&] { return self.producer->getAttribute(nullptr); });
                return all.isValid() ? GroupAttribute(all) : GroupAttribute(false);
            },
            "All attributes of the location.")
        .def_prop_ro("attribute_names", AttributeNames,
                     nb::sig("def attribute_names(self) -> list[str]"),
                     "The names of the attributes, sorted.")
        .def_prop_ro(
            "hash",
            [](const Location& self) { return Unlocked([&] { return self.producer->getHash(); }); },
            "Hexadecimal text of the content's hash.");
}

void AddSpaces(nb::class_<Location>& type) {
    type.def(
            "world_matrix",
            [](const Location& self, float time) {
                return NewMatrix(
                    Unlocked([&] { return TELLAR::GetWorldMatrix(*self.producer, time); }));
            },
            "time"_a = 0.0f, nb::sig("def world_matrix(self, time: float = 0.0) -> DoubleArray"),
            "The location's local space to the world at a time in frames: an array (4, 4) for row\n"
            "vectors, with the translation in the last row.")
        .def(
            "local_matrix",
            [](const Location& self, float time) {
                return NewMatrix(
                    Unlocked([&] { return TELLAR::GetLocalMatrix(*self.producer, time); }));
            },
            "time"_a = 0.0f, nb::sig("def local_matrix(self, time: float = 0.0) -> DoubleArray"),
            "The location's local space to that of its parent, or to the world if its \"xform\" "
            "has\n"
            "an \"origin\". See `world_matrix`.")
        .def_prop_ro(
            "transform_times",
            [](const Location& self) {
                return Unlocked([&] { return TELLAR::GetTransformTimes(*self.producer); });
            },
            "The times at which a transform from the root to the location has samples.")
        .def_prop_ro(
            "bound",
            [](const Location& self) -> nb::object {
                const Attribute bound = Bound(self);
                return bound.isValid() ? ValueOf(bound) : nb::none();
            },
            nb::sig("def bound(self) -> NumberArray | None"),
            "The attribute \"bound\": x min, x max, y min, y max, z min, z max in local\n"
            "space. None if there is none.");
}

} // namespace

void RaiseNotFound(const std::string& text, const std::string& location,
                   const std::string& attribute) {
    const nb::object error =
        nb::module_::import_("tellar._errors")
            .attr("NotFoundError")(TextOf(text), "location"_a = TextOf(location),
                                   "attribute"_a = TextOf(attribute));
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.ptr())), error.ptr());
    throw nb::python_error();
}

void AddLocations(nb::module_& module) {
    nb::class_<Location> type(
        module, "Location",
        "One location of a scene: a snapshot of its attributes and the way to all others.\n\n"
        "It keeps the scene alive, and stays as it is when the scene is edited. Any thread may "
        "use\n"
        "it.");
    AddChildren(module);
    AddNavigation(type);
    AddValues(type);
    AddSpaces(type);
    type.def(
            "material", [](const Location& self) { return MaterialOf(self.producer); },
            nb::sig("def material(self) -> Material | None"),
            "The effective material, from the location and its ancestors; None if there is none.")
        .def(
            "_repr_html_",
            [](nb::handle self) {
                return nb::module_::import_("tellar._html").attr("location_html")(self);
            },
            nb::sig("def _repr_html_(self) -> str"),
            "What notebooks show: the children, the attributes, and a ball of the material.")
        .def("__eq__", IsSame, nb::is_operator(),
             nb::sig("def __eq__(self, other: object, /) -> bool"))
        .def("__hash__",
             [](const Location& self) {
                 return static_cast<Py_hash_t>(
                     std::hash<std::string>()(self.producer->getFullName()) >> 1);
             })
        .def(
            "__repr__",
            [](const Location& self) {
                const std::string kind = self.producer->getType();
                return TextOf("<Location " + self.producer->getFullName() +
                              (kind.empty() ? ">" : " [" + kind + "]>"));
            },
            nb::sig("def __repr__(self) -> str"));
}

} // namespace TellarPython

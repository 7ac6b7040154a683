#include "Materials.h"

#include <string>
#include <utility>
#include <vector>

#include <OxTellarProducers/MaterialFlattening.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include "Classes.h"
#include "Unlocked.h"
#include "Values.h"

namespace nb = nanobind;

namespace TellarPython {

namespace {

using OxAttribute::GroupAttribute;

/// The materials of a location and its ancestors. Python's class Material.
struct Material {
    std::vector<GroupAttribute> layers; // the nearest first, never empty
};

GroupAttribute Flattened(const Material& self, const nb::args& terminals) {
    std::vector<std::string> names;
    for (nb::handle name : terminals) {
        if (!PyUnicode_Check(name.ptr()))
            throw nb::type_error("the names of terminals are of the type str");
        names.push_back(BytesOf(name));
    }
    return Unlocked([&] { return TELLAR::FlattenMaterials(self.layers, names); });
}

} // namespace

nb::object MaterialOf(const TELLAR::GeometryProducer::Ptr& location) {
    std::vector<GroupAttribute> layers = Unlocked([&] { return TELLAR::GetMaterials(*location); });
    return layers.empty() ? nb::none() : nb::cast(Material{std::move(layers)});
}

void AddMaterials(nb::module_& module) {
    nb::class_<Material>(
        module, "Material",
        "The effective material of a location, from its own attribute \"material\"\n"
        "and those of its ancestors.")
        .def_ro("layers", &Material::layers,
                "The materials that it is made from, the nearest first.")
        .def("flattened", Flattened, nb::sig("def flattened(self, *terminals: str) -> Group"),
             "The layers combined into one material. A network has the nodes that the named "
             "terminals\n"
             "(\"surface\", \"displacement\") need, each from the nearest layer that has it.")
        .def("__repr__", [](const Material& self) {
            return "<Material of " + std::to_string(self.layers.size()) +
                   (self.layers.size() == 1 ? " layer>" : " layers>");
        });
}

} // namespace TellarPython

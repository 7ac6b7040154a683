#include <filesystem>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <OxTellarProducers/Scene.h>
#include <OxTellarProducers/SceneDescription.h>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TellarError.h>
#include <nanobind/nanobind.h>
#include <nanobind/stl/filesystem.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/tuple.h>
#include <nanobind/stl/vector.h>

#include "Classes.h"
#include "PortableFiles.h"
#include "Unlocked.h"
#include "Values.h"

namespace nb = nanobind;
using namespace nb::literals;

namespace TellarPython {

namespace {

using namespace OxAttribute;
using TELLAR::Scene;

nb::tuple DescribedType(const OxOpType::Description& description) {
    nb::list arguments;
    for (const OxOpType::Argument& argument : description.arguments)
        arguments.append(
            nb::make_tuple(TextOf(argument.name), TextOf(argument.type), TextOf(argument.summary)));
    return nb::make_tuple(TextOf(description.name), TextOf(description.summary),
                          TextOf(description.inputs), arguments);
}

nb::object FoundType(nb::str name) {
    const std::string bytes = BytesOf(name);
    const OxOpType::Description* const description =
        Unlocked([&] { return OxOpType::FindDescription(bytes); });
    return description ? nb::object(DescribedType(*description)) : nb::none();
}

nb::list NamesOfTypes() {
    nb::list names;
    for (const OxOpType::Description* const type :
         Unlocked([] { return OxOpType::GetDescriptions(); }))
        names.append(TextOf(type->name));
    return names;
}

std::vector<std::string> StringsOf(nb::handle texts) {
    std::vector<std::string> strings;
    for (nb::handle text : texts)
        strings.push_back(BytesOf(text));
    return strings;
}

/// One op of a description, from its type, arguments and names of inputs. Like a description in
/// JSON, it has no group for arguments that there are none of, so that both are the same op.
GroupAttribute DescribedOp(nb::handle op) {
    const auto [type, args, inputs] = nb::cast<std::tuple<nb::str, GroupAttribute, nb::list>>(op);
    std::vector<GroupAttribute::Child> parts{{"opType", StringAttribute(BytesOf(type))}};
    if (args.getNumberOfChildren() > 0) parts.emplace_back("opArgs", args);
    if (nb::len(inputs) > 0) parts.emplace_back("opInputs", StringAttribute(StringsOf(inputs), 1));
    return GroupAttribute(parts, true);
}

/// Names are taken as they are, also with dots.
GroupAttribute Described(nb::dict ops) {
    std::vector<GroupAttribute::Child> children;
    for (const auto& [name, op] : ops)
        children.emplace_back(BytesOf(name), DescribedOp(op));
    return GroupAttribute(children, true);
}

/// The ops of a description by their names: tuples of type, arguments and names of inputs.
nb::dict OpsOf(const GroupAttribute& description) {
    nb::dict ops;
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        const GroupAttribute op(description.getChildByIndex(i));
        nb::list inputs;
        for (const std::string_view input :
             StringAttribute(op.getChildByName("opInputs")).getNearestSample(0))
            inputs.append(TextOf(input));
        const GroupAttribute args(op.getChildByName("opArgs"));
        ops[TextOf(description.getChildNameView(i))] =
            nb::make_tuple(TextOf(StringAttribute(op.getChildByName("opType")).getValue("", false)),
                           args.isValid() ? args : GroupAttribute(true), inputs);
    }
    return ops;
}

std::shared_ptr<Scene> OpenDescription(const GroupAttribute& description) {
    return Unlocked([&] { return Scene::FromDescription(description); });
}

GroupAttribute Portable(const GroupAttribute& description, const std::filesystem::path& folder,
                        const std::string& form) {
    const auto kind = form == "json" ? TELLAR::SceneKind::Json : TELLAR::SceneKind::OpFile;
    return Unlocked([&] {
        return TellarTool::WithPortableFiles(description, folder.string(), kind).description;
    });
}

} // namespace

void AddOpGraphs(nb::module_& module) {
    module.def("op_type_names", NamesOfTypes, nb::sig("def op_type_names() -> list[str]"),
               "The names of all op types known to the process, sorted.");
    module.def("op_type", FoundType, "name"_a,
               nb::sig("def op_type(name: str) "
                       "-> tuple[str, str, str, list[tuple[str, str, str]]] | None"),
               "Name, summary, inputs, and the arguments of an op type, each with name, type and\n"
               "summary. None for an unknown type.");
    module.def("describe_ops", Described, "ops"_a,
               nb::sig("def describe_ops(ops: dict[str, tuple[str, Group, list[str]]]) -> Group"),
               "The op-tree description of ops: their types, arguments and names of inputs. The\n"
               "last one is the terminal op.");
    module.def("described_ops", OpsOf, "description"_a,
               nb::sig("def described_ops(description: Group) "
                       "-> dict[str, tuple[str, Group, list[str]]]"),
               "The ops of an op-tree description, as `describe_ops` takes them.");
    module.def("open_description", OpenDescription, "description"_a,
               "The scene of an op-tree description. Raises BadCallError when it is none.");
    module.def(
        "write_op_file",
        [](const std::filesystem::path& path, const GroupAttribute& description,
           bool isCompressed) {
            Unlocked([&] { WriteOpFile(path.string(), description, isCompressed); });
        },
        "path"_a, "description"_a, "compress"_a,
        nb::sig("def write_op_file(path: str | os.PathLike[str], description: Group, "
                "compress: bool) -> None"),
        "Writes an op-tree description as an op file.");
    module.def("portable_description", Portable, "description"_a, "folder"_a, "form"_a,
               nb::sig("def portable_description(description: Group, "
                       "folder: str | os.PathLike[str], form: str) -> Group"),
               "The description for a file in a folder, whose files are relative to it. The form\n"
               "is \"json\" or \"ops\".");
    module.def(
        "description_json",
        [](const GroupAttribute& description) {
            return TextOf(Unlocked([&] { return WriteDescriptionJson(description); }));
        },
        "description"_a, nb::sig("def description_json(description: Group) -> str"),
        "An op-tree description as JSON text.");
}

} // namespace TellarPython

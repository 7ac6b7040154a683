#include "Edits.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarProducers/SceneChanges.h>
#include <OxTellarProducers/SceneEdit.h>
#include <OxTellarSDK/TellarError.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include "Arguments.h"
#include "Classes.h"
#include "Errors.h"
#include "Unlocked.h"
#include "Values.h"

namespace nb = nanobind;
using namespace nb::literals;

namespace TellarPython {

namespace {

using namespace OxAttribute;
using TELLAR::Scene;
using TELLAR::SceneChange;

// Changes ----------------------------------------------------------------------------------------

const char* KindOf(const SceneChange& change) {
    switch (change.kind) {
    case SceneChange::Removed:
        return "removed";
    case SceneChange::Added:
        return "added";
    default:
        return "changed";
    }
}

constexpr std::pair<std::uint32_t, const char*> kParts[] = {
    {TELLAR::kTransformChanged, "transform"},
    {TELLAR::kGeometryChanged, "geometry"},
    {TELLAR::kTopologyChanged, "topology"},
    {TELLAR::kMaterialChanged, "material"},
    {TELLAR::kVisibilityChanged, "visibility"},
    {TELLAR::kSettingsChanged, "settings"},
    {TELLAR::kTypeChanged, "type"},
    {TELLAR::kChildrenChanged, "children"},
    {TELLAR::kOtherChanged, "other"},
};

std::vector<std::string> PartsOf(const SceneChange& change) {
    std::vector<std::string> parts;
    for (const auto& [bit, name] : kParts)
        if (change.mask & bit) parts.emplace_back(name);
    return parts;
}

nb::object ErrorOrNone(const std::exception_ptr& error) {
    return error ? ExceptionObject(error) : nb::none();
}

void AddSceneChange(nb::module_& module) {
    nb::class_<SceneChange>(module, "SceneChange",
                            "A location that differs between two revisions of a scene. Immutable.")
        .def_prop_ro(
            "path", [](const SceneChange& self) { return TextOf(self.path); },
            nb::sig("def path(self) -> str"))
        .def_prop_ro("kind", KindOf,
                     "\"added\" and \"removed\" stand for the location and all below it;\n"
                     "\"changed\" for the location itself.")
        .def_prop_ro("parts", PartsOf,
                     "What differs: \"transform\", \"geometry\", \"topology\", \"material\",\n"
                     "\"visibility\", \"settings\", \"type\", \"children\" (their order) and\n"
                     "\"other\". All of them for a location that was added or removed.")
        .def_prop_ro(
            "attributes",
            [](const SceneChange& self) {
                nb::list names;
                for (const std::string& name : self.attributes)
                    names.append(TextOf(name));
                return names;
            },
            nb::sig("def attributes(self) -> list[str]"),
            "The names of the attributes behind \"other\".")
        .def_prop_ro(
            "old_error", [](const SceneChange& self) { return ErrorOrNone(self.oldError); },
            nb::sig("def old_error(self) -> Error | None"),
            "Why the location could not be computed before.")
        .def_prop_ro(
            "new_error", [](const SceneChange& self) { return ErrorOrNone(self.newError); },
            nb::sig("def new_error(self) -> Error | None"),
            "Why the location cannot be computed now.")
        .def(
            "__repr__",
            [](const SceneChange& self) {
                std::string text = "<SceneChange " + self.path + " " + KindOf(self);
                if (self.kind == SceneChange::Changed)
                    for (const std::string& part : PartsOf(self))
                        text += (text.back() == ':' ? " " : ", ") + part;
                return TextOf(text + ">");
            },
            nb::sig("def __repr__(self) -> str"));
}

// Edits ------------------------------------------------------------------------------------------

using Changes = std::vector<SceneChange>;

std::map<std::string, std::string> TypesOf(const GroupAttribute& description) {
    std::map<std::string, std::string> types;
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i)
        types[description.getChildName(i)] =
            StringAttribute(GroupAttribute(description.getChildByIndex(i)).getChildByName("opType"))
                .getValue("", false);
    return types;
}

/// Python's class SceneEdit. The interpreter's lock guards it but for the commit, during which
/// others are refused.
class Edit {
public:
    explicit Edit(const std::shared_ptr<Scene>& editedScene)
        : edit(editedScene->edit()), types(TypesOf(editedScene->getDescription())) {}

    void setArguments(nb::str op, nb::handle arguments) {
        const std::string name = BytesOf(op);
        GroupAttribute converted = argumentsFor(typeOf(name), arguments);
        use().setOpArgs(name, converted);
    }

    void setArgument(nb::str op, nb::str argument, nb::handle value) {
        const std::string name = BytesOf(op);
        const nb::object converted =
            ops().attr("converted_argument")(typeOf(name), argument, value);
        use().setOpArg(name, BytesOf(argument), AttributeFrom(converted));
    }

    void removeArgument(nb::str op, nb::str argument) {
        use().setOpArg(BytesOf(op), BytesOf(argument), Attribute());
    }

    void setType(nb::str op, nb::handle type) {
        const std::string registered = registeredName(type);
        use().setOpType(BytesOf(op), registered);
        types[BytesOf(op)] = registered;
    }

    void setInputs(nb::str op, nb::handle inputs) {
        use().setOpInputs(BytesOf(op), namesOf(inputs));
    }

    void addOp(nb::str op, nb::handle type, nb::handle inputs, nb::handle arguments) {
        const std::string registered = registeredName(type);
        const GroupAttribute converted = argumentsFor(TextOf(registered), arguments);
        use().addOp(BytesOf(op), registered, converted, namesOf(inputs));
        types[BytesOf(op)] = registered;
    }

    void removeOp(nb::str op) { use().removeOp(BytesOf(op)); }
    void setTerminal(nb::str op) { use().setTerminal(BytesOf(op)); }

    Changes commit() {
        TELLAR::SceneEdit& committed = use();
        isCommitting = true;
        try {
            changes = Unlocked([&] { return committed.commit(); });
        } catch (...) {
            isCommitting = false;
            throw;
        }
        isCommitting = false;
        return changes;
    }

    void exit(nb::handle kind) {
        if (kind.is_none()) commit();
    }

    const Changes& getChanges() const { return changes; }

private:
    static nb::module_ ops() { return nb::module_::import_("tellar._ops"); }

    static std::string registeredName(nb::handle type) {
        return BytesOf(ops().attr("registered_name")(type));
    }

    static GroupAttribute argumentsFor(nb::handle type, nb::handle arguments) {
        return nb::cast<GroupAttribute>(ops().attr("converted_arguments")(type, arguments));
    }

    /// An op without an input has an empty name there.
    static std::vector<std::string> namesOf(nb::handle inputs) {
        if (PyUnicode_Check(inputs.ptr()))
            throw nb::type_error("the inputs are a list of names, not a str");
        std::vector<std::string> names;
        for (nb::handle input : inputs) {
            if (!input.is_none() && !PyUnicode_Check(input.ptr()))
                throw nb::type_error("an input is the name of an op or None");
            names.push_back(input.is_none() ? std::string() : BytesOf(input));
        }
        return names;
    }

    nb::str typeOf(const std::string& op) const {
        const auto found = types.find(op);
        return TextOf(found == types.end() ? std::string() : found->second);
    }

    TELLAR::SceneEdit& use() {
        if (isCommitting)
            throw TellarError(kOxErrorBadCall, "the edit is being committed by another thread");
        return edit;
    }

    TELLAR::SceneEdit edit;
    std::map<std::string, std::string> types; // of the ops, as this edit leaves them
    bool isCommitting = false;
    Changes changes;
};

void AddSteps(nb::class_<Edit>& type) {
    type.def("set_argument", &Edit::setArgument, "op"_a, "name"_a, "value"_a.none(),
             nb::sig("def set_argument(self, op: str, name: str, value: AttributeLike) -> None"),
             "Replaces one argument of an op, or a part of it by a dotted name. Raises TypeError\n"
             "and InvalidValueError as the op type's function does.")
        .def("set_arguments", &Edit::setArguments, "op"_a, "arguments"_a,
             nb::sig("def set_arguments(self, op: str, arguments: Mapping[str, AttributeLike]) "
                     "-> None"),
             "Replaces all arguments of an op.")
        .def("remove_argument", &Edit::removeArgument, "op"_a, "name"_a,
             nb::sig("def remove_argument(self, op: str, name: str) -> None"),
             "Removes one argument of an op.")
        .def("set_type", &Edit::setType, "op"_a, "type"_a,
             nb::sig("def set_type(self, op: str, type: str | type[OpType]) -> None"),
             "Replaces the type of an op.")
        .def("set_inputs", &Edit::setInputs, "op"_a, "inputs"_a,
             nb::sig("def set_inputs(self, op: str, inputs: Iterable[str | None]) -> None"),
             "Replaces the inputs of an op by the ops of these names; None is a missing input.")
        .def("add_op", &Edit::addOp, "op"_a, "type"_a, "inputs"_a = nb::tuple(),
             "arguments"_a = nb::dict(),
             nb::sig("def add_op(self, op: str, type: str | type[OpType], "
                     "inputs: Iterable[str | None] = (), "
                     "arguments: Mapping[str, AttributeLike] = {}) -> None"),
             "Adds an op. It has no effect before another op has it as input, or it is made the\n"
             "terminal op.")
        .def("remove_op", &Edit::removeOp, "op"_a,
             "Removes an op. Those that have it as input have to get other inputs in the same "
             "edit.")
        .def("set_terminal", &Edit::setTerminal, "op"_a,
             "Chooses the op whose locations are the scene's.");
}

} // namespace

nb::object EditOf(const std::shared_ptr<Scene>& scene) {
    return nb::cast(Edit(scene));
}

void AddEdits(nb::module_& module) {
    AddSceneChange(module);
    nb::class_<Edit> type(
        module, "SceneEdit",
        "Changes to the ops of a scene, which are applied all at once.\n\n"
        "A context manager: leaving it commits, unless with an exception. For one thread at a\n"
        "time; several threads may have an edit each.");
    AddSteps(type);
    type.def("commit", &Edit::commit,
             "Makes a new revision of the scene and returns what differs. Parents come before\n"
             "children. Raises BadCallError for an unknown op or a name that is taken, and what\n"
             "the op type raises for its arguments; then nothing is changed.")
        .def_prop_ro("changes", &Edit::getChanges, nb::rv_policy::copy,
                     "What the last commit returned; empty before the first.")
        .def(
            "__enter__", [](nb::handle self) { return nb::borrow(self); },
            nb::sig("def __enter__(self) -> SceneEdit"))
        .def(
            "__exit__",
            [](Edit& self, nb::handle kind, nb::handle, nb::handle) { self.exit(kind); },
            "kind"_a.none(), "error"_a.none(), "traceback"_a.none(),
            nb::sig("def __exit__(self, kind: object, error: object, traceback: object) -> None"));
}

} // namespace TellarPython

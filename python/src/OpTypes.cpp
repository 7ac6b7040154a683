#include "OpTypes.h"

#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/OpType.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/tuple.h>
#include <nanobind/stl/vector.h>

#include "Arguments.h"
#include "Classes.h"
#include "CookFailures.h"
#include "PythonCode.h"
#include "Unlocked.h"
#include "Values.h"

namespace nb = nanobind;
using namespace nb::literals;

namespace TellarPython {

namespace {

using namespace OxAttribute;

// The newest definitions -------------------------------------------------------------------------

/// The registered names of the newest definitions, by the names of the classes, for classes that
/// were defined more than once.
struct Redefinitions {
    std::shared_mutex mutex; // guards the names
    std::map<std::string, std::string> names;
};

Redefinitions& GetRedefinitions() {
    static auto* const redefinitions = new Redefinitions;
    return *redefinitions;
}

std::map<std::string, std::string> NewestNames() {
    Redefinitions& redefinitions = GetRedefinitions();
    const std::shared_lock guard(redefinitions.mutex);
    return redefinitions.names;
}

GroupAttribute WithType(const GroupAttribute& op, const std::string& type) {
    GroupBuilder builder(BuilderModeStrict);
    builder.setGroupInherit(op.getGroupInherit());
    builder.update(op);
    builder.set("opType", StringAttribute(type));
    return builder.build();
}

// Cooks ------------------------------------------------------------------------------------------

/// A location of an input, as its ops made it. Python's class InputLocation.
struct InputLocation {
    TellarRuntime::LocationData data; // of a location that exists
};

/// The location that an op type in Python makes, during the call. Python's class CookContext.
class PythonCook {
public:
    PythonCook(OxOpType::CookContext& cookContext, nb::object preparedValue)
        : context(&cookContext), prepared(std::move(preparedValue)) {}

    /// The cook is over: whoever kept the object gets errors.
    void end() {
        context = nullptr;
        prepared.reset();
    }

    const std::string& path() { return use().path(); }
    GroupAttribute args() { return use().args(); }
    std::size_t numberOfInputs() { return use().numberOfInputs(); }
    bool isFresh() { return use().isFresh(); }
    nb::object preparedValue() {
        use();
        return prepared;
    }

    nb::object input(const std::optional<nb::str>& path, std::size_t index) {
        TellarRuntime::LocationData data = cookInput(path, index);
        if (!data.doesLocationExist()) return nb::none();
        return nb::cast(InputLocation{std::move(data)});
    }

    bool passInput(const std::optional<nb::str>& path, std::size_t index) {
        const TellarRuntime::LocationData data = cookInput(path, index);
        if (!data.doesLocationExist()) return false;
        use().pass(data);
        attributes = data.getAttrs();
        return true;
    }

    void setAttributes(nb::handle values) { show(GroupFrom(values)); }

    void setAttribute(nb::str name, nb::handle value) {
        GroupBuilder builder = edited();
        builder.set(BytesOf(name), AttributeFrom(value));
        show(builder.build());
    }

    void removeAttribute(nb::str name) {
        GroupBuilder builder = edited();
        builder.del(BytesOf(name));
        show(builder.build());
    }

    void setChildren(nb::handle names) {
        std::vector<std::string> texts;
        if (PyUnicode_Check(names.ptr()))
            throw nb::type_error("set_children takes a list of names, not a str");
        for (nb::handle name : names) {
            if (!PyUnicode_Check(name.ptr()))
                throw nb::type_error("the names of children are of the type str");
            texts.push_back(BytesOf(name));
        }
        use().setPotentialChildren(StringAttribute(texts, 1));
    }

    /// The exception of the input that failed last; null if there is none.
    const std::exception_ptr& getInputError() const { return inputError; }

private:
    OxOpType::CookContext& use() {
        if (!context)
            throw TellarError(kOxErrorBadCall, "the location of a cook is used after the cook");
        if (std::this_thread::get_id() != thread)
            throw TellarError(kOxErrorBadCall,
                              "the location of a cook is used by another thread than that of the "
                              "cook");
        return *context;
    }

    TellarRuntime::LocationData cookInput(const std::optional<nb::str>& path, std::size_t index) {
        OxOpType::CookContext& used = use();
        const std::string wanted = path ? BytesOf(*path) : used.path();
        if (wanted.empty() || wanted[0] != '/')
            throw TellarError(kOxErrorBadCall, "\"" + wanted + "\" is not an absolute path");
        try {
            return Unlocked([&] { return used.input(index, wanted); });
        } catch (...) {
            inputError = std::current_exception();
            throw;
        }
    }

    static GroupAttribute GroupFrom(nb::handle values) {
        if (nb::isinstance<GroupAttribute>(values)) return nb::cast<GroupAttribute&>(values);
        return TellarPython::GroupFrom(values, true);
    }

    GroupBuilder edited() {
        use();
        GroupBuilder builder;
        if (!attributes.isValid()) return builder;
        builder.setGroupInherit(attributes.getGroupInherit());
        builder.update(attributes);
        return builder;
    }

    void show(const GroupAttribute& values) {
        use().setAttrs(values);
        attributes = values;
    }

    OxOpType::CookContext* context; // null after the cook
    const std::thread::id thread = std::this_thread::get_id();
    nb::object prepared;
    GroupAttribute attributes; // of the result so far
    std::exception_ptr inputError;
};

/// The result of prepare of a type in Python.
class PreparedValue final : public OxOpType::State {
public:
    explicit PreparedValue(nb::object object) : value(object.release().ptr()) {}
    ~PreparedValue() override { ReleaseLater(value); }
    PreparedValue(const PreparedValue&) = delete;
    PreparedValue& operator=(const PreparedValue&) = delete;

    nb::object get() const { return nb::borrow(value); }

private:
    PyObject* const value; // one reference
};

/// An op type that is a class in Python. Lives until the process ends.
class PythonOpType final : public OxOpType::OpType {
public:
    PythonOpType(OxOpType::Description described, nb::object prepareFunction,
                 nb::object cookFunction)
        : ownDescription(std::move(described)), prepareValue(std::move(prepareFunction)),
          cookLocation(std::move(cookFunction)) {}

    const OxOpType::Description& description() const override { return ownDescription; }

    std::shared_ptr<const OxOpType::State> prepare(const GroupAttribute& args,
                                                   std::size_t) const override {
        const PythonCode code;
        try {
            return std::make_shared<PreparedValue>(
                prepareValue(args.isValid() ? args : GroupAttribute(true)));
        } catch (nb::python_error& error) {
            fail(error, {}, nullptr);
        }
    }

    void cook(OxOpType::CookContext& context) const override {
        const PythonCode code;
        const auto* const state = static_cast<const PreparedValue*>(context.state());
        nb::object location = nb::cast(PythonCook(context, state ? state->get() : nb::none()));
        PythonCook& cook = *nb::inst_ptr<PythonCook>(location);
        try {
            cookLocation(location);
        } catch (nb::python_error& error) {
            cook.end();
            fail(error, context.path(), cook.getInputError());
        } catch (...) {
            cook.end();
            throw;
        }
        cook.end();
    }

    /// For the end of the interpreter, when no cook runs any more.
    void dropPython() {
        prepareValue.reset();
        cookLocation.reset();
    }

private:
    [[noreturn]] static void fail(const nb::python_error& error, const std::string& location,
                                  const std::exception_ptr& inputError) {
        // The signal is for the main thread, which gets it again when it is back in Python.
        if (error.matches(PyExc_KeyboardInterrupt)) {
            PyErr_SetInterrupt();
            throw TellarError(kOxErrorCancelled, "it was interrupted");
        }
        if (inputError && isSame(error.value(), inputError)) std::rethrow_exception(inputError);
        ErrorFacts facts = FactsOfException(error.value());
        RememberFailure(location, facts.text, error.value());
        throw TellarError(std::move(facts));
    }

    /// Whether an exception is the one that a failed input became.
    static bool isSame(nb::handle exception, const std::exception_ptr& inputError) {
        const nb::object kind = nb::module_::import_("tellar._errors").attr("Error");
        return IsInstance(exception, kind) &&
               BytesOf(nb::str(exception)) == FactsOf(inputError).text;
    }

    const OxOpType::Description ownDescription;
    nb::object prepareValue;
    nb::object cookLocation;
};

// Registration -----------------------------------------------------------------------------------

/// All types of this process. The interpreter's lock guards them.
std::vector<PythonOpType*>& AllTypes() {
    static auto* const types = new std::vector<PythonOpType*>;
    return *types;
}

using Arguments = std::vector<std::tuple<std::string, std::string, std::string>>;

OxOpType::Description DescriptionOf(std::string name, int version, std::string summary,
                                    std::string inputs, const Arguments& arguments) {
    OxOpType::Description description{
        std::move(name), version, std::move(summary), {}, std::move(inputs)};
    for (const auto& [argument, type, text] : arguments)
        description.arguments.push_back({argument, type, text});
    return description;
}

void Register(const std::string& name, const std::string& className, int version,
              const std::string& summary, const std::string& inputs, const Arguments& arguments,
              nb::object prepare, nb::object cook) {
    auto type =
        std::make_unique<PythonOpType>(DescriptionOf(name, version, summary, inputs, arguments),
                                       std::move(prepare), std::move(cook));
    try {
        // Plug-ins first, so that they keep their names.
        Unlocked([&] {
            OxOpType::LoadOpTypes();
            OxOpType::RegisterOpType(type.get());
        });
    } catch (const std::invalid_argument& error) {
        throw TellarError(kOxErrorBadCall, error.what());
    }
    AllTypes().push_back(type.release());
    if (name == className) return;
    Redefinitions& redefinitions = GetRedefinitions();
    const std::lock_guard guard(redefinitions.mutex);
    redefinitions.names[className] = name;
}

void End() {
    EndPythonCode();
    ForgetFailures();
    for (PythonOpType* const type : AllTypes())
        type->dropPython();
}

// Classes ----------------------------------------------------------------------------------------

nb::object ChildNames(const InputLocation& self) {
    nb::list names;
    for (const std::string_view name : self.data.getPotentialChildren().getNearestSample(0))
        names.append(TextOf(name));
    return names;
}

void AddInputLocation(nb::module_& module) {
    nb::class_<InputLocation>(module, "InputLocation",
                              "A location of an input of an op, as the input makes it. Immutable; "
                              "it may be kept.")
        .def_prop_ro(
            "attributes",
            [](const InputLocation& self) {
                const GroupAttribute& attributes = self.data.getAttrs();
                return attributes.isValid() ? attributes : GroupAttribute(true);
            },
            "The attributes of the location.")
        .def_prop_ro("child_names", ChildNames, nb::sig("def child_names(self) -> list[str]"),
                     "The names that the location tells for its children. Some may not exist.");
}

void AddResults(nb::class_<PythonCook>& type) {
    type.def("input", &PythonCook::input, "path"_a = nb::none(), "index"_a = 0,
             nb::sig("def input(self, path: str | None = None, index: int = 0) "
                     "-> InputLocation | None"),
             "A location of an input, which is computed if need be; the one of the same path\n"
             "unless given. None if it does not exist there, or there is no such input. Raises\n"
             "CookError when it cannot be computed; passing that on is usually right.")
        .def("pass_input", &PythonCook::passInput, "path"_a = nb::none(), "index"_a = 0,
             nb::sig("def pass_input(self, path: str | None = None, index: int = 0) -> bool"),
             "Makes a location of an input the result, without a copy. Returns whether it exists.")
        .def("set_attributes", &PythonCook::setAttributes, "attributes"_a,
             nb::sig("def set_attributes(self, attributes: Mapping[str, AttributeLike] | Group) "
                     "-> None"),
             "Makes the location exist, with these attributes and no others.")
        .def("set_attribute", &PythonCook::setAttribute, "name"_a, "value"_a.none(),
             nb::sig("def set_attribute(self, name: str, value: AttributeLike) -> None"),
             "Makes the location exist, and sets one attribute by its dotted name. Those that\n"
             "were passed or set before stay.")
        .def("remove_attribute", &PythonCook::removeAttribute, "name"_a,
             nb::sig("def remove_attribute(self, name: str) -> None"),
             "Removes one of the attributes that were passed or set before.")
        .def("set_children", &PythonCook::setChildren, "names"_a,
             nb::sig("def set_children(self, names: Iterable[str]) -> None"),
             "Makes the location exist, and names the children that it may have.");
}

void AddCookContext(nb::module_& module) {
    nb::class_<PythonCook> type(
        module, "CookContext",
        "The location that an op makes, which is asked for and answered in `OpType.cook`.\n\n"
        "Without a call of `pass_input`, `set_attributes`, `set_attribute` or `set_children`, the\n"
        "location does not exist. Valid during the call and in its thread only: later, and in\n"
        "another thread, everything raises BadCallError.");
    type.def_prop_ro(
            "path", [](PythonCook& self) { return TextOf(self.path()); },
            nb::sig("def path(self) -> str"), "The absolute path of the location.")
        .def_prop_ro("args", &PythonCook::args, "The arguments of the op.")
        .def_prop_ro("prepared", &PythonCook::preparedValue, nb::sig("def prepared(self) -> Any"),
                     "What `OpType.prepare` returned for the op.")
        .def_prop_ro("number_of_inputs", &PythonCook::numberOfInputs, "How many inputs the op has.")
        .def_prop_ro(
            "is_fresh", &PythonCook::isFresh,
            "Whether the location was evicted, so that what comes from outside, such as a\n"
            "file, has to be read again.");
    AddResults(type);
}

} // namespace

bool HasRedefinedOpTypes() {
    return !NewestNames().empty();
}

GroupAttribute WithNewestOpTypes(const GroupAttribute& description) {
    const std::map<std::string, std::string> newest = NewestNames();
    if (newest.empty()) return description;
    std::vector<GroupAttribute::Child> ops;
    bool isChanged = false;
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        Attribute op = description.getChildByIndex(i);
        const StringAttribute type(GroupAttribute(op).getChildByName("opType"));
        const auto found = newest.find(type.getValue("", false));
        isChanged = isChanged || found != newest.end();
        if (found != newest.end()) op = WithType(GroupAttribute(op), found->second);
        ops.emplace_back(description.getChildName(i), std::move(op));
    }
    return isChanged ? GroupAttribute(ops, description.getGroupInherit()) : description;
}

void AddOpTypes(nb::module_& module) {
    AddInputLocation(module);
    AddCookContext(module);
    module.def("register_op_type", Register, "name"_a, "class_name"_a, "version"_a, "summary"_a,
               "inputs"_a, "arguments"_a, "prepare"_a, "cook"_a,
               nb::sig("def register_op_type(name: str, class_name: str, version: int, "
                       "summary: str, inputs: str, arguments: Sequence[tuple[str, str, str]], "
                       "prepare: Callable[[Group], object], "
                       "cook: Callable[[CookContext], object]) -> None"),
               "Makes an op type of two functions, until the process ends. Raises BadCallError\n"
               "when the name is taken. In descriptions that are opened, the name of the class is\n"
               "that of the type that was registered for it last.");
    nb::module_::import_("atexit").attr("register")(nb::cpp_function(End));
    nb::module_::import_("os").attr("register_at_fork")("after_in_child"_a =
                                                            nb::cpp_function(ForgetOtherThreads));
}

} // namespace TellarPython

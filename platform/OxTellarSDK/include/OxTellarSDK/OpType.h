#ifndef OXTELLARSDK_OPTYPE_H
#define OXTELLARSDK_OPTYPE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/LocationSet.h>
#include <OxTellarSDK/OxPluginApi.h>
#include <OxTellarSDK/TellarRuntime.h>

/// An op type says how one location is made from the locations of an Op's inputs.
/// Types are plug-ins: a shared library on the plug-in path offers the suite
/// OxOpTypePluginSuite_v3 under the API name "TellarOpType", version 3. Version 2 is for types
/// that are written in C (OpTypeSuite.h).

namespace OxOpType {

/// One argument of an op type, for its documentation.
struct Argument {
    std::string name;    ///< dotted path inside the arguments group
    std::string type;    ///< "string", "int", "double[16]", "int[]", "double[3][]", "group" ...
    std::string summary; ///< one sentence, with the default
};

/// The documentation of an op type.
struct Description {
    std::string name;
    /// Part of every Op's identity. Increase it whenever the results change.
    int version = 1;
    std::string summary;
    std::vector<Argument> arguments;
    std::string inputs; ///< "none", "one", "one or more", ...
};

/// The arguments of an Op, parsed and checked, which it keeps between cooks. Immutable.
class State {
public:
    virtual ~State() = default;
};

/// One cook: the location asked for, the inputs, and the result to be given.
/// Lives for the call only, and is used by the thread that was called.
///
/// The location does not exist unless the cook calls pass(), setAttrs() or setPotentialChildren().
class OXTELLARSDK_API CookContext {
public:
    /// Absolute, "/root/world/geo"; always starts with "/".
    virtual const std::string& path() const = 0;
    virtual const OxAttribute::GroupAttribute& args() const = 0;
    /// The return value of prepare for this Op, which may be null.
    virtual const State* state() const = 0;

    /// The number of inputs, including null inputs.
    virtual std::size_t numberOfInputs() const = 0;
    /// Cooks a location of an input. A null input, and an index out of range, give data whose
    /// doesLocationExist is false.
    virtual TellarRuntime::LocationData input(std::size_t index, const std::string& path) = 0;
    TellarRuntime::LocationData input(std::size_t index) { return input(index, path()); }

    /// Makes `data` the result, without a copy.
    virtual void pass(const TellarRuntime::LocationData& data) = 0;
    /// Makes the location exist, and sets its attributes or the names of its potential children. An
    /// invalid attribute means that it has none.
    virtual void setAttrs(const OxAttribute::GroupAttribute& attrs) = 0;
    virtual void setPotentialChildren(const OxAttribute::StringAttribute& names) = 0;

    /// Keeps a value with the result for the cooks of the location's children.
    virtual void setNote(const OxAttribute::Attribute& note) = 0;
    /// The note that this Op's cook of the parent location kept. Invalid if there is none or the
    /// parent's result is not available; does not cook it.
    virtual OxAttribute::Attribute parentNote() const = 0;
    /// The probable index of the location among its parent's potential children. It is a hint that
    /// may be wrong.
    virtual std::int64_t probableIndex() const = 0;

    /// True when the location was evicted. The cook must then read again what comes from outside,
    /// such as a file.
    virtual bool isFresh() const = 0;

    /// The last level of path(), "geo". The path is put together on the first call of path(), which
    /// takes longer.
    virtual std::string_view name() const = 0;

protected:
    ~CookContext() = default;
};

class CheckContext;
class InstanceContext;
class Instances;
class SubtreeContext;
struct SubtreeFacts;

/// Implemented by op-type plug-ins. One object serves all Ops of the type, from many threads at
/// once. An exception becomes an error of this Op alone that names the Op, its type and, in prepare
/// and cook, the location.
class OXTELLARSDK_API OpType {
public:
    virtual ~OpType();
    /// Called when the type is registered and when its Ops are committed, without a lock of the
    /// library.
    virtual const Description& description() const = 0;
    /// Checks and parses the arguments, once for all Ops with equal identity. `args` may be
    /// invalid. Should throw TellarError::OfAttribute naming the argument at fault.
    virtual std::shared_ptr<const State> prepare(const OxAttribute::GroupAttribute& args,
                                                 std::size_t numberOfInputs) const;
    virtual void cook(CookContext& context) const = 0;
    /// Warns of arguments and inputs that are probably mistakes (OpCheck.h). Called on demand only,
    /// after prepare.
    virtual void check(CheckContext& context) const;

    // The functions from here on are those of version 3 of the plug-in suite. They are not called
    // for the types of plug-ins with version 1.

    /// What is known of a location and everything below it without cooking it (SubtreeFacts.h). The
    /// default knows nothing. An exception means the same.
    virtual SubtreeFacts describeSubtree(SubtreeContext& context) const;
    /// The instances below a location (SubtreeFacts.h); null, as by default, if they are not known.
    virtual std::shared_ptr<const Instances> describeInstances(InstanceContext& context) const;
    /// The locations whose result may differ between two Ops that differ in their arguments only,
    /// whatever their inputs are. A result is the attributes, the potential children, and whether
    /// the location exists. A location too many costs time; a missing one is a change that nobody
    /// sees. The base class answers everything.
    ///
    /// An invalid group also stands for an Op that is not there. The result is then compared with
    /// the first input (or with nothing, for an Op without inputs), while all other inputs are
    /// null. The answer has to be right for this and for an Op without arguments.
    ///
    /// Both groups were accepted by prepare, unless invalid. When this function throws, the answer
    /// is everything.
    virtual OxLocationPath::LocationSet touchedBy(const OxAttribute::GroupAttribute& before,
                                                  const OxAttribute::GroupAttribute& after) const;
    /// The locations whose result may differ when input `input` differs at the locations `changed`.
    /// The base class answers everything. Type authors usually return `changed`, to which they add
    /// the locations that are made from other ones.
    ///
    /// An Op with fewer inputs counts as one with null inputs at the end. A type whose results
    /// depend on the number of inputs in another way must not override this function.
    virtual OxLocationPath::LocationSet
    touchedThrough(const OxAttribute::GroupAttribute& args, std::size_t input,
                   const OxLocationPath::LocationSet& changed) const;
};

/// The op type of this name, from the "TellarOpType" plug-ins and from RegisterOpType; null for an
/// unknown name. Safe from many threads.
///
/// PluginManager::refused() lists the plug-ins whose getOpType or description throws, whose suite,
/// function, type or name is missing, or whose type has the name of an earlier one.
OXTELLARSDK_API const OpType* FindOpType(const std::string& name);
/// The description that the type gave when it was registered; null for an unknown name. It lives
/// until the process ends.
OXTELLARSDK_API const Description* FindDescription(const std::string& name);
/// The descriptions of all known types, sorted by name.
OXTELLARSDK_API std::vector<const Description*> GetDescriptions();
/// Loads new plug-ins and registers their types, as the functions above do. Call it before taking a
/// lock that code of plug-ins may need as well.
OXTELLARSDK_API void LoadOpTypes();
/// Adds a type of the program itself, which must live until the process ends. Throws
/// std::invalid_argument when the name is taken.
OXTELLARSDK_API void RegisterOpType(const OpType* type);

constexpr const char* kPluginApiName = "TellarOpType";
constexpr unsigned int kPluginApiVersion = 3;

} // namespace OxOpType

/// The suite of an op-type plug-in. A C++ interface: build the plug-in with the
/// compiler family that built the SDK.
struct OxOpTypePluginSuite_v3 {
    /// Never returns null. The object lives until the process ends.
    const OxOpType::OpType* (*getOpType)();
};

/// The same for a plug-in that was built when OpType ended with check(). Its types get the answers
/// of the base class for all later functions.
struct OxOpTypePluginSuite_v1 {
    const OxOpType::OpType* (*getOpType)();
};

#endif

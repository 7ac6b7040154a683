#ifndef OXTELLARSDK_OPTYPE_H
#define OXTELLARSDK_OPTYPE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/OxPluginApi.h>
#include <OxTellarSDK/TellarRuntime.h>

/// An op type says how one location is made from the locations of an Op's inputs.
/// Types are plug-ins: a shared library on the plug-in path offers the suite
/// OxOpTypePluginSuite_v1 under the API name "TellarOpType", version 1.

namespace OxOpType {

/// What an op type tells about itself.
struct Argument {
    std::string name;    ///< dotted path inside the arguments group
    std::string type;    ///< "string", "int", "double[16]", "group" and the like
    std::string summary; ///< one sentence, with the default
};

struct Description {
    std::string name;
    /// Part of every Op's identity: raise it whenever the results change.
    int version = 1;
    std::string summary;
    std::vector<Argument> arguments;
    std::string inputs; ///< "none", "one", "one or more", ...
};

/// What an Op keeps between cooks: its arguments, parsed and checked. Immutable.
class State {
public:
    virtual ~State() = default;
};

/// One cook: the location asked for, the inputs, and the result to be given.
/// Lives for the call only, and is used by the thread that was called.
///
/// Without a call of pass() or of a set...() function the location does not exist.
class OXTELLARSDK_API CookContext {
public:
    /// Absolute, "/root/world/geo"; always starts with "/".
    virtual const std::string& path() const = 0;
    virtual const OxAttribute::GroupAttribute& args() const = 0;
    /// What prepare returned for this Op; null if it returned null.
    virtual const State* state() const = 0;

    /// Inputs as wired, null ones included.
    virtual std::size_t numberOfInputs() const = 0;
    /// Cooks a location of an input. An input that is null or does not exist gives
    /// data whose doesLocationExist is false.
    virtual TellarRuntime::LocationData input(std::size_t index, const std::string& path) = 0;
    TellarRuntime::LocationData input(std::size_t index) { return input(index, path()); }

    /// Presents `data` as it is, uncopied.
    virtual void pass(const TellarRuntime::LocationData& data) = 0;
    /// The location exists and has these attributes / potential children; an invalid
    /// attribute means none.
    virtual void setAttrs(const OxAttribute::GroupAttribute& attrs) = 0;
    virtual void setPotentialChildren(const OxAttribute::StringAttribute& names) = 0;

    /// Keeps a value with the result for the cooks of the location's children.
    virtual void setNote(const OxAttribute::Attribute& note) = 0;
    /// The note that this Op's cook of the parent location kept, if that result is at
    /// hand; invalid otherwise. Nothing is cooked for it.
    virtual OxAttribute::Attribute parentNote() const = 0;
    /// Where among its parent's potential children the location probably stands: a place to
    /// look at first, no more.
    virtual std::int64_t probableIndex() const = 0;

    /// True when somebody evicted the location: what was read from outside (a file)
    /// must be looked at again.
    virtual bool isFresh() const = 0;

protected:
    ~CookContext() = default;
};

/// Implemented by op-type plug-ins. One object serves all Ops of the type, from many
/// threads at once. Whatever a function throws becomes an error that names the Op, its type
/// and, in prepare and cook, the location; other Ops go on.
class OXTELLARSDK_API OpType {
public:
    virtual ~OpType();
    /// Called as the type is entered among those known and as its Ops are committed, under no
    /// lock of the library.
    virtual const Description& description() const = 0;
    /// Checks and parses the arguments, once for all Ops with equal identity. `args` may
    /// be invalid. Throw std::runtime_error naming the argument at fault.
    virtual std::shared_ptr<const State> prepare(const OxAttribute::GroupAttribute& args,
                                                 std::size_t numberOfInputs) const;
    virtual void cook(CookContext& context) const = 0;
};

/// Op types known to the process: those of all "TellarOpType" plug-ins. A plug-in whose
/// getOpType or description throws, or whose suite, function, type or name is missing, is
/// among PluginManager::refused() instead, and so is one whose type another one has entered
/// before. Null for an unknown name. Safe from many threads.
OXTELLARSDK_API const OpType* FindOpType(const std::string& name);
/// The description that the type gave when it was registered; null for an unknown name. Lives to
/// the end of the process.
OXTELLARSDK_API const Description* FindDescription(const std::string& name);
/// The descriptions of all known types, sorted by name.
OXTELLARSDK_API std::vector<const Description*> GetDescriptions();
/// Loads the plug-ins and enters their types, as the functions above do when there are new
/// ones. Meant for whoever takes a lock that code of plug-ins may need as well: call it before.
OXTELLARSDK_API void LoadOpTypes();
/// Adds a type made by the program itself; it must live to the end of the process. Throws
/// std::invalid_argument when the name is taken.
OXTELLARSDK_API void RegisterOpType(const OpType* type);

constexpr const char* kPluginApiName = "TellarOpType";

} // namespace OxOpType

/// The suite of an op-type plug-in. A C++ interface: build the plug-in with the
/// compiler family that built the SDK.
struct OxOpTypePluginSuite_v1 {
    /// Never null; the object lives to the end of the process.
    const OxOpType::OpType* (*getOpType)();
};

#endif

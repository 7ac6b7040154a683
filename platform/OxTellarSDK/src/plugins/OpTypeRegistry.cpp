#include <OxTellarSDK/OpType.h>

#include <map>
#include <mutex>
#include <new>
#include <set>
#include <shared_mutex>
#include <stdexcept>
#include <utility>

#include <OxTellarSDK/OpTypeSuite.h>
#include <OxTellarSDK/PluginManager.h>
#include <OxTellarSDK/SuiteFilter.h>

#include "COpType.h"
#include "CookWaits.h"
#include "PluginCall.h"

namespace OxOpType {

namespace {

using OxPluginManager::ExceptionFrom;
using OxPluginManager::PluginHandle;
using OxPluginManager::PluginManager;
using OxTellarRuntimeDetail::IsMadeByThisThread;
using OxTellarRuntimeDetail::MakingScope;

/// An op type with a copy of its description.
struct KnownType {
    const OpType* type = nullptr;
    Description description;
    std::shared_ptr<const OpType> owned; // `type`, when it stands for that of a plug-in
};

/// A type whose class has the functions of suite version 1 only. The later ones are not overridden,
/// so that the base class answers them.
class TypeOfVersion1 final : public OpType {
public:
    explicit TypeOfVersion1(const OpType& type) : type(type) {}

    const Description& description() const override { return type.description(); }
    std::shared_ptr<const State> prepare(const OxAttribute::GroupAttribute& args,
                                         std::size_t numberOfInputs) const override {
        return type.prepare(args, numberOfInputs);
    }
    void cook(CookContext& context) const override { type.cook(context); }
    void check(CheckContext& context) const override { type.check(context); }

private:
    const OpType& type;
};

/// Types and plug-ins are never removed. No code of a plug-in runs under the lock.
struct Registry {
    std::shared_mutex lock;
    std::map<std::string, KnownType> types;
    std::set<PluginHandle> examined; // registered or refused
};

Registry& GetRegistry() {
    static Registry* const registry = new Registry;
    return *registry;
}

/// Like ExceptionFrom, but passes std::bad_alloc on, because the plug-in may have memory when it is
/// asked again.
template <typename Call>
std::string LastingExceptionFrom(const Call& call) {
    bool hadMemory = true;
    std::string thrown = ExceptionFrom([&] {
        try {
            call();
        } catch (const std::bad_alloc&) {
            hadMemory = false;
        }
    });
    if (!hadMemory) throw std::bad_alloc();
    return thrown;
}

/// Assigns the type in a table of version 1 or 3. Returns the fault of the plug-in, or an empty
/// text.
template <typename Suite>
std::string TypeOf(const Suite& suite, const OpType*& type) {
    if (!suite.getOpType) return "its function table has no getOpType";
    const std::string thrown = LastingExceptionFrom([&] { type = suite.getOpType(); });
    if (!thrown.empty()) return "getOpType " + thrown;
    return type ? "" : "getOpType gives no op type";
}

/// The same for version 2.
std::string TypeOf(const OxOpTypePluginSuite_v2& suite, const OpType*& type) {
    std::string fault;
    const std::string thrown = LastingExceptionFrom([&] {
        fault = COpType::FaultOf(&suite);
        if (fault.empty()) type = new COpType(&suite);
    });
    return thrown.empty() ? fault : "getDescription " + thrown;
}

/// The table of an op type in C, as the filters of suites pass it on. Those of C++ are classes.
template <typename Suite>
const Suite* Filtered(PluginHandle plugin, const Suite* suite) {
    if constexpr (std::is_same_v<Suite, OxOpTypePluginSuite_v2>) {
        const void* const filtered = OxPluginManager::FilteredSuite(
            {plugin->name, plugin->apiName, plugin->apiVersion, suite});
        if (filtered) return static_cast<const Suite*>(filtered);
    }
    return suite;
}

/// Assigns the type that a plug-in offers. Returns the fault of the plug-in, or an empty text.
/// Throws std::bad_alloc when there is no memory.
template <typename Suite>
std::string AskForType(PluginHandle plugin, KnownType& known) {
    const Suite* suite = nullptr;
    std::string thrown =
        LastingExceptionFrom([&] { suite = static_cast<const Suite*>(plugin->getSuite()); });
    if (!thrown.empty()) return "getSuite " + thrown;
    if (!suite) return "getSuite gives no function table";
    suite = Filtered(plugin, suite);
    std::string fault = TypeOf(*suite, known.type);
    if (!fault.empty()) return fault;
    thrown = LastingExceptionFrom([&] { known.description = known.type->description(); });
    if (!thrown.empty()) return "description " + thrown;
    return known.description.name.empty() ? "its op type has no name" : "";
}

std::string AskForType(PluginHandle plugin, unsigned int version, KnownType& known) {
    if (version == kPluginApiVersion) return AskForType<OxOpTypePluginSuite_v3>(plugin, known);
    if (version == OX_OP_TYPE_API_VERSION) return AskForType<OxOpTypePluginSuite_v2>(plugin, known);
    std::string fault = AskForType<OxOpTypePluginSuite_v1>(plugin, known);
    if (!fault.empty()) return fault;
    known.owned = std::make_shared<TypeOfVersion1>(*known.type);
    known.type = known.owned.get();
    return {};
}

/// Asks a plug-in for its type, and registers the type or refuses the plug-in. When two threads ask
/// a plug-in at the same time, the first answer is used.
void Examine(Registry& registry, PluginHandle plugin, unsigned int version) {
    const MakingScope scope(plugin);
    KnownType known;
    std::string fault = AskForType(plugin, version, known);
    {
        const std::string name = known.description.name;
        const std::lock_guard<std::shared_mutex> guard(registry.lock);
        const auto [entry, isFirst] = registry.examined.insert(plugin);
        if (!isFirst) return;
        try {
            if (fault.empty() && !registry.types.emplace(name, std::move(known)).second)
                fault = "there is an op type \"" + name + "\" already";
        } catch (...) {
            registry.examined.erase(entry);
            throw;
        }
    }
    if (!fault.empty()) PluginManager::refuse(plugin, fault);
}

bool IsExamined(Registry& registry, PluginHandle plugin) {
    const std::shared_lock<std::shared_mutex> guard(registry.lock);
    return registry.examined.count(plugin) != 0;
}

/// Registers the types of the plug-ins of one version that have not been asked yet. Returns false
/// when there was no memory for one of them, which the next caller asks again.
bool RegisterPlugins(Registry& registry, unsigned int version) {
    bool isComplete = true;
    std::vector<std::string> names;
    PluginManager::getPluginNames(kPluginApiName, names, version);
    for (const std::string& name : names) {
        const PluginHandle plugin = PluginManager::getPlugin(name, kPluginApiName, version);
        if (IsMadeByThisThread(plugin) || IsExamined(registry, plugin)) continue;
        try {
            Examine(registry, plugin, version);
        } catch (const std::bad_alloc&) {
            isComplete = false;
        }
    }
    return isComplete;
}

/// The same for all versions. A plug-in that looks for types while it is asked for its own finds
/// those of all others.
bool RegisterPlugins(Registry& registry) {
    bool isComplete = true;
    for (const unsigned int version : {1u, unsigned{OX_OP_TYPE_API_VERSION}, kPluginApiVersion})
        isComplete = RegisterPlugins(registry, version) && isComplete;
    return isComplete;
}

const KnownType* Find(Registry& registry, const std::string& name) {
    const std::shared_lock<std::shared_mutex> guard(registry.lock);
    const auto found = registry.types.find(name);
    return found == registry.types.end() ? nullptr : &found->second;
}

const KnownType* FindOrLoad(const std::string& name) {
    Registry& registry = GetRegistry();
    if (const KnownType* known = Find(registry, name)) return known;
    const bool isComplete = RegisterPlugins(registry);
    const KnownType* known = Find(registry, name);
    // Otherwise a scene would keep the error that there is no such op type.
    if (!known && !isComplete) throw std::bad_alloc();
    return known;
}

} // namespace

OpType::~OpType() = default;

std::shared_ptr<const State> OpType::prepare(const OxAttribute::GroupAttribute&,
                                             std::size_t) const {
    return nullptr;
}

void OpType::check(CheckContext&) const {}

OxLocationPath::LocationSet OpType::touchedBy(const OxAttribute::GroupAttribute&,
                                              const OxAttribute::GroupAttribute&) const {
    return OxLocationPath::LocationSet::everything();
}

OxLocationPath::LocationSet OpType::touchedThrough(const OxAttribute::GroupAttribute&, std::size_t,
                                                   const OxLocationPath::LocationSet&) const {
    return OxLocationPath::LocationSet::everything();
}

const OpType* FindOpType(const std::string& name) {
    const KnownType* known = FindOrLoad(name);
    return known ? known->type : nullptr;
}

const Description* FindDescription(const std::string& name) {
    const KnownType* known = FindOrLoad(name);
    return known ? &known->description : nullptr;
}

std::vector<const Description*> GetDescriptions() {
    Registry& registry = GetRegistry();
    RegisterPlugins(registry);
    const std::shared_lock<std::shared_mutex> guard(registry.lock);
    std::vector<const Description*> descriptions;
    for (const auto& entry : registry.types)
        descriptions.push_back(&entry.second.description);
    return descriptions;
}

void LoadOpTypes() {
    RegisterPlugins(GetRegistry());
}

void RegisterOpType(const OpType* type) {
    KnownType known{type, type->description(), nullptr};
    const std::string name = known.description.name;
    Registry& registry = GetRegistry();
    const std::lock_guard<std::shared_mutex> guard(registry.lock);
    if (!registry.types.emplace(name, std::move(known)).second)
        throw std::invalid_argument("There is an op type \"" + name + "\" already");
}

} // namespace OxOpType

#include <OxTellarSDK/OpType.h>

#include <map>
#include <mutex>
#include <shared_mutex>
#include <stdexcept>

#include <OxTellarSDK/PluginManager.h>

namespace OxOpType {

namespace {

struct Registry {
    std::shared_mutex lock;
    std::map<std::string, const OpType*> types;
};

Registry& GetRegistry() {
    static Registry* const registry = new Registry;
    return *registry;
}

/// Enters the types of all plug-ins found so far; a type known already keeps its place.
void EnterPlugins(Registry& registry) {
    using OxPluginManager::PluginManager;
    std::vector<std::string> names;
    PluginManager::getPluginNames(kPluginApiName, names, 1);
    for (const std::string& name : names) {
        const auto plugin = PluginManager::getPlugin(name, kPluginApiName, 1);
        const auto* suite =
            static_cast<const OxOpTypePluginSuite_v1*>(PluginManager::getPluginSuite(plugin));
        if (!suite) continue;
        const OpType* type = suite->getOpType();
        if (!type) continue;
        const std::lock_guard<std::shared_mutex> guard(registry.lock);
        registry.types.emplace(type->description().name, type);
    }
}

const OpType* Find(Registry& registry, const std::string& name) {
    const std::shared_lock<std::shared_mutex> guard(registry.lock);
    const auto found = registry.types.find(name);
    return found == registry.types.end() ? nullptr : found->second;
}

} // namespace

OpType::~OpType() = default;

std::shared_ptr<const State> OpType::prepare(const OxAttribute::GroupAttribute&,
                                             std::size_t) const {
    return nullptr;
}

const OpType* FindOpType(const std::string& name) {
    Registry& registry = GetRegistry();
    if (const OpType* known = Find(registry, name)) return known;
    EnterPlugins(registry);
    return Find(registry, name);
}

std::vector<const OpType*> GetOpTypes() {
    Registry& registry = GetRegistry();
    EnterPlugins(registry);
    const std::shared_lock<std::shared_mutex> guard(registry.lock);
    std::vector<const OpType*> types;
    for (const auto& entry : registry.types)
        types.push_back(entry.second);
    return types;
}

void RegisterOpType(const OpType* type) {
    const std::string& name = type->description().name;
    Registry& registry = GetRegistry();
    const std::lock_guard<std::shared_mutex> guard(registry.lock);
    if (!registry.types.emplace(name, type).second)
        throw std::invalid_argument("There is an op type \"" + name + "\" already");
}

} // namespace OxOpType

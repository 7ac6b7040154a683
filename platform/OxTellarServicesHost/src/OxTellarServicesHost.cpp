#include <OxTellarServicesHost/OxTellarServicesHost.h>

#include <map>
#include <mutex>

#include <OxTellarSDK/OpType.h>

namespace {

struct Services {
    std::mutex lock;
    OxTellarServicesHost::RuntimeFactory factory;
    std::map<std::string, std::shared_ptr<TellarRuntime>> instances;
};

Services& GetServices() {
    static Services* const services = new Services;
    return *services;
}

} // namespace

OxTellarServicesHost::OxTellarServicesHost() {
    OxOpType::LoadOpTypes();
}

std::shared_ptr<TellarRuntime> OxTellarServicesHost::createRuntime() const {
    Services& services = GetServices();
    RuntimeFactory factory;
    {
        const std::lock_guard<std::mutex> guard(services.lock);
        factory = services.factory;
    }
    return factory ? factory() : TellarRuntime::create();
}

void OxTellarServicesHost::RegisterRuntimeInstance(const std::shared_ptr<TellarRuntime>& runtime,
                                                   const std::string& name) {
    Services& services = GetServices();
    std::shared_ptr<TellarRuntime> previous; // destroyed after the lock is released
    const std::lock_guard<std::mutex> guard(services.lock);
    std::shared_ptr<TellarRuntime>& instance = services.instances[name];
    previous = std::move(instance);
    if (runtime)
        instance = runtime;
    else
        services.instances.erase(name);
}

std::shared_ptr<TellarRuntime> OxTellarServicesHost::GetRuntimeInstance(const std::string& name) {
    Services& services = GetServices();
    const std::lock_guard<std::mutex> guard(services.lock);
    const auto found = services.instances.find(name);
    return found == services.instances.end() ? nullptr : found->second;
}

void OxTellarServicesHost::SetRuntimeFactory(RuntimeFactory factory) {
    Services& services = GetServices();
    const std::lock_guard<std::mutex> guard(services.lock);
    services.factory = std::move(factory);
}

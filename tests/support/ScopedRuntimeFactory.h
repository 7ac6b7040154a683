#ifndef TELLAR_TEST_SCOPEDRUNTIMEFACTORY_H
#define TELLAR_TEST_SCOPEDRUNTIMEFACTORY_H

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

#include <OxTellarSDK/TellarRuntime.h>
#include <OxTellarServicesHost/OxTellarServicesHost.h>

/// While it lives, makes and counts all runtimes of the process.
class ScopedRuntimeFactory {
public:
    using Make = std::function<std::shared_ptr<TellarRuntime>()>;

    explicit ScopedRuntimeFactory(Make make = &TellarRuntime::create) {
        OxTellarServicesHost::SetRuntimeFactory([this, make = std::move(make)] {
            ++asked;
            return make();
        });
    }
    ~ScopedRuntimeFactory() { OxTellarServicesHost::SetRuntimeFactory({}); }
    ScopedRuntimeFactory(const ScopedRuntimeFactory&) = delete;
    ScopedRuntimeFactory& operator=(const ScopedRuntimeFactory&) = delete;

    int count() const { return asked; }

private:
    std::atomic<int> asked{0};
};

#endif

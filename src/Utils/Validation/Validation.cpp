#include "Validation.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "OxScenegraphIteratorHost.h"
#include "PluginTables.h"
#include "WrapSuite.h"

namespace TELLAR {

namespace {

constexpr const char* kVariable = "TELLAR_VALIDATE";

/// The layer of the wrapped tables.
struct ValidationLayer;

Validator* processValidator = nullptr;

bool Install() {
    const char* const text = std::getenv(kVariable);
    const std::string value = text ? text : "";
    if (value.empty() || value == "0") return false;
    if (value != "1" && value != "abort") {
        std::fputs("TELLAR_VALIDATE: not turned on: the value is neither 1 nor abort\n", stderr);
        return false;
    }
    auto* const validator = new Validator(value == "abort");
    processValidator = validator;
    ObserveMadeHandles([](const OxSgIteratorStruct* handle) { processValidator->adopt(handle); });
    std::atexit([] { processValidator->endProcess(); });
    OxPluginManager::AddSuiteFilter([validator](const OxPluginManager::SuiteOffer& offer) {
        return offer.pluginName.empty() ? WrapHostSuite<ValidationLayer>(offer, *validator)
                                        : ValidatedPluginSuite(offer, *validator);
    });
    return true;
}

} // namespace

void InstallValidation() {
    static const bool isInstalled = Install();
    static_cast<void>(isInstalled);
}

} // namespace TELLAR

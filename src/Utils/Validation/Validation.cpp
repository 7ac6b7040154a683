#include "Validation.h"

#include <cstdlib>
#include <string>

#include "NamedLogger.h"
#include "OxScenegraphIteratorHost.h"
#include "PluginTables.h"
#include "WrapSuite.h"

namespace TELLAR {

namespace {

const NamedLogger kLogger("Validation");

constexpr const char* kVariable = "TELLAR_VALIDATE";

/// The layer of the wrapped tables.
struct ValidationLayer;

Validator* processValidator = nullptr;

bool Install() {
    const char* const text = std::getenv(kVariable);
    const std::string value = text ? text : "";
    if (value.empty() || value == "0") return false;
    if (value != "1" && value != "abort") {
        kLogger.warn("{} is \"{}\": only 1 and abort turn validation on", kVariable, value);
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
